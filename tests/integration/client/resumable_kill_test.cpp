// A resumable upload whose host and whose server are killed again and again, at random moments: it ends with the right
// bytes, and what it costs beyond them is at most one chunk per kill.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <random>
#include <sstream>
#include <thread>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr int Kills = 50;
constexpr std::int64_t ChunkSize = 256 * 1024;
constexpr std::int64_t FileSize = 60 * ChunkSize + 12'345;

// The lines that a driver prints, through a pipe with a name.
class Lines {
public:
    explicit Lines(std::string path) : m_path(std::move(path)) {
        if (::mkfifo(m_path.c_str(), 0600) != 0) {
            throw std::runtime_error("mkfifo");
        }
        // Open for both, so that neither side waits for the other one.
        m_pipe = ::open(m_path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }
    ~Lines() { ::close(m_pipe); }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_path; }
    // The next line; empty when none comes within the time.
    std::string Next(std::chrono::milliseconds time) {
        for (;;) {
            const std::size_t end = m_text.find('\n');
            if (end != std::string::npos) {
                const std::string line = m_text.substr(0, end);
                m_text.erase(0, end + 1);
                return line;
            }
            pollfd entry{m_pipe, POLLIN, 0};
            if (::poll(&entry, 1, static_cast<int>(time.count())) <= 0) {
                return "";
            }
            char block[4096];
            const ssize_t count = ::read(m_pipe, block, sizeof(block));
            m_text.append(block, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    }

private:
    std::string m_path;
    int m_pipe = -1;
    std::string m_text;
};

// What one upload has cost so far.
struct Ledger {
    std::string path;
    std::string id;
    std::int64_t sent = 0;   // bytes of all chunks that were begun, each counted whole
    std::int64_t begun = 0;  // where the last chunk began
    std::int64_t kept = 0;   // acknowledged
    int sends = 0;
    int kills = 0;
    int failure = 0;  // code with which the last run ended
    bool done = false;
};

class ResumableKillTest : public ClientTest {
protected:
    void SetUp() override {
        StartAndLogin({});
        m_lines.emplace(LocalPath("lines"));
        m_content = Pattern(static_cast<std::size_t>(FileSize));
        m_local = LocalPath("to-upload");
        static_cast<void>(WriteFileAt(m_local, m_content));
    }

    Ledger NewUpload(int number) {
        char id[40];
        std::snprintf(id, sizeof(id), "{00000000-0000-4000-8000-%012d}", number);
        return {"/item-" + std::to_string(number), id};
    }
    // One run of the driver, killed in its midst unless it is done before: the host itself, or the server under it.
    void RunAndKill(Ledger& upload, bool killServer, std::chrono::microseconds moment) {
        upload.failure = 0;
        Process driver = StartDriver(upload);
        ASSERT_TRUE(TakeLinesUntilSending(upload)) << "code " << upload.failure;
        if (!upload.done) {
            std::this_thread::sleep_for(moment);  // nothing is waited for: wherever that may be
            ++upload.kills;
            killServer ? Server().Kill() : driver.Signal(SIGKILL);
        }
        driver.Wait();
        while (TakeLine(upload, std::chrono::milliseconds(0))) {
        }
        if (!Server().ServerProcess().IsRunning()) {
            Server().Start();
        }
    }
    void RunToTheEnd(Ledger& upload) {
        Process driver = StartDriver(upload);
        EXPECT_EQ(0, driver.Wait());
        while (TakeLine(upload, std::chrono::milliseconds(0))) {
        }
        ASSERT_TRUE(upload.done);
    }
    void Check(const Ledger& upload) {
        EXPECT_TRUE(ContentOf(upload.path) == m_content) << upload.path;
        EXPECT_EQ(FileSize, upload.kept);
        EXPECT_LE(upload.sent, FileSize + upload.kills * ChunkSize) << upload.path;
        std::printf("%s: %d kills, %lld bytes sent for %lld\n", upload.path.c_str(), upload.kills,
                    static_cast<long long>(upload.sent), static_cast<long long>(FileSize));
    }

private:
    Process StartDriver(const Ledger& upload) {
        return {{ProgramPath("resumable-driver"), Server().HttpUrl(), m_local, upload.path, upload.id,
                 std::to_string(ChunkSize)},
                m_lines->Path(),
                LocalPath("driver-errors")};
    }
    bool TakeLinesUntilSending(Ledger& upload) {
        const int before = upload.sends;
        while (upload.sends == before && !upload.done) {
            if (!TakeLine(upload, std::chrono::seconds(60)) || upload.failure != 0) {
                return false;
            }
        }
        return true;
    }
    // False when there is none. Nothing that was acknowledged is sent again, and nothing ahead of the last chunk.
    bool TakeLine(Ledger& upload, std::chrono::milliseconds time) {
        std::istringstream line(m_lines->Next(time));
        std::string word;
        std::int64_t offset = 0;
        std::int64_t length = 0;
        if (!(line >> word)) {
            return false;
        }
        line >> offset >> length;
        if (word == "send") {
            EXPECT_GE(offset, std::max(upload.kept, upload.begun));
            EXPECT_LE(length, ChunkSize);
            upload.begun = offset;
            ++upload.sends;
            upload.sent += length;
        } else if (word == "kept") {
            upload.kept = offset;
        } else if (word == "failed") {
            upload.failure = static_cast<int>(offset);
        }
        upload.done = upload.done || word == "done";
        return true;
    }

    std::optional<Lines> m_lines;
    std::string m_content;
    std::string m_local;
};

TEST_F(ResumableKillTest, UploadSurvivesFiftyKillsOfHostAndServer) {
    const auto seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> moment(0, 40'000);
    Ledger upload = NewUpload(0);
    int kills = 0;
    for (int number = 1; kills < Kills;) {
        const int before = upload.kills;
        ASSERT_NO_FATAL_FAILURE(RunAndKill(upload, kills % 2 == 1, std::chrono::microseconds(moment(random))));
        kills += upload.kills - before;
        if (upload.done) {
            Check(upload);
            upload = NewUpload(number++);
        }
    }
    if (!upload.done) {
        RunToTheEnd(upload);
        Check(upload);
    }
}

}  // namespace
}  // namespace quillmark::testing
