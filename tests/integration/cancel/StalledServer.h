// A server that stops in the middle of one request, or of several, on the test's word, and tells when the client has
// got there. All other requests, and the same request once more, are answered in good order.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "unit/winhttp/RawServer.h"

namespace quillmark::testing {

// Where the client is held up.
struct Stall {
    std::string request =
        "";  // how the request's first line begins: "GET /api/1.7/folders/"; empty: any but discovery's
    bool readsRequest = true;  // false: it takes the head and leaves the body in the socket
    std::string reply = "";    // what it still answers
    int count = 1;             // how many requests that begin like this are held up
};

class StalledServer {
public:
    explicit StalledServer(Stall stall);
    ~StalledServer();
    StalledServer(const StalledServer&) = delete;
    StalledServer& operator=(const StalledServer&) = delete;

    [[nodiscard]] std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_server.Port()); }

    // Returns when the client is held up: so many of its requests have come, and what is to be answered has been sent.
    // False when they did not come in a minute.
    [[nodiscard]] bool AwaitStall(int count = 1);
    // Goes on: the requests that are held up are answered in good order.
    void Release();
    // How many requests began like the one that is held up.
    [[nodiscard]] int Matches();

private:
    void Serve(test::Peer& peer);
    // True when this request is one to be held up.
    bool Take(const std::string& head);
    // False when the connection is over.
    bool HoldUp(test::Peer& peer, const std::string& head);

    const Stall m_stall;
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_matches = 0;
    int m_stalled = 0;
    bool m_released = false;
    bool m_ended = false;
    test::RawServer m_server;
};

// A whole reply with its length.
std::string JsonReply(const std::string& body);
// The head of a reply of that many bytes, of which only these follow.
std::string BeginningOfReply(std::size_t length, const std::string& bytes);

}  // namespace quillmark::testing
