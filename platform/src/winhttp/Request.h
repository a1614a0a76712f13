// The request: one exchange as the caller sees it, over as many transfers as redirects and challenges need.
//
//     Opened    headers, options and credentials are set            Send
//     Sent      the head is out, the body is being written          Write, Receive
//     Received  the final head is there, the body is being read     Available, Read; Send starts anew
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

    void OnClose() override { m_cancel.Set(); }

    // The functions of the same purpose, with their codes.
    [[nodiscard]] DWORD AddHeaders(std::string_view lines, DWORD modifiers);
    [[nodiscard]] DWORD AddHeader(std::string_view name, std::string_view value, DWORD modifiers) {
        return m_headers.AddValue(name, value, modifiers);
    }
    [[nodiscard]] DWORD Send(std::span<const BYTE> beginning, DWORD totalLength);
    [[nodiscard]] DWORD Write(std::span<const BYTE> bytes);
    [[nodiscard]] DWORD Receive();
    [[nodiscard]] DWORD Available(DWORD& count);
    [[nodiscard]] DWORD Read(std::span<BYTE> room, DWORD& count);
    [[nodiscard]] DWORD SetCredentials(DWORD targets, Credentials credentials);

    // The head of the reply, or null before it is there.
    [[nodiscard]] const ReplyHead* Head() const;
    // The certificate of the server that the request has gone to; null when it has met none.
    [[nodiscard]] const PeerCertificate* Certificate() const;
    [[nodiscard]] const RequestHeaders& Headers() const { return m_headers; }
    [[nodiscard]] const std::string& Verb() const { return m_verb; }
    [[nodiscard]] std::string Url() const { return m_target.Url(); }

    [[nodiscard]] Settings& OwnSettings() { return m_settings; }

private:
    enum class State { Opened, Sent, Received };

    [[nodiscard]] DWORD StartTransfer();
    [[nodiscard]] bool CanAnswerChallenge(const ReplyHead& head) const;
    [[nodiscard]] std::optional<Target> RedirectTarget(const ReplyHead& head) const;
    void FollowRedirect(int status, Target target);

    const std::shared_ptr<Connection> m_connection;
    Target m_target;
    std::string m_verb;
    const bool m_http10;
    Settings m_settings;
    RequestHeaders m_headers;
    Credentials m_serverCredentials;
    Credentials m_proxyCredentials;
    bool m_answering = false;

    State m_state = State::Opened;
    CancelSignal m_cancel;
    UploadBody m_upload;
    // What it refers to is declared before it.
    std::unique_ptr<Transfer> m_transfer;
};

}  // namespace quillmark::platform::winhttp
