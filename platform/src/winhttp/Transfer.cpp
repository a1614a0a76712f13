#include "winhttp/Transfer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "winhttp/ErrorCodes.h"

namespace quillmark::platform::winhttp {

namespace {

// How long a server may keep silent before the bytes that an announced length has too many are paid.
constexpr std::chrono::seconds kPatienceWithDebt{1};
// The wait without any time-out; it goes on afterwards.
constexpr std::chrono::milliseconds kLongestWait{3'600'000};
// How often what has arrived is looked at when an exchange is given back unread.
constexpr int kDrainRounds = 8;

}  // namespace

Transfer::Transfer(Session& session, CancelSignal& cancel, const Settings& settings, UploadBody& upload,
                   const TransferPlan& plan)
    : session_(session),
      cancel_(cancel),
      settings_(settings),
      upload_(upload),
      plan_(plan),
      origin_(plan.target.Origin()),
      channel_(session.TakeChannel(origin_)),
      headerList_(ApplyPlan(channel_->Easy(), plan_, session)),
      head_(plan.verb, settings.maxHeadSize) {
    InstallCallbacks();
}

Transfer::~Transfer() {
    // Closing the handle sets the cancel signal as well; what it met in a blocked call is in failure_.
    if (HasHead() && !ended_ && failure_ == ERROR_SUCCESS) {
        DrainWithoutWaiting();
    }
    cancel_.Watch(nullptr);
    channel_->KeepLastBytes(false);
    channel_->EndExchange(answeredEarly_);
    if (added_) {
        curl_multi_remove_handle(channel_->Multi(), channel_->Easy());
    }
    if (ended_ && result_ == CURLE_OK && failure_ == ERROR_SUCCESS && !stopped_) {
        session_.Channels().Keep(origin_, std::move(channel_));
    }
}

DWORD Transfer::Start() {
    cancel_.Watch(channel_->Multi());
    channel_->KeepLastBytes(plan_.bodyLength != 0 && !plan_.target.secure);
    if (curl_multi_add_handle(channel_->Multi(), channel_->Easy()) != CURLM_OK) {
        return failure_ = ERROR_NOT_ENOUGH_MEMORY;
    }
    added_ = true;
    return PumpUntil([this] {
        return phase_ == Phase::kExchanging && position_.requestBytes != 0 && (upload_.IsQueueEmpty() || HasHead());
    });
}

DWORD Transfer::Flush() {
    return PumpUntil([this] { return upload_.IsQueueEmpty() || HasHead(); });
}

DWORD Transfer::AwaitHead() {
    if (!HasHead() && IsSmallDebt() && session_.WaitsForOwedBytes(origin_)) {
        upload_.Pay();
    }
    awaitingHead_ = true;
    const DWORD code = PumpUntil([this] { return HasHead(); });
    awaitingHead_ = false;
    if (payWithHead_) {
        Drive();
    }
    return code;
}

DWORD Transfer::AwaitBody() {
    const auto done = [this] { return reply_.Available() != 0 || AtEnd(); };
    return done() ? ERROR_SUCCESS : PumpUntil(done);
}

bool Transfer::AtEnd() const {
    return (ended_ && failure_ == ERROR_SUCCESS) || (HasHead() && head_.BodyLength() == bodyReceived_);
}

// ---- The pump ----

template <typename Done>
DWORD Transfer::PumpUntil(Done done) {
    since_ = Clock::now();
    while (failure_ == ERROR_SUCCESS) {
        if (cancel_.IsSet()) {
            return failure_ = ERROR_WINHTTP_OPERATION_CANCELLED;
        }
        Drive();
        if (done() || failure_ != ERROR_SUCCESS || ended_) {
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
            return failure_ = ERROR_WINHTTP_TIMEOUT;
        }
        const auto until =
            std::min({deadline.value_or(now + kLongestWait), payment.value_or(now + kLongestWait), now + kLongestWait});
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - now);
        curl_multi_poll(channel_->Multi(), nullptr, 0, static_cast<int>(wait.count()), nullptr);
    }
    // What has arrived can be read before the error that came after it is reported.
    return done() ? ERROR_SUCCESS : failure_;
}

