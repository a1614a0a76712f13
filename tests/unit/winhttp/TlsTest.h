// A secure server that answers every request with its first line.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"
#include "unit/winhttp/TrustedRoot.h"

namespace quillmark::test {

class TlsTest : public testing::Test {
protected:
    ScopedHandle Open(const RawServer& server, std::string_view host = "localhost", std::string_view verb = "GET") {
        return OpenRequest(m_session, server.Port(), verb, "/", WINHTTP_FLAG_SECURE, host);
    }

    static void Serve(Peer& peer) {
        for (std::string head; !(head = peer.ReadHead()).empty();) {
            peer.Send(Ok(head.substr(0, head.find('\r'))));
        }
    }

    TlsIdentity m_identity{"DNS:localhost"};
    RawServer m_server{Serve, &m_identity};
    ScopedHandle m_session = OpenSession();
};

}  // namespace quillmark::test
