#include "winhttp/PeerCertificate.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Memory.h"
#include "winhttp/Text.h"

namespace quillmark::platform::winhttp {

namespace {

constexpr std::int64_t TicksPerSecond = 10'000'000;
constexpr std::int64_t SecondsFrom1601To1970 = 11'644'473'600;

FILETIME TimeOf(const ASN1_TIME* time) {
    std::tm parts = {};
    if (ASN1_TIME_to_tm(time, &parts) != 1) {
        return {};
    }
    const auto ticks = static_cast<std::uint64_t>((timegm(&parts) + SecondsFrom1601To1970) * TicksPerSecond);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::string ValuesOf(const X509_NAME* name) {
    std::string values;
    for (int index = 0; index < X509_NAME_entry_count(name); ++index) {
        unsigned char* text = nullptr;
        const int size = ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
        if (size >= 0) {
            values += values.empty() ? "" : "\r\n";
            values.append(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
            OPENSSL_free(text);
        }
    }
    return values;
}

struct LocalDeleter {
    void operator()(WCHAR* text) const { LocalFree(text); }
};
using LocalText = std::unique_ptr<WCHAR, LocalDeleter>;

LocalText CopyForCaller(const std::string& text) {
    const std::u16string wide = Widen(text);
    const std::size_t size = (wide.size() + 1) * sizeof(WCHAR);
    LocalText copy(static_cast<WCHAR*>(std::malloc(size)));
    if (copy != nullptr) {
        std::memcpy(copy.get(), wide.c_str(), size);
    }
    return copy;
}

}  // namespace

void PeerCertificate::Deleter::operator()(x509_st* certificate) const {
    X509_free(certificate);
}

void PeerCertificate::Take(CURL* easy) noexcept {
    curl_tlssessioninfo* session = nullptr;
    m_certificate.reset();
    if (curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session) == CURLE_OK && session != nullptr &&
        session->backend == CURLSSLBACKEND_OPENSSL && session->internals != nullptr) {
        m_certificate.reset(SSL_get1_peer_certificate(static_cast<const SSL*>(session->internals)));
    }
}

DWORD PeerCertificate::Describe(WINHTTP_CERTIFICATE_INFO& information) const {
    const X509* certificate = m_certificate.get();
    LocalText subject = CopyForCaller(ValuesOf(X509_get_subject_name(certificate)));
    LocalText issuer = CopyForCaller(ValuesOf(X509_get_issuer_name(certificate)));
    if (subject == nullptr || issuer == nullptr) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    information = {};
    information.ftExpiry = TimeOf(X509_get0_notAfter(certificate));
    information.ftStart = TimeOf(X509_get0_notBefore(certificate));
    information.lpszSubjectInfo = subject.release();
    information.lpszIssuerInfo = issuer.release();
    return ERROR_SUCCESS;
}

}  // namespace quillmark::platform::winhttp

HLOCAL WINAPI LocalFree(HLOCAL memory) {
    std::free(memory);
    return nullptr;
}
