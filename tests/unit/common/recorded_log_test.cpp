#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "common/Log.h"
#include "fakes/RecordingEventing.h"

namespace quillmark::fakes {
namespace {

constexpr Logger TheLogger("function", "source");

TEST(RecordedLogTest, KeepsRecordsInOrder) {
    const RecordedLog log;
    TheLogger.Information("one");
    TheLogger.Error("two");
    TheLogger.Information("three");
    EXPECT_EQ(log.Texts(101), (std::vector<std::string>{"one", "three"}));
    EXPECT_EQ(log.Records()[1].text, "two");
}

TEST(RecordedLogTest, FindsExactTexts) {
    const RecordedLog log;
    TheLogger.Information("one and two");
    TheLogger.Information("one and two");
    EXPECT_TRUE(log.Has(101, "one and two"));
    EXPECT_TRUE(log.Has(101, "source", "function", "one and two"));
    EXPECT_EQ(log.Count(101, "one and two"), 2u);
    EXPECT_TRUE(log.Mentions("and"));
    EXPECT_FALSE(log.Has(101, "one"));
    EXPECT_FALSE(log.Has(102, "one and two"));
    EXPECT_FALSE(log.Has(101, "source", "other", "one and two"));
    EXPECT_FALSE(log.Has(101, "other", "function", "one and two"));
    EXPECT_FALSE(log.Mentions("three"));
}

TEST(RecordedLogTest, RecordsNothingUnlessOneLives) {
    TheLogger.Error("before");
    {
        const RecordedLog log;
        TheLogger.Error("during");
        EXPECT_EQ(log.Records().size(), 1u);
    }
    TheLogger.Error("after");
    const RecordedLog second;
    EXPECT_TRUE(second.Records().empty());
}

TEST(RecordedLogTest, ForgetsWhenCleared) {
    RecordedLog log;
    TheLogger.Error("text");
    log.Clear();
    EXPECT_FALSE(log.Has(103, "text"));
}

TEST(RecordedLogTest, ShowsEachRecordToItsObserver) {
    std::vector<std::string> seen;
    {
        RecordedLog log;
        TheLogger.Error("before");
        log.OnRecord([&](const LogRecord& record) { seen.push_back(record.text); });
        TheLogger.Error("one");
        log.OnRecord(nullptr);
        TheLogger.Error("none");
        log.OnRecord([&](const LogRecord& record) { seen.push_back(record.text); });
    }
    const RecordedLog second;
    TheLogger.Error("second");
    EXPECT_EQ(seen, (std::vector<std::string>{"one"}));
}

TEST(RecordedLogTest, LivesOnceAtATime) {
    const RecordedLog log;
    EXPECT_THROW(RecordedLog{}, std::logic_error);
}

TEST(RecordedLogTest, WaitsForWhatAnotherThreadLogs) {
    const RecordedLog log;
    std::thread other([] {
        TheLogger.Error("late");
        TheLogger.Error("late");
    });
    EXPECT_TRUE(log.WaitFor(103, "late", 2));
    other.join();
}

}  // namespace
}  // namespace quillmark::fakes
