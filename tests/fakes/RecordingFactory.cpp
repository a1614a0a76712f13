#include "fakes/RecordingFactory.h"

#include <atomic>
#include <cstring>
#include <utility>

namespace quillmark::fakes {
namespace {

using State = RecordingFactory::State;

std::atomic<int> liveRequests{0};

std::string Name(char kind, int number) {
    return kind + std::to_string(number);
}

std::string Text(const WideString& text) {
    return State::Quoted(text.c_str());
}

class RecordingSession final : public IWinHttpSession {
public:
    explicit RecordingSession(std::shared_ptr<State> state)
        : m_state(std::move(state)), m_name(Name('s', m_state->NextNumber('s'))) {}

    DWORD Initialise() override { return m_state->Call("Session::Initialise", m_name); }
    BOOL SetTimeouts(DWORD connect, DWORD resolve, DWORD send, DWORD receive) override {
        const std::string values = std::to_string(connect) + ", " + std::to_string(resolve) + ", " +
                                   std::to_string(send) + ", " + std::to_string(receive);
        return m_state->Enter("SetTimeouts", m_name + ", " + values) ? TRUE : FALSE;
    }
    void SetSessionToken(const WideString& token) override {
        static_cast<void>(m_state->Call("SetSessionToken", m_name + ", " + Text(token)));
        const std::scoped_lock guard(m_lock);
        m_token = token;
    }
    WideString GetSessionToken() override {
        const std::scoped_lock guard(m_lock);
        return m_token;
    }
    HINTERNET GetHandle() override { return nullptr; }

    [[nodiscard]] const std::string& Label() const { return m_name; }

private:
    std::shared_ptr<State> m_state;
    std::string m_name;
    std::mutex m_lock;
    WideString m_token;
};

std::string Label(const std::shared_ptr<IWinHttpSession>& session) {
    const auto* recording = dynamic_cast<const RecordingSession*>(session.get());
    return recording != nullptr ? recording->Label() : "null";
}

class RecordingConnection final : public IWinHttpConnection {
public:
    explicit RecordingConnection(std::shared_ptr<State> state)
        : m_state(std::move(state)), m_name(Name('c', m_state->NextNumber('c'))) {}

    DWORD Initialise(const WideString& server, WORD port, const std::shared_ptr<IWinHttpSession>& session,
                     DWORD connect, DWORD resolve, DWORD send, DWORD receive) override {
        return m_state->Call("Connection::Initialise",
                             m_name + ", " + Text(server) + ", " + std::to_string(port) + ", " + fakes::Label(session) +
                                 ", " + std::to_string(connect) + ", " + std::to_string(resolve) + ", " +
                                 std::to_string(send) + ", " + std::to_string(receive));
    }
    HINTERNET GetHandle() override { return nullptr; }

    [[nodiscard]] const std::string& Label() const { return m_name; }

private:
    std::shared_ptr<State> m_state;
    std::string m_name;
};

class RecordingRequest final : public IWinHttpRequest {
public:
    RecordingRequest(std::shared_ptr<State> state, std::shared_ptr<IWinHttpSession> session)
        : m_state(std::move(state)),
          m_session(std::move(session)),
          m_name(Name('r', m_state->NextNumber('r'))),
          m_reply(m_state->TakeReply()) {
        ++liveRequests;
    }
    ~RecordingRequest() override { --liveRequests; }

    DWORD Initialise(const WideString& objectPath, const WideString& verb,
                     const std::shared_ptr<IWinHttpConnection>& connection, const WideChar* acceptType, DWORD openFlags,
                     bool useNegotiate) override {
        const auto* recording = dynamic_cast<const RecordingConnection*>(connection.get());
        return Call("Request::Initialise", Text(objectPath) + ", " + Text(verb) + ", " +
                                               (recording != nullptr ? recording->Label() : "null") + ", " +
                                               State::Quoted(acceptType) + ", " + State::Hex(openFlags) + ", " +
                                               (useNegotiate ? "true" : "false"));
    }
    DWORD AddHeader(const WideString& name, const WideString& value) override {
        return Call("AddHeader", Text(name) + ", " + Text(value));
    }
    DWORD StartRequest(std::uint64_t totalLength) override { return Call("StartRequest", std::to_string(totalLength)); }
    DWORD AppendFormData(const std::string& name, const WideString& value, bool isLast) override {
        return Call("AppendFormData", name + "=" + NarrowUtf8(value) + (isLast ? "" : "&"));
    }
    DWORD SendPostData() override { return Call("SendPostData"); }

