// WinHttpRequest: one HTTP exchange. It opens the request on a connection, collects headers and a body, sends, takes
// the status and reads the reply into memory or into a local file.
//
// In the order of use:
//   a simple request   Initialise, AddHeader..., AppendFormData... (the last one marked), GetResponse into memory
//   a streamed body    Initialise, AddMultipartHeaders, AddMultipartFormField..., SendMultipartFile to measure,
//                      StartRequest, SendPostData, SendMultipartFile, EndMultipart, SendPostData, ReceiveResponse
//   a download         Initialise, SendRequestGetResponse
// and GetHTTPStatus after each.
//
// Every call of the platform goes through the seam that is installed at that moment. A failing call is logged once,
// with its name and code, and its code is the result.
//
// Cancellation: Close from another thread ends a blocked call. The cancel event that the streaming functions take is
// only looked at between two chunks, so the caller also sees to it that the event closes the request.
//
// A file that changes while it is sent. The measuring call fixes what is announced. A file that is shorter by the time
// it is sent makes a body that stays short of the announcement by more than servers accept, and is refused there. A
// file that has grown beyond what was measured, or that grows under a whole-file upload, ends the call with
// ERROR_FILE_INVALID: the body stays unfinished, so nobody takes the first part of the new contents for all of it.
#pragma once

#include <optional>

#include "quillmark/Transport.h"
#include "transport/PostData.h"
#include "transport/WinHttpHandle.h"

namespace quillmark {

class Logger;
class LocalFile;

class WinHttpRequest final : public WinHttpHandle, public IWinHttpRequest {
public:
    explicit WinHttpRequest(std::shared_ptr<IWinHttpSession> session);

    [[nodiscard]] DWORD Initialise(const WideString& objectPath, const WideString& verb,
                                   const std::shared_ptr<IWinHttpConnection>& connection, const WideChar* acceptType,
                                   DWORD openFlags, bool useNegotiate) override;
    // ERROR_INVALID_PARAMETER, before anything is sent, for a line break or a zero in name or value: the header would
    // end there, and what follows would be read as another one.
    [[nodiscard]] DWORD AddHeader(const WideString& name, const WideString& value) override;
    [[nodiscard]] DWORD StartRequest(std::uint64_t totalLength) override;
    // ERROR_NO_UNICODE_TRANSLATION for a value that is no valid UTF-16.
    [[nodiscard]] DWORD AppendFormData(const std::string& name, const WideString& value, bool isLast) override;
    [[nodiscard]] DWORD SendPostData() override;

    [[nodiscard]] DWORD AddMultipartHeaders(bool acceptJson) override;
    [[nodiscard]] DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                          const WideString& fileName, std::uint64_t offset, std::uint64_t length,
                                          HANDLE cancelEvent, std::uint64_t* sizeOut,
                                          const std::shared_ptr<IProgressSink>& progress,
                                          std::uint64_t progressContext) override;
    [[nodiscard]] DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                          const WideString& fileName, HANDLE cancelEvent, std::uint64_t* sizeOut,
                                          const std::shared_ptr<IProgressSink>& progress,
                                          std::uint64_t progressContext) override;
    void AddMultipartFormField(const WideString& name, const WideString& value) override;
    void AddMultipartFormField(const std::string& name, const std::string& value) override;
    void EndMultipart() override;
    [[nodiscard]] std::uint64_t GetMultipartEndLength() override;

    [[nodiscard]] DWORD GetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                    const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                    std::uint64_t progressContext) override;
    [[nodiscard]] DWORD GetResponse(ResponseBuffer& response) override;
    [[nodiscard]] DWORD SendRequestGetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                               const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                               std::uint64_t progressContext) override;
    [[nodiscard]] DWORD GetHTTPStatus() override { return m_status; }
    [[nodiscard]] std::uint64_t GetPostDataLength() override { return m_postData.size(); }
    [[nodiscard]] DWORD ReceiveResponse(ResponseBuffer& response) override;
    [[nodiscard]] DWORD ReadResponse(ResponseBuffer& response) override;
    void Close() override { WinHttpHandle::Close(); }

private:
    // A file part that is to be measured or sent.
    struct FilePart {
        const std::string& fieldName;
        const WideString& localPath;
        const WideString& fileName;
        std::uint64_t offset;
        std::uint64_t length;
        bool wholeFile;
        HANDLE cancelEvent;
        IProgressSink* progress;
        std::uint64_t progressContext;
    };
    // A body on its way into a local file.
    struct Download;

    void UseLoggedOnUser(const Logger& log);
    // These log a failure.
    DWORD AddLine(const Logger& log, const WideString& line, DWORD flags);
    DWORD AddCookie(const Logger& log);
    DWORD SendRequest();
    DWORD WriteBody(const Logger& log, const void* bytes, std::size_t count);

    DWORD HandleFilePart(const FilePart& part, std::uint64_t* sizeOut);
    DWORD MeasureFilePart(const FilePart& part, const std::string& disposition, std::uint64_t& size);
    DWORD SendFilePart(const FilePart& part, const std::string& disposition);
    DWORD StreamRange(const FilePart& part, LocalFile& file, std::uint64_t remaining, std::uint64_t fileSize);

    DWORD ReceiveHead(const Logger& log);
    DWORD QueryStatusText(const Logger& log);
    DWORD QueryContentLength(const Logger& log, bool& announced);
    DWORD OpenDownload(const Logger& log, const WideString& localPath, std::uint64_t offset, LocalFile& file);
    DWORD ReadIntoFile(const Logger& log, Download& download);

    std::shared_ptr<IWinHttpSession> m_session;
    PostData m_postData;
    DWORD m_status = 0;
    std::int64_t m_contentLength = 0;
    std::optional<std::uint64_t> m_measuredRange;  // of the file part whose length was asked for and not yet sent
};

}  // namespace quillmark
