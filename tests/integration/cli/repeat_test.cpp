// What quillmark repeats by itself, what it looks up first, and what it leaves.
#include <filesystem>
#include <regex>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class RepeatTest : public CliTest {
protected:
    void SetUp() override { StartAndLogin(); }

    void Fault(const std::string& method, const std::string& path, nlohmann::json kind) {
        kind["method"] = method;
        kind["path"] = path;
        Server().AddFaults(kind);
    }
    void LoseAnswer(const std::string& method, const std::string& path) {
        Fault(method, path, {{"kind", "end"}, {"at", "in-body"}, {"after", 5}});
    }
    void Refuse(const std::string& method, const std::string& path, int status, int count = 1) {
        Fault(method, path, {{"kind", "reply"}, {"status", status}, {"body", "busy"}, {"count", count}});
    }
    static void ExpectLine(const std::string& pattern, const std::string& text) {
        EXPECT_TRUE(std::regex_match(text, std::regex(pattern))) << text;
    }
    ProcessResult Repeating(Arguments arguments, const Process::Environment& environment = {}) {
        arguments.insert(arguments.begin(), {"--retries", "2"});
        return Quillmark(arguments, environment);
    }
    const Process::Environment m_noPassword = {{"QUILLMARK_PASSWORD", ""}};
};

TEST_F(RepeatTest, ALostConnectionIsTriedAgainAndTold) {
    LoseAnswer("GET", "/api/1.7/folders/");
    const ProcessResult result = Repeating({"ls"});
    EXPECT_EQ(0, result.exitCode);
    ExpectLine("quillmark: the connection was lost \\(12030\\); trying again in 0\\.[2-5] s \\(1 of 2\\)\n",
               result.errors);
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RepeatTest, AServerInTroubleIsAskedAgainAfterGrowingPauses) {
    Refuse("GET", "/api/1.7/folders/", 503, 2);
    const ProcessResult result = Repeating({"ls"});
    EXPECT_EQ(0, result.exitCode);
    ExpectLine(
        "quillmark: [^\n]* \\(20503\\); trying again in 0\\.[2-5] s \\(1 of 2\\)\n"
        "quillmark: [^\n]* \\(20503\\); trying again in (0\\.[5-9]|1\\.0) s \\(2 of 2\\)\n",
        result.errors);
}

TEST_F(RepeatTest, TheRetriesAreCountedAndThenTheErrorIsTold) {
    Refuse("GET", "/api/1.7/folders/", 503, 4);
    const ProcessResult result = Repeating({"ls"});
    EXPECT_EQ(3, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("quillmark: cannot list /: the server, or the storage behind it"));
    EXPECT_EQ(1u, Server().UnusedFaults());
    EXPECT_EQ(3, Quillmark({"ls"}).exitCode) << "--retries 0: the fourth";
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RepeatTest, WhatIsRefusedForGoodIsNotRepeated) {
    Server().ResetStatistics();
    EXPECT_EQ(5, Repeating({"ls", "/none"}).exitCode);
    EXPECT_EQ(1u, Server().RequestCount("GET", "/api/1.7/folders/none"));
}

TEST_F(RepeatTest, TheFirstRequestsOfACommandAreRepeatedToo) {
    Refuse("GET", "/endpoints", 502);
    Refuse("GET", "/api/1.7/init", 503);
    EXPECT_EQ(0, Repeating({"ls"}).exitCode);
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RepeatTest, AFolderWhoseAnswerWasLostIsNotMadeTwice) {
    LoseAnswer("POST", "/api/1.7/folders");
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"mkdir", "/folder"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders"));
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ("folder/\n", OutputOf({"ls"}));
}

