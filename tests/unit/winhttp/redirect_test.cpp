// Redirects and challenges: what is followed or answered, and what is left to the caller.
#include <gtest/gtest.h>

#include "unit/winhttp/RedirectTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

TEST_F(RedirectTest, IsFollowedOnTheSameConnection) {
    m_answer = RedirectTo("/to?x=1");
    EXPECT_EQ("there", Exchange(Open("GET")).body);
    EXPECT_EQ((Seen{"GET /from", "GET /to?x=1"}), m_seen);
    EXPECT_EQ(1, m_server.Connections());
}

TEST_F(RedirectTest, RelativeLocationIsResolved) {
    m_answer = RedirectTo("../b/./c");
    EXPECT_EQ("there", Exchange(Open("GET", "/a/x/from").operator HINTERNET()).body);
    m_answer = RedirectTo("next?y");
    EXPECT_EQ("there", Exchange(Open("GET")).body);
    // Wine loses the query of a relative location.
    EXPECT_THAT(m_seen, OrUnderWine(Seen{"GET /a/x/from", "GET /from", "GET /next?y"},
                                    Seen{"GET /a/x/from", "GET /from", "GET /next?"}));
}

TEST_F(RedirectTest, AbsoluteLocationOnTheSameHostIsFollowed) {
    m_answer = RedirectTo("http://127.0.0.1:" + std::to_string(m_server.Port()) + "/to");
    EXPECT_EQ("there", Exchange(Open("GET")).body);
    EXPECT_EQ((Seen{"GET /from", "GET /to"}), m_seen);
}

class RedirectVerbTest : public RedirectTest, public testing::WithParamInterface<VerbCase> {};

TEST_P(RedirectVerbTest, VerbAndBodyFollowTheStatus) {
    ExpectSecond(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Statuses, RedirectVerbTest,
                         testing::Values(VerbCase{307, "POST", "POST /to body"}, VerbCase{302, "PUT", "PUT /to body"}),
                         [](const auto& test) { return test.param.verb + std::to_string(test.param.status); });

TEST_F(RedirectTest, NotModifiedAndMultipleChoicesAreNoRedirects) {
    for (const int status : {300, 304, 305}) {
        m_answer = "HTTP/1.1 " + std::to_string(status) + " X\r\nLocation: /to\r\nContent-Length: 0\r\n\r\n";
        EXPECT_EQ(status, Exchange(Open("GET")).status);
    }
}

TEST_F(RedirectTest, MoreThanTenFail) {
    m_answer = RedirectTo("/from");
    EXPECT_EQ(ERROR_WINHTTP_REDIRECT_FAILED, Exchange(Open("GET")).code);
    EXPECT_EQ(11u, m_seen.size());
}

TEST_F(RedirectTest, LimitCanBeSet) {
    m_answer = RedirectTo("/from");
    const ScopedHandle request = Open("GET");
    DWORD most = 2;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, &most, sizeof(most)));
    EXPECT_EQ(ERROR_WINHTTP_REDIRECT_FAILED, Exchange(request).code);
    EXPECT_EQ(3u, m_seen.size());
}

TEST_F(RedirectTest, PolicyNeverLeavesItToTheCaller) {
    m_answer = RedirectTo("/to");
    const ScopedHandle request = Open("GET");
    DWORD policy = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_REDIRECT_POLICY, &policy, sizeof(policy)));
    EXPECT_EQ(302, Exchange(request).status);
}

TEST_F(RedirectTest, DisabledFeatureLeavesItToTheCaller) {
    m_answer = RedirectTo("/to");
    const ScopedHandle request = Open("GET");
    DWORD feature = WINHTTP_DISABLE_REDIRECTS;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
    EXPECT_EQ(302, Exchange(request).status);
}

// ---- Challenges ----

TEST_F(ChallengeTest, WithoutCredentialsIsLeftToTheCaller) {
    const Reply reply = Exchange(OpenRequest(m_session, m_server.Port(), "GET", "/"));
    EXPECT_EQ(401, reply.status);
    EXPECT_EQ("deny", reply.body);
    EXPECT_EQ((Seen{"none "}), m_seen);
}

TEST_F(ChallengeTest, IsAnsweredAndOptionalDataIsSentAgain) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    EXPECT_EQ("in", Exchange(request, "a=b").body);
    // Wine does not wait to be asked.
    EXPECT_THAT(m_seen, OrUnderWine(Seen{"none a=b", "Authorization: Basic dXNlcjpwYXNz a=b"},
                                    Seen{"Authorization: Basic dXNlcjpwYXNz a=b"}));
}

TEST_F(ChallengeTest, NegotiateWithoutATicketHandsThe401ToTheCaller) {
    m_challenge = NegotiateChallenge;
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/");
    DWORD level = WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_AUTOLOGON_POLICY, &level, sizeof(level)));
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr,
                                      nullptr, nullptr));
    const Reply reply = Exchange(request, "a=b");
    EXPECT_EQ(ERROR_SUCCESS, reply.code);
    EXPECT_EQ(401, reply.status);
    EXPECT_EQ("deny", reply.body);
}

TEST_F(ChallengeTest, HighSecurityWithholdsTheLoggedOnUser) {
    m_challenge = NegotiateChallenge;
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    DWORD level = WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_AUTOLOGON_POLICY, &level, sizeof(level)));
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr,
                                      nullptr, nullptr));
    EXPECT_EQ(401, Exchange(request).status);
    EXPECT_EQ((Seen{"none "}), m_seen);
}

}  // namespace
}  // namespace quillmark::test
