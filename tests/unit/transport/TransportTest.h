// What the transport's suites share: recording seams in the place of the platform, a recorded log, and an open request.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/ModuleState.h"
#include "fakes/RecordingEventing.h"
#include "fakes/RecordingFileSystem.h"
#include "fakes/RecordingWinHttp.h"
#include "quillmark/Errors.h"
#include "transport/WinHttpFactory.h"

namespace quillmark {

using Texts = std::vector<std::string>;

// A registry whose only key is the current user's policy key, with these values.
class SettingsRegistry : public RegistryInterface {
public:
    std::map<WideString, DWORD> values;

    LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, REGSAM, HKEY* result) override {
        if (values.empty() || key != HKEY_CURRENT_USER ||
            WideView(subKey) != QM_W("Software\\Policies\\Brevant\\Quillmark")) {
            return ERROR_FILE_NOT_FOUND;
        }
        *result = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(1));
        return ERROR_SUCCESS;
    }
    LSTATUS RegQueryValueExW(HKEY, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) override {
        const auto found = values.find(name);
        if (found == values.end()) {
            return ERROR_FILE_NOT_FOUND;
        }
        if (type != nullptr) {
            *type = REG_DWORD;
        }
        if (data != nullptr) {
            std::memcpy(data, &found->second, sizeof(DWORD));
        }
        *size = sizeof(DWORD);
        return ERROR_SUCCESS;
    }
    LSTATUS RegCloseKey(HKEY) override { return ERROR_SUCCESS; }
};

// A manual-reset event.
class Event {
public:
    Event() : m_handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { ::CloseHandle(m_handle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    void Set() const { ::SetEvent(m_handle); }
    [[nodiscard]] HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

// Keeps what it is told as texts: "begin <path> <offset> <context>", "advance <bytes> <position>/<total> <context>".
class RecordingSink : public IProgressSink {
public:
    Texts events;

    void Begin(const WideString& localPath, std::uint64_t offset, std::uint64_t context) override {
        events.push_back("begin " + NarrowUtf8(localPath) + " " + std::to_string(offset) + " " +
                         std::to_string(context));
    }
    void Advance(const void* bytes, std::uint32_t count, std::uint64_t position, std::uint64_t total,
                 std::uint64_t context) override {
        events.push_back("advance " + std::string(static_cast<const char*>(bytes), count) + " " +
                         std::to_string(position) + "/" + std::to_string(total) + " " + std::to_string(context));
    }
};

class TransportTest : public ::testing::Test {
protected:
    TransportTest() { Install(winHttp); }

    void TearDown() override {
        request.reset();
        connection.reset();
        session.reset();
        EXPECT_EQ(winHttp->OpenHandles(), 0u);
        EXPECT_EQ(files->OpenFiles(), 0u);
        InstallServices(nullptr);
    }

    // Puts this WinHTTP seam in place, beside the test's file system and registry.
    void Install(std::shared_ptr<WinHttpInterface> seam) {
        auto services = std::make_shared<Services::ServicesCollection>();
        services->fileSystem = files;
        services->registry = registry;
        services->winHttp = std::move(seam);
        InstallServices(std::move(services));
    }

    // Opens session h1, connection h2 and request h3, and forgets their calls and records.
    void Open(const WideString& token = {}, const WideString& verb = QM_W("GET")) {
        WinHttpFactory factory;
        session = factory.CreateSession();
        ASSERT_EQ(session->Initialise(), 0u);
        session->SetSessionToken(token);
        connection = factory.CreateConnection();
        ASSERT_EQ(connection->Initialise(QM_W("server"), 443, session, 1, 2, 3, 4), 0u);
        request = factory.CreateRequest(session);
        ASSERT_EQ(request->Initialise(QM_W("/api/folders"), verb, connection, nullptr, 0, false), 0u);
        winHttp->ClearCalls();
        log.Clear();
    }

    [[nodiscard]] bool LoggedError(const std::string& function, const std::string& text) const {
        return log.Has(103, "WinHttpImpl", function, text);
    }
    [[nodiscard]] bool LoggedInformation(const std::string& function, const std::string& text) const {
        return log.Has(101, "WinHttpImpl", function, text);
    }

    std::shared_ptr<fakes::RecordingWinHttp> winHttp = std::make_shared<fakes::RecordingWinHttp>();
    std::shared_ptr<fakes::RecordingFileSystem> files = std::make_shared<fakes::RecordingFileSystem>();
    std::shared_ptr<SettingsRegistry> registry = std::make_shared<SettingsRegistry>();
    fakes::RecordedLog log;
    std::shared_ptr<IWinHttpSession> session;
    std::shared_ptr<IWinHttpConnection> connection;
    std::shared_ptr<IWinHttpRequest> request;
    ResponseBuffer response;
};

}  // namespace quillmark
