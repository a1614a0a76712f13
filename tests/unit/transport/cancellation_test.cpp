// Close from another thread while the request is inside a call.
#include <thread>

#include "TransportTest.h"

namespace quillmark {
namespace {

class CancellationTest : public TransportTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(CancellationTest, CloseEndsTheBlockedCall) {
    Open();
    files->Put(QM_W("/f"), "hello");
    winHttp->reply = {.status = "200", .contentLength = "3", .rounds = {{3, "abc"}}};
    winHttp->BlockIn(GetParam());
    DWORD result = 0;
    std::thread driver([&] {
        result = request->StartRequest(300);
        if (result == 0) {
            result = request->SendMultipartFile("file", QM_W("/f"), QM_W("f"), nullptr, nullptr, nullptr, 0);
        }
        if (result == 0) {
            result = request->ReceiveResponse(response);
        }
    });
    winHttp->WaitUntilBlocked();
    request->Close();
    driver.join();
    EXPECT_EQ(result, 12017u);
    EXPECT_EQ(winHttp->Count("WinHttpCloseHandle"), 1u);
}

TEST_P(CancellationTest, CallsAfterTheCloseSeeNoHandle) {
    Open();
    winHttp->BlockIn("WinHttpReceiveResponse");
    std::thread driver([&] {
        EXPECT_EQ(request->ReceiveResponse(response), 12017u);
        static_cast<void>(request->ReadResponse(response));
    });
    winHttp->WaitUntilBlocked();
    request->Close();
    driver.join();
    EXPECT_EQ(winHttp->Calls().back(), "WinHttpQueryDataAvailable(null)");
}

INSTANTIATE_TEST_SUITE_P(EachBlockingCall, CancellationTest,
                         ::testing::Values("WinHttpSendRequest", "WinHttpWriteData", "WinHttpReceiveResponse",
                                           "WinHttpQueryDataAvailable", "WinHttpReadData"),
                         [](const ::testing::TestParamInfo<const char*>& row) { return std::string(row.param); });

class ConcurrentCloseTest : public TransportTest {};

TEST_F(ConcurrentCloseTest, ManyThreadsCloseTheHandleOnce) {
    for (int round = 0; round < 50; ++round) {
        Open();
        std::vector<std::thread> closers;
        for (int i = 0; i < 4; ++i) {
            closers.emplace_back([this] { request->Close(); });
        }
        for (std::thread& closer : closers) {
            closer.join();
        }
        EXPECT_EQ(winHttp->Count("WinHttpCloseHandle"), 1u);
        request.reset();
        connection.reset();
        session.reset();
    }
}

TEST_F(ConcurrentCloseTest, ABlockedDownloadClosesItsFile) {
    Open();
    winHttp->reply = {.status = "200", .contentLength = "3", .rounds = {{3, "abc"}}};
    winHttp->BlockIn("WinHttpReadData");
    DWORD result = 0;
    std::thread driver([&] { result = request->GetResponse(QM_W("/f"), 0, nullptr, nullptr, false, 0); });
    winHttp->WaitUntilBlocked();
    request->Close();
    driver.join();
    EXPECT_EQ(result, 12017u);
    EXPECT_EQ(files->OpenFiles(), 0u);
    EXPECT_TRUE(log.Has(101, "Returning [12017] downloaded 0 / 3"));
}

}  // namespace
}  // namespace quillmark
