// Loading and unloading.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "BareWinHttp.h"
#include "CommandLine.h"
#include "LoadedLibrary.h"
#include "ProcessResources.h"

namespace quillmark::test {
namespace {

TEST(LoadingTest, UnloadingTakesTheLibraryOutOfTheProcess) {
    {
        const LoadedLibrary library;
        EXPECT_NE(::GetModuleHandleW(L"quillmark_http.dll"), nullptr);
    }
    EXPECT_EQ(::GetModuleHandleW(L"quillmark_http.dll"), nullptr);
}

TEST(LoadingTest, LoadsAndUnloadsAgainAndAgain) {
    for (int round = 0; round < 100; ++round) {
        const LoadedLibrary library;
        ASSERT_EQ(library.init(0, std::make_shared<Services::ServicesCollection>()), 0u);
        const ClientPointer client(library.createInstance(QM_W("device")));
        ASSERT_NE(client, nullptr);
        library.exit();
        library.init(0, nullptr);
    }
}

TEST(LoadingTest, LeavesNoThreadBehind) {
    // WinHTTP keeps threads of its own from its first use on: a program without the library has them too.
    Ask(HttpUrl(), L"GET", L"/control/statistics");
    const DWORD before = HeldResources().threads;
    {
        const Host host;
        ASSERT_EQ(host.Login(), 0u);
        const HANDLE cancel = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        auto record = MakeAttributes();
        EXPECT_EQ(host->CreateFolder(QM_W("/folder"), record, cancel).error, 0u);
        ::CloseHandle(cancel);
    }
    EXPECT_LE(HeldResources().threads, before);
}

TEST(LoadingTest, LoadingStartsNoThread) {
    const DWORD before = HeldResources().threads;
    const LoadedLibrary library;
    EXPECT_EQ(HeldResources().threads, before);
}

// Under the loader's lock nothing is waited for: with so many threads that load, unload, begin and end, a wait for one
// of them in there would not end.
TEST(LoadingTest, EightThreadsLoadUseAndUnloadAtTheSameTime) {
    std::vector<std::thread> threads;
    std::atomic<int> made = 0;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&made] {
            for (int round = 0; round < 25; ++round) {
                const LoadedLibrary library;
                const ClientPointer client(library.createInstance(QM_W("device")));
                made += client != nullptr ? 1 : 0;
                std::thread([] {}).join();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(made, 8 * 25);
    EXPECT_EQ(::GetModuleHandleW(L"quillmark_http.dll"), nullptr);
}

// What the library and its runtime keep per thread is gone with it and is not missed when the thread ends.
TEST(LoadingTest, AThreadThatUsedTheLibraryMayOutliveIt) {
    std::promise<void> used;
    std::promise<void> unloaded;
    auto host = std::make_unique<Host>();
    std::thread user([&] {
        EXPECT_EQ(host->Login(), 0u);
        EXPECT_EQ(host->Login("wrong"), 21010u);
        used.set_value();
        unloaded.get_future().wait();
        EXPECT_THROW(throw std::runtime_error("the thread goes on"), std::runtime_error);
    });
    used.get_future().wait();
    host.reset();
    EXPECT_EQ(::GetModuleHandleW(L"quillmark_http.dll"), nullptr);
    unloaded.set_value();
    user.join();
}

// Another thread inside an operation of one client does not keep the library's other users from going.
TEST(LoadingTest, LettingGoOfTheLibraryDoesNotWaitForAnOperationOfAnotherUser) {
    const Host host;
    ASSERT_EQ(host.Login(), 0u);
    constexpr int HeldUp = 10'000;
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/", "match": "prefix", "kind": "delay", "ms": )" +
            std::to_string(HeldUp) + "}");
    std::atomic<bool> over = false;
    std::thread operation([&] {
        auto record = MakeAttributes();
        EXPECT_EQ(host->GetPathAttributes(QM_W("/"), record, nullptr).error, 0u);
        over = true;
    });
    for (int round = 0; round < 10; ++round) {
        const LoadedLibrary library;
        const ClientPointer client(library.createInstance(QM_W("device")));
        EXPECT_NE(client, nullptr);
    }
    EXPECT_FALSE(over);
    operation.join();
}

// A host that does not clean up, as a process of its own: it still ends, and in time.
class UntidyHostTest : public CommandLineTest {
protected:
    void ExpectToEnd(const std::wstring& state) const {
        const Outcome outcome = RunLine(L"library_holder.exe " + state);
        EXPECT_EQ(outcome.exitCode, 0u) << outcome.errors;
    }
};

TEST_F(UntidyHostTest, EndsWithAClientAlive) {
    ExpectToEnd(L"client");
}

TEST_F(UntidyHostTest, EndsInTheMiddleOfAnOperation) {
    // Longer than a program is waited for.
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/held up", "kind": "delay", "ms": 300000})");
    ExpectToEnd(L"operation");
}

TEST_F(UntidyHostTest, UnloadsTheLibraryWithAClientAlive) {
    ExpectToEnd(L"unload");
}

}  // namespace
}  // namespace quillmark::test
