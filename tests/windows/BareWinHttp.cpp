#include "BareWinHttp.h"

#include <memory>
#include <stdexcept>

#include "quillmark/Platform.h"

namespace quillmark::test {
namespace {

struct InternetCloser {
    void operator()(void* handle) const { ::WinHttpCloseHandle(handle); }
};
using Internet = std::unique_ptr<void, InternetCloser>;

Internet Must(HINTERNET handle) {
    if (handle == nullptr) {
        throw std::runtime_error("a bare WinHTTP call failed: " + std::to_string(::GetLastError()));
    }
    return Internet(handle);
}

void Must(BOOL done) {
    if (done == FALSE) {
        throw std::runtime_error("a bare WinHTTP call failed: " + std::to_string(::GetLastError()));
    }
}

}  // namespace

std::string Ask(const std::string& url, const std::wstring& verb, const std::wstring& resource, const std::string& body,
                const std::wstring& type) {
    const std::size_t start = url.find("://") + 3;
    const std::size_t colon = url.rfind(':');
    const std::wstring host(url.begin() + static_cast<std::ptrdiff_t>(start),
                            url.begin() + static_cast<std::ptrdiff_t>(colon));
    const auto port = static_cast<INTERNET_PORT>(std::stoul(url.substr(colon + 1)));
    const Internet session = Must(::WinHttpOpen(L"test", WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
    const Internet connection = Must(::WinHttpConnect(session.get(), host.c_str(), port, 0));
    const Internet request =
        Must(::WinHttpOpenRequest(connection.get(), verb.c_str(), resource.c_str(), nullptr, nullptr, nullptr, 0));
    const auto size = static_cast<DWORD>(body.size());
    Must(::WinHttpSendRequest(request.get(), (L"Content-Type: " + type).c_str(), DWORD(-1),
                              const_cast<char*>(body.data()), size, size, 0));
    Must(::WinHttpReceiveResponse(request.get(), nullptr));
    DWORD status = 0;
    DWORD statusSize = sizeof(status);
    Must(::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr, &status,
                               &statusSize, nullptr));
    std::string reply;
    char buffer[4096];
    DWORD got = 0;
    do {
        Must(::WinHttpReadData(request.get(), buffer, sizeof(buffer), &got));
        reply.append(buffer, got);
    } while (got > 0);
    if (status >= 400) {
        throw std::runtime_error("the server says " + std::to_string(status) + ": " + reply);
    }
    return reply;
}

}  // namespace quillmark::test
