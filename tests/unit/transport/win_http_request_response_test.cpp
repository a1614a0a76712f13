// Replies in memory.
#include <atomic>
#include <cstdlib>

#include "TransportTest.h"

namespace {

std::atomic<bool> memoryIsShort = false;

}  // namespace

// The linker sends this program's calls of realloc here.
extern "C" void* __real_realloc(void* block, std::size_t size);
extern "C" void* __wrap_realloc(void* block, std::size_t size) {
    return memoryIsShort ? nullptr : __real_realloc(block, size);
}

namespace quillmark {
namespace {

class WinHttpRequestResponseTest : public TransportTest {};

TEST_F(WinHttpRequestResponseTest, ASimpleGetMakesTheseCalls) {
    Open(QM_W("t0ken"));
    winHttp->reply = {.status = "200", .contentLength = {}, .rounds = {{3, "{\"a"}, {4, "\":1}"}}};
    EXPECT_EQ(request->GetResponse(response), 0u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpAddRequestHeaders(h3, \"Accept: application/json\", -1, 0x60000000)",
                     "WinHttpAddRequestHeaders(h3, \"Cookie: session_token=t0ken\", -1, 0x40000000)",
                     "WinHttpSendRequest(h3, null, 0, null, 0, 0, 0)", "WinHttpReceiveResponse(h3, null)",
                     "WinHttpQueryHeaders(h3, 0x00000013, null, null, 0, null)",
                     "WinHttpQueryHeaders(h3, 0x00000013, null, buffer, 8, null)", "WinHttpQueryDataAvailable(h3)",
                     "WinHttpReadData(h3, 3)", "WinHttpQueryDataAvailable(h3)", "WinHttpReadData(h3, 4)",
                     "WinHttpQueryDataAvailable(h3)"}));
    EXPECT_EQ(response.text(), "{\"a\":1}");
    EXPECT_EQ(response.data()[7], '\0');
    EXPECT_EQ(request->GetHTTPStatus(), 200u);
    EXPECT_EQ(log.Texts(101),
              (Texts{"0 bytes of post data", "Request successfully sent", "No additional data available."}));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::SendRequest", "Request successfully sent"));
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::ReadResponse", "No additional data available."));
}

TEST_F(WinHttpRequestResponseTest, AFormPostHandsItsBodyToTheSend) {
    Open({}, QM_W("POST"));
    ASSERT_EQ(request->AppendFormData("username", QM_W("bob"), false), 0u);
    ASSERT_EQ(request->AppendFormData("password", QM_W("s ecret"), false), 0u);
    ASSERT_EQ(request->AppendFormData("device", QM_W("d1"), true), 0u);
    winHttp->ClearCalls();
    EXPECT_EQ(request->GetResponse(response), 0u);
    // username=bob (12) & password=s+ecret (16) & device=d1 (9), two ampersands
    EXPECT_EQ(winHttp->Calls().at(1), "WinHttpSendRequest(h3, null, 0, data, 39, 39, 0)");
    EXPECT_EQ(winHttp->OptionalData(), "username=bob&password=s+ecret&device=d1");
}

TEST_F(WinHttpRequestResponseTest, ThePostDataInTheLogHasNoPassword) {
    Open({}, QM_W("POST"));
    ASSERT_EQ(request->AppendFormData("username", QM_W("bob"), false), 0u);
    ASSERT_EQ(request->AppendFormData("password", QM_W("secret"), false), 0u);
    ASSERT_EQ(request->AppendFormData("remember", QM_W("1"), true), 0u);
    EXPECT_EQ(request->GetResponse(response), 0u);
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::SendRequest",
                                  "39 bytes of post data: [username=bob&password=XXXXX&remember=1]"));
    EXPECT_FALSE(log.Mentions("secret"));
}

TEST_F(WinHttpRequestResponseTest, WithoutATokenNoCookieIsSent) {
    Open();
    EXPECT_EQ(request->GetResponse(response), 0u);
    EXPECT_EQ(winHttp->Count("WinHttpAddRequestHeaders"), 1u);
}

TEST_F(WinHttpRequestResponseTest, AnEmptyBodyIsANullBufferAndSuccess) {
    Open();
    winHttp->reply.status = "204";
    EXPECT_EQ(request->ReceiveResponse(response), 0u);
    EXPECT_TRUE(response.IsNull());
    EXPECT_EQ(response.size(), 0u);
    EXPECT_EQ(request->GetHTTPStatus(), 204u);
}

TEST_F(WinHttpRequestResponseTest, AnyStatusIsASuccessWithItsBody) {
    Open();
    winHttp->reply = {.status = "404", .contentLength = {}, .rounds = {{2, "{}"}}};
    EXPECT_EQ(request->GetResponse(response), 0u);
    EXPECT_EQ(request->GetHTTPStatus(), 404u);
    EXPECT_EQ(response.text(), "{}");
}

TEST_F(WinHttpRequestResponseTest, AStatusThatIsNoNumberIsZero) {
    Open();
    winHttp->reply.status = "abc";
    EXPECT_EQ(request->ReceiveResponse(response), 0u);
    EXPECT_EQ(request->GetHTTPStatus(), 0u);
}

TEST_F(WinHttpRequestResponseTest, ReadResponseAppendsToWhatTheBufferHolds) {
    Open();
    winHttp->reply.rounds = {{2, "cd"}};
    std::memcpy(response.Extend(2), "ab", 2);
    response.Commit(2);
    EXPECT_EQ(request->ReadResponse(response), 0u);
    EXPECT_EQ(response.text(), "abcd");
}

