// What 'quillmark doctor' learns from the wire beside the library's answers: the list of endpoints as the server sends
// it, the path that the library chose, the server's certificate and clock.
#pragma once

#include <optional>

#include "Trace.h"
#include "quillmark/AttributeTime.h"

namespace quillmark::cli {

// The names of an object's members, where the object is the first value in the JSON text that stands behind that name:
// {"sync": {"1.0": {...}, "1.7": {...}}} has "1.0" and "1.7" behind sync. Empty when the text is something else.
[[nodiscard]] std::vector<std::string> MemberNames(const std::string& json, const std::string& name);

class ProbeWinHttp : public TraceWinHttp {
public:
    using TraceWinHttp::TraceWinHttp;

    HINTERNET WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                 LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) override;
    BOOL WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) override;
    BOOL WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) override;

    // Whether any reply has come.
    [[nodiscard]] bool Answered() const { return m_answered; }
    // The body of the list of endpoints.
    [[nodiscard]] const std::string& Endpoints() const { return m_endpoints; }
    // The API path that was chosen, "/api/1.7"; empty before that.
    [[nodiscard]] const std::string& ApiPath() const { return m_apiPath; }
    // Until when the server's certificate is good; nothing for a connection without one.
    [[nodiscard]] std::optional<CAttributeTime> CertificateEnd() const { return m_certificateEnd; }
    // How far the server's clock is ahead of this computer's, in seconds, when its reply told the time.
    [[nodiscard]] std::optional<std::int64_t> ClockAhead() const { return m_clockAhead; }

private:
    bool m_answered = false;
    HINTERNET m_list = nullptr;
    std::string m_endpoints;
    std::string m_apiPath;
    std::optional<CAttributeTime> m_certificateEnd;
    std::optional<std::int64_t> m_clockAhead;
};

}  // namespace quillmark::cli
