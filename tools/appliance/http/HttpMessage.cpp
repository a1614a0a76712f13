#include "http/HttpMessage.h"

#include <algorithm>
#include <array>

#include "http/Uri.h"

namespace appliance {

namespace {

struct Reason {
    unsigned status;
    std::string_view text;
};

constexpr std::array Reasons{
    Reason{200, "OK"},
    Reason{201, "Created"},
    Reason{204, "No Content"},
    Reason{301, "Moved Permanently"},
    Reason{302, "Found"},
    Reason{307, "Temporary Redirect"},
    Reason{400, "Bad Request"},
    Reason{401, "Unauthorized"},
    Reason{403, "Forbidden"},
    Reason{404, "Not Found"},
    Reason{405, "Method Not Allowed"},
    Reason{408, "Request Timeout"},
    Reason{409, "Conflict"},
    Reason{411, "Length Required"},
    Reason{413, "Content Too Large"},
    Reason{415, "Unsupported Media Type"},
    Reason{423, "Locked"},
    Reason{429, "Too Many Requests"},
    Reason{431, "Request Header Fields Too Large"},
    Reason{500, "Internal Server Error"},
    Reason{502, "Bad Gateway"},
    Reason{503, "Service Unavailable"},
    Reason{504, "Gateway Timeout"},
    Reason{507, "Insufficient Storage"},
};

// Takes the value that starts `text` off it: a quoted string, or everything up to the next ";".
std::string TakeParameterValue(std::string_view& text) {
    std::string value;
    if (!text.starts_with('"')) {
        const std::size_t end = std::min(text.find(';'), text.size());
        value = Trimmed(text.substr(0, end));
        text.remove_prefix(end);
        return value;
    }
    std::size_t at = 1;
    for (; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size()) {
            ++at;
        }
        value += text[at];
    }
    text.remove_prefix(std::min(at + 1, text.size()));
    return value;
}

}  // namespace

std::string_view Request::Header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (EqualsIgnoringCase(key, name)) {
            return value;
        }
    }
    return {};
}

std::string_view Request::Cookie(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (!EqualsIgnoringCase(key, "Cookie")) {
            continue;
        }
        std::string_view rest = value;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(';'), rest.size());
            const std::string_view pair = Trimmed(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (pair.size() > name.size() && pair.starts_with(name) && pair[name.size()] == '=') {
                return pair.substr(name.size() + 1);
            }
        }
    }
    return {};
}

bool Request::Accepts(std::string_view mediaType) const {
    for (const auto& [key, value] : headers) {
        if (!EqualsIgnoringCase(key, "Accept")) {
            continue;
        }
        std::string_view rest = value;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(','), rest.size());
            const std::string_view range = rest.substr(0, end);
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (EqualsIgnoringCase(Trimmed(range.substr(0, range.find(';'))), mediaType)) {
                return true;
            }
        }
    }
    return false;
}

std::string_view ReasonOf(unsigned status) {
    const auto found =
        std::find_if(Reasons.begin(), Reasons.end(), [&](const Reason& r) { return r.status == status; });
    return found == Reasons.end() ? "Unknown" : found->text;
}

std::optional<std::string> HeaderParameter(std::string_view value, std::string_view parameter) {
    std::size_t semicolon = value.find(';');
    while (semicolon != std::string_view::npos) {
        value.remove_prefix(semicolon + 1);
        const std::size_t equals = value.find('=');
        if (equals == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view name = Trimmed(value.substr(0, equals));
        value.remove_prefix(equals + 1);
        std::string text = TakeParameterValue(value);
        if (EqualsIgnoringCase(name, parameter)) {
            return text;
        }
        semicolon = value.find(';');
    }
    return std::nullopt;
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace appliance
