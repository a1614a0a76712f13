// A name server on a free loopback port, over UDP and TCP, that answers as a test says and keeps what it was asked.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "dns/Configuration.h"

namespace quillmark::test {

using Bytes = std::vector<std::uint8_t>;

class FakeNameServer {
public:
    // The messages to send back for a question, none to keep silent. Runs on the server's thread.
    using Script = std::function<std::vector<Bytes>(const Bytes& question, bool overTcp)>;

    explicit FakeNameServer(Script script);
    ~FakeNameServer();
    FakeNameServer(const FakeNameServer&) = delete;
    FakeNameServer& operator=(const FakeNameServer&) = delete;

    [[nodiscard]] platform::NameServer Address() const { return m_address; }
    [[nodiscard]] std::vector<Bytes> Questions() const;

private:
    void Run();
    void AnswerDatagram();
    void AnswerConnection();
    std::vector<Bytes> Record(const Bytes& question, bool overTcp);

    Script m_script;
    platform::NameServer m_address;
    int m_datagrams = -1;
    int m_listener = -1;
    int m_stop = -1;
    // Connections stay open until the end, so that a silent script is a server that stalls.
    std::vector<int> m_connections;
    mutable std::mutex m_lock;
    std::vector<Bytes> m_questions;
    std::thread m_thread;
};

// An address of this machine on which nobody listens.
[[nodiscard]] platform::NameServer DeadAddress();

// A reply: the question's id and question section, the flags (two bytes), and the answer section with its count.
[[nodiscard]] Bytes Reply(const Bytes& question, std::uint16_t flags, std::uint16_t answers,
                          const std::string& section);

}  // namespace quillmark::test
