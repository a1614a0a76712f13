#include "Trace.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "ErrorText.h"
#include "Paths.h"

namespace quillmark::cli {
namespace {

constexpr std::string_view Hidden = "***";
constexpr std::string_view CookieName = "session_token=";

template <std::size_t Count>
bool IsOneOf(std::string_view text, const std::array<std::string_view, Count>& words) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

bool IsVersion(std::string_view text) {
    return !text.empty() && text.size() <= 6 && text.find_first_not_of("0123456789.") == std::string_view::npos;
}

// What the protocol has right after /api/ other than a version; anything else there is a token.
bool IsPlaceAfterApi(std::string_view text) {
    constexpr std::array<std::string_view, 13> Words = {"init",    "version", "kerberos", "sessions", "registrations",
                                                        "devices", "folders", "locking",  "delta",    "asdelta",
                                                        "resume",  "notifs",  "share"};
    return IsVersion(text) || IsOneOf(text, Words);
}

bool IsHarmlessParameter(std::string_view name) {
    constexpr std::array<std::string_view, 9> Names = {
        "type", "revision", "resume_id", "jobId", "includeAll", "timeout", "optimise_overwrite_append",
        "skip", "count"};
    return IsOneOf(name, Names);
}

std::string WithoutTokens(std::string text, const std::vector<std::string>& tokens) {
    for (const std::string& token : tokens) {
        for (std::size_t at = text.find(token); at != std::string::npos; at = text.find(token, at)) {
            text.replace(at, token.size(), Hidden);
            at += Hidden.size();
        }
    }
    return text;
}

// The segments of a path; the one that follows a place where tokens stand is hidden unless it is a word of the
// protocol. Only up to the item's path: names of items are the user's own.
std::string HideSegments(const std::string& path) {
    std::string shown;
    std::string_view before;
    bool items = false;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start + 1), path.size());
        const std::string_view segment = std::string_view(path).substr(start, end - start);
        const std::string_view name = segment.substr(segment.starts_with('/') ? 1 : 0);
        const bool token = !items && !name.empty() &&
                           (before == "notifs" || ((before == "api" || before == "API") && !IsPlaceAfterApi(name)));
        shown += token ? (segment.starts_with('/') ? "/" : "") + std::string(Hidden) : std::string(segment);
        items = items || name == "folders" || name == "locking" || name == "delta" || name == "upload";
        before = name;
        start = end;
    }
    return shown;
}

std::string HideValues(const std::string& query) {
    std::string shown;
    for (std::size_t start = 0; start <= query.size();) {
        const std::size_t end = std::min(query.find('&', start), query.size());
        const std::string part = query.substr(start, end - start);
        const std::size_t equals = std::min(part.find('='), part.size());
        const std::string name = part.substr(0, equals);
        shown += (start == 0 ? "" : "&");
        shown += IsHarmlessParameter(name) ? part
                 : equals < part.size()    ? name + "=" + std::string(Hidden)
                                           : std::string(Hidden);
        start = end + 1;
    }
    return shown;
}

std::optional<DWORD> StatusOf(HINTERNET request) {
    DWORD status = 0;
    DWORD size = sizeof status;
    if (::WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                              WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX) == FALSE) {
        return std::nullopt;
    }
    return status;
}

std::string TextOrEmpty(LPCWSTR text) {
    return text == nullptr ? std::string() : NarrowUtf8(WideString(text));
}

}  // namespace

std::string PathForTrace(const std::string& path, const std::vector<std::string>& tokens) {
    const std::size_t question = path.find('?');
    std::string shown = HideSegments(path.substr(0, question));
    if (question != std::string::npos) {
        shown += "?" + HideValues(path.substr(question + 1));
    }
    return Printable(WidenUtf8(WithoutTokens(shown, tokens)));
}

TraceWinHttp::TraceWinHttp(Show show) : m_show(std::move(show)) {}

HINTERNET TraceWinHttp::WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                           LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    HINTERNET request =
        EndableWinHttp::WinHttpOpenRequest(connection, verb, objectName, version, referrer, acceptTypes, flags);
    if (request != nullptr) {
        const std::lock_guard lock(m_lock);
        Exchange exchange;
        exchange.verb = verb == nullptr ? "GET" : TextOrEmpty(verb);
        exchange.path = TextOrEmpty(objectName);
        exchange.begin = std::chrono::steady_clock::now();
        m_exchanges[request] = std::move(exchange);
    }
    return request;
}

