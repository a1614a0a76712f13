#include "common/Tasks.h"

#include <memory>
#include <string>
#include <utility>

#include "common/Log.h"

namespace quillmark::w32utils {
namespace detail {
namespace {

struct Task {
    std::function<void()> run;
    std::string callerName;
};

DWORD WINAPI start_task_proc(LPVOID parameter) {
    const std::unique_ptr<Task> task(static_cast<Task*>(parameter));
    constexpr Logger log("w32utils::detail::start_task_proc", LogSource::Threads);
    log.Information("Task [0x%x] started by [%s]", ::GetCurrentThreadId(), task->callerName);
    task->run();
    return 0;
}

}  // namespace
}  // namespace detail

HANDLE StartTaskInternal(std::function<void()> task, const char* callerName) {
    auto record = std::make_unique<detail::Task>(detail::Task{std::move(task), callerName});
    constexpr Logger log("w32utils::StartTaskInternal", LogSource::Threads);
    log.Information("Starting task [0x%p] on behalf of [%s]", record.get(), callerName);
    const HANDLE thread = ::CreateThread(nullptr, 0, detail::start_task_proc, record.get(), 0, nullptr);
    if (thread != nullptr) {
        // The thread owns the record, and may have freed it already.
        static_cast<void>(record.release());
    }
    return thread;
}

}  // namespace quillmark::w32utils
