// quillmark put --resumable against a server that says, byte by byte, what the reference server says at rare moments
// only: that an upload is locked, that it stands elsewhere.
#include <mutex>

#include "integration/cancel/StalledServer.h"
#include "integration/cli/ResumableTest.h"

namespace quillmark::testing {
namespace {

// The record of the stored file, which has three chunks unless a test says otherwise.
std::string Item(int size = 196'608) {
    return R"({"name":"f","directory":false,"revision":"7","creation_time":"2026-01-02T03:04:05.678Z",)"
           R"("modification_time":"2026-01-02T03:04:05.678Z","attributes":128,"permissions":"WRITE",)"
           R"("folder_permissions":"WRITE","size":)" +
           std::to_string(size) + "}";
}

std::string Progress(std::int64_t received, bool locked = false) {
    return JsonReply(R"({"bytes_received":")" + std::to_string(received) + R"(","is_locked":")" +
                     (locked ? "true" : "false") + R"("})");
}

std::string Refusal(const std::string& status, int errorId) {
    const std::string body = R"({"errorId":")" + std::to_string(errorId) + R"(","severity":"1"})";
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// Answers the upload's requests in turn, and keeps of each what it was: "POST 65536 65536 finish", "GET", "DELETE".
class UploadScript {
public:
    explicit UploadScript(std::vector<std::string> replies)
        : m_replies(std::move(replies)), m_server([this](test::Peer& peer) { Serve(peer); }) {}

    [[nodiscard]] std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_server.Port()); }
    // Forgets the requests so far, and answers the next ones with these.
    void Continue(std::vector<std::string> replies) {
        const std::lock_guard lock(m_lock);
        m_replies = std::move(replies);
        m_requests.clear();
    }
    [[nodiscard]] std::vector<std::string> Requests() {
        const std::lock_guard lock(m_lock);
        return m_requests;
    }

private:
    static std::string HeaderOf(const std::string& head, const std::string& name) {
        const std::size_t start = head.find("\r\n" + name + ": ");
        if (start == std::string::npos) {
            return "";
        }
        const std::size_t from = start + name.size() + 4;
        return head.substr(from, head.find("\r\n", from) - from);
    }
    static std::string Describe(const std::string& head) {
        std::string text = head.substr(0, head.find(' '));
        for (const char* header : {"qm_offset", "qm_block_size"}) {
            const std::string value = HeaderOf(head, header);
            text += value.empty() ? "" : " " + value;
        }
        text += HeaderOf(head, "qm_start").empty() ? "" : " start";
        text += HeaderOf(head, "qm_finish").empty() ? "" : " finish";
        const std::string path = HeaderOf(head, "qm_new_path");
        return path.empty() ? text : text + " as " + path;
    }
    void Serve(test::Peer& peer) {
        for (std::string head = peer.ReadHead(); !head.empty(); head = peer.ReadHead()) {
            head.erase(0, head.find_first_not_of("\r\n"));
            if (head.empty()) {
                return;  // the line breaks that were owed, and the end
            }
            const std::string boundary = "boundary=\"";
            if (const std::size_t start = head.find(boundary); start != std::string::npos) {
                const std::size_t from = start + boundary.size();
                static_cast<void>(peer.ReadThrough("--" + head.substr(from, head.find('"', from) - from) + "--\r\n"));
            }
            if (head.starts_with("GET /endpoints ")) {
                peer.Send(JsonReply(R"({"qm":{"sync":{"1.7":{"path":"/api/1.7","tos":0}}}})"));
            } else if (head.starts_with("GET /api/1.7/init ")) {
                peer.Send(JsonReply(R"({"device_token_auth":false})"));
            } else if (head.starts_with("GET /api/1.7/folders?")) {
                peer.Send(JsonReply(R"({"contents":[]})"));
            } else {
                peer.Send(NextReply(head));
            }
        }
    }
    std::string NextReply(const std::string& head) {
        const std::lock_guard lock(m_lock);
        m_requests.push_back(Describe(head));
        return m_requests.size() <= m_replies.size() ? m_replies[m_requests.size() - 1] : Refusal("404 No", 1002);
    }

    std::vector<std::string> m_replies;
    std::mutex m_lock;
    std::vector<std::string> m_requests;
    test::RawServer m_server;
};

class ResumableScriptTest : public ResumableTest {
protected:
    using Lines = std::vector<std::string>;

    void SetUp() override { WriteFile(Noise(3 * ChunkSize)); }

    // Runs the command with these replies to the upload's requests.
    ProcessResult SendTo(std::vector<std::string> replies, const Arguments& more = {}) {
        m_script = std::make_unique<UploadScript>(std::move(replies));
        Write("home/session",
              "quillmark session 1\nserver " + m_script->Url() + "\nuser anna\ndevice d\ntoken T0KEN\n");
        return Send(more);
    }
    [[nodiscard]] Lines Requests() const { return m_script->Requests(); }

    std::unique_ptr<UploadScript> m_script;
};

TEST_F(ResumableScriptTest, MarksFirstAndLastChunk) {
    EXPECT_EQ(0, SendTo({Progress(65536), Progress(131072), JsonReply(Item())}).exitCode);
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "POST 131072 65536 finish"}), Requests());
}