void Transfer::Drive() {
    if (payWithHead_) {
        payWithHead_ = false;
        upload_.Pay();
    }
    const bool resumeUpload = uploadPaused_ && (!upload_.IsQueueEmpty() || stopped_);
    const bool resumeReply = replyPaused_ && (discarding_ || reply_.HasRoomFor(CURL_MAX_WRITE_SIZE));
    if (resumeUpload || resumeReply) {
        uploadPaused_ = uploadPaused_ && !resumeUpload;
        replyPaused_ = false;
        curl_easy_pause(channel_->Easy(), CURLPAUSE_CONT);
    }
    int running = 0;
    curl_multi_perform(channel_->Multi(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(channel_->Multi(), &left)) {
        if (message->msg == CURLMSG_DONE) {
            TakeResult(message->data.result);
        }
    }
    Observe();
}

void Transfer::Observe() {
    if (phase_ == Phase::kConnecting) {
        // Known as soon as a socket is connected, while the connecting time is known only after the handshake.
        long port = 0;
        curl_easy_getinfo(channel_->Easy(), CURLINFO_PRIMARY_PORT, &port);
        if (port != 0) {
            phase_ = Phase::kSecuring;
            since_ = Clock::now();
        }
    }
    Position position;
    position.received = received_;
    curl_easy_getinfo(channel_->Easy(), CURLINFO_REQUEST_SIZE, &position.requestBytes);
    curl_easy_getinfo(channel_->Easy(), CURLINFO_SIZE_UPLOAD_T, &position.uploaded);
    if (position != position_) {
        position_ = position;
        since_ = Clock::now();
    }
}

void Transfer::TakeResult(CURLcode result) {
    ended_ = true;
    result_ = result;
    if (result != CURLE_OK && !head_.IsFinal()) {
        TakeLastBytes(channel_->LastBytes());
    }
    provisional_ = false;
    if (!head_.IsFinal()) {
        failure_ = CodeWithoutHead(result);
    } else if (result != CURLE_OK && head_.BodyLength() != bodyReceived_) {
        failure_ = CodeOf(result);
    }
}

// The reply that was still unread when the sending failed. A body in chunks is left out: its end could not be told.
void Transfer::TakeLastBytes(std::string_view bytes) {
    if (!bytes.starts_with("HTTP/")) {
        return;
    }
    while (!head_.IsFinal() && !headTooLarge_ && bytes.find('\n') != std::string_view::npos) {
        const std::size_t length = bytes.find('\n') + 1;
        TakeHeaderLine(bytes.substr(0, length));
        bytes.remove_prefix(length);
    }
    if (head_.IsFinal() && head_.BodyLength()) {
        bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(*head_.BodyLength(), bytes.size())));
        reply_.Append({reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()});
        bodyReceived_ += bytes.size();
    }
}

DWORD Transfer::CodeWithoutHead(CURLcode result) const {
    if (headTooLarge_) {
        return ERROR_WINHTTP_HEADER_SIZE_OVERFLOW;
    }
    if (refusedSocket_) {
        return ERROR_WINHTTP_CONNECTION_ERROR;
    }
    if (result == CURLE_OK) {
        return head_.HasBegun() ? ERROR_WINHTTP_INVALID_SERVER_RESPONSE : ERROR_WINHTTP_CONNECTION_ERROR;
    }
    // libcurl's own limit for one line, which it reports like this. What was observed last may be older than the
    // request: on a kept connection all of it can happen in one turn.
    long requestBytes = 0;
    curl_easy_getinfo(channel_->Easy(), CURLINFO_REQUEST_SIZE, &requestBytes);
    if (result == CURLE_OUT_OF_MEMORY && requestBytes != 0) {
        return ERROR_WINHTTP_HEADER_SIZE_OVERFLOW;
    }
    return CodeOf(result);
}

std::optional<Transfer::Clock::time_point> Transfer::Deadline() const {
    DWORD timeout = 0;
    switch (phase_) {
        case Phase::kResolving:
            timeout = settings_.timeouts.resolve;
            break;
        case Phase::kConnecting:
            timeout = settings_.timeouts.connect;
            break;
        case Phase::kSecuring:
            timeout = settings_.timeouts.send;
            break;
        case Phase::kExchanging:
            timeout = IsSending() ? settings_.timeouts.send : settings_.timeouts.receive;
            break;
    }
    if (timeout == 0) {
        return std::nullopt;
    }
    return since_ + std::chrono::milliseconds(timeout);
}

bool Transfer::IsSending() const {
    const bool queued = !upload_.IsQueueEmpty();
    const bool underWay = static_cast<std::uint64_t>(position_.uploaded) < upload_.Taken();
    return !stopped_ && (queued || underWay);
}

// ---- Debts ----

bool Transfer::IsSmallDebt() const {
    return upload_.Owed() != 0 && upload_.Owed() <= UploadBody::kMostPaid;
}

std::optional<Transfer::Clock::time_point> Transfer::PaymentTime() const {
    if (!awaitingHead_ || HasHead() || !uploadPaused_ || !IsSmallDebt()) {
        return std::nullopt;
    }
    return starvedSince_ + kPatienceWithDebt;
}

void Transfer::PayWhatIsOwed() {
    upload_.Pay();
    session_.RememberWaitsForOwedBytes(origin_);
}

// With the final head: what becomes of the rest of the body.
void Transfer::SettleUpload() {
    if (upload_.IsComplete() && !head_.ClosesConnection()) {
        return;
    }
    if (IsSmallDebt() && !head_.ClosesConnection()) {
        // Not here, inside libcurl's callback, but with the next drive.
        payWithHead_ = true;
        answeredEarly_ = true;
        return;
    }
    if (upload_.IsComplete() && upload_.IsQueueEmpty()) {
        return;
    }
    stopped_ = true;
    // libcurl then stops at once where it would otherwise go on sending, and closes the connection after the reply.
    curl_easy_setopt(channel_->Easy(), CURLOPT_KEEP_SENDING_ON_ERROR, 0L);
}