    DWORD AddMultipartHeaders(bool acceptJson) override {
        return Call("AddMultipartHeaders", acceptJson ? "true" : "false");
    }
    DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath, const WideString& fileName,
                            std::uint64_t offset, std::uint64_t length, HANDLE cancelEvent, std::uint64_t* sizeOut,
                            const std::shared_ptr<IProgressSink>& progress, std::uint64_t progressContext) override {
        return FilePart(fieldName, localPath, fileName, std::to_string(offset) + ", " + std::to_string(length) + ", ",
                        cancelEvent, sizeOut, progress, progressContext);
    }
    DWORD SendMultipartFile(const std::string& fieldName, const WideString& localPath, const WideString& fileName,
                            HANDLE cancelEvent, std::uint64_t* sizeOut, const std::shared_ptr<IProgressSink>& progress,
                            std::uint64_t progressContext) override {
        return FilePart(fieldName, localPath, fileName, "", cancelEvent, sizeOut, progress, progressContext);
    }
    void AddMultipartFormField(const WideString& name, const WideString& value) override {
        static_cast<void>(Call("AddMultipartFormField", "wide " + NarrowUtf8(name) + "=" + NarrowUtf8(value)));
    }
    void AddMultipartFormField(const std::string& name, const std::string& value) override {
        static_cast<void>(Call("AddMultipartFormField", name + "=" + value));
    }
    void EndMultipart() override { static_cast<void>(Call("EndMultipart")); }
    std::uint64_t GetMultipartEndLength() override {
        static_cast<void>(Call("GetMultipartEndLength"));
        return m_state->Lengths().multipartEnd;
    }

    DWORD GetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                      const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                      std::uint64_t progressContext) override {
        return Download("GetResponse", localPath, offset, cancelEvent, progress, reportProgress, progressContext);
    }
    DWORD GetResponse(ResponseBuffer& response) override { return IntoMemory("GetResponse", response); }
    DWORD SendRequestGetResponse(const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                                 const std::shared_ptr<IProgressSink>& progress, bool reportProgress,
                                 std::uint64_t progressContext) override {
        return Download("SendRequestGetResponse", localPath, offset, cancelEvent, progress, reportProgress,
                        progressContext);
    }
    DWORD GetHTTPStatus() override {
        static_cast<void>(Call("GetHTTPStatus"));
        return m_reply.status;
    }
    std::uint64_t GetPostDataLength() override {
        static_cast<void>(Call("GetPostDataLength"));
        return m_state->Lengths().postData;
    }
    DWORD ReceiveResponse(ResponseBuffer& response) override { return IntoMemory("ReceiveResponse", response); }
    DWORD ReadResponse(ResponseBuffer& response) override { return IntoMemory("ReadResponse", response); }
    void Close() override { static_cast<void>(Call("Close")); }

private:
    DWORD Call(const std::string& function, const std::string& arguments = {}) {
        return m_state->Call(function, arguments.empty() ? m_name : m_name + ", " + arguments);
    }

    static std::string Sink(const std::shared_ptr<IProgressSink>& progress, std::uint64_t context) {
        return std::string(progress != nullptr ? "sink " : "no sink ") + std::to_string(context);
    }

