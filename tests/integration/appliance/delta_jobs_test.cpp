// Deltas that are applied in the background: their states, what is committed when, and what a kill leaves.
#include <chrono>

#include "integration/appliance/DeltaTest.h"

namespace appliance_test {

using nlohmann::json;

namespace {

constexpr const char* NobodysJob = "0F8FAD5B-D9CB-469F-A165-70867728950E";
constexpr std::chrono::seconds Patience{60};

}  // namespace

class DeltaJobs : public DeltaTest {
protected:
    void SetUp() override {
        Start({"--no-sync", "--user", "bob:secret"});
        m_revision = Upload("/f", Old()).Json()["revision"].get<std::string>();
    }

    void Start(const std::vector<std::string>& options) {
        StartServer(options);
        Login();
    }

    static const std::string& Old() {
        static const std::string content = Noise(300'000);
        return content;
    }
    static const std::string& New() {
        static const std::string content = Old().substr(100) + "and more";
        return content;
    }
    [[nodiscard]] const std::string& Revision() const { return m_revision; }

    CurlResult StartJob(const std::string& resource, const std::string& delta, std::uint64_t size) {
        const std::string file = Server().Scratch("delta");
        WriteFile(file, delta);
        return Curl({"-F", "size=" + std::to_string(size), "-F", "file=@" + file, Url("/asdelta/folders" + resource)});
    }
    // A good one; its identifier.
    std::string StartGoodJob() {
        const CurlResult result = StartJob("/f?revision=" + m_revision, DeltaBetween(Old(), New()), New().size());
        EXPECT_EQ(result.status, 200) << result.body;
        return result.Json().value("deltaJobId", "");
    }
    std::string StateOf(const std::string& id) {
        return Curl({Url("/asdelta/status?jobId=" + id)}).Json()[id]["status"].get<std::string>();
    }
    // Its state once it is no longer in progress.
    std::string EndOf(const std::string& id) {
        const auto end = std::chrono::steady_clock::now() + Patience;
        std::string state = StateOf(id);
        while (state == "IN_PROGRESS" && std::chrono::steady_clock::now() < end) {
            state = StateOf(id);
        }
        return state;
    }
    CurlResult Commit(const std::string& id, std::uint64_t size, const std::string& revision = "",
                      const std::vector<std::string>& extra = {}) {
        std::vector<std::string> arguments{"-d", "revision=" + revision, "-d", "expected_size=" + std::to_string(size)};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        arguments.push_back(Url("/asdelta/" + id));
        return Curl(arguments);
    }
    CurlResult Cancel(const std::string& id) { return Curl({"-X", "DELETE", Url("/asdelta/" + id)}); }

    // Every job stands still once so many bytes of its result are written.
    void HoldJobsAfter(std::uint64_t bytes) {
        const CurlResult result =
            RunCurl({"-d", "after=" + std::to_string(bytes), Server().Http() + "/control/delta-jobs"});
        ASSERT_EQ(result.status, 200) << result.body;
    }
    void LetJobsGo() { ASSERT_EQ(RunCurl({"-X", "DELETE", Server().Http() + "/control/delta-jobs"}).status, 200); }
    bool WaitForHeldJobs(int count) {
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (RunCurl({Server().Http() + "/control/delta-jobs"}).Json()["held"] != count) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
        }
        return true;
    }

