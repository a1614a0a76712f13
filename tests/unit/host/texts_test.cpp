#include "Texts.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

TEST(SizeText, CountsInBytesAndPowersOf1024) {
    EXPECT_EQ(ParseSize("0"), 0);
    EXPECT_EQ(ParseSize("65536"), 65536);
    EXPECT_EQ(ParseSize("64K"), 65536);
    EXPECT_EQ(ParseSize("64k"), 65536);
    EXPECT_EQ(ParseSize("8M"), 8388608);
    EXPECT_EQ(ParseSize("5G"), 5368709120);
    EXPECT_EQ(ParseSize("1T"), 1099511627776);
    EXPECT_EQ(ParseSize("9223372036854775807"), 9223372036854775807);
    EXPECT_EQ(ParseSize("8388607T"), 9223370937343148032);
}

TEST(SizeText, RefusesEverythingElse) {
    for (const char* text : {"", "K", "-1", "+1", " 1", "1 ", "1.5M", "1KB", "0x10", "ten", "9223372036854775808",
                             "8388608T", "99999999999999999999"}) {
        EXPECT_EQ(ParseSize(text), std::nullopt) << text;
    }
}

TEST(HumanSizeText, HasAtMostFiveCharacters) {
    EXPECT_EQ("0", HumanSize(0));
    EXPECT_EQ("1023", HumanSize(1023));
    EXPECT_EQ("1.0K", HumanSize(1024));
    EXPECT_EQ("1.5K", HumanSize(1536));
    EXPECT_EQ("9.9K", HumanSize(10188));
    EXPECT_EQ("10K", HumanSize(10240));
    EXPECT_EQ("1023K", HumanSize(1023 * 1024 + 511));
    EXPECT_EQ("1.0M", HumanSize(1024 * 1024 - 1));
    EXPECT_EQ("16M", HumanSize(16 * 1024 * 1024));
    EXPECT_EQ("5.0G", HumanSize(5368709120));
    EXPECT_EQ("2.0T", HumanSize(2199023255552));
    EXPECT_EQ("8.0E", HumanSize(9223372036854775807));
}

TEST(ByteRangeText, HasItsEndBehindTheLastByte) {
    const auto range = ParseByteRange("100-4K");
    ASSERT_TRUE(range);
    EXPECT_EQ(range->first, 100);
    EXPECT_EQ(range->end, 4096);
}

TEST(ByteRangeText, GoesToTheEndWithoutOne) {
    const auto range = ParseByteRange("5G-");
    ASSERT_TRUE(range);
    EXPECT_EQ(range->first, 5368709120);
    EXPECT_EQ(range->end, ByteRange::ToTheEnd);
}

TEST(ByteRangeText, RefusesEmptyReversedAndUnreadableOnes) {
    for (const char* text : {"", "-", "-5", "5", "5-5", "6-5", "a-b", "1-2-3", "1--2", "1 - 2", "0-0"}) {
        EXPECT_FALSE(ParseByteRange(text)) << text;
    }
}

TEST(TimeText, IsReadWithAndWithoutAFraction) {
    EXPECT_EQ(ParseTime("2026-01-02T03:04:05Z")->ToText(), QM_W("2026-01-02T03:04:05.000Z"));
    EXPECT_EQ(ParseTime("2026-01-02T03:04:05.678Z")->ToText(), QM_W("2026-01-02T03:04:05.678Z"));
    EXPECT_EQ(ParseTime("2024-02-29T23:59:59Z")->ToText(), QM_W("2024-02-29T23:59:59.000Z"));
    EXPECT_TRUE(ParseTime("now"));
}

TEST(TimeText, RefusesWhatIsNoTime) {
    for (const char* text : {"", "yesterday", "2026-01-02", "2026-01-02T03:04:05", "2026-01-02 03:04:05Z",
                             "2026-02-30T00:00:00Z", "2025-02-29T00:00:00Z", "2026-01-02T24:00:00Z",
                             "2026-01-02T03:04:05.Z", "2026-01-02T03:04:05.xZ", "2026-01-02T03:04:05.678+01:00"}) {
        EXPECT_FALSE(ParseTime(text)) << text;
    }
}

TEST(FileAttributesText, IsANumberOrNames) {
    EXPECT_EQ(ParseFileAttributes("33"), 33u);
    EXPECT_EQ(ParseFileAttributes("0x21"), 33u);
    EXPECT_EQ(ParseFileAttributes("readonly,archive"), 33u);
    EXPECT_EQ(ParseFileAttributes("hidden"), 2u);
    EXPECT_EQ(ParseFileAttributes("system,normal"), 132u);
    for (const char* text : {"", ",", "readonly,", "read-only", "0x", "-1", "4294967296"}) {
        EXPECT_EQ(ParseFileAttributes(text), std::nullopt) << text;
    }
}

TEST(GuidText, IsWrittenInUpperCaseWithoutBraces) {
    const GUID guid = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
    EXPECT_EQ(GuidText(guid), "0F8FAD5B-D9CB-469F-A165-70867728950E");
    EXPECT_EQ(ParseGuid("0F8FAD5B-D9CB-469F-A165-70867728950E"), guid);
    EXPECT_EQ(ParseGuid("{0f8fad5b-d9cb-469f-a165-70867728950e}"), guid);
    for (const char* text : {"", "{}", "0F8FAD5B-D9CB-469F-A165-70867728950", "0F8FAD5B-D9CB-469F-A165-70867728950G",
                             "{0F8FAD5B-D9CB-469F-A165-70867728950E"}) {
        EXPECT_EQ(ParseGuid(text), std::nullopt) << text;
    }
}

TEST(FieldText, EscapesWhatWouldBreakALine) {
    EXPECT_EQ(Escaped(QM_W("/a b/\u00e9\U0001F680")), "/a b/\xC3\xA9\xF0\x9F\x9A\x80");
    EXPECT_EQ(Escaped(QM_W("a\tb\nc\rd\\e\u0001\u007f\u0085")), R"(a\tb\nc\rd\\e\u0001\u007F\u0085)");
}

TEST(FieldText, KeepsNamesThatAreNoText) {
    const WideChar units[] = {'a', 0xDCFF, 0xD83D, 'b', 0};
    EXPECT_EQ(Escaped(units), R"(a\uDCFF\uD83Db)");
    EXPECT_EQ(Unescaped(R"(a\uDCFF\uD83Db)"), WideString(units));
}

TEST(FieldText, ComesBackAsItWas) {
    const WideString text = QM_W("a\tb\nc\rd\\e\\n\u0001 \u00e9\U0001F680");
    EXPECT_EQ(Unescaped(Escaped(text)), text);
}

TEST(FieldText, RefusesEscapesThatAreNone) {
    for (const char* text : {"\\", "\\x", "\\u12", "\\u12G4", "a\\u"}) {
        EXPECT_EQ(Unescaped(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace quillmark::cli
