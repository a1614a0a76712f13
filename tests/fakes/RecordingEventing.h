// A recorder in the place of the eventing library: a test links quillmark_recording_eventing and sees every record that
// the code under test logs.
//
//   RecordedLog log;
//   trigger.AddTrigger(event, action);
//   EXPECT_TRUE(log.Has(101, "Trigger added for event [0x10]"));
//
// Records are kept while a RecordedLog lives; at most one lives at a time. It starts empty and wants all levels,
// whatever the logging context, 0 included. Without one nothing is enabled and nothing is recorded. Any thread may log.
//
// Events: 101 information, 102 warning, 103 error, 104 critical (exit status, exception exit), 110 entry, 111 exit.
// Scope records have an empty text.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/Eventing.h"

namespace quillmark::fakes {

struct LogRecord {
    std::uint64_t context;
    EventDescriptor descriptor;
    std::string source;
    std::uint32_t line;
    std::string function;
    std::string text;
};

class RecordedLog {
public:
    RecordedLog();
    ~RecordedLog();
    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;

    // Records whose descriptor's level is above this are not wanted: 0 none, 1 critical ... 4 information (the start).
    void SetHighestLevel(int level);
    // Forgets the records so far.
    void Clear();
    // Called with each record from now on, on the thread that logs it and inside its call: for what has to happen at
    // just that moment. Must not log. Null for none.
    void OnRecord(std::function<void(const LogRecord&)> observer);

    [[nodiscard]] std::vector<LogRecord> Records() const;
    // The texts of the records of one event, in order.
    [[nodiscard]] std::vector<std::string> Texts(int event) const;

    // Whether a record of this event has exactly this text; with source and function, these too.
    [[nodiscard]] bool Has(int event, std::string_view text) const;
    [[nodiscard]] bool Has(int event, std::string_view source, std::string_view function, std::string_view text) const;
    [[nodiscard]] std::size_t Count(int event, std::string_view text) const;
    // Whether the text occurs anywhere in any record: for what must not reach the log.
    [[nodiscard]] bool Mentions(std::string_view text) const;

    // Blocks until Count(event, text) is at least this, for what another thread logs. False after ten seconds.
    [[nodiscard]] bool WaitFor(int event, std::string_view text, std::size_t count = 1) const;
};

}  // namespace quillmark::fakes
