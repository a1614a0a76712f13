#include "Json.h"

#include <cstdio>

namespace quillmark::cli {
namespace {

// A control character or half of a surrogate pair as "\\u" and four digits.
std::string Escape(unsigned unit) {
    char text[8] = {};
    std::snprintf(text, sizeof(text), "\\u%04x", unit);
    return text;
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char unit : text) {
        if (unit == '"' || unit == '\\') {
            quoted += {'\\', unit};
        } else if (static_cast<unsigned char>(unit) < 0x20) {
            quoted += Escape(static_cast<unsigned char>(unit));
        } else {
            quoted += unit;
        }
    }
    return quoted + "\"";
}

bool IsHalf(WideView text, std::size_t index) {
    const unsigned unit = text[index];
    if ((unit & 0xFC00) == 0xD800) {
        return index + 1 == text.size() || (text[index + 1] & 0xFC00) != 0xDC00;
    }
    return (unit & 0xFC00) == 0xDC00 && (index == 0 || (text[index - 1] & 0xFC00) != 0xD800);
}

void AddMember(std::string& members, const std::string& name, const std::string& value) {
    members += (members.empty() ? "" : ",") + Quoted(name) + ":" + value;
}

}  // namespace

JsonObject& JsonObject::Add(const std::string& name, const std::string& text) {
    AddMember(m_members, name, Quoted(text));
    return *this;
}

JsonObject& JsonObject::Add(const std::string& name, const char* text) {
    return Add(name, std::string(text));
}

JsonObject& JsonObject::Add(const std::string& name, const WideString& text) {
    const WideView view = text.view();
    std::string value = "\"";
    std::size_t start = 0;
    const auto addText = [&](std::size_t end) {
        const std::string quoted = Quoted(NarrowUtf8(view.substr(start, end - start)));
        value += quoted.substr(1, quoted.size() - 2);
    };
    for (std::size_t index = 0; index < view.size(); ++index) {
        if (IsHalf(view, index)) {
            addText(index);
            value += Escape(view[index]);
            start = index + 1;
        }
    }
    addText(view.size());
    AddMember(m_members, name, value + "\"");
    return *this;
}

JsonObject& JsonObject::AddNumber(const std::string& name, std::int64_t number) {
    AddMember(m_members, name, std::to_string(number));
    return *this;
}

JsonObject& JsonObject::AddFlag(const std::string& name, bool flag) {
    AddMember(m_members, name, flag ? "true" : "false");
    return *this;
}

std::string JsonObject::Text() const {
    return "{" + m_members + "}";
}

}  // namespace quillmark::cli
