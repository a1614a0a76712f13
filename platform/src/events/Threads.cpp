#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>

#include "events/Deadline.h"
#include "events/SignalDescriptor.h"
#include "handles/HandleTable.h"
#include "quillmark/platform/Events.h"
#include "quillmark/platform/Handles.h"

using namespace quillmark::platform;

namespace {

// The granularity in which Windows reserves stacks, so the least that a thread has there.
constexpr SIZE_T kLeastStack = 64 * 1024;

class ThreadObject final : public WaitableObject {
public:
    [[nodiscard]] bool IsValid() const { return ended_.IsOpen(); }

    void Started(DWORD id) {
        id_.store(id);
        id_.notify_all();
    }

    // Blocks until the new thread has begun to run.
    [[nodiscard]] DWORD WaitForId() const {
        id_.wait(0);
        return id_.load();
    }

    void Ended(DWORD exitCode) {
        const std::lock_guard guard(SignalLock());
        exitCode_ = exitCode;
        hasEnded_ = true;
        ended_.Raise();
    }

    [[nodiscard]] DWORD ExitCode() const {
        const std::lock_guard guard(SignalLock());
        return exitCode_;
    }

    [[nodiscard]] int PollDescriptor() const override { return ended_.Get(); }
    [[nodiscard]] bool IsSignalled() const override { return hasEnded_; }
    void Take() override {}
    // A thread ends whether or not somebody has its handle.
    [[nodiscard]] bool CanBeSignalled() const override { return true; }

private:
    std::atomic<DWORD> id_ = 0;
    bool hasEnded_ = false;
    DWORD exitCode_ = STILL_ACTIVE;
    SignalDescriptor ended_;
};

struct StartRecord {
    LPTHREAD_START_ROUTINE routine;
    LPVOID parameter;
    std::shared_ptr<ThreadObject> object;
};

extern "C" void* RunThread(void* argument) noexcept {
    const std::unique_ptr<StartRecord> record(static_cast<StartRecord*>(argument));
    record->object->Started(GetCurrentThreadId());
    record->object->Ended(record->routine(record->parameter));
    return nullptr;
}

class ThreadAttributes {
public:
    ThreadAttributes() : valid_(pthread_attr_init(&attributes_) == 0) {}
    ~ThreadAttributes() {
        if (valid_) {
            pthread_attr_destroy(&attributes_);
        }
    }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    // Nobody joins these threads: whoever is interested waits on the handle.
    [[nodiscard]] bool Prepare(SIZE_T stackSize, bool mayBeSmallerThanDefault) {
        if (!valid_ || pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED) != 0) {
            return false;
        }
        SIZE_T defaultSize = 0;
        if (stackSize == 0 || pthread_attr_getstacksize(&attributes_, &defaultSize) != 0) {
            return stackSize == 0;
        }
        const SIZE_T least = mayBeSmallerThanDefault ? kLeastStack : defaultSize;
        return pthread_attr_setstacksize(&attributes_, std::max(stackSize, least)) == 0;
    }

    [[nodiscard]] const pthread_attr_t* Get() const { return &attributes_; }

private:
    pthread_attr_t attributes_;
    bool valid_;
};

DWORD StartThread(std::unique_ptr<StartRecord> record, SIZE_T stackSize, bool mayBeSmallerThanDefault) {
    ThreadAttributes attributes;
    pthread_t thread;
    if (!attributes.Prepare(stackSize, mayBeSmallerThanDefault) ||
        pthread_create(&thread, attributes.Get(), RunThread, record.get()) != 0) {
        return ERROR_NO_SYSTEM_RESOURCES;
    }
    // The new thread owns it from here on.
    static_cast<void>(record.release());
    return ERROR_SUCCESS;
}

DWORD CheckArguments(LPTHREAD_START_ROUTINE routine, DWORD flags) {
    if (routine == nullptr || (flags & ~(CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION)) != 0) {
        return ERROR_INVALID_PARAMETER;
    }
    return (flags & CREATE_SUSPENDED) != 0 ? ERROR_NOT_SUPPORTED : ERROR_SUCCESS;
}

HANDLE Refuse(DWORD error) {
    SetLastError(error);
    return nullptr;
}

}  // namespace

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T dwStackSize, LPTHREAD_START_ROUTINE lpStartAddress,
                           LPVOID lpParameter, DWORD dwCreationFlags, LPDWORD lpThreadId) {
    if (const DWORD error = CheckArguments(lpStartAddress, dwCreationFlags); error != ERROR_SUCCESS) {
        return Refuse(error);
    }
    std::shared_ptr<ThreadObject> object;
    std::unique_ptr<StartRecord> record;
    try {
        object = std::make_shared<ThreadObject>();
        record = std::make_unique<StartRecord>(StartRecord{lpStartAddress, lpParameter, object});
    } catch (const std::bad_alloc&) {
        return Refuse(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (!object->IsValid()) {
        return Refuse(ERROR_NO_SYSTEM_RESOURCES);
    }
    const HANDLE handle = InsertHandle(object);
    if (handle == nullptr) {
        return nullptr;
    }
    const bool mayBeSmall = (dwCreationFlags & STACK_SIZE_PARAM_IS_A_RESERVATION) != 0;
    if (const DWORD error = StartThread(std::move(record), dwStackSize, mayBeSmall); error != ERROR_SUCCESS) {
        RemoveHandle(handle);
        return Refuse(error);
    }
    if (lpThreadId != nullptr) {
        *lpThreadId = object->WaitForId();
    }
    return handle;
}

BOOL WINAPI GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) {
    const auto thread = FindHandle<ThreadObject>(hThread);
    if (thread == nullptr || lpExitCode == nullptr) {
        SetLastError(thread == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *lpExitCode = thread->ExitCode();
    return TRUE;
}

DWORD WINAPI GetCurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

void WINAPI Sleep(DWORD dwMilliseconds) {
    if (dwMilliseconds == 0) {
        sched_yield();
        return;
    }
    const Deadline deadline(dwMilliseconds);
    // Loops because a signal handler ends a nap early, and because INFINITE has no end.
    while (!deadline.IsOver()) {
        const timespec nap = deadline.IsNever() ? timespec{.tv_sec = 3600, .tv_nsec = 0} : deadline.Remaining();
        nanosleep(&nap, nullptr);
    }
}
