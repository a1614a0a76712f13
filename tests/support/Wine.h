// Expectations where Wine departs from what Windows documents: the test says both, and takes Wine's answer under Wine
// only.
//
//     // Windows refuses the 29th; Wine takes it in every year.
//     EXPECT_THAT(TicksOf("2015-02-29"), OrUnderWine(2, 130696416000000002));
#pragma once

#include <gmock/gmock.h>

#include "quillmark/Platform.h"

namespace quillmark::test {

inline bool UnderWine() {
#ifdef _WIN32
    static const bool wine = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return wine;
#else
    return false;
#endif
}

// documented: what the function's contract says; wine: what Wine answers as well.
template <typename Value>
auto OrUnderWine(Value documented, Value wine) {
    return ::testing::Truly(
        [documented, wine](const auto& got) { return got == documented || (UnderWine() && got == wine); });
}

}  // namespace quillmark::test
