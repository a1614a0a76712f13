#include "fakes/RecordingEventing.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <mutex>
#include <stdexcept>

#include "common/Format.h"

namespace {

struct Recorder {
    std::mutex lock;
    std::condition_variable added;
    std::vector<quillmark::fakes::LogRecord> records;
    std::function<void(const quillmark::fakes::LogRecord&)> observer;
    std::atomic<int> highestLevel{0};
    bool inUse = false;
};

// Never destroyed: threads of the code under test may log while the process ends.
Recorder& TheRecorder() {
    static Recorder& recorder = *new Recorder;
    return recorder;
}

void Add(std::uint64_t context, const EventDescriptor& descriptor, const char* source, std::uint32_t line,
         const char* function, std::string text) {
    Recorder& recorder = TheRecorder();
    quillmark::fakes::LogRecord record{context, descriptor, source, line, function, std::move(text)};
    std::function<void(const quillmark::fakes::LogRecord&)> observer;
    {
        const std::scoped_lock guard(recorder.lock);
        if (!recorder.inUse) {
            return;
        }
        recorder.records.push_back(record);
        observer = recorder.observer;
    }
    recorder.added.notify_all();
    if (observer) {
        observer(record);
    }
}

template <typename Predicate>
std::size_t CountRecords(const Recorder& recorder, Predicate predicate) {
    return static_cast<std::size_t>(std::ranges::count_if(recorder.records, predicate));
}

auto TextIs(int event, std::string_view text) {
    return [event, text](const quillmark::fakes::LogRecord& record) {
        return record.descriptor.id == event && record.text == text;
    };
}

}  // namespace

namespace Eventing {

int IsEnabled(std::uint64_t, const EventDescriptor* descriptor) {
    return descriptor->level <= TheRecorder().highestLevel.load(std::memory_order_relaxed) ? 1 : 0;
}

void WriteMessage(std::uint64_t context, const EventDescriptor* descriptor, const char* source, std::uint32_t line,
                  const char* function, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = quillmark::FormatVarargs(format, arguments);
    va_end(arguments);
    Add(context, *descriptor, source, line, function, std::move(text));
}

void WriteScope(std::uint64_t context, const EventDescriptor* descriptor, const char* source, std::uint32_t line,
                const char* function) {
    Add(context, *descriptor, source, line, function, {});
}

}  // namespace Eventing

namespace quillmark::fakes {

RecordedLog::RecordedLog() {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    if (recorder.inUse) {
        throw std::logic_error("RecordedLog: another one lives");
    }
    recorder.inUse = true;
    recorder.records.clear();
    recorder.highestLevel = 4;
}

RecordedLog::~RecordedLog() {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    recorder.highestLevel = 0;
    recorder.observer = nullptr;
    recorder.inUse = false;
}

void RecordedLog::SetHighestLevel(int level) {
    TheRecorder().highestLevel = level;
}

void RecordedLog::Clear() {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    recorder.records.clear();
}

void RecordedLog::OnRecord(std::function<void(const LogRecord&)> observer) {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    recorder.observer = std::move(observer);
}

std::vector<LogRecord> RecordedLog::Records() const {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    return recorder.records;
}

std::vector<std::string> RecordedLog::Texts(int event) const {
    std::vector<std::string> texts;
    for (LogRecord& record : Records()) {
        if (record.descriptor.id == event) {
            texts.push_back(std::move(record.text));
        }
    }
    return texts;
}

bool RecordedLog::Has(int event, std::string_view text) const {
    return Count(event, text) > 0;
}

bool RecordedLog::Has(int event, std::string_view source, std::string_view function, std::string_view text) const {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    return CountRecords(recorder, [&](const LogRecord& record) {
               return record.descriptor.id == event && record.source == source && record.function == function &&
                      record.text == text;
           }) > 0;
}

std::size_t RecordedLog::Count(int event, std::string_view text) const {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    return CountRecords(recorder, TextIs(event, text));
}

bool RecordedLog::Mentions(std::string_view text) const {
    Recorder& recorder = TheRecorder();
    const std::scoped_lock guard(recorder.lock);
    return CountRecords(recorder,
                        [text](const LogRecord& record) { return record.text.find(text) != std::string::npos; }) > 0;
}

bool RecordedLog::WaitFor(int event, std::string_view text, std::size_t count) const {
    Recorder& recorder = TheRecorder();
    std::unique_lock guard(recorder.lock);
    return recorder.added.wait_for(guard, std::chrono::seconds(10),
                                   [&] { return CountRecords(recorder, TextIs(event, text)) >= count; });
}

}  // namespace quillmark::fakes
