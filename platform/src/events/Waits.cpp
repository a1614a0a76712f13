#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <span>

#include "events/Deadline.h"
#include "handles/HandleTable.h"
#include "quillmark/platform/Events.h"
#include "quillmark/platform/Handles.h"

using namespace quillmark::platform;

namespace {

using Objects = std::span<const std::shared_ptr<WaitableObject>>;

// What is still to be polled for.
struct Pending {
    std::array<pollfd, MAXIMUM_WAIT_OBJECTS> descriptors;
    nfds_t count = 0;
    // False when nothing that may still happen satisfies the wait.
    bool satisfiable = false;
};

DWORD Fail(DWORD error) {
    SetLastError(error);
    return WAIT_FAILED;
}

// Takes the signal or signals that satisfy the wait and returns the index to report. The caller holds SignalLock().
std::optional<DWORD> TakeSignals(Objects objects, bool all) {
    const auto isSignalled = [](const auto& object) { return object->IsSignalled(); };
    if (!all) {
        const auto first = std::find_if(objects.begin(), objects.end(), isSignalled);
        if (first == objects.end()) {
            return std::nullopt;
        }
        (*first)->Take();
        return static_cast<DWORD>(first - objects.begin());
    }
    if (!std::all_of(objects.begin(), objects.end(), isSignalled)) {
        return std::nullopt;
    }
    for (const auto& object : objects) {
        object->Take();
    }
    return 0;
}

// The descriptors of the objects that are not signalled but may be. Those that are signalled already (in a wait for
// all), or that never will be, would make every poll return at once. The caller holds SignalLock().
Pending PendingObjects(Objects objects, bool all) {
    Pending pending;
    DWORD dead = 0;
    for (const auto& object : objects) {
        if (!object->CanBeSignalled()) {
            ++dead;
        } else if (!object->IsSignalled()) {
            pending.descriptors[pending.count++] = {.fd = object->PollDescriptor(), .events = POLLIN, .revents = 0};
        }
    }
    pending.satisfiable = all ? dead == 0 : dead < objects.size();
    return pending;
}

// Waits for one of the descriptors. 0 when there is one, WAIT_TIMEOUT, or the code of a failure.
DWORD Poll(Pending& pending, const Deadline& deadline) {
    for (;;) {
        const timespec remaining = deadline.IsNever() ? timespec{} : deadline.Remaining();
        const int ready =
            ppoll(pending.descriptors.data(), pending.count, deadline.IsNever() ? nullptr : &remaining, nullptr);
        if (ready > 0) {
            return ERROR_SUCCESS;
        }
        if (ready == 0) {
            return WAIT_TIMEOUT;
        }
        // A signal handler ran: the wait goes on for the rest of its time.
        if (errno != EINTR) {
            return ERROR_NO_SYSTEM_RESOURCES;
        }
    }
}

DWORD Wait(Objects objects, bool all, const Deadline& deadline) {
    for (;;) {
        Pending pending;
        {
            const std::lock_guard guard(SignalLock());
            if (const auto index = TakeSignals(objects, all)) {
                return WAIT_OBJECT_0 + *index;
            }
            pending = PendingObjects(objects, all);
        }
        if (!pending.satisfiable && deadline.IsNever()) {
            return Fail(ERROR_INVALID_HANDLE);
        }
        // Readable means no more than that it is worth looking again: another wait may take the signal first.
        if (deadline.IsOver()) {
            return WAIT_TIMEOUT;
        }
        const DWORD error = Poll(pending, deadline);
        if (error == WAIT_TIMEOUT) {
            return WAIT_TIMEOUT;
        }
        if (error != ERROR_SUCCESS) {
            return Fail(error);
        }
    }
}

bool HasTwice(Objects objects) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const auto rest = objects.subspan(i + 1);
        if (std::find(rest.begin(), rest.end(), objects[i]) != rest.end()) {
            return true;
        }
    }
    return false;
}

}  // namespace

DWORD WINAPI WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds) {
    if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || lpHandles == nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const Deadline deadline(dwMilliseconds);
    // The references held here keep the objects, whatever other threads close meanwhile.
    std::array<std::shared_ptr<WaitableObject>, MAXIMUM_WAIT_OBJECTS> held;
    for (DWORD i = 0; i < nCount; ++i) {
        held[i] = FindHandle<WaitableObject>(lpHandles[i]);
        if (held[i] == nullptr) {
            return Fail(ERROR_INVALID_HANDLE);
        }
    }
    const Objects objects(held.data(), nCount);
    if (bWaitAll != FALSE && HasTwice(objects)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    return Wait(objects, bWaitAll != FALSE, deadline);
}

DWORD WINAPI WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
    return WaitForMultipleObjects(1, &hHandle, FALSE, dwMilliseconds);
}
