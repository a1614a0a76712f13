// CNativeHttp: the client object. What it is to a host, which threads may call it and what its results mean is written
// at IQuillmarkHttpAPI; here is what its operations share.
//
// Every operation goes the same road: it takes the current session, builds its path below the API endpoint that
// discovery chose, makes a connection and a request for itself, binds the caller's cancel event to the request, sends,
// receives, and turns the reply into a code. The steps of that road are public so that they can be tested one by one; a
// host sees the interface only.
//
// Locks. m_sessionLock guards the list of sessions, m_serverModeLock the discovery and the mode that it found. Init
// holds the second one from beginning to end and takes the first one inside for as long as it takes to pick a session;
// no other operation takes more than one, so there is no order in which two threads could wait for each other. No lock
// is held during a request but that of Init.
//
// Memory. A client object keeps its sessions, a request keeps its session: an operation that began before a new session
// was made ends on the old one.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "common/Log.h"
#include "model/Endpoints.h"
#include "quillmark/HttpApi.h"

namespace quillmark {

class EventMultiTrigger;

// The version of the server's API; zero until discovery.
struct ApiVersion {
    DWORD majorNumber = 0;
    DWORD minorNumber = 0;

    friend constexpr auto operator<=>(const ApiVersion&, const ApiVersion&) noexcept = default;
};

class CNativeHttp final : public IQuillmarkHttpAPI {
public:
    using Session = std::shared_ptr<IWinHttpSession>;
    using Connection = std::shared_ptr<IWinHttpConnection>;
    using Request = std::shared_ptr<IWinHttpRequest>;

    // The longest that a request may take to connect, to resolve the name, to send and to receive, in milliseconds; 0
    // for the configured time-out.
    struct Timeouts {
        DWORD connect = 0;
        DWORD resolve = 0;
        DWORD send = 0;
        DWORD receive = 0;
    };

    // Binds a cancel event to a request for the life of the tracker: when the event is set, the trigger's thread closes
    // the request's handle, and whatever call blocks in the request fails at once. The request is not kept alive by it.
    // Without an event, or when the trigger has no place left, the request cannot be cancelled; it runs all the same.
    class RequestHandleTracker {
    public:
        RequestHandleTracker(std::shared_ptr<EventMultiTrigger> trigger, HANDLE cancelEvent, const Request& request);
        ~RequestHandleTracker();
        RequestHandleTracker(const RequestHandleTracker&) = delete;
        RequestHandleTracker& operator=(const RequestHandleTracker&) = delete;

    private:
        std::shared_ptr<EventMultiTrigger> m_trigger;
        HANDLE m_cancelEvent;
        bool m_registered = false;
    };

    // The factory (not null) makes every session, connection and request of this client. Lets std::bad_alloc out; a
    // session that cannot be opened is only logged.
    CNativeHttp(const WideString& deviceName, std::shared_ptr<IWinHttpFactory> factory);
    ~CNativeHttp() override;
    CNativeHttp(const CNativeHttp&) = delete;
    CNativeHttp& operator=(const CNativeHttp&) = delete;

    // ---- IQuillmarkHttpAPI -----------------------------------------------------------------------------------------

    [[nodiscard]] DWORD Init(DWORD& serverMode, DWORD& extraValue, HANDLE cancelEvent) override;
    void CreateNewSession(const WideString& sessionToken) override;
    [[nodiscard]] DWORD Version(WideString& version) override;
    [[nodiscard]] bool SupportsApi16() override;
    [[nodiscard]] bool SupportsApi17() override;
    DWORD SetServer(WideString& server) override;
    DWORD SetPort(DWORD port) override;
    void SetNarrowValue(const char* value) override;
    void SetDeviceName(const char* deviceName) override;
    void SetAuthMode(DWORD mode) override;

    [[nodiscard]] DWORD Login(const WideString& user, const WideString& password, const WideString& deviceToken,
                              const WideString& deviceIdentifier, WideString& policyText,
                              const WideString& clientVersion, const WideString& platformVersion,
                              HANDLE cancelEvent) override;
    StatusPair Register(const WideString& user, const WideString& deviceIdentifier, HANDLE cancelEvent) override;
    void GetSessionToken(WideString& token) override;
    void SetSessionToken(const WideString& token) override;

