// Deltas through the library: sent and asked for while the client waits, and as jobs. The rdiff command makes and
// applies them.
#include <chrono>
#include <filesystem>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

constexpr DWORD OrdinaryDelta = 0;
constexpr DWORD OverwriteOrAppendDelta = 1;
constexpr DWORD PendingCommit = 1;
constexpr DWORD InProgress = 2;
constexpr DWORD Failed = 3;
constexpr DWORD NotFound = 4;
constexpr std::chrono::seconds Patience{60};

class DeltaTest : public ClientTest {
protected:
    // The paths of rdiff's results.
    std::string SignatureOf(const std::string& content) {
        WriteFileAt(LocalPath("signed"), content);
        return Rdiff({"signature", LocalPath("signed"), LocalPath("signature")});
    }
    std::string DeltaBetween(const std::string& from, const std::string& to) {
        const std::string signature = SignatureOf(from);
        WriteFileAt(LocalPath("changed"), to);
        return Rdiff({"delta", signature, LocalPath("changed"), LocalPath("delta")});
    }
    std::string Patched(const std::string& base, const std::string& deltaFile) {
        WriteFileAt(LocalPath("patch-base"), base);
        return ReadFileAt(Rdiff({"patch", LocalPath("patch-base"), deltaFile, LocalPath("patched")}));
    }

    static const std::string& Old() {
        static const std::string content = Pattern(2'000'000);
        return content;
    }
    static const std::string& New() {
        static const std::string content = "new" + Old().substr(10, 999'990) + "middle" + Old().substr(1'000'000);
        return content;
    }

    DWORD SendDelta(const std::string& serverPath, const std::string& deltaFile, const Attributes& attributes,
                    DWORD type = OrdinaryDelta) {
        return Client()->UploadDelta(WidenUtf8(deltaFile), WidenUtf8(serverPath), attributes, type, nullptr, nullptr);
    }
    DWORD StartJob(const std::string& serverPath, const std::string& deltaFile, const Attributes& attributes, GUID& job,
                   DWORD type = OrdinaryDelta) {
        return Client()->AsyncDeltaStart(WidenUtf8(deltaFile), WidenUtf8(serverPath), attributes, job, type, nullptr,
                                         nullptr);
    }
    DWORD StateOf(const GUID& job) {
        AsyncDeltaJobList jobs{{job, 0}};
        EXPECT_EQ(0u, Client()->AsyncDeltaStatus(jobs, nullptr));
        return jobs.front().state;
    }
    // Its state once it is no longer in progress.
    DWORD EndOf(const GUID& job, std::chrono::seconds patience = Patience) {
        const auto end = std::chrono::steady_clock::now() + patience;
        DWORD state = StateOf(job);
        while (state == InProgress && std::chrono::steady_clock::now() < end) {
            state = StateOf(job);
        }
        return state;
    }
    // Every job stands still before its first byte.
    void HoldJobs() { Control({"-d", "after=0"}); }
    void LetJobsGo() { Control({"-X", "DELETE"}); }

    static Attributes NewAttributes() { return UploadAttributes(static_cast<std::int64_t>(New().size())); }

private:
    static std::string Rdiff(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"rdiff", "--force"});
        const ProcessResult result = Process::Run(arguments);
        EXPECT_EQ(0, result.exitCode) << result.errors;
        return arguments.back();
    }
    void Control(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"curl", "-sS", "--fail", "--noproxy", "*"});
        arguments.push_back(Server().HttpUrl() + "/control/delta-jobs");
        EXPECT_EQ(0, Process::Run(arguments).exitCode);
    }
};

TEST_F(DeltaTest, UploadStoresTheNewContentForFewBytes) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", Old()));
    Server().ResetStatistics();
    const Attributes attributes = NewAttributes();
    ASSERT_EQ(0u, SendDelta("/item", DeltaBetween(Old(), New()), attributes));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/delta/item"));
    EXPECT_LT(Server().Statistics().at("received").get<std::size_t>(), Old().size() / 10);
    Attributes stored;
    ASSERT_EQ(0u, Look("/item", &stored));
    EXPECT_EQ(stored->GetRevision(), attributes->GetRevision());
    EXPECT_EQ(static_cast<std::int64_t>(New().size()), stored->GetSize());
    EXPECT_EQ("2026-01-02T03:04:05.678Z", NarrowUtf8(stored->GetLastWriteTime().ToText()));
    EXPECT_TRUE(ContentOf("/item") == New());
}

