// A folder of 100,000 items is listed, searched, drawn and summed up in a few seconds, and a tree that is many
// times larger than its largest folder takes no more memory than that folder.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

constexpr int CrowdSize = 100'000;
constexpr double LongestTime = 8;         // seconds of processor time
constexpr long HighestPeak = 320 * 1024;  // KiB

class CrowdTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    // Puts so many files into each of these folders (whose names are unique), straight into the server's database: as
    // many requests would take minutes. The server does not run meanwhile, and makes no item of its own afterwards: it
    // does not know these ones' numbers.
    void Crowd(const std::vector<std::string>& folders, int count) {
        constexpr const char* Program =
            "import sqlite3, sys\n"
            "base = sqlite3.connect(sys.argv[1])\n"
            "for name in sys.argv[3:]:\n"
            "  row = base.execute('SELECT id, user, creation_time FROM items WHERE name = ? AND directory = 1',"
            " (name,)).fetchone()\n"
            "  base.executemany(\"INSERT INTO items (user, parent, name, directory, revision, creation_time,"
            " modification_time, attributes, size, content) VALUES (?, ?, ?, 0, ?, ?, ?, 128, 7, '')\","
            " ((row[1], row[0], 'file-%06d.txt' % n, 1000 + n, row[2], row[2]) for n in range(int(sys.argv[2]))))\n"
            "base.commit()\n";
        Server().Kill();
        Arguments command = {"python3", "-c", Program, DatabaseFile(), std::to_string(count)};
        command.insert(command.end(), folders.begin(), folders.end());
        const ProcessResult result = Process::Run(command);
        ASSERT_EQ(0, result.exitCode) << result.errors;
        Server().Start();
    }
    // Beside the folder with its certificates.
    std::string DatabaseFile() {
        return std::filesystem::path(Server().AuthorityFile()).parent_path().parent_path() / "appliance.db";
    }
    ProcessResult Measure(const Arguments& arguments) {
        ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        std::string line;
        for (const std::string& argument : arguments) {
            line += " " + argument;
        }
        std::printf("MEASURED%s: %.2f s, %.2f s CPU, peak memory %.1f MiB\n", line.c_str(), result.seconds,
                    result.cpuSeconds, static_cast<double>(result.peakKilobytes) / 1024);
        EXPECT_LE(result.cpuSeconds, LongestTime) << line;
        EXPECT_LE(result.peakKilobytes, HighestPeak) << line;
        return result;
    }
    static long LineCount(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }
};

TEST_F(CrowdTest, AFolderOf100000ItemsIsListedSearchedDrawnAndSummedUp) {
    OutputOf({"mkdir", "/crowd"});
    Crowd({"crowd"}, CrowdSize);
    const std::string names = Measure({"ls", "/crowd"}).output;
    EXPECT_EQ(CrowdSize, LineCount(names));
    EXPECT_EQ(0u, names.find("file-000000.txt\nfile-000001.txt\n"));
    EXPECT_EQ(CrowdSize, LineCount(Measure({"ls", "-l", "--sort", "time", "/crowd"}).output));
    EXPECT_EQ(CrowdSize, LineCount(Measure({"--json", "ls", "/crowd"}).output));
    EXPECT_EQ("/crowd/file-012345.txt\n", Measure({"find", "/crowd", "--name", "*12345*"}).output);
    EXPECT_EQ("700000\t/crowd\n", Measure({"du", "/crowd"}).output);
    EXPECT_TRUE(Measure({"tree", "/crowd"}).output.ends_with("└── file-099999.txt\n\n0 folders, 100000 files\n"));
}

TEST_F(CrowdTest, MemoryDoesNotGrowWithTheNumberOfFolders) {
    constexpr int FolderCount = 20;
    constexpr int EachCount = 2000;
    Arguments make = {"mkdir", "/one", "/tree"};
    std::vector<std::string> folders = {"one"};
    for (int folder = 1; folder <= FolderCount; ++folder) {
        folders.push_back(std::to_string(folder));
        make.push_back("/tree/" + folders.back());
    }
    OutputOf(make);
    Crowd(folders, EachCount);
    const long one = Measure({"find", "/one"}).peakKilobytes;
    for (const Arguments& command :
         {Arguments{"find", "/tree"}, {"ls", "-R", "/tree"}, {"du", "/tree"}, {"tree", "/tree"}}) {
        EXPECT_LE(Measure(command).peakKilobytes, one + one / 4) << command.front();
    }
}

}  // namespace
}  // namespace quillmark::testing
