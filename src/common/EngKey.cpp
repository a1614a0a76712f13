#include "common/EngKey.h"

#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "common/Log.h"
#include "common/ModuleState.h"

namespace quillmark {
namespace {

constexpr const WideChar* PolicyKey = QM_W("Software\\Policies\\Brevant\\Quillmark");
constexpr const WideChar* SettingsKey = QM_W("Software\\Brevant\\Quillmark");

struct Candidate {
    HKEY root;
    WideString subKey;
    WideString name;  // as messages show it
};

Candidate UserCandidate(const WideString& user, const WideChar* subKey) {
    if (user.empty()) {
        return {HKEY_CURRENT_USER, subKey, WideString(QM_W("HKEY_CURRENT_USER\\")) + subKey};
    }
    const WideString ofUser = user + QM_W("\\") + subKey;
    return {HKEY_USERS, ofUser, QM_W("HKEY_USERS\\") + ofUser};
}

Candidate MachineCandidate(const WideChar* subKey) {
    return {HKEY_LOCAL_MACHINE, subKey, WideString(QM_W("HKEY_LOCAL_MACHINE\\")) + subKey};
}

// A key that is open for the life of the object.
class OpenKey {
public:
    explicit OpenKey(HKEY key) noexcept : m_key(key) {}
    ~OpenKey() { Registry()->RegCloseKey(m_key); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    [[nodiscard]] HKEY Get() const noexcept { return m_key; }

private:
    HKEY m_key;
};

// One search through the candidates, which reports each kind of trouble once.
class ValueSearch {
public:
    explicit ValueSearch(const WideString& valueName) : m_valueName(valueName) {}

    std::optional<std::vector<BYTE>> LookIn(const Candidate& candidate) {
        HKEY opened{};
        const LSTATUS error =
            Registry()->RegOpenKeyExW(candidate.root, candidate.subKey.c_str(), 0, KEY_QUERY_VALUE, &opened);
        if (error != 0) {
            if (error != static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND) && FirstTime(m_openReported)) {
                m_log.Error("Error %d opening key %S - continuing", error, candidate.name);
            }
            return std::nullopt;
        }
        const OpenKey key(opened);
        DWORD size = 0;
        if (!IsUsable(key, candidate.name, size)) {
            return std::nullopt;
        }
        return ReadData(key, candidate.name, size);
    }

private:
    static bool FirstTime(bool& reported) noexcept { return !std::exchange(reported, true); }

    bool IsUsable(const OpenKey& key, const WideString& keyName, DWORD& size) {
        DWORD type = 0;
        const LSTATUS error =
            Registry()->RegQueryValueExW(key.Get(), m_valueName.c_str(), nullptr, &type, nullptr, &size);
        if (error == static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND)) {
            return false;
        }
        if (error != 0) {
            if (FirstTime(m_queryReported)) {
                m_log.Error("Unexpected QueryValueEx error for %S\\%S: %d", keyName, m_valueName, error);
            }
            return false;
        }
        if (type != REG_DWORD && FirstTime(m_typeReported)) {
            m_log.Error("Registry value %S\\%S not of expected type", keyName, m_valueName);
        }
        return type == REG_DWORD;
    }

    std::optional<std::vector<BYTE>> ReadData(const OpenKey& key, const WideString& keyName, DWORD size) {
        auto error = static_cast<LSTATUS>(ERROR_NOT_ENOUGH_MEMORY);
        try {
            std::vector<BYTE> data(size);
            error = Registry()->RegQueryValueExW(key.Get(), m_valueName.c_str(), nullptr, nullptr, data.data(), &size);
            if (error == 0) {
                data.resize(size);  // less, when the value has changed in between
                return data;
            }
        } catch (const std::bad_alloc&) {
            // Reported below like any other failure to get the data.
        }
        if (FirstTime(m_dataReported)) {
            m_log.Error("Failed to get data for registry value %S\\%S, error %d", keyName, m_valueName, error);
        }
        return std::nullopt;
    }

    static constexpr Logger m_log{"EngKey::GetValueData", LogSource::EngKey};
    const WideString& m_valueName;
    bool m_openReported = false;
    bool m_queryReported = false;
    bool m_typeReported = false;
    bool m_dataReported = false;
};

}  // namespace

std::optional<std::vector<BYTE>> EngKey::GetValueData(const WideString& valueName, const WideString& user) {
    const std::array<Candidate, 4> candidates{UserCandidate(user, PolicyKey), MachineCandidate(PolicyKey),
                                              UserCandidate(user, SettingsKey), MachineCandidate(SettingsKey)};
    ValueSearch search(valueName);
    for (const Candidate& candidate : candidates) {
        if (auto data = search.LookIn(candidate)) {
            return data;
        }
    }
    return std::nullopt;
}

DWORD ReadSetting(const WideString& valueName, DWORD defaultValue) {
    const auto data = EngKey::GetValueData(valueName);
    DWORD value = defaultValue;
    if (data && data->size() >= sizeof(value)) {
        std::memcpy(&value, data->data(), sizeof(value));
    }
    return value;
}

}  // namespace quillmark
