// Each operation with its n-th transport call failing, and with its cancel event set at its n-th call, for n = 1, 2,
// ... until the operation has no call left: it ends with a code, hands nothing back that is half done, keeps no
// request, and the next try succeeds.
#include <atomic>

#include "unit/client/Operations.h"

namespace quillmark::test {
namespace {

class FaultSweep : public OperationTest {
protected:
    // Calls whose results are values or nothing, and the one whose failure is only logged: failing them means nothing.
    static bool HasNoCode(const std::string& call) {
        for (const char* function : {"GetHTTPStatus", "GetPostDataLength", "GetMultipartEndLength", "EndMultipart",
                                     "AddMultipartFormField", "Close", "SetSessionToken", "SetTimeouts"}) {
            if (call.starts_with(std::string(function) + "(")) {
                return true;
            }
        }
        return false;
    }
    // Whether the call begins to send the request.
    static bool Sends(const std::string& call) {
        return call.starts_with("GetResponse(") || call.starts_with("SendRequestGetResponse(") ||
               call.starts_with("StartRequest(");
    }
    // Whether the call streams a file, and so looks at the event between two pieces.
    static bool Streams(const std::string& call) {
        return call.starts_with("SendMultipartFile(") || call.starts_with("SendRequestGetResponse(") ||
               (call.starts_with("GetResponse(") && call.find('"') != std::string::npos);
    }
};

TEST_P(FaultSweep, AnyCallMayFail) {
    const DWORD result = GetParam().result;
    Prepare();
    ASSERT_EQ(Run(), result);
    const Lines calls = factory->Calls();
    for (std::size_t n = 1; n <= calls.size(); ++n) {
        const std::string& call = calls[n - 1];
        if (HasNoCode(call)) {
            continue;
        }
        Prepare();
        factory->FailCall(static_cast<int>(n), 12030);
        const bool unchecked = GetParam().unchecked.contains(static_cast<int>(n));
        const DWORD expected = unchecked                    ? result
                               : call.starts_with("Create") ? static_cast<DWORD>(ERROR_INVALID_HANDLE)
                                                            : 12030u;
        EXPECT_EQ(Run(), expected) << call;
        EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0) << call;
        EXPECT_TRUE(unchecked || record->Equals(*attributes)) << call;
    }
    Prepare();
    EXPECT_EQ(Run(), result);
}

TEST_P(FaultSweep, TheEventMayBeSetAtAnyCall) {
    const DWORD result = GetParam().result;
    Prepare();
    ASSERT_EQ(Run(), result);
    const std::size_t calls = factory->Calls().size();
    for (std::size_t n = 1; n <= calls; ++n) {
        const Event cancel;
        Prepare();
        const auto made = std::make_shared<std::atomic<std::size_t>>(0);
        factory->OnCall([made, n, handle = cancel.Handle()](const std::string& call) {
            // The trigger's thread closes the request: its call is none of the operation's.
            if (!call.starts_with("Close(") && ++*made == n) {
                ::SetEvent(handle);
            }
        });
        const DWORD code = Run(cancel.Handle());
        factory->OnCall({});
        EXPECT_TRUE(code == result || code == 1223) << code << " when set at call " << n;
    }
    Prepare();
    EXPECT_EQ(Run(), result);
    client.reset();  // with its trigger's thread, which holds a request while it closes it
    EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0);
}

TEST_P(FaultSweep, EachRequestIsBoundToTheEventWhenItIsSentAndLetGoAtTheEnd) {
    const Event cancel;
    const std::string added = Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()));
    const std::string removed = Format("Trigger removed for event [0x%x]", HandleNumber(cancel.Handle()));
    Prepare();
    factory->OnCall([&](const std::string& call) {
        if (Sends(call)) {
            EXPECT_EQ(log.Count(Information, added), GetParam().takesEvent ? factory->Count("CreateRequest") : 0u)
                << call;
        }
    });
    EXPECT_EQ(Run(cancel.Handle()), GetParam().result);
    factory->OnCall({});
    EXPECT_EQ(log.Count(Information, removed), log.Count(Information, added));
    for (const std::string& call : factory->Calls()) {
        EXPECT_TRUE(!Streams(call) || call.ends_with(", event)")) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(Of, FaultSweep, ::testing::ValuesIn(AllOperations()), OperationName);

}  // namespace
}  // namespace quillmark::test
