// Exceptions that the host's own code throws through the loaded library. Host and library have a C++ runtime each,
// which counts on its own what is in flight: the log still has to tell each exit as it was.
#include <gtest/gtest.h>

#include <new>

#include "LoadedLibrary.h"
#include "quillmark/Eventing.h"
#include "support/LogExits.h"

namespace quillmark::test {
namespace {

class ExceptionsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(log, 0u); }
    ~ExceptionsTest() override { Eventing::CloseLog(log); }

    [[nodiscard]] std::string LastExitOf(const std::string& function) const {
        return test::LastExitOf(LogPath(), function);
    }

private:
    [[nodiscard]] std::string LogPath() const { return (m_folder.Path() / "log").string(); }

    TempFolder m_folder{"log"};

protected:
    std::uint64_t log = Eventing::OpenLog(LogPath().c_str(), 4);
};

// A session that cannot be made for want of memory.
class FactoryWithoutMemory final : public IWinHttpFactory {
public:
    std::shared_ptr<IWinHttpSession> CreateSession() override { throw WideString::OutOfMemory(); }
    std::shared_ptr<IWinHttpConnection> CreateConnection() override { return nullptr; }
    std::shared_ptr<IWinHttpRequest> CreateRequest(const std::shared_ptr<IWinHttpSession>&) override { return nullptr; }
};

TEST_F(ExceptionsTest, OneThatTheHostCatchesEndsTheScopesThatItPassesAndNoLaterOne) {
    const LoadedLibrary library;
    library.init(log, std::make_shared<Services::ServicesCollection>());
    EXPECT_THROW(library.createInstanceWithFactory(QM_W("device"), std::make_shared<FactoryWithoutMemory>()),
                 std::bad_alloc);
    EXPECT_EQ(LastExitOf("CNativeHttp::CreateNewSession"), "[EXCEPTION EXIT]");
    EXPECT_EQ(LastExitOf("CreateInstanceWithFactory"), "[EXCEPTION EXIT]");
    const ClientPointer client(library.createInstance(QM_W("device")));
    EXPECT_NE(client, nullptr);
    EXPECT_EQ(LastExitOf("CNativeHttp::CreateNewSession"), "");
    EXPECT_EQ(LastExitOf("CreateInstance"), "");
    library.init(0, nullptr);
}

// Throws at its first call, as code of the host's may.
class ThrowingProgress final : public IProgressSink {
public:
    void Begin(const WideString&, std::uint64_t, std::uint64_t) override {}
    void Advance(const void*, std::uint32_t, std::uint64_t, std::uint64_t, std::uint64_t) override { throw 5; }
};

TEST_F(ExceptionsTest, OneThatTheLibraryEndsIsACodeAndLeavesLaterScopesAlone) {
    const Host host;
    host.Library().init(log, std::make_shared<Services::ServicesCollection>());
    ASSERT_EQ(host.Login(), 0u);
    const WideString local = host.Write("file", "content");
    EXPECT_EQ(
        host->UploadFile(local, QM_W("/a"), UploadAttributes(7), nullptr, std::make_shared<ThrowingProgress>(), 0),
        1359u);
    EXPECT_EQ(LastExitOf("CNativeHttp::UploadFile"), "[EXCEPTION EXIT]");
    auto record = MakeAttributes();
    EXPECT_EQ(host->GetPathAttributes(QM_W("/a"), record, nullptr).error, 21002u);
    EXPECT_EQ(LastExitOf("CNativeHttp::GetPathAttributes"), "Exited [status=21002]");
    EXPECT_EQ(host.Upload(QM_W("/a"), "content"), 0u);
    EXPECT_EQ(LastExitOf("CNativeHttp::UploadFile"), "Exited [status=0]");
    host.Library().init(0, std::make_shared<Services::ServicesCollection>());
}

}  // namespace
}  // namespace quillmark::test
