// Construction, disposal and configuration of the client object.
#include "client/NativeHttp.h"

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class NativeHttp : public ClientTest {
protected:
    // The path, verb and server of the request that Version() makes tell what the client is configured to.
    [[nodiscard]] Lines CallsOfVersion() {
        factory->ClearCalls();
        WideString version;
        static_cast<void>(client->Version(version));
        Lines calls = factory->Calls();
        calls.resize(4);
        return calls;
    }
};

TEST_F(NativeHttp, ConstructionMakesTheFirstSessionWithoutAToken) {
    EXPECT_EQ(factory->Calls(), (Lines{"CreateSession()", "Session::Initialise(s1)", "SetSessionToken(s1, \"\")"}));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::Create", ""));
    EXPECT_TRUE(log.Has(111, "NativeHttp", "CNativeHttp::Create", ""));
}

TEST_F(NativeHttp, ConstructionLeavesServerAndPortEmpty) {
    EXPECT_EQ(CallsOfVersion(),
              (Lines{"CreateConnection()", "Connection::Initialise(c1, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
                     "Request::Initialise(r1, \"/version\", \"GET\", c1, null, 0x00000000, false)"}));
}

TEST_F(NativeHttp, ReleaseDeletesTheObject) {
    std::weak_ptr<fakes::RecordingFactory> watched = factory;
    IQuillmarkHttpAPI* object = client.release();
    factory.reset();
    ASSERT_FALSE(watched.expired());
    object->Release();
    EXPECT_TRUE(watched.expired());
}

TEST_F(NativeHttp, ReleaseOfNullDoesNothing) {
    ReleaseClient(nullptr);
    ClientPointer null(nullptr);
}

TEST_F(NativeHttp, DestructionLetsEverySessionGo) {
    client->CreateNewSession(QM_W("t"));
    const std::weak_ptr<IWinHttpSession> session = factory->LastSession();
    client.reset();
    EXPECT_TRUE(session.expired());
}

