// The headers that a request has been given: what WinHttpAddRequestHeaders does with lines and flags.
//
// Names compare alike in both cases and keep the spelling of the first one that was added; lines keep their order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

struct HeaderField {
    std::string name;
    std::string value;
};

class RequestHeaders {
public:
    // Adds the lines of the text as the flags say. All of them or, with the code of WinHttpAddRequestHeaders, none.
    [[nodiscard]] DWORD Add(std::string_view lines, DWORD modifiers);

    // Adds one header whose value is not part of a larger text: it cannot bring further lines.
    [[nodiscard]] DWORD AddValue(std::string_view name, std::string_view value, DWORD modifiers);

    // The field of that name, or null.
    [[nodiscard]] const HeaderField* Find(std::string_view name) const;

    // Takes out the fields of that name.
    void Remove(std::string_view name);

    [[nodiscard]] const std::vector<HeaderField>& Fields() const { return m_fields; }

private:
    [[nodiscard]] DWORD AddField(HeaderField field, DWORD modifiers);

    std::vector<HeaderField> m_fields;
};

}  // namespace quillmark::platform::winhttp
