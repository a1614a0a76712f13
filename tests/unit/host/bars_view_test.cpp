// Bars on a screen of the test's own.
#include <gtest/gtest.h>

#include <mutex>

#include "Output.h"
#include "support/ScreenModel.h"
#include "terminal/BarsView.h"

namespace quillmark::cli {
namespace {

using testing::ScreenModel;
using Rows = std::vector<std::string>;
using std::chrono::steady_clock;

class BarsViewTest : public ::testing::Test {
protected:
    BarsView::Screen Screen() {
        return {[] {
                    return TerminalSize{40, 10};
                },
                [this](const std::string& text) {
                    const std::lock_guard lock(m_mutex);
                    m_screen.Write(text);
                    ++m_frames;
                },
                steady_clock::now};
    }
    Rows Shown() {
        const std::lock_guard lock(m_mutex);
        return m_screen.AllRows();
    }
    int Frames() {
        const std::lock_guard lock(m_mutex);
        return m_frames;
    }
    // Waits until so many rows are shown.
    void AwaitRows(std::size_t count) {
        const auto limit = steady_clock::now() + std::chrono::minutes(1);
        while (Shown().size() < count && steady_clock::now() < limit) {
            std::this_thread::yield();
        }
    }
    static TransferFile File() {
        TransferFile file;
        file.id = 1;
        file.local = QM_W("/home/f");
        file.server = QM_W("/f");
        file.size = 100;
        return file;
    }
    static TransferSummary Summary() {
        TransferSummary summary;
        summary.files = 1;
        summary.bytes = 100;
        summary.time = std::chrono::milliseconds(1540);
        return summary;
    }
    static constexpr const char* SummaryLine = "1 file, 0 folders, 100 bytes, 0 skipped, 0 failed in 1.5 s";

    std::mutex m_mutex;
    ScreenModel m_screen{40, 10};
    int m_frames = 0;
};

TEST_F(BarsViewTest, BarsAreGoneAtTheEnd) {
    BarsView view(Screen(), false);
    view.Planned(1, 100);
    view.Started(File());
    view.Advanced(1, 50);
    AwaitRows(2);
    EXPECT_EQ((Rows{"/f              [###...]   50%     -:--", "0/1 file        [###...]   50%     -:--"}), Shown());
    view.Finished(File(), {});
    view.Ended(Summary());
    EXPECT_EQ((Rows{"1 file, 0 folders, 100 bytes, 0 skipped,", " 0 failed in 1.5 s"}), Shown());
}

TEST_F(BarsViewTest, WhatIsSaidMeanwhileStandsAbove) {
    BarsView view(Screen(), false);
    view.Planned(1, 100);
    view.Started(File());
    AwaitRows(2);
    PrintError("from elsewhere");
    view.Note("a note");
    TransferResult failed;
    failed.outcome = Outcome::Failed;
    failed.why = "no room (112)";
    failed.nextStep = "Make room.";
    TransferFile other = File();
    other.id = 2;
    view.Finished(other, failed);
    AwaitRows(6);
    EXPECT_EQ((Rows{"from elsewhere", "a note", "failed: /home/f to /f: no room (112)", "        Make room.",
                    "/f              [......]    0%     -:--", "1/2 files       [######]  100%     0:00"}),
              Shown());
    view.Ended({});
    const Rows rows = Shown();
    EXPECT_EQ((Rows{"from elsewhere", "a note", "failed: /home/f to /f: no room (112)", "        Make room."}),
              Rows(rows.begin(), rows.begin() + 4));
}

TEST_F(BarsViewTest, WhatIsSaidAfterwardsGoesToStandardErrorAgain) {
    BarsView view(Screen(), false);
    view.Ended(Summary());
    ::testing::internal::CaptureStderr();
    PrintError("after the end");
    EXPECT_EQ("after the end\n", ::testing::internal::GetCapturedStderr());
    EXPECT_EQ(2u, Shown().size());
}

TEST_F(BarsViewTest, AViewThatIsNotToldTheEndLeavesNoBars) {
    {
        BarsView view(Screen(), false);
        view.Planned(1, 100);
        view.Started(File());
        AwaitRows(2);
    }
    EXPECT_EQ(Rows{}, Shown());
}

TEST_F(BarsViewTest, DrawsTenTimesASecondAtMost) {
    BarsView view(Screen(), false);
    view.Planned(1, 100'000'000);
    TransferFile file = File();
    file.size = 100'000'000;
    view.Started(file);
    const auto begin = steady_clock::now();
    for (std::int64_t bytes = 0; steady_clock::now() - begin < std::chrono::milliseconds(550); ++bytes) {
        view.Advanced(1, bytes);
    }
    view.Ended(Summary());
    const auto passed = steady_clock::now() - begin;
    EXPECT_GE(Frames(), 2);
    EXPECT_LE(Frames(), passed / BarsView::FrameTime + 2);
}

TEST_F(BarsViewTest, NamesGoToStandardOutputWhereThatIsNoTerminal) {
    ::testing::internal::CaptureStdout();
    {
        BarsView view(Screen(), true);
        view.Started(File());
        view.Finished(File(), {});
        view.Ended(Summary());
    }
    EXPECT_EQ("/f\n", ::testing::internal::GetCapturedStdout());
}

}  // namespace
}  // namespace quillmark::cli
