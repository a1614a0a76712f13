// A channel is what one exchange is driven on: a libcurl multi handle with at most one live connection in it, and the
// easy handle for the transfers. The pool keeps those whose exchange is complete, by origin, for the next request
// there.
//
// Requests on several threads never share a channel or wait for one: each takes an idle one or makes its own. Whether
// the connection in it still lives is tested by the transfer before it sends.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "winhttp/CurlHandles.h"

namespace quillmark::platform::winhttp {

class Channel {
public:
    // Throws std::bad_alloc.
    Channel();

    [[nodiscard]] CURLM* Multi() const { return m_multi.get(); }
    [[nodiscard]] CURL* Easy() const { return m_easy.get(); }

    // Called when an exchange is complete, before the easy handle leaves the multi handle. answeredEarly: the reply
    // came while bytes of the request were still owed.
    void EndExchange(bool answeredEarly);

    [[nodiscard]] bool AnsweredEarly() const { return m_answeredEarly; }

    // Whether anything arrives on the idle connection by then: its end, since nothing else is due. False without a
    // connection.
    [[nodiscard]] bool ClosesBefore(std::chrono::steady_clock::time_point moment) const;

    // While set, what the server said last is read from a connection that is closed, into LastBytes. libcurl closes
    // when it cannot send, without reading once more; of a plain connection the bytes can be had all the same.
    void KeepLastBytes(bool keep) { m_keepLastBytes = keep; }
    [[nodiscard]] const std::string& LastBytes() const { return m_lastBytes; }

    // CURLOPT_CLOSESOCKETFUNCTION with the channel as its data: libcurl remembers both with the connection.
    static int OnCloseSocket(void* self, curl_socket_t socket);

    // When the last exchange ended.
    [[nodiscard]] std::chrono::steady_clock::time_point IdleSince() const { return m_idleSince; }

private:
    bool m_keepLastBytes = false;
    std::string m_lastBytes;
    // The connection lives in the multi handle; its closing needs what stands above, and nothing of the easy one.
    MultiHandle m_multi;
    EasyHandle m_easy;
    curl_socket_t m_socket = CURL_SOCKET_BAD;
    bool m_answeredEarly = false;
    std::chrono::steady_clock::time_point m_idleSince;
};

class ChannelPool {
public:
    // The most recently kept channel of the origin, or a new one. Throws std::bad_alloc.
    [[nodiscard]] std::unique_ptr<Channel> Take(const std::string& origin);

    // Keeps a channel whose exchange is complete. After Close it is closed instead.
    void Keep(const std::string& origin, std::unique_ptr<Channel> channel);

    // Closes the idle channels and keeps no more of them.
    void Close();

private:
    using Clock = std::chrono::steady_clock;
    // Per origin; more than that are of no use after a burst of parallel requests.
    static constexpr std::size_t MostIdle = 16;
    // Servers and middlemen drop idle connections; one that is older is closed from this side first.
    static constexpr std::chrono::seconds LongestIdle{60};

    std::mutex m_mutex;
    bool m_closed = false;
    std::map<std::string, std::deque<std::unique_ptr<Channel>>> m_idle;
};

}  // namespace quillmark::platform::winhttp
