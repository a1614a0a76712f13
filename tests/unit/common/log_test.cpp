#include "common/Log.h"

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <memory>
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
    LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) {});
    EXPECT_EQ(::GetLastError(), 1234u);
}

TEST_F(LogTest, ShowsTheLowHalfOfAHandle) {
    EXPECT_EQ(HandleNumber(nullptr), 0u);
    EXPECT_EQ(HandleNumber(reinterpret_cast<void*>(std::uintptr_t{0x123456789A})), 0x3456789Au);
}

TEST_F(LogTest, RecordsEntryAndExitOfAScope) {
    const RecordedLog log;
    const std::uint32_t line = __LINE__ + 1;
    LogScope::Run("Init", LogSource::QuillmarkHttpExports, [](const Logger& logger) {
        logger.Information("inside");
        EXPECT_STREQ(logger.Function(), "Init");
    });
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
    EXPECT_EQ(LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) -> DWORD { return 12002; }), 12002u);
    EXPECT_EQ(Events(log), (std::vector<int>{110, 104}));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "f", "Exited [status=12002]"));
}

TEST_F(LogTest, RecordsTheCodeOfAStatusPair) {
    const RecordedLog log;
    const auto body = [](const Logger&) { return StatusPair{20017, 2}; };
    EXPECT_EQ(LogScope::Run("f", LogSource::NativeHttp, body), (StatusPair{20017, 2}));
    EXPECT_EQ(log.Texts(104), (std::vector<std::string>{"Exited [status=20017]"}));
}

TEST_F(LogTest, RecordsNoStatusForAResultThatIsNoCode) {
    const RecordedLog log;
    EXPECT_TRUE(LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) { return true; }));
    EXPECT_EQ(*LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) { return std::make_shared<int>(5); }), 5);
    EXPECT_EQ(Events(log), (std::vector<int>{110, 111, 110, 111}));
}

TEST_F(LogTest, PrintsAStatusWithTheTopBitAsNegative) {
    const RecordedLog log;
    static_cast<void>(LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) -> DWORD { return 0xFFFFFFFF; }));
    EXPECT_TRUE(log.Has(104, "Exited [status=-1]"));
}

TEST_F(LogTest, RecordsAnExceptionThatPassesInPlaceOfTheStatus) {
    const RecordedLog log;
    int completions = 0;
    const auto body = [](const Logger&) -> DWORD { throw std::runtime_error("passing"); };
    EXPECT_THROW(static_cast<void>(LogScope::Run("f", LogSource::NativeHttp, body,
                                                 [&](const char*, const DWORD*) { ++completions; })),
                 std::runtime_error);
    EXPECT_EQ(Events(log), (std::vector<int>{110, 104}));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "f", "[EXCEPTION EXIT]"));
    EXPECT_EQ(completions, 0);
}

TEST_F(LogTest, EndsNormallyInsideADestructorThatAnExceptionRuns) {
    struct OpensAScope {
        ~OpensAScope() {
            static_cast<void>(LogScope::Run("inner", LogSource::NativeHttp, [](const Logger&) -> DWORD { return 3; }));
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

// What a program with a runtime of its own does: the exception that one runtime counts in, the other counts out.
class OffCount {
public:
    explicit OffCount(int by) : m_by(by) { Add(by); }
    ~OffCount() { Add(-m_by); }
    OffCount(const OffCount&) = delete;
    OffCount& operator=(const OffCount&) = delete;

private:
    struct Globals {
        void* caught;
        unsigned int uncaught;
    };
    static void Add(int by) {
        reinterpret_cast<Globals*>(abi::__cxa_get_globals())->uncaught += static_cast<unsigned int>(by);
    }

    int m_by;
};

TEST_F(LogTest, JudgesAnExitByWhatPassesAndNotByTheCountOfExceptionsInFlight) {
    for (const int by : {-1, 1}) {
        const RecordedLog log;
        std::optional<OffCount> off;
        LogScope::Run("normal", LogSource::NativeHttp, [&](const Logger&) { off.emplace(by); });
        off.reset();
        EXPECT_THROW(LogScope::Run("throws", LogSource::NativeHttp,
                                   [&](const Logger&) {
                                       off.emplace(by);
                                       throw std::runtime_error("passing");
                                   }),
                     std::runtime_error);
        EXPECT_EQ(Events(log), (std::vector<int>{110, 111, 110, 104})) << by;
    }
}

TEST_F(LogTest, RecordsNoExitWhenScopesAreNotWanted) {
    RecordedLog log;
    log.SetHighestLevel(3);
    static_cast<void>(LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) -> DWORD { return 5; }));
    EXPECT_THROW(LogScope::Run("f", LogSource::NativeHttp, [](const Logger&) { throw std::runtime_error("passing"); }),
                 std::runtime_error);
    // Level 1 would be wanted: it is the exit's own level that decides.
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(LogTest, CallsTheCompletionAfterTheExitRecord) {
    const RecordedLog log;
    std::string function;
    DWORD seen = 0;
    std::size_t recordsBefore = 0;
    const auto body = [](const Logger&) -> DWORD { return 42; };
    static_cast<void>(LogScope::Run("f", LogSource::NativeHttp, body, [&](const char* name, const DWORD* value) {
        function = name;
        seen = *value;
        recordsBefore = log.Records().size();
    }));
    EXPECT_EQ(function, "f");
    EXPECT_EQ(seen, 42u);
    EXPECT_EQ(recordsBefore, 2u);
}

TEST_F(LogTest, CallsTheCompletionWithoutStatusAndWithoutLog) {
    RecordedLog log;
    log.SetHighestLevel(0);
    std::optional<bool> hadStatus;
    LogScope::Run(
        "f", LogSource::NativeHttp, [](const Logger&) {},
        [&](const char*, const DWORD* status) { hadStatus = status != nullptr; });
    EXPECT_EQ(hadStatus, std::optional<bool>(false));
}

TEST_F(LogTest, SwallowsWhatACompletionThrows) {
    const RecordedLog log;
    EXPECT_NO_THROW(LogScope::Run(
        "f", LogSource::NativeHttp, [](const Logger&) {},
        [](const char*, const DWORD*) { throw std::runtime_error("thrown"); }));
    EXPECT_EQ(Events(log), (std::vector<int>{110, 111}));
}

TEST_F(LogTest, RecordsTheExitUnderTheContextOfThatMoment) {
    const RecordedLog log;
    LogScope::Run("Init", LogSource::QuillmarkHttpExports, [](const Logger&) { SetLogContext(78); });
    const std::vector<LogRecord> records = log.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].context, 77u);
    EXPECT_EQ(records[1].context, 78u);
}

}  // namespace
}  // namespace quillmark
