#include <thread>
#include <vector>

#include "support/Wine.h"
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Sessions : public ClientTest {
protected:
    [[nodiscard]] std::string TokenOfCurrent() { return NarrowUtf8(client->GetSession()->GetSessionToken()); }
};

TEST_F(Sessions, NewSessionProbesTheServerNameThenOpensAndTakesTheToken) {
    SetServer(QM_W("http://localhost"), 80);
    factory->ClearCalls();
    client->CreateNewSession(QM_W("t0ken"));
    // The system knows this name without asking anyone; Wine asks the name servers, who may answer anything.
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::CreateNewSession",
                        "DnsQuery returned [0] against server [localhost]") ||
                (UnderWine() && log.Mentions("] against server [localhost]")));
    EXPECT_EQ(factory->Calls(),
              (Lines{"CreateSession()", "Session::Initialise(s2)", "SetSessionToken(s2, \"t0ken\")"}));
}

TEST_F(Sessions, AFailedProbeOfTheServerNameChangesNothing) {
    client->CreateNewSession(QM_W("t0ken"));
    EXPECT_TRUE(log.Has(Information, "DnsQuery returned [123] against server []"));
    EXPECT_EQ(TokenOfCurrent(), "t0ken");
}

TEST_F(Sessions, ASessionThatCannotBeOpenedIsKept) {
    factory->Fail("Session::Initialise", 12001);
    client->CreateNewSession(QM_W("t0ken"));
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::CreateNewSession",
                        "WinHttpSession failed to initialise, error code: 12001"));
    EXPECT_EQ(TokenOfCurrent(), "t0ken");
}

TEST_F(Sessions, WithoutASessionFromTheFactoryTheOldOneStays) {
    client->SetSessionToken(QM_W("old"));
    factory->Fail("CreateSession", 8);
    client->CreateNewSession(QM_W("new"));
    EXPECT_EQ(TokenOfCurrent(), "old");
}

TEST_F(Sessions, OfThreeNewSessionsEachGetSessionRemovesOneOldOneUntilOneIsLeft) {
    client->CreateNewSession(QM_W("a"));
    client->CreateNewSession(QM_W("b"));
    client->CreateNewSession(QM_W("c"));
    EXPECT_EQ(TokenOfCurrent(), "a");
    EXPECT_EQ(TokenOfCurrent(), "b");
    EXPECT_EQ(TokenOfCurrent(), "c");
    EXPECT_EQ(TokenOfCurrent(), "c");
    EXPECT_EQ(log.Count(Information, "Garbage collecting old session"), 3u);
    EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetSession", "Garbage collecting old session"));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::GetSession", ""));
    EXPECT_TRUE(log.Has(111, "NativeHttp", "CNativeHttp::GetSession", ""));
}

TEST_F(Sessions, ARequestKeepsTheSessionThatTheClientLetGo) {
    CNativeHttp::Connection connection;
    CNativeHttp::Request request;
    ASSERT_EQ(client->CreateRequest(client->GetSession(), QM_W("/x"), QM_W("GET"), request, connection, {}), 0u);
    const std::weak_ptr<IWinHttpSession> old = factory->LastSession();
    client->CreateNewSession(QM_W("new"));
    static_cast<void>(client->GetSession());
    EXPECT_FALSE(old.expired());
    request.reset();
    EXPECT_TRUE(old.expired());
}

TEST_F(Sessions, OperationsOnManyThreadsRunWhileSessionsChange) {
    Discover();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, path = WideString(QM_W("/a"))] {
            Event cancel;
            for (int round = 0; round < 20; ++round) {
                std::shared_ptr<IServerAttributes> attributes;
                EXPECT_EQ(client->GetPathAttributes(path, attributes, cancel.Handle()).error, 0u);
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        client->CreateNewSession(QM_W("next"));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0);
    EXPECT_EQ(factory->Count("GetResponse"), 160u);
}

TEST_F(Sessions, AClientWhoseFactoryMakesNoSessionFailsItsOperationsWithACode) {
    factory->Fail("CreateSession", 8);
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    EXPECT_EQ(client->GetSession(), nullptr);
    WideString text = QM_W("kept");
    EXPECT_EQ(client->Version(text), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_TRUE(log.Has(Error, "WinHttpConnection failed to initialise, error code: 6"));
    DWORD mode = 0;
    DWORD extra = 0;
    EXPECT_EQ(client->Init(mode, extra, nullptr), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    client->SetSessionToken(QM_W("t"));
    client->GetSessionToken(text);
    EXPECT_EQ(text, QM_W(""));
}

}  // namespace
}  // namespace quillmark::test
