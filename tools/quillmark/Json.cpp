#include "Json.h"

namespace quillmark::cli {
namespace {

void AppendUnit(std::string& json, WideChar unit) {
    constexpr const char* Digits = "0123456789abcdef";
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        json += Digits[(unit >> shift) & 0xF];
    }
}

bool IsHighSurrogate(WideChar unit) {
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(WideChar unit) {
    return (unit & 0xFC00) == 0xDC00;
}

// What must not stand in a JSON text as it is, and beyond that whatever could steer a terminal.
bool IsControl(WideChar unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

void AppendControl(std::string& json, WideChar unit) {
    switch (unit) {
        case QM_W('\b'):
            json += "\\b";
            break;
        case QM_W('\f'):
            json += "\\f";
            break;
        case QM_W('\n'):
            json += "\\n";
            break;
        case QM_W('\r'):
            json += "\\r";
            break;
        case QM_W('\t'):
            json += "\\t";
            break;
        default:
            AppendUnit(json, unit);
    }
}

// A half of a surrogate pair has no UTF-8 form; JSON's escapes can say it.
void AppendBeyondAscii(std::string& json, WideView text, std::size_t& index) {
    const WideChar unit = text[index];
    const bool pair = IsHighSurrogate(unit) && index + 1 < text.size() && IsLowSurrogate(text[index + 1]);
    if (!pair && (IsHighSurrogate(unit) || IsLowSurrogate(unit))) {
        AppendUnit(json, unit);
        return;
    }
    json += NarrowUtf8(text.substr(index, pair ? 2 : 1));
    index += pair ? 1 : 0;
}

std::string Quoted(WideView text) {
    std::string json = "\"";
    for (std::size_t index = 0; index < text.size(); ++index) {
        const WideChar unit = text[index];
        if (unit == QM_W('"') || unit == QM_W('\\')) {
            json += '\\';
            json += static_cast<char>(unit);
        } else if (IsControl(unit)) {
            AppendControl(json, unit);
        } else if (unit < 0x7F) {
            json += static_cast<char>(unit);
        } else {
            AppendBeyondAscii(json, text, index);
        }
    }
    return json + '"';
}

void AppendMember(std::string& members, const std::string& name, const std::string& value) {
    members += (members.empty() ? "" : ",") + Quoted(WidenUtf8(name).view()) + ":" + value;
}

}  // namespace

JsonObject& JsonObject::Add(const std::string& name, const std::string& text) {
    return Add(name, WidenUtf8(text));
}

JsonObject& JsonObject::Add(const std::string& name, const char* text) {
    return Add(name, WidenUtf8(text));
}

JsonObject& JsonObject::Add(const std::string& name, const WideString& text) {
    AppendMember(m_members, name, Quoted(text.view()));
    return *this;
}

JsonObject& JsonObject::AddNumber(const std::string& name, std::int64_t number) {
    AppendMember(m_members, name, std::to_string(number));
    return *this;
}

JsonObject& JsonObject::AddKnown(const std::string& name, const std::string& text) {
    return text.empty() ? AddNull(name) : Add(name, text);
}

JsonObject& JsonObject::AddFlag(const std::string& name, bool flag) {
    AppendMember(m_members, name, flag ? "true" : "false");
    return *this;
}

JsonObject& JsonObject::AddNull(const std::string& name) {
    AppendMember(m_members, name, "null");
    return *this;
}

JsonObject& JsonObject::AddTexts(const std::string& name, const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) {
        list += (list.empty() ? "" : ",") + Quoted(WidenUtf8(text).view());
    }
    AppendMember(m_members, name, "[" + list + "]");
    return *this;
}

JsonObject& JsonObject::AddObject(const std::string& name, const JsonObject& object) {
    AppendMember(m_members, name, object.Text());
    return *this;
}

std::string JsonObject::Text() const {
    return "{" + m_members + "}";
}

}  // namespace quillmark::cli
