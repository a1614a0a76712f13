// Logging: the one way from this library to the eventing seam.
//
// Logger writes messages under a function name and a source module; LogScope is a Logger that also records the entry to
// and the exit from a function. The body of every public function of the library runs in one scope, with its qualified
// name:
//
//   return LogScope::Run("WinHttpSession::Initialise", LogSource::WinHttpImpl, [&](const Logger& log) -> DWORD {
//       log.Information("Successfully initialised http session");
//       return ERROR_SUCCESS;
//   });
//
// Formats are printf-style with the meaning that Windows gives them (see Format.h) and are checked against the argument
// types when the program is compiled. Nothing is formatted unless the log wants records of the level.
//
// Logging never throws and never changes the thread's last-error value, so a message may stand between a failing call
// and the GetLastError that asks for its code.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <source_location>
#include <type_traits>
#include <utility>

#include "common/Format.h"
#include "quillmark/Errors.h"
#include "quillmark/Eventing.h"

namespace quillmark {

// The module names that records carry.
namespace LogSource {
inline constexpr const char* NativeHttp = "NativeHttp";
inline constexpr const char* WinHttpImpl = "WinHttpImpl";
inline constexpr const char* QuillmarkHttpExports = "QuillmarkHttpExports";
inline constexpr const char* ComInit = "ComInit";
inline constexpr const char* EngKey = "EngKey";
inline constexpr const char* EventMultiTrigger = "EventMutliTrigger";  // spelled so in the log
inline constexpr const char* Threads = "w32threads";
inline constexpr const char* AttributeTime = "AttributeTime";
inline constexpr const char* Serialization = "Serialization";
inline constexpr const char* PathUtilities = "PathUtilities";
}  // namespace LogSource

// The records' event descriptors.
namespace LogEvent {
inline constexpr EventDescriptor ScopeEntry{110, 0, 16, 4, 10, 1, 0x8000000000000001u};
inline constexpr EventDescriptor ScopeExit{111, 0, 16, 4, 10, 1, 0x8000000000000001u};
inline constexpr EventDescriptor Information{101, 0, 16, 4, 0, 2, 0x8000000000000000u};
inline constexpr EventDescriptor Warning{102, 0, 16, 3, 0, 2, 0x8000000000000000u};
inline constexpr EventDescriptor Error{103, 0, 16, 2, 0, 2, 0x8000000000000000u};
inline constexpr EventDescriptor Critical{104, 0, 16, 1, 0, 2, 0x8000000000000000u};
}  // namespace LogEvent

// The host's logging context; 0 until Init. Written without a lock: the host calls Init before anything else.
[[nodiscard]] std::uint64_t LogContext() noexcept;
void SetLogContext(std::uint64_t context) noexcept;

// A handle as records show it, "[0x%x]": its low 32 bits.
[[nodiscard]] inline std::uint32_t HandleNumber(const void* handle) noexcept {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
}

// A format with the place where it stands, checked against the types of its arguments.
template <typename... Arguments>
struct LogFormat {
    // NOLINTNEXTLINE: converts from the literal on purpose
    consteval LogFormat(const char* text, std::source_location where = std::source_location::current())
        : format(text), line(where.line()) {
        static_cast<void>(CheckedFormat<Arguments...>(text));
    }

    const char* format;
    std::uint32_t line;
};

class Logger {
public:
    constexpr Logger(const char* function, const char* source) noexcept : m_function(function), m_source(source) {}

    template <typename... Arguments>
    void Information(LogFormat<std::type_identity_t<Arguments>...> format,
                     const Arguments&... arguments) const noexcept {
        Write(LogEvent::Information, format.format, format.line, arguments...);
    }
    template <typename... Arguments>
    void Warning(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const noexcept {
        Write(LogEvent::Warning, format.format, format.line, arguments...);
    }
    template <typename... Arguments>
    void Error(LogFormat<std::type_identity_t<Arguments>...> format, const Arguments&... arguments) const noexcept {
        Write(LogEvent::Error, format.format, format.line, arguments...);
    }

    // Whether information records are wanted, for texts that cost something to make.
    [[nodiscard]] bool WantsInformation() const noexcept;
    [[nodiscard]] const char* Function() const noexcept { return m_function; }

protected:
    // Writes when the log wants records of this descriptor; the one place that calls the seam's C varargs.
    template <typename... Arguments>
    void Write(const EventDescriptor& descriptor, const char* format, std::uint32_t line,
               const Arguments&... arguments) const noexcept {
        const LastErrorKeeper keeper;
        const std::uint64_t context = LogContext();
        if (Eventing::IsEnabled(context, &descriptor) != 0) {
            Eventing::WriteMessage(context, &descriptor, m_source, line, m_function, format,
                                   FormatArgument(arguments)...);
        }
    }

    // Puts the thread's last-error value back as it was.
    class LastErrorKeeper {
    public:
        LastErrorKeeper() noexcept : m_error(::GetLastError()) {}
        ~LastErrorKeeper() { ::SetLastError(m_error); }
        LastErrorKeeper(const LastErrorKeeper&) = delete;
        LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

    private:
        DWORD m_error;
    };

    const char* m_function;
    const char* m_source;
};

namespace detail {

// What a scope records of its body's result: the code of one that is a code, nothing of any other.
[[nodiscard]] inline const DWORD* StatusOf(const DWORD& result) noexcept {
    return &result;
}
[[nodiscard]] inline const DWORD* StatusOf(const StatusPair& result) noexcept {
    return &result.error;
}
template <typename Result>
[[nodiscard]] const DWORD* StatusOf(const Result&) noexcept {
    return nullptr;
}

}  // namespace detail

// There is no scope but the one that Run opens: whether an exception passes through is seen where it passes, in the one
// catch block here. The C++ runtime's count of exceptions in flight does not tell: the host's program may have a
// runtime of its own, which counts what the host throws and what it catches.
class LogScope : public Logger {
public:
    // Called at a normal exit with the function's name and its status variable (null when it has none).
    using Completion = std::function<void(const char* function, const DWORD* status)>;

    // Runs a function's body between the records of its entry and its exit, and gives back its result or lets its
    // exception pass. The exit is recorded as "Exited [status=%d]" when the body returns a DWORD or a StatusPair, as a
    // bare scope record when it returns anything else, as "[EXCEPTION EXIT]" when an exception passes.
    template <std::invocable<const Logger&> Body>
    static auto Run(const char* function, const char* source, Body&& body, Completion completion = {},
                    std::source_location where = std::source_location::current()) {
        using Result = std::invoke_result_t<Body&, const Logger&>;
        if constexpr (std::is_void_v<Result>) {
            LogScope scope(function, source, nullptr, std::move(completion), where);
            scope.NoteWhatPasses([&] { body(std::as_const(scope)); });
        } else {
            // Made before the scope, which reads it at its end.
            Result result{};
            LogScope scope(function, source, detail::StatusOf(result), std::move(completion), where);
            scope.NoteWhatPasses([&] { result = body(std::as_const(scope)); });
            return result;
        }
    }

    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

private:
    LogScope(const char* function, const char* source, const DWORD* status, Completion completion,
             std::source_location where) noexcept;

    template <std::invocable Body>
    void NoteWhatPasses(Body&& body) {
        try {
            body();
        } catch (...) {
            m_byException = true;
            throw;
        }
    }

    const DWORD* m_status;
    Completion m_completion;
    std::uint32_t m_line;
    bool m_byException = false;
};

}  // namespace quillmark
