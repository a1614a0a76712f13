// Seams that are replaced while a request is in flight.
#include "TransportTest.h"

namespace quillmark {
namespace {

class SeamReplacementTest : public TransportTest {
protected:
    std::shared_ptr<fakes::RecordingWinHttp> next = std::make_shared<fakes::RecordingWinHttp>();
};

TEST_F(SeamReplacementTest, TheNextCallUsesTheNewSeam) {
    Open();
    winHttp->OnCall([this](const std::string& call) {
        if (call.starts_with("WinHttpSendRequest")) {
            Install(next);
        }
    });
    EXPECT_EQ(request->GetResponse(response), 0u);
    EXPECT_EQ(winHttp->Calls().back(), "WinHttpSendRequest(h3, null, 0, null, 0, 0, 0)");
    EXPECT_EQ(next->Calls().front(), "WinHttpReceiveResponse(h3, null)");
    Install(winHttp);
}

TEST_F(SeamReplacementTest, ARunningCallKeepsTheOldSeamAlive) {
    auto old = std::make_shared<fakes::RecordingWinHttp>();
    const std::weak_ptr<fakes::RecordingWinHttp> watched = old;
    Open();
    bool aliveInside = false;
    old->OnCall([&](const std::string&) {
        Install(winHttp);
        aliveInside = !watched.expired();
    });
    Install(old);
    old.reset();
    EXPECT_EQ(request->AddHeader(QM_W("A"), QM_W("1")), 0u);
    EXPECT_TRUE(aliveInside);
    EXPECT_TRUE(watched.expired());
}

TEST_F(SeamReplacementTest, TheFileSystemIsAskedForAnewAtEachCall) {
    Open();
    files->Put(QM_W("/f"), "hello");
    const auto old = files;
    files = std::make_shared<fakes::RecordingFileSystem>();
    old->OnCall([this](const std::string& call) {
        if (call.starts_with("ReadFile")) {
            Install(winHttp);
        }
    });
    EXPECT_EQ(request->SendMultipartFile("file", QM_W("/f"), QM_W("f"), 0, 5, nullptr, nullptr, nullptr, 0), 0u);
    EXPECT_EQ(old->Calls().back(), "ReadFile(f1, 5)");
    EXPECT_EQ(files->Calls(), Texts{"CloseHandle(f1)"});
}

}  // namespace
}  // namespace quillmark
