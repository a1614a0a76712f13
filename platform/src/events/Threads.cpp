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
constexpr SIZE_T LeastStack = 64UL * 1024;

class ThreadObject final : public WaitableObject {
public:
    [[nodiscard]] bool IsValid() const { return m_ended.IsOpen(); }

    void Started(DWORD id) {
        m_id.store(id);
        m_id.notify_all();
    }

    // Blocks until the new thread has begun to run.
    [[nodiscard]] DWORD WaitForId() const {
        m_id.wait(0);
        return m_id.load();
    }

    void Ended(DWORD exitCode) {
        const std::lock_guard guard(SignalLock());
        m_exitCode = exitCode;
        m_hasEnded = true;
        m_ended.Raise();
    }

    [[nodiscard]] DWORD ExitCode() const {
        const std::lock_guard guard(SignalLock());
        return m_exitCode;
    }

    [[nodiscard]] int PollDescriptor() const override { return m_ended.Get(); }
    [[nodiscard]] bool IsSignalled() const override { return m_hasEnded; }
    void Take() override {}
    // A thread ends whether or not somebody has its handle.
    [[nodiscard]] bool CanBeSignalled() const override { return true; }

private:
    std::atomic<DWORD> m_id = 0;
    bool m_hasEnded = false;
    DWORD m_exitCode = STILL_ACTIVE;
    SignalDescriptor m_ended;
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
    ThreadAttributes() : m_valid(pthread_attr_init(&m_attributes) == 0) {}
    ~ThreadAttributes() {
        if (m_valid) {
            pthread_attr_destroy(&m_attributes);
        }
    }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    // Nobody joins these threads: whoever is interested waits on the handle.
    [[nodiscard]] bool Prepare(SIZE_T stackSize, bool mayBeSmallerThanDefault) {
        if (!m_valid || pthread_attr_setdetachstate(&m_attributes, PTHREAD_CREATE_DETACHED) != 0) {
            return false;
        }
        SIZE_T defaultSize = 0;
        if (stackSize == 0 || pthread_attr_getstacksize(&m_attributes, &defaultSize) != 0) {
            return stackSize == 0;
        }
        const SIZE_T least = mayBeSmallerThanDefault ? LeastStack : defaultSize;
        return pthread_attr_setstacksize(&m_attributes, std::max(stackSize, least)) == 0;
    }

    [[nodiscard]] const pthread_attr_t* Get() const { return &m_attributes; }

private:
    pthread_attr_t m_attributes;
    bool m_valid;
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
