// Where trusted roots come from on POSIX. Windows has a store of its own for them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/TempFolder.h"

namespace quillmark::test {
namespace {

class TlsRootsPosixTest : public testing::Test {
protected:
    void TearDown() override {
        unsetenv("SSL_CERT_FILE");
        unsetenv("SSL_CERT_DIR");
        unsetenv("XDG_CONFIG_HOME");
    }

    void TrustByFile(const TlsIdentity& identity) {
        setenv("SSL_CERT_FILE", m_folder.Write("root.pem", identity.CertificatePem()).c_str(), 1);
    }

    ScopedHandle Open() {
        return OpenRequest(m_session, m_server.Port(), "GET", "/", WINHTTP_FLAG_SECURE, "localhost");
    }

    TempFolder m_folder;
    TlsIdentity m_identity{"DNS:localhost"};
    RawServer m_server{[](Peer& peer) {
                           for (std::string head; !(head = peer.ReadHead()).empty();) {
                               peer.Send(Ok(head.substr(0, head.find('\r'))));
                           }
                       },
                       &m_identity};
    ScopedHandle m_session = OpenSession();
};

TEST_F(TlsRootsPosixTest, RootInSslCertFileIsTrusted) {
    TrustByFile(m_identity);
    EXPECT_EQ("GET / HTTP/1.1", Exchange(Open()).body);
}

TEST_F(TlsRootsPosixTest, RootOfTheUserIsTrusted) {
    m_folder.Write("quillmark/roots/own.pem", m_identity.CertificatePem());
    setenv("XDG_CONFIG_HOME", m_folder.Path().c_str(), 1);
    EXPECT_EQ("GET / HTTP/1.1", Exchange(Open()).body);
}

TEST_F(TlsRootsPosixTest, OtherFilesOfTheUserAreNoRoots) {
    m_folder.Write("quillmark/roots/own.txt", m_identity.CertificatePem());
    m_folder.Write("quillmark/roots/broken.pem", "no certificate");
    setenv("XDG_CONFIG_HOME", m_folder.Path().c_str(), 1);
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open()));
}

TEST_F(TlsRootsPosixTest, RootsAreReadOncePerSession) {
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open()));
    TrustByFile(m_identity);
    EXPECT_EQ(ERROR_WINHTTP_SECURE_FAILURE, Send(Open()));
    m_session = OpenSession();
    EXPECT_EQ(ERROR_SUCCESS, Send(Open()));
}

}  // namespace
}  // namespace quillmark::test
