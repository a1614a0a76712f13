// The connection handle: the name of a server, not a socket.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "winhttp/InternetHandle.h"
#include "winhttp/Session.h"

namespace quillmark::platform::winhttp {

class Connection final : public InternetHandle {
public:
    Connection(std::shared_ptr<Session> session, HINTERNET sessionHandle, std::string host, INTERNET_PORT port)
        : InternetHandle(WINHTTP_HANDLE_TYPE_CONNECT, sessionHandle),
          m_session(std::move(session)),
          m_host(std::move(host)),
          m_port(port) {}

    [[nodiscard]] const std::shared_ptr<Session>& GetSession() const { return m_session; }
    [[nodiscard]] const std::string& Host() const { return m_host; }

    // The port of requests with or without TLS.
    [[nodiscard]] INTERNET_PORT Port(bool secure) const {
        if (m_port != INTERNET_DEFAULT_PORT) {
            return m_port;
        }
        return secure ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    }

private:
    const std::shared_ptr<Session> m_session;
    const std::string m_host;
    const INTERNET_PORT m_port;
};

}  // namespace quillmark::platform::winhttp
