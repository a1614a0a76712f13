#include "quillmark/WideString.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace quillmark {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(WideStringTest, StartsEmptyAndTerminated) {
    const WideString text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.size(), 0u);
    ASSERT_NE(text.c_str(), nullptr);
    EXPECT_EQ(text.c_str()[0], 0);
}

TEST(WideStringTest, TakesANullPointerAsTheEmptyText) {
    const WideString text(static_cast<const WideChar*>(nullptr));
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.c_str()[0], 0);
}

TEST(WideStringTest, CountsZerosInTheMiddle) {
    const WideString text(WideView(QM_W("a\0b"), 3));
    EXPECT_EQ(text.size(), 3u);
    EXPECT_EQ(text[1], 0);
    EXPECT_EQ(text[2], QM_W('b'));
    EXPECT_EQ(text.c_str()[3], 0);
}

TEST(WideStringTest, KeepsALoneSurrogate) {
    const WideChar high = 0xD83D;
    const WideString text(WideView(&high, 1));
    EXPECT_EQ(text.size(), 1u);
    EXPECT_EQ(text[0], 0xD83D);
}

TEST(WideStringTest, SharesTheBufferAmongCopies) {
    const WideString text = QM_W("token");
    const WideString copy = text;
    WideString assigned;
    assigned = copy;
    EXPECT_EQ(copy.c_str(), text.c_str());
    EXPECT_EQ(assigned.c_str(), text.c_str());
}

TEST(WideStringTest, LeavesCopiesAloneWhenOneIsAppendedTo) {
    const WideString text = QM_W("/Shared");
    WideString copy = text;
    copy += QM_W("/Reports");
    EXPECT_EQ(text, QM_W("/Shared"));
    EXPECT_EQ(copy, QM_W("/Shared/Reports"));
}

TEST(WideStringTest, LeavesCopiesAloneWhenOneIsWrittenTo) {
    const WideString text = QM_W("abc");
    WideString copy = text;
    copy.MutableData()[1] = QM_W('X');
    EXPECT_EQ(text, QM_W("abc"));
    EXPECT_EQ(copy, QM_W("aXc"));
}

TEST(WideStringTest, LeavesCopiesAloneWhenOneIsResizedOrCleared) {
    const WideString text = QM_W("abc");
    WideString cut = text;
    cut.Resize(1);
    WideString cleared = text;
    cleared.Clear();
    EXPECT_EQ(text, QM_W("abc"));
    EXPECT_EQ(cut, QM_W("a"));
    EXPECT_TRUE(cleared.empty());
}

TEST(WideStringTest, WritesInPlaceWhenItIsTheOnlyOwner) {
    WideString text = QM_W("abc");
    const WideChar* before = text.c_str();
    { const WideString copy = text; }
    text.MutableData()[0] = QM_W('X');
    EXPECT_EQ(text.c_str(), before);
    EXPECT_EQ(text, QM_W("Xbc"));
}

TEST(WideStringTest, GivesAWritableBufferForTheEmptyText) {
    WideString text;
    ASSERT_NE(text.MutableData(), nullptr);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(text.c_str()[0], 0);
}

TEST(WideStringTest, IsEmptyAfterItWasMovedFrom) {
    WideString text = QM_W("abc");
    const WideChar* buffer = text.c_str();
    WideString moved = std::move(text);
    EXPECT_EQ(moved.c_str(), buffer);
    EXPECT_TRUE(text.empty());  // NOLINT: what a moved-from text is, is promised
    WideString assigned = QM_W("old");
    assigned = std::move(moved);
    EXPECT_EQ(assigned, QM_W("abc"));
    EXPECT_TRUE(moved.empty());  // NOLINT
}

TEST(WideStringTest, SurvivesAssignmentToItself) {
    WideString text = QM_W("abc");
    WideString& alias = text;
    text = alias;
    EXPECT_EQ(text, QM_W("abc"));
    text = std::move(alias);
    EXPECT_EQ(text, QM_W("abc"));
}

TEST(WideStringTest, AppendsAPartOfItself) {
    WideString full = QM_W("abc");
    full.Append(full.view().substr(1));
    EXPECT_EQ(full, QM_W("abcbc"));

    WideString withRoom = QM_W("abcdefgh");
    withRoom += QM_W("-");
    const std::size_t size = withRoom.size();
    withRoom.Append(withRoom.view().substr(0, 2));
    EXPECT_EQ(withRoom.size(), size + 2);
    EXPECT_EQ(withRoom, QM_W("abcdefgh-ab"));
}

TEST(WideStringTest, AppendsManySingleUnits) {
    WideString text;
    for (int i = 0; i < 1000; ++i) {
        text += static_cast<WideChar>(QM_W('a') + i % 26);
    }
    ASSERT_EQ(text.size(), 1000u);
    EXPECT_EQ(text[0], QM_W('a'));
    EXPECT_EQ(text[999], QM_W('l'));
    EXPECT_EQ(text.c_str()[1000], 0);
}

TEST(WideStringTest, KeepsItsBufferWhenNothingIsAppended) {
    WideString text = QM_W("abc");
    const WideString copy = text;
    text += QM_W("");
    EXPECT_EQ(text.c_str(), copy.c_str());
}

TEST(WideStringTest, LengthensWithZeros) {
    WideString text = QM_W("ab");
    text.Resize(4);
    EXPECT_EQ(text.view(), WideView(QM_W("ab\0\0"), 4));
    text.Resize(1);
    text.Resize(3);
    EXPECT_EQ(text.view(), WideView(QM_W("a\0\0"), 3));
    EXPECT_EQ(text.c_str()[3], 0);
}