    StatusPair GetChanges(NotificationList& actions, HANDLE cancelEvent) override;
    StatusPair GetRemoteFolderMap(MappingList& mappings, ResponseBuffer& reply, HANDLE cancelEvent) override;
    StatusPair GetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) override;
    StatusPair SetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD GetMappingsFromResponse(const ResponseBuffer& reply, MappingList& mappings, DWORD flag,
                                                DWORD& count) override;
    StatusPair GetPathListing(const WideString& serverPath, ItemList& children, Attributes& self,
                              HANDLE cancelEvent) override;
    StatusPair DeletePath(const WideString& serverPath, const Attributes& attributes, HANDLE cancelEvent) override;
    StatusPair RenamePath(const WideString& source, const WideString& target, DWORD overwrite, Attributes& attributes,
                          HANDLE cancelEvent) override;
    StatusPair AcknowledgeRemoteWipe(const WideString& user, const WideString& deviceIdentifier,
                                     HANDLE cancelEvent) override;
    StatusPair CreateFolder(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) override;

    [[nodiscard]] DWORD UploadFile(const WideString& localPath, const WideString& serverPath,
                                   const Attributes& attributes, HANDLE cancelEvent, const Progress& progress,
                                   std::uint64_t progressContext) override;
    [[nodiscard]] DWORD UploadDelta(const WideString& deltaPath, const WideString& serverPath,
                                    const Attributes& attributes, DWORD deltaType, HANDLE cancelEvent,
                                    const Progress& progress) override;
    [[nodiscard]] DWORD ResumableUpload(const WideString& localPath, const WideString& serverPath,
                                        const Attributes& attributes, const GUID& uploadId, std::int64_t& offset,
                                        std::int64_t& length, bool firstChunk, HANDLE cancelEvent,
                                        const Progress& progress, std::uint64_t progressContext) override;
    [[nodiscard]] DWORD CancelUpload(const WideString& serverPath, const GUID& uploadId, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD CompleteUpload(const WideString& serverPath, const WideString& newPath, const GUID& uploadId,
                                       const Attributes& attributes, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD GetResumableUploadMetadata(const WideString& serverPath, const GUID& uploadId,
                                                   std::int64_t& offset, bool& locked, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD DownloadFile(const WideString& serverPath, const WideString& localPath,
                                     const Attributes& expected, const Attributes& attributes,
                                     const WideString& deltaBase, HANDLE cancelEvent, const Progress& progress,
                                     std::uint64_t progressContext) override;
    [[nodiscard]] DWORD DownloadData(const WideString& serverPath, const WideString& localPath,
                                     const Attributes& expected, const Attributes& attributes, std::uint64_t start,
                                     std::int64_t end, HANDLE cancelEvent, const Progress& progress,
                                     std::uint64_t progressContext) override;

    StatusPair PublishSyncStats(const char* statistics, HANDLE cancelEvent) override;
    StatusPair GenerateLink(const std::shared_ptr<const ShareRequest>& share, HANDLE cancelEvent) override;
    StatusPair TestLock(const WideString& serverPath, DWORD& lockState, HANDLE cancelEvent) override;
    StatusPair RequestLock(const WideString& serverPath, DWORD duration, HANDLE cancelEvent) override;
    StatusPair ReleaseLock(const WideString& serverPath, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD AsyncDeltaStart(const WideString& deltaPath, const WideString& serverPath,
                                        const Attributes& attributes, GUID& job, DWORD deltaType,
                                        const Progress& progress, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD AsyncDeltaStatus(AsyncDeltaJobList& jobs, HANDLE cancelEvent) override;
    [[nodiscard]] DWORD AsyncDeltaCommit(const GUID& job, const Attributes& attributes, std::uint64_t expectedSize,
                                         HANDLE cancelEvent) override;
    [[nodiscard]] DWORD AsyncDeltaCancel(const GUID& job, HANDLE cancelEvent) override;

    void Release() override;

    // ---- Sessions --------------------------------------------------------------------------------------------------

    // The session for an operation that begins now: the oldest one, after one that is older was let go when there are
    // several. Null only when the factory never made one.
    [[nodiscard]] Session GetSession();

    // The session's token, which its requests send from now on; empty without a session.
    [[nodiscard]] static WideString TokenOf(const Session& session);

    // ---- The request pipeline --------------------------------------------------------------------------------------

    // The base of the paths of the folder tree and of transfers: the API path, or on a server of API 1.0 "/api/" and
    // the session's token. An operation formats its URL from it and the path that EncodePath (Steps.h) gives.
    [[nodiscard]] WideString GetApiPath(const Session& session) const;

    // "?revision=r1" for the separator "?" and the revision "r1"; nothing for an empty revision.
    void AddRevision(std::string& query, const char* separator, const std::string& revision) const;

    // The same as a new query, with the revision of the record that the caller knows; nothing without a record.
    [[nodiscard]] std::string RevisionQuery(const char* separator, const Attributes& known) const;

    // Makes a connection to the server and a request on it. The connection must outlive the request: declare it first.
    // ERROR_INVALID_HANDLE when there is no session or the factory makes no object.
    [[nodiscard]] DWORD CreateRequest(const Session& session, const WideString& path, const WideString& verb,
                                      Request& request, Connection& connection, const Timeouts& timeouts);

    // Sends the request, reads the reply into memory and judges it: success is status 200, with a body when one is
    // expected.
    StatusPair GetResponse(IWinHttpRequest& request, ResponseBuffer& reply, bool bodyExpected) const;

    // What a failing status comes to: 20000 plus the "errorId" of the reply when it has one other than 0, else plus the
    // status; and the reply's "severity".
    StatusPair ErrorFromStatus(DWORD httpStatus, const ResponseBuffer& reply) const;

    // The same for an operation that streamed a body with the token given: ERROR_RETRY when the server refused the
    // token and the session has another one by now.
    StatusPair ErrorFromStatusWithRetry(const Session& session, DWORD httpStatus, const WideString& sentToken,
                                        const ResponseBuffer& reply) const;

    // ERROR_RETRY for a 401 to a token that is no longer the session's; the given code otherwise.
    [[nodiscard]] DWORD CheckForChangedSessionToken(const Session& session, DWORD httpStatus,
                                                    const WideString& sentToken, DWORD error) const;

    // Gives the session the normal time-outs back after requests that ran with others; nothing without a session.
    void ResetTimeouts(const Session& session) const;

    // The revision of the one item that the reply describes; 13 when the reply is missing or unreadable.
    [[nodiscard]] DWORD ExtractRevisionFromResponse(const ResponseBuffer& reply, std::string& revision) const;

    // Writes a reply to the log: JSON indented, anything else as a hex dump of its first 512 bytes. Never fails.
    void LogResponse(const ResponseBuffer& reply) const;

    // ---- Steps of discovery ----------------------------------------------------------------------------------------

    // Asks the server's root for its endpoints, on the session that is current by then.
    [[nodiscard]] DWORD GetEndpoints(EndpointMap& sync, EndpointMap& logging, HANDLE cancelEvent);

    // Puts the server's address into the user's trusted zone. Failures are only logged.
    void AddURIToTrustedZone() const;

private:
    // Sets the client up after its factory is there.
    void Create(const WideString& deviceName);
    // CreateNewSession without a boundary of its own: lets std::bad_alloc out.
    void OpenSession(const WideString& sessionToken);

    [[nodiscard]] DWORD Discover(const Logger& log, const Session& session, DWORD& serverMode, DWORD& extraValue,
                                 HANDLE cancelEvent);
    void StoreLoggingEndpoint(const Logger& log, const EndpointMap& logging);
    [[nodiscard]] DWORD AskServerMode(const Logger& log, const Session& session, DWORD& serverMode, HANDLE cancelEvent);

    // The whole-file form of DownloadFile.
    // NOLINTNEXTLINE(bugprone-reserved-identifier): the name under which the log knows it
    [[nodiscard]] DWORD _Internal_DownloadFile(const WideString& serverPath, const WideString& localPath,
                                               const Attributes& expected, const Attributes& attributes,
                                               HANDLE cancelEvent, const Progress& progress,
                                               std::uint64_t progressContext);
    // Downloads the present contents after the server said that the expected revision is no longer the item's.
    [[nodiscard]] DWORD HandleRevisionMismatch(const WideString& serverPath, const WideString& localPath,
                                               const Attributes& expected, const Attributes& attributes,
                                               HANDLE cancelEvent, const Progress& progress,
                                               std::uint64_t progressContext);
    // Reads the body of a reply that refused a download, and judges it.
    [[nodiscard]] DWORD ReadRefusal(const Logger& log, IWinHttpRequest& request, DWORD sendError) const;
    // The form of DownloadFile that sends the local base along.
    // NOLINTNEXTLINE(bugprone-reserved-identifier): the name under which the log knows it
    [[nodiscard]] DWORD _Internal_DownloadDelta(const WideString& serverPath, const WideString& localPath,
                                                const Attributes& expected, const Attributes& attributes,
                                                const WideString& deltaBase, HANDLE cancelEvent,
                                                const Progress& progress, std::uint64_t progressContext);
    // Puts the record that belongs to downloaded contents into attributes. A failure is for the caller to log.
    [[nodiscard]] DWORD TakeDownloadAttributes(const WideString& serverPath, const Attributes& expected,
                                               const Attributes& attributes, HANDLE cancelEvent);

    // CreateRequest for a resumable upload, whose URL is the same in every request about it.
    [[nodiscard]] DWORD CreateUploadRequest(const Session& session, const WideString& serverPath, const GUID& uploadId,
                                            const WideString& verb, Request& request, Connection& connection);
    // What a refused chunk comes to: corrects the offset, or takes the server's record, where the refusal calls for it.
    [[nodiscard]] DWORD JudgeRefusedChunk(const Logger& log, const WideString& serverPath, const GUID& uploadId,
                                          StatusPair refusal, const ResponseBuffer& reply,
                                          IServerAttributes& attributes, std::int64_t& offset, HANDLE cancelEvent);

    // CreateRequest for one asynchronous delta job.
    [[nodiscard]] DWORD CreateJobRequest(const Session& session, const GUID& job, const WideString& verb,
                                         Request& request, Connection& connection);
    // CreateRequest for the lock of a path, which is encoded already, with the time-outs of locks.
    [[nodiscard]] DWORD CreateLockRequest(const Session& session, const std::string& path, const WideString& verb,
                                          Request& request, Connection& connection);

    // One registration request and what came of it.
    struct RegistrationExchange {
        Connection connection;
        Request request;
        ResponseBuffer reply;
        DWORD httpStatus = 0;
    };
    [[nodiscard]] DWORD SendRegistration(const Logger& log, const WideString& path, const WideString& user,
                                         const WideString& deviceIdentifier, HANDLE cancelEvent,
                                         RegistrationExchange& exchange);

    std::shared_ptr<IWinHttpFactory> m_factory;
    std::list<Session> m_sessions;  // oldest first
    std::mutex m_sessionLock;
    WideString m_server;
    WORD m_port = 0;
    std::string m_narrowValue;
    bool m_secure = false;
    WideString m_apiPath;
    ApiVersion m_apiVersion;
    WideString m_loggingPath;
    WideString m_deviceName;
    std::shared_ptr<EventMultiTrigger> m_cancelTrigger;
    std::mutex m_reservedLock;
    DWORD m_serverMode = SERVER_MODE_UNKNOWN;
    DWORD m_serverModeExtra = 0;
    DWORD m_authMode = AUTH_MODE_PASSWORD;
    std::mutex m_serverModeLock;
};

}  // namespace quillmark
