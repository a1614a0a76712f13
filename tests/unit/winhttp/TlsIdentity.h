// A self-signed certificate made for one test, with its key, and the secure connections of servers that have it.
//
// On Windows the program tls-relay.py does both on the Linux side: it makes the certificate, takes the secure
// connections and hands their bytes on to the server. The program is started beside the test by with-tls-relay.sh.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "unit/winhttp/RawStream.h"

namespace quillmark::test {

class TlsIdentity {
public:
    // For servers reached under that name: "DNS:localhost" or "IP:127.0.0.1".
    explicit TlsIdentity(const std::string& alternativeName);
    ~TlsIdentity();
    TlsIdentity(const TlsIdentity&) = delete;
    TlsIdentity& operator=(const TlsIdentity&) = delete;

    [[nodiscard]] const std::string& CertificatePem() const { return m_pem; }

    // Where the clients of a server connect to that listens on this port.
    [[nodiscard]] std::uint16_t PortInFrontOf(std::uint16_t port) const;

    // A connection that the server has accepted. One whose handshake fails is at its end.
    [[nodiscard]] std::unique_ptr<RawStream> Accept(RawSocket socket) const;

private:
    struct Keys;

    std::unique_ptr<Keys> m_keys;
    std::string m_pem;
};

}  // namespace quillmark::test
