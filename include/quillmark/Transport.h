// The transport interfaces: session, connection, request, and the factory that makes them.
//
// A client object makes every session, connection and request through one IWinHttpFactory: the library's own, or one
// that the host hands to CreateInstanceWithFactory to put another transport in its place.
//
// Ownership: all objects live behind shared pointers; nobody deletes an interface pointer. A request keeps its session
// alive. The factory only constructs; the caller then calls Initialise, and an object whose Initialise failed is good
// only for destruction.
//
// Threads: a session is shared by requests on many threads; a connection and a request are driven by one thread at a
// time, except Close() of a request, which any thread may call at any time: it makes a blocked call of that request
// return with an error at once.
//
// Errors: every DWORD is a Windows error code, 0 on success, unless the function says otherwise. Any HTTP reply is a
// success of the transport; whoever drives the request judges the status. (The exception is written at the two
// functions that put a body into a file.)
//
// The order of the virtual functions is part of the calling interface.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "quillmark/Platform.h"
#include "quillmark/ProgressSink.h"
#include "quillmark/ResponseBuffer.h"
#include "quillmark/WideString.h"

namespace quillmark {

class IWinHttpSession {
public:
    // Opens the session and gives it the normal time-outs (60 s, 60 s, 300 s, 300 s).
    [[nodiscard]] virtual DWORD Initialise() = 0;
    virtual ~IWinHttpSession() = default;
    // Milliseconds, 0 for none. They go to WinHttpSetTimeouts in this order, whose parameters are resolve, connect,
    // send and receive: what callers name the connect time-out becomes WinHTTP's time-out for resolving, and the other
    // way round. They hold for every later request of the session. False on failure (GetLastError).
    [[nodiscard]] virtual BOOL SetTimeouts(DWORD connect, DWORD resolve, DWORD send, DWORD receive) = 0;
    // The token that every later request of this session sends as its cookie; empty for none.
    virtual void SetSessionToken(const WideString& token) = 0;
    [[nodiscard]] virtual WideString GetSessionToken() = 0;
    [[nodiscard]] virtual HINTERNET GetHandle() = 0;
};

class IWinHttpConnection {
public:
    virtual ~IWinHttpConnection() = default;
    // Names the server and its port, and sets the session's time-outs: for each of the four (milliseconds) an override
    // other than 0, else the configured value.
    [[nodiscard]] virtual DWORD Initialise(const WideString& server, WORD port,
                                           const std::shared_ptr<IWinHttpSession>& session, DWORD connect,
                                           DWORD resolve, DWORD send, DWORD receive) = 0;
    [[nodiscard]] virtual HINTERNET GetHandle() = 0;
};

class IWinHttpRequest {
public:
    virtual ~IWinHttpRequest() = default;

    // Opens the request. acceptType may be null. openFlags: WINHTTP_FLAG_SECURE for TLS. useNegotiate: answer an
    // authentication challenge with the logged-on user's credentials.
    [[nodiscard]] virtual DWORD Initialise(const WideString& objectPath, const WideString& verb,
                                           const std::shared_ptr<IWinHttpConnection>& connection,
                                           const WideChar* acceptType, DWORD openFlags, bool useNegotiate) = 0;
    [[nodiscard]] virtual DWORD AddHeader(const WideString& name, const WideString& value) = 0;
    // Sends the head and announces totalLength bytes of body, which follow in writes.
    [[nodiscard]] virtual DWORD StartRequest(std::uint64_t totalLength) = 0;
    // Appends one name=value pair to the pending post data, the value form-encoded; every pair but the last is followed
    // by '&'.
    [[nodiscard]] virtual DWORD AppendFormData(const std::string& name, const WideString& value, bool isLast) = 0;
    // Writes the pending post data to the wire and empties it, whether or not the write succeeded.
    [[nodiscard]] virtual DWORD SendPostData() = 0;

    // Multipart bodies, in calling order: the headers; one field part per form field (pending); the file part, first in
    // its measuring form (sizeOut not null: counts, sends nothing), then for real; the closing line (pending).
    [[nodiscard]] virtual DWORD AddMultipartHeaders(bool acceptJson) = 0;
    // One file part with a byte range of a local file; a range past the file's end is cut. fileName goes into the
    // part's head, form-encoded. cancelEvent (may be null) is looked at before each chunk; progress may be null.
    [[nodiscard]] virtual DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                                  const WideString& fileName, std::uint64_t offset,
                                                  std::uint64_t length, HANDLE cancelEvent, std::uint64_t* sizeOut,
                                                  const std::shared_ptr<IProgressSink>& progress,
                                                  std::uint64_t progressContext) = 0;
    // The whole file, of the size that it has now.
    [[nodiscard]] virtual DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                                  const WideString& fileName, HANDLE cancelEvent,
                                                  std::uint64_t* sizeOut,
                                                  const std::shared_ptr<IProgressSink>& progress,
                                                  std::uint64_t progressContext) = 0;
    virtual void AddMultipartFormField(const WideString& name, const WideString& value) = 0;
    // UTF-8.
    virtual void AddMultipartFormField(const std::string& name, const std::string& value) = 0;
    virtual void EndMultipart() = 0;
    // Bytes that the closing line and the line break before it take. Not an error code.
    [[nodiscard]] virtual std::uint64_t GetMultipartEndLength() = 0;

    // Receives the reply of a request that was sent and writes its body to a local file, from offset on: offset 0 makes
    // the file anew, any other offset needs an existing file. A status other than 200 is 20000 plus the status, and the
    // file is not touched. reportProgress: tell the sink (may be null). cancelEvent may be null.
    // ERROR_DOWNLOAD_UNDERFLOW when the body ends short of the announced length.
    [[nodiscard]] virtual DWORD GetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                            const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                            std::uint64_t progressContext) = 0;
    // Sends the request with its pending post data, asks for JSON, and reads the whole body into memory.
    [[nodiscard]] virtual DWORD GetResponse(ResponseBuffer& response) = 0;
    // Sends the request, asks for octets, and goes on as GetResponse into a file does.
    [[nodiscard]] virtual DWORD SendRequestGetResponse(const WideString& localPath, std::uint64_t offset,
                                                       HANDLE cancelEvent,
                                                       const std::shared_ptr<IProgressSink>& progress,
                                                       bool reportProgress, std::uint64_t progressContext) = 0;
    // The HTTP status of the last reply. Not an error code.
    [[nodiscard]] virtual DWORD GetHTTPStatus() = 0;
    // Bytes of pending post data. Not an error code.
    [[nodiscard]] virtual std::uint64_t GetPostDataLength() = 0;
    // Waits for the head, takes the status, reads the whole body into memory.
    [[nodiscard]] virtual DWORD ReceiveResponse(ResponseBuffer& response) = 0;
    // Reads the body into memory, behind what the buffer already holds.
    [[nodiscard]] virtual DWORD ReadResponse(ResponseBuffer& response) = 0;
    // Closes the request's handle. May be called from any thread while another one is blocked in this request.
    virtual void Close() = 0;
};

class IWinHttpFactory {
public:
    virtual ~IWinHttpFactory() = default;
    [[nodiscard]] virtual std::shared_ptr<IWinHttpSession> CreateSession() = 0;
    [[nodiscard]] virtual std::shared_ptr<IWinHttpConnection> CreateConnection() = 0;
    [[nodiscard]] virtual std::shared_ptr<IWinHttpRequest> CreateRequest(
        const std::shared_ptr<IWinHttpSession>& session) = 0;
};

}  // namespace quillmark
