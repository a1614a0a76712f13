// Connections that are kept: how many the server sees, and what a small operation takes on one.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

// The parameter: over HTTPS.
class KeptConnectionTest : public ClientTest, public ::testing::WithParamInterface<bool> {
protected:
    // Five operations, two of them uploads; the second upload names a revision that the item does not have.
    void RunRound(int round) {
        const std::string path = "/item-" + std::to_string(round);
        // Both below and above what the library gathers into one write.
        const std::string content = Pattern(static_cast<std::size_t>(round) * 60'000);
        const Attributes stored = UploadAttributes(static_cast<std::int64_t>(content.size()));
        EXPECT_EQ(0u, Upload(path, content, stored));
        const Attributes stale = UploadAttributes(static_cast<std::int64_t>(content.size()));
        stale->SetRevision(stored->GetRevision() + "9");
        EXPECT_EQ(21077u, Upload(path, content, stale));

        ItemList children;
        Attributes self;
        EXPECT_EQ(0u, Client()->GetPathListing(QM_W("/"), children, self, nullptr).error);
        EXPECT_EQ(static_cast<std::size_t>(round) + 1, children.size());
        Attributes values = UploadAttributes(0);
        EXPECT_EQ(0u, Client()->SetPathAttributes(WidenUtf8(path), values, nullptr).error);
        EXPECT_TRUE(ContentOf(path) == content) << path;
    }
};

INSTANTIATE_TEST_SUITE_P(Schemes, KeptConnectionTest, ::testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Https" : "Http"; });

TEST_P(KeptConnectionTest, FiftyOperationsUseOneConnectionWithHalfOfTheirUploadsRefused) {
    StartAndLogin({"--no-sync"}, GetParam());
    for (int round = 0; round < 10; ++round) {
        RunRound(round);
    }
    EXPECT_EQ(1u, Server().ConnectionCount());
    EXPECT_EQ(3u, Server().RequestCount("POST", "/api/1.7/folders/item-0"));
}

TEST_P(KeptConnectionTest, ConnectionThatTheServerClosedWhileIdleIsReplacedUnnoticed) {
    StartAndLogin({"--no-sync"}, GetParam());
    ASSERT_EQ(0u, MakeFolder("/before"));
    Server().Kill();
    Server().Start();
    EXPECT_EQ(0u, MakeFolder("/after"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders"));
}

class SmallOperationTest : public ClientTest {};

TEST_F(SmallOperationTest, TakesWellUnderAMillisecondOnAKeptConnection) {
    using Clock = std::chrono::steady_clock;
    StartAndLogin();
    ASSERT_EQ(0u, MakeFolder("/folder"));
    std::vector<double> milliseconds;
    for (int turn = 0; turn < 500; ++turn) {
        const Clock::time_point start = Clock::now();
        ASSERT_EQ(0u, Look("/folder"));
        milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("MEASURED small operation on a kept connection: median %.3f ms, 99th percentile %.3f ms\n",
                milliseconds[250], milliseconds[495]);
    EXPECT_LT(milliseconds[250], 1.0);
    EXPECT_EQ(1u, Server().ConnectionCount());
}

}  // namespace
}  // namespace quillmark::testing