TEST_F(RepeatTest, AFolderThatWasNotMadeIsMadeThen) {
    Refuse("POST", "/api/1.7/folders", 502);
    const ProcessResult result = Repeating({"mkdir", "/folder"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("folder/\n", OutputOf({"ls"}));
}

TEST_F(RepeatTest, AMoveWhoseAnswerWasLostIsNotRepeated) {
    OutputOf({"mkdir", "/a", "/b"});
    LoseAnswer("POST", "/api/1.7/folders/a");
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"mv", "/a", "/b/"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders/a"));
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ("a/\n", OutputOf({"ls", "/b"}));
}

TEST_F(RepeatTest, AMoveThatDidNotHappenIsRepeated) {
    OutputOf({"mkdir", "/a"});
    Refuse("POST", "/api/1.7/folders/a", 504);
    const ProcessResult result = Repeating({"mv", "/a", "/b"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ("b/\n", OutputOf({"ls"}));
}

TEST_F(RepeatTest, ADeletionWhoseAnswerWasLostHasSucceeded) {
    OutputOf({"mkdir", "/a"});
    LoseAnswer("DELETE", "/api/1.7/folders/a");
    const ProcessResult result = Repeating({"rm", "-r", "/a"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ("", OutputOf({"ls"}));
}

TEST_F(RepeatTest, AReplacementOfOneRevisionWhoseAnswerWasLostIsNoConflict) {
    ASSERT_EQ(0, Quillmark({"put", Write("file", "old"), "/f"}).exitCode);
    const std::string revision = RevisionOf("/f");
    LoseAnswer("POST", "/api/1.7/folders/f");
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"put", "--revision", revision, Write("file", "newer"), "/f"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/folders/f"));
    EXPECT_EQ(0u, Server().UnusedFaults());
    EXPECT_EQ("newer", ContentOf("/f"));
}

TEST_F(RepeatTest, AnUnlockingWhoseAnswerWasLostHasSucceeded) {
    OutputOf({"mkdir", "/a"});
    OutputOf({"lock", "/a"});
    LoseAnswer("DELETE", "/api/1.7/locking/a");
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"unlock", "/a"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(1u, Server().RequestCount("DELETE", "/api/1.7/locking/a"));
    EXPECT_EQ("unlocked\n", OutputOf({"lock-state", "/a"}));
}

TEST_F(RepeatTest, AShareWhoseAnswerWasLostIsNotSentTwice) {
    OutputOf({"mkdir", "/a"});
    LoseAnswer("POST", "/api/1.7/share");
    EXPECT_EQ(3, Repeating({"share", "/a", "--to", "ben"}).exitCode);
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/share"));
}

TEST_F(RepeatTest, AnEndedSessionLeadsToOneNewLoginWhichIsKept) {
    const std::string before = Read(SessionFile());
    Fault("GET", "/api/1.7/folders/", {{"kind", "expire-token"}});
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"ls"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("quillmark: the session has ended (20006); trying again with a new login (1 of 2)\n", result.errors);
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/sessions"));
    EXPECT_NE(before, Read(SessionFile()));
    EXPECT_EQ(0, Quillmark({"ls"}, m_noPassword).exitCode) << "the new session serves the next command";
}

TEST_F(RepeatTest, ThePasswordForANewLoginMayComeFromAFileOrStandardInput) {
    for (const auto& [file, input] : {std::pair<std::string, std::string>{Write("password", "secret\n"), ""},
                                      std::pair<std::string, std::string>{"-", "secret\nmore"}}) {
        Fault("GET", "/api/1.7/folders/", {{"kind", "expire-token"}});
        const ProcessResult result = Quillmark({"--retries", "1", "--password-file", file, "ls"}, m_noPassword, input);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        EXPECT_EQ(0u, Server().UnusedFaults());
    }
}

TEST_F(RepeatTest, ANewLoginNeedsAPasswordAtHand) {
    Fault("GET", "/api/1.7/folders/", {{"kind", "expire-token"}});
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"ls"}, m_noPassword);
    EXPECT_EQ(4, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("Log in again with 'quillmark login'.")) << result.errors;
    EXPECT_EQ(0u, Server().RequestCount("POST", "/api/1.7/sessions"));
}

TEST_F(RepeatTest, AWrongPasswordIsSentOnceForAllItems) {
    Fault("POST", "/api/1.7/folders", {{"kind", "expire-token"}});
    Server().ResetStatistics();
    const ProcessResult result = Repeating({"mkdir", "/a", "/b", "/c"}, {{"QUILLMARK_PASSWORD", "wrong"}});
    EXPECT_EQ(4, result.exitCode);
    EXPECT_NE(std::string::npos, result.errors.find("cannot log in again to " + Server().HttpUrl() +
                                                    " as anna: the user name or the password is wrong (21010)"));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/sessions"));
}

TEST_F(RepeatTest, ALoginThatMeetsALostConnectionIsRepeated) {
    Fault("GET", "/api/1.7/folders/", {{"kind", "expire-token"}});
    Refuse("POST", "/api/1.7/sessions", 503);
    const ProcessResult result = Repeating({"ls"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_EQ(0u, Server().UnusedFaults());
}

TEST_F(RepeatTest, AServerThatRestartsIsWaitedFor) {
    Fault("GET", "/api/1.7/folders/", {{"kind", "restart"}, {"ms", 300}});
    const ProcessResult result = Quillmark({"--retries", "5", "ls"});
    EXPECT_EQ(0, result.exitCode) << result.errors;
    EXPECT_NE(std::string::npos, result.errors.find("trying again in "));
}

}  // namespace
}  // namespace quillmark::testing
