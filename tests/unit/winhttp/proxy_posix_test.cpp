// The system's proxy, which on POSIX is that of the environment.
#include <gtest/gtest.h>

#include <cstdlib>

#include "unit/winhttp/HttpCalls.h"
#include "unit/winhttp/RawServer.h"

namespace quillmark::test {
namespace {

TEST(ProxyPosixTest, DefaultProxyIsThatOfTheEnvironment) {
    RawServer proxy([](Peer& peer) {
        const std::string head = peer.ReadHead();
        peer.Send(Ok(head.substr(0, head.find('\r'))));
    });
    setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(proxy.Port())).c_str(), 1);
    const ScopedHandle session(WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, nullptr, nullptr, 0));
    EXPECT_EQ("GET http://server.invalid/x HTTP/1.1",
              Exchange(OpenRequest(session, 80, "GET", "/x", 0, "server.invalid")).body);
    unsetenv("http_proxy");
}

}  // namespace
}  // namespace quillmark::test
