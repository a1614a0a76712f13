#include "registry/KeyWatches.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>

#include "files/Outcome.h"
#include "files/UserFolders.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Events.h"

namespace quillmark::platform {
namespace {

constexpr std::uint32_t FolderComesOrGoes = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t FilesChange =
    FolderComesOrGoes | IN_MODIFY | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM | IN_ATTRIB;

// The watch on a folder, or on the nearest one above it while it does not exist.
class FolderWatch {
public:
    explicit FolderWatch(const Descriptor& notices) : m_notices(notices.Get()) {}

    // To be called before the folder is looked at, each time anything happened.
    DWORD Renew(const std::string& folder) {
        const std::string nearest = NearestFolder(folder);
        const std::uint32_t mask = nearest == folder ? FilesChange : FolderComesOrGoes;
        const int watch = ::inotify_add_watch(m_notices, nearest.c_str(), mask);
        if (watch < 0) {
            // Gone again already: the next look finds another one.
            const bool gone = errno == ENOENT || errno == ENOTDIR;
            return gone ? ERROR_RETRY : errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_NO_SYSTEM_RESOURCES;
        }
        if (m_watch >= 0 && m_watch != watch) {
            // Fails when the old folder is gone, and its watch with it.
            (void)::inotify_rm_watch(m_notices, m_watch);
        }
        m_watch = watch;
        return ERROR_SUCCESS;
    }

private:
    const int m_notices;
    int m_watch = -1;
};

void Drain(int notices) {
    std::array<char, 4096> buffer;
    while (::read(notices, buffer.data(), buffer.size()) > 0) {
    }
}

// Signals of the host are for the host's threads: the thread that is started meanwhile gets none.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~AllSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

}  // namespace

DWORD KeyWatches::Prepare(const WatchedKey& key, Descriptor& notices, std::shared_ptr<const RegSnapshot>& before) {
    if (!m_end.IsOpen()) {
        m_end = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    }
    notices = Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!m_end.IsOpen() || !notices.IsOpen()) {
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    before = key.remembers && m_seen != nullptr ? m_seen : key.store->Current();
    if (key.remembers) {
        m_seen = before;
    }
    return ERROR_SUCCESS;
}

DWORD KeyWatches::WaitForChange(const WatchedKey& key, const Descriptor& notices,
                                const std::shared_ptr<const RegSnapshot>& before) {
    FolderWatch watch(notices);
    for (;;) {
        const DWORD watching = watch.Renew(key.store->Folder());
        if (watching == ERROR_RETRY) {
            continue;
        }
        if (watching != ERROR_SUCCESS) {
            return watching;
        }
        const std::shared_ptr<const RegSnapshot> now = key.store->Current();
        if (now != before && Differ(before->contents.Find(key.path), now->contents.Find(key.path), key.filter)) {
            if (key.remembers) {
                const std::lock_guard guard(m_lock);
                m_seen = now;
            }
            return ERROR_SUCCESS;
        }
        pollfd waits[] = {{notices.Get(), POLLIN, 0}, {m_end.Get(), POLLIN, 0}};
        if (::poll(waits, 2, -1) < 0 && errno != EINTR) {
            return ErrorFromErrno(errno);
        }
        if (waits[1].revents != 0) {
            return ERROR_NOTIFY_CLEANUP;
        }
        Drain(notices.Get());
    }
}

DWORD KeyWatches::Wait(const WatchedKey& key) {
    Descriptor notices;
    std::shared_ptr<const RegSnapshot> before;
    {
        const std::lock_guard guard(m_lock);
        if (m_ended) {
            return ERROR_NOTIFY_CLEANUP;
        }
        if (const DWORD code = Prepare(key, notices, before); code != ERROR_SUCCESS) {
            return code;
        }
    }
    return WaitForChange(key, notices, before);
}

DWORD KeyWatches::Start(const WatchedKey& key, HANDLE event) {
    Descriptor notices;
    std::shared_ptr<const RegSnapshot> before;
    const std::lock_guard guard(m_lock);
    if (m_ended) {
        return ERROR_INVALID_HANDLE;
    }
    m_watches.remove_if([](const Watch& watch) { return watch.done.load(); });
    if (const DWORD code = Prepare(key, notices, before); code != ERROR_SUCCESS) {
        return code;
    }
    auto run = [this, key, notices = std::move(notices), before, event] { Run(key, notices, before, event); };
    try {
        const AllSignalsBlocked blocked;
        if (!key.remembers) {
            // Nothing ever closes a predefined key, so nobody would join this thread when it is done.
            std::thread(std::move(run)).detach();
            return ERROR_SUCCESS;
        }
        Watch& watch = m_watches.emplace_back();
        watch.thread = std::jthread([run = std::move(run), &done = watch.done] {
            run();
            done = true;
        });
    } catch (const std::system_error&) {
        m_watches.remove_if([](const Watch& watch) { return !watch.thread.joinable(); });
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    return ERROR_SUCCESS;
}

// Whatever ended the wait, somebody waits for the event: it is set in every case.
void KeyWatches::Run(const WatchedKey& key, const Descriptor& notices, const std::shared_ptr<const RegSnapshot>& before,
                     HANDLE event) noexcept {
    (void)CodeOf([&] { return WaitForChange(key, notices, before); });
    (void)SetEvent(event);
}

void KeyWatches::End() {
    std::list<Watch> watches;
    {
        const std::lock_guard guard(m_lock);
        m_ended = true;
        if (m_end.IsOpen()) {
            // Cannot fail: the counter is far from its limit.
            (void)::eventfd_write(m_end.Get(), 1);
        }
        watches.swap(m_watches);
    }
    // Joined here, without the lock, which a thread that just saw a change still needs.
}

}  // namespace quillmark::platform
