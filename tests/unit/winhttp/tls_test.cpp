// Secure requests: who is trusted, and that nothing turns the verification off.
#include <gtest/gtest.h>

#include <atomic>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/TrustedRoot.h"

namespace quillmark::test {
namespace {

class TlsTest : public testing::Test {
protected:
    ScopedHandle Open(const RawServer& server, std::string_view host = "localhost", std::string_view verb = "GET") {
        return OpenRequest(m_session, server.Port(), verb, "/", WINHTTP_FLAG_SECURE, host);
    }

    static void Serve(Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            peer.Send(Ok(head.substr(0, head.find('\r'))));
        }
    }

    TlsIdentity m_identity{"DNS:localhost"};
    RawServer m_server{Serve, &m_identity};
    ScopedHandle m_session = OpenSession();
};

TEST_F(TlsTest, UnknownRootFails) {
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open(m_server)));
}

TEST_F(TlsTest, WrongHostNameFails) {
    const TrustedRoot root(m_identity.CertificatePem());
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open(m_server, "127.0.0.1")));
}

TEST_F(TlsTest, AddressInTheCertificateIsAccepted) {
    const TlsIdentity identity("IP:127.0.0.1");
    RawServer server(Serve, &identity);
    const TrustedRoot root(identity.CertificatePem());
    EXPECT_EQ(200, Exchange(Open(server, "127.0.0.1")).status);
}

TEST_F(TlsTest, VerificationHasNoSwitch) {
    const ScopedHandle request = Open(m_server);
    DWORD ignoreAll = 0x3300;
    EXPECT_EQ(ERROR_WINHTTP_INVALID_OPTION,
              Code(WinHttpSetOption(request, WINHTTP_OPTION_SECURITY_FLAGS, &ignoreAll, sizeof(ignoreAll))));
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(request));
}

TEST_F(TlsTest, ServerWithoutTlsFails) {
    RawServer plain([](Peer& peer) {
        static_cast<void>(peer.Read(1));
        peer.Send("HTTP/1.1 400 Bad Request\r\n\r\n");
        peer.ReadToEnd();
    });
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open(plain)));
}

TEST_F(TlsTest, ConnectionIsKept) {
    const TrustedRoot root(m_identity.CertificatePem());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(200, Exchange(Open(m_server)).status);
    }
    EXPECT_EQ(1, m_server.Connections());
}

TEST_F(TlsTest, LargeBodiesPassInBothDirections) {
    const TrustedRoot root(m_identity.CertificatePem());
    const std::string body(3'000'001, 'u');
    RawServer echo(
        [&](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            peer.Send(Ok(peer.Read(body.size())));
            peer.ReadToEnd();
        },
        &m_identity);
    const ScopedHandle request = Open(echo, "localhost", "POST");
    ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, body.size()));
    ASSERT_EQ(ERROR_SUCCESS, Write(request, body));
    EXPECT_TRUE(Receive(request).body == body);
}

TEST_F(TlsTest, OwedBytesArePaidAndTheConnectionIsKept) {
    const TrustedRoot root(m_identity.CertificatePem());
    std::string paid;
    RawServer server(
        [&](Peer& peer) {
            while (!peer.ReadHead().empty()) {
                static_cast<void>(peer.Read(5));
                peer.Send(Ok("ok"));
                paid += peer.Read(3);
            }
        },
        &m_identity);
    for (int i = 0; i < 2; ++i) {
        const ScopedHandle request = Open(server, "localhost", "POST");
        ASSERT_EQ(ERROR_SUCCESS, StartUpload(request, 8));
        ASSERT_EQ(ERROR_SUCCESS, Write(request, "12345"));
        EXPECT_EQ("ok", Receive(request).body);
    }
    EXPECT_EQ(1, server.Connections());
    m_session.Close();
}

TEST_F(TlsTest, LostConnectionIsSeenOnce) {
    const TrustedRoot root(m_identity.CertificatePem());
    std::atomic<int> seen{0};
    RawServer server(
        [&](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            peer.Send(Ok());
            seen += peer.ReadHead().empty() ? 0 : 1;
        },
        &m_identity);
    EXPECT_EQ(200, Exchange(Open(server)).status);
    EXPECT_EQ(ERROR_WINHTTP_CONNECTION_ERROR, Exchange(Open(server, "localhost", "POST"), "a=b").code);
    EXPECT_EQ(1, seen);
    EXPECT_EQ(1, server.Connections());
}

TEST_F(TlsTest, RedirectToPlainHttpIsLeftToTheCallerUnlessAllowed) {
    const TrustedRoot root(m_identity.CertificatePem());
    RawServer plain(Serve);
    RawServer secure(
        [&](Peer& peer) {
            while (!peer.ReadHead().empty()) {
                peer.Send("HTTP/1.1 302 Found\r\nLocation: http://localhost:" + std::to_string(plain.Port()) +
                          "/to\r\nContent-Length: 0\r\n\r\n");
            }
        },
        &m_identity);
    EXPECT_EQ(302, Exchange(Open(secure)).status);
    EXPECT_EQ(0, plain.Connections());
    const ScopedHandle request = Open(secure);
    DWORD policy = WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS;
    ASSERT_TRUE(WinHttpSetOption(request, WINHTTP_OPTION_REDIRECT_POLICY, &policy, sizeof(policy)));
    EXPECT_EQ("GET /to HTTP/1.1", Exchange(request).body);
}

TEST_F(TlsTest, RedirectFromPlainHttpIsFollowed) {
    const TrustedRoot root(m_identity.CertificatePem());
    RawServer plain([&](Peer& peer) {
        static_cast<void>(peer.ReadHead());
        peer.Send("HTTP/1.1 301 Moved Permanently\r\nLocation: https://localhost:" + std::to_string(m_server.Port()) +
                  "/to\r\nContent-Length: 0\r\n\r\n");
        peer.ReadToEnd();
    });
    EXPECT_EQ("GET /to HTTP/1.1", Exchange(OpenRequest(m_session, plain.Port(), "GET", "/", 0, "localhost")).body);
}

}  // namespace
}  // namespace quillmark::test
