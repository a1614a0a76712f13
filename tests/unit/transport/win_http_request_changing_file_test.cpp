// Uploads of a file that changes between its measuring and its end: none may be taken for complete.
//
// Servers accept a body that is three bytes shorter than announced, no other length.
#include "TransportTest.h"

namespace quillmark {
namespace {

constexpr const WideChar* Path = QM_W("/data/f");

class WinHttpRequestChangingFileTest : public TransportTest {
protected:
    void SetUp() override {
        Open({}, QM_W("POST"));
        files->Put(Path, std::string(20000, 'x'));
    }

    DWORD SendWhole(std::uint64_t* sizeOut = nullptr) {
        return request->SendMultipartFile("file", Path, QM_W("f"), nullptr, sizeOut, nullptr, 0);
    }

    // What an upload announces after its measuring.
    std::uint64_t Measure() {
        std::uint64_t part = 0;
        EXPECT_EQ(SendWhole(&part), 0u);
        return part + request->GetMultipartEndLength();
    }

    // Sends the rest of the body behind the file part and tells how many of the announced bytes are owed.
    std::uint64_t Finish(std::uint64_t announced) {
        request->EndMultipart();
        EXPECT_EQ(request->SendPostData(), 0u);
        return announced - winHttp->Body().size();
    }

    // Changes the file once, when the given call comes.
    void ChangeAt(const std::string& start, std::size_t size) {
        files->OnCall([this, start, size](const std::string& call) {
            if (call.starts_with(start)) {
                files->Put(Path, std::string(size, 'y'));
            }
        });
    }
};

TEST_F(WinHttpRequestChangingFileTest, AFileThatStaysIsOwedThreeBytes) {
    const std::uint64_t announced = Measure();
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(Finish(announced), 3u);
}

TEST_F(WinHttpRequestChangingFileTest, AFileThatShrankAfterItsMeasuringLeavesTheBodyShort) {
    const std::uint64_t announced = Measure();
    files->Put(Path, std::string(19999, 'x'));
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(Finish(announced), 4u);
}

TEST_F(WinHttpRequestChangingFileTest, AFileThatShrinksWhileItIsReadLeavesTheBodyShort) {
    const std::uint64_t announced = Measure();
    ChangeAt("ReadFile(f4, 3616)", 16390);
    EXPECT_EQ(SendWhole(), 0u);
    EXPECT_EQ(Finish(announced), 3613u);
    EXPECT_EQ(log.Texts(103), Texts{});
}

TEST_F(WinHttpRequestChangingFileTest, AFileThatGrewAfterItsMeasuringIsNotSent) {
    const std::uint64_t announced = Measure();
    // By one byte, which the three owed bytes would hide.
    files->Put(Path, std::string(20001, 'x'));
    EXPECT_EQ(SendWhole(), 1006u);
    EXPECT_GT(announced - winHttp->Body().size(), 20000u);
    EXPECT_TRUE(LoggedError("WinHttpRequest::SendMultipartFile",
                            "The file [/data/f] has grown since it was measured, error code: 1006"));
}

TEST_F(WinHttpRequestChangingFileTest, AFileThatGrowsBetweenItsSizeAndItsBytesIsNotSentWhole) {
    static_cast<void>(Measure());
    // The whole-file form takes the size with one handle and opens the file again for the bytes.
    ChangeAt("CloseHandle(f3)", 20001);
    EXPECT_EQ(SendWhole(), 1006u);
}

TEST_F(WinHttpRequestChangingFileTest, AFileThatGrowsWhileItIsReadIsAnError) {
    static_cast<void>(Measure());
    ChangeAt("ReadFile(f4, 3616)", 20001);
    EXPECT_EQ(SendWhole(), 1006u);
    EXPECT_EQ(log.Texts(103), Texts{"The file [/data/f] has grown since it was measured, error code: 1006"});
}

TEST_F(WinHttpRequestChangingFileTest, ARangeMayBeFollowedByNewBytes) {
    std::uint64_t part = 0;
    ASSERT_EQ(request->SendMultipartFile("file", Path, QM_W("f"), 0, 16384, nullptr, &part, nullptr, 0), 0u);
    files->Put(Path, std::string(30000, 'x'));
    EXPECT_EQ(request->SendMultipartFile("file", Path, QM_W("f"), 0, 16384, nullptr, nullptr, nullptr, 0), 0u);
}

TEST_F(WinHttpRequestChangingFileTest, ARangeThatWasCutAtItsMeasuringMayNotGrow) {
    std::uint64_t part = 0;
    ASSERT_EQ(request->SendMultipartFile("file", Path, QM_W("f"), 16384, 16384, nullptr, &part, nullptr, 0), 0u);
    files->Put(Path, std::string(20001, 'x'));
    EXPECT_EQ(request->SendMultipartFile("file", Path, QM_W("f"), 16384, 16384, nullptr, nullptr, nullptr, 0), 1006u);
}

}  // namespace
}  // namespace quillmark
