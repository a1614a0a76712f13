#include "help/Completion.h"

#include <algorithm>

namespace quillmark::cli {
namespace {

bool HasOption(const DeclaredCommand& program, const std::string& name) {
    return std::any_of(program.options.begin(), program.options.end(), [&](const Declared& option) {
        return std::find(option.names.begin(), option.names.end(), name) != option.names.end();
    });
}

}  // namespace

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char unit : text) {
        quoted += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    }
    return quoted + "'";
}

std::string Replaced(std::string text, const std::string& mark, const std::string& by) {
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + by.size())) {
        text.replace(at, mark.size(), by);
    }
    return text;
}

std::string WithLogin(const std::string& text, const DeclaredCommand& program) {
    std::string login;
    for (const std::string name : {"--profile", "--session", "--ca"}) {
        if (HasOption(program, name)) {
            login += (login.empty() ? "" : " ") + name;
        }
    }
    const std::string quiet = HasOption(program, "--retries") ? " --retries 0" : "";
    return Replaced(Replaced(text, "@LOGIN@", login), "@QUIET@", quiet);
}

}  // namespace quillmark::cli
