// IQuillmarkHttpAPI: the client object, and the four exports that make it.
//
// A host loads the library, calls Init once with its logging context and its services, makes a client object per server
// account with CreateInstance, names the server (SetServer, SetPort), logs in (Login discovers the server first), and
// then calls any operation. It disposes of the object with ReleaseClient.
//
// Threads. Every operation runs on the calling thread and blocks until it is done; one client object takes operations
// from several threads at once. SetServer to SetAuthMode write without a lock: call them before the concurrent use
// begins. ReleaseClient is called when no operation runs any more.
//
// Cancellation. Operations take a cancel event: a manual-reset event, one per running operation, null for an operation
// that cannot be cancelled. Set while the operation runs, it ends the operation at once, wherever that blocks; set
// before, it may still lose to a quick reply. A cancelled operation fails with 1223, 12017 or 6, depending on where it
// was; whether it was cancelled, the caller knows from its own event. A second operation on the same event takes the
// place of the first: setting the event then cancels the second one only. Of one client object's operations 61 at a
// time are cancellable.
//
// Results. DWORD is a Windows error code, 0 for success; StatusPair adds the severity that the server gave. Failures of
// the transport are WinHTTP's codes (12002 time-out, 12007 name not found, 12029 cannot connect, 12030 connection lost,
// 12175 TLS ...). Failures that the server reports are 20000 plus its "errorId", or 20000 plus the HTTP status. The
// library's own: 13 the reply is missing or unreadable, 87 a bad argument or a server too old for the operation, 1223
// cancelled, 1237 the session token changed while the request was on its way (repeat the operation), 12004 and 19006
// discovery, 12152 a reply without the body that it must have, 19016 a download that ended short. No operation lets an
// exception out: memory exhaustion is 8, an internal failure 1359.
//
// Paths. Local paths are the platform's; server paths are absolute, with '/' between the components. Texts are UTF-16.
//
// The order of the virtual functions is part of the calling interface, and so is this compiler's C++ ABI: build the
// host with the same compiler and standard library as the library.
#pragma once

#include <cstdint>
#include <memory>

#include "quillmark/Attributes.h"
#include "quillmark/Errors.h"
#include "quillmark/ProgressSink.h"
#include "quillmark/Records.h"
#include "quillmark/ResponseBuffer.h"
#include "quillmark/Services.h"
#include "quillmark/Transport.h"
#include "quillmark/WideString.h"

namespace quillmark {

// Authentication modes (SetAuthMode).
inline constexpr DWORD AUTH_MODE_PASSWORD = 0;
inline constexpr DWORD AUTH_MODE_INTEGRATED = 1;

// Server modes (Init).
inline constexpr DWORD SERVER_MODE_UNKNOWN = 0;
inline constexpr DWORD SERVER_MODE_LEGACY = 1;
inline constexpr DWORD SERVER_MODE_DEVICE_TOKEN = 2;

class IQuillmarkHttpAPI {
public:
    using Attributes = std::shared_ptr<IServerAttributes>;
    using Progress = std::shared_ptr<IProgressSink>;

    virtual ~IQuillmarkHttpAPI() = default;

    // ---- Discovery and configuration -------------------------------------------------------------------------------

    // Finds the server's API endpoint and version and its mode. Once per object: after a success it answers from
    // what it learned, without a request. serverMode: SERVER_MODE_*. extraValue: a quarter of the endpoint's "tos".
    // 19006: the server offers no API that this client speaks. 12004: it does not tell its mode.
    [[nodiscard]] virtual DWORD Init(DWORD& serverMode, DWORD& extraValue, HANDLE cancelEvent) = 0;

    // Makes a fresh transport session that carries this token (may be empty); operations that start from now on use it.
    virtual void CreateNewSession(const WideString& sessionToken) = 0;

    // Asks the server for its version text. 12004: the reply holds none.
    [[nodiscard]] virtual DWORD Version(WideString& version) = 0;

    // Whether the discovered API version is 1.6 (deltas of type 1) or 1.7 (asynchronous delta jobs) or later; false
    // before discovery.
    [[nodiscard]] virtual bool SupportsApi16() = 0;
    [[nodiscard]] virtual bool SupportsApi17() = 0;

