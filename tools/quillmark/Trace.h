// The wire as --trace shows it: a line on standard error for each request when it is over, with its method, path,
// status, time and the bytes of its bodies.
//
//     trace: GET /api/1.7/folders/Docs?type=all: 200, 12 ms, 0 bytes up, 831 bytes down
//
// Secrets never appear. Bodies and headers are not shown, so passwords and device tokens have no way into a line. The
// session's token stands in the path for servers of API 1.0: every token that a request carries in its cookie is taken
// out of every line from then on, and what follows /api/ and /notifs/ is shown only when it is a version or a name of
// the protocol. Of the query, values are shown for the names that are known to be harmless.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "EndableWinHttp.h"

namespace quillmark::cli {

// A request's path and query without its secrets. tokens: texts that must not appear.
[[nodiscard]] std::string PathForTrace(const std::string& path, const std::vector<std::string>& tokens);

// Forwards everything to the platform and watches. Any thread.
class TraceWinHttp : public EndableWinHttp {
public:
    using Show = std::function<void(const std::string& line)>;
    explicit TraceWinHttp(Show show);

    HINTERNET WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                 LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) override;
    BOOL WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers) override;
    BOOL WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                            DWORD optionalLength, DWORD totalLength, DWORD_PTR context) override;
    BOOL WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) override;
    BOOL WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) override;
    BOOL WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) override;
    BOOL WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) override;
    BOOL WinHttpCloseHandle(HINTERNET handle) override;

private:
    struct Exchange {
        std::string verb;
        std::string path;
        std::chrono::steady_clock::time_point begin;
        std::uint64_t up = 0;
        std::uint64_t down = 0;
        DWORD status = 0;  // 0: no answer yet
        DWORD error = 0;   // of the first call that failed
        bool sent = false;
    };

    // Does something to the request's record, if there is one, and leaves the last error as it is.
    void Note(HINTERNET request, const std::function<void(Exchange&)>& change);
    BOOL NoteFailure(HINTERNET request, BOOL result);
    void LearnToken(const std::string& headers);

    Show m_show;
    std::mutex m_lock;
    std::map<HINTERNET, Exchange> m_exchanges;
    std::vector<std::string> m_tokens;
};

}  // namespace quillmark::cli
