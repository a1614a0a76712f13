// A client object as a host has it: made through the library's exports, pointed at a server, logged in as "anna".
#pragma once

#include <string>

#include "quillmark/HttpApi.h"

namespace quillmark::testing {

// A manual-reset event of the test's own.
class TestEvent {
public:
    TestEvent() : m_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~TestEvent() { CloseHandle(m_handle); }
    TestEvent(const TestEvent&) = delete;
    TestEvent& operator=(const TestEvent&) = delete;
    [[nodiscard]] HANDLE Get() const { return m_handle; }
    void Set() const { SetEvent(m_handle); }
    void Reset() const { ResetEvent(m_handle); }

private:
    HANDLE m_handle;
};

class HostClient {
public:
    // url: "http://localhost:41873". Calls the library's Init with plain services; talks to nobody yet.
    explicit HostClient(const std::string& url);

    // Discovers the server and logs in. The code of Login.
    [[nodiscard]] DWORD Login(const std::string& user = "anna", const std::string& password = "secret");

    IQuillmarkHttpAPI* operator->() const { return m_api.get(); }
    [[nodiscard]] IQuillmarkHttpAPI& Api() const { return *m_api; }

private:
    ClientPointer m_api;
};

// The record of a local file with this size, its times all 2026-01-02T03:04:05.678Z.
[[nodiscard]] std::shared_ptr<IServerAttributes> UploadAttributes(std::int64_t size);

// Writes a local file of that content (or of size bytes of a repeating pattern) and gives back its path.
WideString WriteFileAt(const std::string& path, const std::string& content);
WideString WritePatternAt(const std::string& path, std::uint64_t size);
[[nodiscard]] std::string ReadFileAt(const std::string& path);

}  // namespace quillmark::testing
