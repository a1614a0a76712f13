#include <stdexcept>

#include "quillmark/Platform.h"
#include "unit/winhttp/TrustedRoot.h"

namespace quillmark::test {

// The user's store of trusted roots.
struct TrustedRoot::Place {
    HCERTSTORE store = nullptr;
    PCCERT_CONTEXT certificate = nullptr;
};

TrustedRoot::TrustedRoot(const std::string& pem) : m_place(std::make_unique<Place>()) {
    BYTE bytes[8192];
    DWORD size = sizeof(bytes);
    m_place->store = ::CertOpenSystemStoreW(0, L"ROOT");
    if (m_place->store == nullptr ||
        ::CryptStringToBinaryA(pem.c_str(), 0, CRYPT_STRING_BASE64HEADER, bytes, &size, nullptr, nullptr) == FALSE ||
        ::CertAddEncodedCertificateToStore(m_place->store, X509_ASN_ENCODING, bytes, size,
                                           CERT_STORE_ADD_REPLACE_EXISTING, &m_place->certificate) == FALSE ||
        ::CertControlStore(m_place->store, 0, CERT_STORE_CTRL_COMMIT, nullptr) == FALSE) {
        throw std::runtime_error("the test's certificate is not trusted: " + std::to_string(::GetLastError()));
    }
}

TrustedRoot::~TrustedRoot() {
    ::CertDeleteCertificateFromStore(m_place->certificate);
    ::CertCloseStore(m_place->store, 0);
}

}  // namespace quillmark::test
