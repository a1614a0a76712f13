// Heads of requests as a server gets them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <string>
#include <string_view>
#include <vector>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {

// Answers every request with 200 and keeps the heads.
class WireTest : public testing::Test {
protected:
    // Sends the request and returns its head as the server got it, with "HOST" for the server's address.
    std::string HeadOf(HINTERNET request, std::string_view body = {}) {
        const Reply reply = Exchange(request, body);
        EXPECT_EQ(ERROR_SUCCESS, reply.code);
        EXPECT_EQ(200, reply.status);
        std::string head = m_head.get_future().get();
        const std::string address = "127.0.0.1:" + std::to_string(m_server.Port());
        const std::size_t at = head.find(address);
        return at == std::string::npos ? head : head.replace(at, address.size(), "HOST");
    }

    std::promise<std::string> m_head;
    RawServer m_server{[this](Peer& peer) {
        m_head.set_value(peer.ReadHead());
        peer.Send(Ok());
        peer.ReadToEnd();
    }};
    ScopedHandle m_session = OpenSession();
};

// The request's line and then the headers, which may come in any order and with blanks behind their values.
inline std::vector<std::string> LinesOf(std::string_view head) {
    std::vector<std::string> lines;
    while (!head.empty()) {
        const std::size_t end = head.find("\r\n");
        lines.emplace_back(head.substr(0, end));
        while (lines.back().ends_with(' ')) {
            lines.back().pop_back();
        }
        head.remove_prefix(end == std::string_view::npos ? head.size() : end + 2);
    }
    if (!lines.empty()) {
        std::sort(lines.begin() + 1, lines.end());
    }
    return lines;
}

inline auto IsHead(const std::string& head) {
    return testing::ResultOf(LinesOf, testing::ElementsAreArray(LinesOf(head)));
}

}  // namespace quillmark::test
