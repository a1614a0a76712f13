// A self-signed certificate made for one test, with its key.
#pragma once

#include <memory>
#include <string>

struct ssl_ctx_st;

namespace quillmark::test {

class TlsIdentity {
public:
    // For servers reached under that name: "DNS:localhost" or "IP:127.0.0.1".
    explicit TlsIdentity(const std::string& alternativeName);
    ~TlsIdentity();
    TlsIdentity(const TlsIdentity&) = delete;
    TlsIdentity& operator=(const TlsIdentity&) = delete;

    [[nodiscard]] ssl_ctx_st* ServerContext() const { return m_context; }
    [[nodiscard]] const std::string& CertificatePem() const { return m_pem; }

private:
    ssl_ctx_st* m_context;
    std::string m_pem;
};

}  // namespace quillmark::test
