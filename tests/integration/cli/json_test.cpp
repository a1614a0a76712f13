// quillmark --json: one object per result, a line each, as programs rely on it. What the server chooses by itself
// (revisions, times of creation, identifiers) is compared as "*".
#include <regex>

#include "integration/cli/CliTest.h"

namespace quillmark::testing {
namespace {

class JsonTest : public CliTest {
protected:
    void SetUp() override {
        StartAndLogin({"--no-sync", "--version-text", "reference \"1.0\"", "--mapping",
                       "Docs;type=smb;limit=1000000;description=All papers", "--mapping",
                       "Old;type=webdav;status=OFFLINE;readonly;no-sharing"});
        const std::string file = Write("file", "hello\n");
        ASSERT_EQ(0, Process::Run({"touch", "-d", "2020-02-03T04:05:06.789Z", file}).exitCode);
        OutputOf({"mkdir", "/Docs/d"});
        ASSERT_EQ(0, Quillmark({"put", "-q", file, "/Docs/f"}).exitCode);
    }
    // Standard output of the command, with what the server chooses as "*".
    std::string Json(Arguments arguments) {
        arguments.insert(arguments.begin(), "--json");
        return Masked(OutputOf(arguments));
    }
    static std::string Masked(std::string text) {
        text = std::regex_replace(text, std::regex(R"re("(created|revision|time)":"[^"]*")re"), "\"$1\":\"*\"");
        text = std::regex_replace(text, std::regex(R"re(("kind":"folder"[^}]*"modified":)"[^"]*")re"), "$1\"*\"");
        return std::regex_replace(text, std::regex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F-]{22}"), "*");
    }

    const std::string m_file =
        R"({"path":"/Docs/f","name":"f","kind":"file","size":6,"created":"*","modified":"2020-02-03T04:05:06.789Z",)"
        R"("attributes":128,"revision":"*","writable":true)";
    const std::string m_folder =
        R"({"path":"/Docs/d","name":"d","kind":"folder","size":null,"created":"*","modified":"*","attributes":16,)"
        R"("revision":"*","writable":true)";
};

TEST_F(JsonTest, Version) {
    EXPECT_EQ("{\"version\":\"reference \\\"1.0\\\"\"}\n", Json({"version"}));
}

TEST_F(JsonTest, Ls) {
    EXPECT_EQ(m_folder + "}\n" + m_file + "}\n", Json({"ls", "/Docs"}));
    EXPECT_EQ(m_folder + "}\n" + m_file + "}\n", Json({"ls", "-l", "-R", "/Docs"})) << "without headings";
    EXPECT_EQ(m_file + "}\n", Json({"ls", "/Docs/f"}));
}

TEST_F(JsonTest, Stat) {
    EXPECT_EQ(m_file + "}\n", Json({"stat", "/Docs/f"}));
    EXPECT_EQ(m_folder + "}\n", Json({"stat", "/Docs/d"}));
}

TEST_F(JsonTest, Find) {
    EXPECT_EQ(m_file + "}\n", Json({"find", "/Docs", "--type", "f"}));
}

TEST_F(JsonTest, TreeTellsDepthsAndCountsNothing) {
    EXPECT_EQ(m_folder + ",\"depth\":0}\n", Json({"tree", "/Docs/d"}));
    OutputOf({"mkdir", "/Docs/d/e"});
    const std::string lines = Json({"tree", "/Docs"});
    EXPECT_NE(std::string::npos, lines.find(m_folder + ",\"depth\":1}\n")) << lines;
    EXPECT_NE(std::string::npos, lines.find(R"({"path":"/Docs/d/e","name":"e")")) << lines;
    EXPECT_NE(std::string::npos, lines.find(",\"depth\":2}\n")) << lines;
    EXPECT_TRUE(lines.ends_with(m_file + ",\"depth\":1}\n")) << lines;
}

TEST_F(JsonTest, Du) {
    EXPECT_EQ(
        "{\"path\":\"/Docs/d\",\"bytes\":0,\"files\":0,\"folders\":0}\n"
        "{\"path\":\"/Docs\",\"bytes\":6,\"files\":1,\"folders\":1}\n",
        Json({"du", "/Docs"}));
    EXPECT_EQ("{\"path\":\"/Docs\",\"bytes\":6,\"files\":1,\"folders\":1}\n", Json({"du", "-s", "--human", "/Docs"}));
}

TEST_F(JsonTest, Folders) {
    EXPECT_EQ(R"({"path":"/Docs","reachable":true,"mode":"automatic","type":"smb","permissions":"WRITE",)"
              R"("abilities":["delta","locking","resumable","sharing"],"largest":1000000,"description":"All papers"})"
              "\n"
              R"({"path":"/Old","reachable":false,"mode":"automatic","type":"webdav","permissions":"ROOT_READONLY",)"
              R"("abilities":["delta","locking","resumable"],"largest":null,"description":null})"
              "\n",
              Json({"folders"}));
}

TEST_F(JsonTest, Changes) {
    LoginDevice("other");
    OutputOf({"mkdir", "/Docs/a\tb"});
    OutputOf({"mv", "/Docs/f", "/Docs/g"});
    const ProcessResult result = QuillmarkAs("other", {"--json", "changes"});
    EXPECT_EQ(
        "{\"action\":\"create\",\"path\":\"/Docs/a\\tb\",\"to\":null}\n"
        "{\"action\":\"move\",\"path\":\"/Docs/f\",\"to\":\"/Docs/g\"}\n",
        result.output);
}

TEST_F(JsonTest, LockState) {
    EXPECT_EQ("{\"path\":\"/Docs/f\",\"state\":\"unlocked\"}\n", Json({"lock-state", "/Docs/f"}));
}

TEST_F(JsonTest, DeltaJobs) {
    const std::string id = "0F8FAD5B-D9CB-469F-A165-70867728950E";
    EXPECT_EQ("{\"id\":\"" + id + "\",\"state\":\"unknown\"}\n", OutputOf({"--json", "delta-jobs", "state", id}));
}

TEST_F(JsonTest, Uploads) {
    // All is sent, and the item was changed between the two attempts.
    const std::string local = Write("new", std::string(70'000, 'x'));
    const Arguments put = {"put",        "--resumable",         "--chunk", "64K",
                           "--revision", RevisionOf("/Docs/f"), local,     "/Docs/f"};
    Server().AddFaults({{"method", "POST"}, {"path", "/api/1.7/resume/upload/Docs/f"}, {"kind", "delay"}, {"ms", 0}});
    Server().AddFaults(
        {{"method", "POST"}, {"path", "/api/1.7/resume/upload/Docs/f"}, {"kind", "reply"}, {"status", 403}});
    ASSERT_NE(0, Quillmark(put).exitCode);
    OutputOf({"touch", "/Docs/f"});
    ASSERT_EQ(6, Quillmark(put).exitCode);
    EXPECT_EQ("{\"id\":\"*\",\"size\":70000,\"path\":\"/Docs/f\",\"local\":\"" + local + "\"}\n", Json({"uploads"}));
    EXPECT_EQ(
        "{\"id\":\"*\",\"received\":70000,\"size\":70000,\"state\":\"conflict\",\"path\":\"/Docs/f\",\"local\":\"" +
            local + "\"}\n",
        Json({"uploads", "state"}));
    EXPECT_EQ("{\"path\":\"/Docs/g\"}\n", Json({"uploads", "complete", "/Docs/f", "/Docs/g"}));
}

TEST_F(JsonTest, LoginWhoamiProfilesAndLogout) {
    const std::string who = "{\"server\":\"" + Server().HttpUrl() + R"(","user":"anna","device":"quillmark-cli",)";
    EXPECT_EQ(who + "\"profile\":null}\n", Json({"login", Server().HttpUrl(), "--user", "anna"}));
    const std::string whoami = OutputOf({"--json", "whoami"});
    EXPECT_TRUE(whoami.starts_with(who + "\"profile\":null,\"since\":\"20")) << whoami;
    EXPECT_TRUE(whoami.ends_with("Z\",\"accepted\":true,\"authority\":null}\n")) << whoami;
    EXPECT_EQ("{\"server\":\"" + Server().HttpUrl() + "\",\"user\":\"anna\",\"unfinishedUploads\":[]}\n",
              Json({"logout"}));
}

TEST_F(JsonTest, LoginAndProfilesNameTheProfile) {
    const auto run = [this](Arguments arguments) {
        arguments.insert(arguments.begin(), {ProgramPath("quillmark"), "--json"});
        return Process::Run(arguments, HomeEnvironment()).output;
    };
    const std::string server = "\"server\":\"" + Server().HttpUrl() + "\",\"user\":\"anna\"";
    EXPECT_EQ("{" + server +
                  R"(,"device":"d","profile":"work"})"
                  "\n",
              run({"--profile", "work", "login", Server().HttpUrl(), "--user", "anna", "--device", "d"}));
    EXPECT_EQ("{\"profile\":\"work\"," + server + "}\n", run({"profiles"}));
}

TEST_F(JsonTest, RegisterAndWipeAck) {
    const std::string device = R"(","user":"anna","device":"quillmark-cli"})";
    EXPECT_EQ("{\"server\":\"" + Server().HttpUrl() + device + "\n", Json({"register"}));
    EXPECT_EQ("{\"server\":\"" + Server().HttpUrl() + device + "\n", Json({"wipe-ack"}));
}

TEST_F(JsonTest, EachCheckOfTheDoctor) {
    const std::string lines = Json({"doctor"});
    EXPECT_NE(
        std::string::npos,
        lines.find(
            R"({"check":"session","result":"ok","text":"the server accepts the session of anna","nextStep":null,"error":null})"))
        << lines;
}

TEST_F(JsonTest, AnObjectForEachPathThatWasChanged) {
    EXPECT_EQ("{\"path\":\"/Docs/a\"}\n{\"path\":\"/Docs/b\"}\n", Json({"mkdir", "/Docs/a", "Docs/b/"}));
    EXPECT_EQ("{\"path\":\"/Docs/f\"}\n", Json({"touch", "/Docs/f"}));
    EXPECT_EQ("{\"path\":\"/Docs/f\"}\n", Json({"lock", "/Docs/f"}));
    EXPECT_EQ("{\"path\":\"/Docs/f\"}\n", Json({"unlock", "/Docs/f"}));
    EXPECT_EQ("{\"path\":\"/Docs/f\",\"to\":\"/Docs/a/f\"}\n", Json({"mv", "/Docs/f", "/Docs/a/"}));
    EXPECT_EQ("{\"path\":\"/Docs/b\"}\n", Json({"rm", "-r", "/Docs/b"}));
}

TEST_F(JsonTest, AnObjectForEachJobThatIsCommittedOrCancelled) {
    const std::string file = Local("file");
    const auto start = [&] {
        return Quillmark({"put", "-q", "--async-delta", file, "--no-commit", file, "/Docs/f"}).output.substr(0, 36);
    };
    const std::string commit = start();
    EXPECT_EQ("{\"id\":\"" + commit + "\"}\n", OutputOf({"--json", "delta-jobs", "commit", commit, file}));
    const std::string cancel = start();
    EXPECT_EQ("{\"id\":\"" + cancel + "\"}\n", OutputOf({"--json", "delta-jobs", "cancel", cancel}));
}

TEST_F(JsonTest, WhatFailedHasNoObject) {
    const ProcessResult result = Quillmark({"--json", "rm", "/Docs/none", "/Docs/f"});
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("{\"path\":\"/Docs/f\"}\n", result.output);
    EXPECT_TRUE(result.errors.starts_with("quillmark: cannot delete /Docs/none: ")) << result.errors;
}

TEST_F(JsonTest, Share) {
    EXPECT_EQ(R"({"paths":["/Docs/d","/Docs/f"],"to":["ben","carla"],"name":"d"})"
              "\n",
              Json({"share", "/Docs/d", "/Docs/f", "--to", "carla", "ben"}));
}

class StatisticsJsonTest : public CliTest {};

TEST_F(StatisticsJsonTest, TellsTheBytes) {
    StartAndLogin({"--no-sync", "--audit"});
    EXPECT_EQ("{\"bytes\":6}\n", OutputOf({"--json", "stats", "a text"}));
}

TEST_F(JsonTest, FailuresGoToStandardErrorOnly) {
    const ProcessResult result = Quillmark({"--json", "stat", "/none"});
    EXPECT_EQ(5, result.exitCode);
    EXPECT_EQ("", result.output);
    EXPECT_NE("", result.errors);
}

}  // namespace
}  // namespace quillmark::testing
