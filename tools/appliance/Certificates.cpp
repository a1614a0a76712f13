#include "Certificates.h"

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <filesystem>
#include <stdexcept>

#include "storage/FileDescriptor.h"
#include "storage/Random.h"

namespace appliance {

namespace {

constexpr long Day = 24L * 60 * 60;
constexpr long ValidDays = 825;
constexpr int Version3 = 2;

template <auto Free>
struct Deleter {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using File = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using Number = std::unique_ptr<BIGNUM, Deleter<BN_free>>;

// Throws with OpenSSL's own words when `good` does not hold.
void Require(bool good, const std::string& what) {
    if (!good) {
        char reason[256];
        ERR_error_string_n(ERR_get_error(), reason, sizeof(reason));
        throw std::runtime_error(what + ": " + reason);
    }
}

void SetSerial(X509* certificate) {
    const std::string bytes = RandomBytes(16);
    const Number number(BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()), 16, nullptr));
    Require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr, "serial number");
}

void AddExtension(X509* certificate, X509* issuer, int id, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, id, value));
    Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "certificate extension");
}

Certificate MakeCertificate(const char* commonName, EVP_PKEY* key) {
    Certificate certificate(X509_new());
    Require(certificate && X509_set_version(certificate.get(), Version3) == 1, "certificate");
    SetSerial(certificate.get());
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -Day);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), ValidDays * Day);
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    const auto* name = reinterpret_cast<const unsigned char*>(commonName);
    Require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, name, -1, -1, 0) == 1, "certificate name");
    Require(X509_set_pubkey(certificate.get(), key) == 1, "certificate key");
    return certificate;
}

void Sign(X509* certificate, X509* issuer, EVP_PKEY* issuerKey) {
    Require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1, "certificate issuer");
    Require(X509_sign(certificate, issuerKey, EVP_sha256()) > 0, "certificate signature");
}

File Create(const std::string& path, int mode) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (descriptor < 0) {
        throw std::runtime_error("cannot write " + path);
    }
    return File(BIO_new_fd(descriptor, BIO_CLOSE));
}

void Write(const std::string& path, X509* certificate) {
    const File file = Create(path, 0644);
    Require(file && PEM_write_bio_X509(file.get(), certificate) == 1, path);
}

}  // namespace

SslContext LoadTlsContext(const std::string& certificateFile, const std::string& keyFile) {
    SslContext context(SSL_CTX_new(TLS_server_method()));
    Require(context && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1, "TLS");
    Require(SSL_CTX_use_certificate_chain_file(context.get(), certificateFile.c_str()) == 1, certificateFile);
    Require(SSL_CTX_use_PrivateKey_file(context.get(), keyFile.c_str(), SSL_FILETYPE_PEM) == 1, keyFile);
    Require(SSL_CTX_check_private_key(context.get()) == 1, keyFile);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_IGNORE_UNEXPECTED_EOF);
    return context;
}

void MakeCertificates(const std::string& folder) {
    namespace fs = std::filesystem;
    const std::string authorityFile = folder + "/ca.pem";
    const std::string certificateFile = folder + "/server.pem";
    const std::string keyFile = folder + "/server.key";
    if (fs::exists(authorityFile) && fs::exists(certificateFile) && fs::exists(keyFile)) {
        return;
    }
    fs::create_directories(folder);
    const Key authorityKey(EVP_EC_gen("P-256"));
    const Key key(EVP_EC_gen("P-256"));
    Require(authorityKey && key, "key");
    const Certificate authority = MakeCertificate("Quillmark appliance authority", authorityKey.get());
    AddExtension(authority.get(), authority.get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    AddExtension(authority.get(), authority.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    AddExtension(authority.get(), authority.get(), NID_subject_key_identifier, "hash");
    Sign(authority.get(), authority.get(), authorityKey.get());
    const Certificate certificate = MakeCertificate("localhost", key.get());
    AddExtension(certificate.get(), authority.get(), NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(certificate.get(), authority.get(), NID_key_usage, "critical,digitalSignature");
    AddExtension(certificate.get(), authority.get(), NID_ext_key_usage, "serverAuth");
    AddExtension(certificate.get(), authority.get(), NID_authority_key_identifier, "keyid");
    AddExtension(certificate.get(), authority.get(), NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
    Sign(certificate.get(), authority.get(), authorityKey.get());
    Write(authorityFile, authority.get());
    Write(certificateFile, certificate.get());
    const File file = Create(keyFile, 0600);
    Require(file && PEM_write_bio_PrivateKey(file.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            keyFile);
}

}  // namespace appliance
