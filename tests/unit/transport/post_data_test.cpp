#include "transport/PostData.h"

#include <gtest/gtest.h>

#include <string>

namespace quillmark {
namespace {

std::string Bytes(PostData& data) {
    return {data.data(), data.size()};
}

TEST(PostDataTest, KeepsWhatIsAppendedInOrder) {
    PostData data;
    EXPECT_TRUE(data.empty());
    data.Append("abc");
    data.Append("");
    data.Append(std::string_view("d\0e", 3));
    EXPECT_EQ(Bytes(data), std::string("abcd\0e", 6));
    EXPECT_EQ(data.size(), 6u);
}

TEST(PostDataTest, WipeEmptiesAndLeavesZeros) {
    PostData data;
    data.Append("secret");
    const char* block = data.data();
    data.Wipe();
    EXPECT_TRUE(data.empty());
    // The block is kept for what is appended next, so it may still be looked at.
    data.Append("x");
    ASSERT_EQ(data.data(), block);
    EXPECT_EQ(std::string(block, 6), std::string("x\0\0\0\0\0", 6));
}

// A heap that keeps what the block held when it came back.
struct WatchingHeap {
    using value_type = char16_t;
    std::u16string* held;

    void deallocate(const char16_t* block, std::size_t count) const { held->assign(block, count); }
};

TEST(PostDataTest, ABlockIsZeroWhenItIsGivenBack) {
    char16_t block[] = u"secret";
    std::u16string held = u"?";
    WipeAndFree(WatchingHeap{&held}, block, 6);
    EXPECT_EQ(held, std::u16string(6, u'\0'));
}

TEST(PostDataTest, KeepsItsBytesWhileItGrows) {
    PostData data;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        data.Append("0123456789");
        expected += "0123456789";
    }
    EXPECT_EQ(Bytes(data), expected);
}

}  // namespace
}  // namespace quillmark
