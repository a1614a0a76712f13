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
    m_store = ::CertOpenSystemStoreW(0, L"ROOT");
    EXPECT_TRUE(::CertAddEncodedCertificateToStore(m_store, X509_ASN_ENCODING, bytes, size,
                                                   CERT_STORE_ADD_REPLACE_EXISTING, &m_certificate));
    EXPECT_TRUE(::CertControlStore(m_store, 0, CERT_STORE_CTRL_COMMIT, nullptr));
}

TrustedAuthority::~TrustedAuthority() {
    ::CertDeleteCertificateFromStore(m_certificate);
    ::CertCloseStore(m_store, 0);
    ::ReleaseMutex(m_turn);
    ::CloseHandle(m_turn);
}

}  // namespace quillmark::test
