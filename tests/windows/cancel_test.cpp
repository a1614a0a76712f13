// The cancel event while an operation is under way. How fast it ends is not looked at here: Windows ends a call whose
// handle is closed at once, Wine when the reply or a time-out comes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "BareWinHttp.h"
#include "LoadedLibrary.h"

namespace quillmark::test {
namespace {

// The codes that say so: the library's own, WinHTTP's for a call that was under way when its handle was closed, and for
// one that came after it.
testing::Matcher<DWORD> IsCancellation() {
    return testing::AnyOf(1223u, 12017u, 6u);
}

class CancelTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(host.Login(), 0u); }
    ~CancelTest() override { ::CloseHandle(cancel); }

    Host host;
    HANDLE cancel = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

// Sets the event as soon as the transfer has reached a position.
class CancelAt : public IProgressSink {
public:
    CancelAt(std::uint64_t position, HANDLE event) : m_position(position), m_event(event) {}
    void Begin(const WideString&, std::uint64_t, std::uint64_t) override {}
    void Advance(const void*, std::uint32_t, std::uint64_t position, std::uint64_t, std::uint64_t) override {
        if (position >= m_position) {
            ::SetEvent(m_event);
        }
    }

private:
    std::uint64_t m_position;
    HANDLE m_event;
};

TEST_F(CancelTest, AnUploadEndsAndStoresNothing) {
    const std::string content = Pattern(50'000'000);
    const WideString local = host.Write("large", content);
    const auto progress = std::make_shared<CancelAt>(1'000'000, cancel);
    EXPECT_THAT(host->UploadFile(local, QM_W("/a"), UploadAttributes(content.size()), cancel, progress, 0),
                IsCancellation());
    auto record = MakeAttributes();
    EXPECT_EQ(host->GetPathAttributes(QM_W("/a"), record, nullptr).error, 21002u);
    EXPECT_EQ(host.Upload(QM_W("/b"), "content"), 0u);
}

TEST_F(CancelTest, ADownloadEnds) {
    const std::string content = Pattern(50'000'000);
    ASSERT_EQ(host.Upload(QM_W("/a"), content), 0u);
    const auto progress = std::make_shared<CancelAt>(1'000'000, cancel);
    EXPECT_THAT(
        host->DownloadFile(QM_W("/a"), host.Path("a"), nullptr, MakeAttributes(), QM_W(""), cancel, progress, 0),
        IsCancellation());
    EXPECT_TRUE(host.ContentOf(QM_W("/a")) == content);
}

TEST_F(CancelTest, ARequestThatWaitsForItsReplyEndsWithItsReplyAtTheLatest) {
    Ask(HttpUrl(), L"POST", L"/control/faults",
        R"({"method": "GET", "path": "/api/1.7/folders/", "match": "prefix", "kind": "delay", "ms": 3000})");
    std::thread canceller([this] {
        // Once the server has the request, which it counts when it answers: the delay is long enough to be met.
        ::WaitForSingleObject(::GetCurrentThread(), 500);
        ::SetEvent(cancel);
    });
    auto record = MakeAttributes();
    EXPECT_THAT(host->GetPathAttributes(QM_W("/"), record, cancel).error, IsCancellation());
    canceller.join();
    EXPECT_EQ(host->GetPathAttributes(QM_W("/"), record, nullptr).error, 0u);
}

TEST_F(CancelTest, AnEventThatIsSetAlreadyLetsNoUploadBegin) {
    ::SetEvent(cancel);
    const WideString local = host.Write("file", "content");
    EXPECT_THAT(host->UploadFile(local, QM_W("/a"), UploadAttributes(7), cancel, nullptr, 0), IsCancellation());
    auto record = MakeAttributes();
    EXPECT_EQ(host->GetPathAttributes(QM_W("/a"), record, nullptr).error, 21002u);
}

}  // namespace
}  // namespace quillmark::test
