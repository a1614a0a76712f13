#include "common/Log.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <vector>

#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::LogRecord;
using fakes::RecordedLog;

class LogTest : public ::testing::Test {
protected:
    void SetUp() override { SetLogContext(77); }
    void TearDown() override { SetLogContext(0); }

    static std::vector<int> Events(const RecordedLog& log) {
        std::vector<int> events;
        for (const LogRecord& record : log.Records()) {
            events.push_back(record.descriptor.id);
        }
        return events;
    }

    static void ExpectDescriptor(const EventDescriptor& descriptor, int id, int level, int opcode, int task,
                                 std::uint64_t keyword) {
        EXPECT_EQ(descriptor.id, id);
        EXPECT_EQ(descriptor.version, 0);
        EXPECT_EQ(descriptor.channel, 16);
        EXPECT_EQ(descriptor.level, level);
        EXPECT_EQ(descriptor.opcode, opcode);
        EXPECT_EQ(descriptor.task, task);
        EXPECT_EQ(descriptor.keyword, keyword);
    }
};

TEST_F(LogTest, HasTheSixDescriptors) {
    ExpectDescriptor(LogEvent::ScopeEntry, 110, 4, 10, 1, 0x8000000000000001u);
    ExpectDescriptor(LogEvent::ScopeExit, 111, 4, 10, 1, 0x8000000000000001u);
    ExpectDescriptor(LogEvent::Information, 101, 4, 0, 2, 0x8000000000000000u);
    ExpectDescriptor(LogEvent::Warning, 102, 3, 0, 2, 0x8000000000000000u);
    ExpectDescriptor(LogEvent::Error, 103, 2, 0, 2, 0x8000000000000000u);
    ExpectDescriptor(LogEvent::Critical, 104, 1, 0, 2, 0x8000000000000000u);
}

TEST_F(LogTest, WritesMessagesWithTheirPlace) {
    const RecordedLog log;
    constexpr Logger logger("CNativeHttp::Login", LogSource::NativeHttp);
    logger.Information("client_version: %s.%S", "1", WideString(QM_W("2")));
    const auto line = static_cast<std::uint32_t>(__LINE__ - 1);
    logger.Warning("two");
    logger.Error("code %u", DWORD{5});

    const std::vector<LogRecord> records = log.Records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].context, 77u);
    EXPECT_EQ(records[0].descriptor.id, 101);
    EXPECT_EQ(records[0].source, "NativeHttp");
    EXPECT_EQ(records[0].line, line);
    EXPECT_EQ(records[0].function, "CNativeHttp::Login");
    EXPECT_EQ(records[0].text, "client_version: 1.2");
    EXPECT_EQ(records[1].descriptor.id, 102);
    EXPECT_EQ(records[1].text, "two");
    EXPECT_EQ(records[2].descriptor.id, 103);
    EXPECT_EQ(records[2].text, "code 5");
}

TEST_F(LogTest, WritesOnlyTheLevelsThatAreWanted) {
    RecordedLog log;
    constexpr Logger logger("f", LogSource::NativeHttp);
    log.SetHighestLevel(3);
    EXPECT_FALSE(logger.WantsInformation());
    logger.Information("information");
    logger.Warning("warning");
    log.SetHighestLevel(2);
    logger.Warning("second warning");
    logger.Error("error");
    EXPECT_EQ(Events(log), (std::vector<int>{102, 103}));
    log.SetHighestLevel(4);
    EXPECT_TRUE(logger.WantsInformation());
}

TEST_F(LogTest, LeavesTheLastErrorAlone) {
    const RecordedLog log;
    ::SetLastError(1234);
    constexpr Logger logger("f", LogSource::NativeHttp);
    logger.Error("text %S", QM_W("wide"));
    EXPECT_TRUE(logger.WantsInformation());
    { const LogScope scope("f", LogSource::NativeHttp); }
    EXPECT_EQ(::GetLastError(), 1234u);
}

TEST_F(LogTest, ShowsTheLowHalfOfAHandle) {
    EXPECT_EQ(HandleNumber(nullptr), 0u);
    EXPECT_EQ(HandleNumber(reinterpret_cast<void*>(std::uintptr_t{0x123456789A})), 0x3456789Au);
}