TEST_F(NativeHttp, SetServerStoresTheHostOfAnHttpsAddressAndIsSecure) {
    WideString server = QM_W("HTTPS://Files.Example.COM");
    EXPECT_EQ(client->SetServer(server), 0u);
    EXPECT_EQ(server, QM_W("https://files.example.com"));
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::SetServer", "Quillmark set to secure"));
    EXPECT_TRUE(log.Has(Information, "Quillmark server set to: files.example.com"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::SetServer", "Exited [status=0]"));
    EXPECT_EQ(CallsOfVersion()[1], "Connection::Initialise(c1, \"files.example.com\", 0, s1, 0, 0, 0, 0)");
    EXPECT_EQ(CallsOfVersion()[3], "Request::Initialise(r2, \"/version\", \"GET\", c2, null, 0x00800000, false)");
}

TEST_F(NativeHttp, SetServerStoresTheHostOfAnHttpAddressAndIsNotSecure) {
    SetServer(QM_W("https://one"), 1);
    SetServer(QM_W("http://two"), 1);
    EXPECT_TRUE(log.Has(Information, "Quillmark set to non-secure"));
    EXPECT_TRUE(log.Has(Information, "Quillmark server set to: two"));
    EXPECT_EQ(CallsOfVersion()[3], "Request::Initialise(r1, \"/version\", \"GET\", c1, null, 0x00000000, false)");
}

TEST_F(NativeHttp, SetServerStoresTheLastFourLettersOfSixWithoutAScheme) {
    SetServer(QM_W("abcdef"), 1);
    EXPECT_TRUE(log.Has(Information, "Quillmark set to non-secure"));
    EXPECT_TRUE(log.Has(Information, "Quillmark server set to: cdef"));
}

TEST_F(NativeHttp, SetServerStoresATextThatBeginsWithTheSeparatorWhole) {
    SetServer(QM_W("://Host"), 1);
    EXPECT_TRUE(log.Has(Information, "Quillmark set to non-secure"));
    EXPECT_TRUE(log.Has(Information, "Quillmark server set to: ://host"));
}

TEST_F(NativeHttp, SetServerOfATextShorterThanTwoCharactersStoresAnEmptyName) {
    SetServer(QM_W("a"), 1);
    SetServer(QM_W(""), 1);
    EXPECT_EQ(log.Count(Information, "Quillmark server set to: "), 2u);
}

TEST_F(NativeHttp, SetServerIsNotSecureWhenTheSchemeIsNotAtTheBeginning) {
    SetServer(QM_W(" https://host"), 1);
    EXPECT_TRUE(log.Has(Information, "Quillmark set to non-secure"));
    EXPECT_TRUE(log.Has(Information, "Quillmark server set to: host"));
}

TEST_F(NativeHttp, SetServerChangesNoOtherCopyOfTheText) {
    WideString server = QM_W("HTTP://A");
    const WideString copy = server;
    client->SetServer(server);
    EXPECT_EQ(copy, QM_W("HTTP://A"));
}

TEST_F(NativeHttp, SetPortGoesToConnections) {
    EXPECT_EQ(client->SetPort(8443), 0u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::SetPort", "Quillmark port set to: 8443"));
    EXPECT_EQ(CallsOfVersion()[1], "Connection::Initialise(c1, \"\", 8443, s1, 0, 0, 0, 0)");
}

TEST_F(NativeHttp, SetAuthModeOneOpensRequestsWithTheUsersCredentials) {
    client->SetAuthMode(AUTH_MODE_INTEGRATED);
    EXPECT_FALSE(std::ranges::any_of(
        log.Records(), [](const fakes::LogRecord& record) { return record.function == "CNativeHttp::SetAuthMode"; }));
    EXPECT_EQ(CallsOfVersion()[3], "Request::Initialise(r1, \"/version\", \"GET\", c1, null, 0x00000000, true)");
}

TEST_F(NativeHttp, SetAuthModeTwoDoesNot) {
    client->SetAuthMode(2);
    EXPECT_EQ(CallsOfVersion()[3], "Request::Initialise(r1, \"/version\", \"GET\", c1, null, 0x00000000, false)");
}

TEST_F(NativeHttp, SetDeviceNameReplacesTheNameThatLoginSends) {
    Discover();
    // In the system's code page, UTF-8 where there is no other.
    char name[32] = {};
    ASSERT_NE(::WideCharToMultiByte(CP_ACP, 0, QM_W("B\u00FCro-PC"), -1, name, sizeof(name), nullptr, nullptr), 0);
    client->SetDeviceName(name);
    WideString policy;
    static_cast<void>(client->Login(QM_W("u"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W(""), QM_W(""), nullptr));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AppendFormData(r3, device_name=B\xC3\xBCro-PC&)"));
}

TEST_F(NativeHttp, NullTextsCountAsEmpty) {
    Discover();
    client->SetNarrowValue("kept for the host");
    client->SetNarrowValue(nullptr);
    client->SetDeviceName(nullptr);
    WideString policy;
    static_cast<void>(client->Login(QM_W("u"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W(""), QM_W(""), nullptr));
    EXPECT_THAT(factory->Calls(), ::testing::Contains("AppendFormData(r3, device_name=&)"));
}

TEST_F(NativeHttp, SupportsNothingBeforeDiscovery) {
    EXPECT_FALSE(client->SupportsApi16());
    EXPECT_FALSE(client->SupportsApi17());
}

TEST_F(NativeHttp, SupportsApi16FromVersion16On) {
    Discover("1.6");
    EXPECT_TRUE(client->SupportsApi16());
    EXPECT_FALSE(client->SupportsApi17());
}

TEST_F(NativeHttp, SupportsApi17FromVersion17On) {
    Discover("1.7");
    EXPECT_TRUE(client->SupportsApi16());
    EXPECT_TRUE(client->SupportsApi17());
}

TEST_F(NativeHttp, DoesNotSupportApi16AtVersion15) {
    Discover("1.5");
    EXPECT_FALSE(client->SupportsApi16());
    EXPECT_FALSE(client->SupportsApi17());
}

TEST(ApiVersion, IsOrderedByMajorThenMinor) {
    EXPECT_GE((ApiVersion{2, 0}), (ApiVersion{1, 6}));
    EXPECT_LT((ApiVersion{1, 5}), (ApiVersion{1, 6}));
    EXPECT_LT((ApiVersion{0, 9}), (ApiVersion{1, 0}));
}

}  // namespace
}  // namespace quillmark::test
