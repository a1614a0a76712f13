#include "model/AsyncDeltaJobs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/RecordingEventing.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

constexpr GUID First = {0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}};
constexpr GUID Second = {0x7C9E6679, 0x7425, 0x40DE, {0x94, 0x4B, 0xE0, 0x7F, 0xC1, 0xF9, 0x0A, 0xE7}};

// The state of one job, which was 9 before.
DWORD StateAfter(const std::string& reply) {
    AsyncDeltaJobList jobs{{First, 9}};
    EXPECT_EQ(ParseAsyncGuidsFromResponse(ReplyOf(reply), jobs), 0u) << reply;
    return jobs[0].state;
}

DWORD StateOfStatus(const std::string& status) {
    return StateAfter(R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":{"status":)" + status + "}}");
}

TEST(AsyncDeltaJobs, EachStatusHasItsState) {
    EXPECT_EQ(StateOfStatus(R"("PENDING_COMMIT")"), 1u);
    EXPECT_EQ(StateOfStatus(R"("IN_PROGRESS")"), 2u);
    EXPECT_EQ(StateOfStatus(R"("FAILED")"), 3u);
    EXPECT_EQ(StateOfStatus(R"("GUID_NOT_FOUND")"), 4u);
}

TEST(AsyncDeltaJobs, StatusesAreMatchedToTheLetter) {
    for (const char* status : {R"("Pending_Commit")", R"("pending_commit")", R"("PENDING_COMMIT ")", R"("FAIL")",
                               R"("")", "1", "null", "true", R"({"a":1})", R"(["FAILED"])"}) {
        EXPECT_EQ(StateOfStatus(status), 0u) << status;
    }
    EXPECT_EQ(StateAfter(R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":{}})"), 0u);
    EXPECT_EQ(StateAfter(R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":"FAILED"})"), 0u);
    EXPECT_EQ(StateAfter(R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":null})"), 0u);
}

TEST(AsyncDeltaJobs, AJobThatTheReplyDoesNotNameKeepsItsState) {
    EXPECT_EQ(StateAfter("{}"), 9u);
    EXPECT_EQ(StateAfter(R"({"7C9E6679-7425-40DE-944B-E07FC1F90AE7":{"status":"FAILED"},"other":1})"), 9u);
}

TEST(AsyncDeltaJobs, NamesAreReadWithOrWithoutBracesInAnyCase) {
    for (const char* name : {"0f8fad5b-d9cb-469f-a165-70867728950e", "{0F8FAD5B-D9CB-469F-A165-70867728950E}",
                             "{0f8fad5b-d9cb-469f-a165-70867728950e}"}) {
        EXPECT_EQ(StateAfter("{\"" + std::string(name) + R"(":{"status":"FAILED"}})"), 3u) << name;
    }
}

TEST(AsyncDeltaJobs, EveryJobOfTheListIsSet) {
    AsyncDeltaJobList jobs{{Second, 0}, {First, 0}, {Second, 0}};
    EXPECT_EQ(ParseAsyncGuidsFromResponse(ReplyOf(R"({"0F8FAD5B-D9CB-469F-A165-70867728950E":{"status":"IN_PROGRESS"},
                              "7C9E6679-7425-40DE-944B-E07FC1F90AE7":{"status":"PENDING_COMMIT"}})"),
                                          jobs),
              0u);
    EXPECT_EQ(jobs[0].state, 1u);
    EXPECT_EQ(jobs[1].state, 2u);
    EXPECT_EQ(jobs[2].state, 1u);
}

TEST(AsyncDeltaJobs, AReplyThatIsNoJsonIs13) {
    const fakes::RecordedLog log;
    AsyncDeltaJobList jobs{{First, 9}};
    EXPECT_EQ(ParseAsyncGuidsFromResponse(ReplyOf("<html>"), jobs), 13u);
    EXPECT_EQ(jobs[0].state, 9u);
    ASSERT_EQ(log.Texts(103).size(), 1u);
    EXPECT_EQ(log.Texts(103)[0].find("Failed to parse JSON from server, parser error = ["), 0u);
    EXPECT_EQ(log.Records()[0].function, "CNativeHttp::ParseAsyncGuidsFromResponse");
}

}  // namespace
}  // namespace quillmark
