#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Version : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    WideString version = QM_W("kept");
};

TEST_F(Version, AsksBelowTheApiPath) {
    factory->Reply(200, R"({"quillmark_version":"5.1.2 \u00fc"})");
    EXPECT_EQ(client->Version(version), 0u);
    EXPECT_EQ(version, QM_W("5.1.2 \u00FC"));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r3, \"/qm/version\", \"GET\", c3, null, 0x00000000, false)",
                     "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::Version", "Server version is 5.1.2 \xC3\xBC"));
}

TEST_F(Version, AsksBelowTheApiPathOnAServerOfApi10Too) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    client->SetSessionToken(QM_W("t0ken"));
    factory->ClearCalls();
    factory->Reply(200, R"({"quillmark_version":"1"})");
    EXPECT_EQ(client->Version(version), 0u);
    EXPECT_EQ(factory->Calls()[3], "Request::Initialise(r5, \"/qm/version\", \"GET\", c5, null, 0x00000000, false)");
}

TEST_F(Version, AReplyWithoutTheVersionIs12004) {
    for (const char* reply : {"{}", R"({"quillmark_version":5})", "[]", "no JSON"}) {
        factory->Reply(200, reply);
        EXPECT_EQ(client->Version(version), 12004u) << reply;
    }
    EXPECT_EQ(version, QM_W("kept"));
    EXPECT_EQ(log.Count(Error, "Bad response to version request!"), 4u);
}

TEST_F(Version, AFailureIsItsCode) {
    factory->Reply(500, "{}");
    EXPECT_EQ(client->Version(version), 20500u);
    factory->Fail("Request::Initialise", 12001);
    EXPECT_EQ(client->Version(version), 12001u);
    EXPECT_EQ(version, QM_W("kept"));
}

}  // namespace
}  // namespace quillmark::test