    // The server's address with its scheme, "https://files.example.com"; https selects TLS. The text is lowered in
    // place. Always pass a scheme: without one the name loses its first two characters. Returns 0.
    virtual DWORD SetServer(WideString& server) = 0;
    // Returns 0.
    virtual DWORD SetPort(DWORD port) = 0;
    // Keeps a text for the host; no operation reads it.
    virtual void SetNarrowValue(const char* value) = 0;
    // Replaces the device name that login and registration send. UTF-8 here, the system code page on Windows.
    virtual void SetDeviceName(const char* deviceName) = 0;
    // AUTH_MODE_*. Integrated: requests are answered with the logged-on user's credentials, and the server's address is
    // added to the user's trusted zone at discovery.
    virtual void SetAuthMode(DWORD mode) = 0;

    // ---- Account ---------------------------------------------------------------------------------------------------

    // Signs the user and the device in; discovers the server first when that is still to do. The session token goes to
    // the current session and rides on every later request. policyText receives the whole reply when it carries a
    // policy block. clientVersion and platformVersion may be empty. 5: the server gave an empty token.
    [[nodiscard]] virtual DWORD Login(const WideString& user, const WideString& password, const WideString& deviceToken,
                                      const WideString& deviceIdentifier, WideString& policyText,
                                      const WideString& clientVersion, const WideString& platformVersion,
                                      HANDLE cancelEvent) = 0;

    // Registers the device with the user's account; the server sends the user a message to confirm it, again when the
    // device was registered before.
    virtual StatusPair Register(const WideString& user, const WideString& deviceIdentifier, HANDLE cancelEvent) = 0;

    // The token of the current session, empty when there is none.
    virtual void GetSessionToken(WideString& token) = 0;
    virtual void SetSessionToken(const WideString& token) = 0;

    // ---- The folder tree -------------------------------------------------------------------------------------------

    // What changed on the server since this session last asked. A reply that is not JSON counts as no changes.
    virtual StatusPair GetChanges(NotificationList& actions, HANDLE cancelEvent) = 0;

    // The user's mapped folders; reply receives the raw reply, also when the server refuses. 13: none, or a server of
    // API 1.0; mappings is then as it was.
    virtual StatusPair GetRemoteFolderMap(MappingList& mappings, ResponseBuffer& reply, HANDLE cancelEvent) = 0;

    // The record of one item.
    virtual StatusPair GetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) = 0;

    // Writes an item's creation time, last-write time and Windows attributes; attributes holds the new values and
    // is replaced by the record as the server now has it.
    virtual StatusPair SetPathAttributes(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) = 0;

    // Reads mapped folders from a reply that GetRemoteFolderMap gave. flag: 0. count: how many were appended. 13: the
    // reply is unreadable, wholly or from some folder on; those before it are there.
    [[nodiscard]] virtual DWORD GetMappingsFromResponse(const ResponseBuffer& reply, MappingList& mappings, DWORD flag,
                                                        DWORD& count) = 0;

    // The items of a folder (children, in reply order) and the folder's own record (self). 87: empty path, or discovery
    // has not run. 13: the reply does not describe one folder.
    virtual StatusPair GetPathListing(const WideString& serverPath, ItemList& children, Attributes& self,
                                      HANDLE cancelEvent) = 0;

    // Deletes an item; with a revision in attributes (may be null) only while the item still has it.
    virtual StatusPair DeletePath(const WideString& serverPath, const Attributes& attributes, HANDLE cancelEvent) = 0;

    // Renames within a folder, or moves. overwrite: only 1 lets an existing target be overwritten. attributes receives
    // the record of the renamed item. 13: the reply is unreadable; the rename may have happened.
    virtual StatusPair RenamePath(const WideString& source, const WideString& target, DWORD overwrite,
                                  Attributes& attributes, HANDLE cancelEvent) = 0;

