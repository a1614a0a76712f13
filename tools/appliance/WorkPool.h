// Threads for requests whose work takes long: it must not keep the threads that serve connections.
//
//     co_await services.workPool.Run([&] { ApplyDelta(..., [&](std::uint64_t) { services.workPool.Pass(); }); });
//
// What the work refers to has to live as long as the coroutine that waits for it.
#pragma once

#include <atomic>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/thread_pool.hpp>
#include <exception>
#include <functional>

namespace appliance {

class WorkPool {
public:
    explicit WorkPool(unsigned threads) : m_pool(threads) {}
    WorkPool(const WorkPool&) = delete;
    WorkPool& operator=(const WorkPool&) = delete;
    ~WorkPool() { Stop(); }

    // Runs it on a thread of the pool; what it throws is thrown here. Returns on the caller's own executor.
    [[nodiscard]] boost::asio::awaitable<void> Run(std::function<void()> work);

    // For the work itself, every now and then: throws when the server is about to end.
    void Pass() const;

    // Work that runs is told to end and waited for, work that waits never begins.
    void Stop();

private:
    std::atomic<bool> m_stopping{false};
    boost::asio::thread_pool m_pool;
};

}  // namespace appliance
