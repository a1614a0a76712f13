// Small helpers that the transport's sources share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "quillmark/Platform.h"
#include "quillmark/WideString.h"

namespace quillmark {

// The code of the call that has just failed. Never 0: a failure without a code (a replaced seam that sets none) must
// not be taken for success.
[[nodiscard]] inline DWORD FailureCode() noexcept {
    const DWORD error = ::GetLastError();
    return error != 0 ? error : ERROR_GEN_FAILURE;
}

// Whether the caller has cancelled; looks without waiting. A null event never cancels.
[[nodiscard]] inline bool IsSignalled(HANDLE event) noexcept {
    return event != nullptr && ::WaitForSingleObject(event, 0) == WAIT_OBJECT_0;
}

// The decimal number at the beginning of a header's value, 0 for anything else; what does not fit ends at the greatest
// value. Headers that are read so have no negative values: a sign makes it 0.
[[nodiscard]] inline std::int64_t ParseDecimal(WideView text) noexcept {
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    text.remove_prefix(std::min(text.find_first_not_of(QM_W(" \t")), text.size()));
    for (const WideChar unit : text) {
        if (unit < QM_W('0') || unit > QM_W('9')) {
            break;
        }
        const std::int64_t digit = unit - QM_W('0');
        if (value > (limit - digit) / 10) {
            return limit;
        }
        value = value * 10 + digit;
    }
    return value;
}

}  // namespace quillmark
