#include "unit/platform/internal/FakeNameServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace quillmark::test {
namespace {

platform::NameServer Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    platform::NameServer server;
    std::memcpy(&server.address, &address, sizeof(address));
    server.length = sizeof(address);
    return server;
}

int Bound(int kind, platform::NameServer& server) {
    const int descriptor = socket(AF_INET, kind | SOCK_CLOEXEC, 0);
    auto* address = reinterpret_cast<sockaddr*>(&server.address);
    if (bind(descriptor, address, server.length) != 0) {
        close(descriptor);
        return -1;
    }
    getsockname(descriptor, address, &server.length);
    return descriptor;
}

bool ReceiveAll(int descriptor, Bytes& bytes) {
    return recv(descriptor, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

}  // namespace

FakeNameServer::FakeNameServer(Script script) : m_script(std::move(script)), m_stop(eventfd(0, EFD_CLOEXEC)) {
    // A port that is free for datagrams may be taken for connections; then another one is tried.
    while (m_listener < 0) {
        if (m_datagrams >= 0) {
            close(m_datagrams);
        }
        m_address = Loopback(0);
        m_datagrams = Bound(SOCK_DGRAM, m_address);
        m_listener = Bound(SOCK_STREAM, m_address);
    }
    if (listen(m_listener, 8) != 0) {
        throw std::runtime_error("the fake name server cannot listen");
    }
    m_thread = std::thread([this] { Run(); });
}

FakeNameServer::~FakeNameServer() {
    eventfd_write(m_stop, 1);
    m_thread.join();
    for (const int connection : m_connections) {
        close(connection);
    }
    close(m_datagrams);
    close(m_listener);
    close(m_stop);
}

std::vector<Bytes> FakeNameServer::Questions() const {
    const std::lock_guard guard(m_lock);
    return m_questions;
}

void FakeNameServer::Run() {
    for (;;) {
        pollfd waited[] = {{m_stop, POLLIN, 0}, {m_datagrams, POLLIN, 0}, {m_listener, POLLIN, 0}};
        poll(waited, 3, -1);
        if (waited[0].revents != 0) {
            return;
        }
        if (waited[1].revents != 0) {
            AnswerDatagram();
        }
        if (waited[2].revents != 0) {
            AnswerConnection();
        }
    }
}

std::vector<Bytes> FakeNameServer::Record(const Bytes& question, bool overTcp) {
    {
        const std::lock_guard guard(m_lock);
        m_questions.push_back(question);
    }
    return m_script(question, overTcp);
}

void FakeNameServer::AnswerDatagram() {
    Bytes question(4096);
    sockaddr_storage from{};
    socklen_t length = sizeof(from);
    auto* address = reinterpret_cast<sockaddr*>(&from);
    const ssize_t received = recvfrom(m_datagrams, question.data(), question.size(), 0, address, &length);
    question.resize(static_cast<std::size_t>(received));
    for (const Bytes& reply : Record(question, false)) {
        sendto(m_datagrams, reply.data(), reply.size(), 0, address, length);
    }
}

void FakeNameServer::AnswerConnection() {
    const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    m_connections.push_back(connection);
    Bytes length(2);
    if (!ReceiveAll(connection, length)) {
        return;
    }
    Bytes question(static_cast<std::size_t>(length[0] << 8 | length[1]));
    if (!ReceiveAll(connection, question)) {
        return;
    }
    for (const Bytes& reply : Record(question, true)) {
        Bytes framed = {static_cast<std::uint8_t>(reply.size() >> 8), static_cast<std::uint8_t>(reply.size())};
        framed.insert(framed.end(), reply.begin(), reply.end());
        send(connection, framed.data(), framed.size(), MSG_NOSIGNAL);
    }
}

platform::NameServer DeadAddress() {
    platform::NameServer server = Loopback(0);
    // The port was free a moment ago, and the system hands the same one out again only much later.
    close(Bound(SOCK_DGRAM, server));
    return server;
}

Bytes Reply(const Bytes& question, std::uint16_t flags, std::uint16_t answers, const std::string& section) {
    Bytes reply = question;
    reply[2] = static_cast<std::uint8_t>(flags >> 8);
    reply[3] = static_cast<std::uint8_t>(flags);
    reply[6] = static_cast<std::uint8_t>(answers >> 8);
    reply[7] = static_cast<std::uint8_t>(answers);
    reply.insert(reply.end(), section.begin(), section.end());
    return reply;
}

}  // namespace quillmark::test