TEST_F(ResumableScriptTest, AnEmptyFileIsOneChunkWithoutAByte) {
    WriteFile("");
    EXPECT_EQ(0, SendTo({JsonReply(Item(0))}).exitCode);
    EXPECT_EQ((Lines{"POST 0 0 start finish"}), Requests());
}

TEST_F(ResumableScriptTest, AChunkOutOfStepGoesOnFromTheServersOffset) {
    const ProcessResult result =
        SendTo({Progress(65536), Refusal("409 Conflict", 1202), Progress(131072), JsonReply(Item())});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "GET", "POST 131072 65536 finish"}), Requests());
}

TEST_F(ResumableScriptTest, AServerThatLostAChunkGetsItAgain) {
    const ProcessResult result = SendTo({Progress(65536), Refusal("409 Conflict", 1202), Progress(0), Progress(65536),
                                         Progress(131072), JsonReply(Item())});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "GET", "POST 0 65536 start", "POST 65536 65536",
                     "POST 131072 65536 finish"}),
              Requests());
}

TEST_F(ResumableScriptTest, AnOffsetBeyondWhatWasSentIsNotStitchedTo) {
    WriteFile(Noise(40 * ChunkSize));  // more than the fingerprint of the first chunk covers
    const ProcessResult result = SendTo({Refusal("409 Conflict", 1202), Progress(30 * 65536)});
    EXPECT_EQ(6, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("(21202)")) << result.errors;
    EXPECT_EQ((Lines{"POST 0 65536 start", "GET"}), Requests());
}

TEST_F(ResumableScriptTest, AServerThatStaysOutOfStepIsGivenUp) {
    std::vector<std::string> replies = {Progress(65536)};
    for (int round = 0; round < 10; ++round) {
        replies.push_back(Refusal("409 Conflict", 1202));
        replies.push_back(Progress(0));
        replies.push_back(Refusal("409 Conflict", 1202));
        replies.push_back(Progress(65536));
    }
    EXPECT_EQ(6, SendTo(replies).exitCode);
    EXPECT_LT(Requests().size(), 10u);
}

TEST_F(ResumableScriptTest, WaitsForAnUploadThatIsLocked) {
    const ProcessResult result = SendTo({Progress(65536), Refusal("423 Locked", 1030), Progress(65536, true),
                                         Progress(65536, true), Progress(131072), JsonReply(Item())});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "GET", "GET", "GET", "POST 131072 65536 finish"}),
              Requests());
}

TEST_F(ResumableScriptTest, DoesNotWaitLongerThanItsPatience) {
    const ProcessResult result =
        SendTo({Progress(65536), Refusal("423 Locked", 1030), Progress(65536, true)}, {"--patience", "0"});
    EXPECT_EQ(6, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("(21030)")) << result.errors;
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "GET"}), Requests());
    EXPECT_EQ(1u, Records().size());
}

TEST_F(ResumableScriptTest, AsksAnUploadThatItKnowsBeforeItSends) {
    EXPECT_EQ(
        6, SendTo({Progress(65536), Refusal("423 Locked", 1030), Progress(65536, true)}, {"--patience", "0"}).exitCode);
    // The same server to the host: its address is part of the key.
    m_script->Continue({Progress(65536, true), Progress(131072), JsonReply(Item())});
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ((Lines{"GET", "GET", "POST 131072 65536 finish"}), Requests());
}

TEST_F(ResumableScriptTest, CompletesWhatTheServerHasInFull) {
    ASSERT_EQ(9, SendTo({Progress(65536), Progress(131072), JsonReply("no item")}).exitCode);
    m_script->Continue({Progress(196608), JsonReply(Item())});
    EXPECT_EQ(0, Send().exitCode);
    EXPECT_EQ((Lines{"GET", "POST finish as /f"}), Requests());
    EXPECT_TRUE(Records().empty());
}

TEST_F(ResumableScriptTest, AsksForTheRevisionAgainWhenItCompletes) {
    ASSERT_EQ(9, SendTo({Progress(65536), Progress(131072), JsonReply("no item")}, {"--revision", "r"}).exitCode);
    m_script->Continue({Progress(196608), JsonReply(Item())});
    EXPECT_EQ(0, Send({"--revision", "r"}).exitCode);
    EXPECT_EQ((Lines{"GET", "POST 196608 0 finish"}), Requests());
}

TEST_F(ResumableScriptTest, AnItemThatIsLockedItselfIsNotWaitedFor) {
    const ProcessResult atOnce = SendTo({Refusal("423 Locked", 1030), Refusal("404 Not Found", 1002)});
    EXPECT_EQ(6, atOnce.exitCode);
    EXPECT_EQ((Lines{"POST 0 65536 start", "GET"}), Requests());
    EXPECT_TRUE(Records().empty());
    const ProcessResult later = SendTo(
        {Progress(65536), Refusal("423 Locked", 1030), Progress(65536), Refusal("423 Locked", 1030), Progress(65536)});
    EXPECT_EQ(6, later.exitCode);
    EXPECT_EQ((Lines{"POST 0 65536 start", "POST 65536 65536", "GET", "POST 65536 65536", "GET"}), Requests());
}

}  // namespace
}  // namespace quillmark::testing
