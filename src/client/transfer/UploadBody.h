// UploadBody: the steps in which an upload's multipart body goes out on a request and its reply comes back.
//
// A body is form fields, which the operation has added to the request, and one file part, which is streamed from disk.
// Its length is announced before its first byte is sent, so the order of the steps is fixed:
//
//   Measure    the file part is counted; nothing is sent
//              (the operation adds the multipart headers and its fields)
//   Start      the head goes out, with the length of fields, file part and closing line
//   SendFields
//   SendFile
//   SendEnd    the closing line
//   Receive    the reply
//
// Each step returns the transport's code and logs a failure; whether a failure ends the operation is for the operation
// to say. One thread; everything that is handed in outlives the object.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "common/Log.h"
#include "quillmark/Transport.h"

namespace quillmark {

// Bytes of a file.
struct FileRange {
    std::uint64_t offset;
    std::uint64_t length;
};

// The file behind a part, how it is to be sent, and who is told.
struct UploadSource {
    const WideString& localPath;
    const WideString& serverPath;
    HANDLE cancelEvent;
    const std::shared_ptr<IProgressSink>& progress;
    std::uint64_t progressContext;
    std::optional<FileRange> range = std::nullopt;  // none: the whole file
};

class UploadBody {
public:
    UploadBody(const Logger& log, IWinHttpRequest& request, const UploadSource& source) noexcept
        : m_log(log), m_request(request), m_source(source) {}

    [[nodiscard]] DWORD Measure();
    // totalLength: what the request is to announce.
    [[nodiscard]] DWORD Start(std::uint64_t totalLength);
    [[nodiscard]] DWORD SendFields();
    [[nodiscard]] DWORD SendFile();
    [[nodiscard]] DWORD SendEnd();
    [[nodiscard]] DWORD Receive(ResponseBuffer& reply);

    // After Measure: the length of the body with the fields that the request holds so far, and without any.
    [[nodiscard]] std::uint64_t TotalLength() { return m_request.GetPostDataLength() + LengthWithoutFields(); }
    [[nodiscard]] std::uint64_t LengthWithoutFields() { return m_partLength + m_request.GetMultipartEndLength(); }

    // Where the steps log.
    [[nodiscard]] const Logger& Log() const noexcept { return m_log; }

    // Start to Receive, up to the first step that fails.
    [[nodiscard]] DWORD Exchange(ResponseBuffer& reply);

private:
    [[nodiscard]] DWORD FilePart(std::uint64_t* sizeOut);
    [[nodiscard]] DWORD SendPending();

    const Logger& m_log;
    IWinHttpRequest& m_request;
    UploadSource m_source;
    std::uint64_t m_partLength = 0;
};

// The field that names the revision of the item that the upload is to replace; none for an empty revision.
void AddRevisionField(const Logger& log, IWinHttpRequest& request, const std::string& revision);

// The closing line of a body, as the requests of a resumable upload send and log it.
[[nodiscard]] DWORD SendClosingLine(const Logger& log, IWinHttpRequest& request);

}  // namespace quillmark
