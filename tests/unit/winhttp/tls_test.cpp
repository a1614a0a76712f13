// Secure requests: who is trusted, and that nothing turns the verification off.
#include <gtest/gtest.h>

#include <atomic>

#include "unit/winhttp/TlsTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

TEST_F(TlsTest, UnknownRootFails) {
    EXPECT_THAT(Send(Open(m_server)), IsSecureFailure());
}

TEST_F(TlsTest, WrongHostNameFails) {
    const TrustedRoot root(m_identity.CertificatePem());
    EXPECT_THAT(Send(Open(m_server, "127.0.0.1")), IsSecureFailure());
}

TEST_F(TlsTest, ServerWithoutTlsFails) {
    RawServer plain([](Peer& peer) {
        static_cast<void>(peer.Read(1));
        peer.Send("HTTP/1.1 400 Bad Request\r\n\r\n");
    });
    EXPECT_THAT(Send(Open(plain)), IsSecureFailure());
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

TEST_F(TlsTest, LostConnectionIsSeenOnce) {
    const TrustedRoot root(m_identity.CertificatePem());
    std::atomic<int> seen{0};
    RawServer server(
        [&](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            // With a body, so that Wine keeps the connection too.
            peer.Send(Ok("x"));
            seen += peer.ReadHead().empty() ? 0 : 1;
        },
        &m_identity);
    EXPECT_EQ(200, Exchange(Open(server)).status);
    EXPECT_THAT(Exchange(Open(server, "localhost", "POST"), "a=b").code, IsConnectionError());
    EXPECT_EQ(1, seen);
    EXPECT_EQ(1, server.Connections());
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
