// RecordingWinHttp: a WinHTTP seam without a network. It records every call and the bytes of the body, and answers from
// a script.
//
//   winHttp->reply = {.status = "200", .contentLength = "5", .rounds = {{3, "hel"}, {2, "lo"}}};
//
// Handles are numbers from 1, in the order of opening, printed h1, h2, ... Handles are not checked: a call on a null or
// foreign one is recorded and answered like any other, so that one recorder can take over from another mid-request.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <set>
#include <string>

#include "fakes/CallRecorder.h"
#include "quillmark/Services.h"

namespace quillmark::fakes {

class RecordingWinHttp : public WinHttpInterface, public CallRecorder {
public:
    // One WinHttpQueryDataAvailable and the WinHttpReadData that follows it.
    struct Round {
        DWORD available;
        std::string bytes;
    };
    struct Reply {
        std::string status = "200";
        std::optional<std::string> contentLength;
        std::deque<Round> rounds;  // after the last one nothing is available
    };

    // To be set before the code under test runs.
    Reply reply;
    DWORD writeLimit = std::numeric_limits<DWORD>::max();  // the most that one WinHttpWriteData takes

    // The function of this name blocks until the handle that it is called with is closed, and then fails with 12017.
    void BlockIn(const std::string& function);
    // Returns when a call is blocked.
    void WaitUntilBlocked();

    // All that was written with WinHttpWriteData.
    [[nodiscard]] std::string Body() const;
    // What the last WinHttpSendRequest was given as optional data.
    [[nodiscard]] std::string OptionalData() const;
    // Handles that were opened and not closed.
    [[nodiscard]] std::size_t OpenHandles() const;

    BOOL WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers) override;
    BOOL WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                            DWORD optionalLength, DWORD totalLength, DWORD_PTR context) override;
    BOOL WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) override;
    BOOL WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) override;
    BOOL WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer, LPDWORD bufferLength,
                             LPDWORD index) override;
    BOOL WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) override;
    BOOL WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) override;
    BOOL WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR user, LPCWSTR password,
                               LPVOID parameters) override;
    BOOL WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) override;
    HINTERNET WinHttpOpen(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR proxyBypass, DWORD flags) override;
    HINTERNET WinHttpConnect(HINTERNET session, LPCWSTR server, WORD port, DWORD reserved) override;
    HINTERNET WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                 LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) override;
    BOOL WinHttpCloseHandle(HINTERNET handle) override;
    BOOL WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer, LPDWORD bufferLength) override;
    BOOL WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength) override;

private:
    // As CallRecorder's; a call that is to block does so here.
    [[nodiscard]] bool EnterOn(HINTERNET handle, const std::string& function, const std::string& arguments);
    [[nodiscard]] HINTERNET NewHandle();

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::set<HINTERNET> m_open;
    std::uintptr_t m_handles = 0;
    std::string m_body;
    std::string m_optionalData;
    std::string m_blockIn;
    bool m_blocked = false;
};

}  // namespace quillmark::fakes