TEST_F(DeltaTest, UploadOverHttpsToANameThatNeedsEncodingStoresTheNewContent) {
    StartAndLogin({"--no-sync"}, true);
    ASSERT_EQ(0u, MakeFolder("/a b"));
    ASSERT_EQ(0u, Upload("/a b/50% ü", Old()));
    ASSERT_EQ(0u, SendDelta("/a b/50% ü", DeltaBetween(Old(), New()), NewAttributes(), OverwriteOrAppendDelta));
    EXPECT_TRUE(ContentOf("/a b/50% ü") == New());
}

TEST_F(DeltaTest, UploadOfAStaleRevisionEndsInSuccessWithTheServersRecord) {
    StartAndLogin();
    const Attributes first = UploadAttributes(static_cast<std::int64_t>(Old().size()));
    ASSERT_EQ(0u, Upload("/item", Old(), first));
    const Attributes second = UploadAttributes(6);
    ASSERT_EQ(0u, Upload("/item", "second", second));
    const Attributes attributes = NewAttributes();
    attributes->SetRevision(first->GetRevision());
    EXPECT_EQ(0u, SendDelta("/item", DeltaBetween(Old(), New()), attributes));
    EXPECT_TRUE(attributes->Equals(*second));
    EXPECT_EQ(second->GetRevision(), attributes->GetRevision());
    EXPECT_EQ("second", ContentOf("/item"));
}

TEST_F(DeltaTest, UploadForThePresentRevisionIsStored) {
    StartAndLogin();
    const Attributes attributes = UploadAttributes(static_cast<std::int64_t>(Old().size()));
    ASSERT_EQ(0u, Upload("/item", Old(), attributes));
    const std::string revision = attributes->GetRevision();
    attributes->SetSize(static_cast<std::int64_t>(New().size()));
    ASSERT_EQ(0u, SendDelta("/item", DeltaBetween(Old(), New()), attributes));
    EXPECT_NE(revision, attributes->GetRevision());
    EXPECT_TRUE(ContentOf("/item") == New());
}

TEST_F(DeltaTest, UploadThatIsRefusedGivesTheServersErrorAndChangesNothing) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", Old()));
    const std::string delta = DeltaBetween(Old(), New());
    EXPECT_EQ(21002u, SendDelta("/missing", delta, NewAttributes()));
    EXPECT_EQ(21020u, SendDelta("/item", delta, UploadAttributes(5)));
    EXPECT_EQ(21001u, SendDelta("/item", LocalPath("changed"), NewAttributes()));
    EXPECT_TRUE(ContentOf("/item") == Old());
}

TEST_F(DeltaTest, UploadOfTypeOneNeedsApi16) {
    StartAndLogin({"--no-sync", "--api", "1.5"});
    ASSERT_EQ(0u, Upload("/item", Old()));
    const std::string delta = DeltaBetween(Old(), New());
    Server().ResetStatistics();
    EXPECT_EQ(87u, SendDelta("/item", delta, NewAttributes(), OverwriteOrAppendDelta));
    EXPECT_TRUE(Server().Statistics().at("requests").empty());
    EXPECT_EQ(0u, SendDelta("/item", delta, NewAttributes(), 2));
    EXPECT_TRUE(ContentOf("/item") == New());
}

TEST_F(DeltaTest, DownloadAgainstASignatureBringsADelta) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", New()));
    Attributes expected;
    ASSERT_EQ(0u, Look("/item", &expected));
    const std::string signature = SignatureOf(Old());
    Server().ResetStatistics();
    const Attributes attributes = MakeAttributes();
    ASSERT_EQ(0u, Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("down")), expected, attributes,
                                         WidenUtf8(signature), nullptr, nullptr, 0));
    EXPECT_TRUE(attributes->Equals(*expected));
    EXPECT_EQ(1u, Server().RequestCount("POST", "/api/1.7/delta/item"));
    EXPECT_LT(Server().Statistics().at("sent").get<std::size_t>(), New().size() / 10);
    EXPECT_TRUE(Patched(Old(), LocalPath("down")) == New());
}

TEST_F(DeltaTest, DownloadAgainstTheFileItselfBringsTheContent) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", New()));
    WriteFileAt(LocalPath("base"), Old());
    const Attributes attributes = MakeAttributes();
    ASSERT_EQ(0u, Client()->DownloadFile(QM_W("/item"), WidenUtf8(LocalPath("down")), nullptr, attributes,
                                         WidenUtf8(LocalPath("base")), nullptr, nullptr, 0));
    EXPECT_EQ(static_cast<std::int64_t>(New().size()), attributes->GetSize());
    EXPECT_TRUE(ReadFileAt(LocalPath("down")) == New());
}

