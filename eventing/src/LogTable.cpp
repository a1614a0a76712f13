#include "LogTable.h"

#include <utility>

namespace Eventing {

std::uint64_t LogTable::Add(LogFile file, int level) {
    const std::scoped_lock guard(m_changes);
    for (std::size_t index = 0; index < Capacity; ++index) {
        Entry& entry = m_entries[index];
        if (entry.state.load(std::memory_order_relaxed) == 0) {
            const std::uint64_t context = (++entry.uses << IndexBits) | index;
            const std::unique_lock alone(entry.lock);
            entry.file = std::move(file);
            entry.state.store((context << LevelBits) | static_cast<unsigned>(level), std::memory_order_release);
            return context;
        }
    }
    return 0;
}

void LogTable::Remove(std::uint64_t context) {
    const std::scoped_lock guard(m_changes);
    const std::size_t index = IndexOf(context);
    if (index >= Capacity || m_entries[index].state.load(std::memory_order_relaxed) >> LevelBits != context) {
        return;
    }
    Entry& entry = m_entries[index];
    // From here on nobody begins to write; those who have begun are waited for.
    entry.state.store(0, std::memory_order_relaxed);
    const std::unique_lock alone(entry.lock);
    entry.file = LogFile();
}

bool LogTable::Wants(std::uint64_t context, int level) const noexcept {
    const std::size_t index = IndexOf(context);
    if (context == 0 || index >= Capacity) {
        return false;
    }
    const std::uint64_t state = m_entries[index].state.load(std::memory_order_acquire);
    return state >> LevelBits == context && level <= static_cast<int>(state & ((1U << LevelBits) - 1));
}

void LogTable::Write(std::uint64_t context, std::string_view record) {
    const std::size_t index = IndexOf(context);
    if (index >= Capacity) {
        return;
    }
    Entry& entry = m_entries[index];
    const std::shared_lock together(entry.lock);
    if (entry.state.load(std::memory_order_relaxed) >> LevelBits == context) {
        entry.file.Write(record);
    }
}

}  // namespace Eventing
