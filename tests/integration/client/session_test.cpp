// Sessions that end, and modes of the server that a login has to suit.
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class SessionTest : public ClientTest {
protected:
    void PlanTokenFault(const std::string& kind, const std::string& method, const std::string& path) {
        Server().AddFaults({{"method", method}, {"path", path}, {"kind", kind}});
    }

    DWORD LoginWithDeviceToken(const char16_t* deviceToken) {
        WideString policy;
        return Client()->Login(QM_W("anna"), QM_W("secret"), deviceToken, QM_W("device-1"), policy, QM_W("1.2"),
                               QM_W("12"), nullptr);
    }
};

TEST_F(SessionTest, WrongPasswordGivesTheServersCode) {
    Start();
    EXPECT_EQ(21010u, Client().Login("anna", "wrong"));
    EXPECT_EQ("", Token());
    EXPECT_EQ(0u, Client().Login());
    EXPECT_NE("", Token());
}

TEST_F(SessionTest, OperationsWithoutALoginAreDenied) {
    Start();
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ(20006u, Look("/"));
    EXPECT_EQ(20006u, Upload("/item", "content"));
}

TEST_F(SessionTest, ExpiredTokenGives20006ForEveryOperation) {
    StartAndLogin();
    Client()->SetSessionToken(QM_W("no token of this server"));
    ItemList children;
    Attributes record;
    EXPECT_EQ((StatusPair{20006, 1}), Client()->GetPathListing(QM_W("/"), children, record, nullptr));
    EXPECT_EQ((StatusPair{20006, 1}), Client()->GetPathAttributes(QM_W("/"), record, nullptr));
    EXPECT_EQ((StatusPair{20006, 1}), Client()->CreateFolder(QM_W("/new"), record, nullptr));
    record = UploadAttributes(0);
    EXPECT_EQ((StatusPair{20006, 1}), Client()->SetPathAttributes(QM_W("/"), record, nullptr));
    EXPECT_EQ(20006u, Upload("/item", "content"));
    EXPECT_EQ(20006u, Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("item")), nullptr, MakeAttributes(),
                                             QM_W(""), nullptr, nullptr, 0));
}

TEST_F(SessionTest, TokenThatExpiresBeforeAnUploadGives20006) {
    StartAndLogin();
    PlanTokenFault("expire-token", "POST", "/api/1.7/folders/item");
    EXPECT_EQ(20006u, Upload("/item", "content"));
    EXPECT_EQ(0u, Client().Login());
    EXPECT_EQ(0u, Upload("/item", "content"));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(SessionTest, TokenThatIsRotatedBeforeAnUploadGives20006) {
    StartAndLogin();
    PlanTokenFault("rotate-token", "POST", "/api/1.7/folders/item");
    EXPECT_EQ(20006u, Upload("/item", "content"));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(SessionTest, UploadWhoseTokenWasReplacedMeanwhileGives1237AndSucceedsWhenRepeated) {
    StartAndLogin();
    HostClient other(Server().HttpUrl());
    ASSERT_EQ(0u, other.Login());
    WideString fresh;
    other->GetSessionToken(fresh);
    PlanTokenFault("expire-token", "POST", "/api/1.7/folders/item");
    const auto replaceToken = OnceAt(1, [&] { Client()->SetSessionToken(fresh); });
    EXPECT_EQ(1237u, Upload("/item", "content", UploadAttributes(7), nullptr, replaceToken));
    EXPECT_EQ(0u, Upload("/item", "content"));
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(SessionTest, NewSessionCarriesTheTokenThatItIsGiven) {
    StartAndLogin();
    const std::string token = Token();
    Client()->CreateNewSession(QM_W(""));
    EXPECT_EQ(20006u, Look("/"));
    Client()->CreateNewSession(WidenUtf8(token));
    EXPECT_EQ(token, Token());
    EXPECT_EQ(0u, Look("/"));
}

TEST_F(SessionTest, LegacyServerIsMode1AndNeedsNoDeviceToken) {
    Start();
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ(1u, mode);
    EXPECT_EQ(0u, Client().Login());
}

TEST_F(SessionTest, DeviceTokenServerIsMode2AndChecksTheToken) {
    Start({"--no-sync", "--device-token-auth", "--device-token", "good+token", "--tos", "7"});
    DWORD mode = 0;
    DWORD extra = 0;
    ASSERT_EQ(0u, Client()->Init(mode, extra, nullptr));
    EXPECT_EQ(2u, mode);
    EXPECT_EQ(1u, extra);
    EXPECT_EQ(21011u, LoginWithDeviceToken(u"another token"));
    EXPECT_EQ(0u, LoginWithDeviceToken(u"good+token"));
    EXPECT_EQ(0u, Look("/"));
}

TEST_F(SessionTest, PolicyBlockOfTheServerIsHandedOut) {
    Start({"--no-sync", "--policy-block", R"({"max":5})"});
    WideString policy;
    ASSERT_EQ(0u, Client()->Login(QM_W("anna"), QM_W("secret"), QM_W(""), QM_W("device-1"), policy, QM_W(""), QM_W(""),
                                  nullptr));
    EXPECT_NE(std::string::npos, NarrowUtf8(policy).find(R"("policy_block":{"max":5})"));
}

}  // namespace
}  // namespace quillmark::testing
