// Secure requests: who is trusted, and that nothing turns the verification off.
#include <gtest/gtest.h>

#include <atomic>

#include "unit/winhttp/TlsTest.h"
#include "unit/winhttp/WineCodes.h"

namespace quillmark::test {
namespace {

std::uint64_t Ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

// What asking for the certificate says; the certificate is given up.
DWORD CertificateCode(HINTERNET handle) {
    WINHTTP_CERTIFICATE_INFO certificate = {};
    DWORD size = sizeof(certificate);
    SetLastError(ERROR_GEN_FAILURE);
    const DWORD code =
        Code(WinHttpQueryOption(handle, WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, &certificate, &size));
    LocalFree(certificate.lpszSubjectInfo);
    LocalFree(certificate.lpszIssuerInfo);
    return code;
}

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

TEST_F(TlsTest, CertificateOfTheServerCanBeHad) {
    const TrustedRoot root(m_identity.CertificatePem());
    const ScopedHandle request = Open(m_server);
    ASSERT_EQ(200, Exchange(request).status);
    WINHTTP_CERTIFICATE_INFO certificate = {};
    DWORD size = sizeof(certificate);
    ASSERT_EQ(ERROR_SUCCESS,
              Code(WinHttpQueryOption(request, WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, &certificate, &size)));
    EXPECT_EQ(sizeof(certificate), size);
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    EXPECT_LT(Ticks(certificate.ftStart), Ticks(now));
    constexpr std::uint64_t Day = 864'000'000'000;
    EXPECT_GT(Ticks(certificate.ftExpiry), Ticks(now) + Day - Day / 24);
    EXPECT_LE(Ticks(certificate.ftExpiry), Ticks(now) + Day);
    EXPECT_EQ(0u, WideText(certificate.lpszSubjectInfo).find(QM_W("test server")));
    EXPECT_TRUE(WideText(certificate.lpszSubjectInfo) == certificate.lpszIssuerInfo) << "it signs itself";
    EXPECT_EQ(nullptr, LocalFree(certificate.lpszSubjectInfo));
    EXPECT_EQ(nullptr, LocalFree(certificate.lpszIssuerInfo));
}

TEST_F(TlsTest, CertificateOfAKeptConnectionCanBeHad) {
    const TrustedRoot root(m_identity.CertificatePem());
    ASSERT_EQ(200, Exchange(Open(m_server)).status);
    const ScopedHandle request = Open(m_server);
    ASSERT_EQ(200, Exchange(request).status);
    ASSERT_EQ(1, m_server.Connections());
    EXPECT_EQ(ERROR_SUCCESS, CertificateCode(request));
}

TEST_F(TlsTest, ThereIsNoCertificateBeforeTheServerHasShownItNorWithoutTls) {
    // Wine refuses without a code.
    const auto isRefused = OrWineSays(ERROR_WINHTTP_INCORRECT_HANDLE_STATE, ERROR_GEN_FAILURE);
    EXPECT_THAT(CertificateCode(Open(m_server)), isRefused);
    RawServer plain([](Peer& peer) { Serve(peer); });
    const ScopedHandle request = OpenRequest(m_session, plain.Port(), "GET", "/");
    ASSERT_EQ(200, Exchange(request).status);
    EXPECT_THAT(CertificateCode(request), isRefused);
    EXPECT_THAT(CertificateCode(m_session), OrWineSays(ERROR_WINHTTP_INCORRECT_HANDLE_TYPE, ERROR_INVALID_PARAMETER));
}

TEST_F(TlsTest, ACertificateNeedsItsRoom) {
    const TrustedRoot root(m_identity.CertificatePem());
    const ScopedHandle request = Open(m_server);
    ASSERT_EQ(200, Exchange(request).status);
    WINHTTP_CERTIFICATE_INFO certificate = {};
    DWORD size = sizeof(certificate) - 1;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER,
              Code(WinHttpQueryOption(request, WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, &certificate, &size)));
    EXPECT_EQ(sizeof(certificate), size);
    EXPECT_EQ(nullptr, certificate.lpszSubjectInfo);
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
