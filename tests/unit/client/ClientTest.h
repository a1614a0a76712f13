// The base of the client's suites: a client object on a recording transport, and its log.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "client/NativeHttp.h"
#include "fakes/RecordingEventing.h"
#include "fakes/RecordingFactory.h"

namespace quillmark::test {

using Lines = std::vector<std::string>;

// A manual-reset event of the test's own.
class Event {
public:
    Event() : m_handle(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Event() { ::CloseHandle(m_handle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set() { ::SetEvent(m_handle); }
    [[nodiscard]] HANDLE Handle() const { return m_handle; }

private:
    HANDLE m_handle;
};

class ClientTest : public ::testing::Test {
protected:
    // The parts of the log that tests look at.
    static constexpr int Information = 101;
    static constexpr int Warning = 102;
    static constexpr int Error = 103;
    static constexpr int Critical = 104;

    // Discovery on a server that offers one API version under "/qm" and authenticates device tokens. It uses up the
    // objects c1, r1, c2 and r2; calls and log are forgotten afterwards.
    void Discover(const std::string& version = "1.7") {
        factory->Reply(200, R"({"qm":{"sync":{")" + version + R"(":{"path":"/qm","tos":7}},"audit":{}}})");
        factory->Reply(200, R"({"device_token_auth":true})");
        DWORD mode = 0;
        DWORD extra = 0;
        ASSERT_EQ(client->Init(mode, extra, nullptr), 0u);
        factory->ClearCalls();
        log.Clear();
    }

    void SetServer(const WideString& address, DWORD port) {
        WideString server = address;
        client->SetServer(server);
        client->SetPort(port);
    }

    [[nodiscard]] static ResponseBuffer Reply(const std::string& body) {
        ResponseBuffer reply;
        std::copy(body.begin(), body.end(), reply.Extend(body.size()));
        reply.Commit(body.size());
        return reply;
    }

    // Discovery as above, on a server that also takes statistics at "/audit/1.0".
    void DiscoverWithLogging() {
        factory->Reply(200, R"({"qm":{"sync":{"1.7":{"path":"/qm","tos":7}},
                                      "audit":{"1.0":{"path":"/audit/1.0","tos":0}}}})");
        factory->Reply(200, R"({"device_token_auth":true})");
        DWORD mode = 0;
        DWORD extra = 0;
        ASSERT_EQ(client->Init(mode, extra, nullptr), 0u);
        factory->ClearCalls();
        log.Clear();
    }

    // Lets the session's token change behind the client's back when this call is made.
    void ChangeTokenWhen(const std::string& call) {
        factory->OnCall([call, session = factory->LastSession()](const std::string& made) {
            if (made == call) {
                session->SetSessionToken(QM_W("changed"));
            }
        });
    }

    // What was made of the form or the multipart body, in order: the calls of this function without its name.
    [[nodiscard]] Lines CallsOf(const std::string& function) const {
        Lines calls;
        for (const std::string& call : factory->Calls()) {
            if (call.starts_with(function + "(")) {
                calls.push_back(call.substr(function.size()));
            }
        }
        return calls;
    }

    fakes::RecordedLog log;
    std::shared_ptr<fakes::RecordingFactory> factory = std::make_shared<fakes::RecordingFactory>();
    std::unique_ptr<CNativeHttp> client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
};

}  // namespace quillmark::test