TEST_F(DeltaTest, DownloadThatIsRefusedGivesTheStatus) {
    StartAndLogin();
    WriteFileAt(LocalPath("base"), Old());
    const auto download = [&](const WideString& path, const Attributes& expected) {
        return Client()->DownloadFile(path, WidenUtf8(LocalPath("down")), expected, MakeAttributes(),
                                      WidenUtf8(LocalPath("base")), nullptr, nullptr, 0);
    };
    EXPECT_EQ(20404u, download(QM_W("/missing"), nullptr));
    ASSERT_EQ(0u, Upload("/item", New()));
    const Attributes stale = MakeAttributes();
    stale->SetRevision("4711");
    EXPECT_EQ(20409u, download(QM_W("/item"), stale));
}

TEST_F(DeltaTest, JobIsStartedAskedAboutAndCommitted) {
    StartAndLogin();
    const Attributes attributes = UploadAttributes(static_cast<std::int64_t>(Old().size()));
    ASSERT_EQ(0u, Upload("/item", Old(), attributes));
    attributes->SetSize(static_cast<std::int64_t>(New().size()));
    // Records of the server have no time of last access and of change.
    attributes->SetLastAccessTime(attributes->GetLastWriteTime());
    attributes->SetChangeTime(attributes->GetLastWriteTime());
    HoldJobs();
    GUID job = {};
    ASSERT_EQ(0u, StartJob("/item", DeltaBetween(Old(), New()), attributes, job));
    EXPECT_FALSE(job == GUID{});
    EXPECT_EQ(InProgress, StateOf(job));
    const Attributes early = attributes->Clone();
    EXPECT_EQ(21203u, Client()->AsyncDeltaCommit(job, early, New().size(), nullptr));
    LetJobsGo();
    ASSERT_EQ(PendingCommit, EndOf(job));
    EXPECT_TRUE(ContentOf("/item") == Old());
    EXPECT_EQ(21020u, Client()->AsyncDeltaCommit(job, early, 1, nullptr));
    const std::string revision = attributes->GetRevision();
    ASSERT_EQ(0u, Client()->AsyncDeltaCommit(job, attributes, New().size(), nullptr));
    EXPECT_NE(revision, attributes->GetRevision());
    EXPECT_TRUE(ContentOf("/item") == New());
    EXPECT_EQ(NotFound, StateOf(job));
}

TEST_F(DeltaTest, JobsAreAskedAboutTogether) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", Old()));
    const std::string delta = DeltaBetween(Old(), New());
    AsyncDeltaJobList jobs(4);
    ASSERT_EQ(0u, StartJob("/item", delta, NewAttributes(), jobs[0].id, OverwriteOrAppendDelta));
    ASSERT_EQ(PendingCommit, EndOf(jobs[0].id));
    ASSERT_EQ(0u, StartJob("/item", LocalPath("changed"), NewAttributes(), jobs[1].id));
    ASSERT_EQ(Failed, EndOf(jobs[1].id));
    HoldJobs();
    ASSERT_EQ(0u, StartJob("/item", delta, NewAttributes(), jobs[2].id));
    jobs[3].id.Data1 = 0x0F8FAD5B;
    ASSERT_EQ(0u, Client()->AsyncDeltaStatus(jobs, nullptr));
    EXPECT_EQ(PendingCommit, jobs[0].state);
    EXPECT_EQ(Failed, jobs[1].state);
    EXPECT_EQ(InProgress, jobs[2].state);
    EXPECT_EQ(NotFound, jobs[3].state);
}

TEST_F(DeltaTest, JobIsGivenUp) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", Old()));
    HoldJobs();
    GUID job = {};
    ASSERT_EQ(0u, StartJob("/item", DeltaBetween(Old(), New()), NewAttributes(), job));
    EXPECT_EQ(0u, Client()->AsyncDeltaCancel(job, nullptr));
    EXPECT_EQ(NotFound, StateOf(job));
    EXPECT_EQ(21002u, Client()->AsyncDeltaCancel(job, nullptr));
    EXPECT_EQ(87u, Client()->AsyncDeltaCancel(GUID{}, nullptr));
    EXPECT_TRUE(ContentOf("/item") == Old());
}

TEST_F(DeltaTest, JobIsNotCommittedOverAnItemThatHasChanged) {
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/item", Old()));
    GUID job = {};
    ASSERT_EQ(0u, StartJob("/item", DeltaBetween(Old(), New()), NewAttributes(), job));
    ASSERT_EQ(PendingCommit, EndOf(job));
    ASSERT_EQ(0u, Upload("/item", "something else"));
    EXPECT_EQ(21077u, Client()->AsyncDeltaCommit(job, NewAttributes(), New().size(), nullptr));
    EXPECT_EQ("something else", ContentOf("/item"));
}

