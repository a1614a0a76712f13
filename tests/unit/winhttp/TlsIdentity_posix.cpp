#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <stdexcept>

#include "unit/winhttp/TlsIdentity.h"

namespace quillmark::test {

namespace {

void Require(bool done) {
    if (!done) {
        throw std::runtime_error("the test certificate cannot be made");
    }
}

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

Certificate SelfSigned(EVP_PKEY* key, const std::string& alternativeName) {
    Certificate certificate(X509_new(), &X509_free);
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 24 * 3600);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME* name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("test server"), -1, -1,
                               0);
    X509_set_issuer_name(certificate.get(), name);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, alternativeName.c_str());
    Require(extension != nullptr);
    X509_add_ext(certificate.get(), extension, -1);
    X509_EXTENSION_free(extension);
    Require(X509_sign(certificate.get(), key, EVP_sha256()) != 0);
    return certificate;
}

std::string Pem(X509* certificate) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), &BIO_free);
    Require(PEM_write_bio_X509(memory.get(), certificate) == 1);
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

using Tls = std::unique_ptr<SSL, decltype(&SSL_free)>;

class TlsStream : public RawStream {
public:
    TlsStream(SSL_CTX* context, RawSocket socket) : m_tls(SSL_new(context), &SSL_free) {
        SSL_set_fd(m_tls.get(), static_cast<int>(socket));
        m_dead = SSL_accept(m_tls.get()) != 1;
    }
    ~TlsStream() override {
        if (!m_dead) {
            SSL_shutdown(m_tls.get());
        }
    }

    std::size_t Receive(char* buffer, std::size_t size) override {
        return m_dead ? 0 : Count(SSL_read(m_tls.get(), buffer, static_cast<int>(size)));
    }
    std::size_t Send(std::string_view bytes) override {
        return m_dead ? 0 : Count(SSL_write(m_tls.get(), bytes.data(), static_cast<int>(bytes.size())));
    }
    void Abandon() override { m_dead = true; }

private:
    static std::size_t Count(int result) { return result > 0 ? static_cast<std::size_t>(result) : 0; }

    const Tls m_tls;
    bool m_dead = false;
};

}  // namespace

struct TlsIdentity::Keys {
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{SSL_CTX_new(TLS_server_method()), &SSL_CTX_free};
};

TlsIdentity::TlsIdentity(const std::string& alternativeName) : m_keys(std::make_unique<Keys>()) {
    SSL_CTX* const context = m_keys->context.get();
    const Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    Require(context != nullptr && key != nullptr);
    const Certificate certificate = SelfSigned(key.get(), alternativeName);
    Require(SSL_CTX_use_certificate(context, certificate.get()) == 1);
    Require(SSL_CTX_use_PrivateKey(context, key.get()) == 1);
    m_pem = Pem(certificate.get());
}

TlsIdentity::~TlsIdentity() = default;

std::uint16_t TlsIdentity::PortInFrontOf(std::uint16_t port) const {
    return port;
}

std::unique_ptr<RawStream> TlsIdentity::Accept(RawSocket socket) const {
    return std::make_unique<TlsStream>(m_keys->context.get(), socket);
}

}  // namespace quillmark::test
