// The server's TLS identity: loading one, or making an authority and a certificate for local use.
#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace appliance {

struct SslContextDeleter {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using SslContext = std::unique_ptr<SSL_CTX, SslContextDeleter>;

// TLS 1.2 and newer with that certificate chain and key (both PEM). Throws std::runtime_error.
SslContext LoadTlsContext(const std::string& certificateFile, const std::string& keyFile);

// Makes ca.pem, server.pem and server.key in the folder unless all three are there: a new authority, which signs a
// certificate for localhost, 127.0.0.1 and ::1 and is then forgotten. Throws std::runtime_error.
void MakeCertificates(const std::string& folder);

}  // namespace appliance
