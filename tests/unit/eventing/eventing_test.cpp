#include "quillmark/Eventing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "unit/eventing/LogFolder.h"

namespace quillmark {
namespace {

constexpr EventDescriptor Critical{104, 0, 16, 1, 0, 2, 0x8000000000000000u};
constexpr EventDescriptor Error{103, 0, 16, 2, 0, 2, 0x8000000000000000u};
constexpr EventDescriptor Warning{102, 0, 16, 3, 0, 2, 0x8000000000000000u};
constexpr EventDescriptor Information{101, 0, 16, 4, 0, 2, 0x8000000000000000u};
constexpr EventDescriptor ScopeEntry{110, 0, 16, 4, 10, 1, 0x8000000000000001u};

class EventingTest : public ::testing::Test {
protected:
    std::uint64_t Open(int level = 4) {
        const std::uint64_t context = Eventing::OpenLog(m_folder.Path("log").c_str(), level);
        EXPECT_NE(context, 0u);
        return context;
    }
    // The records without their times, which are checked to be there.
    [[nodiscard]] std::vector<std::string> Lines(const char* name = "log") const {
        std::vector<std::string> lines;
        for (const std::string& line : m_folder.Lines(name)) {
            EXPECT_TRUE(StartsWithTime(line)) << line;
            lines.push_back(line.substr(25));
        }
        return lines;
    }
    // "2026-11-20T16:07:00.123Z "
    static bool StartsWithTime(const std::string& line) {
        const std::string shape = "dddd-dd-ddTdd:dd:dd.dddZ ";
        bool same = line.size() >= shape.size();
        for (std::size_t i = 0; same && i < shape.size(); ++i) {
            same = shape[i] == 'd' ? line[i] >= '0' && line[i] <= '9' : line[i] == shape[i];
        }
        return same;
    }
    // The record that this message makes, from its level on.
    template <typename... Arguments>
    std::string RecordOf(const char* format, Arguments... arguments) {
        const std::uint64_t context = Open();
        Eventing::WriteMessage(context, &Error, "Source", 1, "Function", format, arguments...);
        Eventing::CloseLog(context);
        return Lines().back();
    }

    LogFolder m_folder;
};

TEST_F(EventingTest, WritesOneLinePerRecord) {
    const std::uint64_t context = Open();
    Eventing::WriteScope(context, &ScopeEntry, "NativeHttp", 210, "CNativeHttp::Login");
    Eventing::WriteMessage(context, &Information, "NativeHttp", 214, "CNativeHttp::Login", "client_version: %s", "1.2");
    Eventing::WriteMessage(context, &Warning, "NativeHttp", 215, "CNativeHttp::Login", "plain");
    Eventing::WriteMessage(context, &Error, "NativeHttp", 216, "CNativeHttp::Login", "server [%S] %u", QM_W("s\x00E9"),
                           5U);
    Eventing::WriteMessage(context, &Critical, "NativeHttp", 217, "CNativeHttp::Login", "Exited [status=%d]", -1);
    Eventing::CloseLog(context);
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{"information 110 NativeHttp:210 CNativeHttp::Login",
                                        "information 101 NativeHttp:214 CNativeHttp::Login client_version: 1.2",
                                        "warning 102 NativeHttp:215 CNativeHttp::Login plain",
                                        "error 103 NativeHttp:216 CNativeHttp::Login server [s\xC3\xA9] 5",
                                        "critical 104 NativeHttp:217 CNativeHttp::Login Exited [status=-1]"}));
}

