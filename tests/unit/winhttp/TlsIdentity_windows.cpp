#include <cstdlib>
#include <stdexcept>

#include "unit/winhttp/RawSocket_windows.h"
#include "unit/winhttp/TlsIdentity.h"

namespace quillmark::test {

namespace {

std::uint16_t RelayPort() {
    const char* text = std::getenv("QUILLMARK_TEST_TLS_RELAY");
    if (text == nullptr) {
        throw std::runtime_error("QUILLMARK_TEST_TLS_RELAY is not set; start this program with with-tls-relay.sh");
    }
    return static_cast<std::uint16_t>(std::stoi(text));
}

// What tls-relay.py answers to a line.
std::string Ask(const std::string& line) {
    const RawSocket socket = ConnectRaw(RelayPort());
    std::string answer;
    char buffer[4096];
    for (std::size_t count = SendRaw(socket, line + "\n"); count != 0;) {
        count = ReceiveRaw(socket, buffer, sizeof(buffer));
        answer.append(buffer, count);
    }
    CloseRaw(socket);
    if (answer.empty()) {
        throw std::runtime_error("tls-relay.py does not answer to " + line);
    }
    return answer;
}

}  // namespace

// The certificates of tls-relay.py have numbers.
struct TlsIdentity::Keys {
    std::string number;
};

TlsIdentity::TlsIdentity(const std::string& alternativeName) : m_keys(std::make_unique<Keys>()) {
    const std::string answer = Ask("identity " + alternativeName);
    const std::size_t end = answer.find('\n');
    m_keys->number = answer.substr(0, end);
    m_pem = answer.substr(end + 1);
}

TlsIdentity::~TlsIdentity() = default;

std::uint16_t TlsIdentity::PortInFrontOf(std::uint16_t port) const {
    return static_cast<std::uint16_t>(std::stoi(Ask("serve " + m_keys->number + " " + std::to_string(port))));
}

std::unique_ptr<RawStream> TlsIdentity::Accept(RawSocket socket) const {
    // Its bytes are in the clear already.
    return std::make_unique<PlainStream>(socket);
}

}  // namespace quillmark::test
