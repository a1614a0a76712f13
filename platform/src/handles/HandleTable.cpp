#include "handles/HandleTable.h"

#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::platform {
namespace {

constexpr std::uintptr_t FirstNumber = 0x100;
constexpr std::uintptr_t NumberStep = 4;
// The registry's roots begin here.
constexpr std::uintptr_t EndOfNumbers = 0x80000000u;
constexpr std::size_t MaximumHandles = (EndOfNumbers - FirstNumber) / NumberStep;

struct Table {
    std::mutex lock;
    std::unordered_map<std::uintptr_t, std::shared_ptr<HandleObject>> entries;
    std::uintptr_t nextNumber = FirstNumber;

    // The caller holds the lock and has seen that there is room.
    std::uintptr_t TakeFreeNumber() {
        for (;;) {
            const std::uintptr_t number = nextNumber;
            nextNumber += NumberStep;
            if (nextNumber >= EndOfNumbers) {
                nextNumber = FirstNumber;
            }
            if (!entries.contains(number)) {
                return number;
            }
        }
    }
};

// Never destroyed: threads of the host may still use handles while the process runs its last destructors.
Table& TheTable() {
    static Table& table = *new Table;
    return table;
}

std::uintptr_t NumberOf(HANDLE handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

}  // namespace

HANDLE InsertHandle(std::shared_ptr<HandleObject> object) {
    Table& table = TheTable();
    try {
        const std::lock_guard guard(table.lock);
        if (table.entries.size() < MaximumHandles) {
            const std::uintptr_t number = table.TakeFreeNumber();
            table.entries.emplace(number, std::move(object));
            return reinterpret_cast<HANDLE>(number);
        }
    } catch (const std::bad_alloc&) {
        // The answer is the one for a full table.
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

std::shared_ptr<HandleObject> FindHandleObject(HANDLE handle) {
    Table& table = TheTable();
    const std::lock_guard guard(table.lock);
    const auto entry = table.entries.find(NumberOf(handle));
    return entry == table.entries.end() ? nullptr : entry->second;
}

std::shared_ptr<HandleObject> RemoveHandle(HANDLE handle) {
    Table& table = TheTable();
    std::shared_ptr<HandleObject> object;
    {
        const std::lock_guard guard(table.lock);
        const auto entry = table.entries.find(NumberOf(handle));
        if (entry == table.entries.end()) {
            return nullptr;
        }
        object = std::move(entry->second);
        table.entries.erase(entry);
    }
    object->OnClose();
    return object;
}

std::mutex& SignalLock() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

std::size_t OpenHandleCount() {
    Table& table = TheTable();
    const std::lock_guard guard(table.lock);
    return table.entries.size();
}

}  // namespace quillmark::platform
