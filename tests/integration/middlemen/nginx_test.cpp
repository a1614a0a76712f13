#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "integration/middlemen/Middleman.h"
#include "integration/middlemen/RoundTrip.h"
#include "integration/support/Appliance.h"

namespace quillmark::testing {
namespace {

using Seconds = std::chrono::duration<double>;

// A front end with TLS; the directive chooses how it takes a request's body.
std::string NginxConfiguration(const Appliance& appliance, const std::string& directive) {
    return R"(
daemon off;
master_process off;
pid @FOLDER@/pid;
error_log @FOLDER@/error.log;
events {}
http {
    access_log @FOLDER@/access.log;
    client_body_temp_path @FOLDER@/body;
    proxy_temp_path @FOLDER@/proxy;
    fastcgi_temp_path @FOLDER@/fastcgi;
    uwsgi_temp_path @FOLDER@/uwsgi;
    scgi_temp_path @FOLDER@/scgi;
    client_max_body_size 0;
    keepalive_requests 10000;
    server {
        listen 127.0.0.1:@PORT@ ssl;
        ssl_certificate )" +
           appliance.CertificateFile() + R"(;
        ssl_certificate_key )" +
           appliance.KeyFile() + R"(;
        location / {
            proxy_pass http://127.0.0.1:)" +
           std::to_string(appliance.HttpPort()) + R"(;
            proxy_http_version 1.1;
            proxy_set_header Connection "";
            )" +
           directive + R"(
        }
    }
}
)";
}

// The seconds that one small upload takes.
double UploadSeconds(HostClient& client, const WideString& local, const std::string& name) {
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(client->UploadFile(local, WidenUtf8("/" + name), UploadAttributes(5), nullptr, nullptr, 0), 0u);
    return Seconds(std::chrono::steady_clock::now() - started).count();
}

TEST(Nginx, StreamsBodiesToTheServerWithoutDelay) {
    const Appliance appliance;
    const Middleman nginx("nginx", NginxConfiguration(appliance, "proxy_request_buffering off;"));
    ::setenv("SSL_CERT_FILE", appliance.AuthorityFile().c_str(), 1);
    HostClient client("https://localhost:" + std::to_string(nginx.Port()));
    ASSERT_EQ(client.Login(), 0u);
    ExpectRoundTrip(client);
    const TempFolder folder;
    const WideString local = WriteFileAt(folder / "small", "small");
    for (int upload = 0; upload < 10; ++upload) {
        EXPECT_LT(UploadSeconds(client, local, std::to_string(upload)), 0.9) << "a wait for the owed bytes";
    }
}

// With its default buffering nginx takes the announced length at its word: it waits for all of the body before it asks
// the server. The first upload finds that out; the session remembers it.
TEST(Nginx, WithItsDefaultBufferingDelaysTheFirstUploadOnly) {
    const Appliance appliance;
    const Middleman nginx("nginx", NginxConfiguration(appliance, ""));
    ::setenv("SSL_CERT_FILE", appliance.AuthorityFile().c_str(), 1);
    HostClient client("https://localhost:" + std::to_string(nginx.Port()));
    ASSERT_EQ(client.Login(), 0u);
    const TempFolder folder;
    const WideString local = WriteFileAt(folder / "small", "small");
    const double first = UploadSeconds(client, local, "first");
    EXPECT_LT(first, 5.0);
    double slowest = 0;
    for (int upload = 0; upload < 10; ++upload) {
        slowest = std::max(slowest, UploadSeconds(client, local, std::to_string(upload)));
    }
    std::printf("MEASURED uploads through a buffering front end: first %.3f s, slowest of the next ten %.3f s\n", first,
                slowest);
    EXPECT_LT(slowest, 0.9);
    ExpectRoundTrip(client);
}

TEST(Nginx, WithAnUntrustedCertificateIsNotSpokenTo) {
    const Appliance appliance;
    const Middleman nginx("nginx", NginxConfiguration(appliance, ""));
    HostClient client("https://localhost:" + std::to_string(nginx.Port()));
    EXPECT_EQ(client.Login(), 12175u);
    EXPECT_EQ(appliance.RequestCount("GET", "/endpoints"), 0u);
}

}  // namespace
}  // namespace quillmark::testing