TEST(WideStringTest, CutsSubstringsAtTheEnd) {
    const WideString text = QM_W("abcdef");
    EXPECT_EQ(text.Substring(2), QM_W("cdef"));
    EXPECT_EQ(text.Substring(2, 2), QM_W("cd"));
    EXPECT_EQ(text.Substring(4, 100), QM_W("ef"));
    EXPECT_TRUE(text.Substring(6).empty());
    EXPECT_TRUE(text.Substring(7).empty());
    EXPECT_TRUE(text.Substring(0, 0).empty());
    EXPECT_EQ(text.Substring(0).c_str(), text.c_str());
}

TEST(WideStringTest, FindsTextsAndUnits) {
    const WideString text = QM_W("/a/b/a");
    EXPECT_EQ(text.Find(QM_W("/a")), 0u);
    EXPECT_EQ(text.Find(QM_W("/a"), 1), 4u);
    EXPECT_EQ(text.Find(QM_W("x")), WideString::npos);
    EXPECT_EQ(text.Find(QM_W('b')), 3u);
    EXPECT_EQ(text.Find(QM_W('b'), 4), WideString::npos);
    EXPECT_EQ(text.FindLast(QM_W('/')), 4u);
    EXPECT_EQ(text.FindLast(QM_W('x')), WideString::npos);
    EXPECT_TRUE(text.StartsWith(QM_W("/a/")));
    EXPECT_FALSE(text.StartsWith(QM_W("/a/b/a/")));
}

TEST(WideStringTest, OrdersByCodeUnit) {
    const WideString emoji(WideView(QM_W("\xD83D\xDE00"), 2));
    const WideString privateUse(WideView(QM_W("\xE000"), 1));
    EXPECT_LT(emoji, privateUse);
    EXPECT_LT(WideString(QM_W("a")), WideString(QM_W("ab")));
    EXPECT_LT(WideString(QM_W("B")), WideString(QM_W("a")));
    EXPECT_EQ(WideString(QM_W("a")), WideString(QM_W("a")));
    EXPECT_NE(WideString(QM_W("a")), WideString(QM_W("A")));
}

TEST(WideStringTest, JoinsWithoutTouchingTheLeftSide) {
    const WideString left = QM_W("a");
    const WideString right = QM_W("b");
    EXPECT_EQ(left + right, QM_W("ab"));
    EXPECT_EQ(left + QM_W("c"), QM_W("ac"));
    EXPECT_EQ(left + WideView(QM_W("d")), QM_W("ad"));
    EXPECT_EQ(left, QM_W("a"));
}

TEST(WideStringTest, LetsEachThreadChangeItsOwnCopy) {
    const WideString shared = QM_W("shared text of several threads");
    std::vector<std::thread> threads;
    std::vector<WideString> results(8);
    for (std::size_t index = 0; index < results.size(); ++index) {
        threads.emplace_back([&shared, &result = results[index], index] {
            for (int round = 0; round < 2000; ++round) {
                WideString copy = shared;
                const WideString second = copy;
                copy += static_cast<WideChar>(QM_W('0') + index);
                result = copy;
                ASSERT_EQ(second.view(), shared.view());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared, QM_W("shared text of several threads"));
    EXPECT_EQ(results[0], QM_W("shared text of several threads0"));
    EXPECT_EQ(results[7], QM_W("shared text of several threads7"));
}

TEST(Utf8Test, ConvertsBothWays) {
    const std::string narrow = "A\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"s;
    const WideString wide = WidenUtf8(narrow);
    EXPECT_EQ(wide.view(), WideView(QM_W("A\x00E9\x4E2D\xD83D\xDE00"), 5));
    EXPECT_EQ(NarrowUtf8(wide), narrow);
}

TEST(Utf8Test, ConvertsTheEmptyText) {
    EXPECT_TRUE(WidenUtf8("").empty());
    EXPECT_TRUE(NarrowUtf8(WideView()).empty());
}

TEST(Utf8Test, KeepsZeros) {
    EXPECT_EQ(WidenUtf8("a\0b"sv).view(), WideView(QM_W("a\0b"), 3));
    EXPECT_EQ(NarrowUtf8(WideView(QM_W("a\0b"), 3)), "a\0b"s);
}

TEST(Utf8Test, PutsTheReplacementCharacterForWhatIsMalformed) {
    EXPECT_EQ(WidenUtf8("a\xFF"
                        "b")
                  .view(),
              WideView(QM_W("a\xFFFD"
                            "b"),
                       3));
    const WideChar lone[] = {QM_W('a'), 0xD800, QM_W('b')};
    EXPECT_EQ(NarrowUtf8(WideView(lone, 3)),
              "a\xEF\xBF\xBD"
              "b");
}

TEST(Utf8Test, RefusesTextsTooLongToConvert) {
    // The lengths are refused before the texts are looked at.
    const char narrow = 'a';
    const WideChar wide = QM_W('a');
    const std::size_t length = std::size_t{1} << 31U;
    EXPECT_THROW(static_cast<void>(WidenUtf8(std::string_view(&narrow, length))), std::length_error);
    EXPECT_THROW(static_cast<void>(NarrowUtf8(WideView(&wide, length))), std::length_error);
}

}  // namespace
}  // namespace quillmark
