// What put and get print with --json, each in its ways.
#include <filesystem>
#include <regex>

#include "integration/cli/CliTest.h"
#include "integration/cli/Summary.h"

namespace quillmark::testing {
namespace {

const std::string SUMMARY =
    R"({"type":"summary","files":1,"folders":0,"bytes":7,"skipped":0,"deleted":0,"failed":0,"milliseconds":*,)"
    R"("cancelled":false})"
    "\n";

class TransferJsonTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin();
        Write("old", "earlier");
        Write("new", "present");
        ASSERT_EQ(0, Quillmark({"put", "-q", Local("old"), "/f"}).exitCode);
    }
    // Revisions, times and identifiers are never twice the same.
    static std::string WithoutChance(const std::string& text) {
        const std::string named =
            std::regex_replace(text, std::regex(R"json("(revision|job)":"[0-9A-Za-z-]+")json"), R"("$1":"*")");
        return std::regex_replace(named, std::regex(R"("milliseconds":[0-9]+)"), R"("milliseconds":*)");
    }
    static std::string Object(const std::string& direction, const std::string& method, const std::string& local,
                              const std::string& rest) {
        return R"({"type":"file","outcome":"done","direction":")" + direction + R"(","method":")" + method +
               R"(","local":")" + local + R"(","server":"/f","bytes":7,)" + rest + "}\n";
    }
    // Runs it; standard output is this object and the summary, standard error ends with the summary's line.
    void Expect(const std::string& object, Arguments arguments) const {
        arguments.insert(arguments.begin(), "--json");
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ(object + SUMMARY, WithoutChance(result.output));
        EXPECT_TRUE(WithoutTime(result.errors).ends_with("1 file, 0 folders, 7 bytes, 0 skipped, 0 failed\n"))
            << result.errors;
    }
    const std::string m_revision = R"("revision":"*")";
};

TEST_F(TransferJsonTest, PutInEachWay) {
    const std::string file = Local("new");
    Expect(Object("up", "whole", file, m_revision), {"put", file, "/f"});
    Expect(Object("up", "resumable", file, m_revision), {"put", "--resumable", file, "/f"});
    Expect(Object("up", "delta", file, m_revision), {"put", "--delta", file, file, "/f"});
    Expect(Object("up", "async-delta", file, m_revision), {"put", "--async-delta", file, file, "/f"});
}

TEST_F(TransferJsonTest, AJobThatIsNotCommittedIsNamed) {
    const Arguments put = {"put", "--async-delta", Local("old"), "--no-commit", Local("new"), "/f"};
    Expect(Object("up", "async-delta", Local("new"), R"("job":"*")"), put);
    EXPECT_EQ("earlier", ContentOf("/f"));
}

TEST_F(TransferJsonTest, GetInEachWay) {
    const std::string file = Local("back");
    Expect(Object("down", "whole", file, m_revision), {"get", "/f", file});
    Expect(Object("down", "delta", file, m_revision), {"get", "--delta", Local("new"), "/f", file});
    Expect(Object("down", "range", file, m_revision), {"get", "--range", "0-", "/f", file});
}

TEST_F(TransferJsonTest, ARangeTellsItsOwnBytes) {
    const ProcessResult result = Quillmark({"--json", "get", "--range", "2-5", "/f", Local("back")});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_NE(std::string::npos, result.output.find(R"("method":"range")")) << result.output;
    EXPECT_NE(std::string::npos, result.output.find(R"("bytes":3,)")) << result.output;
}

TEST_F(TransferJsonTest, AFailureOfEachWayIsAnObject) {
    for (const Arguments& way : {Arguments{"put", "--delta", Local("none"), Local("new"), "/f"},
                                 {"put", "--async-delta", Local("new"), Local("new"), "/none"},
                                 {"get", "--delta", Local("none"), "/f", Local("back")},
                                 {"get", "--range", "0-1", "/none", Local("back")},
                                 {"get", "--range", "0-1", "--revision", "1", "/f", Local("back")}}) {
        Arguments arguments = {"--json"};
        arguments.insert(arguments.end(), way.begin(), way.end());
        const ProcessResult result = Quillmark(arguments);
        EXPECT_NE(0, result.exitCode);
        EXPECT_EQ(0u, result.output.find(R"({"type":"file","outcome":"failed",)")) << result.output;
        EXPECT_NE(std::string::npos, result.output.find(R"("failed":1,)")) << result.output;
    }
}

// A program that asks for a plan must not get the transfer.
TEST_F(TransferJsonTest, ADryRunOfEachWayChangesNothing) {
    for (const Arguments& way : {Arguments{"put", "--delta", Local("old"), Local("new"), "/f"},
                                 {"put", "--async-delta", Local("old"), Local("new"), "/f"},
                                 {"get", "--delta", Local("new"), "/f", Local("back")},
                                 {"get", "--range", "0-1", "/f", Local("back")}}) {
        Arguments arguments = {"--json", "--dry-run"};
        arguments.insert(arguments.begin() + 1, way.begin(), way.end());
        const ProcessResult result = Quillmark(arguments);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ(0u, result.output.find(R"({"type":"plan","action":")" + way.front())) << result.output;
    }
    EXPECT_FALSE(std::filesystem::exists(Local("back")));
    EXPECT_EQ("earlier", ContentOf("/f"));
}

}  // namespace
}  // namespace quillmark::testing
