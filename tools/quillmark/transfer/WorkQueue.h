// WorkQueue: runs tasks on a few threads, which are started as they are needed. Whoever brings tasks waits when too
// many are waiting already, so that a long walk does not fill the memory with work.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quillmark::cli {

class WorkQueue {
public:
    // A task is told its thread, from 0: nobody else runs under that number meanwhile. It does not throw.
    using Task = std::function<void(std::size_t thread)>;

    // threads: at least 1.
    explicit WorkQueue(std::size_t threads) : m_most(threads) {}
    // Waits for all tasks.
    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    // Hands a task over; waits while twice as many wait as there may be threads.
    void Add(Task task);
    // Returns when no task waits or runs.
    void Drain();

private:
    void Run(std::size_t thread);

    const std::size_t m_most;
    std::mutex m_lock;
    std::condition_variable m_work;   // for the threads
    std::condition_variable m_space;  // for whoever brings tasks
    std::deque<Task> m_tasks;
    std::size_t m_idle = 0;
    std::size_t m_running = 0;
    bool m_ended = false;
    std::vector<std::thread> m_threads;
};

}  // namespace quillmark::cli
