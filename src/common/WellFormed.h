// IsWellFormed: whether a text is valid UTF-16.
//
// A file name that is no UTF-8 on disk comes as UTF-16 with lone surrogates (U+DC80 to U+DCFF). Such a text has no
// UTF-8 form and so no place in a URL or a request body: whoever builds one refuses it with
// ERROR_NO_UNICODE_TRANSLATION, rather than naming another item with U+FFFD in it.
#pragma once

#include <cstddef>

#include "quillmark/WideString.h"

namespace quillmark {

[[nodiscard]] constexpr bool IsWellFormed(WideView text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0xD800 || text[i] > 0xDFFF) {
            continue;
        }
        const bool lead = text[i] < 0xDC00;
        const bool paired = lead && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (!paired) {
            return false;
        }
        ++i;
    }
    return true;
}

}  // namespace quillmark
