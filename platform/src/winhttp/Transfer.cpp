#include "winhttp/Transfer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "winhttp/ErrorCodes.h"

namespace quillmark::platform::winhttp {

namespace {

// How long a server may keep silent before the bytes that an announced length has too many are paid.
constexpr std::chrono::seconds PatienceWithDebt{1};
// The wait without any time-out; it goes on afterwards.
constexpr std::chrono::milliseconds LongestWait{3'600'000};
// Of the body of a refused ticket's reply.
constexpr std::size_t LongestRefusal = 1024UL * 1024;
// How often what has arrived is looked at when an exchange is given back unread.
constexpr int DrainRounds = 8;

}  // namespace

Transfer::Transfer(Session& session, CancelSignal& cancel, const Settings& settings, UploadBody& upload,
                   const TransferPlan& plan)
    : m_session(session),
      m_cancel(cancel),
      m_settings(settings),
      m_upload(upload),
      m_plan(plan),
      m_origin(plan.target.Origin()),
      m_channel(session.TakeChannel(m_origin)),
      m_headerList(ApplyPlan(m_channel->Easy(), m_plan, session)),
      m_head(plan.verb, settings.maxHeadSize) {
    InstallCallbacks();
}

Transfer::~Transfer() {
    // Closing the handle sets the cancel signal as well; what it met in a blocked call is in m_failure.
    if (HasHead() && !m_ended && m_failure == ERROR_SUCCESS) {
        DrainWithoutWaiting();
    }
    m_cancel.Watch(nullptr);
    m_channel->KeepLastBytes(false);
    m_channel->EndExchange(m_answeredEarly);
    if (m_added) {
        curl_multi_remove_handle(m_channel->Multi(), m_channel->Easy());
    }
    if (m_ended && m_result == CURLE_OK && m_failure == ERROR_SUCCESS && !m_stopped) {
        m_session.Channels().Keep(m_origin, std::move(m_channel));
    }
}

DWORD Transfer::Start() {
    m_cancel.Watch(m_channel->Multi());
    m_channel->KeepLastBytes(m_plan.bodyLength != 0 && !m_plan.target.secure);
    if (curl_multi_add_handle(m_channel->Multi(), m_channel->Easy()) != CURLM_OK) {
        return m_failure = ERROR_NOT_ENOUGH_MEMORY;
    }
    m_added = true;
    return PumpUntil([this] {
        return m_phase == Phase::Exchanging && m_position.requestBytes != 0 && (m_upload.IsQueueEmpty() || HasHead());
    });
}

DWORD Transfer::Flush() {
    return PumpUntil([this] { return m_upload.IsQueueEmpty() || HasHead(); });
}

DWORD Transfer::AwaitHead() {
    if (!HasHead() && IsSmallDebt() && m_session.WaitsForOwedBytes(m_origin)) {
        m_upload.Pay();
    }
    m_awaitingHead = true;
    const DWORD code = PumpUntil([this] { return HasHead(); });
    m_awaitingHead = false;
    if (m_payWithHead) {
        Drive();
    }
    return code;
}

DWORD Transfer::AwaitBody() {
    const auto done = [this] { return m_reply.Available() != 0 || AtEnd(); };
    return done() ? ERROR_SUCCESS : PumpUntil(done);
}

bool Transfer::AtEnd() const {
    return (m_ended && m_failure == ERROR_SUCCESS) || (HasHead() && m_head.BodyLength() == m_bodyReceived);
}

// ---- The pump ----

template <typename Done>
DWORD Transfer::PumpUntil(Done done) {
    m_since = Clock::now();
    while (m_failure == ERROR_SUCCESS) {
        if (m_cancel.IsSet()) {
            return m_failure = ERROR_WINHTTP_OPERATION_CANCELLED;
        }
        Drive();
        if (done() || m_failure != ERROR_SUCCESS || m_ended) {
            break;
        }
        const auto now = Clock::now();
        const auto payment = PaymentTime();
        if (payment && now >= *payment) {
            PayWhatIsOwed();
            continue;
        }
        const auto deadline = Deadline();
        if (deadline && now >= *deadline) {
            return m_failure = ERROR_WINHTTP_TIMEOUT;
        }
        const auto until =
            std::min({deadline.value_or(now + LongestWait), payment.value_or(now + LongestWait), now + LongestWait});
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - now);
        curl_multi_poll(m_channel->Multi(), nullptr, 0, static_cast<int>(wait.count()), nullptr);
    }
    // What has arrived can be read before the error that came after it is reported.
    return done() ? ERROR_SUCCESS : m_failure;
}

