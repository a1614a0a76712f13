#include "transfer/WorkQueue.h"

#include <utility>

namespace quillmark::cli {

WorkQueue::~WorkQueue() {
    {
        const std::lock_guard lock(m_lock);
        m_ended = true;
    }
    m_work.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void WorkQueue::Add(Task task) {
    {
        std::unique_lock lock(m_lock);
        m_space.wait(lock, [this] { return m_tasks.size() < 2 * m_most; });
        m_tasks.push_back(std::move(task));
        if (m_idle < m_tasks.size() && m_threads.size() < m_most) {
            m_threads.emplace_back(&WorkQueue::Run, this, m_threads.size());
        }
    }
    m_work.notify_one();
}

void WorkQueue::Drain() {
    std::unique_lock lock(m_lock);
    m_space.wait(lock, [this] { return m_tasks.empty() && m_running == 0; });
}

void WorkQueue::Run(std::size_t thread) {
    std::unique_lock lock(m_lock);
    for (;;) {
        ++m_idle;
        m_work.wait(lock, [this] { return m_ended || !m_tasks.empty(); });
        --m_idle;
        if (m_tasks.empty()) {
            return;
        }
        const Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        ++m_running;
        lock.unlock();
        m_space.notify_all();
        task(thread);
        lock.lock();
        --m_running;
        if (m_tasks.empty() && m_running == 0) {
            m_space.notify_all();
        }
    }
}

}  // namespace quillmark::cli
