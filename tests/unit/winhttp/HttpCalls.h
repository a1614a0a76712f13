// WinHTTP as the tests call it: handles that close themselves, and whole exchanges in one call.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <utility>

#include "quillmark/Platform.h"

namespace quillmark::test {

using WideText = std::basic_string<WideChar>;

class ScopedHandle {
public:
    ScopedHandle() = default;
    explicit ScopedHandle(HINTERNET handle) : m_handle(handle) {}
    ScopedHandle(ScopedHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    ScopedHandle& operator=(ScopedHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    ~ScopedHandle() { Close(); }

    void Close() {
        if (m_handle != nullptr) {
            WinHttpCloseHandle(std::exchange(m_handle, nullptr));
        }
    }
    operator HINTERNET() const { return m_handle; }  // NOLINT: reads as the handle that it is

private:
    HINTERNET m_handle = nullptr;
};

struct Reply {
    DWORD code = ERROR_SUCCESS;  // Of the call that failed.
    int status = 0;
    std::string body;
};

// Text of the tests (ASCII or UTF-8) as the wide string that the functions take.
[[nodiscard]] WideText Wide(std::string_view text);

[[nodiscard]] ScopedHandle OpenSession();

// A connection and a request on it, in one: closing order does not matter.
[[nodiscard]] ScopedHandle OpenRequest(HINTERNET session, std::uint16_t port, std::string_view verb,
                                       std::string_view object, DWORD flags = 0, std::string_view host = "127.0.0.1");

// 0, or the last error of a call that returned FALSE.
[[nodiscard]] DWORD Code(BOOL done);

[[nodiscard]] DWORD AddHeader(HINTERNET request, std::string_view lines,
                              DWORD flags = WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE);

// Sends a request with that body as optional data.
[[nodiscard]] DWORD Send(HINTERNET request, std::string_view body = {});

// Announces a length in the Content-Length header and sends the head.
[[nodiscard]] DWORD StartUpload(HINTERNET request, std::uint64_t announced);

[[nodiscard]] DWORD Write(HINTERNET request, std::string_view bytes);

// Reads the body to its end; the code of the call that failed.
[[nodiscard]] DWORD ReadBody(HINTERNET request, std::string& body);

// The head and the body of the reply to a request that was sent.
[[nodiscard]] Reply Receive(HINTERNET request);

// Send and Receive.
[[nodiscard]] Reply Exchange(HINTERNET request, std::string_view body = {});

// How long the request, or the session's later ones, wait for the reply's head and for its body.
[[nodiscard]] DWORD SetReceiveTimeout(HINTERNET handle, DWORD milliseconds);

// A header of the reply, empty when there is none.
[[nodiscard]] std::string HeaderOf(HINTERNET request, std::string_view name);

// "HTTP/1.1 200 OK" with a Content-Length and that body.
[[nodiscard]] std::string Ok(std::string_view body = {});

// Milliseconds since the stopwatch was made.
class Stopwatch {
public:
    [[nodiscard]] long Milliseconds() const {
        return static_cast<long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start).count());
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace quillmark::test
