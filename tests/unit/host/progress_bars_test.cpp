// The lines of running transfers, exactly, by a clock of the test's own.
#include <gtest/gtest.h>

#include "terminal/ProgressBars.h"
#include "terminal/ProgressTexts.h"
#include "terminal/TextWidth.h"

namespace quillmark::cli {
namespace {

using std::chrono::milliseconds;
using Lines = std::vector<std::string>;

constexpr std::int64_t MiB = 1024 * 1024;

class ProgressBarsTest : public ::testing::Test {
protected:
    void Wait(int time) { m_now += milliseconds(time); }
    static TransferFile File(std::uint64_t id, const std::string& server, std::int64_t size) {
        TransferFile file;
        file.id = id;
        file.server = WidenUtf8(server);
        file.size = size;
        return file;
    }
    void Finish(const TransferFile& file, Outcome outcome) {
        TransferResult result;
        result.outcome = outcome;
        result.bytes = file.size;
        m_bars.Finished(file, result);
    }
    [[nodiscard]] Lines At(std::size_t columns, std::size_t rows = 24) const {
        Lines lines = m_bars.Lines({columns, rows});
        for (const std::string& line : lines) {
            EXPECT_LT(Columns(line), columns) << line;
        }
        return lines;
    }
    // 40 of 100 MiB in four seconds, and a file of 50 MiB still to come.
    void RunFourSeconds() {
        m_bars.Planned(2, 150 * MiB);
        m_bars.Started(File(1, "/Photos/img_0014.jpg", 100 * MiB));
        m_bars.Advanced(1, 0);
        Wait(4000);
        m_bars.Advanced(1, 40 * MiB);
    }

