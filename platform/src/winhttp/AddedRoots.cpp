#include "winhttp/AddedRoots.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/TrustedRoots.h"

namespace quillmark::platform {

namespace {

struct CertificateDeleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, CertificateDeleter>;

std::mutex mutex;
std::vector<Certificate> programRoots;

std::vector<Certificate> ReadCertificates(std::FILE* file) {
    std::vector<Certificate> certificates;
    while (Certificate certificate{PEM_read_X509(file, nullptr, nullptr, nullptr)}) {
        certificates.push_back(std::move(certificate));
    }
    // The end of the file is an error to OpenSSL; the next call of a connection shall not find it.
    ERR_clear_error();
    return certificates;
}

}  // namespace

DWORD AddTrustedRoots(LPCWSTR path) {
    std::string name;
    if (path == nullptr || !PathToBytes(path, name)) {
        return ERROR_INVALID_NAME;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "re"), &std::fclose);
    if (file == nullptr) {
        return ErrorForPath(errno, name);
    }
    std::vector<Certificate> certificates = ReadCertificates(file.get());
    if (certificates.empty()) {
        return ERROR_INVALID_DATA;
    }
    const std::lock_guard lock(mutex);
    for (Certificate& certificate : certificates) {
        programRoots.push_back(std::move(certificate));
    }
    return ERROR_SUCCESS;
}

namespace winhttp {

void AddProgramRoots(x509_store_st* store) {
    const std::lock_guard lock(mutex);
    for (const Certificate& certificate : programRoots) {
        X509_STORE_add_cert(store, certificate.get());
    }
}

}  // namespace winhttp

}  // namespace quillmark::platform
