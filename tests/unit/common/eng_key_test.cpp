#include "common/EngKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/ModuleState.h"
#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::LogRecord;
using fakes::RecordedLog;

using Data = std::vector<BYTE>;

Data DwordData(DWORD value) {
    Data data(sizeof(value));
    std::memcpy(data.data(), &value, sizeof(value));
    return data;
}

// A registry of a few values, which can be told to fail, and which notes the calls.
class ScriptedRegistry : public RegistryInterface {
public:
    struct Value {
        DWORD type = REG_DWORD;
        Data data;
        LSTATUS queryError = 0;  // of the question for type and size
        LSTATUS dataError = 0;   // of the question for the data
        DWORD reportedSize = 0;  // instead of the data's own, when not 0
    };

    LSTATUS RegOpenKeyExW(HKEY root, LPCWSTR subKey, DWORD options, REGSAM access, HKEY* result) override {
        EXPECT_EQ(options, 0u);
        EXPECT_EQ(access, static_cast<REGSAM>(KEY_QUERY_VALUE));
        const std::string path = RootName(root) + "\\" + NarrowUtf8(subKey);
        m_calls.push_back("open " + path);
        if (const auto error = m_openErrors.find(path); error != m_openErrors.end()) {
            return error->second;
        }
        if (!m_values.contains(path)) {
            return static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND);
        }
        m_keys.push_back(path);
        *result = reinterpret_cast<HKEY>(m_keys.size());
        m_open.insert(*result);
        return 0;
    }

    LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                             LPDWORD dataSize) override {
        EXPECT_EQ(reserved, nullptr);
        EXPECT_TRUE(m_open.contains(key));
        const std::string& path = m_keys[reinterpret_cast<std::uintptr_t>(key) - 1];
        m_calls.push_back((data == nullptr ? "ask " : "get ") + NarrowUtf8(name));
        const auto& values = m_values[path];
        const auto found = values.find(NarrowUtf8(name));
        if (found == values.end()) {
            return static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND);
        }
        const Value& value = found->second;
        if (data == nullptr) {
            *type = value.type;
            *dataSize = value.reportedSize != 0 ? value.reportedSize : static_cast<DWORD>(value.data.size());
            return value.queryError;
        }
        if (value.dataError == 0) {
            std::memcpy(data, value.data.data(), value.data.size());
            *dataSize = static_cast<DWORD>(value.data.size());
        }
        return value.dataError;
    }

    LSTATUS RegCloseKey(HKEY key) override {
        EXPECT_EQ(m_open.erase(key), 1u);
        m_calls.emplace_back("close");
        return 0;
    }

    std::map<std::string, std::map<std::string, Value>> m_values;
    std::map<std::string, LSTATUS> m_openErrors;
    std::vector<std::string> m_calls;
    std::set<HKEY> m_open;

private:
    static std::string RootName(HKEY root) {
        return root == HKEY_CURRENT_USER    ? "HKEY_CURRENT_USER"
               : root == HKEY_LOCAL_MACHINE ? "HKEY_LOCAL_MACHINE"
               : root == HKEY_USERS         ? "HKEY_USERS"
                                            : "another root";
    }

    std::vector<std::string> m_keys;
};

constexpr const char* UserPolicy = "HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark";
constexpr const char* MachinePolicy = "HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark";
constexpr const char* UserSettings = "HKEY_CURRENT_USER\\Software\\Brevant\\Quillmark";
constexpr const char* MachineSettings = "HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark";

class EngKeyTest : public ::testing::Test {
protected:
    void SetUp() override {
        const auto services = std::make_shared<Services::ServicesCollection>();
        services->registry = m_registry;
        InstallServices(services);
    }
    void TearDown() override {
        InstallServices(nullptr);
        EXPECT_TRUE(m_registry->m_open.empty());
    }

    void Put(const char* key, DWORD value) { m_registry->m_values[key]["Limit"] = {.data = DwordData(value)}; }
    void Put(const char* key, const ScriptedRegistry::Value& value) { m_registry->m_values[key]["Limit"] = value; }
    static DWORD Read() { return ReadSetting(QM_W("Limit"), 99); }

    void ExpectOnlyError(const RecordedLog& log, const std::string& text) {
        const std::vector<LogRecord> records = log.Records();
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].descriptor.id, 103);
        EXPECT_EQ(records[0].source, "EngKey");
        EXPECT_EQ(records[0].function, "EngKey::GetValueData");
        EXPECT_EQ(records[0].text, text);
    }

    std::shared_ptr<ScriptedRegistry> m_registry = std::make_shared<ScriptedRegistry>();
};

