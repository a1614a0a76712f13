#include "Fingerprint.h"

#include <gtest/gtest.h>

#include "unit/host/HostFolder.h"

namespace quillmark::cli {
namespace {

using test::Noise;

constexpr std::int64_t Block = 1024 * 1024;

class FingerprintTest : public ::testing::Test {
protected:
    Fingerprint Of(const std::string& content, std::int64_t to) {
        Fingerprint fingerprint;
        const WideString path = folder.Write("file", content);
        EXPECT_EQ(ExtendFingerprint(path, static_cast<std::int64_t>(content.size()), to, fingerprint), 0u);
        return fingerprint;
    }

    test::HostFolder folder;
};

TEST(DigestTest, IsMd4OfTheText) {
    EXPECT_EQ(DigestOf(""), "31d6cfe0d16ae931b73c59d7e0c089c0");
    EXPECT_EQ(DigestOf("abc"), "a448017aaf21d8525fc10ae87aa6729d");
}

TEST_F(FingerprintTest, CoversWholeBlocksOrTheWholeFile) {
    const std::string content = Noise(5 * Block / 2);
    EXPECT_EQ(Of(content, 0).end, 0);
    EXPECT_EQ(Of(content, 1).end, Block);
    EXPECT_EQ(Of(content, Block).end, Block);
    EXPECT_EQ(Of(content, Block + 1).end, 2 * Block);
    EXPECT_EQ(Of(content, 2 * Block + 1).end, 5 * Block / 2);
}

TEST_F(FingerprintTest, OfOneBlockIsItsDigest) {
    EXPECT_EQ(Of("abc", 3).link, "a448017aaf21d8525fc10ae87aa6729d");
}

TEST_F(FingerprintTest, GrowsInStepsToWhatItIsAtOnce) {
    const std::string content = Noise(3 * Block + 77);
    const WideString path = folder.Write("file", content);
    const auto size = static_cast<std::int64_t>(content.size());
    Fingerprint grown;
    for (std::int64_t to = 0; to < size; to += 300'000) {
        ASSERT_EQ(ExtendFingerprint(path, size, to, grown), 0u);
    }
    ASSERT_EQ(ExtendFingerprint(path, size, size, grown), 0u);
    EXPECT_EQ(grown, Of(content, size));
}

TEST_F(FingerprintTest, TellsEveryByteInWhatItCovers) {
    const std::string content = Noise(2 * Block + 5);
    const auto size = static_cast<std::int64_t>(content.size());
    const Fingerprint original = Of(content, size);
    for (const std::size_t place :
         {std::size_t{0}, std::size_t{Block}, std::size_t{2 * Block - 1}, content.size() - 1}) {
        std::string changed = content;
        changed[place] = static_cast<char>(changed[place] ^ 1);
        EXPECT_NE(Of(changed, size), original) << place;
    }
}

TEST_F(FingerprintTest, StaysAsItWasWhenTheFileIsShorter) {
    const WideString path = folder.Write("file", "abc");
    Fingerprint fingerprint;
    EXPECT_EQ(ExtendFingerprint(path, 4, 4, fingerprint), static_cast<DWORD>(ERROR_HANDLE_EOF));
    EXPECT_EQ(fingerprint, Fingerprint());
    EXPECT_EQ(ExtendFingerprint(folder.Wide("none"), 4, 4, fingerprint), 2u);
}

}  // namespace
}  // namespace quillmark::cli
