#include "Deltas.h"

#include <gtest/gtest.h>

#include "unit/host/HostFolder.h"

namespace quillmark::cli {
namespace {

using test::Noise;

class DeltasTest : public ::testing::Test {
protected:
    // What the delta from one content to another makes of the first one; its size goes to deltaSize.
    std::string RoundTrip(const std::string& before, const std::string& after) {
        const WideString oldFile = folder.Write("old", before);
        const WideString newFile = folder.Write("new", after);
        EXPECT_EQ(WriteDelta(oldFile, newFile, folder.Wide("delta"), nullptr), 0u);
        deltaSize = folder.Read("delta").size();
        EXPECT_EQ(ApplyDelta(oldFile, folder.Wide("delta"), folder.Wide("made"), nullptr), 0u);
        return folder.Read("made");
    }

    test::HostFolder folder;
    std::size_t deltaSize = 0;
};

TEST_F(DeltasTest, MakeTheNewContentsOutOfTheOldOnes) {
    const std::string before = Noise(3'000'000);
    std::string after = before;
    after[1'000'000] = static_cast<char>(after[1'000'000] + 1);
    after.insert(2'000'000, "some more in the middle");
    after += "and at the end";
    EXPECT_TRUE(RoundTrip(before, after) == after);
    EXPECT_LT(deltaSize, 20'000u);
}

TEST_F(DeltasTest, TakeEmptyContentsOnEitherSide) {
    EXPECT_EQ(RoundTrip("", "something"), "something");
    EXPECT_EQ(RoundTrip("something", ""), "");
    EXPECT_EQ(RoundTrip("", ""), "");
}

TEST_F(DeltasTest, OfEqualContentsAreSmall) {
    const std::string content = Noise(1'000'000);
    EXPECT_TRUE(RoundTrip(content, content) == content);
    EXPECT_LT(deltaSize, 100u);
}

TEST_F(DeltasTest, OfUnrelatedContentsCarryTheNewOnes) {
    const std::string after = Noise(700'001, 7);
    EXPECT_TRUE(RoundTrip(Noise(900'000, 3), after) == after);
    EXPECT_GT(deltaSize, 700'000u);
}

TEST_F(DeltasTest, SignatureBeginsLikeOne) {
    ASSERT_EQ(WriteSignature(folder.Write("old", Noise(100'000)), folder.Wide("signature"), nullptr), 0u);
    EXPECT_EQ(folder.Read("signature").substr(0, 3), "rs\x01");
    EXPECT_LT(folder.Read("signature").size(), 20'000u);
}

TEST_F(DeltasTest, WhatIsNoDeltaIsRefused) {
    const WideString oldFile = folder.Write("old", "old");
    for (const std::string& content : {std::string("no delta at all"), std::string(), std::string("rs\x02\x36")}) {
        EXPECT_EQ(ApplyDelta(oldFile, folder.Write("delta", content), folder.Wide("made"), nullptr), 13u) << content;
    }
}

TEST_F(DeltasTest, ADeltaForLongerContentsIsRefused) {
    const std::string before = Noise(300'000);
    RoundTrip(before, before + "more");
    EXPECT_EQ(
        ApplyDelta(folder.Write("shorter", before.substr(0, 1000)), folder.Wide("delta"), folder.Wide("made"), nullptr),
        13u);
}

TEST_F(DeltasTest, TellWhichFileIsMissing) {
    const WideString there = folder.Write("there", "x");
    EXPECT_EQ(WriteDelta(folder.Wide("none"), there, folder.Wide("delta"), nullptr), 2u);
    EXPECT_EQ(WriteDelta(there, folder.Wide("none"), folder.Wide("delta"), nullptr), 2u);
    EXPECT_EQ(WriteDelta(there, there, folder.Wide("no/folder"), nullptr), 3u);
    EXPECT_EQ(ApplyDelta(folder.Wide("none"), there, folder.Wide("made"), nullptr), 2u);
}

TEST_F(DeltasTest, EndWhenTheyAreCancelled) {
    HANDLE cancel = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    const WideString file = folder.Write("file", "x");
    EXPECT_EQ(WriteSignature(file, folder.Wide("signature"), cancel), 1223u);
    EXPECT_EQ(WriteDelta(file, file, folder.Wide("delta"), cancel), 1223u);
    EXPECT_EQ(ApplyDelta(file, file, folder.Wide("made"), cancel), 1223u);
    CloseHandle(cancel);
}

}  // namespace
}  // namespace quillmark::cli
