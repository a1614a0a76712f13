#include "TrustedAuthority.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "LoadedLibrary.h"

namespace quillmark::test {

TrustedAuthority::TrustedAuthority() : m_turn(::CreateMutexW(nullptr, FALSE, L"quillmark trusted authority")) {
    ::WaitForSingleObject(m_turn, INFINITE);
    std::ifstream file(AuthorityFile(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    BYTE bytes[8192];
    DWORD size = sizeof(bytes);
    EXPECT_TRUE(::CryptStringToBinaryA(text.c_str(), 0, CRYPT_STRING_BASE64HEADER, bytes, &size, nullptr, nullptr));
    const PCCERT_CONTEXT authority = ::CertCreateCertificateContext(X509_ASN_ENCODING, bytes, size);
    EXPECT_NE(authority, nullptr);
    m_store = ::CertOpenSystemStoreW(0, L"ROOT");
    RemoveOthers(*authority);
    EXPECT_TRUE(
        ::CertAddCertificateContextToStore(m_store, authority, CERT_STORE_ADD_REPLACE_EXISTING, &m_certificate));
    EXPECT_TRUE(::CertControlStore(m_store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
    ::CertFreeCertificateContext(authority);
}

// A test that was killed leaves its own, by the same name: a chain that is put together with that one is not trusted.
void TrustedAuthority::RemoveOthers(const CERT_CONTEXT& authority) const {
    for (PCCERT_CONTEXT other = nullptr;
         (other = ::CertFindCertificateInStore(m_store, X509_ASN_ENCODING, 0, CERT_FIND_SUBJECT_NAME,
                                               &authority.pCertInfo->Subject, nullptr)) != nullptr;) {
        ASSERT_TRUE(::CertDeleteCertificateFromStore(other));
    }
}

TrustedAuthority::~TrustedAuthority() {
    EXPECT_TRUE(::CertDeleteCertificateFromStore(m_certificate));
    EXPECT_TRUE(::CertControlStore(m_store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
    ::CertCloseStore(m_store, 0);
    ::ReleaseMutex(m_turn);
    ::CloseHandle(m_turn);
}

}  // namespace quillmark::test
