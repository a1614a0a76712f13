#include "fakes/RecordingWinHttp.h"

#include <algorithm>
#include <cstring>

#include "quillmark/WideString.h"

namespace quillmark::fakes {
namespace {

std::string Name(HINTERNET handle) {
    return handle == nullptr ? "null" : "h" + std::to_string(reinterpret_cast<std::uintptr_t>(handle));
}

// A length as callers give it: -1 for a text that ends in zero.
std::string Length(DWORD length) {
    return length == static_cast<DWORD>(-1) ? "-1" : std::to_string(length);
}

BOOL Fail(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

BOOL GiveText(const std::string& value, LPVOID buffer, LPDWORD length) {
    const WideString text = WidenUtf8(value);
    const auto needed = static_cast<DWORD>((text.size() + 1) * sizeof(WideChar));
    if (buffer == nullptr || *length < needed) {
        *length = needed;
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::memcpy(buffer, text.c_str(), needed);
    *length = needed - static_cast<DWORD>(sizeof(WideChar));
    return TRUE;
}

}  // namespace

void RecordingWinHttp::BlockIn(const std::string& function) {
    const std::scoped_lock guard(m_lock);
    m_blockIn = function;
}

void RecordingWinHttp::WaitUntilBlocked() {
    std::unique_lock guard(m_lock);
    m_changed.wait(guard, [this] { return m_blocked; });
}

std::string RecordingWinHttp::Body() const {
    const std::scoped_lock guard(m_lock);
    return m_body;
}

std::string RecordingWinHttp::OptionalData() const {
    const std::scoped_lock guard(m_lock);
    return m_optionalData;
}

std::size_t RecordingWinHttp::OpenHandles() const {
    const std::scoped_lock guard(m_lock);
    return m_open.size();
}

bool RecordingWinHttp::EnterOn(HINTERNET handle, const std::string& function, const std::string& arguments) {
    const std::string all = Name(handle) + (arguments.empty() ? "" : ", " + arguments);
    if (!Enter(function, all)) {
        return false;
    }
    std::unique_lock guard(m_lock);
    if (m_blockIn != function) {
        return true;
    }
    m_blocked = true;
    m_changed.notify_all();
    m_changed.wait(guard, [&] { return !m_open.contains(handle); });
    m_blocked = false;
    ::SetLastError(ERROR_WINHTTP_OPERATION_CANCELLED);
    return false;
}

HINTERNET RecordingWinHttp::NewHandle() {
    const std::scoped_lock guard(m_lock);
    const auto handle = reinterpret_cast<HINTERNET>(++m_handles);
    m_open.insert(handle);
    return handle;
}

BOOL RecordingWinHttp::WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers, DWORD length, DWORD modifiers) {
    return EnterOn(request, "WinHttpAddRequestHeaders",
                   Quoted(headers) + ", " + Length(length) + ", " + Hex(modifiers));
}

BOOL RecordingWinHttp::WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headersLength, LPVOID optional,
                                          DWORD optionalLength, DWORD totalLength, DWORD_PTR context) {
    if (!EnterOn(request, "WinHttpSendRequest",
                 Quoted(headers) + ", " + Length(headersLength) + ", " + (optional == nullptr ? "null" : "data") +
                     ", " + std::to_string(optionalLength) + ", " + std::to_string(totalLength) + ", " +
                     std::to_string(context))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    m_optionalData.assign(static_cast<const char*>(optional), optionalLength);
    return TRUE;
}

BOOL RecordingWinHttp::WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    if (!EnterOn(request, "WinHttpReadData", std::to_string(bytesToRead))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    const std::string bytes = reply.rounds.empty() ? std::string() : reply.rounds.front().bytes;
    if (!reply.rounds.empty()) {
        reply.rounds.pop_front();
    }
    *bytesRead = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), bytesToRead));
    std::memcpy(buffer, bytes.data(), *bytesRead);
    return TRUE;
}

BOOL RecordingWinHttp::WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable) {
    if (!EnterOn(request, "WinHttpQueryDataAvailable", "")) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    *bytesAvailable = reply.rounds.empty() ? 0 : reply.rounds.front().available;
    return TRUE;
}