TEST_F(EngKeyTest, SearchesPolicyKeysBeforeSettingsAndTheUserBeforeTheMachine) {
    const RecordedLog log;
    EXPECT_EQ(Read(), 99u);
    EXPECT_EQ(m_registry->m_calls,
              (std::vector<std::string>{"open HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark",
                                        "open HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark",
                                        "open HKEY_CURRENT_USER\\Software\\Brevant\\Quillmark",
                                        "open HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark"}));
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(EngKeyTest, TakesTheFirstKeyThatHasTheValue) {
    DWORD value = 4;
    for (const char* key : {MachineSettings, UserSettings, MachinePolicy, UserPolicy}) {
        Put(key, value);
        EXPECT_EQ(Read(), value) << key;
        --value;
    }
}

TEST_F(EngKeyTest, PrefersAPolicyOfTheMachineToASettingOfTheUser) {
    Put(MachinePolicy, 1);
    Put(UserSettings, 2);
    EXPECT_EQ(Read(), 1u);
}

TEST_F(EngKeyTest, StopsAtTheFirstHit) {
    Put(UserPolicy, 5);
    Put(MachinePolicy, 6);
    EXPECT_EQ(Read(), 5u);
    EXPECT_EQ(m_registry->m_calls,
              (std::vector<std::string>{"open HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark", "ask Limit",
                                        "get Limit", "close"}));
}

TEST_F(EngKeyTest, PassesSilentlyOverKeysWithoutTheValue) {
    const RecordedLog log;
    m_registry->m_values[UserPolicy];
    m_registry->m_values[MachinePolicy]["Other"] = {.data = DwordData(7)};
    Put(MachineSettings, 8);
    EXPECT_EQ(Read(), 8u);
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(EngKeyTest, ReadsTheUsersKeysUnderAGivenUser) {
    m_registry->m_values["HKEY_USERS\\S-1-5-21\\Software\\Brevant\\Quillmark"]["Limit"] = {.data = DwordData(3)};
    const auto data = EngKey::GetValueData(QM_W("Limit"), QM_W("S-1-5-21"));
    EXPECT_EQ(data, DwordData(3));
    EXPECT_EQ(m_registry->m_calls,
              (std::vector<std::string>{"open HKEY_USERS\\S-1-5-21\\Software\\Policies\\Brevant\\Quillmark",
                                        "open HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark",
                                        "open HKEY_USERS\\S-1-5-21\\Software\\Brevant\\Quillmark", "ask Limit",
                                        "get Limit", "close"}));
}

TEST_F(EngKeyTest, NamesTheUsersKeyInMessages) {
    const RecordedLog log;
    m_registry->m_openErrors["HKEY_USERS\\S-1-5-21\\Software\\Policies\\Brevant\\Quillmark"] = 5;
    EXPECT_EQ(EngKey::GetValueData(QM_W("Limit"), QM_W("S-1-5-21")), std::nullopt);
    ExpectOnlyError(log,
                    "Error 5 opening key HKEY_USERS\\S-1-5-21\\Software\\Policies\\Brevant\\Quillmark - continuing");
}

TEST_F(EngKeyTest, LogsTheFirstKeyThatCannotBeOpenedAndGoesOn) {
    const RecordedLog log;
    m_registry->m_openErrors[UserPolicy] = 5;
    m_registry->m_openErrors[MachinePolicy] = 1018;
    Put(UserSettings, 11);
    EXPECT_EQ(Read(), 11u);
    ExpectOnlyError(log, "Error 5 opening key HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark - continuing");
}

TEST_F(EngKeyTest, LogsTheFirstValueThatCannotBeAskedForAndGoesOn) {
    const RecordedLog log;
    Put(MachinePolicy, {.data = DwordData(1), .queryError = 1450});
    Put(UserSettings, {.data = DwordData(1), .queryError = 5});
    Put(MachineSettings, 12);
    EXPECT_EQ(Read(), 12u);
    ExpectOnlyError(log,
                    "Unexpected QueryValueEx error for "
                    "HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark\\Limit: 1450");
}

TEST_F(EngKeyTest, LogsTheFirstValueOfAnotherTypeAndGoesOn) {
    const RecordedLog log;
    Put(UserPolicy, {.type = REG_SZ, .data = {'5', 0, 0, 0}});
    Put(MachinePolicy, {.type = REG_SZ, .data = {'6', 0, 0, 0}});
    Put(MachineSettings, 13);
    EXPECT_EQ(Read(), 13u);
    ExpectOnlyError(log,
                    "Registry value HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark\\Limit not of expected "
                    "type");
}

TEST_F(EngKeyTest, LogsTheFirstValueWhoseDataCannotBeReadAndGoesOn) {
    const RecordedLog log;
    Put(UserPolicy, {.data = DwordData(1), .dataError = 234});
    Put(MachinePolicy, {.data = DwordData(1), .dataError = 5});
    Put(UserSettings, 14);
    EXPECT_EQ(Read(), 14u);
    ExpectOnlyError(log,
                    "Failed to get data for registry value "
                    "HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark\\Limit, error 234");
}

TEST_F(EngKeyTest, ReportsEachKindOfTroubleAnewInTheNextCall) {
    const RecordedLog log;
    m_registry->m_openErrors[UserPolicy] = 5;
    EXPECT_EQ(Read(), 99u);
    EXPECT_EQ(Read(), 99u);
    EXPECT_EQ(log.Texts(103).size(), 2u);
}

TEST_F(EngKeyTest, ReportsDifferentKindsOfTroubleInOneCall) {
    const RecordedLog log;
    m_registry->m_openErrors[UserPolicy] = 5;
    Put(MachinePolicy, {.data = DwordData(1), .queryError = 6});
    Put(UserSettings, {.type = REG_SZ, .data = {0, 0}});
    Put(MachineSettings, {.data = DwordData(1), .dataError = 8});
    EXPECT_EQ(Read(), 99u);
    EXPECT_EQ(log.Texts(103),
              (std::vector<std::string>{
                  "Error 5 opening key HKEY_CURRENT_USER\\Software\\Policies\\Brevant\\Quillmark - continuing",
                  "Unexpected QueryValueEx error for "
                  "HKEY_LOCAL_MACHINE\\Software\\Policies\\Brevant\\Quillmark\\Limit: 6",
                  "Registry value HKEY_CURRENT_USER\\Software\\Brevant\\Quillmark\\Limit not of expected type",
                  "Failed to get data for registry value "
                  "HKEY_LOCAL_MACHINE\\Software\\Brevant\\Quillmark\\Limit, error 8"}));
}

TEST_F(EngKeyTest, ClosesTheKeyOnEveryPath) {
    Put(UserPolicy, {.data = DwordData(1), .queryError = 6});
    Put(MachinePolicy, {.type = REG_SZ, .data = {0, 0}});
    Put(UserSettings, {.data = DwordData(1), .dataError = 8});
    m_registry->m_values[MachineSettings];
    EXPECT_EQ(Read(), 99u);
    EXPECT_EQ(std::ranges::count(m_registry->m_calls, "close"), 4);
    EXPECT_TRUE(m_registry->m_open.empty());
}

TEST_F(EngKeyTest, HandsOutTheDataAsItIs) {
    Put(UserPolicy, ScriptedRegistry::Value{.data = {1, 2, 3, 4}});
    EXPECT_EQ(EngKey::GetValueData(QM_W("Limit")), (Data{1, 2, 3, 4}));
    EXPECT_EQ(Read(), 0x04030201u);
}

TEST_F(EngKeyTest, HandsOutNoMoreThanWhatWasReadInTheEnd) {
    Put(UserPolicy, {.data = {1, 2, 3, 4}, .reportedSize = 64});
    EXPECT_EQ(EngKey::GetValueData(QM_W("Limit")), (Data{1, 2, 3, 4}));
}

TEST_F(EngKeyTest, TakesTheDefaultForDataTooShortForANumber) {
    Put(UserPolicy, ScriptedRegistry::Value{.data = {1, 2}});
    EXPECT_EQ(Read(), 99u);
}

TEST_F(EngKeyTest, ReadsTheLargestNumber) {
    Put(UserPolicy, 0xFFFFFFFF);
    EXPECT_EQ(Read(), 0xFFFFFFFFu);
}

TEST_F(EngKeyTest, UsesTheServicesOfEachMoment) {
    Put(UserPolicy, 1);
    EXPECT_EQ(Read(), 1u);
    const auto other = std::make_shared<ScriptedRegistry>();
    other->m_values[UserPolicy]["Limit"] = {.data = DwordData(2)};
    const auto services = std::make_shared<Services::ServicesCollection>();
    services->registry = other;
    InstallServices(services);
    EXPECT_EQ(Read(), 2u);
}

}  // namespace
}  // namespace quillmark
