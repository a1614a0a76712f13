// --ca on Windows. Whom to trust is decided by the system's stores, and importing an authority there changes what every
// program of the user trusts: that is the user's to do. So the option only makes sure that it has been done.
#include <memory>
#include <string_view>

#include "LocalFiles.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestFile = 16 * 1024 * 1024;
constexpr std::string_view Begin = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view End = "-----END CERTIFICATE-----";

struct StoreCloser {
    void operator()(void* store) const { ::CertCloseStore(store, 0); }
};
struct CertificateFreer {
    void operator()(const CERT_CONTEXT* certificate) const { ::CertFreeCertificateContext(certificate); }
};
using Store = std::unique_ptr<void, StoreCloser>;
using Certificate = std::unique_ptr<const CERT_CONTEXT, CertificateFreer>;

// One certificate between its lines; null when it is none.
Certificate Decode(std::string_view block) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(block.size());
    if (::CryptStringToBinaryA(block.data(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr) ==
        FALSE) {
        return nullptr;
    }
    std::vector<BYTE> bytes(size);
    if (::CryptStringToBinaryA(block.data(), length, CRYPT_STRING_BASE64HEADER, bytes.data(), &size, nullptr,
                               nullptr) == FALSE) {
        return nullptr;
    }
    return Certificate(::CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(), size));
}

bool Holds(const Store& store, const Certificate& certificate) {
    return Certificate(::CertFindCertificateInStore(store.get(), X509_ASN_ENCODING, 0, CERT_FIND_EXISTING,
                                                    certificate.get(), nullptr)) != nullptr;
}

}  // namespace

DWORD TrustCertificates(const WideString& path) {
    std::string text;
    if (const DWORD error = ReadLocalFile(path, LongestFile, text); error != ERROR_SUCCESS) {
        return error;
    }
    // The user's store shows the machine's as well.
    const Store roots(::CertOpenSystemStoreW(0, L"ROOT"));
    if (roots == nullptr) {
        return ::GetLastError();
    }
    std::size_t found = 0;
    for (std::size_t at = text.find(Begin); at != std::string::npos; at = text.find(Begin, at + 1)) {
        const std::size_t end = text.find(End, at);
        const Certificate certificate =
            end == std::string::npos ? nullptr : Decode(std::string_view(text).substr(at, end + End.size() - at));
        if (certificate == nullptr) {
            return ERROR_INVALID_DATA;
        }
        if (!Holds(roots, certificate)) {
            return ERROR_NOT_SUPPORTED;
        }
        ++found;
    }
    return found > 0 ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

}  // namespace quillmark::cli
