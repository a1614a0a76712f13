// Applies the deltas of jobs in the background, on threads of its own: each one job at a time, in the order in which
// they began. Jobs that were in progress when the server ended begin anew.
//
// For tests it can be held: the work then stops at a point of every result, and goes on when it is let go.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "storage/DeltaJobs.h"

namespace appliance {

class DeltaWorker {
public:
    DeltaWorker(DeltaJobs& jobs, const Contents& contents, bool sync)
        : m_jobs(jobs), m_contents(contents), m_sync(sync) {}
    DeltaWorker(const DeltaWorker&) = delete;
    DeltaWorker& operator=(const DeltaWorker&) = delete;
    // What is being applied is dropped; the next server begins it again.
    ~DeltaWorker();

    // Begins with the jobs that are in progress. The contents have been swept before.
    void Start();

    // There is a new job.
    void Add(const std::string& id);
    // The job is gone; nobody needs its result.
    void GiveUp(const std::string& id);

    // Stops every job as soon as so many bytes of its result are written, at the latest before the result is booked.
    // Empty lets them go on.
    void Hold(std::optional<std::uint64_t> after);
    // How many jobs stand there.
    [[nodiscard]] std::size_t Held();

private:
    class Stopped : public std::exception {};

    void Work();
    void Run(const DeltaWork& work);
    void Apply(const DeltaWork& work, const std::atomic<bool>& givenUp);
    // Where the work can be held and stopped; `end` once the result is complete.
    void Pass(std::uint64_t written, bool end, const std::atomic<bool>& givenUp);

    DeltaJobs& m_jobs;
    const Contents& m_contents;
    bool m_sync;

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::string> m_waiting;
    std::map<std::string, std::atomic<bool>> m_running;  // whether each has been given up
    std::optional<std::uint64_t> m_hold;
    std::size_t m_held = 0;
    bool m_stopping = false;
    std::vector<std::thread> m_threads;
};

}  // namespace appliance