BOOL TraceWinHttp::WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers) {
    const bool counted = length != static_cast<DWORD>(-1);
    LearnToken(NarrowUtf8(counted ? WideString(headers).Substring(0, length) : WideString(headers)));
    return NoteFailure(request, EndableWinHttp::WinHttpAddRequestHeaders(request, headers, length, modifiers));
}

BOOL TraceWinHttp::WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                                      DWORD optionalLength, DWORD totalLength, DWORD_PTR context) {
    Note(request, [&](Exchange& exchange) {
        exchange.begin = std::chrono::steady_clock::now();
        exchange.sent = true;
        exchange.up += optionalLength;
    });
    return NoteFailure(request, EndableWinHttp::WinHttpSendRequest(request, headers, headersLength, optional,
                                                                   optionalLength, totalLength, context));
}

BOOL TraceWinHttp::WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) {
    const BOOL result = EndableWinHttp::WinHttpWriteData(request, buffer, bytesToWrite, bytesWritten);
    if (result != FALSE) {
        Note(request, [&](Exchange& exchange) { exchange.up += bytesToWrite; });
    }
    return NoteFailure(request, result);
}

BOOL TraceWinHttp::WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    const BOOL result = EndableWinHttp::WinHttpReceiveResponse(request, reserved);
    if (result != FALSE) {
        Note(request, [&](Exchange& exchange) { exchange.status = StatusOf(request).value_or(0); });
    }
    return NoteFailure(request, result);
}

BOOL TraceWinHttp::WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) {
    return NoteFailure(request, EndableWinHttp::WinHttpQueryDataAvailable(request, bytesAvailable));
}

BOOL TraceWinHttp::WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    const BOOL result = EndableWinHttp::WinHttpReadData(request, buffer, bytesToRead, bytesRead);
    if (result != FALSE && bytesRead != nullptr) {
        Note(request, [&](Exchange& exchange) { exchange.down += *bytesRead; });
    }
    return NoteFailure(request, result);
}

BOOL TraceWinHttp::WinHttpCloseHandle(HINTERNET handle) {
    std::string line;
    {
        const std::lock_guard lock(m_lock);
        const auto found = m_exchanges.find(handle);
        if (found != m_exchanges.end() && found->second.sent) {
            const Exchange& exchange = found->second;
            const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                                    exchange.begin);
            const std::string outcome = exchange.error != ERROR_SUCCESS ? ErrorReason(exchange.error)
                                        : exchange.status != 0          ? std::to_string(exchange.status)
                                                                        : "given up";
            line = "trace: " + Printable(WidenUtf8(exchange.verb)) + " " + PathForTrace(exchange.path, m_tokens) +
                   ": " + outcome + ", " + std::to_string(time.count()) + " ms, " + std::to_string(exchange.up) +
                   " bytes up, " + std::to_string(exchange.down) + " bytes down";
        }
        if (found != m_exchanges.end()) {
            m_exchanges.erase(found);
        }
    }
    if (!line.empty()) {
        m_show(line);
    }
    return EndableWinHttp::WinHttpCloseHandle(handle);
}

void TraceWinHttp::Note(HINTERNET request, const std::function<void(Exchange&)>& change) {
    const DWORD error = GetLastError();
    {
        const std::lock_guard lock(m_lock);
        const auto found = m_exchanges.find(request);
        if (found != m_exchanges.end()) {
            change(found->second);
        }
    }
    SetLastError(error);
}

BOOL TraceWinHttp::NoteFailure(HINTERNET request, BOOL result) {
    if (result == FALSE) {
        const DWORD error = GetLastError();
        Note(request, [error](Exchange& exchange) {
            exchange.error = exchange.error == ERROR_SUCCESS ? error : exchange.error;
        });
    }
    return result;
}

void TraceWinHttp::LearnToken(const std::string& headers) {
    const std::size_t name = headers.find(CookieName);
    if (name == std::string::npos) {
        return;
    }
    const std::size_t start = name + CookieName.size();
    const std::string token = headers.substr(start, headers.find_first_of(";\r\n", start) - start);
    const std::lock_guard lock(m_lock);
    if (!token.empty() && std::find(m_tokens.begin(), m_tokens.end(), token) == m_tokens.end()) {
        m_tokens.push_back(token);
    }
}

}  // namespace quillmark::cli
