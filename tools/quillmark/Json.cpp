#include "Json.h"

#include <cstdio>

#include "quillmark/WideString.h"

namespace quillmark::cli {
namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char unit : text) {
        if (unit == '"' || unit == '\\') {
            quoted += {'\\', unit};
        } else if (static_cast<unsigned char>(unit) < 0x20) {
            char escape[8] = {};
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
            quoted += escape;
        } else {
            quoted += unit;
        }
    }
    return quoted + "\"";
}

// Halves of surrogate pairs have no UTF-8: they alone become escapes.
std::string QuotedWide(const WideString& text) {
    std::string quoted = "\"";
    for (std::size_t index = 0; index < text.size(); ++index) {
        const unsigned unit = static_cast<unsigned>(text[index]);
        const bool pair = (unit & 0xFC00) == 0xD800 && index + 1 < text.size() &&
                          (static_cast<unsigned>(text[index + 1]) & 0xFC00) == 0xDC00;
        if ((unit & 0xF800) == 0xD800 && !pair) {
            char escape[8] = {};
            std::snprintf(escape, sizeof escape, "\\u%04x", unit);
            quoted += escape;
            continue;
        }
        const std::string part = Quoted(NarrowUtf8(text.Substring(index, pair ? 2 : 1)));
        quoted += part.substr(1, part.size() - 2);
        index += pair ? 1 : 0;
    }
    return quoted + "\"";
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
    AddMember(m_members, name, QuotedWide(text));
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

JsonObject& JsonObject::AddNull(const std::string& name) {
    AddMember(m_members, name, "null");
    return *this;
}

JsonObject& JsonObject::AddTexts(const std::string& name, const std::vector<std::string>& texts) {
    std::string array;
    for (const std::string& text : texts) {
        array += (array.empty() ? "" : ",") + Quoted(text);
    }
    AddMember(m_members, name, "[" + array + "]");
    return *this;
}

JsonObject& JsonObject::AddObject(const std::string& name, const JsonObject& object) {
    AddMember(m_members, name, object.Text());
    return *this;
}

std::string JsonObject::Text() const {
    return "{" + m_members + "}";
}

}  // namespace quillmark::cli
