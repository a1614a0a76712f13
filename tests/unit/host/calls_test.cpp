#include "Calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "CancelEvents.h"

namespace quillmark::cli {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// What an observer was told: error, attempt, most, whether there was a pause.
struct Told {
    DWORD error;
    int attempt;
    int most;
    bool pause;

    friend bool operator==(const Told&, const Told&) = default;
};

class Listener : public CallObserver {
public:
    void Retrying(DWORD error, int attempt, int most, milliseconds pause) override {
        told.push_back({error, attempt, most, pause.count() > 0});
    }
    std::vector<Told> told;
};

// A client that talks to nobody: its operations are the tests' own.
class CallsTest : public ::testing::Test {
protected:
    CallsTest() {
        m_options.sessionPath = QM_W("/nonexistent/session");
        m_options.retries = 2;
        m_options.interrupt = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    ~CallsTest() override { CloseHandle(m_options.interrupt); }

    // An operation that comes to these results, one after the other; the last one again and again.
    Calls::Operation Results(std::vector<DWORD> results) {
        return [this, results = std::move(results)] {
            const std::size_t index = std::min<std::size_t>(m_attempts++, results.size() - 1);
            return results[index];
        };
    }

    GlobalOptions m_options;
    Listener m_listener;
    std::size_t m_attempts = 0;
};

TEST_F(CallsTest, ASuccessIsNotRepeated) {
    Client client(m_options);
    Calls calls(client, &m_listener);
    EXPECT_EQ(calls.Run(Results({0})), 0u);
    EXPECT_EQ(m_attempts, 1u);
    EXPECT_TRUE(m_listener.told.empty());
}

TEST_F(CallsTest, AnErrorThatWouldComeAgainIsNotRepeated) {
    Client client(m_options);
    Calls calls(client, &m_listener);
    EXPECT_EQ(calls.Run(Results({21002, 0})), 21002u);
    EXPECT_EQ(m_attempts, 1u);
}

TEST_F(CallsTest, RepeatsAtOnceWhatTheLibraryAsksFor) {
    Client client(m_options);
    Calls calls(client, &m_listener);
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(calls.Run(Results({1237, 21202, 0})), 0u);
    EXPECT_LT(Clock::now() - begin, milliseconds(250));
    EXPECT_EQ(m_listener.told, (std::vector<Told>{{1237, 1, 2, false}, {21202, 2, 2, false}}));
}

TEST_F(CallsTest, RepeatsAfterAPauseAndGivesTheLastErrorWhenNothingHelps) {
    Client client(m_options);
    Calls calls(client, &m_listener);
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(calls.Run(Results({12030, 20503, 12029})), 12029u);
    EXPECT_GE(Clock::now() - begin, milliseconds(250 + 500));
    EXPECT_EQ(m_attempts, 3u);
    EXPECT_EQ(m_listener.told, (std::vector<Told>{{12030, 1, 2, true}, {20503, 2, 2, true}}));
}

TEST_F(CallsTest, EachCallHasAttemptsOfItsOwn) {
    Client client(m_options);
    Calls calls(client, &m_listener);
    EXPECT_EQ(calls.Run(Results({20503, 20503, 20503})), 20503u);
    m_attempts = 0;
    EXPECT_EQ(calls.Run(Results({1237, 1237, 0})), 0u);
}

TEST_F(CallsTest, AnUnreachableServerIsTriedOnceByLaterCallsUntilItAnswers) {
    m_options.retries = 1;
    Client client(m_options);
    Calls calls(client);
    EXPECT_EQ(calls.Run(Results({12029})), 12029u);
    EXPECT_EQ(m_attempts, 2u);
    m_attempts = 0;
    EXPECT_EQ(calls.Run(Results({12029})), 12029u);
    EXPECT_EQ(m_attempts, 1u);
    m_attempts = 0;
    EXPECT_EQ(calls.Run(Results({21002})), 21002u) << "an answer, though a refusal";
    m_attempts = 0;
    EXPECT_EQ(calls.Run(Results({1237, 0})), 0u);
}

TEST_F(CallsTest, ProgressCountsTheAttemptsAnew) {
    m_options.retries = 1;
    Client client(m_options);
    Calls calls(client, &m_listener);
    EXPECT_EQ(calls.Run([&]() -> DWORD {
        calls.Progressed();
        return ++m_attempts < 5 ? 21202 : 0;
    }),
              0u);
    EXPECT_EQ(m_attempts, 5u);
}

TEST_F(CallsTest, NothingIsRepeatedWithoutRetries) {
    m_options.retries = 0;
    Client client(m_options);
    Calls calls(client);
    EXPECT_EQ(calls.Run(Results({1237, 0})), 1237u);
    EXPECT_EQ(calls.Run(Results({12030, 0})), 0u) << "the second result: the first was the call before";
}

TEST_F(CallsTest, AChangeWhoseAnswerWasLostIsSettledBeforeItIsRepeated) {
    Client client(m_options);
    Calls calls(client);
    EXPECT_EQ(calls.RunOnce(Results({12030, 99}), [] { return std::optional<DWORD>(0); }), 0u);
    EXPECT_EQ(m_attempts, 1u) << "it had happened";
}

TEST_F(CallsTest, AChangeThatHasNotHappenedIsRepeated) {
    Client client(m_options);
    Calls calls(client);
    int asked = 0;
    EXPECT_EQ(calls.RunOnce(Results({12030, 0}),
                            [&asked] {
                                ++asked;
                                return std::optional<DWORD>();
                            }),
              0u);
    EXPECT_EQ(m_attempts, 2u);
    EXPECT_EQ(asked, 1);
}

TEST_F(CallsTest, AChangeThatWasRefusedIsNotAskedFor) {
    Client client(m_options);
    Calls calls(client);
    const auto unexpected = []() -> std::optional<DWORD> {
        ADD_FAILURE() << "asked";
        return 0;
    };
    EXPECT_EQ(calls.RunOnce(Results({21003}), unexpected), 21003u);
    EXPECT_EQ(calls.RunOnce(Results({12029, 12029, 0}), unexpected), 0u) << "it never got there";
}

TEST_F(CallsTest, ARefusalAfterALostAnswerIsSettledToo) {
    Client client(m_options);
    Calls calls(client);
    int asked = 0;
    // The first attempt happened late: the look-up still misses it, the second attempt meets it.
    EXPECT_EQ(calls.RunOnce(Results({12002, 21003}),
                            [&asked] { return ++asked == 1 ? std::optional<DWORD>() : std::optional<DWORD>(0); }),
              0u);
    EXPECT_EQ(asked, 2);
}

TEST_F(CallsTest, AnAnswerLostForGoodIsSettledWithoutRetries) {
    m_options.retries = 0;
    Client client(m_options);
    Calls calls(client);
    EXPECT_EQ(calls.RunOnce(Results({12030}), [] { return std::optional<DWORD>(0); }), 0u);
}

TEST_F(CallsTest, ASettlementsOwnSuccessGivesTheCallNoNewAttempts) {
    Client client(m_options);
    Calls calls(client);
    const auto settle = [&]() -> std::optional<DWORD> {
        EXPECT_EQ(calls.Run([]() -> DWORD { return 0; }), 0u);
        return std::nullopt;
    };
    EXPECT_EQ(calls.RunOnce(Results({12030}), settle), 12030u);
    EXPECT_EQ(m_attempts, 3u);
}

TEST_F(CallsTest, WhatCannotBeLookedUpIsRepeatedOnlyWhenItCertainlyDidNotHappen) {
    Client client(m_options);
    Calls calls(client);
    EXPECT_EQ(calls.RunUnlessLost(Results({12029, 20503, 0})), 0u);
    m_attempts = 0;
    EXPECT_EQ(calls.RunUnlessLost(Results({12030, 0})), 12030u);
    EXPECT_EQ(m_attempts, 1u);
}

TEST_F(CallsTest, AnInterruptionEndsThePauseAndTheRepetitions) {
    m_options.retries = 20;
    Client client(m_options);
    Calls calls(client);
    std::thread interrupt([this] {
        std::this_thread::sleep_for(milliseconds(1500));
        SetEvent(m_options.interrupt);
    });
    EXPECT_EQ(calls.Run(Results({20503})), 20503u);
    EXPECT_TRUE(calls.Interrupted());
    EXPECT_FALSE(calls.Pause(milliseconds(60'000)));
    interrupt.join();
}

TEST_F(CallsTest, AnInterruptedChangeIsNotLookedUp) {
    Client client(m_options);
    Calls calls(client);
    const auto interrupted = [this]() -> DWORD {
        SetEvent(m_options.interrupt);
        return 12030;
    };
    EXPECT_EQ(calls.RunOnce(interrupted,
                            []() -> std::optional<DWORD> {
                                ADD_FAILURE() << "asked";
                                return 0;
                            }),
              12030u);
}

TEST_F(CallsTest, EachObjectHasACancelEventOfItsOwnAndAllAreSetByTheInterruption) {
    Client client(m_options);
    Calls one(client);
    Calls two(client);
    EXPECT_NE(one.CancelEvent(), two.CancelEvent());
    EXPECT_NE(one.CancelEvent(), m_options.interrupt);
    EXPECT_EQ(WaitForSingleObject(one.CancelEvent(), 0), DWORD{WAIT_TIMEOUT});
    SetEvent(m_options.interrupt);
    EXPECT_EQ(WaitForSingleObject(one.CancelEvent(), 5000), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(two.CancelEvent(), 5000), WAIT_OBJECT_0);
    const Calls late(client);
    EXPECT_EQ(WaitForSingleObject(late.CancelEvent(), 0), WAIT_OBJECT_0);
}

class CancelEventsTest : public CallsTest {};

TEST_F(CancelEventsTest, GivesOutAsManyAsTheLibraryTakes) {
    CancelEvents events(m_options.interrupt);
    std::vector<HANDLE> taken;
    for (int count = 0; count < 61; ++count) {
        taken.push_back(events.Take());
    }
    EXPECT_THROW(static_cast<void>(events.Take()), Failure);
    events.GiveBack(taken.back());
    taken.back() = events.Take();
    for (const HANDLE event : taken) {
        events.GiveBack(event);
    }
}

TEST_F(CancelEventsTest, TakesAndGivesBackWhileTheInterruptionComes) {
    CancelEvents events(m_options.interrupt);
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count) {
        threads.emplace_back([&events] {
            for (int round = 0; round < 2000; ++round) {
                events.GiveBack(events.Take());
            }
        });
    }
    SetEvent(m_options.interrupt);
    for (std::thread& thread : threads) {
        thread.join();
    }
    const HANDLE event = events.Take();
    EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_OBJECT_0);
    events.GiveBack(event);
}

}  // namespace
}  // namespace quillmark::cli
