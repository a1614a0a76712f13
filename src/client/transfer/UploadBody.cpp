#include "client/transfer/UploadBody.h"

#include "client/Steps.h"

namespace quillmark {

DWORD UploadBody::FilePart(std::uint64_t* sizeOut) {
    const DWORD error =
        m_source.range.has_value()
            ? m_request.SendMultipartFile("file", m_source.localPath, m_source.serverPath, m_source.range->offset,
                                          m_source.range->length, m_source.cancelEvent, sizeOut, m_source.progress,
                                          m_source.progressContext)
            : m_request.SendMultipartFile("file", m_source.localPath, m_source.serverPath, m_source.cancelEvent,
                                          sizeOut, m_source.progress, m_source.progressContext);
    return LogFailure(m_log, "SendMultipartFile failed, error code: %u", error);
}

DWORD UploadBody::SendPending() {
    return LogFailure(m_log, "SendPostData failed, error code: %u", m_request.SendPostData());
}

DWORD UploadBody::Measure() {
    return FilePart(&m_partLength);
}

DWORD UploadBody::Start(std::uint64_t totalLength) {
    return LogFailure(m_log, "StartRequest failed, error code: %u", m_request.StartRequest(totalLength));
}

DWORD UploadBody::SendFields() {
    return SendPending();
}

DWORD UploadBody::SendFile() {
    return FilePart(nullptr);
}

DWORD UploadBody::SendEnd() {
    m_request.EndMultipart();
    return SendPending();
}

DWORD UploadBody::Receive(ResponseBuffer& reply) {
    return LogFailure(m_log, "ReceiveResponse failed, error code: %u", m_request.ReceiveResponse(reply));
}

DWORD UploadBody::Exchange(ResponseBuffer& reply) {
    DWORD error = Start(TotalLength());
    if (error == ERROR_SUCCESS) {
        error = SendFields();
    }
    if (error == ERROR_SUCCESS) {
        error = SendFile();
    }
    if (error == ERROR_SUCCESS) {
        error = SendEnd();
    }
    if (error == ERROR_SUCCESS) {
        error = Receive(reply);
    }
    return error;
}

void AddRevisionField(const Logger& log, IWinHttpRequest& request, const std::string& revision) {
    if (!revision.empty()) {
        log.Information("Revision: %s", revision);
        request.AddMultipartFormField("revision", revision);
    }
}

DWORD SendClosingLine(const Logger& log, IWinHttpRequest& request) {
    request.EndMultipart();
    return LogFailure(log, "httpRequest->SendPostData, error code: %u", request.SendPostData());
}

}  // namespace quillmark
