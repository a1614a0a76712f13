#include "storage/DeltaJobs.h"

#include "http/Errors.h"
#include "http/Guid.h"
#include "storage/Contents.h"
#include "storage/Mappings.h"

namespace appliance {

namespace {

constexpr Ticks TicksPerSecond = 10'000'000;

// The file that the delta is made against. An empty file will do, none will not.
Item RequireBase(Database& database, std::optional<std::uint64_t> capacity, const Actor& actor, const ItemPath& path,
                 const NewDeltaJob& job) {
    Tree tree(database, capacity);
    auto base = tree.CheckTarget(actor, path, job.size, job.revision);
    if (!base) {
        throw ApiError(ErrorId::ItemMissing, "There is no such item");
    }
    RequireCapability(database, path, Capability::Deltas);
    // Until the commit, the old content, the new one and the delta are there at the same time.
    tree.CheckRoom(job.size + job.deltaSize, 0);
    return std::move(*base);
}

// The files of jobs whose rows are gone.
using Leftovers = std::vector<std::string>;

// Runs a removal that returns delta and content of each row; false when there was none.
bool TakeLeftovers(Statement& row, Leftovers& leftovers) {
    bool any = false;
    while (row.Step()) {
        any = true;
        for (const int column : {0, 1}) {
            if (std::string name = row.Text(column); !name.empty()) {
                leftovers.push_back(std::move(name));
            }
        }
    }
    return any;
}

void RemoveAll(const Contents& contents, const Leftovers& leftovers) {
    for (const std::string& name : leftovers) {
        contents.Remove(name);
    }
}

struct JobRow {
    std::int64_t item = 0;
    std::string revision;
    std::uint64_t size = 0;
    std::string state;
    std::string content;
};

JobRow RequireJob(Database& database, std::int64_t user, const std::string& id) {
    Statement row = database.Prepare(
        "SELECT item, revision, size, state, content FROM delta_jobs WHERE user = ? AND id = ? AND expires > ?");
    row.Bind(user).Bind(id).Bind(CurrentTicks());
    if (!row.Step()) {
        throw ApiError(ErrorId::ItemMissing, "There is no such delta job");
    }
    return {row.Integer(0), row.Text(1), static_cast<std::uint64_t>(row.Integer(2)), row.Text(3), row.Text(4)};
}

void RemoveRow(Database& database, const std::string& id) {
    Statement row = database.Prepare("DELETE FROM delta_jobs WHERE id = ?");
    row.Bind(id);
    row.Run();
}

void RequireReady(const JobRow& job, const JobCommit& commit) {
    if (job.state != job_state::PendingCommit) {
        throw ApiError(ErrorId::JobNotReady, "The delta job has no content that could be committed");
    }
    if (job.size != commit.expectedSize) {
        throw ApiError(ErrorId::BodyMismatch, "The new content has another size");
    }
}

}  // namespace

void DeltaJobs::Check(const Actor& actor, const ItemPath& path, const NewDeltaJob& job) {
    m_data.Read([&](Database& database) { static_cast<void>(RequireBase(database, m_capacity, actor, path, job)); });
}

std::string DeltaJobs::Start(const Actor& actor, const ItemPath& path, const NewDeltaJob& job) {
    RemoveExpired();
    return m_data.Write([&](Database& database) {
        const Item base = RequireBase(database, m_capacity, actor, path, job);
        std::string id = NewGuid();
        Statement row = database.Prepare(
            "INSERT INTO delta_jobs (id, user, item, revision, base, delta, delta_size, size, state, content, expires)"
            " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, '', ?)");
        row.Bind(id).Bind(actor.user).Bind(base.id).Bind(base.RevisionText()).Bind(base.content).Bind(job.delta);
        row.Bind(static_cast<std::int64_t>(job.deltaSize)).Bind(static_cast<std::int64_t>(job.size));
        row.Bind(job_state::InProgress).Bind(CurrentTicks() + m_lifetime.count() * TicksPerSecond);
        row.Run();
        return id;
    });
}

std::string DeltaJobs::StateOf(std::int64_t user, const std::string& id) {
    return m_data.Read([&](Database& database) {
        Statement row = database.Prepare("SELECT state FROM delta_jobs WHERE user = ? AND id = ? AND expires > ?");
        row.Bind(user).Bind(id).Bind(CurrentTicks());
        return row.Step() ? row.Text(0) : std::string();
    });
}

CommittedJob DeltaJobs::Commit(const Actor& actor, const std::string& id, const JobCommit& commit) {
    std::string replaced;
    CommittedJob committed = m_data.Write([&](Database& database) {
        const JobRow job = RequireJob(database, actor.user, id);
        RequireReady(job, commit);
        Tree tree(database, m_capacity);
        auto item = tree.FindById(job.item);
        if (!item) {
            throw ApiError(ErrorId::ItemMissing, "The item of this delta job is no longer there");
        }
        // A revision never comes again: with it the item is as it was when the job began.
        if (item->RevisionText() != job.revision || (commit.revision && *commit.revision != job.revision)) {
            throw RevisionConflict(std::move(*item));
        }
        const ItemPath path = tree.PathOf(job.item);
        // First, so that the bytes are counted once.
        RemoveRow(database, id);
        StoredFile stored = tree.StoreFile(actor, path, {commit.values, job.size, job.content, job.revision});
        replaced = std::move(stored.replacedContent);
        return CommittedJob{std::move(stored.item), path};
    });
    if (!replaced.empty()) {
        m_contents.Remove(replaced);
    }
    return committed;
}

bool DeltaJobs::Cancel(std::int64_t user, const std::string& id) {
    Leftovers leftovers;
    const bool known = m_data.Write([&](Database& database) {
        Statement row = database.Prepare(
            "DELETE FROM delta_jobs WHERE user = ? AND id = ? AND expires > ? RETURNING delta, content");
        row.Bind(user).Bind(id).Bind(CurrentTicks());
        return TakeLeftovers(row, leftovers);
    });
    RemoveAll(m_contents, leftovers);
    return known;
}

std::vector<std::string> DeltaJobs::InProgress() {
    return m_data.Read([](Database& database) {
        Statement row = database.Prepare("SELECT id FROM delta_jobs WHERE state = ? ORDER BY expires");
        row.Bind(job_state::InProgress);
        std::vector<std::string> ids;
        while (row.Step()) {
            ids.push_back(row.Text(0));
        }
        return ids;
    });
}

std::optional<DeltaWork> DeltaJobs::WorkOf(const std::string& id) {
    return m_data.Read([&](Database& database) -> std::optional<DeltaWork> {
        Statement row = database.Prepare("SELECT base, delta, size FROM delta_jobs WHERE id = ? AND state = ?");
        row.Bind(id).Bind(job_state::InProgress);
        if (!row.Step()) {
            return std::nullopt;
        }
        return DeltaWork{id, row.Text(0), row.Text(1), static_cast<std::uint64_t>(row.Integer(2))};
    });
}

bool DeltaJobs::Finish(const std::string& id, const std::string& content) {
    std::string delta;
    const bool finished = m_data.Write([&](Database& database) {
        const auto work = [&] {
            Statement row = database.Prepare("SELECT delta FROM delta_jobs WHERE id = ? AND state = ?");
            row.Bind(id).Bind(job_state::InProgress);
            return row.Step() ? std::optional(row.Text(0)) : std::nullopt;
        }();
        if (!work) {
            return false;
        }
        delta = *work;
        Statement row =
            database.Prepare("UPDATE delta_jobs SET state = ?, content = ?, delta = '', delta_size = 0 WHERE id = ?");
        row.Bind(job_state::PendingCommit).Bind(content).Bind(id);
        row.Run();
        return true;
    });
    if (finished) {
        m_contents.Remove(delta);
    }
    return finished;
}

void DeltaJobs::Fail(const std::string& id) {
    const auto work = WorkOf(id);
    m_data.Write([&](Database& database) {
        Statement row =
            database.Prepare("UPDATE delta_jobs SET state = ?, delta = '', delta_size = 0 WHERE id = ? AND state = ?");
        row.Bind(job_state::Failed).Bind(id).Bind(job_state::InProgress);
        row.Run();
    });
    if (work) {
        m_contents.Remove(work->delta);
    }
}

void DeltaJobs::RemoveExpired() {
    Leftovers leftovers;
    m_data.Write([&](Database& database) {
        Statement row = database.Prepare("DELETE FROM delta_jobs WHERE expires <= ? RETURNING delta, content");
        row.Bind(CurrentTicks());
        TakeLeftovers(row, leftovers);
    });
    RemoveAll(m_contents, leftovers);
}

}  // namespace appliance
