// Multipart bodies: headers, fields, and the file part that is streamed from disk.
#include <algorithm>
#include <array>

#include "common/Log.h"
#include "common/ModuleState.h"
#include "transport/LocalFile.h"
#include "transport/Multipart.h"
#include "transport/TransportSupport.h"
#include "transport/WinHttpRequest.h"

namespace quillmark {
namespace {

constexpr std::size_t ChunkSize = 16384;

constexpr Logger Log("WinHttpRequest::SendMultipartFile", LogSource::WinHttpImpl);

DWORD OpenForUpload(LocalFile& file, const WideString& path) {
    const DWORD error = file.OpenForReading(path);
    if (error != 0) {
        Log.Error("CreateFile for path: %S failed, error code: %d", path, error);
    }
    return error;
}

DWORD SizeForUpload(LocalFile& file, std::uint64_t& size) {
    const DWORD error = file.Size(size);
    if (error != 0) {
        Log.Error("GetFileSize failed, error code: %d", error);
    }
    return error;
}

// What there is of the range in a file of this size.
std::uint64_t CutRange(std::uint64_t offset, std::uint64_t length, std::uint64_t fileSize) {
    return offset < fileSize ? std::min(length, fileSize - offset) : 0;
}

DWORD HasGrown(const WideString& path) {
    Log.Error("The file [%S] has grown since it was measured, error code: %d", path, ERROR_FILE_INVALID);
    return ERROR_FILE_INVALID;
}

}  // namespace

DWORD WinHttpRequest::AddMultipartHeaders(bool acceptJson) {
    constexpr Logger log("WinHttpRequest::AddMultipartHeaders", LogSource::WinHttpImpl);
    if (const DWORD error =
            AddLine(log, acceptJson ? QM_W("Accept: application/json") : QM_W("Accept: application/octet-stream"),
                    WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA)) {
        return error;
    }
    // The line ends in a bare line feed, which is meant.
    return AddLine(
        log,
        WideString(QM_W("Content-Type: multipart/form-data; boundary=\"")) + Multipart::WideBoundary() + QM_W("\"\n"),
        WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE);
}

void WinHttpRequest::AddMultipartFormField(const WideString& name, const WideString& value) {
    AddMultipartFormField(NarrowUtf8(name), NarrowUtf8(value));
}

void WinHttpRequest::AddMultipartFormField(const std::string& name, const std::string& value) {
    m_postData.Append(Multipart::FormField(name, value));
}

void WinHttpRequest::EndMultipart() {
    m_postData.Append(Multipart::ClosingLine());
}

std::uint64_t WinHttpRequest::GetMultipartEndLength() {
    return Multipart::CountedEnd();
}

DWORD WinHttpRequest::SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                        const WideString& fileName, HANDLE cancelEvent, std::uint64_t* sizeOut,
                                        const std::shared_ptr<IProgressSink>& progress, std::uint64_t progressContext) {
    std::uint64_t size = 0;
    {
        LocalFile file;
        if (const DWORD error = OpenForUpload(file, localPath)) {
            return error;
        }
        if (const DWORD error = SizeForUpload(file, size)) {
            return error;
        }
    }
    return HandleFilePart({fieldName, localPath, fileName, 0, size, true, cancelEvent, progress.get(), progressContext},
                          sizeOut);
}

DWORD WinHttpRequest::SendMultipartFile(const std::string& fieldName, const WideString& localPath,
                                        const WideString& fileName, std::uint64_t offset, std::uint64_t length,
                                        HANDLE cancelEvent, std::uint64_t* sizeOut,
                                        const std::shared_ptr<IProgressSink>& progress, std::uint64_t progressContext) {
    return HandleFilePart(
        {fieldName, localPath, fileName, offset, length, false, cancelEvent, progress.get(), progressContext}, sizeOut);
}

DWORD WinHttpRequest::HandleFilePart(const FilePart& part, std::uint64_t* sizeOut) {
    std::string disposition;
    if (const DWORD error = Multipart::FileDisposition(part.fieldName, part.fileName, disposition)) {
        Log.Error("The file name [%S] cannot be sent, error code: %d", part.fileName, error);
        return error;
    }
    return sizeOut != nullptr ? MeasureFilePart(part, disposition, *sizeOut) : SendFilePart(part, disposition);
}

