// Cancellation: the cancel event closes the request.
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>

#include "common/EventMultiTrigger.h"
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

constexpr std::chrono::seconds Patience(10);

class RequestHandleTracker : public ClientTest {
protected:
    using Tracker = CNativeHttp::RequestHandleTracker;

    void SetUp() override { request = factory->CreateRequest(client->GetSession()); }
    void TearDown() override { factory->OnCall({}); }

    std::shared_ptr<EventMultiTrigger> trigger = std::make_shared<EventMultiTrigger>();
    std::shared_ptr<IWinHttpRequest> request;
    Event cancel;
};

TEST_F(RequestHandleTracker, ASetEventClosesTheRequest) {
    // The event stays set, so the request may be closed more than once.
    const auto closed = std::make_shared<std::promise<void>>();
    std::future<void> done = closed->get_future();
    factory->OnCall([closed, once = std::make_shared<std::once_flag>()](const std::string& call) {
        if (call == "Close(r1)") {
            std::call_once(*once, [closed] { closed->set_value(); });
        }
    });
    const Tracker tracker(trigger, cancel.Handle(), request);
    cancel.Set();
    EXPECT_EQ(done.wait_for(Patience), std::future_status::ready);
}

TEST_F(RequestHandleTracker, LogsItsBeginningAndItsEnd) {
    { const Tracker tracker(trigger, cancel.Handle(), request); }
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::RequestHandleTracker::RequestHandleTracker", ""));
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::RequestHandleTracker::~RequestHandleTracker", ""));
}

TEST_F(RequestHandleTracker, TheRegistrationEndsWithTheTracker) {
    { const Tracker tracker(trigger, cancel.Handle(), request); }
    EXPECT_TRUE(log.Has(Information, Format("Trigger removed for event [0x%x]", HandleNumber(cancel.Handle()))));
    cancel.Set();
    trigger.reset();  // its thread has ended: nothing can close the request any more
    EXPECT_EQ(factory->Count("Close"), 0u);
}

TEST_F(RequestHandleTracker, ItDoesNotKeepTheRequestAlive) {
    const Tracker tracker(trigger, cancel.Handle(), request);
    const std::weak_ptr<IWinHttpRequest> watched = request;
    request.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(RequestHandleTracker, AnEventSetAfterTheRequestIsGoneDoesNothing) {
    const Tracker tracker(trigger, cancel.Handle(), request);
    request.reset();
    log.Clear();
    cancel.Set();
    ASSERT_TRUE(log.WaitFor(Information,
                            Format("Running trigger associated with event [0x%x]", HandleNumber(cancel.Handle()))));
    EXPECT_EQ(factory->Count("Close"), 0u);
}

TEST_F(RequestHandleTracker, WithoutAnEventNothingIsRegistered) {
    log.Clear();
    { const Tracker tracker(trigger, nullptr, request); }
    EXPECT_FALSE(log.Mentions("Trigger added"));
    EXPECT_FALSE(log.Mentions("Trigger removed"));
}

TEST_F(RequestHandleTracker, WithoutATriggerNothingIsRegistered) {
    log.Clear();
    { const Tracker tracker(nullptr, cancel.Handle(), request); }
    EXPECT_FALSE(log.Mentions("Trigger"));
}

TEST_F(RequestHandleTracker, ARefusedEventLeavesTheEntriesOfOthersAlone) {
    std::vector<std::unique_ptr<Event>> events;
    std::vector<std::unique_ptr<Tracker>> trackers;
    for (int i = 0; i < 61; ++i) {
        events.push_back(std::make_unique<Event>());
        trackers.push_back(std::make_unique<Tracker>(trigger, events.back()->Handle(), request));
    }
    log.Clear();
    { const Tracker refused(trigger, cancel.Handle(), request); }
    EXPECT_TRUE(log.Has(Error,
                        "No more than 64 events can be supported, due to limitations of "
                        "WaitForMulipleObjects()"));
    EXPECT_FALSE(log.Mentions("Trigger removed"));
}

TEST_F(RequestHandleTracker, TheSixtySecondOperationRunsAllTheSame) {
    Discover();
    std::vector<std::unique_ptr<Event>> events;
    std::vector<std::thread> running;
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    std::atomic<int> waiting{0};
    std::promise<void> all;
    factory->OnCall([&](const std::string& call) {
        if (call.starts_with("GetResponse(") && waiting < 61) {
            if (++waiting == 61) {
                all.set_value();
            }
            released.wait();
        }
    });
    for (int i = 0; i < 61; ++i) {
        events.push_back(std::make_unique<Event>());
        running.emplace_back([this, event = events.back()->Handle()] {
            std::shared_ptr<IServerAttributes> attributes;
            EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, event).error, 0u);
        });
    }
    EXPECT_EQ(all.get_future().wait_for(Patience), std::future_status::ready);
    std::shared_ptr<IServerAttributes> attributes;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/b"), attributes, cancel.Handle()).error, 0u);
    EXPECT_TRUE(log.Mentions("No more than 64 events can be supported"));
    release.set_value();
    for (std::thread& thread : running) {
        thread.join();
    }
    factory->OnCall({});
}

TEST_F(RequestHandleTracker, ABlockedOperationEndsWhenItsEventIsSet) {
    Discover();
    std::promise<void> sending;
    std::promise<void> stopped;
    std::future<void> stop = stopped.get_future();
    const auto once = std::make_shared<std::once_flag>();
    factory->OnCall([&, once](const std::string& call) {
        if (call == "GetResponse(r4)") {
            sending.set_value();
            EXPECT_EQ(stop.wait_for(Patience), std::future_status::ready);
        } else if (call == "Close(r4)") {
            std::call_once(*once, [&] { stopped.set_value(); });
        }
    });
    factory->Fail("GetResponse", 12017);
    std::thread canceller([&] {
        EXPECT_EQ(sending.get_future().wait_for(Patience), std::future_status::ready);
        cancel.Set();
    });
    std::shared_ptr<IServerAttributes> attributes;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, cancel.Handle()), (StatusPair{12017, 0}));
    canceller.join();
    factory->OnCall({});
}

}  // namespace
}  // namespace quillmark::test
