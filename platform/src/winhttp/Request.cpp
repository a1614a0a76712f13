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
      connection_(std::move(connection)),
      target_(std::move(target)),
      verb_(std::move(verb)),
      http10_(http10),
      settings_(connection_->GetSession()->CurrentSettings()) {}

DWORD Request::AddHeaders(std::string_view lines, DWORD modifiers) {
    if (state_ == State::kSent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    return headers_.Add(lines, modifiers);
}

DWORD Request::SetCredentials(DWORD targets, Credentials credentials) {
    if (state_ == State::kSent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    Credentials& own = targets == WINHTTP_AUTH_TARGET_PROXY ? proxyCredentials_ : serverCredentials_;
    own = std::move(credentials);
    return ERROR_SUCCESS;
}

DWORD Request::Send(std::span<const BYTE> beginning, DWORD totalLength) {
    if (state_ == State::kSent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    std::uint64_t total = totalLength;
    if (const HeaderField* length = headers_.Find("Content-Length")) {
        if (!ParseNumber(length->value, total)) {
            return ERROR_INVALID_PARAMETER;
        }
    }
    if (beginning.size() > total || total > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return ERROR_INVALID_PARAMETER;
    }
    transfer_.reset();
    upload_ = UploadBody(total, beginning);
    state_ = State::kOpened;
    const DWORD code = StartTransfer();
    if (code != ERROR_SUCCESS) {
        transfer_.reset();
        return code;
    }
    state_ = State::kSent;
    return ERROR_SUCCESS;
}

DWORD Request::StartTransfer() {
    TransferPlan plan;
    plan.target = target_;
    plan.verb = verb_;
    plan.http10 = http10_;
    plan.headers = headers_;
    plan.bodyLength = upload_.Announced();
    plan.disabledFeatures = settings_.disabledFeatures;
    plan.proxy = proxyCredentials_;
    if (answering_) {
        plan.server = serverCredentials_;
        if (plan.server.scheme == 0) {
            plan.server.scheme = WINHTTP_AUTH_SCHEME_NEGOTIATE;
        }
    }
    const HeaderField* userAgent = headers_.Find("User-Agent");
    if (userAgent == nullptr && !settings_.userAgent.empty()) {
        const DWORD code = plan.headers.AddValue("User-Agent", settings_.userAgent, WINHTTP_ADDREQ_FLAG_ADD);
        if (code != ERROR_SUCCESS) {
            return code;
        }
    }
    // The one before hands its connection back first, so that this one finds it.
    transfer_.reset();
    transfer_ = std::make_unique<Transfer>(*connection_->GetSession(), cancel_, settings_, upload_, plan);
    return transfer_->Start();
}

DWORD Request::Write(std::span<const BYTE> bytes) {
    if (state_ != State::kSent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    if (bytes.size() > upload_.Owed()) {
        return ERROR_INVALID_PARAMETER;
    }
    while (!bytes.empty() && !transfer_->HasHead()) {
        const std::size_t count = std::min(bytes.size(), upload_.Room());
        upload_.Append(bytes.first(count));
        bytes = bytes.subspan(count);
        if (upload_.Room() == 0 || upload_.IsComplete()) {
            const DWORD code = transfer_->Flush();
            if (code != ERROR_SUCCESS) {
                return code;
            }
        }
    }
    return ERROR_SUCCESS;
}

DWORD Request::Receive() {
    if (state_ != State::kSent) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    DWORD code = ERROR_SUCCESS;
    for (DWORD redirects = 0; (code = transfer_->AwaitHead()) == ERROR_SUCCESS;) {
        const ReplyHead& head = transfer_->Head();
        const int status = head.Status();
        if (CanAnswerChallenge(head)) {
            answering_ = true;
        } else if (auto target = RedirectTarget(head)) {
            if (++redirects > settings_.maxRedirects) {
                return ERROR_WINHTTP_REDIRECT_FAILED;
            }
            FollowRedirect(status, std::move(*target));
        } else {
            state_ = State::kReceived;
            return ERROR_SUCCESS;
        }
        if (!upload_.IsRepeatable()) {
            // The caller may send it again: to the new target, or with the answer to the challenge.
            transfer_.reset();
            state_ = State::kOpened;
            return ERROR_WINHTTP_RESEND_REQUEST;
        }
        upload_.Rewind();
        code = StartTransfer();
        if (code != ERROR_SUCCESS) {
            break;
        }
    }
    return code;
}

bool Request::CanAnswerChallenge(const ReplyHead& head) const {
    if (head.Status() != 401 || answering_ || (settings_.disabledFeatures & WINHTTP_DISABLE_AUTHENTICATION) != 0) {
        return false;
    }
    if (serverCredentials_.scheme != 0) {
        const bool withheld =
            serverCredentials_.loggedOnUser && settings_.autologonPolicy == WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH;
        return !withheld && Offers(head, serverCredentials_.scheme);
    }
    return settings_.autologonPolicy == WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW &&
           Offers(head, WINHTTP_AUTH_SCHEME_NEGOTIATE);
}

std::optional<Target> Request::RedirectTarget(const ReplyHead& head) const {
    const int status = head.Status();
    const bool redirect = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    const std::string* location = head.Find("Location");
    if (!redirect || location == nullptr || settings_.redirectPolicy == WINHTTP_OPTION_REDIRECT_POLICY_NEVER ||
        (settings_.disabledFeatures & WINHTTP_DISABLE_REDIRECTS) != 0) {
        return std::nullopt;
    }
    auto target = Resolve(target_, *location);
    // Another host was not asked for, and must not get this one's cookies and bodies: the caller decides.
    if (!target || !EqualsIgnoringCase(target->host, target_.host)) {
        return std::nullopt;
    }
    const bool downgrade = target_.secure && !target->secure;
    if (downgrade && settings_.redirectPolicy != WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS) {
        return std::nullopt;
    }
    return target;
}

void Request::FollowRedirect(int status, Target target) {
    target_ = std::move(target);
    const bool becomesGet =
        verb_ != "GET" && verb_ != "HEAD" && (status == 303 || (verb_ == "POST" && (status == 301 || status == 302)));
    if (becomesGet) {
        verb_ = "GET";
        headers_.Remove("Content-Type");
        headers_.Remove("Content-Length");
        upload_ = UploadBody();
    }
}

const ReplyHead* Request::Head() const {
    return state_ == State::kReceived ? &transfer_->Head() : nullptr;
}

DWORD Request::Available(DWORD& count) {
    if (state_ != State::kReceived) {
        return ERROR_WINHTTP_INCORRECT_HANDLE_STATE;
    }
    const DWORD code = transfer_->AwaitBody();
    count = code == ERROR_SUCCESS ? static_cast<DWORD>(transfer_->Body().Available()) : 0;
    return code;
}

DWORD Request::Read(std::span<BYTE> room, DWORD& count) {
    DWORD available = 0;
    const DWORD code = Available(available);
    count = code == ERROR_SUCCESS ? static_cast<DWORD>(transfer_->Body().Read(room)) : 0;
    return code;
}

}  // namespace quillmark::platform::winhttp
