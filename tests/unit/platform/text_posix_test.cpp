// What this system's conversions do where Windows leaves it open, or has more to offer.
#include <gtest/gtest.h>

#include "unit/platform/TextSamples.h"

namespace {

using quillmark::test::Malformed;
using quillmark::test::TextSample;
using quillmark::test::ToNarrow;
using quillmark::test::ToWide;
using quillmark::test::WellFormed;

TEST(TextPosixTest, TheDefaultCodePageIsUtf8) {
    for (const TextSample& sample : WellFormed) {
        EXPECT_EQ(ToWide(sample.narrow, 0, CP_ACP), sample.wide);
        EXPECT_EQ(ToWide(sample.narrow, MB_ERR_INVALID_CHARS, CP_ACP), sample.wide);
        EXPECT_EQ(ToNarrow(sample.wide, 0, CP_ACP), sample.narrow);
        EXPECT_EQ(ToNarrow(sample.wide, WC_ERR_INVALID_CHARS, CP_ACP), sample.narrow);
    }
}

TEST(TextPosixTest, ReplacesEachMaximalPartOfMalformedUtf8) {
    for (const TextSample& sample : Malformed) {
        EXPECT_EQ(ToWide(sample.narrow), sample.wide) << testing::PrintToString(sample.narrow);
    }
}

TEST(TextPosixTest, HasNoOtherCodePages) {
    WCHAR wide[4];
    char narrow[4];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(1252, 0, "a", 1, wide, 4), 0);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(1252, 0, QM_W("a"), 1, narrow, 4, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
