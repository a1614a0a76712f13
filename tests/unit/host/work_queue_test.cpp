#include "transfer/WorkQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>

namespace quillmark::cli {
namespace {

// A gate that tasks wait at.
class Gate {
public:
    void Wait() {
        std::unique_lock lock(m_lock);
        ++m_waiting;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    void AwaitWaiting(int count) {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_waiting >= count; });
    }
    void Open() {
        {
            const std::lock_guard lock(m_lock);
            m_open = true;
        }
        m_changed.notify_all();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_waiting = 0;
    bool m_open = false;
};

TEST(WorkQueueTest, RunsEveryTaskBeforeDrainReturns) {
    std::atomic<int> done = 0;
    WorkQueue queue(3);
    for (int round = 1; round <= 2; ++round) {
        for (int task = 0; task < 100; ++task) {
            queue.Add([&done](std::size_t) { ++done; });
        }
        queue.Drain();
        EXPECT_EQ(done, 100 * round);
    }
}

TEST(WorkQueueTest, RunsAsManyAtATimeAsThereMayBeThreads) {
    Gate gate;
    std::mutex lock;
    std::set<std::size_t> threads;
    WorkQueue queue(3);
    for (int task = 0; task < 3; ++task) {
        queue.Add([&](std::size_t thread) {
            {
                const std::lock_guard held(lock);
                threads.insert(thread);
            }
            gate.Wait();
        });
    }
    gate.AwaitWaiting(3);
    gate.Open();
    queue.Drain();
    EXPECT_EQ(threads, (std::set<std::size_t>{0, 1, 2}));
}

TEST(WorkQueueTest, OneThreadKeepsTheOrder) {
    std::vector<int> order;
    WorkQueue queue(1);
    for (int task = 0; task < 20; ++task) {
        queue.Add([&order, task](std::size_t) { order.push_back(task); });
    }
    queue.Drain();
    for (int task = 0; task < 20; ++task) {
        EXPECT_EQ(order[static_cast<std::size_t>(task)], task);
    }
}

TEST(WorkQueueTest, WhoeverBringsTasksWaitsWhenManyAreWaiting) {
    Gate gate;
    std::atomic<int> added = 0;
    WorkQueue queue(2);
    std::thread bringing([&] {
        for (int task = 0; task < 10; ++task) {
            queue.Add([&gate](std::size_t) { gate.Wait(); });
            ++added;
        }
    });
    gate.AwaitWaiting(2);
    while (added < 6) {  // two run and four wait
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(added, 6);
    gate.Open();
    bringing.join();
    queue.Drain();
    EXPECT_EQ(added, 10);
}

TEST(WorkQueueTest, TheEndWaitsForAllTasks) {
    std::atomic<int> done = 0;
    {
        WorkQueue queue(2);
        for (int task = 0; task < 4; ++task) {
            queue.Add([&done](std::size_t) { ++done; });
        }
    }
    EXPECT_EQ(done, 4);
}

}  // namespace
}  // namespace quillmark::cli