BOOL RecordingWinHttp::WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer,
                                           LPDWORD bufferLength, LPDWORD index) {
    if (!EnterOn(request, "WinHttpQueryHeaders",
                 Hex(infoLevel) + ", " + Quoted(name) + ", " + (buffer == nullptr ? "null" : "buffer") + ", " +
                     std::to_string(*bufferLength) + ", " + (index == nullptr ? "null" : "index"))) {
        return FALSE;
    }
    if (infoLevel == (WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER)) {
        const auto number = static_cast<DWORD>(std::stoul(reply.status));
        std::memcpy(buffer, &number, sizeof(number));
        return TRUE;
    }
    if (infoLevel == WINHTTP_QUERY_STATUS_CODE) {
        return GiveText(reply.status, buffer, bufferLength);
    }
    if (infoLevel == WINHTTP_QUERY_CONTENT_LENGTH && reply.contentLength.has_value()) {
        return GiveText(*reply.contentLength, buffer, bufferLength);
    }
    return fakes::Fail(ERROR_WINHTTP_HEADER_NOT_FOUND);
}

BOOL RecordingWinHttp::WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    return EnterOn(request, "WinHttpReceiveResponse", reserved == nullptr ? "null" : "reserved");
}

BOOL RecordingWinHttp::WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten) {
    if (!EnterOn(request, "WinHttpWriteData", std::to_string(bytesToWrite))) {
        return FALSE;
    }
    const std::scoped_lock guard(m_lock);
    *bytesWritten = std::min(bytesToWrite, writeLimit);
    m_body.append(static_cast<const char*>(buffer), *bytesWritten);
    return TRUE;
}

BOOL RecordingWinHttp::WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme, LPCWSTR user,
                                             LPCWSTR password, LPVOID parameters) {
    return EnterOn(request, "WinHttpSetCredentials",
                   std::to_string(targets) + ", " + std::to_string(scheme) + ", " + Quoted(user) + ", " +
                       Quoted(password) + ", " + (parameters == nullptr ? "null" : "parameters"));
}

BOOL RecordingWinHttp::WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) {
    return EnterOn(handle, "WinHttpSetTimeouts",
                   std::to_string(resolve) + ", " + std::to_string(connect) + ", " + std::to_string(send) + ", " +
                       std::to_string(receive));
}

HINTERNET RecordingWinHttp::WinHttpOpen(LPCWSTR agent, DWORD accessType, LPCWSTR proxy, LPCWSTR proxyBypass,
                                        DWORD flags) {
    return Enter("WinHttpOpen", Quoted(agent) + ", " + std::to_string(accessType) + ", " + Quoted(proxy) + ", " +
                                    Quoted(proxyBypass) + ", " + std::to_string(flags))
               ? NewHandle()
               : nullptr;
}

HINTERNET RecordingWinHttp::WinHttpConnect(HINTERNET session, LPCWSTR server, WORD port, DWORD reserved) {
    return EnterOn(session, "WinHttpConnect",
                   Quoted(server) + ", " + std::to_string(port) + ", " + std::to_string(reserved))
               ? NewHandle()
               : nullptr;
}

HINTERNET RecordingWinHttp::WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                               LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    std::string types;
    for (LPCWSTR* type = acceptTypes; type != nullptr && *type != nullptr; ++type) {
        types += Quoted(*type) + ", ";
    }
    return EnterOn(connection, "WinHttpOpenRequest",
                   Quoted(verb) + ", " + Quoted(objectName) + ", " + Quoted(version) + ", " + Quoted(referrer) + ", " +
                       (acceptTypes == nullptr ? "null" : "{" + types + "null}") + ", " + Hex(flags))
               ? NewHandle()
               : nullptr;
}

BOOL RecordingWinHttp::WinHttpCloseHandle(HINTERNET handle) {
    const bool entered = EnterOn(handle, "WinHttpCloseHandle", "");
    const std::scoped_lock guard(m_lock);
    m_open.erase(handle);
    m_changed.notify_all();
    return entered;
}

BOOL RecordingWinHttp::WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID, LPDWORD) {
    return EnterOn(handle, "WinHttpQueryOption", std::to_string(option)) ? fakes::Fail(ERROR_WINHTTP_INVALID_OPTION)
                                                                         : FALSE;
}

BOOL RecordingWinHttp::WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength) {
    DWORD value = 0;
    std::memcpy(&value, buffer, std::min<std::size_t>(bufferLength, sizeof(value)));
    return EnterOn(handle, "WinHttpSetOption",
                   std::to_string(option) + ", " + std::to_string(value) + ", " + std::to_string(bufferLength));
}

}  // namespace quillmark::fakes
