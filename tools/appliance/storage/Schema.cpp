#include "storage/Schema.h"

#include <array>
#include <string>

namespace appliance {

namespace {

// One step per version, never changed once released: a folder of version n runs the steps from n on.
constexpr std::array Steps{
    // 1: users with their trees, and sessions. Names are compared byte by byte. Revisions come from one counter for the
    // whole server, so that an item that is deleted and made anew never has a revision that it had before.
    R"sql(
    CREATE TABLE users (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL UNIQUE,
        password TEXT NOT NULL
    );
    CREATE TABLE items (
        id INTEGER PRIMARY KEY,
        user INTEGER NOT NULL REFERENCES users (id),
        parent INTEGER REFERENCES items (id),
        name TEXT NOT NULL,
        directory INTEGER NOT NULL,
        revision INTEGER NOT NULL,
        creation_time INTEGER NOT NULL,
        modification_time INTEGER NOT NULL,
        attributes INTEGER NOT NULL,
        size INTEGER NOT NULL,
        content TEXT NOT NULL
    );
    CREATE UNIQUE INDEX items_by_name ON items (parent, name);
    CREATE UNIQUE INDEX roots ON items (user) WHERE parent IS NULL;
    CREATE TABLE counters (
        name TEXT PRIMARY KEY,
        value INTEGER NOT NULL
    ) WITHOUT ROWID;
    INSERT INTO counters VALUES ('revision', 0);
    CREATE TABLE sessions (
        token_hash TEXT PRIMARY KEY,
        user INTEGER NOT NULL REFERENCES users (id),
        device TEXT NOT NULL,
        expires INTEGER NOT NULL
    ) WITHOUT ROWID;
    PRAGMA user_version = 1;
    )sql",

    // 2: what else clients do. Times are ticks; texts of contents and deltas are names of content files.
    R"sql(
    CREATE TABLE devices (
        user INTEGER NOT NULL REFERENCES users (id),
        device TEXT NOT NULL,
        name TEXT NOT NULL,
        platform TEXT NOT NULL,
        registered INTEGER NOT NULL,
        wipe TEXT NOT NULL DEFAULT '',
        PRIMARY KEY (user, device)
    ) WITHOUT ROWID;
    CREATE TABLE changes (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        user INTEGER NOT NULL REFERENCES users (id),
        device TEXT NOT NULL,
        time INTEGER NOT NULL,
        verb TEXT NOT NULL,
        subject TEXT NOT NULL
    );
    CREATE INDEX changes_by_user ON changes (user, id);
    CREATE INDEX changes_by_time ON changes (time);
    CREATE TABLE change_readers (
        user INTEGER NOT NULL REFERENCES users (id),
        device TEXT NOT NULL,
        handed_over INTEGER NOT NULL,
        PRIMARY KEY (user, device)
    ) WITHOUT ROWID;
    CREATE TABLE locks (
        item INTEGER PRIMARY KEY REFERENCES items (id) ON DELETE CASCADE,
        device TEXT NOT NULL,
        expires INTEGER NOT NULL
    );
    CREATE TABLE uploads (
        user INTEGER NOT NULL REFERENCES users (id),
        resume_id TEXT NOT NULL,
        path TEXT NOT NULL,
        size INTEGER NOT NULL,
        received INTEGER NOT NULL,
        content TEXT NOT NULL,
        creation_time INTEGER,
        modification_time INTEGER,
        attributes INTEGER,
        expires INTEGER NOT NULL,
        item INTEGER,
        PRIMARY KEY (user, resume_id, path)
    ) WITHOUT ROWID;
    CREATE TABLE delta_jobs (
        id TEXT PRIMARY KEY,
        user INTEGER NOT NULL REFERENCES users (id),
        item INTEGER NOT NULL,
        revision TEXT NOT NULL,
        base TEXT NOT NULL,
        delta TEXT NOT NULL,
        delta_size INTEGER NOT NULL,
        size INTEGER NOT NULL,
        state TEXT NOT NULL,
        content TEXT NOT NULL,
        expires INTEGER NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE shares (
        token TEXT PRIMARY KEY,
        user INTEGER NOT NULL REFERENCES users (id),
        name TEXT NOT NULL,
        message TEXT NOT NULL,
        time INTEGER NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE share_items (
        token TEXT NOT NULL REFERENCES shares (token) ON DELETE CASCADE,
        item INTEGER NOT NULL REFERENCES items (id) ON DELETE CASCADE,
        PRIMARY KEY (token, item)
    ) WITHOUT ROWID;
    CREATE INDEX share_items_by_item ON share_items (item);
    CREATE TABLE mappings (
        name TEXT PRIMARY KEY,
        place INTEGER,
        description TEXT NOT NULL,
        type TEXT NOT NULL,
        status TEXT NOT NULL,
        mode TEXT NOT NULL,
        read_only INTEGER NOT NULL,
        sharing INTEGER NOT NULL,
        deltas INTEGER NOT NULL,
        locking INTEGER NOT NULL,
        resumable INTEGER NOT NULL,
        size_limit INTEGER,
        guid TEXT NOT NULL,
        storage TEXT NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE folder_guids (
        item INTEGER PRIMARY KEY REFERENCES items (id) ON DELETE CASCADE,
        guid TEXT NOT NULL
    );
    CREATE TABLE audit (
        id INTEGER PRIMARY KEY,
        user INTEGER NOT NULL REFERENCES users (id),
        device TEXT NOT NULL,
        time INTEGER NOT NULL,
        data TEXT NOT NULL
    );
    PRAGMA user_version = 2;
    )sql",
};

std::size_t VersionOf(Database& database) {
    Statement statement = database.Prepare("PRAGMA user_version");
    return statement.Step() ? static_cast<std::size_t>(statement.Integer(0)) : 0;
}

}  // namespace

void MigrateSchema(Database& database) {
    std::size_t version = VersionOf(database);
    if (version > Steps.size()) {
        throw std::runtime_error("the data folder was written by a newer server");
    }
    for (; version < Steps.size(); ++version) {
        Transaction transaction(database);
        database.Execute(Steps[version]);
        transaction.Commit();
    }
}

}  // namespace appliance
