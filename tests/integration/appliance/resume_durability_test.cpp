// Resumable uploads on a server that is killed: at any byte of a chunk, before and after its row, at the finish.
#include <sqlite3.h>

#include <cstdio>
#include <filesystem>

#include "integration/appliance/ResumeTest.h"

namespace appliance_test {

namespace {

constexpr std::size_t ChunkSize = 300'000;

std::string Bytes(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 4711;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

bool Execute(const std::string& database, const char* sql) {
    sqlite3* connection = nullptr;
    const bool done = sqlite3_open(database.c_str(), &connection) == SQLITE_OK &&
                      sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(connection);
    return done;
}

}  // namespace

class ResumableDurability : public ResumeTest {
protected:
    void SetUp() override {
        StartServer({});
        Login();
    }

    [[nodiscard]] ChunkOf ChunkAt(std::size_t offset, const std::string& path = "/f") const {
        return {
            .fileSize = m_bytes.size(), .offset = offset, .content = m_bytes.substr(offset, ChunkSize), .path = path};
    }
    // Sends what a client sends that has asked where the server stands; with all bytes there, a last chunk of none.
    void GoOn(const std::string& path) const {
        const std::string received = Received(ChunkAt(0, path));
        std::size_t offset = received == "error 1002" ? 0 : std::stoull(received);
        ASSERT_TRUE(offset == m_bytes.size() || offset % ChunkSize == 0) << "half a chunk counts: " << offset;
        CurlResult result;
        do {
            result = Send(ChunkAt(offset, path));
            ASSERT_EQ(result.status, 200) << result.body << result.errors;
            offset = std::min(offset + ChunkSize, m_bytes.size());
        } while (result.Json().contains("bytes_received"));
        ASSERT_EQ(result.Json()["size"], m_bytes.size());
        ASSERT_TRUE(Download(path).body == m_bytes);
    }
    // Kills the server that long after it was sent all of the chunk; what was acknowledged has to count.
    void KillAfter(std::chrono::microseconds time, const ChunkOf& chunk) {
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(RawChunk(chunk)));
        const auto end = std::chrono::steady_clock::now() + time;
        while (std::chrono::steady_clock::now() < end) {
        }
        const bool answered = connection.WaitForBytes(std::chrono::milliseconds(0));
        Server().KillAndStartAgain();
        const std::string after = std::to_string(chunk.offset + chunk.content.size());
        const std::string received = Received(chunk);
        if (answered) {
            EXPECT_EQ(received, after);
        } else {
            const std::string before = chunk.offset == 0 ? "error 1002" : std::to_string(chunk.offset);
            EXPECT_TRUE(received == before || received == after) << received;
        }
        ++(received == after ? m_counted : m_notCounted);
    }
    // Chunks that the server is killed in, at moments spread over twice the time that one takes.
    void KillAroundTheCommit(std::size_t offset) {
        constexpr int moments = 16;
        std::chrono::microseconds needed{0};
        for (int i = 0; i <= moments; ++i) {
            const std::string path = "/f" + std::to_string(i);
            for (std::size_t ahead = 0; ahead < offset; ahead += ChunkSize) {
                ASSERT_EQ(Send(ChunkAt(ahead, path)).status, 200);
            }
            if (i == 0) {
                const auto start = std::chrono::steady_clock::now();
                RawConnection connection(Server().HttpPort());
                ASSERT_TRUE(connection.Send(RawChunk(ChunkAt(offset, path))));
                ASSERT_EQ(connection.ReadReply().status, 200);
                needed =
                    std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
            } else {
                KillAfter(needed * 2 * (i - 1) / moments, ChunkAt(offset, path));
            }
            GoOn(path);
        }
        EXPECT_EQ(ContentFiles(), static_cast<std::size_t>(moments) + 1);
        std::printf("killed around the commit: %d chunks counted, %d did not\n", m_counted, m_notCounted);
    }

