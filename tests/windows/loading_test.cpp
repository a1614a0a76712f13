// Loading, unloading, and what crosses the library's edge.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <new>

#include "BareWinHttp.h"
#include "LoadedLibrary.h"
#include "ProcessResources.h"
#include "quillmark/Eventing.h"

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

// A session that cannot be made for want of memory, as long as it is told so.
class FactoryWithoutMemory final : public IWinHttpFactory {
public:
    std::shared_ptr<IWinHttpSession> CreateSession() override { throw WideString::OutOfMemory(); }
    std::shared_ptr<IWinHttpConnection> CreateConnection() override { return nullptr; }
    std::shared_ptr<IWinHttpRequest> CreateRequest(const std::shared_ptr<IWinHttpSession>&) override { return nullptr; }
};

TEST(LoadingTest, AnExceptionThatTheHostCaughtIsNotInFlightForLaterScopes) {
    const TempFolder folder("log");
    const std::string path = (folder.Path() / "log").string();
    const std::uint64_t log = Eventing::OpenLog(path.c_str(), 4);
    ASSERT_NE(log, 0u);
    {
        const LoadedLibrary library;
        library.init(log, std::make_shared<Services::ServicesCollection>());
        EXPECT_THROW(library.createInstanceWithFactory(QM_W("device"), std::make_shared<FactoryWithoutMemory>()),
                     std::bad_alloc);
        const ClientPointer client(library.createInstance(QM_W("device")));
        EXPECT_NE(client, nullptr);
        library.init(0, nullptr);
    }
    Eventing::CloseLog(log);
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t later = text.rfind("information 110 QuillmarkHttpExports");
    ASSERT_NE(later, std::string::npos);
    EXPECT_EQ(text.find("[EXCEPTION EXIT]", later), std::string::npos) << text;
}

}  // namespace
}  // namespace quillmark::test
