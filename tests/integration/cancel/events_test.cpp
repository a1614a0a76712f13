// Cancel events outside the moment for which they are made: before, after, not at all, and closed early.
#include <gtest/gtest.h>

#include <memory>

#include "integration/cancel/StalledServer.h"
#include "integration/support/HostClient.h"

namespace quillmark::testing {
namespace {

constexpr const char* ItemRequest = "GET /api/1.7/folders/item";

DWORD Look(HostClient& client, HANDLE event) {
    std::shared_ptr<IServerAttributes> item;
    return client->GetPathAttributes(QM_W("/item"), item, event).error;
}

// Nothing is held up: every request is answered.
class CancelEventTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0u, m_client.Login()); }

    StalledServer m_server{{.request = "no request begins like this"}};
    HostClient m_client{m_server.Url()};
};

TEST_F(CancelEventTest, SetBeforeTheCallEndsTheOperation) {
    StalledServer server({.request = ItemRequest});  // without the event, this would wait for ever
    HostClient client(server.Url());
    ASSERT_EQ(0u, client.Login());
    const TestEvent event;
    event.Set();
    const DWORD error = Look(client, event.Get());
    EXPECT_TRUE(error == 1223 || error == 12017 || error == 6) << error;
}

TEST_F(CancelEventTest, ThatIsNullLeavesTheOperationAlone) {
    EXPECT_EQ(0u, Look(m_client, nullptr));
    EXPECT_EQ(0u, Look(m_client, nullptr));
}

TEST_F(CancelEventTest, SetAfterTheEndTouchesNothing) {
    const TestEvent event;
    EXPECT_EQ(0u, Look(m_client, event.Get()));
    event.Set();
    EXPECT_EQ(0u, Look(m_client, nullptr));
    const TestEvent other;
    EXPECT_EQ(0u, Look(m_client, other.Get()));
}

TEST_F(CancelEventTest, ServesOneOperationAfterTheOther) {
    const TestEvent event;
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(0u, Look(m_client, event.Get()));
    }
}

TEST_F(CancelEventTest, MayBeClosedAsSoonAsTheOperationHasEnded) {
    for (int round = 0; round < 20; ++round) {
        const TestEvent event;
        EXPECT_EQ(0u, Look(m_client, event.Get()));
    }
    EXPECT_EQ(0u, Look(m_client, nullptr));
}

TEST_F(CancelEventTest, MayOutliveTheClient) {
    const TestEvent event;
    {
        HostClient client(m_server.Url());
        ASSERT_EQ(0u, client.Login());
        EXPECT_EQ(0u, Look(client, event.Get()));
    }
    event.Set();
    EXPECT_EQ(0u, Look(m_client, nullptr));
}

}  // namespace
}  // namespace quillmark::testing
