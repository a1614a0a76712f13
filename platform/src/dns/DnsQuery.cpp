#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "dns/Resolver.h"
#include "quillmark/platform/Dns.h"
#include "quillmark/platform/Text.h"

using namespace quillmark::platform;

namespace {

constexpr const char* ResolverPath = "/etc/resolv.conf";
constexpr const char* HostsPath = "/etc/hosts";

// No longer name is valid, whatever it says.
constexpr std::size_t LongestName = 1024;

// Nothing when the text is no UTF-16, empty, or too long for a name.
std::optional<std::string> Utf8Of(std::u16string_view text) {
    std::string result(3 * std::min(text.size(), LongestName), '\0');
    const int size =
        text.empty() || text.size() > LongestName
            ? 0
            : WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                                  result.data(), static_cast<int>(result.size()), nullptr, nullptr);
    if (size == 0) {
        return std::nullopt;
    }
    result.resize(static_cast<std::size_t>(size));
    return result;
}

std::u16string WideOf(const std::string& text) {
    std::u16string result(text.size(), u'\0');
    if (!text.empty()) {
        const auto size = static_cast<int>(text.size());
        result.resize(
            static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(), size)));
    }
    return result;
}

// A record and its texts in one block, so that freeing it needs to know nothing about its type.
DNS_RECORDW* NewRecord(const AnswerRecord& source) {
    const std::u16string name = WideOf(source.name);
    const std::u16string host = source.type == DNS_TYPE_CNAME ? WideOf(source.data) : std::u16string();
    void* block = ::operator new(sizeof(DNS_RECORDW) + (name.size() + 1 + host.size() + 1) * sizeof(WCHAR));
    auto* record = new (block) DNS_RECORDW{};
    auto* text = reinterpret_cast<WCHAR*>(record + 1);
    record->pName = text;
    std::memcpy(text, name.c_str(), (name.size() + 1) * sizeof(WCHAR));
    record->wType = source.type;
    record->Flags.S.Section = DnsSectionAnswer;
    record->Flags.S.CharSet = DnsCharSetUnicode;
    record->dwTtl = source.ttl;
    if (source.type == DNS_TYPE_CNAME) {
        record->wDataLength = sizeof(DNS_PTR_DATAW);
        record->Data.CNAME.pNameHost = text + name.size() + 1;
        std::memcpy(record->Data.CNAME.pNameHost, host.c_str(), (host.size() + 1) * sizeof(WCHAR));
    } else {
        record->wDataLength = static_cast<WORD>(source.data.size());
        std::memcpy(&record->Data, source.data.data(), source.data.size());
    }
    return record;
}

DNS_RECORDW* NewList(const std::vector<AnswerRecord>& records) {
    DNS_RECORDW* first = nullptr;
    DNS_RECORDW** end = &first;
    try {
        for (const AnswerRecord& record : records) {
            *end = NewRecord(record);
            end = &(*end)->pNext;
        }
    } catch (...) {
        DnsFree(first, DnsFreeRecordList);
        throw;
    }
    return first;
}

DNS_STATUS Query(PCWSTR wideName, WORD type, DWORD options, PDNS_RECORD* results) {
    const auto name = Utf8Of(wideName);
    if (!name) {
        return DNS_ERROR_INVALID_NAME;
    }
    const Resolver resolver(ReadResolverConfiguration(ResolverPath, HostsPath));
    const Answer answer = resolver.Query(*name, type, options);
    if (answer.status == 0) {
        *results = NewList(answer.records);
    }
    return answer.status;
}

}  // namespace

DNS_STATUS WINAPI DnsQuery_W(PCWSTR pszName, WORD wType, DWORD Options, PVOID pExtra, PDNS_RECORD* ppQueryResults,
                             PVOID* pReserved) {
    if (ppQueryResults == nullptr) {
        return static_cast<DNS_STATUS>(ERROR_INVALID_PARAMETER);
    }
    *ppQueryResults = nullptr;
    if (pExtra != nullptr || pReserved != nullptr) {
        return static_cast<DNS_STATUS>(ERROR_INVALID_PARAMETER);
    }
    if (pszName == nullptr) {
        return DNS_ERROR_INVALID_NAME;
    }
    if (wType != DNS_TYPE_A && wType != DNS_TYPE_AAAA) {
        return static_cast<DNS_STATUS>(ERROR_NOT_SUPPORTED);
    }
    try {
        return Query(pszName, wType, Options, ppQueryResults);
    } catch (const std::bad_alloc&) {
        return DNS_ERROR_NO_MEMORY;
    }
}

void WINAPI DnsFree(PVOID pData, DNS_FREE_TYPE FreeType) {
    if (FreeType == DnsFreeFlat) {
        ::operator delete(pData);
        return;
    }
    for (auto* record = static_cast<DNS_RECORDW*>(pData); record != nullptr;) {
        ::operator delete(std::exchange(record, record->pNext));
    }
}
