// What the suites of "put --resumable" share: a server, and a file of five chunks of 64 KiB.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "integration/cli/Await.h"
#include "integration/cli/CliTest.h"
#include "integration/cli/Facts.h"

namespace quillmark::testing {

class ResumableTest : public CliTest {
protected:
    static constexpr std::size_t ChunkSize = 65536;
    static constexpr const char* Resource = "/api/1.7/resume/upload/f";

    void SetUp() override { StartAndLogin(); }

    // Bytes that do not repeat in any short distance.
    static std::string Noise(std::size_t size, std::uint32_t seed = 1) {
        std::string bytes(size, '\0');
        std::uint32_t state = seed;
        for (char& byte : bytes) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<char>(state >> 24);
        }
        return bytes;
    }
    // The file, and the command that sends it to /f.
    std::string WriteFile(const std::string& content) const { return Write("file", content); }
    [[nodiscard]] Arguments Put(const Arguments& more = {}) const {
        Arguments arguments = {"put", "-q", "--retries", "0", "--resumable", "--chunk", "64K", Local("file"), "/f"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    ProcessResult Send(const Arguments& more = {}) const { return Quillmark(Put(more)); }
    [[nodiscard]] static std::string Summary(std::size_t bytes) {
        return "1 file, 0 folders, " + std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes") +
               ", 0 skipped, 0 failed\n";
    }

    // Lets so many requests with a chunk of /f pass, and does that to the next one.
    void FaultAtChunk(int number, const nlohmann::json& kind) {
        nlohmann::json rules = nlohmann::json::array();
        for (int passing = 0; passing < number; ++passing) {
            rules.push_back({{"method", "POST"}, {"path", Resource}, {"kind", "delay"}, {"ms", 0}});
        }
        nlohmann::json rule = {{"method", "POST"}, {"path", Resource}};
        rule.update(kind);
        rules.push_back(rule);
        Server().AddFaults(rules);
    }
    // Sends chunks up to that one, whose request fails.
    void SendPart(int chunks, const Arguments& more = {}) {
        FaultAtChunk(chunks, {{"kind", "end"}, {"at", "before-head"}});
        const ProcessResult result = Send(more);
        EXPECT_EQ(3, result.exitCode) << result.errors;
        EXPECT_EQ(0u, Server().UnusedFaults());
        Server().ResetStatistics();
    }
    // Requests with a chunk, or with a completion, since the counters were reset.
    [[nodiscard]] std::uint64_t Posts() { return Server().RequestCount("POST", Resource); }
    // Starts to send a file of five chunks of 2 MiB, so large that a request is held up in the middle of the third one.
    Process StartHeldUp(const std::string& content, int milliseconds) {
        WriteFile(content);
        FaultAtChunk(2, {{"kind", "stall"}, {"direction", "request"}, {"after", 1'000'000}, {"ms", milliseconds}});
        Process process(Command(PutLarge()), Local("out"), Local("err"), HomeEnvironment());
        EXPECT_TRUE(Await([this] { return Server().UnusedFaults() == 0; }));
        return process;
    }
    [[nodiscard]] Arguments PutLarge() const {
        return {"put", "-q", "--retries", "0", "--resumable", "--chunk", "2M", Local("file"), "/f"};
    }
    static constexpr std::size_t LargeSize = 10 * 1024 * 1024;
    // Records that the host keeps.
    [[nodiscard]] std::vector<std::string> Records() const {
        return std::filesystem::exists(Local("home/uploads")) ? NamesIn(Local("home/uploads"))
                                                              : std::vector<std::string>();
    }
};

}  // namespace quillmark::testing
