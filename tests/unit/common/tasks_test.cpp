#include "common/Tasks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "common/Format.h"
#include "common/OwnedHandle.h"
#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;

TEST(TasksTest, RunsTheTaskOnAThreadOfItsOwn) {
    std::atomic<DWORD> thread = 0;
    const OwnedHandle handle(w32utils::StartTaskInternal([&] { thread = ::GetCurrentThreadId(); }, "caller"));
    ASSERT_TRUE(handle.IsHandle());
    EXPECT_EQ(::WaitForSingleObject(handle.Get(), 10000), WAIT_OBJECT_0);
    EXPECT_NE(thread, 0u);
    EXPECT_NE(thread, ::GetCurrentThreadId());
}

TEST(TasksTest, LogsWhoStartedTheTask) {
    const RecordedLog log;
    DWORD thread = 0;
    const OwnedHandle handle(
        w32utils::StartTaskInternal([&] { thread = ::GetCurrentThreadId(); }, "EventMultiTrigger::EventMultiTrigger"));
    ASSERT_EQ(::WaitForSingleObject(handle.Get(), 10000), WAIT_OBJECT_0);

    const auto records = log.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].descriptor.id, 101);
    EXPECT_EQ(records[0].source, "w32threads");
    EXPECT_EQ(records[0].function, "w32utils::StartTaskInternal");
    const std::string start = "Starting task [0x";
    const std::string end = "] on behalf of [EventMultiTrigger::EventMultiTrigger]";
    ASSERT_EQ(records[0].text.size(), start.size() + 16 + end.size());
    EXPECT_EQ(records[0].text.substr(0, start.size()), start);
    EXPECT_EQ(records[0].text.substr(start.size(), 16).find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_EQ(records[0].text.substr(start.size() + 16), end);
    EXPECT_EQ(records[1].source, "w32threads");
    EXPECT_EQ(records[1].function, "w32utils::detail::start_task_proc");
    EXPECT_EQ(records[1].text, Format("Task [0x%x] started by [EventMultiTrigger::EventMultiTrigger]", thread));
}

TEST(TasksTest, FreesTheTaskWhenItHasRun) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    const OwnedHandle handle(w32utils::StartTaskInternal([captured = std::move(held)] {}, "caller"));
    ASSERT_EQ(::WaitForSingleObject(handle.Get(), 10000), WAIT_OBJECT_0);
    EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace quillmark