DWORD WinHttpRequest::MeasureFilePart(const FilePart& part, const std::string& disposition, std::uint64_t& size) {
    size = Multipart::Opening().size() + disposition.size() + Multipart::CountedFileContentType;
    LocalFile file;
    if (const DWORD error = OpenForUpload(file, part.localPath)) {
        return error;
    }
    std::uint64_t fileSize = 0;
    if (const DWORD error = SizeForUpload(file, fileSize)) {
        return error;
    }
    m_measuredRange = CutRange(part.offset, part.length, fileSize);
    size += *m_measuredRange + Multipart::LineBreak.size();
    Log.Information("Size request for [%S], returned: %I64u bytes", part.localPath, size);
    return 0;
}

DWORD WinHttpRequest::SendFilePart(const FilePart& part, const std::string& disposition) {
    const std::string opening = Multipart::Opening();
    for (const std::string_view piece :
         {std::string_view(opening), std::string_view(disposition), Multipart::FileContentType}) {
        if (const DWORD error = WriteBody(Log, piece.data(), piece.size())) {
            return error;
        }
    }
    if (IsSignalled(part.cancelEvent)) {
        return ERROR_CANCELLED;
    }
    LocalFile file;
    if (const DWORD error = OpenForUpload(file, part.localPath)) {
        return error;
    }
    std::uint64_t fileSize = 0;
    if (const DWORD error = SizeForUpload(file, fileSize)) {
        return error;
    }
    const std::uint64_t range = CutRange(part.offset, part.length, fileSize);
    if (m_measuredRange.has_value() && range > *m_measuredRange) {
        return HasGrown(part.localPath);
    }
    m_measuredRange.reset();
    if (const DWORD error = file.SeekForReading(part.offset)) {
        Log.Error("SetFilePointerEx failed, error code: %d", error);
        return error;
    }
    DWORD error = StreamRange(part, file, range, fileSize);
    // The line break is tried after a failure too; the failure that counts is the first one.
    const DWORD lastError = WriteBody(Log, Multipart::LineBreak.data(), Multipart::LineBreak.size());
    error = error != 0 ? error : lastError;
    Log.Information("Data request for '%S'", part.localPath);
    return IsSignalled(part.cancelEvent) ? ERROR_CANCELLED : error;
}

// One write per chunk. A file that ends early ends the loop without an error: the body is then shorter than announced,
// and the server rejects it.
DWORD WinHttpRequest::StreamRange(const FilePart& part, LocalFile& file, std::uint64_t remaining,
                                  std::uint64_t fileSize) {
    std::uint64_t position = part.offset;
    if (part.progress != nullptr) {
        part.progress->Begin(part.localPath, position, part.progressContext);
    }
    std::array<char, ChunkSize> chunk;
    while (remaining > 0) {
        DWORD read = 0;
        const DWORD readError =
            file.Read(chunk.data(), static_cast<DWORD>(std::min<std::uint64_t>(ChunkSize, remaining)), read);
        if (readError != 0) {
            Log.Error("ReadFile failed, error code: %d", readError);
        }
        if (readError != 0 || read == 0) {
            return 0;
        }
        if (const DWORD error = WriteBody(Log, chunk.data(), read)) {
            return error;
        }
        remaining -= read;
        position += read;
        if (part.progress != nullptr) {
            part.progress->Advance(chunk.data(), read, position, fileSize, part.progressContext);
        }
        if (IsSignalled(part.cancelEvent)) {
            return 0;
        }
    }
    if (!part.wholeFile) {
        return 0;
    }
    std::uint64_t sizeNow = 0;
    if (const DWORD error = SizeForUpload(file, sizeNow)) {
        return error;
    }
    // part.length is the size that the file had when this call began.
    return sizeNow > part.length ? HasGrown(part.localPath) : 0;
}

}  // namespace quillmark
