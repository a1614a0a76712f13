#include "common/Log.h"

#include <atomic>
#include <utility>

namespace quillmark {
namespace {

// Atomic for the sake of a host that calls Init again while operations run; nothing is ordered by it.
constinit std::atomic<std::uint64_t> g_context{0};

}  // namespace

std::uint64_t LogContext() noexcept {
    return g_context.load(std::memory_order_relaxed);
}

void SetLogContext(std::uint64_t context) noexcept {
    g_context.store(context, std::memory_order_relaxed);
}

bool Logger::WantsInformation() const noexcept {
    const LastErrorKeeper keeper;
    return Eventing::IsEnabled(LogContext(), &LogEvent::Information) != 0;
}

LogScope::LogScope(const char* function, const char* source, const DWORD* status, Completion completion,
                   std::source_location where) noexcept
    : Logger(function, source), m_status(status), m_completion(std::move(completion)), m_line(where.line()) {
    const LastErrorKeeper keeper;
    const std::uint64_t context = LogContext();
    if (Eventing::IsEnabled(context, &LogEvent::ScopeEntry) != 0) {
        Eventing::WriteScope(context, &LogEvent::ScopeEntry, m_source, m_line, m_function);
    }
}

LogScope::~LogScope() {
    const LastErrorKeeper keeper;
    const std::uint64_t context = LogContext();
    if (Eventing::IsEnabled(context, &LogEvent::ScopeExit) != 0) {
        // The exit is what is asked for, yet texts go out as critical ones: readers of the log rely on the pair.
        if (m_byException) {
            Eventing::WriteMessage(context, &LogEvent::Critical, m_source, m_line, m_function, "[EXCEPTION EXIT]");
        } else if (m_status != nullptr) {
            Eventing::WriteMessage(context, &LogEvent::Critical, m_source, m_line, m_function, "Exited [status=%d]",
                                   *m_status);
        } else {
            Eventing::WriteScope(context, &LogEvent::ScopeExit, m_source, m_line, m_function);
        }
    }
    if (!m_byException && m_completion) {
        try {
            m_completion(m_function, m_status);
        } catch (...) {
            // A scope's end never throws, whatever its callback does.
        }
    }
}

}  // namespace quillmark
