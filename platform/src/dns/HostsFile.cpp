#include "dns/HostsFile.h"

#include <arpa/inet.h>

#include <array>
#include <fstream>
#include <sstream>

namespace quillmark::platform {
namespace {

bool NamesHost(std::istringstream& names, const std::string& wanted) {
    for (std::string name; names >> name;) {
        if (AreSameName(name, wanted)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<std::string> ParseAddress(const std::string& text, WORD type) {
    std::array<char, 16> bytes{};
    const bool isShort = type == DNS_TYPE_A;
    if (inet_pton(isShort ? AF_INET : AF_INET6, text.c_str(), bytes.data()) != 1) {
        return std::nullopt;
    }
    return std::string(bytes.data(), isShort ? 4 : 16);
}

std::optional<Answer> FindInHostsFile(const std::string& path, const std::string& name, WORD type) {
    Answer answer;
    bool isKnown = false;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        std::istringstream line(text.substr(0, text.find('#')));
        std::string address;
        if (!(line >> address) || !NamesHost(line, name)) {
            continue;
        }
        isKnown = true;
        if (auto bytes = ParseAddress(address, type)) {
            answer.records.push_back({.name = name, .type = type, .ttl = 0, .data = std::move(*bytes)});
        }
    }
    if (!isKnown) {
        return std::nullopt;
    }
    answer.status = answer.records.empty() ? DNS_INFO_NO_RECORDS : 0;
    return answer;
}

}  // namespace quillmark::platform