void Transfer::Drive() {
    if (m_payWithHead) {
        m_payWithHead = false;
        m_upload.Pay();
    }
    const bool resumeUpload = m_uploadPaused && (!m_upload.IsQueueEmpty() || m_stopped);
    const bool resumeReply = m_replyPaused && (m_discarding || m_reply.HasRoomFor(CURL_MAX_WRITE_SIZE));
    if (resumeUpload || resumeReply) {
        m_uploadPaused = m_uploadPaused && !resumeUpload;
        m_replyPaused = false;
        curl_easy_pause(m_channel->Easy(), CURLPAUSE_CONT);
    }
    int running = 0;
    curl_multi_perform(m_channel->Multi(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_channel->Multi(), &left)) {
        if (message->msg == CURLMSG_DONE) {
            TakeResult(message->data.result);
        }
    }
    Observe();
}

void Transfer::Observe() {
    if (m_phase == Phase::Connecting) {
        // Known as soon as a socket is connected, while the connecting time is known only after the handshake.
        long port = 0;
        curl_easy_getinfo(m_channel->Easy(), CURLINFO_PRIMARY_PORT, &port);
        if (port != 0) {
            m_phase = Phase::Securing;
            m_since = Clock::now();
        }
    }
    Position position;
    position.received = m_received;
    curl_easy_getinfo(m_channel->Easy(), CURLINFO_REQUEST_SIZE, &position.requestBytes);
    curl_easy_getinfo(m_channel->Easy(), CURLINFO_SIZE_UPLOAD_T, &position.uploaded);
    if (position != m_position) {
        m_position = position;
        m_since = Clock::now();
    }
}

void Transfer::TakeResult(CURLcode result) {
    m_ended = true;
    if (result == CURLE_TOO_MANY_REDIRECTS) {
        // The reply to the ticket, read to its end: the connection is as good as after any other.
        TakeBody(m_provisionalBody);
        result = CURLE_OK;
    }
    m_result = result;
    if (result != CURLE_OK && !m_head.IsFinal()) {
        TakeLastBytes(m_channel->LastBytes());
    }
    m_provisional = false;
    if (!m_head.IsFinal()) {
        m_failure = CodeWithoutHead(result);
    } else if (result != CURLE_OK && m_head.BodyLength() != m_bodyReceived) {
        m_failure = CodeOf(result);
    }
}

// The reply that was still unread when the sending failed. A body in chunks is left out: its end could not be told.
void Transfer::TakeLastBytes(std::string_view bytes) {
    if (!bytes.starts_with("HTTP/")) {
        return;
    }
    while (!m_head.IsFinal() && !m_headTooLarge && bytes.find('\n') != std::string_view::npos) {
        const std::size_t length = bytes.find('\n') + 1;
        TakeHeaderLine(bytes.substr(0, length));
        bytes.remove_prefix(length);
    }
    if (m_head.IsFinal()) {
        TakeBody(bytes);
    }
}

void Transfer::TakeBody(std::string_view bytes) {
    if (m_head.BodyLength()) {
        bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(*m_head.BodyLength(), bytes.size())));
        m_reply.Append({reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()});
        m_bodyReceived += bytes.size();
    }
}

DWORD Transfer::CodeWithoutHead(CURLcode result) const {
    if (m_headTooLarge) {
        return ERROR_WINHTTP_HEADER_SIZE_OVERFLOW;
    }
    if (m_refusedSocket) {
        return ERROR_WINHTTP_CONNECTION_ERROR;
    }
    if (result == CURLE_OK) {
        return m_head.HasBegun() ? ERROR_WINHTTP_INVALID_SERVER_RESPONSE : ERROR_WINHTTP_CONNECTION_ERROR;
    }
    // libcurl's own limit for one line, which it reports like this. What was observed last may be older than the
    // request: on a kept connection all of it can happen in one turn.
    long requestBytes = 0;
    curl_easy_getinfo(m_channel->Easy(), CURLINFO_REQUEST_SIZE, &requestBytes);
    if (result == CURLE_OUT_OF_MEMORY && requestBytes != 0) {
        return ERROR_WINHTTP_HEADER_SIZE_OVERFLOW;
    }
    return CodeOf(result);
}

