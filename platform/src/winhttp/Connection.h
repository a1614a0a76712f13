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
          session_(std::move(session)),
          host_(std::move(host)),
          port_(port) {}

    [[nodiscard]] const std::shared_ptr<Session>& GetSession() const { return session_; }
    [[nodiscard]] const std::string& Host() const { return host_; }

    // The port of requests with or without TLS.
    [[nodiscard]] INTERNET_PORT Port(bool secure) const {
        if (port_ != INTERNET_DEFAULT_PORT) {
            return port_;
        }
        return secure ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    }

private:
    const std::shared_ptr<Session> session_;
    const std::string host_;
    const INTERNET_PORT port_;
};

}  // namespace quillmark::platform::winhttp