TEST_F(EventingTest, StampsRecordsWithTheTimeOfDay) {
    SYSTEMTIME before;
    ::GetSystemTime(&before);
    RecordOf("text");
    SYSTEMTIME after;
    ::GetSystemTime(&after);
    const std::string stamp = m_folder.Lines("log").back().substr(0, 24);
    const auto text = [](const SYSTEMTIME& time) {
        char buffer[64];
        std::snprintf(buffer, sizeof(buffer), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", time.wYear, time.wMonth, time.wDay,
                      time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
        return std::string(buffer);
    };
    EXPECT_LE(text(before), stamp);
    EXPECT_LE(stamp, text(after));
}

TEST_F(EventingTest, EscapesWhatWouldBreakTheLine) {
    EXPECT_EQ(RecordOf("a\nb\r\nc\td"), "error 103 Source:1 Function a\\nb\\r\\nc\\td");
    EXPECT_EQ(RecordOf("%s", "\x1b[31mred\x07\x7f"), "error 103 Source:1 Function \\x1b[31mred\\x07\\x7f");
    EXPECT_EQ(RecordOf("%S", QM_W("a\x0085\x009B\x2028\x2029 b")),
              "error 103 Source:1 Function a\\u0085\\u009b\\u2028\\u2029 b");
}

TEST_F(EventingTest, LeavesBackslashesAndOtherLettersAlone) {
    EXPECT_EQ(RecordOf("C:\\new %S", QM_W("\x00A0\x4E2D\xD83D\xDE00")),
              "error 103 Source:1 Function C:\\new \xC2\xA0\xE4\xB8\xAD\xF0\x9F\x98\x80");
}

TEST_F(EventingTest, EscapesBytesThatAreNotUtf8) {
    EXPECT_EQ(RecordOf("%s",
                       "a\xFF\xC3"
                       "b"),
              "error 103 Source:1 Function a\\xff\\xc3b");
    EXPECT_EQ(RecordOf("%s", "\xC0\xAF \xED\xA0\x80 \xE0\x80\xAF"),
              "error 103 Source:1 Function \\xc0\\xaf \\xed\\xa0\\x80 \\xe0\\x80\\xaf");
    EXPECT_EQ(RecordOf("%s", "\xF4\x90\x80\x80 \xF0\x80\x80\xAF \xF5\x80"),
              "error 103 Source:1 Function \\xf4\\x90\\x80\\x80 \\xf0\\x80\\x80\\xaf \\xf5\\x80");
    EXPECT_EQ(RecordOf("%s", "\xE4\xB8"), "error 103 Source:1 Function \\xe4\\xb8");
}

TEST_F(EventingTest, PrintsNullTexts) {
    EXPECT_EQ(RecordOf("%s %S", static_cast<const char*>(nullptr), static_cast<const WideChar*>(nullptr)),
              "error 103 Source:1 Function (null) (null)");
    const std::uint64_t context = Open();
    Eventing::WriteScope(context, &ScopeEntry, nullptr, 7, nullptr);
    Eventing::WriteMessage(context, &Error, "Source", 1, "Function", nullptr);
    Eventing::CloseLog(context);
    EXPECT_EQ(Lines().back(), "information 110 (null):7 (null)");
}

TEST_F(EventingTest, WritesAnEmptyTextWithoutATrailingSpace) {
    EXPECT_EQ(RecordOf(""), "error 103 Source:1 Function");
}

TEST_F(EventingTest, WritesALongTextWhole) {
    const std::string text(1 << 20, 'x');
    EXPECT_EQ(RecordOf("%s", text.c_str()), "error 103 Source:1 Function " + text);
}

TEST_F(EventingTest, WantsTheLevelsUpToItsOwn) {
    for (int level = 1; level <= 4; ++level) {
        const std::uint64_t context = Open(level);
        EXPECT_NE(Eventing::IsEnabled(context, &Critical), 0);
        EXPECT_EQ(Eventing::IsEnabled(context, &Error) != 0, level >= 2);
        EXPECT_EQ(Eventing::IsEnabled(context, &Warning) != 0, level >= 3);
        EXPECT_EQ(Eventing::IsEnabled(context, &Information) != 0, level >= 4);
        EXPECT_EQ(Eventing::IsEnabled(context, &ScopeEntry) != 0, level >= 4);
        Eventing::CloseLog(context);
    }
}

TEST_F(EventingTest, WritesNothingThatIsNotWanted) {
    const std::uint64_t context = Open(2);
    Eventing::WriteMessage(context, &Warning, "Source", 1, "Function", "not wanted");
    Eventing::WriteScope(context, &ScopeEntry, "Source", 1, "Function");
    Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "wanted");
    Eventing::CloseLog(context);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"error 103 Source:1 Function wanted"}));
}

TEST_F(EventingTest, TakesTheZeroContextAndUnknownOnes) {
    const std::uint64_t context = Open();
    for (const std::uint64_t other :
         {std::uint64_t{0}, context + 1, context + 256, ~std::uint64_t{0}, context << 32U}) {
        EXPECT_EQ(Eventing::IsEnabled(other, &Critical), 0) << other;
        Eventing::WriteMessage(other, &Critical, "Source", 1, "Function", "lost");
        Eventing::WriteScope(other, &ScopeEntry, "Source", 1, "Function");
        Eventing::CloseLog(other);
    }
    EXPECT_NE(Eventing::IsEnabled(context, &Critical), 0);
    EXPECT_EQ(Eventing::IsEnabled(context, nullptr), 0);
    Eventing::CloseLog(context);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(EventingTest, ForgetsAContextThatWasClosed) {
    const std::uint64_t closed = Open();
    Eventing::CloseLog(closed);
    EXPECT_EQ(Eventing::IsEnabled(closed, &Critical), 0);
    const std::uint64_t open = Open();
    EXPECT_NE(open, closed);
    Eventing::WriteMessage(closed, &Critical, "Source", 1, "Function", "lost");
    Eventing::CloseLog(closed);
    EXPECT_NE(Eventing::IsEnabled(open, &Critical), 0);
    Eventing::CloseLog(open);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(EventingTest, AppendsToAFileThatIsThere) {
    m_folder.Write("log", "first\n");
    const std::uint64_t context = Open();
    Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "second");
    Eventing::CloseLog(context);
    const std::vector<std::string> lines = m_folder.Lines("log");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "first");
}

