// How many operations of one client object can be cancelled at once.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <vector>

#include "integration/cancel/CancelledOperation.h"
#include "integration/cancel/StalledServer.h"
#include "integration/support/TempFolder.h"
#include "quillmark/Eventing.h"

namespace quillmark::testing {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int MostCancellable = 61;

struct End {
    DWORD error = 0;
    Clock::time_point at;
};

class CancelLimitTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_log = Eventing::OpenLog((m_folder / "log").c_str(), 4);
        ASSERT_NE(0u, m_log);
        ::Init(m_log, std::make_shared<Services::ServicesCollection>());
        ASSERT_EQ(0u, m_client.Login());
    }
    ~CancelLimitTest() override {
        m_server.Release();
        ::Init(0, nullptr);
        Eventing::CloseLog(m_log);
    }

    // On a thread of its own.
    std::future<End> Look(const TestEvent& event) {
        return std::async(std::launch::async, [this, &event] {
            std::shared_ptr<IServerAttributes> item;
            const DWORD error = m_client->GetPathAttributes(QM_W("/item"), item, event.Get()).error;
            return End{error, Clock::now()};
        });
    }
    // How many records of the log end with this text.
    [[nodiscard]] int Logged(const std::string& text) const {
        const std::string log = ReadFileAt(m_folder / "log");
        int count = 0;
        for (std::size_t at = log.find(text + "\n"); at != std::string::npos; at = log.find(text + "\n", at + 1)) {
            ++count;
        }
        return count;
    }

    StalledServer m_server{{.request = "GET /api/1.7/folders/item", .count = MostCancellable + 1}};

private:
    TempFolder m_folder;
    std::uint64_t m_log = 0;
    HostClient m_client{m_server.Url()};
};

TEST_F(CancelLimitTest, SixtyOneOperationsAreCancellableAtOnceAndTheNextOneIsNot) {
    constexpr const char* Refused =
        "No more than 64 events can be supported, due to limitations of WaitForMulipleObjects()";
    std::vector<TestEvent> events(MostCancellable);
    std::vector<std::future<End>> running;
    for (const TestEvent& event : events) {
        running.push_back(Look(event));
    }
    ASSERT_TRUE(m_server.AwaitStall(MostCancellable));
    EXPECT_EQ(0, Logged(Refused));

    const TestEvent unheard;
    std::future<End> last = Look(unheard);
    ASSERT_TRUE(m_server.AwaitStall(MostCancellable + 1));
    EXPECT_EQ(1, Logged(Refused));

    unheard.Set();
    const Clock::time_point set = Clock::now();
    for (const TestEvent& event : events) {
        event.Set();
    }
    double slowest = 0;
    for (std::future<End>& operation : running) {
        const End end = operation.get();
        EXPECT_EQ(12017u, end.error);
        slowest = std::max(slowest, std::chrono::duration<double, std::milli>(end.at - set).count());
    }
    std::printf("MEASURED cancel of %d operations at once: the slowest %.2f ms\n", MostCancellable, slowest);
    EXPECT_LT(slowest, LongestCancellation);

    EXPECT_EQ(std::future_status::timeout, last.wait_for(std::chrono::seconds(0))) << "its event is set, it runs on";
    m_server.Release();
    EXPECT_EQ(0u, last.get().error);

    const TestEvent next;
    EXPECT_EQ(0u, Look(next).get().error);
    EXPECT_EQ(1, Logged(Refused)) << "the places are free again";
}

}  // namespace
}  // namespace quillmark::testing
