// Every example of the README and of every help text is run as it stands, by a shell, against a server of the name and
// on the ports that the examples use. That takes a network and mounts of its own, which only root can make.
#include <filesystem>
#include <sstream>

#include "integration/cli/CliTest.h"
#include "integration/cli/HelpLines.h"

namespace quillmark::testing {
namespace {

struct Block {
    std::string name;
    std::vector<std::string> examples;
};

class ExamplesTest : public CliTest {
protected:
    // Lines of a text, from the one that follows the heading up to the first that is not indented by so many blanks.
    static std::vector<std::string> LinesBelow(const std::string& text, const std::string& heading,
                                               std::size_t indent) {
        std::vector<std::string> found;
        std::istringstream lines(text.substr(std::min(text.find("\n" + heading), text.size())));
        std::string line;
        std::getline(lines, line);
        std::getline(lines, line);
        const std::string blanks(indent, ' ');
        while (std::getline(lines, line) && (line.empty() || line.starts_with(blanks))) {
            if (!line.empty()) {
                found.push_back(line.substr(indent));
            } else if (!found.empty()) {
                break;
            }
        }
        return found;
    }
    // Of the command and of those below it.
    void CollectFrom(const Arguments& path) {
        Arguments arguments = path;
        arguments.emplace_back("--help");
        const std::string help = OutputOf(arguments);
        std::string name;
        for (const std::string& word : path) {
            name += (name.empty() ? "" : "-") + word;
        }
        const std::vector<std::string> commands = CommandsIn(help);
        Block block{path.empty() ? "help" : name, LinesBelow(help, "Examples:", 2)};
        EXPECT_TRUE(!block.examples.empty() || !commands.empty()) << "no example in the help of " << name;
        if (!block.examples.empty()) {
            m_blocks.push_back(std::move(block));
        }
        for (const std::string& command : commands) {
            Arguments next = path;
            next.push_back(command);
            CollectFrom(next);
        }
    }
    void WriteBlocks() {
        for (const Block& block : m_blocks) {
            for (std::size_t index = 0; index < block.examples.size(); ++index) {
                Write(FileOf(block, index) + ".sh", block.examples[index] + "\n");
            }
        }
    }
    static std::string FileOf(const Block& block, std::size_t index) {
        return "work/blocks/" + block.name + "/" + std::to_string(index + 10);
    }
    // Interrupted, 'changes --follow' is cancelled, while 'watch' ends as it is meant to.
    static std::string ExpectedCode(const std::string& example) {
        return example.find("--follow") != std::string::npos ? "7\n" : "0\n";
    }
    void CheckBlocks() {
        for (const Block& block : m_blocks) {
            for (std::size_t index = 0; index < block.examples.size(); ++index) {
                const std::string file = Local(FileOf(block, index));
                EXPECT_EQ(ExpectedCode(block.examples[index]), Read(file + ".code"))
                    << block.name << ": " << block.examples[index] << "\n"
                    << Read(file + ".out") << Read(file + ".err");
            }
        }
    }

    std::vector<Block> m_blocks;
};

TEST_F(ExamplesTest, EveryExampleOfReadmeAndHelpWorksAsItStands) {
    const std::string source = QUILLMARK_SOURCE_FOLDER;
    m_blocks.push_back({"README", LinesBelow(Read(source + "/README.md"), "The command-line host:\n", 4)});
    ASSERT_GE(m_blocks.front().examples.size(), 10u) << "where are the README's examples?";
    CollectFrom({});
    ASSERT_GE(m_blocks.size(), 25u);
    WriteBlocks();
    const ProcessResult own = Process::Run({"unshare", "--net", "--mount", "true"});
    ASSERT_EQ(0, own.exitCode) << "the examples need a network of their own, which only root can make: " << own.errors;
    const ProcessResult result =
        Process::Run({"unshare", "--net", "--mount", "sh", source + "/tests/integration/cli/run-examples.sh",
                      std::filesystem::path(ProgramPath("quillmark")).parent_path().string(), Local("work")});
    ASSERT_EQ(0, result.exitCode) << result.output << result.errors;
    CheckBlocks();
}

}  // namespace
}  // namespace quillmark::testing
