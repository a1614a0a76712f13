// Replies that are written into a local file.
#include <array>
#include <vector>

#include "common/Log.h"
#include "common/ModuleState.h"
#include "quillmark/Errors.h"
#include "transport/LocalFile.h"
#include "transport/TransportSupport.h"
#include "transport/WinHttpRequest.h"

namespace quillmark {
namespace {

constexpr DWORD HttpOk = 200;

DWORD FailedQuery(const Logger& log) {
    const DWORD error = FailureCode();
    log.Error("WinHttpQueryHeaders failed, error code: %d", error);
    return error;
}

}  // namespace

struct WinHttpRequest::Download {
    LocalFile file;
    std::uint64_t position;   // in the file, behind what was written
    std::uint64_t expected;   // where the body is to end
    std::uint64_t announced;  // what the progress sink is told as the total: 0 when the server named no length
    HANDLE cancelEvent;
    IProgressSink* progress;
    std::uint64_t progressContext;
};

DWORD WinHttpRequest::SendRequestGetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                             const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                             std::uint64_t progressContext) {
    constexpr Logger log("WinHttpRequest::SendRequestGetResponse", LogSource::WinHttpImpl);
    if (const DWORD error =
            AddLine(log, QM_W("Accept: application/octet-stream"), WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA)) {
        return error;
    }
    if (const DWORD error = AddCookie(log)) {
        return error;
    }
    if (const DWORD error = SendRequest()) {
        log.Error("SendRequest failed, error code: %d", error);
        return error;
    }
    return GetResponse(localPath, offset, cancelEvent, progress, reportProgress, progressContext);
}

DWORD WinHttpRequest::GetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                  const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                  std::uint64_t progressContext) {
    constexpr Logger log("WinHttpRequest::GetResponse", LogSource::WinHttpImpl);
    if (const DWORD error = ReceiveHead(log)) {
        return error;
    }
    DWORD size = sizeof(m_status);
    if (!WinHttp()->WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                                        WINHTTP_HEADER_NAME_BY_INDEX, &m_status, &size, WINHTTP_NO_HEADER_INDEX)) {
        return FailedQuery(log);
    }
    if (m_status != HttpOk) {
        return SERVER_ERROR_BASE + m_status;
    }
    bool announced = false;
    if (const DWORD error = QueryContentLength(log, announced)) {
        return error;
    }
    log.Information("Reading content of length: %lld", m_contentLength);

    const std::uint64_t expected = offset + static_cast<std::uint64_t>(m_contentLength);
    Download download{{},
                      offset,
                      expected,
                      announced ? expected : 0,
                      cancelEvent,
                      reportProgress ? progress.get() : nullptr,
                      progressContext};
    DWORD error = OpenDownload(log, localPath, offset, download.file);
    if (error != 0) {
        return error;
    }
    if (download.progress != nullptr) {
        download.progress->Begin(localPath, offset, progressContext);
    }
    error = ReadIntoFile(log, download);
    log.Information("Finished reading data");
    log.Information("Returning [%d] downloaded %lld / %lld", error, download.position, expected);
    if (error == 0 && download.position < expected) {
        log.Error(
            "Download appears successful but we've only read an expected %lld / %lld bytes, returning "
            "ERROR_DOWNLOAD_UNDERFLOW",
            download.position, expected);
        error = ERROR_DOWNLOAD_UNDERFLOW;
    }
    return error;
}

// The room for 20 characters suffices for every length there is; a server that pads the number gets a second look.
DWORD WinHttpRequest::QueryContentLength(const Logger& log, bool& announced) {
    std::vector<WideChar> text(20);
    m_contentLength = 0;
    for (int attempt = 0;; ++attempt) {
        auto size = static_cast<DWORD>(text.size() * sizeof(WideChar));
        if (WinHttp()->WinHttpQueryHeaders(Handle(), WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX,
                                           text.data(), &size, WINHTTP_NO_HEADER_INDEX)) {
            announced = true;
            m_contentLength = ParseDecimal({text.data(), std::min(text.size(), size / sizeof(WideChar))});
            return 0;
        }
        // A reply in chunks names no length. Its end is marked, so that a short one is the transport's failure.
        if (FailureCode() == ERROR_WINHTTP_HEADER_NOT_FOUND) {
            announced = false;
            return 0;
        }
        if (attempt > 0 || FailureCode() != ERROR_INSUFFICIENT_BUFFER) {
            return FailedQuery(log);
        }
        text.resize(size / sizeof(WideChar) + 1);
    }
}

DWORD WinHttpRequest::OpenDownload(const Logger& log, const WideString& localPath, std::uint64_t offset,
                                   LocalFile& file) {
    DWORD error = file.Open(localPath, GENERIC_WRITE, 0, offset == 0 ? CREATE_ALWAYS : OPEN_EXISTING);
    if (error != 0) {
        log.Error("CreateFile failed, error code: %d", error);
        return error;
    }
    if (offset == 0) {
        return 0;
    }
    error = file.SeekForWriting(offset);
    if (error != 0) {
        log.Error("SetFilePointer failed, error code: %d", error);
    }
    return error;
}

DWORD WinHttpRequest::ReadIntoFile(const Logger& log, Download& download) {
    std::vector<char> buffer;
    while (true) {
        DWORD available = 0;
        if (!WinHttp()->WinHttpQueryDataAvailable(Handle(), &available)) {
            const DWORD error = FailureCode();
            log.Error("WinHttpQueryDataAvailable failed, error code: %d", error);
            return error;
        }
        if (available == 0) {
            log.Information("No bytes to read [%d]", available);
            return 0;
        }
        if (buffer.size() < available) {
            buffer.resize(available);
        }
        DWORD read = 0;
        if (!WinHttp()->WinHttpReadData(Handle(), buffer.data(), available, &read)) {
            const DWORD error = FailureCode();
            log.Error("WinHttpReadData failed, error code: %d", error);
            return error;
        }
        if (read == 0) {
            return 0;
        }
        if (const DWORD error = download.file.Write(buffer.data(), read)) {
            log.Error("WriteFile failed, error code: %d", error);
            return error;
        }
        download.position += read;
        if (download.progress != nullptr) {
            download.progress->Advance(buffer.data(), read, download.position, download.announced,
                                       download.progressContext);
        }
        if (IsSignalled(download.cancelEvent)) {
            return ERROR_CANCELLED;
        }
    }
}

}  // namespace quillmark
