// Redirects and challenges: what is followed or answered, and what is left to the caller.
#include <gtest/gtest.h>

#include <functional>
#include <mutex>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

// A server that answers by path, and keeps "VERB path body" of what it got.
class RedirectTest : public testing::Test {
protected:
    void Serve(Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            const std::size_t at = head.find("Content-Length: ");
            const std::string body = at == std::string::npos ? "" : peer.Read(std::stoul(head.substr(at + 16)));
            const std::string line = head.substr(0, head.find(" HTTP/"));
            {
                const std::lock_guard lock(m_mutex);
                m_seen.push_back(line + (body.empty() ? "" : " " + body));
                m_heads.push_back(head);
            }
            peer.Send(line.ends_with(" /from") ? m_answer : Ok("there"));
        }
    }

    std::string RedirectTo(const std::string& location, int status = 302) const {
        return "HTTP/1.1 " + std::to_string(status) + " Elsewhere\r\nLocation: " + location +
               "\r\nContent-Length: 4\r\n\r\ngone";
    }

    ScopedHandle Open(std::string_view verb, std::string_view object = "/from") {
        return OpenRequest(m_session, m_server.Port(), verb, object);
    }

    std::mutex m_mutex;
    std::string m_answer;
    std::vector<std::string> m_seen;
    std::vector<std::string> m_heads;
    RawServer m_server{[this](Peer& peer) { Serve(peer); }};
    ScopedHandle m_session = OpenSession();
};

using Seen = std::vector<std::string>;

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
    EXPECT_EQ((Seen{"GET /a/x/from", "GET /from", "GET /next?y"}), m_seen);
}

TEST_F(RedirectTest, AbsoluteLocationOnTheSameHostIsFollowed) {
    m_answer = RedirectTo("http://127.0.0.1:" + std::to_string(m_server.Port()) + "/to");
    EXPECT_EQ("there", Exchange(Open("GET")).body);
    EXPECT_EQ((Seen{"GET /from", "GET /to"}), m_seen);
}

TEST_F(RedirectTest, LastUrlCanBeQueried) {
    m_answer = RedirectTo("/to");
    const ScopedHandle request = Open("GET");
    ASSERT_EQ("there", Exchange(request).body);
    WCHAR url[200];
    DWORD size = sizeof(url);
    ASSERT_TRUE(WinHttpQueryOption(request, WINHTTP_OPTION_URL, url, &size));
    EXPECT_EQ(Wide("http://127.0.0.1:" + std::to_string(m_server.Port()) + "/to"), WideText(url));
}

struct VerbCase {
    int status;
    const char* verb;
    const char* second;
};

class RedirectVerbTest : public RedirectTest, public testing::WithParamInterface<VerbCase> {};

TEST_P(RedirectVerbTest, VerbAndBodyFollowTheStatus) {
    m_answer = RedirectTo("/to", GetParam().status);
    const ScopedHandle request = Open(GetParam().verb);
    ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: text/plain"));
    EXPECT_EQ("there", Exchange(request, "body").body);
    EXPECT_EQ((Seen{std::string(GetParam().verb) + " /from body", GetParam().second}), m_seen);
    const bool typed = m_heads.at(1).find("Content-Type") != std::string::npos;
    EXPECT_EQ(std::string(GetParam().second).ends_with("body"), typed);
}

INSTANTIATE_TEST_SUITE_P(Statuses, RedirectVerbTest,
                         testing::Values(VerbCase{301, "POST", "GET /to"}, VerbCase{302, "POST", "GET /to"},
                                         VerbCase{303, "POST", "GET /to"}, VerbCase{307, "POST", "POST /to body"},
                                         VerbCase{308, "POST", "POST /to body"}, VerbCase{302, "PUT", "PUT /to body"},
                                         VerbCase{303, "PUT", "GET /to"}),
                         [](const auto& test) { return test.param.verb + std::to_string(test.param.status); });

