// An operation that runs on a thread of its own until its event is set, and how long it then takes to return.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>

#include "integration/support/HostClient.h"

namespace quillmark::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr double LongestCancellation = 5000;  // milliseconds; instrumented code on a busy machine
#else
inline constexpr double LongestCancellation = 250;
#endif

class CancelledOperation {
public:
    using Clock = std::chrono::steady_clock;
    using Operation = std::function<DWORD(HANDLE)>;

    explicit CancelledOperation(Operation operation)
        : m_thread([this, operation = std::move(operation)] {
              m_error = operation(m_event.Get());
              m_returned = Clock::now();
          }) {}
    ~CancelledOperation() {
        if (m_thread.joinable()) {
            m_event.Set();
            m_thread.join();
        }
    }
    CancelledOperation(const CancelledOperation&) = delete;
    CancelledOperation& operator=(const CancelledOperation&) = delete;

    // Sets the event, waits for the return and checks both the code and the time. phase: "waiting for the reply".
    void CancelWhile(const std::string& phase) {
        const Clock::time_point set = Clock::now();
        m_event.Set();
        m_thread.join();
        const double milliseconds = std::chrono::duration<double, std::milli>(m_returned - set).count();
        std::printf("MEASURED cancel while %s: %.2f ms\n", phase.c_str(), milliseconds);
        EXPECT_TRUE(m_error == 1223 || m_error == 12017 || m_error == 6) << m_error;
        EXPECT_GE(milliseconds, 0.0) << "it had returned before it was cancelled";
        EXPECT_LT(milliseconds, LongestCancellation);
    }

private:
    TestEvent m_event;
    DWORD m_error = 0;
    Clock::time_point m_returned;
    std::thread m_thread;
};

}  // namespace quillmark::testing
