// One request and its reply on one channel: libcurl's callbacks turned into calls that pull.
//
//     Resolving   the name is looked up                            resolve time-out
//     Connecting  sockets are tried                                connect time-out
//     Securing    proxy tunnel and TLS handshake                   send time-out
//     Exchanging  the request goes out, the reply comes in         send time-out while bytes are to go out, else
//     receive
//
// A kept connection starts in Exchanging. The transfer moves only inside the calls Start, Flush, AwaitHead and
// AwaitBody; a time-out begins anew with each of them and with every byte that moves.
//
// The upload and the reply overlap. What holds between them:
//   - Before the final head nothing is sent but what the caller wrote, except that up to three bytes which the
//   announced
//     length has too many are paid with line breaks when the server keeps silent for a second, or is known to.
//   - With the final head the caller's later writes lose their meaning. If the body is whole but for those bytes, the
//   rest
//     goes out, they are paid, and the connection stays usable; if not, or if the server closes anyway, sending stops
//     and the connection is not used again.
//   - An error of the sending side counts only as long as there is no final head.
//
// Nothing goes out twice: once the first byte of the request is out, no further socket is opened, unless libcurl is
// answering a challenge on its way.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "winhttp/CancelSignal.h"
#include "winhttp/ChannelPool.h"
#include "winhttp/PeerCertificate.h"
#include "winhttp/ReplyBody.h"
#include "winhttp/ReplyHead.h"
#include "winhttp/Session.h"
#include "winhttp/TransferOptions.h"
#include "winhttp/UploadBody.h"

namespace quillmark::platform::winhttp {

class Transfer {
public:
    // The arguments outlive the transfer. Throws std::bad_alloc.
    Transfer(Session& session, CancelSignal& cancel, const Settings& settings, UploadBody& upload,
             const TransferPlan& plan);

    // Never blocks. The channel of a complete exchange goes back to the session.
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // Connects and sends the head and what the upload holds.
    [[nodiscard]] DWORD Start();

    // Sends what the upload holds. A success once there is a final head.
    [[nodiscard]] DWORD Flush();

    // Sends what the upload holds and waits for the final head.
    [[nodiscard]] DWORD AwaitHead();

    // Waits until Body() has bytes or AtEnd().
    [[nodiscard]] DWORD AwaitBody();

    [[nodiscard]] const ReplyHead& Head() const { return m_head; }
    [[nodiscard]] ReplyBody& Body() { return m_reply; }
    // What the server has shown; none before the request goes out, and none without TLS.
    [[nodiscard]] const PeerCertificate& Certificate() const { return m_certificate; }

    // The whole body has arrived (and may still wait in Body()).
    [[nodiscard]] bool AtEnd() const;

    // The final head is there: later writes are not sent.
    [[nodiscard]] bool HasHead() const { return m_head.IsFinal() && !m_provisional; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Resolving, Connecting, Securing, Exchanging };

    // How far everything that moves has come; a difference is progress.
    struct Position {
        long requestBytes = 0;
        curl_off_t uploaded = 0;
        std::uint64_t received = 0;
        bool operator==(const Position&) const = default;
    };

    static std::size_t OnHeader(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t OnReplyBytes(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t OnUploadRoom(char* data, std::size_t size, std::size_t count, void* self);
    static int OnRewind(void* self, curl_off_t offset, int origin);
    static curl_socket_t OnOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int OnConnected(void* self, char* remoteIp, char* localIp, int remotePort, int localPort);
    static int OnTrace(CURL* easy, curl_infotype kind, char* data, std::size_t size, void* self);

    void InstallCallbacks();
    void TakeHeaderLine(std::string_view line);
    void SettleUpload();

    template <typename Done>
    [[nodiscard]] DWORD PumpUntil(Done done);
    void Drive();
    void Observe();
    void TakeResult(CURLcode result);
    void TakeLastBytes(std::string_view bytes);
    void TakeBody(std::string_view bytes);
    [[nodiscard]] DWORD CodeWithoutHead(CURLcode result) const;
    void PayWhatIsOwed();
    [[nodiscard]] bool IsSmallDebt() const;
    [[nodiscard]] std::optional<Clock::time_point> PaymentTime() const;
    [[nodiscard]] std::optional<Clock::time_point> Deadline() const;
    [[nodiscard]] bool IsSending() const;
    [[nodiscard]] bool AnswersChallenge() const;
    [[nodiscard]] bool SendsTicket() const;
    [[nodiscard]] bool HasUnreadReply() const;
    void DrainWithoutWaiting();

    Session& m_session;
    CancelSignal& m_cancel;
    const Settings& m_settings;
    UploadBody& m_upload;
    const TransferPlan m_plan;
    const std::string m_origin;
    std::unique_ptr<Channel> m_channel;
    List m_headerList;

    PeerCertificate m_certificate;
    ReplyHead m_head;
    ReplyBody m_reply;
    std::uint64_t m_bodyReceived = 0;

    Phase m_phase = Phase::Resolving;
    Clock::time_point m_since;
    Position m_position;
    std::uint64_t m_received = 0;

    bool m_added = false;
    bool m_uploadPaused = false;
    bool m_replyPaused = false;
    Clock::time_point m_starvedSince;
    bool m_awaitingHead = false;
    // The upload was given up: libcurl is told that it is over, and the connection is not used again.
    bool m_stopped = false;
    bool m_payWithHead = false;
    bool m_answeredEarly = false;
    bool m_discarding = false;
    // The head is final by its status, but libcurl may be about to answer the challenge in it.
    bool m_provisional = false;
    // The body of a provisional reply, which libcurl reads and keeps from us while it means to ask once more.
    std::string m_provisionalBody;
    bool m_refusedSocket = false;
    bool m_headTooLarge = false;

    bool m_ended = false;
    CURLcode m_result = CURLE_OK;
    DWORD m_failure = ERROR_SUCCESS;
};

}  // namespace quillmark::platform::winhttp
