#include "unit/winhttp/HttpCalls.h"

#include <vector>

namespace quillmark::test {

WideText Wide(std::string_view text) {
    WideText wide(text.size(), QM_W('\0'));
    const int units = text.empty() ? 0
                                   : MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                         wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(units));
    return wide;
}

ScopedHandle OpenSession() {
    return ScopedHandle(
        WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
}

ScopedHandle OpenRequest(HINTERNET session, std::uint16_t port, std::string_view verb, std::string_view object,
                         DWORD flags, std::string_view host) {
    const ScopedHandle connection(WinHttpConnect(session, Wide(host).c_str(), port, 0));
    return ScopedHandle(WinHttpOpenRequest(connection, Wide(verb).c_str(), Wide(object).c_str(), nullptr,
                                           WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
}

DWORD Code(BOOL done) {
    return done ? ERROR_SUCCESS : GetLastError();
}

DWORD AddHeader(HINTERNET request, std::string_view lines, DWORD flags) {
    return Code(WinHttpAddRequestHeaders(request, Wide(lines).c_str(), static_cast<DWORD>(-1), flags));
}

DWORD Send(HINTERNET request, std::string_view body) {
    return Code(WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, const_cast<char*>(body.data()),
                                   static_cast<DWORD>(body.size()), static_cast<DWORD>(body.size()), 0));
}

DWORD StartUpload(HINTERNET request, std::uint64_t announced) {
    const WideText line = Wide("Content-Length: " + std::to_string(announced) + "\r\n");
    return Code(WinHttpSendRequest(request, line.c_str(), static_cast<DWORD>(-1), WINHTTP_NO_REQUEST_DATA, 0,
                                   WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH, 0));
}

DWORD Write(HINTERNET request, std::string_view bytes) {
    DWORD written = 0;
    return Code(WinHttpWriteData(request, bytes.data(), static_cast<DWORD>(bytes.size()), &written));
}

DWORD ReadBody(HINTERNET request, std::string& body) {
    while (true) {
        DWORD available = 0;
        if (!WinHttpQueryDataAvailable(request, &available)) {
            return GetLastError();
        }
        if (available == 0) {
            return ERROR_SUCCESS;
        }
        const std::size_t before = body.size();
        body.resize(before + available);
        DWORD read = 0;
        if (!WinHttpReadData(request, body.data() + before, available, &read)) {
            return GetLastError();
        }
        body.resize(before + read);
    }
}

Reply Receive(HINTERNET request) {
    Reply reply;
    reply.code = Code(WinHttpReceiveResponse(request, nullptr));
    if (reply.code != ERROR_SUCCESS) {
        return reply;
    }
    DWORD status = 0;
    DWORD size = sizeof(status);
    reply.code = Code(WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                                          WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX));
    reply.status = static_cast<int>(status);
    if (reply.code == ERROR_SUCCESS) {
        reply.code = ReadBody(request, reply.body);
    }
    return reply;
}

Reply Exchange(HINTERNET request, std::string_view body) {
    Reply reply;
    reply.code = Send(request, body);
    return reply.code == ERROR_SUCCESS ? Receive(request) : reply;
}

DWORD SetReceiveTimeout(HINTERNET handle, DWORD milliseconds) {
    for (const DWORD option : {WINHTTP_OPTION_RECEIVE_TIMEOUT, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT}) {
        if (!WinHttpSetOption(handle, option, &milliseconds, sizeof(milliseconds))) {
            return GetLastError();
        }
    }
    return ERROR_SUCCESS;
}

std::string HeaderOf(HINTERNET request, std::string_view name) {
    WCHAR value[1024];
    DWORD size = sizeof(value);
    if (!WinHttpQueryHeaders(request, WINHTTP_QUERY_CUSTOM, Wide(name).c_str(), value, &size,
                             WINHTTP_NO_HEADER_INDEX)) {
        return {};
    }
    // Header values of the tests are ASCII.
    return {value, value + size / sizeof(WCHAR)};
}

std::string Ok(std::string_view body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

}  // namespace quillmark::test
