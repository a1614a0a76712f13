#include "winhttp/Request.h"

#include <limits>
#include <utility>

#include "winhttp/Text.h"

namespace quillmark::platform::winhttp {

namespace {

std::string_view SchemeName(DWORD scheme) {
    switch (scheme) {
        case WINHTTP_AUTH_SCHEME_BASIC:
            return "Basic";
        case WINHTTP_AUTH_SCHEME_NTLM:
            return "NTLM";
        case WINHTTP_AUTH_SCHEME_DIGEST:
            return "Digest";
        default:
            return "Negotiate";
    }
}

// Whether a challenge of that scheme is among the head's. Each may be a header of its own or one of a list.
bool Offers(const ReplyHead& head, DWORD scheme) {
    const std::string_view name = SchemeName(scheme);
    for (const HeaderField& field : head.Fields()) {
        if (!EqualsIgnoringCase(field.name, "WWW-Authenticate")) {
            continue;
        }
        std::string_view rest = field.value;
        while (!rest.empty()) {
            const std::string_view item = Trim(rest.substr(0, rest.find(',')));
            if (EqualsIgnoringCase(item.substr(0, item.find(' ')), name)) {
                return true;
            }
            rest.remove_prefix(std::min(rest.find(','), rest.size() - 1) + 1);
        }
    }
    return false;
}

}  // namespace

Request::Request(std::shared_ptr<Connection> connection, HINTERNET connectionHandle, Target target, std::string verb,
                 bool http10)
    : InternetHandle(WINHTTP_HANDLE_TYPE_REQUEST, connectionHandle),
      m_connection(std::move(connection)),
      m_target(std::move(target)),
      m_verb(std::move(verb)),
      m_http10(http10),
      m_settings(m_connection->GetSession()->CurrentSettings()) {}

DWORD Request::AddHeaders(std::string_view lines, DWORD modifiers) {
    if (m_state == State::Sent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    return m_headers.Add(lines, modifiers);
}

DWORD Request::SetCredentials(DWORD targets, Credentials credentials) {
    if (m_state == State::Sent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    Credentials& own = targets == WINHTTP_AUTH_TARGET_PROXY ? m_proxyCredentials : m_serverCredentials;
    own = std::move(credentials);
    return ERROR_SUCCESS;
}

DWORD Request::Send(std::span<const BYTE> beginning, DWORD totalLength) {
    if (m_state == State::Sent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    std::uint64_t total = totalLength;
    if (const HeaderField* length = m_headers.Find("Content-Length")) {
        if (!ParseNumber(length->value, total)) {
            return ERROR_INVALID_PARAMETER;
        }
    }
    if (beginning.size() > total || total > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return ERROR_INVALID_PARAMETER;
    }
    m_transfer.reset();
    m_upload = UploadBody(total, beginning);
    m_state = State::Opened;
    const DWORD code = StartTransfer();
    if (code != ERROR_SUCCESS) {
        m_transfer.reset();
        return code;
    }
    m_state = State::Sent;
    return ERROR_SUCCESS;
}

DWORD Request::StartTransfer() {
    TransferPlan plan;
    plan.target = m_target;
    plan.verb = m_verb;
    plan.http10 = m_http10;
    plan.headers = m_headers;
    plan.bodyLength = m_upload.Announced();
    plan.disabledFeatures = m_settings.disabledFeatures;
    plan.proxy = m_proxyCredentials;
    if (m_answering) {
        plan.server = m_serverCredentials;
        if (plan.server.scheme == 0) {
            plan.server.scheme = WINHTTP_AUTH_SCHEME_NEGOTIATE;
        }
    }
    const HeaderField* userAgent = m_headers.Find("User-Agent");
    if (userAgent == nullptr && !m_settings.userAgent.empty()) {
        const DWORD code = plan.headers.AddValue("User-Agent", m_settings.userAgent, WINHTTP_ADDREQ_FLAG_ADD);
        if (code != ERROR_SUCCESS) {
            return code;
        }
    }
    // The one before hands its connection back first, so that this one finds it.
    m_transfer.reset();
    m_transfer = std::make_unique<Transfer>(*m_connection->GetSession(), m_cancel, m_settings, m_upload, plan);
    return m_transfer->Start();
}

DWORD Request::Write(std::span<const BYTE> bytes) {
    if (m_state != State::Sent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    if (bytes.size() > m_upload.Owed()) {
        return ERROR_INVALID_PARAMETER;
    }
    while (!bytes.empty() && !m_transfer->HasHead()) {
        const std::size_t count = std::min(bytes.size(), m_upload.Room());
        m_upload.Append(bytes.first(count));
        bytes = bytes.subspan(count);
        if (m_upload.Room() == 0 || m_upload.IsComplete()) {
            const DWORD code = m_transfer->Flush();
            if (code != ERROR_SUCCESS) {
                return code;
            }
        }
    }
    return ERROR_SUCCESS;
}

DWORD Request::Receive() {
    if (m_state != State::Sent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    DWORD code = ERROR_SUCCESS;
    for (DWORD redirects = 0; (code = m_transfer->AwaitHead()) == ERROR_SUCCESS;) {
        const ReplyHead& head = m_transfer->Head();
        const int status = head.Status();
        if (CanAnswerChallenge(head)) {
            m_answering = true;
        } else if (auto target = RedirectTarget(head)) {
            if (++redirects > m_settings.maxRedirects) {
                return ERROR_WINHTTP_REDIRECT_FAILED;
            }
            FollowRedirect(status, std::move(*target));
        } else {
            m_state = State::Received;
            return ERROR_SUCCESS;
        }
        if (!m_upload.IsRepeatable()) {
            // The caller may send it again: to the new target, or with the answer to the challenge.
            m_transfer.reset();
            m_state = State::Opened;
            return ERROR_WINHTTP_RESEND_REQUEST;
        }
        m_upload.Rewind();
        code = StartTransfer();
        if (code != ERROR_SUCCESS) {
            break;
        }
    }
    return code;
}

bool Request::CanAnswerChallenge(const ReplyHead& head) const {
    if (head.Status() != 401 || m_answering || (m_settings.disabledFeatures & WINHTTP_DISABLE_AUTHENTICATION) != 0) {
        return false;
    }
    if (m_serverCredentials.scheme != 0) {
        const bool withheld =
            m_serverCredentials.loggedOnUser && m_settings.autologonPolicy == WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH;
        return !withheld && Offers(head, m_serverCredentials.scheme);
    }
    return m_settings.autologonPolicy == WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW &&
           Offers(head, WINHTTP_AUTH_SCHEME_NEGOTIATE);
}

std::optional<Target> Request::RedirectTarget(const ReplyHead& head) const {
    const int status = head.Status();
    const bool redirect = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    const std::string* location = head.Find("Location");
    if (!redirect || location == nullptr || m_settings.redirectPolicy == WINHTTP_OPTION_REDIRECT_POLICY_NEVER ||
        (m_settings.disabledFeatures & WINHTTP_DISABLE_REDIRECTS) != 0) {
        return std::nullopt;
    }
    auto target = Resolve(m_target, *location);
    // Another host was not asked for, and must not get this one's cookies and bodies: the caller decides.
    if (!target || !EqualsIgnoringCase(target->host, m_target.host)) {
        return std::nullopt;
    }
    const bool downgrade = m_target.secure && !target->secure;
    if (downgrade && m_settings.redirectPolicy != WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS) {
        return std::nullopt;
    }
    return target;
}

void Request::FollowRedirect(int status, Target target) {
    m_target = std::move(target);
    const bool becomesGet = m_verb != "GET" && m_verb != "HEAD" &&
                            (status == 303 || (m_verb == "POST" && (status == 301 || status == 302)));
    if (becomesGet) {
        m_verb = "GET";
        m_headers.Remove("Content-Type");
        m_headers.Remove("Content-Length");
        m_upload = UploadBody();
    }
}

const ReplyHead* Request::Head() const {
    return m_state == State::Received ? &m_transfer->Head() : nullptr;
}

const PeerCertificate* Request::Certificate() const {
    return m_transfer != nullptr && m_transfer->Certificate() ? &m_transfer->Certificate() : nullptr;
}

DWORD Request::Available(DWORD& count) {
    if (m_state != State::Received) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    const DWORD code = m_transfer->AwaitBody();
    count = code == ERROR_SUCCESS ? static_cast<DWORD>(m_transfer->Body().Available()) : 0;
    return code;
}

DWORD Request::Read(std::span<BYTE> room, DWORD& count) {
    DWORD available = 0;
    const DWORD code = Available(available);
    count = code == ERROR_SUCCESS ? static_cast<DWORD>(m_transfer->Body().Read(room)) : 0;
    return code;
}

}  // namespace quillmark::platform::winhttp
