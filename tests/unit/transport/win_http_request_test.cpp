#include "transport/WinHttpRequest.h"

#include "TransportTest.h"

namespace quillmark {
namespace {

class WinHttpRequestTest : public TransportTest {
protected:
    // A request that is not initialised yet, on connection h2.
    void OpenConnection() {
        Open();
        request->Close();
        request = WinHttpFactory().CreateRequest(session);
        winHttp->ClearCalls();
        log.Clear();
    }
};

TEST_F(WinHttpRequestTest, InitialiseOpensTheRequest) {
    OpenConnection();
    EXPECT_EQ(
        request->Initialise(QM_W("/api/folders?a=1"), QM_W("DELETE"), connection, nullptr, WINHTTP_FLAG_SECURE, false),
        0u);
    EXPECT_EQ(winHttp->Calls(),
              Texts{"WinHttpOpenRequest(h2, \"DELETE\", \"/api/folders?a=1\", null, null, {null}, 0x00800000)"});
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::Initialise", "WinHttpRequest successfully initialised"));
}

TEST_F(WinHttpRequestTest, InitialisePassesTheAcceptTypeAsAListOfOne) {
    OpenConnection();
    EXPECT_EQ(request->Initialise(QM_W("/x"), QM_W("GET"), connection, QM_W("text/plain"), 0, false), 0u);
    EXPECT_EQ(winHttp->Calls(),
              Texts{"WinHttpOpenRequest(h2, \"GET\", \"/x\", null, null, {\"text/plain\", null}, 0x00000000)"});
}

TEST_F(WinHttpRequestTest, InitialiseReturnsTheCodeOfAFailedOpen) {
    OpenConnection();
    winHttp->Fail("WinHttpOpenRequest", 12018);
    EXPECT_EQ(request->Initialise(QM_W("/x"), QM_W("GET"), connection, nullptr, 0, true), 12018u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::Initialise", "WinHttpOpenRequest failed, error code: 12018"));
    EXPECT_EQ(winHttp->Calls().size(), 1u);
}

TEST_F(WinHttpRequestTest, NegotiateUsesTheCredentialsOfTheLoggedOnUser) {
    OpenConnection();
    EXPECT_EQ(request->Initialise(QM_W("/x"), QM_W("GET"), connection, nullptr, 0, true), 0u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpOpenRequest(h2, \"GET\", \"/x\", null, null, {null}, 0x00000000)",
                     "WinHttpSetOption(h4, 77, 1, 4)", "WinHttpSetCredentials(h4, 0, 16, null, null, null)"}));
}

TEST_F(WinHttpRequestTest, AFailedLogonPolicyIsLoggedAndNoFailure) {
    OpenConnection();
    winHttp->Fail("WinHttpSetOption", 12009);
    EXPECT_EQ(request->Initialise(QM_W("/x"), QM_W("GET"), connection, nullptr, 0, true), 0u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::Initialise", "WinHttpSetOption failed (12009)"));
    EXPECT_EQ(winHttp->Count("WinHttpSetCredentials"), 1u);
}

TEST_F(WinHttpRequestTest, FailedCredentialsAreLoggedAndNoFailure) {
    OpenConnection();
    winHttp->Fail("WinHttpSetCredentials", 87);
    EXPECT_EQ(request->Initialise(QM_W("/x"), QM_W("GET"), connection, nullptr, 0, true), 0u);
    EXPECT_TRUE(LoggedInformation("WinHttpRequest::Initialise",
                                  "WinHttpSetCredentials(...WINHTTP_AUTH_SCHEME_NEGOTIATE...) failed (87)"));
}

TEST_F(WinHttpRequestTest, AddHeaderAddsOneLineCoalescingWithComma) {
    Open();
    EXPECT_EQ(request->AddHeader(QM_W("X-Name"), QM_W("a value")), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpAddRequestHeaders(h3, \"X-Name: a value\", -1, 0x60000000)"});
}

TEST_F(WinHttpRequestTest, AddHeaderReturnsAndLogsTheCodeOfAFailure) {
    Open();
    winHttp->Fail("WinHttpAddRequestHeaders", 12019);
    EXPECT_EQ(request->AddHeader(QM_W("X-Name"), QM_W("a value")), 12019u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::AddHeader", "Failed to add header [X-Name: a value], error: 12019"));
}

TEST_F(WinHttpRequestTest, AddHeaderRefusesLineBreaksAndZeros) {
    Open();
    EXPECT_EQ(request->AddHeader(QM_W("X"), QM_W("a\r\nEvil: 1")), 87u);
    EXPECT_EQ(request->AddHeader(QM_W("X"), QM_W("a\n")), 87u);
    EXPECT_EQ(request->AddHeader(QM_W("X"), QM_W("a\r")), 87u);
    EXPECT_EQ(request->AddHeader(QM_W("X\r\nY"), QM_W("a")), 87u);
    EXPECT_EQ(request->AddHeader(QM_W("X\nY"), QM_W("a")), 87u);
    EXPECT_EQ(request->AddHeader(QM_W("X"), WideString(WideView(QM_W("a\0b"), 3))), 87u);
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_TRUE(LoggedError("WinHttpRequest::AddHeader", "Failed to add header [X: a\n], error: 87"));
}

TEST_F(WinHttpRequestTest, FormDataIsEncodedJoinedAndKeptInOrder) {
    Open();
    EXPECT_EQ(request->AppendFormData("username", QM_W("b\u00f6b & co"), false), 0u);
    EXPECT_EQ(request->AppendFormData("path", QM_W("/a~b"), true), 0u);
    // username=b%C3%B6b+%26+co&path=%2Fa%7Eb
    EXPECT_EQ(request->GetPostDataLength(), 38u);
    ASSERT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(winHttp->Body(), "username=b%C3%B6b+%26+co&path=%2Fa%7Eb");
}

TEST_F(WinHttpRequestTest, FormDataReplacesTheContentTypeHeader) {
    Open();
    EXPECT_EQ(request->AppendFormData("a", QM_W("1"), true), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpAddRequestHeaders(h3, \"Content-Type: application/x-www-form-urlencoded; "
                                      "charset=UTF-8\", -1, 0xa0000000)"});
}

TEST_F(WinHttpRequestTest, FormDataReturnsTheCodeOfAFailedHeader) {
    Open();
    winHttp->Fail("WinHttpAddRequestHeaders", 12019);
    EXPECT_EQ(request->AppendFormData("a", QM_W("1"), true), 12019u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::AppendFormData", "Failed to AddRequestHeaders - 12019"));
}

TEST_F(WinHttpRequestTest, FormDataRefusesALoneSurrogate) {
    Open();
    const WideChar name[] = {QM_W('a'), 0xDC80, 0};
    EXPECT_EQ(request->AppendFormData("path", name, true), 1113u);
    EXPECT_EQ(request->GetPostDataLength(), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_TRUE(LoggedError("WinHttpRequest::AppendFormData", "The value of [path] is not valid UTF-16, error: 1113"));
}

TEST_F(WinHttpRequestTest, SendPostDataWritesAllInOneCallAndEmpties) {
    Open();
    request->AddMultipartFormField(std::string("a"), std::string(100000, 'x'));
    const std::uint64_t length = request->GetPostDataLength();
    winHttp->ClearCalls();
    EXPECT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpWriteData(h3, " + std::to_string(length) + ")"});
    EXPECT_EQ(request->GetPostDataLength(), 0u);
}

TEST_F(WinHttpRequestTest, SendPostDataEmptiesAfterAFailureToo) {
    Open();
    ASSERT_EQ(request->AppendFormData("a", QM_W("1"), true), 0u);
    winHttp->Fail("WinHttpWriteData", 12030);
    EXPECT_EQ(request->SendPostData(), 12030u);
    EXPECT_EQ(request->GetPostDataLength(), 0u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendPostData", "WinHttpWriteData failed, error=12030"));
}

TEST_F(WinHttpRequestTest, SendPostDataGoesOnWithWhatAPartialWriteLeft) {
    Open();
    ASSERT_EQ(request->AppendFormData("abc", QM_W("123456"), true), 0u);
    winHttp->ClearCalls();
    winHttp->writeLimit = 4;
    EXPECT_EQ(request->SendPostData(), 0u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpWriteData(h3, 10)", "WinHttpWriteData(h3, 6)", "WinHttpWriteData(h3, 2)"}));
    EXPECT_EQ(winHttp->Body(), "abc=123456");
}

TEST_F(WinHttpRequestTest, AWriteThatTakesNothingIsAnError) {
    Open();
    ASSERT_EQ(request->AppendFormData("a", QM_W("1"), true), 0u);
    winHttp->writeLimit = 0;
    EXPECT_EQ(request->SendPostData(), 29u);
    EXPECT_TRUE(log.Has(103, "WinHttpWriteData failed, error=29"));
}

TEST_F(WinHttpRequestTest, AFailureThatLeavesNoCodeIsNoSuccess) {
    struct Mute : fakes::RecordingWinHttp {
        BOOL WinHttpWriteData(HINTERNET, LPCVOID, DWORD, LPDWORD) override {
            ::SetLastError(0);
            return FALSE;
        }
    };
    Open();
    Install(std::make_shared<Mute>());
    EXPECT_EQ(request->SendPostData(), 31u);
    Install(winHttp);
}

TEST_F(WinHttpRequestTest, StartRequestAnnouncesTheLength) {
    Open();
    EXPECT_EQ(request->StartRequest(369), 0u);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpSendRequest(h3, \"Content-Length: 369\r\n\", -1, null, 0, 369, 0)"});
}

TEST_F(WinHttpRequestTest, StartRequestSendsTheTokenAsCookie) {
    Open(QM_W("t0ken"));
    EXPECT_EQ(request->StartRequest(0), 0u);
    EXPECT_EQ(winHttp->Calls(), (Texts{"WinHttpAddRequestHeaders(h3, \"Cookie: session_token=t0ken\", -1, 0x40000000)",
                                       "WinHttpSendRequest(h3, \"Content-Length: 0\r\n\", -1, null, 0, 0, 0)"}));
}

TEST_F(WinHttpRequestTest, StartRequestAnnouncesFourGibibytesAndMoreByTheHeaderAlone) {
    Open();
    EXPECT_EQ(request->StartRequest(4294967295), 0u);
    EXPECT_EQ(request->StartRequest(4294967296), 0u);
    EXPECT_EQ(request->StartRequest(18446744073709551615u), 0u);
    EXPECT_EQ(winHttp->Calls(),
              (Texts{"WinHttpSendRequest(h3, \"Content-Length: 4294967295\r\n\", -1, null, 0, 4294967295, 0)",
                     "WinHttpSendRequest(h3, \"Content-Length: 4294967296\r\n\", -1, null, 0, 0, 0)",
                     "WinHttpSendRequest(h3, \"Content-Length: 18446744073709551615\r\n\", -1, null, 0, 0, 0)"}));
}

TEST_F(WinHttpRequestTest, StartRequestReturnsTheCodeOfAFailedCookie) {
    Open(QM_W("t0ken"));
    winHttp->Fail("WinHttpAddRequestHeaders", 12019);
    EXPECT_EQ(request->StartRequest(5), 12019u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::StartRequest", "WinHttpAddRequestHeaders failed, error code: 12019"));
    EXPECT_EQ(winHttp->Count("WinHttpSendRequest"), 0u);
}

TEST_F(WinHttpRequestTest, StartRequestReturnsTheCodeOfAFailedSend) {
    Open();
    winHttp->Fail("WinHttpSendRequest", 12029);
    EXPECT_EQ(request->StartRequest(5), 12029u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::StartRequest", "WinHttpSendRequest failed, error code: 12029"));
}

TEST_F(WinHttpRequestTest, ATokenWithALineBreakIsRefusedBeforeAnythingIsSent) {
    Open(QM_W("a\r\nEvil: 1"));
    EXPECT_EQ(request->StartRequest(5), 87u);
    EXPECT_EQ(request->GetResponse(response), 87u);
    EXPECT_EQ(winHttp->Count("WinHttpSendRequest"), 0u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::StartRequest", "WinHttpAddRequestHeaders failed, error code: 87"));
}

TEST_F(WinHttpRequestTest, CloseClosesTheHandleOnce) {
    Open();
    request->Close();
    request->Close();
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpCloseHandle(h3)"});
}

}  // namespace
}  // namespace quillmark