    DWORD FilePart(const std::string& fieldName, const WideString& localPath, const WideString& fileName,
                   const std::string& range, HANDLE cancelEvent, std::uint64_t* sizeOut,
                   const std::shared_ptr<IProgressSink>& progress, std::uint64_t progressContext) {
        if (sizeOut != nullptr) {
            *sizeOut = m_state->Lengths().filePart;
        }
        return Call("SendMultipartFile", fieldName + ", " + Text(localPath) + ", " + Text(fileName) + ", " + range +
                                             (sizeOut != nullptr ? "measure, " : "send, ") +
                                             Sink(progress, progressContext) +
                                             (cancelEvent != nullptr ? ", event" : ""));
    }

    DWORD Download(const std::string& function, const WideString& localPath, std::uint64_t offset, HANDLE cancelEvent,
                   const std::shared_ptr<IProgressSink>& progress, bool reportProgress, std::uint64_t progressContext) {
        const DWORD error =
            Call(function, Text(localPath) + ", " + std::to_string(offset) + ", " + Sink(progress, progressContext) +
                               (reportProgress ? ", report" : ", silent") + (cancelEvent != nullptr ? ", event" : ""));
        return error == 0 && m_reply.status != 200 && !m_state->LenientDownloads() ? 20000 + m_reply.status : error;
    }

    DWORD IntoMemory(const std::string& function, ResponseBuffer& response) {
        const DWORD error = Call(function);
        if (error == 0 && m_reply.body.has_value()) {
            std::memcpy(response.Extend(m_reply.body->size()), m_reply.body->data(), m_reply.body->size());
            response.Commit(m_reply.body->size());
        }
        return error;
    }

    std::shared_ptr<State> m_state;
    std::shared_ptr<IWinHttpSession> m_session;
    std::string m_name;
    ScriptedReply m_reply;
};

}  // namespace

DWORD RecordingFactory::State::Call(const std::string& function, const std::string& arguments) {
    return Enter(function, arguments) ? 0 : ::GetLastError();
}

void RecordingFactory::State::AddReply(ScriptedReply reply) {
    const std::scoped_lock guard(m_stateLock);
    m_replies.push_back(std::move(reply));
}

ScriptedReply RecordingFactory::State::TakeReply() {
    const std::scoped_lock guard(m_stateLock);
    if (m_replies.empty()) {
        return {200, "{}"};
    }
    ScriptedReply reply = std::move(m_replies.front());
    m_replies.pop_front();
    return reply;
}

void RecordingFactory::State::DropReplies() {
    const std::scoped_lock guard(m_stateLock);
    m_replies.clear();
}

void RecordingFactory::State::SetLenientDownloads(bool lenient) {
    const std::scoped_lock guard(m_stateLock);
    m_lenientDownloads = lenient;
}

bool RecordingFactory::State::LenientDownloads() const {
    const std::scoped_lock guard(m_stateLock);
    return m_lenientDownloads;
}

void RecordingFactory::State::SetLengths(const ScriptedLengths& lengths) {
    const std::scoped_lock guard(m_stateLock);
    m_lengths = lengths;
}

ScriptedLengths RecordingFactory::State::Lengths() const {
    const std::scoped_lock guard(m_stateLock);
    return m_lengths;
}

int RecordingFactory::State::NextNumber(char kind) {
    const std::scoped_lock guard(m_stateLock);
    return ++m_numbers[kind];
}

std::shared_ptr<IWinHttpSession> RecordingFactory::CreateSession() {
    if (!m_state->Enter("CreateSession", "")) {
        return nullptr;
    }
    const auto session = std::make_shared<RecordingSession>(m_state);
    m_lastSession = session;
    return session;
}

std::shared_ptr<IWinHttpConnection> RecordingFactory::CreateConnection() {
    return m_state->Enter("CreateConnection", "") ? std::make_shared<RecordingConnection>(m_state) : nullptr;
}

std::shared_ptr<IWinHttpRequest> RecordingFactory::CreateRequest(const std::shared_ptr<IWinHttpSession>& session) {
    return m_state->Enter("CreateRequest", Label(session)) ? std::make_shared<RecordingRequest>(m_state, session)
                                                           : nullptr;
}

int RecordingFactory::LiveRequests() {
    return liveRequests;
}

}  // namespace quillmark::fakes
