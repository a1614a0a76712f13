// A program that is killed in the middle of several transfers: the same command goes on where each of them stopped.
#include <csignal>
#include <thread>

#include "integration/cli/Await.h"
#include "integration/cli/TransferTreeTest.h"

namespace quillmark::testing {
namespace {

class KillTest : public TransferTreeTest {
protected:
    static constexpr int FileCount = 3;
    static constexpr std::uint64_t Mib = 1024 * 1024;
    static constexpr std::uint64_t Chunk = 2 * Mib;
    static constexpr std::uint64_t Size = 5 * Chunk;

    static std::string Name(int file) { return "file-" + std::to_string(file); }
    std::string WriteFiles() const {
        for (int file = 0; file < FileCount; ++file) {
            Write("tree/" + Name(file), Noise(Size, static_cast<std::uint32_t>(file)));
        }
        return Local("tree");
    }
    // What is held up there for minutes is so no longer, and it counts anew.
    void RestartServer() {
        Server().Kill();
        Server().Start();
    }
    // Kills the command when that holds.
    void KillWhen(const Arguments& arguments, const std::function<bool()>& holds) const {
        Process process(Command(arguments), Local("out"), Local("err"), HomeEnvironment());
        EXPECT_TRUE(Await(holds)) << Read(Local("err"));
        process.Signal(SIGKILL);
        EXPECT_EQ(137, process.Wait());
    }
};

TEST_F(KillTest, EachOfSeveralUploadsRepeatsOneChunkAtMost) {
    const Arguments put = {"put", "-q", "--jobs", "3", "--resumable", "--chunk", "2M", WriteFiles(), "/copy"};
    // The first file is held up in its first chunk, the second one in its second, the third one in its third.
    const auto resource = [](int file) { return "/api/1.7/resume/upload/copy/" + Name(file); };
    nlohmann::json rules = nlohmann::json::array();
    for (int file = 0; file < FileCount; ++file) {
        for (int passing = 0; passing < file; ++passing) {
            rules.push_back({{"method", "POST"}, {"path", resource(file)}, {"kind", "delay"}, {"ms", 0}});
        }
        rules.push_back({{"method", "POST"},
                         {"path", resource(file)},
                         {"kind", "stall"},
                         {"direction", "request"},
                         {"after", Mib},
                         {"ms", 600'000}});
    }
    Server().AddFaults(rules);
    KillWhen(put, [this] { return Server().UnusedFaults() == 0; });
    RestartServer();
    Expect(0, "", "3 files, 1 folder, " + std::to_string(3 * Size) + " bytes, 0 skipped, 0 failed\n", put);
    for (int file = 0; file < FileCount; ++file) {
        EXPECT_EQ(static_cast<std::uint64_t>(5 - file), Server().RequestCount("POST", resource(file))) << file;
    }
    EXPECT_LT(Server().Statistics()["received"].get<std::uint64_t>(), (5 + 4 + 3) * Chunk + Mib / 2);
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeOnServer("/copy"));
    EXPECT_TRUE(NamesIn(Local("home/uploads")).empty());
}

TEST_F(KillTest, EachOfSeveralDownloadsGoesOnFromWhatHasCome) {
    ASSERT_EQ(0, Quillmark({"put", "-q", WriteFiles(), "/copy"}).exitCode);
    const Arguments get = {"get", "-q", "--jobs", "3", "/copy", Local("back")};
    const auto after = [](int file) { return static_cast<std::uint64_t>(2 + 3 * file) * Mib; };
    nlohmann::json rules = nlohmann::json::array();
    for (int file = 0; file < FileCount; ++file) {
        rules.push_back({{"method", "GET"},
                         {"path", "/api/1.7/folders/copy/" + Name(file)},
                         {"kind", "stall"},
                         {"after", after(file)},
                         {"ms", 600'000}});
    }
    Server().AddFaults(rules);
    const auto come = [this](int file) -> std::uint64_t {
        std::error_code missing;
        const auto size = std::filesystem::file_size(Local("back/" + Name(file) + ".quillmark-part"), missing);
        return missing ? 0 : size;
    };
    constexpr std::uint64_t OnTheWay = Mib / 2;  // the answer's head, and what the client still holds
    KillWhen(get, [&] {
        return come(0) + OnTheWay > after(0) && come(1) + OnTheWay > after(1) && come(2) + OnTheWay > after(2);
    });
    const std::uint64_t kept = come(0) + come(1) + come(2);
    RestartServer();
    Expect(0, "", "3 files, 1 folder, " + std::to_string(3 * Size) + " bytes, 0 skipped, 0 failed\n", get);
    EXPECT_LT(Server().Statistics()["sent"].get<std::uint64_t>(), 3 * Size - kept + Mib / 2);
    EXPECT_TRUE(TreeAt(Local("tree")) == TreeAt(Local("back"))) << "and nothing else is left there";
}

}  // namespace
}  // namespace quillmark::testing
