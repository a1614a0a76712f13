#include "client/transfer/UploadBody.h"

namespace quillmark {

DWORD UploadBody::FilePart(std::uint64_t* sizeOut) {
    const DWORD error =
        m_request.SendMultipartFile("file", m_source.localPath, m_source.serverPath, m_source.cancelEvent, sizeOut,
                                    m_source.progress, m_source.progressContext);
    if (error != ERROR_SUCCESS) {
        m_log.Error("SendMultipartFile failed, error code: %u", error);
    }
    return error;
}

DWORD UploadBody::SendPending() {
    const DWORD error = m_request.SendPostData();
    if (error != ERROR_SUCCESS) {
        m_log.Error("SendPostData failed, error code: %u", error);
    }
    return error;
}

DWORD UploadBody::Measure() {
    return FilePart(&m_partLength);
}

DWORD UploadBody::Start() {
    const DWORD error =
        m_request.StartRequest(m_request.GetPostDataLength() + m_partLength + m_request.GetMultipartEndLength());
    if (error != ERROR_SUCCESS) {
        m_log.Error("StartRequest failed, error code: %u", error);
    }
    return error;
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
    const DWORD error = m_request.ReceiveResponse(reply);
    if (error != ERROR_SUCCESS) {
        m_log.Error("ReceiveResponse failed, error code: %u", error);
    }
    return error;
}

DWORD UploadBody::Exchange(ResponseBuffer& reply) {
    DWORD error = Start();
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

}  // namespace quillmark
