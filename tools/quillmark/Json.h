// JsonObject: one result as --json prints it, a line of its own on standard output, its members in the order they were
// added. Texts are UTF-8; halves of surrogate pairs in server texts become \u escapes, so that nothing is lost.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quillmark/WideString.h"

namespace quillmark::cli {

class JsonObject {
public:
    JsonObject& Add(const std::string& name, const std::string& text);
    JsonObject& Add(const std::string& name, const char* text);
    JsonObject& Add(const std::string& name, const WideString& text);
    JsonObject& AddNumber(const std::string& name, std::int64_t number);
    // null for an empty text: it is not known, or does not apply.
    JsonObject& AddKnown(const std::string& name, const std::string& text);
    JsonObject& AddFlag(const std::string& name, bool flag);
    JsonObject& AddNull(const std::string& name);
    JsonObject& AddTexts(const std::string& name, const std::vector<std::string>& texts);
    JsonObject& AddObject(const std::string& name, const JsonObject& object);

    // {"path":"/f","size":3}, without a line break.
    [[nodiscard]] std::string Text() const;

private:
    std::string m_members;
};

}  // namespace quillmark::cli
