#include "http/HttpConnection.h"

#include "Pch.h"
#include "Statistics.h"
#include "faults/FaultActions.h"
#include "faults/Faults.h"
#include "handlers/Router.h"
#include "http/Errors.h"
#include "http/ReplyWriter.h"
#include "http/RequestBody.h"
#include "http/RequestHead.h"
#include "http/Transport.h"
#include "http/Uri.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::seconds HandshakeTime{30};

// What became of the connection after a request.
struct Outcome {
    bool keep = false;
    std::size_t owed = 0;  // bytes of the request's body that were announced and never needed
};

class HttpConnection {
public:
    HttpConnection(asio::ip::tcp::socket socket, SSL_CTX* tls, Services& services)
        : m_services(services), m_router(services), m_secure(tls != nullptr) {
        boost::system::error_code ignored;
        m_peerAddress = socket.remote_endpoint(ignored).address().to_string();
        m_transport = std::make_shared<Transport>(std::move(socket), tls, services.options.idleTime);
        m_buffer.emplace(*m_transport);
    }
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;
    ~HttpConnection() { m_transport->Close(); }

    asio::awaitable<void> Run();

private:
    asio::awaitable<std::optional<Request>> ReadHead(std::size_t owed, std::optional<Reply>& refusal);
    asio::awaitable<Outcome> Serve(const Request& request);
    std::optional<TakenFault> Count(const Request& request);
    asio::awaitable<Reply> Work(const Request& request, RequestBody& body, const std::optional<TakenFault>& taken);
    asio::awaitable<Outcome> Answer(const Request& request, RequestBody& body, const Reply& reply,
                                    const std::optional<TakenFault>& taken);
    asio::awaitable<bool> Drain(RequestBody& body);
    void InterfereWithBody(const Fault& fault);

    Services& m_services;
    Router m_router;
    bool m_secure;
    std::string m_peerAddress;
    std::shared_ptr<Transport> m_transport;
    std::optional<ReadBuffer> m_buffer;
    std::optional<std::size_t> m_number;  // in the statistics
    std::uint64_t m_receivedBefore = 0;
    std::uint64_t m_sentBefore = 0;
};

asio::awaitable<void> HttpConnection::Run() {
    m_transport->SetLimit(HandshakeTime);
    co_await m_transport->Handshake();
    m_transport->ClearLimit();
    std::size_t owed = 0;
    for (;;) {
        std::optional<Reply> refusal;
        const auto request = co_await ReadHead(owed, refusal);
        if (refusal) {
            co_await WriteReply(*m_transport, *refusal, false, nullptr);
            break;
        }
        if (!request) {
            break;
        }
        const Outcome outcome = co_await Serve(*request);
        if (!outcome.keep) {
            break;
        }
        owed = outcome.owed;
    }
    co_await m_transport->Linger();
}

// Empty without a refusal when the client is done.
asio::awaitable<std::optional<Request>> HttpConnection::ReadHead(std::size_t owed, std::optional<Reply>& refusal) {
    std::optional<Request> request;
    try {
        request = co_await ReadRequestHead(*m_transport, *m_buffer, owed);
    } catch (const ApiError& error) {
        refusal = ErrorReply(error.Id(), error.what());
    }
    if (request) {
        request->peerAddress = m_peerAddress;
        request->secure = m_secure;
    }
    co_return request;
}

asio::awaitable<Outcome> HttpConnection::Serve(const Request& request) {
    const bool counted = !m_router.IsControl(request);
    std::optional<TakenFault> taken;
    if (counted) {
        taken = Count(request);
    }
    RequestBody body(request, *m_transport, *m_buffer);
    Reply reply = co_await Work(request, body, taken);
    if (counted) {
        m_services.statistics.RecordReply(reply.status);
    }
    const Outcome outcome = co_await Answer(request, body, reply, taken);
    if (counted) {
        m_services.statistics.RecordBytes(m_transport->Received() - m_receivedBefore,
                                          m_transport->Sent() - m_sentBefore);
    }
    m_receivedBefore = m_transport->Received();
    m_sentBefore = m_transport->Sent();
    co_return outcome;
}

// Counters and faults name paths as people write them.
std::optional<TakenFault> HttpConnection::Count(const Request& request) {
    const std::string path = PercentDecode(request.path, false).value_or(request.path);
    m_number = m_services.statistics.RecordRequest(m_number, request.method, path);
    return m_services.options.faults ? m_services.faults.Take(request.method, path) : std::nullopt;
}

asio::awaitable<Reply> HttpConnection::Work(const Request& request, RequestBody& body,
                                            const std::optional<TakenFault>& taken) {
    if (taken) {
        auto instead = co_await ActBeforeWork(m_services, *taken, request, *m_transport);
        InterfereWithBody(taken->fault);
        if (instead) {
            co_return std::move(*instead);
        }
    }
    Reply reply = co_await m_router.Answer(request, body);
    co_return reply;
}

asio::awaitable<Outcome> HttpConnection::Answer(const Request& request, RequestBody& body, const Reply& reply,
                                                const std::optional<TakenFault>& taken) {
    const Fault* fault = taken ? &taken->fault : nullptr;
    const bool early = fault != nullptr && fault->early;
    bool drained = false;
    if (!early) {
        drained = co_await Drain(body);
    }
    m_transport->InterfereWithReading(Interference());
    if (taken) {
        co_await ActAfterWork(m_services, *taken, *m_transport);
    }
    // A client takes what follows the head of an answer to HEAD for the next answer.
    const bool keep = drained && request.keepAlive && request.method != "HEAD";
    co_await WriteReply(*m_transport, reply, keep, fault);
    if (reply.written) {
        reply.written();
    }
    const bool liedAboutLength = fault != nullptr && fault->kind == FaultKind::Length;
    co_return Outcome{keep && !liedAboutLength, body.Owed()};
}

// A body that turns out to be broken only while it is dropped costs the connection, not the answer.
asio::awaitable<bool> HttpConnection::Drain(RequestBody& body) {
    bool drained = false;
    try {
        drained = co_await body.Drain();
    } catch (const ApiError&) {
        drained = false;
    }
    co_return drained;
}

// Bytes of the body that came together with the head have passed already.
void HttpConnection::InterfereWithBody(const Fault& fault) {
    Interference interference = fault.OnRequestBody();
    interference.Moved(m_buffer->Window().size());
    m_transport->InterfereWithReading(interference);
}

}  // namespace

asio::awaitable<void> ServeConnection(asio::ip::tcp::socket socket, SSL_CTX* tls, Services& services,
                                      std::shared_ptr<void> slot) {
    try {
        HttpConnection connection(std::move(socket), tls, services);
        co_await connection.Run();
    } catch (const boost::system::system_error&) {
        // The peer has gone, or has kept us waiting too long: there is nobody to tell.
    } catch (const ConnectionAbandoned&) {
        // A fault has ended it.
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillmark-appliance: connection: %s\n", error.what());
    }
    slot.reset();
}

}  // namespace appliance
