// The boundary of the client's operations: opens the operation's log scope, runs its body, and lets no exception out.
//
//   DWORD CNativeHttp::Version(WideString& version) {
//       return RunOperation("CNativeHttp::Version", [&](const Logger& log) -> DWORD {
//           ...
//       });
//   }
//
// The body returns a DWORD or a StatusPair, whose code the scope records at its exit, or nothing or a bool, and then
// the exit carries no status. An exception that leaves the body is recorded as the scope's exit ("[EXCEPTION EXIT]"),
// logged, and becomes the operation's code: 13 for one of the JSON library, 8 for std::bad_alloc, 1359 for anything
// else; false where the body returns a bool.
#pragma once

#include <concepts>
#include <source_location>
#include <type_traits>

#include "common/Log.h"
#include "model/JsonExceptions.h"
#include "quillmark/Errors.h"

namespace quillmark {
namespace detail {

inline void SetCode(DWORD& result, DWORD code) noexcept {
    result = code;
}
inline void SetCode(StatusPair& result, DWORD code) noexcept {
    result = {code, 0};
}
inline void SetCode(bool& result, DWORD) noexcept {
    result = false;
}

}  // namespace detail

// For a body that opens the operation's scope itself.
template <std::invocable Body>
void ShieldOperation(const char* function, Body&& body) noexcept {
    try {
        body();
    } catch (...) {
        static_cast<void>(CodeOfExceptionInFlight(Logger(function, LogSource::NativeHttp)));
    }
}

template <std::invocable<const Logger&> Body>
auto RunOperation(const char* function, Body&& body,
                  std::source_location where = std::source_location::current()) noexcept {
    using Result = std::invoke_result_t<Body&, const Logger&>;
    const auto run = [&] { return LogScope::Run(function, LogSource::NativeHttp, body, {}, where); };
    if constexpr (std::is_void_v<Result>) {
        ShieldOperation(function, run);
    } else {
        Result result{};
        try {
            result = run();
        } catch (...) {
            detail::SetCode(result, CodeOfExceptionInFlight(Logger(function, LogSource::NativeHttp)));
        }
        return result;
    }
}

}  // namespace quillmark