std::optional<Transfer::Clock::time_point> Transfer::Deadline() const {
    DWORD timeout = 0;
    switch (m_phase) {
        case Phase::Resolving:
            timeout = m_settings.timeouts.resolve;
            break;
        case Phase::Connecting:
            timeout = m_settings.timeouts.connect;
            break;
        case Phase::Securing:
            timeout = m_settings.timeouts.send;
            break;
        case Phase::Exchanging:
            timeout = IsSending() ? m_settings.timeouts.send : m_settings.timeouts.receive;
            break;
    }
    if (timeout == 0) {
        return std::nullopt;
    }
    return m_since + std::chrono::milliseconds(timeout);
}

bool Transfer::IsSending() const {
    const bool queued = !m_upload.IsQueueEmpty();
    const bool underWay = static_cast<std::uint64_t>(m_position.uploaded) < m_upload.Taken();
    return !m_stopped && (queued || underWay);
}

// ---- Debts ----

bool Transfer::IsSmallDebt() const {
    return m_upload.Owed() != 0 && m_upload.Owed() <= UploadBody::MostPaid;
}

std::optional<Transfer::Clock::time_point> Transfer::PaymentTime() const {
    if (!m_awaitingHead || HasHead() || !m_uploadPaused || !IsSmallDebt()) {
        return std::nullopt;
    }
    return m_starvedSince + PatienceWithDebt;
}

void Transfer::PayWhatIsOwed() {
    m_upload.Pay();
    m_session.RememberWaitsForOwedBytes(m_origin);
}

// With the final head: what becomes of the rest of the body.
void Transfer::SettleUpload() {
    if (m_upload.IsComplete() && !m_head.ClosesConnection()) {
        return;
    }
    if (IsSmallDebt() && !m_head.ClosesConnection()) {
        // Not here, inside libcurl's callback, but with the next drive.
        m_payWithHead = true;
        m_answeredEarly = true;
        return;
    }
    if (m_upload.IsComplete() && m_upload.IsQueueEmpty()) {
        return;
    }
    m_stopped = true;
    // libcurl then stops at once where it would otherwise go on sending, and closes the connection after the reply.
    curl_easy_setopt(m_channel->Easy(), CURLOPT_KEEP_SENDING_ON_ERROR, 0L);
}

void Transfer::DrainWithoutWaiting() {
    m_discarding = true;
    for (int round = 0; round < DrainRounds && !m_ended; ++round) {
        Drive();
    }
}

// ---- libcurl's callbacks ----

void Transfer::InstallCallbacks() {
    CURL* easy = m_channel->Easy();
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::OnReplyBytes);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Transfer::OnUploadRoom);
    curl_easy_setopt(easy, CURLOPT_READDATA, this);
    curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, &Transfer::OnRewind);
    curl_easy_setopt(easy, CURLOPT_SEEKDATA, this);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &Transfer::OnOpenSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &Channel::OnCloseSocket);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, m_channel.get());
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &Transfer::OnConnected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
    if (SendsTicket()) {
        curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, &Transfer::OnTrace);
        curl_easy_setopt(easy, CURLOPT_DEBUGDATA, this);
    }
}

bool Transfer::AnswersChallenge() const {
    return (m_head.Status() == 401 && m_plan.server.scheme != 0) ||
           (m_head.Status() == 407 && m_plan.proxy.scheme != 0);
}

bool Transfer::SendsTicket() const {
    return m_plan.server.scheme == WINHTTP_AUTH_SCHEME_NEGOTIATE;
}

std::size_t Transfer::OnHeader(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.m_received += size * count;
    transfer.TakeHeaderLine({data, size * count});
    return transfer.m_headTooLarge ? 0 : size * count;
}