    TimePoint m_now = TimePoint() + std::chrono::hours(1);
    ProgressBars m_bars{[this] { return m_now; }};
};

TEST_F(ProgressBarsTest, ShowsNothingBeforeAnythingIsKnown) {
    EXPECT_EQ(Lines{}, At(80));
}

TEST_F(ProgressBarsTest, At80Columns) {
    RunFourSeconds();
    EXPECT_EQ((Lines{"/Photos/img_0014.jpg             [######...........]   40%  10.0 MiB/s     0:06",
                     "0/2 files, 40.0 MiB/150 MiB      [####.............]   26%  10.0 MiB/s     0:11"}),
              At(80));
}

TEST_F(ProgressBarsTest, At40ColumnsWithoutTheRate) {
    RunFourSeconds();
    EXPECT_EQ((Lines{"…/img_0014.jpg  [##....]   40%     0:06",  //
                     "0/2 files       [#.....]   26%     0:11"}),
              At(40));
}

TEST_F(ProgressBarsTest, At200Columns) {
    RunFourSeconds();
    EXPECT_EQ((Lines{"/Photos/img_0014.jpg" + std::string(101, ' ') +
                         "  [##################.............................]   40%  10.0 MiB/s     0:06",
                     "0 of 2 files, 40.0 MiB of 150 MiB" + std::string(88, ' ') +
                         "  [############...................................]   26%  10.0 MiB/s     0:11"}),
              At(200));
}

TEST_F(ProgressBarsTest, InVeryNarrowTerminalsNameAndPercentOnlyThenPercentOnly) {
    RunFourSeconds();
    EXPECT_EQ((Lines{"…img_0014.jpg   40%", "0/2 files       26%"}), At(20));
    EXPECT_EQ((Lines{"img_…jpg   40%", "0/2        26%"}), At(15));
    EXPECT_EQ((Lines{" 40%", " 26%"}), At(5));
    EXPECT_EQ((Lines{"", ""}), At(1));
}

TEST_F(ProgressBarsTest, WideLettersCountAsWide) {
    m_bars.Planned(1, 100);
    m_bars.Started(File(1, "/写真/旅行のアルバム2026年夏.jpg", 100));
    EXPECT_EQ("…真/旅行のアルバム2026年夏.jpg   [.................]    0%                 -:--", At(80)[0]);
    EXPECT_EQ("旅行の…夏.jpg   [......]    0%     -:--", At(40)[0]);
}

TEST_F(ProgressBarsTest, AnEmptyFileIsWhole) {
    m_bars.Planned(1, 0);
    m_bars.Started(File(1, "/empty", 0));
    EXPECT_EQ((Lines{"/empty                           [#################]  100%                 0:00",
                     "0 of 1 file, 0 B of 0 B          [.................]    0%                 -:--"}),
              At(80));
}

TEST_F(ProgressBarsTest, AFileOfUnknownSizeShowsWhatHasMoved) {
    m_bars.Planned(1, 0);
    m_bars.Started(File(1, "/log", -1));
    m_bars.Advanced(1, 0);
    Wait(3000);
    m_bars.Advanced(1, 3'000'000);
    EXPECT_EQ((Lines{"/log                                         2.8 MiB         976 KiB/s     -:--",
                     "0 of 1 file, 2.8 MiB                         2.8 MiB         976 KiB/s     -:--"}),
              At(80));
}

TEST_F(ProgressBarsTest, APartThatIsSentAgainSetsTheBarBackAndNotTheRate) {
    RunFourSeconds();
    m_bars.Advanced(1, 10 * MiB);
    EXPECT_EQ("…/img_0014.jpg  [......]   10%     0:09", At(40)[0]);
    Wait(1000);
    m_bars.Advanced(1, 20 * MiB);  // 50 MiB have moved in five seconds
    EXPECT_EQ("/Photos/img_0014.jpg             [###..............]   20%  10.0 MiB/s     0:08", At(80)[0]);
}

TEST_F(ProgressBarsTest, WhereATransferIsTakenUpCountsAsNoMovement) {
    m_bars.Planned(1, 100 * MiB);
    m_bars.Started(File(1, "/f", 100 * MiB));
    m_bars.Advanced(1, 90 * MiB);
    Wait(2000);
    m_bars.Advanced(1, 92 * MiB);
    EXPECT_EQ("/f                               [###############..]   92%   1.0 MiB/s     0:08", At(80)[0]);
}

TEST_F(ProgressBarsTest, AFileThatGrewIsNotOverWhole) {
    m_bars.Planned(1, 100);
    m_bars.Started(File(1, "/f", 100));
    m_bars.Advanced(1, 150);
    EXPECT_EQ((Lines{"/f              [######]  100%     0:00", "0/1 file        [######]  100%     0:00"}), At(40));
}

TEST_F(ProgressBarsTest, APauseIsCountedDownWithItsReason) {
    RunFourSeconds();
    m_bars.Retrying(1, "the connection was lost (12030)", 2, 5, milliseconds(3000));
    EXPECT_EQ("…os/img_0014.jpg  the connection was lost (12030), trying again in 3 s (2 of 5)", At(80)[0]);
    EXPECT_EQ("…/img_0014.jpg  again in 3 s (2/5)", At(40)[0]);
    Wait(1500);
    EXPECT_EQ("…os/img_0014.jpg  the connection was lost (12030), trying again in 2 s (2 of 5)", At(80)[0]);
    Wait(1500);
    EXPECT_EQ("/Photos/img_0014.jpg     the connection was lost (12030), trying again (2 of 5)", At(80)[0]);
    m_bars.Advanced(1, 40 * MiB);
    EXPECT_EQ("…/img_0014.jpg  [##....]   40%", At(40)[0].substr(0, 32));
}

TEST_F(ProgressBarsTest, FilesThatAreOverCountInTheTotal) {
    m_bars.Planned(4, 400);
    for (std::uint64_t id = 1; id <= 4; ++id) {
        m_bars.Started(File(id, "/f" + std::to_string(id), 100));
    }
    Finish(File(1, "/f1", 100), Outcome::Done);
    Finish(File(3, "/f3", 100), Outcome::Failed);
    Finish(File(9, "/same", 1000), Outcome::Skipped);
    EXPECT_EQ((Lines{"/f2             [......]    0%     -:--",  //
                     "/f4             [......]    0%     -:--",  //
                     "2/4 files       [###...]   50%     -:--"}),
              At(40));
    Finish(File(2, "/f2", 100), Outcome::Done);
    Finish(File(4, "/f4", 100), Outcome::Done);
    EXPECT_EQ((Lines{"4/4 files       [######]  100%     0:00"}), At(40));
}

TEST_F(ProgressBarsTest, OfAHundredTransfersAsManyAreShownAsFit) {
    m_bars.Planned(100, 100 * 100);
    for (std::uint64_t id = 1; id <= 100; ++id) {
        m_bars.Started(File(id, "/f" + std::to_string(id), 100));
    }
    const Lines lines = At(40, 24);
    ASSERT_EQ(23u, lines.size());
    EXPECT_EQ("/f1             [......]    0%     -:--", lines[0]);
    EXPECT_EQ("/f21            [......]    0%     -:--", lines[20]);
    EXPECT_EQ("and 79 more", lines[21]);
    EXPECT_EQ("0/100 files     [......]    0%     -:--", lines[22]);
    EXPECT_EQ(101u, At(40, 102).size());
    EXPECT_EQ((Lines{"and 100 more", "0/100 files     [......]    0%     -:--"}), At(40, 3));
    EXPECT_EQ((Lines{"0/100 files     [......]    0%     -:--"}), At(40, 2));
    EXPECT_EQ(Lines{}, At(40, 1)) << "the cursor's row is the only one";
}

TEST_F(ProgressBarsTest, WhatIsToldOfAFileThatNeverStartedIsNoMatter) {
    m_bars.Advanced(7, 100);
    m_bars.Retrying(7, "x", 1, 5, milliseconds(1));
    Finish(File(7, "/f", 100), Outcome::Deleted);
    EXPECT_EQ(Lines{}, At(80));
}

TEST(ProgressTextsTest, AmountsTakeEightColumnsAtMost) {
    EXPECT_EQ("0 B", AmountText(0));
    EXPECT_EQ("1023 B", AmountText(1023));
    EXPECT_EQ("1.0 KiB", AmountText(1024));
    EXPECT_EQ("99.9 KiB", AmountText(102'399));
    EXPECT_EQ("100 KiB", AmountText(102'400));
    EXPECT_EQ("1023 KiB", AmountText(1'048'575));
    EXPECT_EQ("1.0 MiB", AmountText(1'048'576));
    EXPECT_EQ("2.0 GiB", AmountText(2'147'483'648));
    EXPECT_EQ("15.6 EiB", AmountText(18'000'000'000'000'000'000U));
}

TEST(ProgressTextsTest, DurationsTakeSevenColumnsAtMost) {
    EXPECT_EQ("0:00", DurationText(0));
    EXPECT_EQ("0:01", DurationText(0.2));
    EXPECT_EQ("0:12", DurationText(12));
    EXPECT_EQ("1:00", DurationText(59.5));
    EXPECT_EQ("59:59", DurationText(3599));
    EXPECT_EQ("1:02:03", DurationText(3723));
    EXPECT_EQ("10 h", DurationText(36'000));
    EXPECT_EQ("99 h", DurationText(359'999));
    EXPECT_EQ("4 d", DurationText(360'000));
    EXPECT_EQ("-:--", DurationText(std::nullopt));
    EXPECT_EQ("-:--", DurationText(86'400'000.0));
}

}  // namespace
}  // namespace quillmark::cli
