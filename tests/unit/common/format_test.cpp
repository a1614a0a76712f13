#include "common/Format.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmark {
namespace {

using detail::FindFormatFault;
using detail::FormatFault;

enum class Colour : std::uint8_t { Red = 7 };

std::string Varargs(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = FormatVarargs(format, arguments);
    va_end(arguments);
    return text;
}

TEST(FormatTest, PrintsTextWithoutConversions) {
    EXPECT_EQ(Format(""), "");
    EXPECT_EQ(Format("Upload canceled"), "Upload canceled");
    EXPECT_EQ(Format("100%% of %d%%", 5), "100% of 5%");
}

TEST(FormatTest, PrintsSignedIntegers) {
    EXPECT_EQ(Format("%d", 0), "0");
    EXPECT_EQ(Format("%d", -1), "-1");
    EXPECT_EQ(Format("%i", std::numeric_limits<std::int32_t>::min()), "-2147483648");
    EXPECT_EQ(Format("%ld", std::int32_t{-5}), "-5");
    EXPECT_EQ(Format("%d", std::uint32_t{4294967295u}), "-1");
    EXPECT_EQ(Format("%I64d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(Format("%lld", std::int64_t{-2}), "-2");
    EXPECT_EQ(Format("%hd", 65535), "-1");
    EXPECT_EQ(Format("%d", std::int16_t{-3}), "-3");
}

TEST(FormatTest, PrintsUnsignedIntegers) {
    EXPECT_EQ(Format("%u", std::uint32_t{4294967295u}), "4294967295");
    EXPECT_EQ(Format("%lu", -1), "4294967295");
    EXPECT_EQ(Format("%I64u", std::uint64_t{9223372036854775807u}), "9223372036854775807");
    EXPECT_EQ(Format("%llu", std::int64_t{-1}), "18446744073709551615");
    EXPECT_EQ(Format("%hu", std::uint16_t{65535}), "65535");
    EXPECT_EQ(Format("%hu", 65536 + 7), "7");
    EXPECT_EQ(Format("%hu", std::int16_t{-1}), "65535");
    EXPECT_EQ(Format("%u", true), "1");
    EXPECT_EQ(Format("%d", Colour::Red), "7");
}

TEST(FormatTest, PrintsHexadecimalAndOctal) {
    EXPECT_EQ(Format("%x", 0xDEADBEEFu), "deadbeef");
    EXPECT_EQ(Format("%X", 0xDEADBEEFu), "DEADBEEF");
    EXPECT_EQ(Format("%lx", -1), "ffffffff");
    EXPECT_EQ(Format("%I64x", std::uint64_t{0x123456789ABCDEF0u}), "123456789abcdef0");
    EXPECT_EQ(Format("%#x %#X %#x", 255, 255, 0), "0xff 0XFF 0");
    EXPECT_EQ(Format("%o %#o %#o", 8, 8, 0), "10 010 0");
    EXPECT_EQ(Format("%%%02X", 10), "%0A");
    EXPECT_EQ(Format("%04x", 0xABu), "00ab");
}

TEST(FormatTest, PrintsWidthsAndFlagsOfIntegers) {
    EXPECT_EQ(Format("[%5d]", 42), "[   42]");
    EXPECT_EQ(Format("[%-5d]", 42), "[42   ]");
    EXPECT_EQ(Format("[%05d]", -42), "[-0042]");
    EXPECT_EQ(Format("[%-05d]", 42), "[42   ]");
    EXPECT_EQ(Format("[%+d % d]", 42, 42), "[+42  42]");
    EXPECT_EQ(Format("[%7llu]", std::uint64_t{123}), "[    123]");
    EXPECT_EQ(Format("[%2d]", 12345), "[12345]");
    EXPECT_EQ(Format("[%.3d]", 7), "[007]");
    EXPECT_EQ(Format("[%6.3d]", -7), "[  -007]");
    EXPECT_EQ(Format("[%06.3d]", 7), "[   007]");
    EXPECT_EQ(Format("[%.0d]", 0), "[]");
    EXPECT_EQ(Format("[%#06x]", 255), "[0x00ff]");
    EXPECT_EQ(Format("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", 2016, 2, 9, 3, 4, 5, 6), "2016-02-09T03:04:05.006Z");
}

TEST(FormatTest, PrintsTexts) {
    EXPECT_EQ(Format("[%s]", "abc"), "[abc]");
    EXPECT_EQ(Format("[%s]", std::string("abc")), "[abc]");
    EXPECT_EQ(Format("[%S]", QM_W("abc")), "[abc]");
    EXPECT_EQ(Format("[%S]", WideString(QM_W("\x00E9\x4E2D"))), "[\xC3\xA9\xE4\xB8\xAD]");
    EXPECT_EQ(Format("[%S]", QM_W("\xD83D\xDE00")), "[\xF0\x9F\x98\x80]");
    EXPECT_EQ(Format("[%s]", ""), "[]");
    EXPECT_EQ(Format("[%S]", WideString()), "[]");
}

TEST(FormatTest, PrintsNullTexts) {
    EXPECT_EQ(Format("[%s]", static_cast<const char*>(nullptr)), "[(null)]");
    EXPECT_EQ(Format("[%S]", static_cast<const WideChar*>(nullptr)), "[(null)]");
}

TEST(FormatTest, PutsTheReplacementCharacterForALoneSurrogate) {
    const WideChar lone[] = {QM_W('a'), 0xDC00, QM_W('b'), 0};
    EXPECT_EQ(Format("%S", static_cast<const WideChar*>(lone)),
              "a\xEF\xBF\xBD"
              "b");
}

TEST(FormatTest, EndsATextAtItsFirstZero) {
    EXPECT_EQ(Format("[%s]", std::string("ab\0cd", 5)), "[ab]");
    EXPECT_EQ(Format("[%S]", WideString(WideView(QM_W("ab\0cd"), 5))), "[ab]");
}

TEST(FormatTest, PrintsWidthsAndPrecisionsOfTexts) {
    EXPECT_EQ(Format("[%5s]", "ab"), "[   ab]");
    EXPECT_EQ(Format("[%-5s]", "ab"), "[ab   ]");
    EXPECT_EQ(Format("[%.2s]", "abc"), "[ab]");
    EXPECT_EQ(Format("[%.0s]", "abc"), "[]");
    EXPECT_EQ(Format("[%.9s]", "abc"), "[abc]");
    // Width and precision count the units of the text as given: one for the wide letter.
    EXPECT_EQ(Format("[%3S]", QM_W("\x00E9")), "[  \xC3\xA9]");
    EXPECT_EQ(Format("[%.1S]", QM_W("\x00E9\x00E9")), "[\xC3\xA9]");
}

TEST(FormatTest, NeverCutsACharacterInTwo) {
    EXPECT_EQ(Format("[%.2S]", QM_W("a\xD83D\xDE00")), "[a]");
    EXPECT_EQ(Format("[%.3S]", QM_W("a\xD83D\xDE00")), "[a\xF0\x9F\x98\x80]");
    EXPECT_EQ(Format("[%.2s]", "a\xC3\xA9"), "[a]");
    EXPECT_EQ(Format("[%.3s]", "a\xC3\xA9"), "[a\xC3\xA9]");
    EXPECT_EQ(Format("[%.3s]", "\xF0\x9F\x98\x80"), "[]");
    EXPECT_EQ(Format("[%.4s]", "\xF0\x9F\x98\x80"), "[\xF0\x9F\x98\x80]");
}

TEST(FormatTest, ReadsNoFurtherThanThePrecision) {
    const char unterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(Format("%.3s", static_cast<const char*>(unterminated)), "abc");
}

TEST(FormatTest, PrintsCharacters) {
    EXPECT_EQ(Format("[%c%c]", 'a', 'b'), "[ab]");
    EXPECT_EQ(Format("[%3c]", 'a'), "[  a]");
    EXPECT_EQ(FormatWide(QM_W("[%c]"), QM_W('\x4E2D')), QM_W("[\x4E2D]"));
}

TEST(FormatTest, PrintsPointersInSixteenDigits) {
    const auto* pointer = reinterpret_cast<const void*>(std::uintptr_t{0x7FFE12AB});
    EXPECT_EQ(Format("[0x%p]", pointer), "[0x000000007FFE12AB]");
    EXPECT_EQ(Format("%p", static_cast<void*>(nullptr)), "0000000000000000");
}

TEST(FormatWideTest, SwapsTheMeaningOfTheTextConversions) {
    const WideString header =
        FormatWide(QM_W("Cookie: session_token=%s (%S)"), WideString(QM_W("t\x00E9")), "\xC3\xA9");
    EXPECT_EQ(header, QM_W("Cookie: session_token=t\x00E9 (\x00E9)"));
    EXPECT_EQ(FormatWide(QM_W("%I64u/%02d"), std::uint64_t{5}, 3), QM_W("5/03"));
    EXPECT_EQ(FormatWide(QM_W("%S"), "\xFF"), QM_W("\xFFFD"));
    EXPECT_EQ(FormatWide(QM_W("[%4s]"), static_cast<const WideChar*>(nullptr)), QM_W("[(null)]"));
}

TEST(FormatVarargsTest, ReadsEachKindOfArgument) {
    EXPECT_EQ(Varargs("%d %I64u %s %S %hu %lld %x", -1, std::uint64_t{18446744073709551615u}, "n\xC3\xA9",
                      QM_W("\x00E9"), 65537, std::int64_t{-5}, 255u),
              "-1 18446744073709551615 n\xC3\xA9 \xC3\xA9 1 -5 ff");
    EXPECT_EQ(Varargs("%c%% %p", 'x', reinterpret_cast<void*>(std::uintptr_t{16})), "x% 0000000000000010");
}

TEST(FormatVarargsTest, ReadsMoreArgumentsThanFitInRegisters) {
    EXPECT_EQ(Varargs("%d %d %d %d %d %d %d %I64d %d %s", 1, 2, 3, 4, 5, 6, 7, std::int64_t{8}, 9, "ten"),
              "1 2 3 4 5 6 7 8 9 ten");
}

TEST(FormatVarargsTest, PrintsNullTexts) {
    EXPECT_EQ(Varargs("[%s] [%S]", static_cast<const char*>(nullptr), static_cast<const WideChar*>(nullptr)),
              "[(null)] [(null)]");
}

TEST(FormatVarargsTest, PrintsTheRestAsItStandsFromAnUnknownConversionOn) {
    EXPECT_EQ(Varargs("a %d b %f c %d", 1), "a 1 b %f c %d");
    EXPECT_EQ(Varargs("%d %*d", 1), "1 %*d");
    EXPECT_EQ(Varargs("100%"), "100%");
    EXPECT_EQ(Varargs("%4097d"), "%4097d");
    EXPECT_EQ(Varargs("%99999999999999d"), "%99999999999999d");
    EXPECT_EQ(Varargs("%.99999999999999d"), "%.99999999999999d");
    EXPECT_EQ(Varargs("%hs"), "%hs");
}

TEST(FormatValuesTest, PrintsTheRestAsItStandsWithoutAFittingValue) {
    const FormatValue values[] = {std::uint32_t{1}, "text"};
    EXPECT_EQ(FormatValues("%d %d %d", values), "1 %d %d");
    EXPECT_EQ(FormatValues("%d %s %d", values), "1 text %d");
}

TEST(FormatCheckTest, AcceptsWhatFits) {
    static_assert(FindFormatFault<char>("plain %%") == FormatFault::None);
    static_assert(FindFormatFault<char, int, std::uint32_t, char>("%d %lu %c") == FormatFault::None);
    static_assert(FindFormatFault<char, std::uint64_t, std::int64_t>("%I64u %lld") == FormatFault::None);
    static_assert(FindFormatFault<char, char[4], WideString>("%s %S") == FormatFault::None);
    static_assert(FindFormatFault<WideChar, char[4], WideString>(QM_W("%S %s")) == FormatFault::None);
    static_assert(FindFormatFault<char, void*>("%p") == FormatFault::None);
}

TEST(FormatCheckTest, RefusesWhatDoesNotFit) {
    static_assert(FindFormatFault<char, std::uint64_t>("%d") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, int>("%I64d") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, std::uint64_t>("%lu") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, WideString>("%s") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, std::string>("%S") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<WideChar, std::string>(QM_W("%s")) == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, void*>("%x") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, int>("%s") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, double>("%d") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, std::string_view>("%s") == FormatFault::WrongArgument);
    static_assert(FindFormatFault<char, int>("%d %d") == FormatFault::MissingArgument);
    static_assert(FindFormatFault<char, int, int>("%d") == FormatFault::SuperfluousArgument);
    static_assert(FindFormatFault<char, int>("plain") == FormatFault::SuperfluousArgument);
    static_assert(FindFormatFault<char, double>("%f") == FormatFault::UnknownConversion);
    static_assert(FindFormatFault<char, int>("%*d") == FormatFault::UnknownConversion);
    static_assert(FindFormatFault<char, int>("%") == FormatFault::UnknownConversion);
    static_assert(FindFormatFault<char, int>("%ls") == FormatFault::UnknownConversion);
}

}  // namespace
}  // namespace quillmark
