// A handle of each kind, and the functions that take them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

#include "unit/winhttp/HttpCalls.h"

namespace quillmark::test {

struct NamedCall {
    const char* name;
    std::function<BOOL(HINTERNET)> call;
};

inline DWORD scratch = 0;
inline DWORD scratchSize = 0;

// Every function that takes a request.
inline const NamedCall RequestCalls[] = {
    {"WinHttpAddRequestHeaders",
     [](HINTERNET handle) {
         return WinHttpAddRequestHeaders(handle, QM_W("X: 1"), static_cast<DWORD>(-1), WINHTTP_ADDREQ_FLAG_ADD);
     }},
    {"WinHttpSendRequest", [](HINTERNET handle) { return WinHttpSendRequest(handle, nullptr, 0, nullptr, 0, 0, 0); }},
    {"WinHttpWriteData", [](HINTERNET handle) { return WinHttpWriteData(handle, "x", 1, &scratch); }},
    {"WinHttpReceiveResponse", [](HINTERNET handle) { return WinHttpReceiveResponse(handle, nullptr); }},
    {"WinHttpQueryHeaders",
     [](HINTERNET handle) {
         return WinHttpQueryHeaders(handle, WINHTTP_QUERY_STATUS_CODE, nullptr, nullptr, &scratchSize, nullptr);
     }},
    {"WinHttpQueryDataAvailable", [](HINTERNET handle) { return WinHttpQueryDataAvailable(handle, &scratch); }},
    {"WinHttpReadData", [](HINTERNET handle) { return WinHttpReadData(handle, &scratch, 1, &scratchSize); }},
    {"WinHttpSetCredentials", [](HINTERNET handle) {
         return WinHttpSetCredentials(handle, WINHTTP_AUTH_TARGET_SERVER, WINHTTP_AUTH_SCHEME_NEGOTIATE, nullptr,
                                      nullptr, nullptr);
     }}};

inline BOOL Connect(HINTERNET handle) {
    return WinHttpConnect(handle, QM_W("localhost"), 80, 0) != nullptr;
}

inline BOOL Open(HINTERNET handle) {
    return WinHttpOpenRequest(handle, nullptr, nullptr, nullptr, nullptr, nullptr, 0) != nullptr;
}

inline BOOL QueryType(HINTERNET handle) {
    scratchSize = sizeof(scratch);
    return WinHttpQueryOption(handle, WINHTTP_OPTION_HANDLE_TYPE, &scratch, &scratchSize);
}

inline BOOL SetTimeout(HINTERNET handle) {
    return WinHttpSetOption(handle, WINHTTP_OPTION_SEND_TIMEOUT, &scratch, sizeof(scratch));
}

inline BOOL SetTimeouts(HINTERNET handle) {
    return WinHttpSetTimeouts(handle, 0, 0, 0, 0);
}

class HandlesTest : public testing::Test {
protected:
    ScopedHandle m_session = OpenSession();
    ScopedHandle m_connection{WinHttpConnect(m_session, QM_W("127.0.0.1"), 80, 0)};
    ScopedHandle m_request{WinHttpOpenRequest(m_connection, QM_W("GET"), QM_W("/"), nullptr, nullptr, nullptr, 0)};
};

inline DWORD OpenCode(DWORD accessType, LPCWSTR name, LPCWSTR bypass, DWORD flags) {
    const ScopedHandle session(WinHttpOpen(nullptr, accessType, name, bypass, flags));
    return session == nullptr ? GetLastError() : ERROR_SUCCESS;
}

inline DWORD ConnectCode(HINTERNET session, std::string_view name, DWORD reserved = 0) {
    const ScopedHandle connection(WinHttpConnect(session, Wide(name).c_str(), 80, reserved));
    return connection == nullptr ? GetLastError() : ERROR_SUCCESS;
}

inline DWORD OpenRequestCode(HINTERNET connection, LPCWSTR verb, std::basic_string_view<WideChar> object,
                             LPCWSTR version = nullptr, DWORD flags = 0, LPCWSTR referrer = nullptr) {
    const ScopedHandle request(
        WinHttpOpenRequest(connection, verb, WideText(object).c_str(), version, referrer, nullptr, flags));
    return request == nullptr ? GetLastError() : ERROR_SUCCESS;
}

}  // namespace quillmark::test
