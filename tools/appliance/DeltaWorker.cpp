#include "DeltaWorker.h"

#include <algorithm>
#include <cstdio>

#include "http/Errors.h"
#include "storage/Contents.h"
#include "storage/Deltas.h"

namespace appliance {

namespace {

// One long job does not keep the others waiting.
constexpr int Threads = 2;

void Report(const std::string& id, const std::exception& error) {
    std::fprintf(stderr, "quillmark-appliance: delta job %s: %s\n", id.c_str(), error.what());
}

}  // namespace

void DeltaWorker::Start() {
    for (std::string& id : m_jobs.InProgress()) {
        m_waiting.push_back(std::move(id));
    }
    for (int i = 0; i < Threads; ++i) {
        m_threads.emplace_back([this] { Work(); });
    }
}

DeltaWorker::~DeltaWorker() {
    {
        const std::lock_guard lock(m_lock);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void DeltaWorker::Add(const std::string& id) {
    {
        const std::lock_guard lock(m_lock);
        m_waiting.push_back(id);
    }
    m_changed.notify_all();
}

void DeltaWorker::GiveUp(const std::string& id) {
    {
        const std::lock_guard lock(m_lock);
        if (const auto running = m_running.find(id); running != m_running.end()) {
            running->second = true;
        }
    }
    m_changed.notify_all();
}

void DeltaWorker::Hold(std::optional<std::uint64_t> after) {
    {
        const std::lock_guard lock(m_lock);
        m_hold = after;
    }
    m_changed.notify_all();
}

std::size_t DeltaWorker::Held() {
    const std::lock_guard lock(m_lock);
    return m_held;
}

void DeltaWorker::Work() {
    std::unique_lock lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [&] { return m_stopping || !m_waiting.empty(); });
        if (m_stopping) {
            return;
        }
        const std::string id = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_running[id] = false;
        lock.unlock();
        try {
            // Without work the job was given up before its turn came.
            if (const auto work = m_jobs.WorkOf(id)) {
                Run(*work);
            }
        } catch (const std::exception& error) {
            // The job stays in progress until the next start.
            Report(id, error);
        }
        lock.lock();
        m_running.erase(id);
    }
}

void DeltaWorker::Run(const DeltaWork& work) {
    const std::atomic<bool>& givenUp = [&]() -> const std::atomic<bool>& {
        const std::lock_guard lock(m_lock);
        return m_running.at(work.id);
    }();
    try {
        Apply(work, givenUp);
    } catch (const Stopped&) {
        // What has been written goes with its writer.
    } catch (const ApiError&) {
        m_jobs.Fail(work.id);
    } catch (const std::exception& error) {
        Report(work.id, error);
        m_jobs.Fail(work.id);
    }
}

void DeltaWorker::Apply(const DeltaWork& work, const std::atomic<bool>& givenUp) {
    const FileDescriptor base = m_contents.Open(work.base);
    const FileDescriptor delta = m_contents.Open(work.delta);
    if (!base || !delta) {
        throw ApiError(ErrorId::ItemMissing, "The item has another content by now");
    }
    ContentWriter writer(m_contents.Folder(), m_sync);
    ApplyDelta(base, delta, work.size, writer, [&](std::uint64_t written) { Pass(written, false, givenUp); });
    writer.Finish();
    Pass(writer.Size(), true, givenUp);
    if (m_jobs.Finish(work.id, writer.Name())) {
        writer.Keep();
    }
}

void DeltaWorker::Pass(std::uint64_t written, bool end, const std::atomic<bool>& givenUp) {
    std::unique_lock lock(m_lock);
    const auto isHeld = [&] { return m_hold && (end || written >= *m_hold) && !m_stopping && !givenUp; };
    if (isHeld()) {
        ++m_held;
        m_changed.wait(lock, [&] { return !isHeld(); });
        --m_held;
    }
    if (m_stopping || givenUp) {
        throw Stopped();
    }
}

}  // namespace appliance