    // Tells the server that the remote wipe it ordered was carried out. What the server refuses is the bare HTTP
    // status. A server of API 1.0 takes no acknowledgement: success without a request.
    virtual StatusPair AcknowledgeRemoteWipe(const WideString& user, const WideString& deviceIdentifier,
                                             HANDLE cancelEvent) = 0;

    // Makes a folder; attributes receives its record.
    virtual StatusPair CreateFolder(const WideString& serverPath, Attributes& attributes, HANDLE cancelEvent) = 0;

    // ---- Transfers -------------------------------------------------------------------------------------------------
    // progress may be null; progressContext is handed through to it.

    // Sends one local file whole. attributes (not null): the times, attributes, size and revision to send; on success
    // overwritten with the server's record, and also on 21077 (revision mismatch) when the reply describes the item.
    // 12152: success without a body. 13: the reply is not one item.
    [[nodiscard]] virtual DWORD UploadFile(const WideString& localPath, const WideString& serverPath,
                                           const Attributes& attributes, HANDLE cancelEvent, const Progress& progress,
                                           std::uint64_t progressContext) = 0;

    // Sends a delta file that the server applies to its copy. deltaType 1 asks for the overwrite-or-append
    // optimisation and needs API 1.6 (87 otherwise). attributes (not null): what to send, and the server's record
    // afterwards. A revision mismatch whose reply describes the item is a success here: the record tells by its
    // revision.
    [[nodiscard]] virtual DWORD UploadDelta(const WideString& deltaPath, const WideString& serverPath,
                                            const Attributes& attributes, DWORD deltaType, HANDLE cancelEvent,
                                            const Progress& progress) = 0;

    // Sends one chunk of a resumable upload. offset and length are in bytes; length is cut to the file's end.
    // firstChunk starts the upload. attributes (not null, with the size of the whole file) holds what to send, and
    // becomes the server's record with the chunk that reaches the end, and on 21077. After 21202 offset holds what the
    // server has, to go on from there, unless that could not be had. 87: no size, or a chunk outside the file.
    [[nodiscard]] virtual DWORD ResumableUpload(const WideString& localPath, const WideString& serverPath,
                                                const Attributes& attributes, const GUID& uploadId,
                                                std::int64_t& offset, std::int64_t& length, bool firstChunk,
                                                HANDLE cancelEvent, const Progress& progress,
                                                std::uint64_t progressContext) = 0;
    [[nodiscard]] virtual DWORD CancelUpload(const WideString& serverPath, const GUID& uploadId,
                                             HANDLE cancelEvent) = 0;
    // Finishes a resumable upload under a (possibly new) path; attributes (not null) receives the item's record.
    [[nodiscard]] virtual DWORD CompleteUpload(const WideString& serverPath, const WideString& newPath,
                                               const GUID& uploadId, const Attributes& attributes,
                                               HANDLE cancelEvent) = 0;
    // How many bytes the server holds of an upload, and whether it is locked (left as it was when the server does not
    // tell). 13: it does not tell how many.
    [[nodiscard]] virtual DWORD GetResumableUploadMetadata(const WideString& serverPath, const GUID& uploadId,
                                                           std::int64_t& offset, bool& locked, HANDLE cancelEvent) = 0;

    // Writes the server's copy into a local file. expected (may be null) names the revision to ask for; attributes (not
    // null) receives the server's record. deltaBase: a local file that the server makes a delta against; empty for the
    // whole file. When the server's revision is no longer the expected one, the present contents are downloaded, and
    // attributes is the expected record again, so that the file is seen as out of date.
    [[nodiscard]] virtual DWORD DownloadFile(const WideString& serverPath, const WideString& localPath,
                                             const Attributes& expected, const Attributes& attributes,
                                             const WideString& deltaBase, HANDLE cancelEvent, const Progress& progress,
                                             std::uint64_t progressContext) = 0;

    // Writes bytes start to end (exclusive) of an item to the same offset of a local file, which must exist unless
    // start is 0. A refusal is 20000 plus the HTTP status, whatever its body says. 87: end lies before start.
    [[nodiscard]] virtual DWORD DownloadData(const WideString& serverPath, const WideString& localPath,
                                             const Attributes& expected, const Attributes& attributes,
                                             std::uint64_t start, std::int64_t end, HANDLE cancelEvent,
                                             const Progress& progress, std::uint64_t progressContext) = 0;

