// The certificate that the server of a secure connection has shown.
#pragma once

#include <curl/curl.h>

#include <memory>

#include "quillmark/platform/WinHttp.h"

struct x509_st;

namespace quillmark::platform::winhttp {

class PeerCertificate {
public:
    // Takes the certificate of the transfer's connection, which must stand: libcurl knows it only as long as the
    // transfer runs. Holds none when the connection is not secure.
    void Take(CURL* easy) noexcept;

    [[nodiscard]] explicit operator bool() const { return m_certificate != nullptr; }

    // ERROR_SUCCESS, or ERROR_NOT_ENOUGH_MEMORY; information is complete or untouched. There must be a certificate.
    [[nodiscard]] DWORD Describe(WINHTTP_CERTIFICATE_INFO& information) const;

private:
    struct Deleter {
        void operator()(x509_st* certificate) const;
    };
    std::unique_ptr<x509_st, Deleter> m_certificate;
};

}  // namespace quillmark::platform::winhttp
