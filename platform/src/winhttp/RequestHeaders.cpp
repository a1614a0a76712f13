#include "winhttp/RequestHeaders.h"

#include <algorithm>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/WinHttp.h"
#include "winhttp/Text.h"

namespace quillmark::platform::winhttp {

namespace {

constexpr DWORD Coalesce = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA | WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON;
constexpr DWORD KnownFlags =
    WINHTTP_ADDREQ_FLAG_ADD_IF_NEW | WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE | Coalesce;

// Blanks other than the tab that a value may hold, line breaks among them, would end the header early.
bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7F;
}

// "Name: value" without its line break.
DWORD ParseLine(std::string_view line, HeaderField& field) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !IsToken(line.substr(0, colon))) {
        return ERROR_WINHTTP_INVALID_HEADER;
    }
    const std::string_view value = Trim(line.substr(colon + 1));
    if (std::any_of(value.begin(), value.end(), IsControl)) {
        return ERROR_WINHTTP_INVALID_HEADER;
    }
    field = {std::string(line.substr(0, colon)), std::string(value)};
    // The framing of the body is the transfer's own business.
    return EqualsIgnoringCase(field.name, "Transfer-Encoding") ? ERROR_NOT_SUPPORTED : ERROR_SUCCESS;
}

// The first line of the text, which is taken off. The last one may end in CRLF, in a bare line feed or in nothing.
std::string_view NextLine(std::string_view& text) {
    const std::size_t end = text.find("\r\n");
    if (end != std::string_view::npos) {
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 2);
        return line;
    }
    std::string_view line = text;
    if (line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    text = {};
    return line;
}

}  // namespace

DWORD RequestHeaders::Add(std::string_view lines, DWORD modifiers) {
    if (lines.empty() || (modifiers & KnownFlags) == 0 || (modifiers & ~KnownFlags) != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    RequestHeaders changed = *this;
    while (!lines.empty()) {
        HeaderField field;
        DWORD code = ParseLine(NextLine(lines), field);
        if (code == ERROR_SUCCESS) {
            code = changed.AddField(std::move(field), modifiers);
        }
        if (code != ERROR_SUCCESS) {
            return code;
        }
    }
    m_fields = std::move(changed.m_fields);
    return ERROR_SUCCESS;
}

DWORD RequestHeaders::AddValue(std::string_view name, std::string_view value, DWORD modifiers) {
    if (std::any_of(value.begin(), value.end(), IsControl)) {
        return ERROR_WINHTTP_INVALID_HEADER;
    }
    return AddField({std::string(name), std::string(Trim(value))}, modifiers);
}

DWORD RequestHeaders::AddField(HeaderField field, DWORD modifiers) {
    const auto existing = std::find_if(m_fields.begin(), m_fields.end(), [&](const HeaderField& other) {
        return EqualsIgnoringCase(other.name, field.name);
    });
    const bool cookie = EqualsIgnoringCase(field.name, "Cookie");
    if (existing == m_fields.end()) {
        if ((modifiers & WINHTTP_ADDREQ_FLAG_REPLACE) != 0 && (modifiers & WINHTTP_ADDREQ_FLAG_ADD) == 0) {
            return ERROR_WINHTTP_HEADER_NOT_FOUND;
        }
        // An empty value with _REPLACE asks for the header's removal, which holds already.
        if (!field.value.empty() || (modifiers & WINHTTP_ADDREQ_FLAG_REPLACE) == 0) {
            m_fields.push_back(std::move(field));
        }
        return ERROR_SUCCESS;
    }
    if ((modifiers & WINHTTP_ADDREQ_FLAG_ADD_IF_NEW) != 0) {
        return ERROR_WINHTTP_HEADER_ALREADY_EXISTS;
    }
    if ((modifiers & WINHTTP_ADDREQ_FLAG_REPLACE) != 0) {
        const auto position = existing - m_fields.begin();
        Remove(std::string(field.name));
        if (!field.value.empty()) {
            m_fields.insert(m_fields.begin() + position, std::move(field));
        }
        return ERROR_SUCCESS;
    }
    if (cookie || (modifiers & Coalesce) != 0) {
        const bool comma = !cookie && (modifiers & WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA) != 0;
        existing->value += existing->value.empty() ? "" : comma ? ", " : "; ";
        existing->value += field.value;
        return ERROR_SUCCESS;
    }
    m_fields.push_back(std::move(field));
    return ERROR_SUCCESS;
}

const HeaderField* RequestHeaders::Find(std::string_view name) const {
    for (const HeaderField& field : m_fields) {
        if (EqualsIgnoringCase(field.name, name)) {
            return &field;
        }
    }
    return nullptr;
}

void RequestHeaders::Remove(std::string_view name) {
    std::erase_if(m_fields, [&](const HeaderField& field) { return EqualsIgnoringCase(field.name, name); });
}

}  // namespace quillmark::platform::winhttp
