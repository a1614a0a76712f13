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

TEST(PostDataTest, ABlockIsWipedBeforeItIsGivenBack) {
    char block[] = "secret";
    WipeMemory(block, 6);
    EXPECT_EQ(std::string(block, 7), std::string(7, '\0'));
}

TEST(PostDataTest, UsesTheWipingAllocator) {
    // Allocators of all types are one: what one of them handed out, another wipes and gives back.
    WipingAllocator<char> allocator;
    WipingAllocator<long> other(allocator);
    EXPECT_TRUE(WipingAllocator<char>(other) == allocator);
}

}  // namespace
}  // namespace quillmark