void Transfer::DrainWithoutWaiting() {
    discarding_ = true;
    for (int round = 0; round < kDrainRounds && !ended_; ++round) {
        Drive();
    }
}

// ---- libcurl's callbacks ----

void Transfer::InstallCallbacks() {
    CURL* easy = channel_->Easy();
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
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, channel_.get());
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &Transfer::OnConnected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
}

bool Transfer::AnswersChallenge() const {
    return (head_.Status() == 401 && plan_.server.scheme != 0) || (head_.Status() == 407 && plan_.proxy.scheme != 0);
}

std::size_t Transfer::OnHeader(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.received_ += size * count;
    transfer.TakeHeaderLine({data, size * count});
    return transfer.headTooLarge_ ? 0 : size * count;
}

void Transfer::TakeHeaderLine(std::string_view line) {
    if (provisional_ && line.starts_with("HTTP/")) {
        // The challenge was answered, and this is the reply to that.
        provisional_ = false;
        head_ = ReplyHead(plan_.verb, settings_.maxHeadSize);
    }
    if (head_.IsFinal()) {
        return;
    }
    headTooLarge_ = !head_.TakeLine(line);
    if (head_.IsFinal()) {
        provisional_ = AnswersChallenge();
        if (!provisional_) {
            SettleUpload();
        }
    }
}

std::size_t Transfer::OnReplyBytes(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    const std::size_t bytes = size * count;
    transfer.provisional_ = false;
    if (!transfer.discarding_ && !transfer.reply_.HasRoomFor(bytes)) {
        transfer.replyPaused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.received_ += bytes;
    transfer.bodyReceived_ += bytes;
    if (!transfer.discarding_) {
        transfer.reply_.Append({reinterpret_cast<const BYTE*>(data), bytes});
    }
    return bytes;
}

bool Transfer::HasUnreadReply() const {
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(channel_->Easy(), CURLINFO_ACTIVESOCKET, &socket);
    pollfd entry{socket, POLLIN, 0};
    return socket != CURL_SOCKET_BAD && poll(&entry, 1, 0) > 0;
}

std::size_t Transfer::OnUploadRoom(char* data, std::size_t size, std::size_t count, void* self) {
    auto& transfer = *static_cast<Transfer*>(self);
    if (transfer.stopped_) {
        return 0;
    }
    if (!transfer.head_.IsFinal() && transfer.HasUnreadReply()) {
        // A server that answers early may be closing the connection. Sending into that would fail, and the failure
        // would keep libcurl from reading the reply; so it is read first.
        transfer.uploadPaused_ = true;
        transfer.starvedSince_ = Clock::now();
        return CURL_READFUNC_PAUSE;
    }
    const std::size_t bytes = transfer.upload_.Take({reinterpret_cast<BYTE*>(data), size * count});
    if (bytes == 0) {
        // All that there was is out.
        transfer.uploadPaused_ = true;
        transfer.starvedSince_ = Clock::now();
        return CURL_READFUNC_PAUSE;
    }
    return bytes;
}

int Transfer::OnRewind(void* self, curl_off_t offset, int origin) {
    auto& transfer = *static_cast<Transfer*>(self);
    // Only on the way of an authentication; a dead connection is no reason to send again.
    if (offset != 0 || origin != SEEK_SET || !transfer.AnswersChallenge() || !transfer.upload_.IsRepeatable()) {
        return CURL_SEEKFUNC_FAIL;
    }
    transfer.upload_.Rewind();
    return CURL_SEEKFUNC_OK;
}

curl_socket_t Transfer::OnOpenSocket(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) {
    auto& transfer = *static_cast<Transfer*>(self);
    long requestBytes = 0;
    long tunnelStatus = 0;
    curl_easy_getinfo(transfer.channel_->Easy(), CURLINFO_REQUEST_SIZE, &requestBytes);
    curl_easy_getinfo(transfer.channel_->Easy(), CURLINFO_HTTP_CONNECTCODE, &tunnelStatus);
    if (requestBytes != 0 && !transfer.AnswersChallenge() && tunnelStatus != 407) {
        transfer.refusedSocket_ = true;
        return CURL_SOCKET_BAD;
    }
    transfer.phase_ = Phase::kConnecting;
    transfer.since_ = Clock::now();
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int Transfer::OnConnected(void* self, char* /*remoteIp*/, char* /*localIp*/, int /*remotePort*/, int /*localPort*/) {
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.phase_ = Phase::kExchanging;
    transfer.since_ = Clock::now();
    return CURL_PREREQFUNC_OK;
}

}  // namespace quillmark::platform::winhttp
