// LogTable: the open logs of the process.
//
// A context is the number of a table entry with a count of how often the entry was used, so a context that was closed
// is never mistaken for a later log in the same entry. Asking whether a record is wanted reads one atomic word and
// changes nothing, so that any number of threads may ask at once; writing holds the entry, shared among the writers,
// and closing waits for them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <shared_mutex>
#include <string_view>

#include "LogFile.h"

namespace Eventing {

class LogTable {
public:
    static constexpr std::size_t Capacity = 64;

    // The context, or 0 when the table is full.
    [[nodiscard]] std::uint64_t Add(LogFile file, int level);
    void Remove(std::uint64_t context);
    [[nodiscard]] bool Wants(std::uint64_t context, int level) const noexcept;
    // Does nothing for a context that has been removed.
    void Write(std::uint64_t context, std::string_view record);

private:
    struct Entry {
        // The context shifted left by three bits, and the log's level; 0 when the entry is free.
        std::atomic<std::uint64_t> state{0};
        std::uint64_t uses = 0;  // under m_changes
        std::shared_mutex lock;  // shared to write, alone to open and close
        LogFile file;
    };

    static constexpr unsigned LevelBits = 3;
    static constexpr unsigned IndexBits = 8;

    [[nodiscard]] static std::size_t IndexOf(std::uint64_t context) noexcept {
        return context & ((std::uint64_t{1} << IndexBits) - 1);
    }

    std::array<Entry, Capacity> m_entries;
    std::mutex m_changes;  // one Add or Remove at a time
};

}  // namespace Eventing