    void ExpectRefused(const CurlResult& result, int status, const std::string& errorId) {
        EXPECT_EQ(result.status, status) << result.body;
        EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
    }

private:
    std::string m_revision;
};

TEST_F(DeltaJobs, AreInProgressThenWaitForTheirCommitThenAreDone) {
    HoldJobsAfter(0);
    const std::string id = StartGoodJob();
    ASSERT_EQ(id.size(), 36U);
    EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF-"), std::string::npos) << id;
    EXPECT_EQ(StateOf(id), "IN_PROGRESS");
    LetJobsGo();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    EXPECT_TRUE(Download("/f").body == Old());

    const CurlResult result = Commit(id, New().size(), Revision(),
                                     {"-d", "modification_time=2016-02-29T23:59:59.999Z", "-d",
                                      "creation_time=2015-03-01T10:20:30.123Z", "-d", "attributes=33"});
    ASSERT_EQ(result.status, 200) << result.body;
    const json item = result.Json();
    EXPECT_EQ(item["orca_path"], "/f");
    EXPECT_EQ(item["size"], New().size());
    EXPECT_EQ(item["modification_time"], "2016-02-29T23:59:59.999Z");
    EXPECT_EQ(item["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(item["attributes"], 33);
    EXPECT_NE(item["revision"], Revision());
    EXPECT_EQ(Curl({Url("/folders/f")}).Json(), item);
    EXPECT_TRUE(Download("/f").body == New());
    EXPECT_EQ(StateOf(id), "GUID_NOT_FOUND");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaJobs, WithoutARevisionTakeTheContentThatIsThere) {
    const CurlResult result =
        StartJob("/f?revision=&optimise_overwrite_append=true", DeltaBetween(Old(), New()), New().size());
    ASSERT_EQ(result.status, 200) << result.body;
    const std::string id = result.Json()["deltaJobId"];
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    ASSERT_EQ(Commit(id, New().size()).status, 200);
    EXPECT_TRUE(Download("/f").body == New());
}

TEST_F(DeltaJobs, BuildOnAnEmptyFile) {
    ASSERT_EQ(Upload("/empty", "").status, 200);
    const std::string id = StartJob("/empty?revision=", DeltaBetween("", "content"), 7).Json()["deltaJobId"];
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    ASSERT_EQ(Commit(id, 7).status, 200);
    EXPECT_EQ(Download("/empty").body, "content");
}

TEST_F(DeltaJobs, FailWhenTheDeltaIsBrokenOrMakesAnotherSize) {
    const std::string good = DeltaBetween(Old(), New());
    const std::vector<std::pair<std::string, std::uint64_t>> broken{
        {"no delta", 8},          {"", 0}, {good.substr(0, good.size() / 2), New().size()}, {good, New().size() - 1},
        {good, New().size() + 1},
    };
    for (const auto& [delta, size] : broken) {
        const std::string id = StartJob("/f?revision=" + Revision(), delta, size).Json()["deltaJobId"];
        EXPECT_EQ(EndOf(id), "FAILED") << size;
        ExpectRefused(Commit(id, size), 409, "1203");
    }
    EXPECT_TRUE(Download("/f").body == Old());
    EXPECT_EQ(ContentFiles(), 1U);
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaJobs, FailWhenTheirBaseIsReplacedBeforeTheirTurn) {
    HoldJobsAfter(0);
    const std::string first = StartGoodJob();
    const std::string second = StartGoodJob();
    ASSERT_TRUE(WaitForHeldJobs(2));
    const std::string waiting = StartGoodJob();
    ASSERT_EQ(Upload("/f", "something else").status, 200);
    LetJobsGo();
    EXPECT_EQ(EndOf(waiting), "FAILED");
    // These two have had the base open all along.
    for (const std::string& id : {first, second}) {
        ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
        ExpectRefused(Commit(id, New().size(), Revision()), 409, "1077");
    }
    EXPECT_EQ(Download("/f").body, "something else");
}

TEST_F(DeltaJobs, AreToldAboutSeveralAtOnceInTheOrderAsked) {
    const std::string ready = StartGoodJob();
    ASSERT_EQ(EndOf(ready), "PENDING_COMMIT");
    const std::string failed = StartJob("/f?revision=", "no delta", 1).Json()["deltaJobId"];
    ASSERT_EQ(EndOf(failed), "FAILED");
    HoldJobsAfter(0);
    const std::string working = StartGoodJob();
    const CurlResult result = Curl(
        {Url("/asdelta/status?jobId=" + working + "&jobId=" + NobodysJob + "&jobId=" + ready + "&jobId=" + failed)});
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.body, "{\"" + working + "\":{\"status\":\"IN_PROGRESS\"},\"" + NobodysJob +
                               "\":{\"status\":\"GUID_NOT_FOUND\"},\"" + ready +
                               "\":{\"status\":\"PENDING_COMMIT\"},\"" + failed + "\":{\"status\":\"FAILED\"}}");
    EXPECT_EQ(Curl({Url("/asdelta/status")}).body, "{}");
}

TEST_F(DeltaJobs, AreKnownByTheirIdentifierInAnyCaseWithOrWithoutBraces) {
    const std::string id = StartGoodJob();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    std::string lower = id;
    for (char& letter : lower) {
        letter = static_cast<char>(std::tolower(letter));
    }
    EXPECT_EQ(Curl({Url("/asdelta/status?jobId=%7B" + lower + "%7D")}).body,
              "{\"" + id + "\":{\"status\":\"PENDING_COMMIT\"}}");
    EXPECT_EQ(Commit("%7B" + lower + "%7D", New().size()).status, 200);
}

TEST_F(DeltaJobs, ThatNobodyKnowsAreNotFound) {
    EXPECT_EQ(StateOf(NobodysJob), "GUID_NOT_FOUND");
    ExpectRefused(Commit(NobodysJob, 1), 404, "1002");
    ExpectRefused(Cancel(NobodysJob), 404, "1002");
    ExpectRefused(Commit("no-job", 1), 404, "1040");
    ExpectRefused(Cancel("no-job"), 404, "1040");
    ExpectRefused(Curl({Url("/asdelta/" + std::string(NobodysJob))}), 404, "1040");
    ExpectRefused(Curl({Url("/asdelta/status?jobId=no-job")}), 400, "1001");
}

TEST_F(DeltaJobs, OfAnotherUserAreNotFound) {
    const std::string id = StartGoodJob();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    const CurlResult login = RunCurl({"-d", "user_id=bob&password=secret&device_id=test", Url("/sessions")});
    const std::string cookie = "session_token=" + login.Json()["session_token"].get<std::string>();
    EXPECT_EQ(RunCurl({"-b", cookie, Url("/asdelta/status?jobId=" + id)}).body,
              "{\"" + id + "\":{\"status\":\"GUID_NOT_FOUND\"}}");
    ExpectRefused(RunCurl({"-b", cookie, "-d", "expected_size=1", Url("/asdelta/" + id)}), 404, "1002");
    ExpectRefused(RunCurl({"-b", cookie, "-X", "DELETE", Url("/asdelta/" + id)}), 404, "1002");
    EXPECT_EQ(StateOf(id), "PENDING_COMMIT");
}

TEST_F(DeltaJobs, CanBeGivenUpInEveryState) {
    const std::string ready = StartGoodJob();
    ASSERT_EQ(EndOf(ready), "PENDING_COMMIT");
    const std::string failed = StartJob("/f?revision=", "no delta", 1).Json()["deltaJobId"];
    ASSERT_EQ(EndOf(failed), "FAILED");
    HoldJobsAfter(100'000);
    const std::string working = StartGoodJob();
    ASSERT_TRUE(WaitForHeldJobs(1));
    for (const std::string& id : {ready, failed, working}) {
        EXPECT_EQ(Cancel(id).status, 200);
        EXPECT_EQ(StateOf(id), "GUID_NOT_FOUND");
        ExpectRefused(Cancel(id), 404, "1002");
    }
    // The one at work stops although nobody has let it go.
    EXPECT_TRUE(WaitForHeldJobs(0));
    LetJobsGo();
    ASSERT_EQ(EndOf(StartGoodJob()), "PENDING_COMMIT");
    EXPECT_TRUE(Download("/f").body == Old());
    EXPECT_EQ(ContentFiles(), 2U);
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaJobs, CanBeGivenUpBeforeTheirTurn) {
    HoldJobsAfter(0);
    static_cast<void>(StartGoodJob());
    static_cast<void>(StartGoodJob());
    ASSERT_TRUE(WaitForHeldJobs(2));
    const std::string waiting = StartGoodJob();
    EXPECT_EQ(Cancel(waiting).status, 200);
    LetJobsGo();
    EXPECT_EQ(EndOf(StartGoodJob()), "PENDING_COMMIT");
    EXPECT_EQ(StateOf(waiting), "GUID_NOT_FOUND");
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaJobs, CannotBeCommittedBeforeTheyAreReady) {
    HoldJobsAfter(100'000);
    const std::string id = StartGoodJob();
    ASSERT_TRUE(WaitForHeldJobs(1));
    ExpectRefused(Commit(id, New().size(), Revision()), 409, "1203");
    EXPECT_EQ(StateOf(id), "IN_PROGRESS");
    LetJobsGo();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    EXPECT_EQ(Commit(id, New().size(), Revision()).status, 200);
}

TEST_F(DeltaJobs, AreNotCommittedOverAnItemThatHasChanged) {
    const std::string id = StartGoodJob();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    const json changed = Curl({"-d", "operation=update&attributes=33", Url("/folders/f")}).Json();
    for (const std::string& revision : {std::string(), Revision(), changed["revision"].get<std::string>()}) {
        const CurlResult result = Commit(id, New().size(), revision);
        ExpectRefused(result, 409, "1077");
        EXPECT_EQ(result.Json()["document_info"], changed);
    }
    EXPECT_TRUE(Download("/f").body == Old());
    EXPECT_EQ(StateOf(id), "PENDING_COMMIT");
}

TEST_F(DeltaJobs, AreNotCommittedForAnotherRevisionThanTheItemHas) {
    const std::string id = StartGoodJob();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    ExpectRefused(Commit(id, New().size(), "4711"), 409, "1077");
    EXPECT_EQ(Commit(id, New().size(), Revision()).status, 200);
}

TEST_F(DeltaJobs, AreNotCommittedAsAnotherSize) {
    const std::string id = StartGoodJob();
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    ExpectRefused(Commit(id, New().size() - 1), 400, "1020");
    ExpectRefused(Curl({"-d", "revision=", Url("/asdelta/" + id)}), 400, "1001");
    ExpectRefused(Curl({"-d", "expected_size=x", Url("/asdelta/" + id)}), 400, "1001");
    EXPECT_TRUE(Download("/f").body == Old());
    EXPECT_EQ(Commit(id, New().size()).status, 200);
}

TEST_F(DeltaJobs, OfTwoForOneRevisionTheFirstCommitWins) {
    const std::string first = StartGoodJob();
    const std::string second = StartGoodJob();
    ASSERT_EQ(EndOf(first), "PENDING_COMMIT");
    ASSERT_EQ(EndOf(second), "PENDING_COMMIT");
    EXPECT_EQ(Commit(second, New().size(), Revision()).status, 200);
    ExpectRefused(Commit(first, New().size(), Revision()), 409, "1077");
}

TEST_F(DeltaJobs, AreRefusedAtTheirStartWhereTheyCouldNotEndWell) {
    MakeFolder("docs");
    const std::string delta = DeltaBetween(Old(), New());
    ExpectRefused(StartJob("/missing?revision=", delta, 1), 404, "1002");
    ExpectRefused(StartJob("/missing?revision=1", delta, 1), 404, "1002");
    ExpectRefused(StartJob("/docs?revision=", delta, 1), 409, "1004");
    ExpectRefused(StartJob("/f?revision=", delta, 1ULL << 63U), 400, "1001");
    const CurlResult stale = StartJob("/f?revision=4711", delta, New().size());
    ExpectRefused(stale, 409, "1077");
    EXPECT_EQ(stale.Json()["document_info"], Curl({Url("/folders/f")}).Json());
    const std::string file = Server().Scratch("delta");
    ExpectRefused(Curl({"-F", "file=@" + file, Url("/asdelta/folders/f?revision=")}), 400, "1001");
    ExpectRefused(Curl({"-F", "size=1", Url("/asdelta/folders/f?revision=")}), 400, "1001");
    ExpectRefused(RunCurl({"-F", "size=1", "-F", "file=@" + file, Url("/asdelta/folders/f?revision=")}), 401, "6");
    ExpectRefused(Curl({"-F", "size=1", "-F", "file=@" + file, Url("/asdelta/foldersf?revision=")}), 404, "1040");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaJobs, TakeTheirRoomUntilTheyAreDone) {
    Start({"--no-sync", "--capacity", "1000"});
    ASSERT_EQ(Upload("/f", std::string(300, 'x')).status, 200);
    ExpectRefused(StartJob("/f?revision=", DeltaBetween(std::string(300, 'x'), "y"), 701), 507, "1507");
    const std::string id =
        StartJob("/f?revision=", DeltaBetween(std::string(300, 'x'), std::string(300, 'x')), 300).Json()["deltaJobId"];
    ASSERT_EQ(EndOf(id), "PENDING_COMMIT");
    EXPECT_EQ(Upload("/g", std::string(401, 'x')).status, 507);
    ASSERT_EQ(Commit(id, 300).status, 200);
    EXPECT_EQ(Upload("/g", std::string(700, 'x')).status, 200);
}

TEST_F(DeltaJobs, AreForgottenWhenTheirTimeIsOver) {
    Start({"--no-sync", "--upload-lifetime", "1"});
    ASSERT_EQ(Upload("/f", Old()).status, 200);
    const std::string id = StartJob("/f?revision=", DeltaBetween(Old(), New()), New().size()).Json()["deltaJobId"];
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (StateOf(id) != "GUID_NOT_FOUND") {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
    }
    ExpectRefused(Commit(id, New().size()), 404, "1002");
    Server().KillAndStartAgain();
    EXPECT_EQ(ContentFiles(), 1U);
}

class DurableDeltaJobs : public DeltaJobs {
protected:
    void SetUp() override {
        DeltaJobs::SetUp();
        Start({});
        ASSERT_EQ(Upload("/f", Old()).status, 200);
    }
    std::string StartUnconditionalJob() {
        return StartJob("/f?revision=", DeltaBetween(Old(), New()), New().size()).Json()["deltaJobId"];
    }
};

TEST_F(DurableDeltaJobs, BeginAnewAfterAKillInTheMiddle) {
    for (const std::uint64_t bytes : {std::uint64_t{0}, std::uint64_t{100'000}, ~std::uint64_t{0}}) {
        HoldJobsAfter(bytes);
        const std::string id = StartUnconditionalJob();
        ASSERT_TRUE(WaitForHeldJobs(1)) << bytes;
        Server().KillAndStartAgain();
        ASSERT_EQ(EndOf(id), "PENDING_COMMIT") << bytes;
        EXPECT_EQ(ContentFiles(), 2U);
        EXPECT_EQ(Cancel(id).status, 200);
    }
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DurableDeltaJobs, BeginAnewAfterTheServerHasEnded) {
    HoldJobsAfter(100'000);
    const std::string id = StartUnconditionalJob();
    ASSERT_TRUE(WaitForHeldJobs(1));
    EXPECT_EQ(Server().Stop(), 0);
    EXPECT_EQ(Server().ErrorText(), "");
    Server().KillAndStartAgain();
    EXPECT_EQ(EndOf(id), "PENDING_COMMIT");
}

TEST_F(DurableDeltaJobs, KeepTheirStateAndTheirContentOverAKill) {
    const std::string ready = StartUnconditionalJob();
    ASSERT_EQ(EndOf(ready), "PENDING_COMMIT");
    const std::string failed = StartJob("/f?revision=", "no delta", 1).Json()["deltaJobId"];
    ASSERT_EQ(EndOf(failed), "FAILED");
    Server().KillAndStartAgain();
    EXPECT_EQ(StateOf(failed), "FAILED");
    ASSERT_EQ(StateOf(ready), "PENDING_COMMIT");
    ASSERT_EQ(Commit(ready, New().size()).status, 200);
    Server().KillAndStartAgain();
    EXPECT_TRUE(Download("/f").body == New());
    EXPECT_EQ(StateOf(ready), "GUID_NOT_FOUND");
    EXPECT_EQ(ContentFiles(), 1U);
}

}  // namespace appliance_test
