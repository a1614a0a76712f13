// The one SQLite file behind the server: one connection that writes, and as many that read as there are readers.
//
//     const Item item = data.Read([&](Database& database) { return Tree(database).Require(user, path); });
//     data.Write([&](Database& database) { ... });
//
// Reading does not wait for a writer that waits for the disk, and sees one state from its first look-up to its last.
// Writing is one transaction: committed when the function returns, undone when it throws. What a call that returned has
// changed survives the death of the process at any moment. Safe for every thread; calls do not nest.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "storage/Database.h"

namespace appliance {

class DataFile {
public:
    // Opens or creates the file, and brings it to the present schema. With `sync` a commit is on the disk.
    DataFile(const std::string& file, bool sync);

    template <class Function>
    auto Read(const Function& function) {
        Reader reader(*this);
        return function(*reader);
    }

    template <class Function>
    auto Write(const Function& function) {
        const std::lock_guard lock(m_writeLock);
        Transaction transaction(m_writer);
        if constexpr (std::is_void_v<decltype(function(m_writer))>) {
            function(m_writer);
            transaction.Commit();
        } else {
            auto result = function(m_writer);
            transaction.Commit();
            return result;
        }
    }

private:
    class Reader {
    public:
        explicit Reader(DataFile& file);
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        ~Reader();
        Database& operator*() { return *m_database; }

    private:
        DataFile& m_file;
        std::unique_ptr<Database> m_database;
    };

    [[nodiscard]] std::unique_ptr<Database> TakeReader();
    void GiveReader(std::unique_ptr<Database> database);

    std::string m_file;
    bool m_sync;
    std::mutex m_writeLock;
    Database m_writer;
    std::mutex m_readersLock;
    std::vector<std::unique_ptr<Database>> m_readers;
};

}  // namespace appliance
