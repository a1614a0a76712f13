// Servers that send their clients elsewhere, and servers that ask who they are.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {

struct VerbCase {
    int status;
    const char* verb;
    const char* second;
};

using Seen = std::vector<std::string>;

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

    // What the second request of a redirect is.
    void ExpectSecond(const VerbCase& expected) {
        m_answer = RedirectTo("/to", expected.status);
        const ScopedHandle request = Open(expected.verb);
        ASSERT_EQ(ERROR_SUCCESS, AddHeader(request, "Content-Type: text/plain"));
        EXPECT_EQ("there", Exchange(request, "body").body);
        EXPECT_EQ((Seen{std::string(expected.verb) + " /from body", expected.second}), m_seen);
        const bool typed = m_heads.at(1).find("Content-Type") != std::string::npos;
        EXPECT_EQ(std::string(expected.second).ends_with("body"), typed);
    }

    std::mutex m_mutex;
    std::string m_answer;
    std::vector<std::string> m_seen;
    std::vector<std::string> m_heads;
    RawServer m_server{[this](Peer& peer) { Serve(peer); }};
    ScopedHandle m_session = OpenSession();
};

inline constexpr const char* BasicChallenge =
    "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"x\", nonce=\"y\", Basic realm=\"x\"\r\n"
    "Content-Length: 4\r\n\r\ndeny";
inline constexpr const char* NegotiateChallenge =
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

}  // namespace quillmark::test
