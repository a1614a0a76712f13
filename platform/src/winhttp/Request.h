// The request: one exchange as the caller sees it, over as many transfers as redirects and challenges need.
//
//     kOpened    headers, options and credentials are set            Send
//     kSent      the head is out, the body is being written          Write, Receive
//     kReceived  the final head is there, the body is being read     Available, Read; Send starts anew
//
// Driven by one thread at a time. OnClose comes from any thread and ends the call that is blocked.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "winhttp/CancelSignal.h"
#include "winhttp/Connection.h"
#include "winhttp/InternetHandle.h"
#include "winhttp/RequestHeaders.h"
#include "winhttp/Settings.h"
#include "winhttp/Transfer.h"
#include "winhttp/UploadBody.h"

namespace quillmark::platform::winhttp {

class Request final : public InternetHandle {
public:
    Request(std::shared_ptr<Connection> connection, HINTERNET connectionHandle, Target target, std::string verb,
            bool http10);

    void OnClose() override { cancel_.Set(); }

    // The functions of the same purpose, with their codes.
    [[nodiscard]] DWORD AddHeaders(std::string_view lines, DWORD modifiers);
    [[nodiscard]] DWORD AddHeader(std::string_view name, std::string_view value, DWORD modifiers) {
        return headers_.AddValue(name, value, modifiers);
    }
    [[nodiscard]] DWORD Send(std::span<const BYTE> beginning, DWORD totalLength);
    [[nodiscard]] DWORD Write(std::span<const BYTE> bytes);
    [[nodiscard]] DWORD Receive();
    [[nodiscard]] DWORD Available(DWORD& count);
    [[nodiscard]] DWORD Read(std::span<BYTE> room, DWORD& count);
    [[nodiscard]] DWORD SetCredentials(DWORD targets, Credentials credentials);

    // The head of the reply, or null before it is there.
    [[nodiscard]] const ReplyHead* Head() const;
    [[nodiscard]] const RequestHeaders& Headers() const { return headers_; }
    [[nodiscard]] const std::string& Verb() const { return verb_; }
    [[nodiscard]] std::string Url() const { return target_.Url(); }

    [[nodiscard]] Settings& OwnSettings() { return settings_; }

private:
    enum class State { kOpened, kSent, kReceived };

    [[nodiscard]] DWORD StartTransfer();
    [[nodiscard]] bool CanAnswerChallenge(const ReplyHead& head) const;
    [[nodiscard]] std::optional<Target> RedirectTarget(const ReplyHead& head) const;
    void FollowRedirect(int status, Target target);

    const std::shared_ptr<Connection> connection_;
    Target target_;
    std::string verb_;
    const bool http10_;
    Settings settings_;
    RequestHeaders headers_;
    Credentials serverCredentials_;
    Credentials proxyCredentials_;
    bool answering_ = false;

    State state_ = State::kOpened;
    CancelSignal cancel_;
    UploadBody upload_;
    // What it refers to is declared before it.
    std::unique_ptr<Transfer> transfer_;
};

}  // namespace quillmark::platform::winhttp
