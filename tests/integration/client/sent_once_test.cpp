// Nothing is sent twice behind the caller's back: a kept connection that dies between the request and its reply ends
// the operation with 12030, and the server has seen the request once.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

struct Death {
    const char* kind;
    const char* at;
    const char* name;
};

void PrintTo(const Death& death, std::ostream* stream) {
    *stream << death.name;
}

class SentOnceTest : public ClientTest, public ::testing::WithParamInterface<Death> {
protected:
    void SetUp() override {
        StartAndLogin();
        // The connection that all this goes over is from now on a kept one.
        ASSERT_EQ(0u, MakeFolder("/base"));
    }

    // Lets the connection of the next such request die.
    void Plan(const std::string& method, const std::string& path) {
        Server().AddFaults({{"method", method}, {"path", path}, {"kind", GetParam().kind}, {"at", GetParam().at}});
        m_method = method;
        m_path = path;
        m_before = Server().RequestCount(method, path);
    }

    void ExpectSeenOnceOnTheKeptConnection() {
        EXPECT_EQ(m_before + 1, Server().RequestCount(m_method, m_path));
        EXPECT_EQ(1u, Server().ConnectionCount());
        EXPECT_EQ(0u, Server().UnusedFaults());
        // The client is as good as before.
        EXPECT_EQ(0u, Look("/"));
        EXPECT_EQ(2u, Server().ConnectionCount());
    }

private:
    std::string m_method;
    std::string m_path;
    std::uint64_t m_before = 0;
};

INSTANTIATE_TEST_SUITE_P(
    Deaths, SentOnceTest,
    ::testing::Values(Death{"end", "before-head", "EndBeforeWork"}, Death{"reset", "before-head", "ResetBeforeWork"},
                      Death{"end", "after-work", "EndAfterWork"}, Death{"reset", "after-work", "ResetAfterWork"},
                      Death{"end", "in-head", "EndInHead"}, Death{"reset", "in-head", "ResetInHead"}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(SentOnceTest, FormIsNotPostedAgain) {
    Plan("POST", "/api/1.7/folders/base");
    EXPECT_EQ(12030u, MakeFolder("/base/new"));
    ExpectSeenOnceOnTheKeptConnection();
}

TEST_P(SentOnceTest, QuestionIsNotAskedAgain) {
    Plan("GET", "/api/1.7/folders/base");
    EXPECT_EQ(12030u, Look("/base"));
    ExpectSeenOnceOnTheKeptConnection();
}

TEST_P(SentOnceTest, SmallUploadIsNotSentAgain) {
    Plan("POST", "/api/1.7/folders/base/small");
    EXPECT_EQ(12030u, Upload("/base/small", "a few bytes"));
    ExpectSeenOnceOnTheKeptConnection();
}

TEST_P(SentOnceTest, StreamedUploadIsNotSentAgain) {
    Plan("POST", "/api/1.7/folders/base/large");
    EXPECT_EQ(12030u, Upload("/base/large", Pattern(4'000'000)));
    ExpectSeenOnceOnTheKeptConnection();
}

TEST_P(SentOnceTest, DownloadIsNotAskedForAgain) {
    ASSERT_EQ(0u, Upload("/base/item", "content"));
    Plan("GET", "/api/1.7/folders/base/item");
    EXPECT_EQ(12030u, Client()->DownloadFile(QM_W("/base/item"), WidenUtf8(LocalPath("item")), nullptr,
                                             MakeAttributes(), QM_W(""), nullptr, nullptr, 0));
    ExpectSeenOnceOnTheKeptConnection();
}

}  // namespace
}  // namespace quillmark::testing
