#include "dns/Exchange.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "dns/Socket.h"

namespace quillmark::platform {
namespace {

// How long a server has the floor to itself before the next one is asked too, or the same one once more.
constexpr DWORD TurnMilliseconds = 400;
constexpr std::size_t LongestMessage = 65535;

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> AskOverTcp(const NameServer& server, const Question& question, const Deadline& deadline) {
    const Socket socket(server, SOCK_STREAM);
    const auto question16 = static_cast<std::uint16_t>(question.Bytes().size());
    Bytes message = {static_cast<std::uint8_t>(question16 >> 8), static_cast<std::uint8_t>(question16)};
    message.insert(message.end(), question.Bytes().begin(), question.Bytes().end());
    std::array<std::uint8_t, 2> length{};
    if (!socket.IsOpen() || !socket.SendAll(message, deadline) || !socket.ReceiveAll(length, deadline)) {
        return std::nullopt;
    }
    Bytes reply(static_cast<std::size_t>(length[0] << 8 | length[1]));
    if (!socket.ReceiveAll(reply, deadline) || !question.IsAnsweredBy(reply)) {
        return std::nullopt;
    }
    return reply;
}

// Another server may know better after these; the others are final.
bool IsFailureOfServer(DNS_STATUS status) {
    return status != 0 && status != DNS_ERROR_RCODE_NAME_ERROR && status != DNS_INFO_NO_RECORDS;
}

class Exchange {
public:
    Exchange(std::span<const NameServer> servers, const Question& question, const Deadline& deadline)
        : m_servers(servers), m_question(question), m_deadline(deadline), m_buffer(LongestMessage) {
        for (const NameServer& server : servers) {
            m_sockets.emplace_back(server, SOCK_DGRAM);
            m_hasFailed.push_back(false);
        }
    }

    [[nodiscard]] Answer Run() {
        while (!m_deadline.IsOver()) {
            if (!AskNext()) {
                return {.status = m_lastFailure, .records = {}};
            }
            if (auto answer = ListenForOneTurn()) {
                return std::move(*answer);
            }
        }
        return {.status = static_cast<DNS_STATUS>(ERROR_TIMEOUT), .records = {}};
    }

private:
    // Sends to the next server that has not failed. False when there is none.
    bool AskNext() {
        for (std::size_t tried = 0; tried < m_servers.size(); ++tried) {
            const std::size_t index = m_next;
            m_next = (m_next + 1) % m_servers.size();
            if (m_hasFailed[index]) {
                continue;
            }
            const auto bytes = m_question.Bytes();
            if (m_sockets[index].IsOpen() &&
                send(m_sockets[index].Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0) {
                return true;
            }
            Fail(index, DNS_ERROR_NO_DNS_SERVERS);
        }
        return false;
    }

    void Fail(std::size_t index, DNS_STATUS status) {
        m_hasFailed[index] = true;
        m_lastFailure = status;
    }

    // The answer, or nothing when the turn is over or a server has failed: then the next one is to be asked.
    std::optional<Answer> ListenForOneTurn() {
        const Deadline turn(TurnMilliseconds);
        while (!turn.IsOver() && !m_deadline.IsOver()) {
            if (!AwaitMessage(turn)) {
                continue;
            }
            for (std::size_t i = 0; i < m_sockets.size(); ++i) {
                auto answer = m_hasFailed[i] ? std::nullopt : Receive(i);
                if (answer && !IsFailureOfServer(answer->status)) {
                    return answer;
                }
                if (answer) {
                    Fail(i, answer->status);
                    return std::nullopt;
                }
            }
        }
        return std::nullopt;
    }

    bool AwaitMessage(const Deadline& turn) {
        std::vector<pollfd> descriptors;
        for (std::size_t i = 0; i < m_sockets.size(); ++i) {
            descriptors.push_back({.fd = m_hasFailed[i] ? -1 : m_sockets[i].Get(), .events = POLLIN, .revents = 0});
        }
        const timespec ofTurn = turn.Remaining();
        const timespec ofAll = m_deadline.Remaining();
        const bool turnIsShorter =
            ofTurn.tv_sec < ofAll.tv_sec || (ofTurn.tv_sec == ofAll.tv_sec && ofTurn.tv_nsec < ofAll.tv_nsec);
        return ppoll(descriptors.data(), descriptors.size(), turnIsShorter ? &ofTurn : &ofAll, nullptr) > 0;
    }

    // What this server said, when it said anything: messages that do not answer the question count for nothing.
    std::optional<Answer> Receive(std::size_t index) {
        const ssize_t received = recv(m_sockets[index].Get(), m_buffer.data(), m_buffer.size(), 0);
        if (received < 0) {
            const bool nothingThere = errno == EAGAIN || errno == EINTR;
            return nothingThere ? std::nullopt : std::optional(Answer{DNS_ERROR_NO_DNS_SERVERS, {}});
        }
        const std::span<const std::uint8_t> reply(m_buffer.data(), static_cast<std::size_t>(received));
        if (!m_question.IsAnsweredBy(reply)) {
            return std::nullopt;
        }
        if (!IsTruncated(reply)) {
            return m_question.Parse(reply);
        }
        const auto whole = AskOverTcp(m_servers[index], m_question, m_deadline);
        return whole ? m_question.Parse(*whole) : Answer{DNS_ERROR_BAD_PACKET, {}};
    }

    const std::span<const NameServer> m_servers;
    const Question& m_question;
    const Deadline& m_deadline;
    Bytes m_buffer;
    std::vector<Socket> m_sockets;
    std::vector<bool> m_hasFailed;
    std::size_t m_next = 0;
    DNS_STATUS m_lastFailure = DNS_ERROR_NO_DNS_SERVERS;
};

}  // namespace

Answer AskServers(std::span<const NameServer> servers, const Question& question, const Deadline& deadline) {
    return Exchange(servers, question, deadline).Run();
}

}  // namespace quillmark::platform
