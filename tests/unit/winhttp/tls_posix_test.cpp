// Secure requests where Wine 8 does less, or our own service more: addresses in certificates, which Wine does not
// compare; no switch that turns the verification off, which Windows has; redirects to plain HTTP, on which Wine fails;
// a server that speaks no TLS and stays, for which Wine waits; owed bytes.
#include <gtest/gtest.h>

#include "unit/winhttp/TlsTest.h"

namespace quillmark::test {
namespace {

class TlsPosixTest : public TlsTest {};

TEST_F(TlsPosixTest, AddressInTheCertificateIsAccepted) {
    const TlsIdentity identity("IP:127.0.0.1");
    RawServer server(Serve, &identity);
    const TrustedRoot root(identity.CertificatePem());
    EXPECT_EQ(200, Exchange(Open(server, "127.0.0.1")).status);
}

TEST_F(TlsPosixTest, VerificationHasNoSwitch) {
    const ScopedHandle request = Open(m_server);
    DWORD ignoreAll = 0x3300;
    EXPECT_EQ(ERROR_WINHTTP_INVALID_OPTION,
              Code(WinHttpSetOption(request, WINHTTP_OPTION_SECURITY_FLAGS, &ignoreAll, sizeof(ignoreAll))));
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(request));
}

TEST_F(TlsPosixTest, OwedBytesArePaidAndTheConnectionIsKept) {
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

TEST_F(TlsPosixTest, RedirectToPlainHttpIsLeftToTheCallerUnlessAllowed) {
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

TEST_F(TlsPosixTest, ServerWithoutTlsThatStaysFails) {
    RawServer plain([](Peer& peer) {
        static_cast<void>(peer.Read(1));
        peer.Send("HTTP/1.1 400 Bad Request\r\n\r\n");
        peer.ReadToEnd();
    });
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open(plain)));
}

}  // namespace
}  // namespace quillmark::test
