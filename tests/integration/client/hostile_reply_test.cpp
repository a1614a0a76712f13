// No reply ends the process: whatever a server answers to whichever operation, the operation ends with its code, and
// the client object goes on working.
#include <array>

#include "integration/client/ClientTest.h"
#include "integration/client/ScriptedServer.h"
#include "quillmark/Eventing.h"

namespace quillmark::testing {
namespace {

struct Operation {
    const char* name;
    const char* request;  // the beginning of the request that meets the hostile reply
    bool afterLogin;
    DWORD (*run)(IQuillmarkHttpAPI& client, const TempFolder& folder);
};

DWORD RunInit(IQuillmarkHttpAPI& client, const TempFolder&) {
    DWORD mode = 0;
    DWORD extra = 0;
    return client.Init(mode, extra, nullptr);
}

DWORD RunVersion(IQuillmarkHttpAPI& client, const TempFolder&) {
    WideString version;
    return client.Version(version);
}

DWORD RunLogin(IQuillmarkHttpAPI& client, const TempFolder&) {
    WideString policy;
    return client.Login(QM_W("anna"), QM_W("secret"), QM_W(""), QM_W("device-1"), policy, QM_W(""), QM_W(""), nullptr);
}

DWORD RunListing(IQuillmarkHttpAPI& client, const TempFolder&) {
    ItemList children;
    Attributes self;
    return client.GetPathListing(QM_W("/x"), children, self, nullptr).error;
}

DWORD RunAttributes(IQuillmarkHttpAPI& client, const TempFolder&) {
    Attributes attributes;
    return client.GetPathAttributes(QM_W("/x"), attributes, nullptr).error;
}

DWORD RunSetAttributes(IQuillmarkHttpAPI& client, const TempFolder&) {
    Attributes attributes = UploadAttributes(0);
    return client.SetPathAttributes(QM_W("/x"), attributes, nullptr).error;
}

DWORD RunCreateFolder(IQuillmarkHttpAPI& client, const TempFolder&) {
    Attributes attributes;
    return client.CreateFolder(QM_W("/y/new"), attributes, nullptr).error;
}

DWORD RunUpload(IQuillmarkHttpAPI& client, const TempFolder& folder) {
    return client.UploadFile(WriteFileAt(folder / "up", "content"), QM_W("/up"), UploadAttributes(7), nullptr, nullptr,
                             0);
}

DWORD RunDownload(IQuillmarkHttpAPI& client, const TempFolder& folder) {
    const Attributes expected = UploadAttributes(7);
    expected->SetRevision("7");
    return client.DownloadFile(QM_W("/down"), WidenUtf8(folder / "down"), expected, MakeAttributes(), QM_W(""), nullptr,
                               nullptr, 0);
}

constexpr std::size_t OperationCount = 10;
constexpr std::array<Operation, OperationCount> Operations{{
    {"Init, endpoints", "GET /endpoints ", false, RunInit},
    {"Init, mode", "GET /api/1.7/init ", false, RunInit},
    {"Version", "GET /api/1.7/version ", true, RunVersion},
    {"Login", "POST /api/1.7/sessions ", false, RunLogin},
    {"GetPathListing", "GET /api/1.7/folders/x?type=all ", true, RunListing},
    {"GetPathAttributes", "GET /api/1.7/folders/x ", true, RunAttributes},
    {"SetPathAttributes", "POST /api/1.7/folders/x ", true, RunSetAttributes},
    {"CreateFolder", "POST /api/1.7/folders/y ", true, RunCreateFolder},
    {"UploadFile", "POST /api/1.7/folders/up ", true, RunUpload},
    {"DownloadFile", "GET /api/1.7/folders/down?revision=7 ", true, RunDownload},
}};

struct HostileReply {
    const char* name;
    ScriptedServer::Script send;
    std::array<DWORD, OperationCount> codes;  // one per operation, in their order above
};

void PrintTo(const HostileReply& reply, std::ostream* stream) {
    *stream << reply.name;
}

// These bytes, after which the connection goes on, or ends.
ScriptedServer::Script Bytes(std::string bytes, bool goesOn = true) {
    return [bytes = std::move(bytes), goesOn](Peer& peer) { return peer.Send(bytes) && goesOn; };
}

ScriptedServer::Script Body(const std::string& body) {
    return Bytes(OkReply(body));
}

ScriptedServer::Script Refusal(const std::string& body) {
    return Bytes("HTTP/1.1 500 Internal Server Error\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
                 body);
}

// The beginning once, then the rest again and again until nobody takes it any more.
ScriptedServer::Script Endless(std::string beginning, std::string rest) {
    return [beginning = std::move(beginning), rest = std::move(rest)](Peer& peer) {
        bool taken = peer.Send(beginning);
        while (taken) {
            taken = peer.Send(rest);
        }
        return false;
    };
}

ScriptedServer::Script Chunks(std::size_t count, std::string chunk) {
    return [count, chunk = std::move(chunk)](Peer& peer) {
        bool taken = peer.Send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        for (std::size_t sent = 0; taken && sent < count; ++sent) {
            taken = peer.Send("100000\r\n" + chunk + "\r\n");
        }
        return taken && peer.Send("0\r\n\r\n");
    };
}

constexpr std::size_t Deep = 100'000;
constexpr std::array<DWORD, OperationCount> Unreadable{19006, 12004, 12004, 0, 13, 13, 13, 13, 13, 0};
constexpr std::array<DWORD, OperationCount> Empty{13, 13, 13, 13, 13, 13, 13, 13, 12152, 0};

constexpr std::array<DWORD, OperationCount> All(DWORD code) {
    std::array<DWORD, OperationCount> codes{};
    codes.fill(code);
    return codes;
}

// In good order but for bytes that are not UTF-8.
constexpr const char* NotUtf8 =
    "{\"qm\":{\"sync\":{\"1.7\":{\"path\":\"/api/1.7\",\"tos\":0},\"\xFE\":{\"path\":\"\xFF\",\"tos\":0}}},"
    "\"device_token_auth\":true,\"quillmark_version\":\"1\xFF\",\"session_token\":\"T\xC3\",\"revision\":\"\xC0\x80\","
    "\"name\":\"\xFF\xED\xA0\x80\",\"directory\":false,\"size\":1,\"attributes\":128}";

std::vector<HostileReply> HostileReplies() {
    const std::string nested = std::string(Deep, '[');
    const std::string nestedObjects = [] {
        std::string text;
        for (std::size_t level = 0; level < Deep; ++level) {
            text += "{\"contents\":";
        }
        return text;
    }();
    return {
        {"TextThatIsNotJson", Body("<html>It works!</html>"), Unreadable},
        {"ArrayForAnObject", Body("[\"x\"]"), Unreadable},
        {"NumberForAnObject", Body("{\"qm\":7,\"contents\":7,\"revision\":{},\"session_token\":{}}"), Unreadable},
        {"StringForABoolean", Body("{\"device_token_auth\":\"yes\",\"name\":\"x\",\"directory\":\"yes\"}"), Unreadable},
        {"NumbersForTexts", Body("{\"session_token\":7,\"quillmark_version\":7,\"device_token_auth\":7,\"name\":[]}"),
         Unreadable},
        {"NestedArraysWithoutEnd", Body(nested), Unreadable},
        {"NestedArraysThatAreClosed", Body(nested + std::string(Deep, ']')), Unreadable},
        {"NestedObjects", Body(nestedObjects), Unreadable},
        {"NumbersOutOfRange",
         Body("{\"qm\":{\"sync\":{\"1.7\":{\"path\":\"/a\",\"tos\":99999999999999999999}}},"
              "\"attributes\":99999999999999999999,\"size\":1e300}"),
         Unreadable},
        {"NumberThatNoRealCanHold", Body("{\"device_token_auth\":true,\"tos\":1e400}"), Unreadable},
        {"TextsThatAreNotUtf8", Body(NotUtf8), All(0)},
        {"ZeroBytes", Body(std::string(1000, '\0')), Unreadable},
        {"NoBody", Bytes("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), Empty},
        {"NoBodyAndNoLength", Bytes("HTTP/1.1 200 OK\r\n\r\n", false), Empty},
        {"SixteenMegabytesInChunks", Chunks(16, std::string(0x100000, 'x')), Unreadable},
        {"ChunksThatEndEarly", Bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n100\r\n{\"device", false),
         All(12030)},
        {"LengthAboveWhatComes", Bytes("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{}", false), All(12030)},
        {"LengthBelowWhatComes", Bytes("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n{\"device_token_auth\":true}"),
         Unreadable},
        {"NegativeLength", Bytes("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n{}", false), All(12152)},
        {"HeaderLineWithoutEnd", Endless("HTTP/1.1 200 OK\r\nX-Long: ", std::string(4096, 'x')), All(12182)},
        {"HeaderLinesWithoutEnd", Endless("HTTP/1.1 200 OK\r\n", "X-One-More: line\r\n"), All(12182)},
        {"InterimRepliesWithoutEnd", Endless("", "HTTP/1.1 100 Continue\r\nX-One-More: line\r\n\r\n"), All(12182)},
        {"GarbledStatusLine", Bytes("FTP/9.9 OK maybe\r\nContent-Length: 2\r\n\r\n{}", false), All(12152)},
        {"RandomBytes", Bytes(Pattern(5000), false), All(12152)},
        {"NothingAtAll", Bytes("", false), All(12030)},
        {"RefusalThatIsNotJson", Refusal("Internal Server Error"), All(20500)},
        {"RefusalNestedDeep", Refusal(nested), All(20500)},
        {"RefusalWithAnArray", Refusal("[{\"errorId\":\"17\"}]"), All(20500)},
        {"RefusalWithNumbersForTexts", Refusal("{\"errorId\":17,\"severity\":2}"), All(20500)},
        {"RefusalWithNumberOutOfRange", Refusal("{\"errorId\":\"abc\",\"severity\":\"99999999999999999999\"}"),
         All(20500)},
    };
}

class HostileReplyTest : public ::testing::TestWithParam<HostileReply> {
protected:
    // Every record is written, so that what the log makes of a reply is tested too.
    void SetUp() override {
        m_log = Eventing::OpenLog((m_folder / "log").c_str(), 4);
        ASSERT_NE(0u, m_log);
    }
    ~HostileReplyTest() override {
        ::Init(0, std::make_shared<Services::ServicesCollection>());
        Eventing::CloseLog(m_log);
    }

    void Meet(const Operation& operation, DWORD code) {
        SCOPED_TRACE(operation.name);
        ScriptedServer server(operation.request, GetParam().send);
        const HostClient client(server.Url());
        ::Init(m_log, std::make_shared<Services::ServicesCollection>());
        if (operation.afterLogin) {
            ASSERT_EQ(0u, RunLogin(client.Api(), m_folder));
        }
        EXPECT_EQ(code, operation.run(client.Api(), m_folder));
        EXPECT_NE("", server.Request(operation.request));
        if (operation.afterLogin) {
            // The client is as good as before, and what came too much is taken for no other reply.
            EXPECT_EQ(0u, (operation.run == RunVersion ? RunListing : RunVersion)(client.Api(), m_folder));
        }
    }

private:
    TempFolder m_folder;
    std::uint64_t m_log = 0;
};

INSTANTIATE_TEST_SUITE_P(Replies, HostileReplyTest, ::testing::ValuesIn(HostileReplies()),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(HostileReplyTest, GivesTheCodeOfEachOperation) {
    for (std::size_t index = 0; index < OperationCount; ++index) {
        Meet(Operations[index], GetParam().codes[index]);
    }
}

}  // namespace
}  // namespace quillmark::testing
