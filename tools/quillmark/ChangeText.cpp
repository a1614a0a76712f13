#include "ChangeText.h"

#include <iterator>

#include "Texts.h"

namespace quillmark::cli {
namespace {

// The words of the actions, by their code.
constexpr const char* Words[] = {"other",  "create", "upload", "move",   "copy",
                                 "rename", "delete", "policy", "update", "mode"};

const char* WordOf(const CNotificationAction& change) {
    return change.type < std::size(Words) ? Words[change.type] : Words[0];
}

}  // namespace

std::string ChangeLine(const CNotificationAction& change) {
    return std::string(WordOf(change)) + "\t" + Escaped(change.value) +
           (change.value2.empty() ? "" : "\t" + Escaped(change.value2));
}

void AddChange(JsonObject& object, const CNotificationAction& change) {
    object.Add("action", WordOf(change)).Add("path", change.value);
    change.value2.empty() ? object.AddNull("to") : object.Add("to", change.value2);
}

}  // namespace quillmark::cli
