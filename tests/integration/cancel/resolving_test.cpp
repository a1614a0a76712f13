// A cancel event ends an operation while the server's name is looked up.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "integration/cancel/CancelledOperation.h"
#include "integration/cancel/SilentNameServer.h"

namespace quillmark::testing {
namespace {

constexpr int Ipv6Address = 28;  // only connecting asks for these; the library's own probe of the name does not

TEST(CancelledLookUpTest, EndsWhenTheNameServerNeverAnswers) {
    std::unique_ptr<SilentNameServer> nameServer;
    try {
        nameServer = std::make_unique<SilentNameServer>();
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << "this system allows no namespaces of one's own: " << error.what();
    }
    HostClient client("http://stalled.test:8080");
    CancelledOperation running([&client](HANDLE event) {
        DWORD mode = 0;
        DWORD extra = 0;
        return client->Init(mode, extra, event);
    });
    ASSERT_EQ("stalled.test", nameServer->AwaitQuestion(Ipv6Address).value_or("no question came"));
    running.CancelWhile("resolving");
}

}  // namespace
}  // namespace quillmark::testing