TEST_F(EventingTest, KeepsLogsApart) {
    const std::uint64_t first = Open();
    const std::uint64_t second = Eventing::OpenLog(m_folder.Path("other").c_str(), 1);
    ASSERT_NE(second, 0u);
    Eventing::WriteMessage(first, &Error, "Source", 1, "Function", "one");
    Eventing::WriteMessage(second, &Critical, "Source", 1, "Function", "two");
    Eventing::WriteMessage(second, &Error, "Source", 1, "Function", "three");
    Eventing::CloseLog(first);
    Eventing::CloseLog(second);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"error 103 Source:1 Function one"}));
    EXPECT_EQ(Lines("other"), (std::vector<std::string>{"critical 104 Source:1 Function two"}));
}

TEST_F(EventingTest, RefusesWhatItCannotOpen) {
    const auto errorOf = [](const std::string& path, int level) {
        ::SetLastError(0);
        EXPECT_EQ(Eventing::OpenLog(path.c_str(), level), 0u);
        return ::GetLastError();
    };
    EXPECT_EQ(errorOf(m_folder.Path("log"), 0), 87u);
    EXPECT_EQ(errorOf(m_folder.Path("log"), 5), 87u);
    EXPECT_EQ(Eventing::OpenLog(nullptr, 4), 0u);
    EXPECT_EQ(::GetLastError(), 87u);
    EXPECT_EQ(errorOf(m_folder.Path("missing/log"), 4), 3u);
    EXPECT_EQ(errorOf(m_folder.Path(""), 4), 5u);
    // A name that is longer than any: Windows calls it invalid (123), Wine not found (2).
    EXPECT_THAT(errorOf(m_folder.Path(std::string(300, 'n')), 4), testing::AnyOf(206u, 123u, 2u));
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path("log")));
}

TEST_F(EventingTest, OpensSixtyFourLogsAtOnce) {
    std::vector<std::uint64_t> contexts;
    for (int i = 0; i < 64; ++i) {
        contexts.push_back(Open());
    }
    EXPECT_EQ(Eventing::OpenLog(m_folder.Path("log").c_str(), 4), 0u);
    EXPECT_EQ(::GetLastError(), 1450u);
    Eventing::CloseLog(contexts[20]);
    contexts[20] = Open();
    for (const std::uint64_t context : contexts) {
        Eventing::CloseLog(context);
    }
}

TEST_F(EventingTest, LeavesTheLastErrorAlone) {
    ::SetLastError(1234);
    const std::uint64_t context = Open();
    Eventing::IsEnabled(context, &Error);
    Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "%S", QM_W("text"));
    Eventing::WriteScope(context, &ScopeEntry, "Source", 1, "Function");
    Eventing::CloseLog(context);
    Eventing::CloseLog(context);
    EXPECT_EQ(::GetLastError(), 1234u);
}

TEST_F(EventingTest, KeepsTheRecordsOfManyThreadsWhole) {
    const std::uint64_t context = Open();
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'a' + 16; ++letter) {
        threads.emplace_back([context, letter] {
            const std::string text(200, letter);
            for (int i = 0; i < 50; ++i) {
                Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "%s", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Eventing::CloseLog(context);
    const std::vector<std::string> lines = Lines();
    EXPECT_EQ(lines.size(), 800u);
    for (const std::string& line : lines) {
        ASSERT_EQ(line, "error 103 Source:1 Function " + std::string(200, line.back()));
    }
}

TEST_F(EventingTest, ClosesWhileThreadsWrite) {
    std::vector<std::uint64_t> contexts;
    for (int i = 0; i < 20; ++i) {
        contexts.push_back(Open());
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&contexts] {
            for (const std::uint64_t context : contexts) {
                while (Eventing::IsEnabled(context, &Error) != 0) {
                    Eventing::WriteMessage(context, &Error, "Source", 1, "Function", "text");
                }
            }
        });
    }
    for (const std::uint64_t context : contexts) {
        Eventing::CloseLog(context);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& line : Lines()) {
        ASSERT_EQ(line, "error 103 Source:1 Function text");
    }
}

}  // namespace
}  // namespace quillmark
