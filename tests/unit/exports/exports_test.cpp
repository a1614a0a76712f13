#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "common/ModuleState.h"
#include "fakes/RecordingEventing.h"
#include "fakes/RecordingFactory.h"
#include "fakes/RecordingWinHttp.h"
#include "quillmark/HttpApi.h"

namespace quillmark {
namespace {

using fakes::LogRecord;
using fakes::RecordedLog;
using fakes::RecordingFactory;
using fakes::RecordingWinHttp;
using Services::ServicesCollection;

constexpr const char* Exports = "QuillmarkHttpExports";

// The records of one function.
std::vector<LogRecord> RecordsOf(const RecordedLog& log, const std::string& function) {
    std::vector<LogRecord> records;
    for (LogRecord& record : log.Records()) {
        if (record.function == function) {
            records.push_back(std::move(record));
        }
    }
    return records;
}

std::shared_ptr<ServicesCollection> ServicesWith(std::shared_ptr<WinHttpInterface> winHttp) {
    auto services = std::make_shared<ServicesCollection>();
    services->winHttp = std::move(winHttp);
    return services;
}

TEST(InitExport, AnswersZeroAlsoWithoutServices) {
    EXPECT_EQ(::Init(0, nullptr), 0u);
    EXPECT_EQ(::Init(7, std::make_shared<ServicesCollection>()), 0u);
    EXPECT_EQ(::Init(0, nullptr), 0u);
}

TEST(InitExport, RecordsItsEntryWithThePreviousContextAndItsExitWithTheNew) {
    const RecordedLog log;
    EXPECT_EQ(::Init(17, nullptr), 0u);
    EXPECT_EQ(::Init(18, nullptr), 0u);
    const std::vector<LogRecord> records = log.Records();
    ASSERT_EQ(records.size(), 4u);
    const struct {
        std::uint64_t context;
        unsigned event;
    } expected[] = {{0, 110}, {17, 111}, {17, 110}, {18, 111}};
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].context, expected[i].context) << i;
        EXPECT_EQ(records[i].descriptor.id, expected[i].event) << i;
        EXPECT_EQ(records[i].source, Exports) << i;
        EXPECT_EQ(records[i].function, "Init") << i;
        EXPECT_GT(records[i].line, 0u) << i;
    }
}

TEST(InitExport, SecondCollectionReplacesTheFirstWhichIsReleasedOnce) {
    auto first = ServicesWith(std::make_shared<RecordingWinHttp>());
    const std::weak_ptr<WinHttpInterface> seam = first->winHttp;
    const std::weak_ptr<ServicesCollection> collection = first;
    static_cast<void>(::Init(0, std::move(first)));
    EXPECT_EQ(collection.use_count(), 1);

    const auto second = ServicesWith(std::make_shared<RecordingWinHttp>());
    static_cast<void>(::Init(0, second));
    EXPECT_TRUE(collection.expired());
    EXPECT_TRUE(seam.expired());
    EXPECT_EQ(second.use_count(), 2);
    EXPECT_EQ(WinHttp(), second->winHttp);
}

TEST(InitExport, KeepsTheHostsMembersAndFillsTheEmptyOnes) {
    auto services = std::make_shared<ServicesCollection>();
    services->fileSystem = std::make_shared<FileSystemInterface>();
    services->winHttp = std::make_shared<RecordingWinHttp>();
    const auto fileSystem = services->fileSystem;
    const auto winHttp = services->winHttp;
    static_cast<void>(::Init(0, services));
    EXPECT_EQ(services->registry, nullptr);  // filled at the first use
    const auto registry = Registry();
    EXPECT_NE(registry, nullptr);
    EXPECT_EQ(services->registry, registry);
    EXPECT_EQ(services->fileSystem, fileSystem);
    EXPECT_EQ(services->winHttp, winHttp);
    EXPECT_EQ(FileSystem(), fileSystem);
}

TEST(CreateInstanceExport, OpensItsFirstSessionThroughTheHostsServices) {
    const RecordedLog log;
    const auto winHttp = std::make_shared<RecordingWinHttp>();
    static_cast<void>(::Init(0, ServicesWith(winHttp)));
    {
        const ClientPointer client(::CreateInstance(QM_W("device")));
        ASSERT_NE(client, nullptr);
        EXPECT_EQ(winHttp->Count("WinHttpOpen"), 1u);
        EXPECT_EQ(winHttp->OpenHandles(), 1u);
    }
    EXPECT_EQ(winHttp->OpenHandles(), 0u);
    const std::vector<LogRecord> records = RecordsOf(log, "CreateInstance");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].descriptor.id, 110u);
    EXPECT_EQ(records[1].descriptor.id, 111u);
    EXPECT_EQ(records[0].source, Exports);
}

