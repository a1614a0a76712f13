// Redirects and challenges that Wine 8 goes other ways about: it announces the first request's body again for a GET
// that follows a POST, knows neither 303 nor 308, fails without a location, goes to other hosts (which is left to the
// caller here), never asks for a streamed body again, sends Basic credentials unasked, and answers no Digest.
#include <gtest/gtest.h>

#include "unit/winhttp/RedirectTest.h"

namespace quillmark::test {
namespace {

class RedirectPosixTest : public RedirectTest {};
class ChallengePosixTest : public ChallengeTest {};

TEST_F(RedirectPosixTest, LastUrlCanBeQueried) {
    m_answer = RedirectTo("/to");
    const ScopedHandle request = Open("GET");
    ASSERT_EQ("there", Exchange(request).body);
    WCHAR url[200];
    DWORD size = sizeof(url);
    ASSERT_TRUE(WinHttpQueryOption(request, WINHTTP_OPTION_URL, url, &size));
    EXPECT_EQ(Wide("http://127.0.0.1:" + std::to_string(m_server.Port()) + "/to"), WideText(url));
}

TEST_F(RedirectPosixTest, AnotherHostIsLeftToTheCaller) {
    m_answer = RedirectTo("http://localhost:" + std::to_string(m_server.Port()) + "/to");
    const ScopedHandle request = Open("GET");
    const Reply reply = Exchange(request);
    EXPECT_EQ(302, reply.status);
    EXPECT_EQ("gone", reply.body);
    EXPECT_EQ((Seen{"GET /from"}), m_seen);
}

TEST_F(RedirectPosixTest, AnotherSchemeThanHttpIsLeftToTheCaller) {
    for (const char* location : {"ftp://127.0.0.1/x", "file:///etc/hostname", "http://[bad/"}) {
        m_answer = RedirectTo(location);
        EXPECT_EQ(302, Exchange(Open("GET")).status) << location;
    }
}

TEST_F(RedirectPosixTest, WithoutLocationIsLeftToTheCaller) {
    m_answer = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(302, Exchange(Open("GET")).status);
}

TEST_F(RedirectPosixTest, StreamedBodyMustBeSentAgainByTheCaller) {
    m_answer = RedirectTo("/to", 307);
    const ScopedHandle request = Open("POST");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 4));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "body"));
    EXPECT_EQ(ERROR_WINHTTP_RESEND_REQUEST, Receive(request).code);
    EXPECT_EQ((Seen{"POST /from body"}), m_seen);
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 4));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "body"));
    EXPECT_EQ("there", Receive(request).body);
    EXPECT_EQ((Seen{"POST /from body", "POST /to body"}), m_seen);
}

TEST_F(RedirectPosixTest, StreamedBodyBecomesAGetWithoutOne) {
    m_answer = RedirectTo("/to", 303);
    const ScopedHandle request = Open("POST");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 4));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "body"));
    EXPECT_EQ("there", Receive(request).body);
    EXPECT_EQ((Seen{"POST /from body", "GET /to"}), m_seen);
}

class RedirectVerbPosixTest : public RedirectTest, public testing::WithParamInterface<VerbCase> {};

TEST_P(RedirectVerbPosixTest, VerbAndBodyFollowTheStatus) {
    ExpectSecond(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Statuses, RedirectVerbPosixTest,
                         testing::Values(VerbCase{301, "POST", "GET /to"}, VerbCase{302, "POST", "GET /to"},
                                         VerbCase{303, "POST", "GET /to"}, VerbCase{308, "POST", "POST /to body"},
                                         VerbCase{303, "PUT", "GET /to"}),
                         [](const auto& test) { return test.param.verb + std::to_string(test.param.status); });

TEST_F(ChallengePosixTest, StreamedBodyMustBeSentAgainByTheCaller) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 3));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "a=b"));
    EXPECT_EQ(ERROR_WINHTTP_RESEND_REQUEST, Receive(request).code);
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 3));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "a=b"));
    EXPECT_EQ("in", Receive(request).body);
    EXPECT_EQ((Seen{"none a=b", "Authorization: Basic dXNlcjpwYXNz a=b"}), m_seen);
}

TEST_F(ChallengePosixTest, InTheMiddleOfAStreamedBodyMustBeSentAgainByTheCaller) {
    RawServer server([](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        static_cast<void>(peer.Read(1000));
        peer.Send(BasicChallenge);
        peer.ReadToEnd();
    });
    const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 64ULL * 1024 * 1024));
    const std::string chunk(1024 * 1024, 'x');
    for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(ERROR_SUCCESS, Write(request, chunk));
    }
    EXPECT_EQ(ERROR_WINHTTP_RESEND_REQUEST, Receive(request).code);
    EXPECT_EQ(1, server.Connections());
}

TEST_F(ChallengePosixTest, OtherSchemeThanTheCredentialsIsLeftToTheCaller) {
    m_challenge = NegotiateChallenge;
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    EXPECT_EQ(401, Exchange(request).status);
    EXPECT_EQ((Seen{"none "}), m_seen);
}

TEST_F(ChallengePosixTest, DisabledAuthenticationLeavesItToTheCaller) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    DWORD feature = WINHTTP_DISABLE_AUTHENTICATION;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
    EXPECT_EQ(401, Exchange(request).status);
}

TEST_F(ChallengePosixTest, DigestIsAnswered) {
    m_challenge =
        "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"r\", nonce=\"n\", qop=\"auth\"\r\n"
        "Content-Length: 4\r\n\r\ndeny";
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "POST", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_DIGEST, QM_W("user"),
                                      QM_W("pass"), nullptr));
    EXPECT_EQ("in", Exchange(request, "a=b").body);
    ASSERT_FALSE(m_seen.empty());
    EXPECT_NE(std::string::npos, m_seen.back().find("Authorization: Digest username=\"user\"")) << m_seen.back();
    EXPECT_TRUE(m_seen.back().ends_with(" a=b")) << m_seen.back();
}

}  // namespace
}  // namespace quillmark::test
