// The notifications that wait on one key handle.
//
//   Start   a thread of its own waits for a change (asynchronous form), sets the event and ends
//   Wait    the calling thread waits (synchronous form)
//   End     the handle was closed: every wait ends, every event is set, every thread is joined
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include "files/Descriptor.h"
#include "quillmark/platform/Types.h"
#include "registry/KeyTree.h"
#include "registry/RegStore.h"

namespace quillmark::platform {

struct WatchedKey {
    std::shared_ptr<RegStore> store;
    KeyPath path;
    ChangeFilter filter;
    // Whether this wait is about what changed since the handle's last notification. A predefined key has no handle of
    // its own: there it is about what changes from now on.
    bool remembers = true;
};

class KeyWatches {
public:
    KeyWatches() = default;
    KeyWatches(const KeyWatches&) = delete;
    KeyWatches& operator=(const KeyWatches&) = delete;
    ~KeyWatches() { End(); }

    // ERROR_NO_SYSTEM_RESOURCES when the system has no watch or no thread left.
    [[nodiscard]] DWORD Start(const WatchedKey& key, HANDLE event);
    [[nodiscard]] DWORD Wait(const WatchedKey& key);

    void End();

private:
    struct Watch {
        std::atomic<bool> done = false;
        std::jthread thread;
    };

    [[nodiscard]] DWORD Prepare(const WatchedKey& key, Descriptor& notices, std::shared_ptr<const RegSnapshot>& before);
    [[nodiscard]] DWORD WaitForChange(const WatchedKey& key, const Descriptor& notices,
                                      const std::shared_ptr<const RegSnapshot>& before);
    void Run(const WatchedKey& key, const Descriptor& notices, const std::shared_ptr<const RegSnapshot>& before,
             HANDLE event) noexcept;

    std::mutex m_lock;
    Descriptor m_end;  // an eventfd, made for the first wait
    bool m_ended = false;
    std::list<Watch> m_watches;
    // The contents at the last notification that was given, or when the first wait began: what a next one is about.
    std::shared_ptr<const RegSnapshot> m_seen;
};

}  // namespace quillmark::platform
