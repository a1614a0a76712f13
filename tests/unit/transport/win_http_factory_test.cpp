#include "transport/WinHttpFactory.h"

#include "TransportTest.h"

namespace quillmark {
namespace {

class WinHttpFactoryTest : public TransportTest {};

TEST_F(WinHttpFactoryTest, OnlyConstructs) {
    WinHttpFactory factory;
    session = factory.CreateSession();
    connection = factory.CreateConnection();
    request = factory.CreateRequest(session);
    EXPECT_EQ(session->GetHandle(), nullptr);
    EXPECT_EQ(connection->GetHandle(), nullptr);
    EXPECT_EQ(request->GetHTTPStatus(), 0u);
    EXPECT_EQ(request->GetPostDataLength(), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{});
}

TEST_F(WinHttpFactoryTest, EachCallMakesAnObjectOfItsOwn) {
    WinHttpFactory factory;
    session = factory.CreateSession();
    EXPECT_NE(session, factory.CreateSession());
    EXPECT_NE(factory.CreateConnection(), factory.CreateConnection());
    EXPECT_NE(factory.CreateRequest(session), factory.CreateRequest(session));
}

TEST_F(WinHttpFactoryTest, ARequestKeepsItsSessionAlive) {
    Open(QM_W("kept"));
    const std::weak_ptr<IWinHttpSession> watched = session;
    session.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(winHttp->Count("WinHttpCloseHandle"), 0u);
    ASSERT_EQ(request->StartRequest(0), 0u);
    EXPECT_EQ(winHttp->Calls().at(0), "WinHttpAddRequestHeaders(h3, \"Cookie: session_token=kept\", -1, 0x40000000)");
    request.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(WinHttpFactoryTest, AnObjectWhoseInitialiseFailedCanBeDestroyed) {
    WinHttpFactory factory;
    winHttp->Fail("WinHttpOpen", 12001);
    session = factory.CreateSession();
    EXPECT_EQ(session->Initialise(), 12001u);
    session.reset();
    EXPECT_EQ(winHttp->Count("WinHttpCloseHandle"), 0u);
}

}  // namespace
}  // namespace quillmark
