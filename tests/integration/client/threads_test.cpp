// Many threads: on one client object, and each with one of its own.
#include <barrier>
#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

// What a cancelled operation may end with, depending on where it was.
const std::set<DWORD> CancelledCodes{0, 6, 1223, 12017};

void RunOnThreads(int count, const std::function<void(int index)>& work) {
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back(work, index);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class SharedClientTest : public ClientTest {
protected:
    static constexpr int Threads = 16;
    static constexpr int Rounds = 8;

    // One thread's operations, in a folder of its own.
    class Worker {
    public:
        Worker(SharedClientTest& test, int index)
            : m_test(test),
              m_folder("/thread-" + std::to_string(index)),
              m_local(test.LocalPath("thread-" + std::to_string(index))),
              m_content(Pattern(20'000 * static_cast<std::size_t>(index))),
              m_token(WidenUtf8(test.Token())) {}

        void Run() {
            Attributes record;
            EXPECT_EQ(0u, Api().CreateFolder(WidenUtf8(m_folder), record, nullptr).error);
            for (int round = 0; round < Rounds; ++round) {
                Transfer(m_folder + "/item-" + std::to_string(round));
                List(static_cast<std::size_t>(round) + 1);
                ChangeSession(round);
                CancelUpload(m_folder + "/cancelled");
                CancelListing();
            }
        }

    private:
        IQuillmarkHttpAPI& Api() { return m_test.Client().Api(); }

        void Transfer(const std::string& path) {
            const WideString local = WriteFileAt(m_local, m_content);
            const Attributes stored = UploadAttributes(static_cast<std::int64_t>(m_content.size()));
            EXPECT_EQ(0u, Api().UploadFile(local, WidenUtf8(path), stored, nullptr, nullptr, 0));
            const WideString back = WidenUtf8(m_local + "-back");
            EXPECT_EQ(0u, Api().DownloadFile(WidenUtf8(path), back, stored, MakeAttributes(), QM_W(""), m_event.Get(),
                                             nullptr, 0));
            EXPECT_TRUE(ReadFileAt(m_local + "-back") == m_content);
            Attributes values = UploadAttributes(0);
            EXPECT_EQ(0u, Api().SetPathAttributes(WidenUtf8(path), values, nullptr).error);
        }

        // The cancelled upload may or may not be among the items.
        void List(std::size_t atLeast) {
            ItemList children;
            Attributes self;
            EXPECT_EQ(0u, Api().GetPathListing(WidenUtf8(m_folder), children, self, m_event.Get()).error);
            EXPECT_GE(children.size(), atLeast);
            EXPECT_LE(children.size(), atLeast + 1);
        }

        void ChangeSession(int round) {
            if (round % 4 == 1) {
                Api().CreateNewSession(m_token);
            } else {
                Api().SetSessionToken(m_token);
            }
            WideString token;
            Api().GetSessionToken(token);
            EXPECT_TRUE(token == m_token);
        }

        // Cancelled by itself, in the middle of its body.
        void CancelUpload(const std::string& path) {
            const Attributes attributes = UploadAttributes(static_cast<std::int64_t>(m_content.size()));
            const DWORD code = Api().UploadFile(WidenUtf8(m_local), WidenUtf8(path), attributes, m_event.Get(),
                                                OnceAt(1, [this] { m_event.Set(); }), 0);
            EXPECT_TRUE(CancelledCodes.contains(code)) << code;
            m_event.Reset();
        }

        // Cancelled by another thread, at whatever moment.
        void CancelListing() {
            std::thread other([this] { m_event.Set(); });
            ItemList children;
            Attributes self;
            const DWORD code = Api().GetPathListing(WidenUtf8(m_folder), children, self, m_event.Get()).error;
            EXPECT_TRUE(CancelledCodes.contains(code)) << code;
            other.join();
            m_event.Reset();
        }

        SharedClientTest& m_test;
        const std::string m_folder;
        const std::string m_local;
        const std::string m_content;
        const WideString m_token;
        TestEvent m_event;
    };
};

TEST_F(SharedClientTest, SixteenThreadsMixOperationsSessionsAndCancellations) {
    StartAndLogin();
    std::vector<std::unique_ptr<Worker>> workers;
    for (int index = 0; index < Threads; ++index) {
        workers.push_back(std::make_unique<Worker>(*this, index));
    }
    RunOnThreads(Threads, [&](int index) { workers[static_cast<std::size_t>(index)]->Run(); });
    ItemList children;
    Attributes self;
    ASSERT_EQ(0u, Client()->GetPathListing(QM_W("/"), children, self, nullptr).error);
    EXPECT_EQ(16u, children.size());
}

TEST_F(SharedClientTest, SixteenThreadsDiscoverAndLogInAtOnce) {
    Start();
    RunOnThreads(Threads, [&](int) { EXPECT_EQ(0u, Client().Login()); });
    EXPECT_EQ(1u, Server().RequestCount("GET", "/endpoints"));
    EXPECT_EQ(16u, Server().RequestCount("POST", "/api/1.7/sessions"));
    EXPECT_EQ(0u, Look("/"));
}

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

std::size_t RunningThreads() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        ++count;
    }
    return count;
}

// A thread that has been waited for may still be on its way out; the system tells nobody when it is gone.
void ExpectThreads(std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (RunningThreads() != count && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_EQ(count, RunningThreads());
}

class ManyClientsTest : public ClientTest {};

TEST_F(ManyClientsTest, HundredThreadsThatMakeAndReleaseClientsLeaveNothingOpen) {
    Start();
    const std::string url = Server().HttpUrl();
    const std::size_t threads = RunningThreads();
    // The first turn makes whatever is made once per process.
    RunOnThreads(1, [&](int) { EXPECT_EQ(0u, HostClient(url).Login()); });
    ExpectThreads(threads);
    const std::size_t descriptors = OpenDescriptors();
    std::barrier allThere(100);
    RunOnThreads(100, [&](int index) {
        HostClient client(url);
        allThere.arrive_and_wait();
        if (index % 4 == 0) {
            EXPECT_EQ(0u, client.Login());
        }
    });
    ExpectThreads(threads);
    EXPECT_EQ(descriptors, OpenDescriptors());
}

}  // namespace
}  // namespace quillmark::testing