    const std::string m_bytes = Bytes(2 * ChunkSize + 12'345);

private:
    int m_counted = 0;
    int m_notCounted = 0;
};

TEST_F(ResumableDurability, KeepsEveryAcknowledgedChunk) {
    for (std::size_t offset = 0; offset < m_bytes.size(); offset += ChunkSize) {
        ASSERT_EQ(Send(ChunkAt(offset)).status, 200);
        Server().KillAndStartAgain();
        EXPECT_EQ(Received(), std::to_string(std::min(offset + ChunkSize, m_bytes.size())));
    }
    EXPECT_TRUE(Download("/f").body == m_bytes);
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableDurability, CountsNothingOfAChunkThatWasKilledAtAnyByte) {
    ASSERT_EQ(Send(ChunkAt(0)).status, 200);
    const std::string request = RawChunk(ChunkAt(ChunkSize));
    const std::size_t head = request.find("\r\n\r\n") + 4;
    for (const std::size_t sent : {head - 1, head, head + 40, head + 200, head + 65'536, head + 262'144,
                                   request.size() - 100, request.size() - 3, request.size() - 1}) {
        RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(request.substr(0, sent)));
        // From some hundred bytes of content on some are on their way to the disk.
        while (sent > head + 1000 && ContentBytes() == ChunkSize) {
            ASSERT_FALSE(connection.WaitForBytes(std::chrono::milliseconds(1)));
        }
        Server().KillAndStartAgain();
        EXPECT_EQ(Received(), std::to_string(ChunkSize)) << sent;
    }
    GoOn("/f");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(ResumableDurability, LeavesNothingOfAnUploadThatWasKilledInItsFirstChunk) {
    const std::string request = RawChunk(ChunkAt(0));
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(request.substr(0, request.size() - 1)));
    while (ContentFiles() == 0) {
        ASSERT_FALSE(connection.WaitForBytes(std::chrono::milliseconds(1)));
    }
    Server().KillAndStartAgain();
    EXPECT_EQ(Received(), "error 1002");
    EXPECT_EQ(ContentFiles(), 0U);
    GoOn("/f");
}

TEST_F(ResumableDurability, CountsAFirstChunkWholeOrNotAtAllWhenKilledAroundItsCommit) {
    KillAroundTheCommit(0);
}

TEST_F(ResumableDurability, CountsAChunkWholeOrNotAtAllWhenKilledAroundItsCommit) {
    KillAroundTheCommit(ChunkSize);
}

TEST_F(ResumableDurability, StoresTheItemOnceWhenKilledAroundTheFinish) {
    KillAroundTheCommit(2 * ChunkSize);
}

TEST_F(ResumableDurability, TellsAClientThatLostTheLastAnswerThatAllIsThere) {
    ASSERT_EQ(Send(ChunkAt(0)).status, 200);
    ASSERT_EQ(Send(ChunkAt(ChunkSize)).status, 200);
    AddFaults({{"method", "POST"}, {"path", "/api/1.7/resume/upload/f"}, {"kind", "end"}, {"at", "after-work"}});
    EXPECT_EQ(Send(ChunkAt(2 * ChunkSize)).status, 0);
    EXPECT_EQ(FaultReport()["unused"], 0);
    EXPECT_EQ(Received(), std::to_string(m_bytes.size()));
    const nlohmann::json item = Curl({Url("/folders/f")}).Json();
    EXPECT_EQ(Complete("/f").Json(), item);
    EXPECT_TRUE(Download("/f").body == m_bytes);
}

TEST_F(ResumableDurability, CountsNothingOfAChunkWhoseConnectionIsResetInside) {
    ASSERT_EQ(Send(ChunkAt(0)).status, 200);
    for (const std::uint64_t after : {100'000U, 200'000U, 299'000U}) {
        AddFaults({{"method", "POST"},
                   {"path", "/api/1.7/resume/upload/f"},
                   {"kind", "reset"},
                   {"at", "in-request"},
                   {"after", after}});
        EXPECT_EQ(Send(ChunkAt(ChunkSize)).status, 0);
        EXPECT_EQ(Received(), std::to_string(ChunkSize));
        EXPECT_EQ(ContentBytes(), ChunkSize);
    }
    GoOn("/f");
}

TEST_F(ResumableDurability, SaysThatTheServerHasFailedWhenBytesAreLost) {
    ASSERT_EQ(Send(ChunkAt(0)).status, 200);
    for (const auto& entry : std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
        std::filesystem::resize_file(entry.path(), ChunkSize - 1);
    }
    EXPECT_EQ(Send(ChunkAt(ChunkSize)).status, 500);
    EXPECT_NE(Server().ErrorText().find("has lost bytes"), std::string::npos);
    EXPECT_EQ(Received(), std::to_string(ChunkSize));
}

// Four gibibytes are planted where the server keeps them, as a hole: what counts is what it makes of such an offset.
TEST_F(ResumableDurability, GoesOnBeyondFourGibibytes) {
    constexpr std::uint64_t far = 0x1'0000'0003;
    ASSERT_EQ(Send({.fileSize = far + 8, .content = "abc"}).status, 200);
    Server().Stop();
    for (const auto& entry : std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
        std::filesystem::resize_file(entry.path(), far);
    }
    ASSERT_TRUE(Execute(Server().DataFolder() + "/appliance.db", "UPDATE uploads SET received = 4294967299"));
    Server().KillAndStartAgain();
    EXPECT_EQ(Received(), "4294967299");
    EXPECT_EQ(Send({.fileSize = far + 8, .offset = 3, .content = "wrap"}).Json()["errorId"], "1202");
    EXPECT_EQ(Send({.fileSize = far + 8, .offset = far, .content = "defg"}).body, R"({"bytes_received":"4294967303"})");
    EXPECT_EQ(Send({.fileSize = far + 8, .offset = far + 4, .content = "hijk"}).Json()["size"], 4294967307U);
    EXPECT_EQ(Curl({"-H", "Accept: application/octet-stream", Url("/folders/f?skip=4294967298&count=9")}).body,
              std::string(1, '\0') + "defghijk");
    EXPECT_EQ(Curl({"-H", "Accept: application/octet-stream", Url("/folders/f?skip=0&count=4")}).body,
              std::string("abc\0", 4));
}

}  // namespace appliance_test
