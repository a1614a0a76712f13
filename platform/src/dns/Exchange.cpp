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
constexpr DWORD kTurnMilliseconds = 400;
constexpr std::size_t kLongestMessage = 65535;

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
        : servers_(servers), question_(question), deadline_(deadline), buffer_(kLongestMessage) {
        for (const NameServer& server : servers) {
            sockets_.emplace_back(server, SOCK_DGRAM);
            hasFailed_.push_back(false);
        }
    }

    [[nodiscard]] Answer Run() {
        while (!deadline_.IsOver()) {
            if (!AskNext()) {
                return {.status = lastFailure_, .records = {}};
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
        for (std::size_t tried = 0; tried < servers_.size(); ++tried) {
            const std::size_t index = next_;
            next_ = (next_ + 1) % servers_.size();
            if (hasFailed_[index]) {
                continue;
            }
            const auto bytes = question_.Bytes();
            if (sockets_[index].IsOpen() &&
                send(sockets_[index].Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0) {
                return true;
            }
            Fail(index, DNS_ERROR_NO_DNS_SERVERS);
        }
        return false;
    }

    void Fail(std::size_t index, DNS_STATUS status) {
        hasFailed_[index] = true;
        lastFailure_ = status;
    }

    // The answer, or nothing when the turn is over or a server has failed: then the next one is to be asked.
    std::optional<Answer> ListenForOneTurn() {
        const Deadline turn(kTurnMilliseconds);
        while (!turn.IsOver() && !deadline_.IsOver()) {
            if (!AwaitMessage(turn)) {
                continue;
            }
            for (std::size_t i = 0; i < sockets_.size(); ++i) {
                auto answer = hasFailed_[i] ? std::nullopt : Receive(i);
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
        for (std::size_t i = 0; i < sockets_.size(); ++i) {
            descriptors.push_back({.fd = hasFailed_[i] ? -1 : sockets_[i].Get(), .events = POLLIN, .revents = 0});
        }
        const timespec ofTurn = turn.Remaining();
        const timespec ofAll = deadline_.Remaining();
        const bool turnIsShorter =
            ofTurn.tv_sec < ofAll.tv_sec || (ofTurn.tv_sec == ofAll.tv_sec && ofTurn.tv_nsec < ofAll.tv_nsec);
        return ppoll(descriptors.data(), descriptors.size(), turnIsShorter ? &ofTurn : &ofAll, nullptr) > 0;
    }

    // What this server said, when it said anything: messages that do not answer the question count for nothing.
    std::optional<Answer> Receive(std::size_t index) {
        const ssize_t received = recv(sockets_[index].Get(), buffer_.data(), buffer_.size(), 0);
        if (received < 0) {
            const bool nothingThere = errno == EAGAIN || errno == EINTR;
            return nothingThere ? std::nullopt : std::optional(Answer{DNS_ERROR_NO_DNS_SERVERS, {}});
        }
        const std::span<const std::uint8_t> reply(buffer_.data(), static_cast<std::size_t>(received));
        if (!question_.IsAnsweredBy(reply)) {
            return std::nullopt;
        }
        if (!IsTruncated(reply)) {
            return question_.Parse(reply);
        }
        const auto whole = AskOverTcp(servers_[index], question_, deadline_);
        return whole ? question_.Parse(*whole) : Answer{DNS_ERROR_BAD_PACKET, {}};
    }

    const std::span<const NameServer> servers_;
    const Question& question_;
    const Deadline& deadline_;
    Bytes buffer_;
    std::vector<Socket> sockets_;
    std::vector<bool> hasFailed_;
    std::size_t next_ = 0;
    DNS_STATUS lastFailure_ = DNS_ERROR_NO_DNS_SERVERS;
};

}  // namespace

Answer AskServers(std::span<const NameServer> servers, const Question& question, const Deadline& deadline) {
    return Exchange(servers, question, deadline).Run();
}

}  // namespace quillmark::platform
