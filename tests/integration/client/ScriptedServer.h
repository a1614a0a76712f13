// A server that is scripted byte by byte, for what the reference server never does: it answers discovery, login and
// every operation in good order, except for the request that a test has a script for, and it keeps what it was sent.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "unit/winhttp/RawServer.h"

namespace quillmark::testing {

using test::Peer;

class ScriptedServer {
public:
    // Answers a request that has been read whole; the connection ends when it returns false.
    using Script = std::function<bool(Peer&)>;

    // Requests whose first line begins like this are answered by the script, all others in good order. The session
    // token is "T0KEN", the API's path "/api/1.7".
    explicit ScriptedServer(std::string beginning = "never", Script script = nullptr);

    [[nodiscard]] std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_server.Port()); }
    // Head and body of the first request that begins like this, empty when there was none.
    [[nodiscard]] std::string Request(const std::string& beginning);
    // What was sent between a multipart body's closing line and the next request.
    [[nodiscard]] std::string PaidBytes();

private:
    void Serve(Peer& peer);

    const std::string m_beginning;
    const Script m_script;
    std::mutex m_lock;
    std::vector<std::string> m_requests;
    std::string m_paid;
    test::RawServer m_server;
};

// A whole reply with its length.
std::string OkReply(const std::string& body);

}  // namespace quillmark::testing
