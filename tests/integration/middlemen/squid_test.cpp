#include <gtest/gtest.h>

#include <cstdlib>

#include "integration/middlemen/Middleman.h"
#include "integration/middlemen/RoundTrip.h"
#include "integration/support/Appliance.h"
#include "integration/support/Ports.h"

namespace quillmark::testing {
namespace {

constexpr const char* SquidConfiguration = R"(
http_port 127.0.0.1:@PORT@
http_access allow all
cache deny all
pid_filename none
netdb_filename none
coredump_dir @FOLDER@
cache_log @FOLDER@/cache.log
access_log stdio:@FOLDER@/access.log
shutdown_lifetime 0 seconds
)";

std::size_t CountOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

TEST(Squid, CarriesPlainRequestsUploadsAndDownloads) {
    const Appliance appliance;
    Middleman squid("squid", SquidConfiguration);
    ::setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(squid.Port())).c_str(), 1);
    {
        HostClient client("http://127.0.0.1:" + std::to_string(appliance.HttpPort()));
        ASSERT_EQ(client.Login(), 0u);
        ExpectRoundTrip(client);
    }
    const std::string log = squid.StopAndReadLog();
    EXPECT_EQ(CountOf(log, "/200 "), 23u) << log;  // and one line for the look whether it accepts connections
    EXPECT_EQ(CountOf(log, "\n"), 24u) << log;
    EXPECT_EQ(CountOf(log, " POST http://"), 8u) << log;  // a login, a folder, six uploads
}

TEST(Squid, TunnelsTlsWithConnect) {
    const Appliance appliance;
    Middleman squid("squid", SquidConfiguration);
    ::setenv("https_proxy", ("http://127.0.0.1:" + std::to_string(squid.Port())).c_str(), 1);
    ::setenv("SSL_CERT_FILE", appliance.AuthorityFile().c_str(), 1);
    {
        HostClient client("https://127.0.0.1:" + std::to_string(appliance.HttpsPort()));
        ASSERT_EQ(client.Login(), 0u);
        ExpectRoundTrip(client);
    }
    const std::string log = squid.StopAndReadLog();
    EXPECT_GE(CountOf(log, " CONNECT 127.0.0.1:"), 1u) << log;
    EXPECT_EQ(CountOf(log, " POST "), 0u) << log;
}

TEST(Squid, ThatCannotReachTheServerGivesItsStatus) {
    const Middleman squid("squid", SquidConfiguration);
    ::setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(squid.Port())).c_str(), 1);
    HostClient client("http://127.0.0.1:" + std::to_string(FreePort()));
    EXPECT_EQ(client.Login(), 20503u);
}

}  // namespace
}  // namespace quillmark::testing
