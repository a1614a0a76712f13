// The rows of delta jobs: deltas that are applied in the background and stored when the client says so.
//
//   IN_PROGRESS (base and delta) -> PENDING_COMMIT (the new content) -> committed: the item has it, the job is gone
//                                -> FAILED (neither)
//   and gone from any of them: given up, or expired
//
// A job belongs to its user. What it names in the contents folder stays until the row is gone; a job that was in
// progress when the server ended is so again, from its beginning, at the next start.
//
// Every call is one transaction and may be made from any thread. Refusals throw ApiError.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "storage/DataFile.h"
#include "storage/Tree.h"

namespace appliance {

class Contents;

// The states, by the words in which clients are told them.
namespace job_state {
constexpr std::string_view InProgress = "IN_PROGRESS";
constexpr std::string_view PendingCommit = "PENDING_COMMIT";
constexpr std::string_view Failed = "FAILED";
}  // namespace job_state

// What has been received of a new job.
struct NewDeltaJob {
    std::uint64_t size = 0;               // of the new content
    std::optional<std::string> revision;  // of the base, as far as the client knows it
    std::string delta;                    // name of its content file
    std::uint64_t deltaSize = 0;
};

// What the worker needs of a job in progress.
struct DeltaWork {
    std::string id;
    std::string base;
    std::string delta;
    std::uint64_t size = 0;
};

struct JobCommit {
    ItemValues values;
    std::uint64_t expectedSize = 0;
    std::optional<std::string> revision;
};

struct CommittedJob {
    Item item;
    ItemPath path;
};

class DeltaJobs {
public:
    // Jobs are kept for `lifetime`.
    DeltaJobs(DataFile& data, const Contents& contents, std::optional<std::uint64_t> capacity,
              std::chrono::seconds lifetime)
        : m_data(data), m_contents(contents), m_capacity(capacity), m_lifetime(lifetime) {}

    // Throws what Start would throw for a job of that size now. `deltaSize` is what the delta may have at most.
    void Check(const Actor& actor, const ItemPath& path, const NewDeltaJob& job);
    // Commits the job, against the present content of the file at that path. The result is its identifier.
    [[nodiscard]] std::string Start(const Actor& actor, const ItemPath& path, const NewDeltaJob& job);

    // The state in words; empty for a job that is not known to this user, or not any more.
    [[nodiscard]] std::string StateOf(std::int64_t user, const std::string& id);

    // Stores the new content in the item, wherever that stands now, and forgets the job. Throws ItemMissing for a job
    // or an item that is not there, JobNotReady, BodyMismatch for another size, and RevisionConflict when the item is
    // not what it was when the job began, or not of the revision given.
    [[nodiscard]] CommittedJob Commit(const Actor& actor, const std::string& id, const JobCommit& commit);
    // False for a job that is not known.
    [[nodiscard]] bool Cancel(std::int64_t user, const std::string& id);

    // For the worker.
    [[nodiscard]] std::vector<std::string> InProgress();  // oldest first
    [[nodiscard]] std::optional<DeltaWork> WorkOf(const std::string& id);
    // Books the new content; false when the job has been given up meanwhile.
    [[nodiscard]] bool Finish(const std::string& id, const std::string& content);
    void Fail(const std::string& id);

    // All whose time is over.
    void RemoveExpired();

private:
    DataFile& m_data;
    const Contents& m_contents;
    std::optional<std::uint64_t> m_capacity;
    std::chrono::seconds m_lifetime;
};

}  // namespace appliance
