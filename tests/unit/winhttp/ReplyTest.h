// What becomes of replies that are written out byte by byte.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {

class ReplyTest : public testing::Test {
protected:
    // What comes of a reply of these bytes, after which the server closes.
    Reply ReplyOf(const std::string& bytes, std::string_view verb = "GET") {
        RawServer server([&](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            peer.Send(bytes);
        });
        return Exchange(OpenRequest(m_session, server.Port(), verb, "/"));
    }

    // The same, when the server ends the connection with a reset.
    Reply ReplyWithReset(const std::string& bytes) {
        RawServer server([&](Peer& peer) {
            static_cast<void>(peer.ReadHead());
            peer.Send(bytes);
            peer.Reset();
        });
        return Exchange(OpenRequest(m_session, server.Port(), "GET", "/"));
    }

    void ExpectBody(const std::string& body, const Reply& reply) {
        EXPECT_EQ(ERROR_SUCCESS, reply.code);
        EXPECT_EQ(200, reply.status);
        EXPECT_EQ(body, reply.body);
    }

    ScopedHandle m_session = OpenSession();
};

}  // namespace quillmark::test