TEST_F(DeltaTest, JobOutlivesTheServer) {
    StartAndLogin({});
    ASSERT_EQ(0u, Upload("/item", Old()));
    HoldJobs();
    GUID job = {};
    ASSERT_EQ(0u, StartJob("/item", DeltaBetween(Old(), New()), NewAttributes(), job));
    Server().Kill();
    Server().Start();
    ASSERT_EQ(PendingCommit, EndOf(job));
    EXPECT_EQ(0u, Client()->AsyncDeltaCommit(job, NewAttributes(), New().size(), nullptr));
    EXPECT_TRUE(ContentOf("/item") == New());
}

TEST_F(DeltaTest, JobsNeedApi17) {
    StartAndLogin({"--no-sync", "--api", "1.6"});
    ASSERT_EQ(0u, Upload("/item", Old()));
    const std::string delta = DeltaBetween(Old(), New());
    Server().ResetStatistics();
    GUID job = {};
    EXPECT_EQ(87u, StartJob("/item", delta, NewAttributes(), job));
    job.Data1 = 1;
    AsyncDeltaJobList jobs{{job, 0}};
    EXPECT_EQ(87u, Client()->AsyncDeltaStatus(jobs, nullptr));
    EXPECT_EQ(87u, Client()->AsyncDeltaCommit(job, NewAttributes(), 1, nullptr));
    EXPECT_EQ(87u, Client()->AsyncDeltaCancel(job, nullptr));
    EXPECT_TRUE(Server().Statistics().at("requests").empty());
}

// Files of more than 4 GiB, made of few bytes: the deltas are written by hand.
class LargeDeltaTest : public DeltaTest {
protected:
    static std::string Number(std::uint64_t number) {
        std::string text;
        for (int shift = 56; shift >= 0; shift -= 8) {
            text += static_cast<char>(number >> shift);
        }
        return text;
    }
    static std::string Copy(std::uint64_t position, std::uint64_t length) {
        return '\x54' + Number(position) + Number(length);
    }
    std::string WriteDelta(const std::string& commands) {
        WriteFileAt(LocalPath("by-hand"), "rs\x02\x36" + commands + '\0');
        return LocalPath("by-hand");
    }
};

TEST_F(LargeDeltaTest, ResultAndBaseMayBeLargerThan32BitsCount) {
    constexpr std::uint64_t Piece = 1 << 20;
    constexpr std::uint64_t Pieces = 4096;
    constexpr std::uint64_t Size = Piece * Pieces + 8;
    constexpr std::uint64_t NeededSpace = Size + 0x1000'0000;
    if (std::filesystem::space(std::filesystem::temp_directory_path()).available < NeededSpace) {
        GTEST_SKIP() << "needs " << NeededSpace << " bytes in the folder for temporary files";
    }
    StartAndLogin();
    ASSERT_EQ(0u, Upload("/large", std::string(Piece - 8, '\0') + "the tail"));
    std::string commands;
    for (std::uint64_t i = 0; i < Pieces; ++i) {
        commands += Copy(0, Piece);
    }
    const Attributes attributes = UploadAttributes(static_cast<std::int64_t>(Size));
    GUID job = {};
    ASSERT_EQ(0u, StartJob("/large", WriteDelta(commands + "\x08past end"), attributes, job));
    ASSERT_EQ(PendingCommit, EndOf(job, 5 * Patience));
    ASSERT_EQ(0u, Client()->AsyncDeltaCommit(job, attributes, Size, nullptr));
    EXPECT_EQ(static_cast<std::int64_t>(Size), attributes->GetSize());

    // A raw base of that size goes up; what comes down is the few bytes that the item has by then.
    const Attributes tail = UploadAttributes(16);
    ASSERT_EQ(0u, SendDelta("/large", WriteDelta(Copy(Piece * Pieces - 8, 16)), tail));
    WriteFileAt(LocalPath("base"), "");
    std::filesystem::resize_file(LocalPath("base"), Size);
    ASSERT_EQ(0u, Client()->DownloadFile(QM_W("/large"), WidenUtf8(LocalPath("down")), tail, MakeAttributes(),
                                         WidenUtf8(LocalPath("base")), nullptr, nullptr, 0));
    EXPECT_EQ("the tailpast end", ReadFileAt(LocalPath("down")));
}

}  // namespace
}  // namespace quillmark::testing
