// A server that is killed: what it acknowledged is there when it comes back, what it did not is not.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class ServerCrashTest : public ClientTest {
protected:
    void SetUp() override { StartAndLogin({}); }
};

TEST_F(ServerCrashTest, UploadThatItInterruptsFailsAndTheNextOneWorks) {
    const std::string content = Pattern(32'000'000);
    ASSERT_EQ(0u, Upload("/acknowledged", "an earlier content"));
    EXPECT_EQ(12030u, Upload("/item", content, UploadAttributes(32'000'000), nullptr,
                             OnceAt(16'000'000, [&] { Server().Kill(); })));
    Server().Start();
    EXPECT_EQ(21002u, Look("/item"));
    EXPECT_EQ("an earlier content", ContentOf("/acknowledged"));
    EXPECT_EQ(0u, Upload("/item", content));
    EXPECT_TRUE(ContentOf("/item") == content);
}

TEST_F(ServerCrashTest, InterruptedReplacementLeavesTheOldContent) {
    ASSERT_EQ(0u, Upload("/item", "an earlier content"));
    EXPECT_EQ(12030u, Upload("/item", Pattern(8'000'000), UploadAttributes(8'000'000), nullptr,
                             OnceAt(7'000'000, [&] { Server().Kill(); })));
    Server().Start();
    EXPECT_EQ("an earlier content", ContentOf("/item"));
}

TEST_F(ServerCrashTest, EveryAcknowledgedUploadSurvivesAKillRightAfterwards) {
    for (int round = 0; round < 5; ++round) {
        const std::string path = "/item-" + std::to_string(round);
        ASSERT_EQ(0u, Upload(path, Pattern(static_cast<std::size_t>(round) * 100'000)));
        Server().Kill();
        Server().Start();
        for (int earlier = 0; earlier <= round; ++earlier) {
            EXPECT_TRUE(ContentOf("/item-" + std::to_string(earlier)) ==
                        Pattern(static_cast<std::size_t>(earlier) * 100'000));
        }
    }
}

TEST_F(ServerCrashTest, DownloadThatItInterruptsFails) {
    ASSERT_EQ(0u, Upload("/item", Pattern(32'000'000)));
    EXPECT_EQ(12030u, Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("item")), nullptr, MakeAttributes(),
                                             QM_W(""), nullptr, OnceAt(1, [&] { Server().Kill(); }), 0));
}

}  // namespace
}  // namespace quillmark::testing
