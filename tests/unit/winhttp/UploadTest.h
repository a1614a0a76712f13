// Streamed bodies of known bytes, and uploads that announce more than they send.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {

inline std::string Body(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        body[i] = static_cast<char>('a' + i % 26);
    }
    return body;
}

// A server that answers as soon as `needed` bytes of a body are there and then expects `owed` more bytes before the
// next request; it tells what these were.
struct Settled {
    int connections = 0;
    std::string owedBytes;
    int secondStatus = 0;
};

class UploadTest : public testing::Test {
protected:
    // Uploads a body of 100 bytes that was announced with so many more, then makes a second request.
    Settled UploadWithDebt(std::size_t owed, std::string replyHead = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok") {
        std::promise<std::string> paid;
        std::future<std::string> settled = paid.get_future();
        RawServer server([&](Peer& peer) {
            if (peer.Number() == 0) {
                static_cast<void>(peer.ReadHead());
                static_cast<void>(peer.Read(100));
                peer.Send(replyHead);
                paid.set_value(peer.Read(owed));
            }
            while (!peer.ReadHead().empty()) {
                peer.Send(Ok());
            }
        });
        Settled result;
        {
            const ScopedHandle request = OpenRequest(m_session, server.Port(), "POST", "/up");
            EXPECT_EQ(ERROR_SUCCESS, StartUpload(request, 100 + owed));
            EXPECT_EQ(ERROR_SUCCESS, Write(request, Body(100)));
            const Reply reply = Receive(request);
            EXPECT_EQ(ERROR_SUCCESS, reply.code);
            EXPECT_EQ("ok", reply.body);
        }
        result.secondStatus = Exchange(OpenRequest(m_session, server.Port(), "GET", "/")).status;
        // The server's thread may see the end of the first connection after the second one was answered.
        const bool inTime = settled.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
        EXPECT_TRUE(inTime);
        result.owedBytes = inTime ? settled.get() : "";
        result.connections = server.Connections();
        return result;
    }

    ScopedHandle m_session = OpenSession();
};

}  // namespace quillmark::test