TEST(CreateInstanceExport, StillGivesAnObjectWhenTheSessionCannotBeOpened) {
    const auto winHttp = std::make_shared<RecordingWinHttp>();
    winHttp->Fail("WinHttpOpen", 12);
    static_cast<void>(::Init(0, ServicesWith(winHttp)));
    const ClientPointer client(::CreateInstance(QM_W("device")));
    EXPECT_NE(client, nullptr);
}

TEST(CreateInstanceExport, ObjectSeesServicesThatAreInstalledLater) {
    const auto before = std::make_shared<RecordingWinHttp>();
    static_cast<void>(::Init(0, ServicesWith(before)));
    const ClientPointer client(::CreateInstance(QM_W("device")));
    const auto after = std::make_shared<RecordingWinHttp>();
    static_cast<void>(::Init(0, ServicesWith(after)));
    client->CreateNewSession(QM_W("token"));
    EXPECT_EQ(before->Count("WinHttpOpen"), 1u);
    EXPECT_EQ(after->Count("WinHttpOpen"), 1u);
}

TEST(CreateInstanceWithFactoryExport, MakesEverythingWithTheFactory) {
    const RecordedLog log;
    const auto winHttp = std::make_shared<RecordingWinHttp>();
    static_cast<void>(::Init(0, ServicesWith(winHttp)));
    const auto factory = std::make_shared<RecordingFactory>();
    const ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(factory->Count("CreateSession"), 1u);
    EXPECT_TRUE(winHttp->Calls().empty());
    const std::vector<LogRecord> records = RecordsOf(log, "CreateInstanceWithFactory");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].descriptor.id, 110u);
    EXPECT_EQ(records[1].descriptor.id, 111u);
    EXPECT_EQ(records[0].source, Exports);
}

TEST(CreateInstanceWithFactoryExport, ReleasesTheFactoryWithTheObject) {
    const auto factory = std::make_shared<RecordingFactory>();
    ClientPointer client(::CreateInstanceWithFactory(QM_W("device"), factory));
    EXPECT_GT(factory.use_count(), 1);
    client.reset();
    EXPECT_EQ(factory.use_count(), 1);
}

TEST(CreateInstanceWithFactoryExport, LetsMemoryShortageOutAndRecordsAnExceptionExit) {
    class FactoryWithoutMemory final : public IWinHttpFactory {
    public:
        std::shared_ptr<IWinHttpSession> CreateSession() override { throw std::bad_alloc(); }
        std::shared_ptr<IWinHttpConnection> CreateConnection() override { return nullptr; }
        std::shared_ptr<IWinHttpRequest> CreateRequest(const std::shared_ptr<IWinHttpSession>&) override {
            return nullptr;
        }
    };
    const RecordedLog log;
    EXPECT_THROW(::CreateInstanceWithFactory(QM_W("device"), std::make_shared<FactoryWithoutMemory>()), std::bad_alloc);
    const std::vector<LogRecord> records = RecordsOf(log, "CreateInstanceWithFactory");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].descriptor.id, 110u);
    EXPECT_EQ(records[1].descriptor.id, 104u);
    EXPECT_EQ(records[1].text, "[EXCEPTION EXIT]");
}

TEST(ExitExport, ChangesNothing) {
    const RecordedLog log;
    const auto winHttp = std::make_shared<RecordingWinHttp>();
    static_cast<void>(::Init(5, ServicesWith(winHttp)));
    const ClientPointer client(::CreateInstance(QM_W("device")));
    const std::size_t records = log.Records().size();
    ::Exit();
    EXPECT_EQ(log.Records().size(), records);
    EXPECT_EQ(LogContext(), 5u);
    EXPECT_EQ(WinHttp(), winHttp);
    client->CreateNewSession(QM_W("token"));
    WideString token;
    client->GetSessionToken(token);
    EXPECT_EQ(winHttp->Count("WinHttpOpen"), 2u);
}

TEST(ReleaseClientTest, AcceptsNull) {
    ReleaseClient(nullptr);
    ClientPointer().reset();
    ClientDeleter()(nullptr);
}

}  // namespace
}  // namespace quillmark
