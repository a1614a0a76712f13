// RecordingFactory: a transport without WinHTTP, for tests of client operations. It records every call on the factory
// and on the sessions, connections and requests that it made, in one order, and answers what a test has scripted.
//
//   auto factory = std::make_shared<RecordingFactory>();
//   CNativeHttp client(QM_W("device"), factory);
//   factory->Reply(200, R"({"quillmark_version":"5.0"})");      // what the next request that is made answers
//   factory->Reply(404);                                        // and the one after it: no body
//   factory->Fail("SendPostData", 12030, 2);                    // the second SendPostData from now fails
//
// Calls read "CreateConnection()", "Connection::Initialise(c1, \"host\", 8443, s1, 0, 0, 0, 0)",
// "Request::Initialise(r1, \"/path\", \"GET\", c1, null, 0x00800000, false)", "AppendFormData(r1, name=value&)":
// objects are numbered by kind in the order in which they were made. Reading a session's token is not recorded. A call
// that streams a file ends with ", event" when it was given a cancel event.
//
// A request without a script answers 200 with the body {}. Lengths are what SetLengths says. Nothing is written to
// disk; a download whose status is not 200 gives 20000 plus the status, as the real one does.
//
// Any thread may call; a hook given to OnCall runs on the calling thread, without a lock.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fakes/CallRecorder.h"
#include "quillmark/Transport.h"

namespace quillmark::fakes {

struct ScriptedReply {
    DWORD status = 200;
    std::optional<std::string> body;  // none: the reply has no body
};

// The lengths that requests tell.
struct ScriptedLengths {
    std::uint64_t postData = 0;
    std::uint64_t filePart = 0;
    std::uint64_t multipartEnd = 0;
};

class RecordingFactory final : public IWinHttpFactory {
public:
    // What the objects share with their factory.
    class State final : public CallRecorder {
    public:
        using CallRecorder::Enter;
        using CallRecorder::Hex;
        using CallRecorder::Quoted;
        // The code that the call is to return: 0, or that of the failure which the test ordered.
        [[nodiscard]] DWORD Call(const std::string& function, const std::string& arguments);

        void AddReply(ScriptedReply reply);
        [[nodiscard]] ScriptedReply TakeReply();
        void DropReplies();
        void SetLenientDownloads(bool lenient);
        [[nodiscard]] bool LenientDownloads() const;
        void SetLengths(const ScriptedLengths& lengths);
        [[nodiscard]] ScriptedLengths Lengths() const;
        [[nodiscard]] int NextNumber(char kind);

    private:
        mutable std::mutex m_stateLock;
        std::deque<ScriptedReply> m_replies;
        ScriptedLengths m_lengths;
        bool m_lenientDownloads = false;
        std::map<char, int> m_numbers;
    };

    [[nodiscard]] std::shared_ptr<IWinHttpSession> CreateSession() override;
    [[nodiscard]] std::shared_ptr<IWinHttpConnection> CreateConnection() override;
    [[nodiscard]] std::shared_ptr<IWinHttpRequest> CreateRequest(
        const std::shared_ptr<IWinHttpSession>& session) override;

    // In the order in which requests are made.
    void Reply(DWORD status) { m_state->AddReply({status, std::nullopt}); }
    void Reply(DWORD status, std::string body) { m_state->AddReply({status, std::move(body)}); }
    // Forgets the replies that no request has taken.
    void DropReplies() { m_state->DropReplies(); }
    void SetLengths(const ScriptedLengths& lengths) { m_state->SetLengths(lengths); }
    // A download gives 0 whatever its status, as another transport might.
    void SetLenientDownloads(bool lenient) { m_state->SetLenientDownloads(lenient); }

    // As at CallRecorder. A create function that fails returns null.
    void Fail(const std::string& function, DWORD error, int nth = 1) { m_state->Fail(function, error, nth); }
    void FailCall(int nth, DWORD error) { m_state->FailCall(nth, error); }
    void OnCall(std::function<void(const std::string& call)> hook) { m_state->OnCall(std::move(hook)); }
    [[nodiscard]] std::vector<std::string> Calls() const { return m_state->Calls(); }
    [[nodiscard]] std::size_t Count(std::string_view function) const { return m_state->Count(function); }
    void ClearCalls() { m_state->ClearCalls(); }

    // The session made last, to change its token behind the client's back; it may be gone by then.
    [[nodiscard]] std::shared_ptr<IWinHttpSession> LastSession() const { return m_lastSession.lock(); }
    // How many requests are alive.
    [[nodiscard]] static int LiveRequests();

private:
    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::weak_ptr<IWinHttpSession> m_lastSession;
};

}  // namespace quillmark::fakes