void Transfer::TakeHeaderLine(std::string_view line) {
    if (m_provisional && line.starts_with("HTTP/")) {
        // The challenge was answered, and this is the reply to that.
        m_provisional = false;
        m_head = ReplyHead(m_plan.verb, m_settings.maxHeadSize);
    }
    if (m_head.IsFinal()) {
        return;
    }
    m_headTooLarge = !m_head.TakeLine(line);
    if (m_head.IsFinal()) {
        m_provisional = AnswersChallenge();
        if (!m_provisional) {
            SettleUpload();
        } else if (SendsTicket() && m_head.Status() == 401) {
            // The ticket went out with the request. A front end that took it and passes on a refusal by the server
            // behind it sends its own half of the handshake along, for which libcurl would ask once more, and again.
            curl_easy_setopt(m_channel->Easy(), CURLOPT_MAXREDIRS, 0L);
        }
    }
}

std::size_t Transfer::OnReplyBytes(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    const std::size_t bytes = size * count;
    transfer.m_provisional = false;
    if (!transfer.m_discarding && !transfer.m_reply.HasRoomFor(bytes)) {
        transfer.m_replyPaused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.m_received += bytes;
    transfer.m_bodyReceived += bytes;
    if (!transfer.m_discarding) {
        transfer.m_reply.Append({reinterpret_cast<const BYTE*>(data), bytes});
    }
    return bytes;
}

int Transfer::OnTrace(CURL* /*easy*/, curl_infotype kind, char* data, std::size_t size, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    if (kind == CURLINFO_DATA_IN && transfer.m_provisional) {
        const std::size_t room = LongestRefusal - transfer.m_provisionalBody.size();
        transfer.m_provisionalBody.append(data, std::min(size, room));
    }
    return 0;
}

bool Transfer::HasUnreadReply() const {
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_channel->Easy(), CURLINFO_ACTIVESOCKET, &socket);
    pollfd entry{socket, POLLIN, 0};
    return socket != CURL_SOCKET_BAD && poll(&entry, 1, 0) > 0;
}

std::size_t Transfer::OnUploadRoom(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    if (transfer.m_stopped) {
        return 0;
    }
    if (!transfer.m_head.IsFinal() && transfer.HasUnreadReply()) {
        // A server that answers early may be closing the connection. Sending into that would fail, and the failure
        // would keep libcurl from reading the reply; so it is read first.
        transfer.m_uploadPaused = true;
        transfer.m_starvedSince = Clock::now();
        return CURL_READFUNC_PAUSE;
    }
    const std::size_t bytes = transfer.m_upload.Take({reinterpret_cast<BYTE*>(data), size * count});
    if (bytes == 0) {
        // All that there was is out.
        transfer.m_uploadPaused = true;
        transfer.m_starvedSince = Clock::now();
        return CURL_READFUNC_PAUSE;
    }
    return bytes;
}

int Transfer::OnRewind(void* self, curl_off_t offset, int origin) {
    auto& transfer = *static_cast<Transfer*>(self);
    // Only on the way of an authentication; a dead connection is no reason to send again.
    if (offset != 0 || origin != SEEK_SET || !transfer.AnswersChallenge() || !transfer.m_upload.IsRepeatable()) {
        return CURL_SEEKFUNC_FAIL;
    }
    transfer.m_upload.Rewind();
    return CURL_SEEKFUNC_OK;
}

curl_socket_t Transfer::OnOpenSocket(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) {
    auto& transfer = *static_cast<Transfer*>(self);
    long requestBytes = 0;
    long tunnelStatus = 0;
    curl_easy_getinfo(transfer.m_channel->Easy(), CURLINFO_REQUEST_SIZE, &requestBytes);
    curl_easy_getinfo(transfer.m_channel->Easy(), CURLINFO_HTTP_CONNECTCODE, &tunnelStatus);
    if (requestBytes != 0 && !transfer.AnswersChallenge() && tunnelStatus != 407) {
        transfer.m_refusedSocket = true;
        return CURL_SOCKET_BAD;
    }
    transfer.m_phase = Phase::Connecting;
    transfer.m_since = Clock::now();
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int Transfer::OnConnected(void* self, char* /*remoteIp*/, char* /*localIp*/, int /*remotePort*/, int /*localPort*/) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.m_phase = Phase::Exchanging;
    transfer.m_since = Clock::now();
    transfer.m_certificate.Take(transfer.m_channel->Easy());
    return CURL_PREREQFUNC_OK;
}

}  // namespace quillmark::platform::winhttp