    // ---- Statistics, share links, locks, asynchronous deltas
    // ---------------------------------------------------------

    // Posts a text (UTF-8) to the server's auditing endpoint. 1341: the server has none.
    virtual StatusPair PublishSyncStats(const char* statistics, HANDLE cancelEvent) = 0;

    // Shares paths with recipients; the server delivers the link.
    virtual StatusPair GenerateLink(const std::shared_ptr<const ShareRequest>& request, HANDLE cancelEvent) = 0;

    // lockState: 0 not locked or unknown, 1 locked, 2 read-only.
    virtual StatusPair TestLock(const WideString& serverPath, DWORD& lockState, HANDLE cancelEvent) = 0;
    // duration goes to the server as it is.
    virtual StatusPair RequestLock(const WideString& serverPath, DWORD duration, HANDLE cancelEvent) = 0;
    virtual StatusPair ReleaseLock(const WideString& serverPath, HANDLE cancelEvent) = 0;

    // Asynchronous delta jobs need API 1.7 (87 otherwise) and attributes whose four times are set (87 otherwise). A
    // start that succeeds without an identifier in the reply leaves job as it was.
    [[nodiscard]] virtual DWORD AsyncDeltaStart(const WideString& deltaPath, const WideString& serverPath,
                                                const Attributes& attributes, GUID& job, DWORD deltaType,
                                                const Progress& progress, HANDLE cancelEvent) = 0;
    // Fills in the states of the jobs; one that the reply does not name keeps its state.
    [[nodiscard]] virtual DWORD AsyncDeltaStatus(AsyncDeltaJobList& jobs, HANDLE cancelEvent) = 0;
    [[nodiscard]] virtual DWORD AsyncDeltaCommit(const GUID& job, const Attributes& attributes,
                                                 std::uint64_t expectedSize, HANDLE cancelEvent) = 0;
    // 87 for the identifier of zeros.
    [[nodiscard]] virtual DWORD AsyncDeltaCancel(const GUID& job, HANDLE cancelEvent) = 0;

    // Deletes the object.
    virtual void Release() = 0;
};

// Disposes of a client object; null is accepted.
inline void ReleaseClient(IQuillmarkHttpAPI* client) {
    if (client != nullptr) {
        client->Release();
    }
}

struct ClientDeleter {
    void operator()(IQuillmarkHttpAPI* client) const { ReleaseClient(client); }
};
using ClientPointer = std::unique_ptr<IQuillmarkHttpAPI, ClientDeleter>;

}  // namespace quillmark

#if defined(_WIN32) && defined(QUILLMARK_HTTP_BUILD)
#define QUILLMARK_HTTP_API extern "C" __declspec(dllexport)
#elif defined(_WIN32)
#define QUILLMARK_HTTP_API extern "C" __declspec(dllimport)
#else
#define QUILLMARK_HTTP_API extern "C" __attribute__((visibility("default")))
#endif

// Hands the library the host's logging context (0 for none, see quillmark/Eventing.h) and its services. Call it before
// anything else; calling it again swaps both. Always returns 0.
QUILLMARK_HTTP_API DWORD Init(std::uint64_t loggingContext,
                              std::shared_ptr<quillmark::Services::ServicesCollection> services);
// Does nothing; client objects stay usable.
QUILLMARK_HTTP_API void Exit();
// Makes a client object. The caller owns it (ReleaseClient). Lets std::bad_alloc out; never returns null.
QUILLMARK_HTTP_API quillmark::IQuillmarkHttpAPI* CreateInstance(const quillmark::WideString& deviceName);
// As CreateInstance, with every session, connection and request of this client made by the given factory (not null).
QUILLMARK_HTTP_API quillmark::IQuillmarkHttpAPI* CreateInstanceWithFactory(
    const quillmark::WideString& deviceName, std::shared_ptr<quillmark::IWinHttpFactory> factory);