TEST_F(RedirectTest, AnotherHostIsLeftToTheCaller) {
    m_answer = RedirectTo("http://localhost:" + std::to_string(m_server.Port()) + "/to");
    const ScopedHandle request = Open("GET");
    const Reply reply = Exchange(request);
    EXPECT_EQ(302, reply.status);
    EXPECT_EQ("gone", reply.body);
    EXPECT_EQ((Seen{"GET /from"}), m_seen);
}

TEST_F(RedirectTest, AnotherSchemeThanHttpIsLeftToTheCaller) {
    for (const char* location : {"ftp://127.0.0.1/x", "file:///etc/hostname", "http://[bad/"}) {
        m_answer = RedirectTo(location);
        EXPECT_EQ(302, Exchange(Open("GET")).status) << location;
    }
}

TEST_F(RedirectTest, WithoutLocationIsLeftToTheCaller) {
    m_answer = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n";
    EXPECT_EQ(302, Exchange(Open("GET")).status);
}

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

TEST_F(RedirectTest, StreamedBodyMustBeSentAgainByTheCaller) {
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

TEST_F(RedirectTest, StreamedBodyBecomesAGetWithoutOne) {
    m_answer = RedirectTo("/to", 303);
    const ScopedHandle request = Open("POST");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 4));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, "body"));
    EXPECT_EQ("there", Receive(request).body);
    EXPECT_EQ((Seen{"POST /from body", "GET /to"}), m_seen);
}

// ---- Challenges ----

constexpr const char* BasicChallenge =
    "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"x\", nonce=\"y\", Basic realm=\"x\"\r\n"
    "Content-Length: 4\r\n\r\ndeny";
constexpr const char* NegotiateChallenge =
    "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Negotiate\r\nContent-Length: 4\r\n\r\ndeny";

// Denies requests without an Authorization header.
class ChallengeTest : public testing::Test {
protected:
    void Serve(Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            const std::size_t at = head.find("Content-Length: ");
            const std::string body = at == std::string::npos ? "" : peer.Read(std::stoul(head.substr(at + 16)));
            const std::size_t line = head.find("Authorization: ");
            const bool granted = line != std::string::npos;
            {
                const std::lock_guard lock(m_mutex);
                m_seen.push_back((granted ? head.substr(line, head.find("\r\n", line) - line) : "none") + " " + body);
            }
            peer.Send(granted ? Ok("in") : m_challenge);
        }
    }

    std::mutex m_mutex;
    std::string m_challenge = BasicChallenge;
    Seen m_seen;
    RawServer m_server{[this](Peer& peer) { Serve(peer); }};
    ScopedHandle m_session = OpenSession();
};

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
    EXPECT_EQ((Seen{"none a=b", "Authorization: Basic dXNlcjpwYXNz a=b"}), m_seen);
}

TEST_F(ChallengeTest, StreamedBodyMustBeSentAgainByTheCaller) {
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

TEST_F(ChallengeTest, InTheMiddleOfAStreamedBodyMustBeSentAgainByTheCaller) {
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

TEST_F(ChallengeTest, OtherSchemeThanTheCredentialsIsLeftToTheCaller) {
    m_challenge = NegotiateChallenge;
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    EXPECT_EQ(401, Exchange(request).status);
    EXPECT_EQ((Seen{"none "}), m_seen);
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

TEST_F(ChallengeTest, DisabledAuthenticationLeavesItToTheCaller) {
    const ScopedHandle request = OpenRequest(m_session, m_server.Port(), "GET", "/");
    ASSERT_TRUE(WinHttpSetCredentials(request, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_BASIC, QM_W("user"),
                                      QM_W("pass"), nullptr));
    DWORD feature = WINHTTP_DISABLE_AUTHENTICATION;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &feature, sizeof(feature)));
    EXPECT_EQ(401, Exchange(request).status);
}

TEST_F(ChallengeTest, DigestIsAnswered) {
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