TEST_F(LogTest, RecordsEntryAndExitOfAScope) {
    const RecordedLog log;
    std::uint32_t line = 0;
    {
        const LogScope scope("Init", LogSource::QuillmarkHttpExports);
        line = static_cast<std::uint32_t>(__LINE__ - 1);
        scope.Information("inside");
        EXPECT_STREQ(scope.Function(), "Init");
    }
    const std::vector<LogRecord> records = log.Records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].descriptor.id, 110);
    EXPECT_EQ(records[0].source, "QuillmarkHttpExports");
    EXPECT_EQ(records[0].function, "Init");
    EXPECT_EQ(records[0].line, line);
    EXPECT_EQ(records[1].descriptor.id, 101);
    EXPECT_EQ(records[2].descriptor.id, 111);
    EXPECT_EQ(records[2].line, line);
}

TEST_F(LogTest, RecordsTheStatusAtTheExitAsACriticalMessage) {
    const RecordedLog log;
    {
        DWORD status = 0;
        const LogScope scope("f", LogSource::NativeHttp, &status);
        status = 12002;
    }
    EXPECT_EQ(Events(log), (std::vector<int>{110, 104}));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "f", "Exited [status=12002]"));
}

TEST_F(LogTest, PrintsAStatusWithTheTopBitAsNegative) {
    const RecordedLog log;
    {
        const DWORD status = 0xFFFFFFFF;
        const LogScope scope("f", LogSource::NativeHttp, &status);
    }
    EXPECT_TRUE(log.Has(104, "Exited [status=-1]"));
}

TEST_F(LogTest, RecordsAnExceptionThatPassesInPlaceOfTheStatus) {
    const RecordedLog log;
    int completions = 0;
    const DWORD status = 5;
    try {
        const LogScope scope("f", LogSource::NativeHttp, &status, [&](const char*, const DWORD*) { ++completions; });
        throw std::runtime_error("passing");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(Events(log), (std::vector<int>{110, 104}));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "f", "[EXCEPTION EXIT]"));
    EXPECT_EQ(completions, 0);
}

TEST_F(LogTest, EndsNormallyInsideADestructorThatAnExceptionRuns) {
    struct OpensAScope {
        ~OpensAScope() {
            const DWORD status = 3;
            const LogScope scope("inner", LogSource::NativeHttp, &status);
        }
    };
    const RecordedLog log;
    try {
        const OpensAScope object;
        throw std::runtime_error("passing");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(log.Texts(104), (std::vector<std::string>{"Exited [status=3]"}));
}

TEST_F(LogTest, RecordsNoExitWhenScopesAreNotWanted) {
    RecordedLog log;
    log.SetHighestLevel(3);
    const DWORD status = 5;
    { const LogScope scope("f", LogSource::NativeHttp, &status); }
    try {
        const LogScope scope("f", LogSource::NativeHttp, &status);
        throw std::runtime_error("passing");
    } catch (const std::runtime_error&) {
    }
    // Level 1 would be wanted: it is the exit's own level that decides.
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(LogTest, CallsTheCompletionAfterTheExitRecord) {
    const RecordedLog log;
    DWORD status = 1;
    std::string function;
    DWORD seen = 0;
    std::size_t recordsBefore = 0;
    {
        const LogScope scope("f", LogSource::NativeHttp, &status, [&](const char* name, const DWORD* value) {
            function = name;
            seen = *value;
            recordsBefore = log.Records().size();
        });
        status = 42;
    }
    EXPECT_EQ(function, "f");
    EXPECT_EQ(seen, 42u);
    EXPECT_EQ(recordsBefore, 2u);
}

TEST_F(LogTest, CallsTheCompletionWithoutStatusAndWithoutLog) {
    RecordedLog log;
    log.SetHighestLevel(0);
    std::optional<bool> hadStatus;
    {
        const LogScope scope("f", LogSource::NativeHttp, nullptr,
                             [&](const char*, const DWORD* status) { hadStatus = status != nullptr; });
    }
    EXPECT_EQ(hadStatus, std::optional<bool>(false));
}

TEST_F(LogTest, SwallowsWhatACompletionThrows) {
    const RecordedLog log;
    EXPECT_NO_THROW({
        const LogScope scope("f", LogSource::NativeHttp, nullptr,
                             [](const char*, const DWORD*) { throw std::runtime_error("thrown"); });
    });
    EXPECT_EQ(Events(log), (std::vector<int>{110, 111}));
}

TEST_F(LogTest, RecordsTheExitUnderTheContextOfThatMoment) {
    const RecordedLog log;
    {
        const LogScope scope("Init", LogSource::QuillmarkHttpExports);
        SetLogContext(78);
    }
    const std::vector<LogRecord> records = log.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].context, 77u);
    EXPECT_EQ(records[1].context, 78u);
}

}  // namespace
}  // namespace quillmark