TEST_F(WinHttpRequestResponseTest, ARoundMayBringLessThanWasAvailable) {
    Open();
    winHttp->reply.rounds = {{10, "abc"}, {10, "de"}};
    EXPECT_EQ(request->ReadResponse(response), 0u);
    EXPECT_EQ(response.text(), "abcde");
}

TEST_F(WinHttpRequestResponseTest, AReadOfNothingEndsTheBody) {
    Open();
    winHttp->reply.rounds = {{10, "abc"}, {10, ""}, {10, "never read"}};
    EXPECT_EQ(request->ReadResponse(response), 0u);
    EXPECT_EQ(response.text(), "abc");
    EXPECT_EQ(winHttp->Count("WinHttpQueryDataAvailable"), 2u);
}

TEST_F(WinHttpRequestResponseTest, ARoundOfExactlyFiveMebibytesIsRead) {
    Open();
    winHttp->reply.rounds = {{5242880, std::string(5242880, 'x')}, {1, "y"}};
    EXPECT_EQ(request->ReadResponse(response), 0u);
    ASSERT_EQ(response.size(), 5242881u);
    EXPECT_EQ(response.text().back(), 'y');
}

TEST_F(WinHttpRequestResponseTest, ARoundOfMoreThanFiveMebibytesFailsWith122) {
    Open();
    winHttp->reply.rounds = {{5242881, "x"}};
    EXPECT_EQ(request->ReadResponse(response), 122u);
    EXPECT_EQ(winHttp->Count("WinHttpReadData"), 0u);
}

TEST_F(WinHttpRequestResponseTest, AReplyThatDoesNotFitIntoMemoryFailsWith8) {
    Open();
    winHttp->reply.rounds = {{3, "abc"}};
    memoryIsShort = true;
    const DWORD error = request->ReadResponse(response);
    memoryIsShort = false;
    EXPECT_EQ(error, 8u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReadResponse", "Failed to allocate memory for response"));
    EXPECT_EQ(winHttp->Count("WinHttpReadData"), 0u);
}

TEST_F(WinHttpRequestResponseTest, AFailedAcceptHeaderIsReturned) {
    Open();
    winHttp->Fail("WinHttpAddRequestHeaders", 12019);
    EXPECT_EQ(request->GetResponse(response), 12019u);
    EXPECT_EQ(winHttp->Calls().size(), 1u);
}

TEST_F(WinHttpRequestResponseTest, AFailedCookieIsLoggedAndReturned) {
    Open(QM_W("t0ken"));
    winHttp->Fail("WinHttpAddRequestHeaders", 12019, 2);
    EXPECT_EQ(request->GetResponse(response), 12019u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::GetResponse", "WinHttpAddRequestHeaders failed, error code: 12019"));
    EXPECT_EQ(winHttp->Count("WinHttpSendRequest"), 0u);
}

TEST_F(WinHttpRequestResponseTest, AFailedSendIsLoggedAndReturned) {
    Open();
    winHttp->Fail("WinHttpSendRequest", 12007);
    EXPECT_EQ(request->GetResponse(response), 12007u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendRequest", "WinHttpSendRequest failed, error code: 12007"));
    EXPECT_FALSE(log.Has(101, "Request successfully sent"));
    EXPECT_EQ(winHttp->Count("WinHttpReceiveResponse"), 0u);
}

TEST_F(WinHttpRequestResponseTest, AFailedReceiveIsLoggedAndReturned) {
    Open();
    winHttp->Fail("WinHttpReceiveResponse", 12002);
    EXPECT_EQ(request->ReceiveResponse(response), 12002u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReceiveResponse", "WinHttpReceiveResponse failed, error code: 12002"));
}

TEST_F(WinHttpRequestResponseTest, ASizeQueryThatFailsOtherwiseThanWith122IsReturned) {
    Open();
    winHttp->Fail("WinHttpQueryHeaders", 12150);
    EXPECT_EQ(request->ReceiveResponse(response), 12150u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReceiveResponse", "WinHttpQueryHeaders failed, error code: 12150"));
    EXPECT_EQ(winHttp->Count("WinHttpQueryHeaders"), 1u);
}

TEST_F(WinHttpRequestResponseTest, AFailedStatusQueryIsReturned) {
    Open();
    winHttp->Fail("WinHttpQueryHeaders", 6, 2);
    EXPECT_EQ(request->ReceiveResponse(response), 6u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReceiveResponse", "WinHttpQueryHeaders failed, error code: 6"));
    EXPECT_EQ(winHttp->Count("WinHttpQueryDataAvailable"), 0u);
}

TEST_F(WinHttpRequestResponseTest, AFailedAvailabilityQueryIsLoggedAndReturned) {
    Open();
    winHttp->reply.rounds = {{3, "abc"}, {3, "def"}};
    winHttp->Fail("WinHttpQueryDataAvailable", 12030, 2);
    EXPECT_EQ(request->ReadResponse(response), 12030u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReadResponse", "WinHttpQueryDataAvailable failed, error code: 12030"));
}

TEST_F(WinHttpRequestResponseTest, AFailedReadIsLoggedAndReturned) {
    Open();
    winHttp->reply.rounds = {{3, "abc"}};
    winHttp->Fail("WinHttpReadData", 12002);
    EXPECT_EQ(request->ReadResponse(response), 12002u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::ReadResponse", "WinHttpReadData failed, error code: 12002"));
    EXPECT_EQ(response.size(), 0u);
}

}  // namespace
}  // namespace quillmark
