// WinHttpQueryHeaders: attributes to header names, values to text, numbers and times.
#include <curl/curl.h>

#include <cstring>
#include <ctime>
#include <limits>
#include <optional>
#include <string>

#include "winhttp/InternetHandle.h"
#include "winhttp/Request.h"
#include "winhttp/Text.h"

using namespace quillmark::platform;
using namespace quillmark::platform::winhttp;

namespace {

constexpr DWORD Modifiers = WINHTTP_QUERY_FLAG_REQUEST_HEADERS | WINHTTP_QUERY_FLAG_SYSTEMTIME |
                            WINHTTP_QUERY_FLAG_NUMBER | WINHTTP_QUERY_FLAG_NUMBER64;

// By attribute; null where the attribute is no header.
constexpr const char* AttributeNames[] = {"Mime-Version",
                                          "Content-Type",
                                          "Content-Transfer-Encoding",
                                          "Content-ID",
                                          "Content-Description",
                                          "Content-Length",
                                          "Content-Language",
                                          "Allow",
                                          "Public",
                                          "Date",
                                          "Expires",
                                          "Last-Modified",
                                          "Message-ID",
                                          "URI",
                                          "Derived-From",
                                          "Cost",
                                          "Link",
                                          "Pragma",
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          "Connection",
                                          "Accept",
                                          "Accept-Charset",
                                          "Accept-Encoding",
                                          "Accept-Language",
                                          "Authorization",
                                          "Content-Encoding",
                                          "Forwarded",
                                          "From",
                                          "If-Modified-Since",
                                          "Location",
                                          "Orig-Uri",
                                          "Referer",
                                          "Retry-After",
                                          "Server",
                                          "Title",
                                          "User-Agent",
                                          "WWW-Authenticate",
                                          "Proxy-Authenticate",
                                          "Accept-Ranges",
                                          "Set-Cookie",
                                          "Cookie",
                                          nullptr,
                                          "Refresh",
                                          "Content-Disposition",
                                          "Age",
                                          "Cache-Control",
                                          "Content-Base",
                                          "Content-Location",
                                          "Content-MD5",
                                          "Content-Range",
                                          "ETag",
                                          "Host",
                                          "If-Match",
                                          "If-None-Match",
                                          "If-Range",
                                          "If-Unmodified-Since",
                                          "Max-Forwards",
                                          "Proxy-Authorization",
                                          "Range",
                                          "Transfer-Encoding",
                                          "Upgrade",
                                          "Vary",
                                          "Via",
                                          "Warning",
                                          "Expect",
                                          "Proxy-Connection",
                                          "Unless-Modified-Since",
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          nullptr,
                                          "Proxy-Support",
                                          "Authentication-Info",
                                          "PassportURLs",
                                          "PassportConfig"};
static_assert(std::size(AttributeNames) == WINHTTP_QUERY_MAX + 1);

const std::string* FieldAt(const std::vector<HeaderField>& fields, std::string_view name, DWORD index) {
    for (const HeaderField& field : fields) {
        if (EqualsIgnoringCase(field.name, name) && index-- == 0) {
            return &field.value;
        }
    }
    return nullptr;
}

// All lines with a separator after each. With CRLF the blank line at the end is part of it; with zeros the second zero
// is the terminator that every text gets.
std::string RawHeaders(const std::string& firstLine, const std::vector<HeaderField>& fields,
                       std::string_view separator) {
    std::string raw = firstLine;
    raw += separator;
    for (const HeaderField& field : fields) {
        raw += field.name + ": " + field.value;
        raw += separator;
    }
    if (separator == "\r\n") {
        raw += separator;
    }
    return raw;
}

// What is asked for, as text; a code when there is none.
DWORD ValueText(const Request& request, DWORD attribute, bool ofRequest, LPCWSTR name, DWORD index,
                std::string& value) {
    const ReplyHead* head = request.Head();
    if (!ofRequest && head == nullptr) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    const std::vector<HeaderField>& fields = ofRequest ? request.Headers().Fields() : head->Fields();
    switch (attribute) {
        case WINHTTP_QUERY_VERSION:
            value = ofRequest ? "HTTP/1.1" : head->Version();
            return ERROR_SUCCESS;
        case WINHTTP_QUERY_STATUS_CODE:
        case WINHTTP_QUERY_STATUS_TEXT:
            if (ofRequest) {
                return ERROR_WINHTTP_INVALID_QUERY_REQUEST;
            }
            value = attribute == WINHTTP_QUERY_STATUS_TEXT ? head->StatusText() : std::to_string(head->Status());
            return ERROR_SUCCESS;
        case WINHTTP_QUERY_REQUEST_METHOD:
            value = request.Verb();
            return ERROR_SUCCESS;
        case WINHTTP_QUERY_RAW_HEADERS:
        case WINHTTP_QUERY_RAW_HEADERS_CRLF: {
            const std::string_view separator =
                attribute == WINHTTP_QUERY_RAW_HEADERS ? std::string_view("\0", 1) : std::string_view("\r\n");
            value =
                RawHeaders(ofRequest ? request.Verb() + " " + request.Url() : head->StatusLine(), fields, separator);
            return ERROR_SUCCESS;
        }
        default:
            break;
    }
    const bool custom = attribute == WINHTTP_QUERY_CUSTOM;
    if (custom ? TextOf(name).empty() : attribute > WINHTTP_QUERY_MAX || AttributeNames[attribute] == nullptr) {
        return custom ? ERROR_INVALID_PARAMETER : ERROR_WINHTTP_INVALID_QUERY_REQUEST;
    }
    const std::string* found =
        FieldAt(fields, custom ? Narrow(TextOf(name)) : std::string(AttributeNames[attribute]), index);
    if (found == nullptr) {
        return ERROR_WINHTTP_HEADER_NOT_FOUND;
    }
    value = *found;
    return ERROR_SUCCESS;
}

// Copies a value of that many bytes when there is room, and tells its size either way. Texts bring their zero, which
// counts for the room and not for the size.
DWORD Deliver(const void* value, std::size_t size, std::size_t terminator, LPVOID buffer, DWORD& length) {
    if (size + terminator > std::numeric_limits<DWORD>::max()) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (buffer == nullptr || length < size + terminator) {
        length = static_cast<DWORD>(size + terminator);
        return ERROR_INSUFFICIENT_BUFFER;
    }
    std::memcpy(buffer, value, size + terminator);
    length = static_cast<DWORD>(size);
    return ERROR_SUCCESS;
}

std::optional<SYSTEMTIME> ParseTime(const std::string& text) {
    const std::time_t time = curl_getdate(text.c_str(), nullptr);
    std::tm fields{};
    if (time == -1 || gmtime_r(&time, &fields) == nullptr) {
        return std::nullopt;
    }
    return SYSTEMTIME{static_cast<WORD>(fields.tm_year + 1900), static_cast<WORD>(fields.tm_mon + 1),
                      static_cast<WORD>(fields.tm_wday),        static_cast<WORD>(fields.tm_mday),
                      static_cast<WORD>(fields.tm_hour),        static_cast<WORD>(fields.tm_min),
                      static_cast<WORD>(fields.tm_sec),         0};
}

DWORD DeliverAs(DWORD modifiers, const std::string& value, LPVOID buffer, DWORD& length) {
    if ((modifiers & WINHTTP_QUERY_FLAG_SYSTEMTIME) != 0) {
        const auto time = ParseTime(value);
        return time ? Deliver(&*time, sizeof(*time), 0, buffer, length) : ERROR_WINHTTP_INVALID_HEADER;
    }
    if ((modifiers & (WINHTTP_QUERY_FLAG_NUMBER | WINHTTP_QUERY_FLAG_NUMBER64)) != 0) {
        std::uint64_t wide = 0;
        const bool is64 = (modifiers & WINHTTP_QUERY_FLAG_NUMBER64) != 0;
        if (!ParseNumber(value, wide) || (!is64 && wide > std::numeric_limits<DWORD>::max())) {
            return ERROR_WINHTTP_INVALID_HEADER;
        }
        const DWORD narrow = static_cast<DWORD>(wide);
        return is64 ? Deliver(&wide, sizeof(wide), 0, buffer, length)
                    : Deliver(&narrow, sizeof(narrow), 0, buffer, length);
    }
    const std::u16string text = Widen(value);
    return Deliver(text.c_str(), text.size() * sizeof(WCHAR), sizeof(WCHAR), buffer, length);
}

}  // namespace

BOOL WINAPI WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer, LPDWORD bufferLength,
                                LPDWORD index) {
    return Finish([&]() -> DWORD {
        DWORD code = ERROR_SUCCESS;
        const auto object = Find<Request>(request, code);
        if (object == nullptr) {
            return code;
        }
        if (bufferLength == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        std::string value;
        code = ValueText(*object, infoLevel & ~Modifiers, (infoLevel & WINHTTP_QUERY_FLAG_REQUEST_HEADERS) != 0, name,
                         index == nullptr ? 0 : *index, value);
        if (code == ERROR_SUCCESS) {
            code = DeliverAs(infoLevel, value, buffer, *bufferLength);
        }
        if (code == ERROR_SUCCESS && index != nullptr) {
            ++*index;
        }
        return code;
    });
}
