#include "account/Probe.h"

#include "quillmark/Attributes.h"

namespace quillmark::cli {
namespace {

constexpr std::size_t LongestList = 64 * 1024;
constexpr std::int64_t TicksPerSecond = 10'000'000;

// The end of the string that begins at this quotation mark: the place of its closing one.
std::size_t EndOfString(const std::string& json, std::size_t start) {
    for (std::size_t index = start + 1; index < json.size(); ++index) {
        if (json[index] == '\\') {
            ++index;
        } else if (json[index] == '"') {
            return index;
        }
    }
    return json.size();
}

std::optional<std::int64_t> TimeOfReply(HINTERNET request) {
    SYSTEMTIME date = {};
    DWORD size = sizeof date;
    FILETIME time = {};
    if (::WinHttpQueryHeaders(request, WINHTTP_QUERY_DATE | WINHTTP_QUERY_FLAG_SYSTEMTIME, WINHTTP_HEADER_NAME_BY_INDEX,
                              &date, &size, WINHTTP_NO_HEADER_INDEX) == FALSE ||
        SystemTimeToFileTime(&date, &time) == FALSE) {
        return std::nullopt;
    }
    return CAttributeTime::FromFileTime(time).Ticks();
}

std::optional<CAttributeTime> CertificateEndOf(HINTERNET request) {
    WINHTTP_CERTIFICATE_INFO certificate = {};
    DWORD size = sizeof certificate;
    if (::WinHttpQueryOption(request, WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT, &certificate, &size) == FALSE) {
        return std::nullopt;
    }
    ::LocalFree(certificate.lpszSubjectInfo);
    ::LocalFree(certificate.lpszIssuerInfo);
    return CAttributeTime::FromFileTime(certificate.ftExpiry);
}

}  // namespace

std::vector<std::string> MemberNames(const std::string& json, const std::string& name) {
    std::vector<std::string> names;
    const std::size_t found = json.find("\"" + name + "\"");
    const std::size_t start =
        found == std::string::npos ? found : json.find_first_not_of(" \t\r\n:", found + name.size() + 2);
    if (start == std::string::npos || json[start] != '{') {
        return names;
    }
    int depth = 0;
    for (std::size_t index = start; index < json.size(); ++index) {
        depth += json[index] == '{' ? 1 : json[index] == '}' ? -1 : 0;
        if (depth == 0) {
            return names;
        }
        if (json[index] == '"') {
            const std::size_t end = EndOfString(json, index);
            const std::size_t next = json.find_first_not_of(" \t\r\n", end + 1);
            if (depth == 1 && next != std::string::npos && json[next] == ':') {
                names.push_back(json.substr(index + 1, end - index - 1));
            }
            index = end;
        }
    }
    return {};  // it ends too early
}

HINTERNET ProbeWinHttp::WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version,
                                           LPCWSTR referrer, LPCWSTR* acceptTypes, DWORD flags) {
    HINTERNET request =
        TraceWinHttp::WinHttpOpenRequest(connection, verb, objectName, version, referrer, acceptTypes, flags);
    const std::string path = objectName == nullptr ? std::string() : NarrowUtf8(WideString(objectName));
    constexpr std::string_view Init = "/init";
    if (path == "/endpoints") {
        m_list = request;
    } else if (path.ends_with(Init)) {
        m_apiPath = path.substr(0, path.size() - Init.size());
    }
    return request;
}

BOOL ProbeWinHttp::WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
    const BOOL result = TraceWinHttp::WinHttpReceiveResponse(request, reserved);
    if (result != FALSE) {
        m_answered = true;
        m_certificateEnd = CertificateEndOf(request);
        if (const std::optional<std::int64_t> time = TimeOfReply(request)) {
            m_clockAhead = (*time - CAttributeTime::Now().Ticks()) / TicksPerSecond;
        }
    }
    return result;
}

BOOL ProbeWinHttp::WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead) {
    const BOOL result = TraceWinHttp::WinHttpReadData(request, buffer, bytesToRead, bytesRead);
    if (result != FALSE && request == m_list && bytesRead != nullptr && m_endpoints.size() < LongestList) {
        m_endpoints.append(static_cast<const char*>(buffer), *bytesRead);
    }
    return result;
}

}  // namespace quillmark::cli
