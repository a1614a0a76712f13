// What the views without a terminal print.
#include <gtest/gtest.h>

#include "terminal/JsonView.h"
#include "terminal/LinesView.h"
#include "terminal/TransferTexts.h"

namespace quillmark::cli {
namespace {

TransferFile Up() {
    TransferFile file;
    file.id = 1;
    file.local = QM_W("/home/anna/f");
    file.server = QM_W("/Shared/f");
    file.size = 5;
    return file;
}

TransferFile Down() {
    TransferFile file = Up();
    file.id = 2;
    file.direction = Direction::Down;
    return file;
}

TransferResult Result(Outcome outcome, const std::string& why = "", DWORD error = 0) {
    TransferResult result;
    result.outcome = outcome;
    result.why = why;
    result.error = error;
    return result;
}

TransferSummary Summary() {
    TransferSummary summary;
    summary.files = 2;
    summary.folders = 1;
    summary.bytes = 4096;
    summary.time = std::chrono::milliseconds(1599);
    return summary;
}

struct Printed {
    std::string output;
    std::string errors;
};

template <typename Telling>
Printed Capture(const Telling& tell) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    tell();
    Printed printed;
    printed.output = ::testing::internal::GetCapturedStdout();
    printed.errors = ::testing::internal::GetCapturedStderr();
    return printed;
}

// One of everything.
void TellAll(TransferObserver& view) {
    view.Planned(4, 20);
    view.Started(Up());
    view.Advanced(1, 3);
    view.Retrying(1, "the connection was lost (12030)", 2, 5, std::chrono::milliseconds(2500));
    TransferResult done = Result(Outcome::Done);
    done.bytes = 5;
    done.revision = "7";
    view.Finished(Up(), done);
    TransferResult failed = Result(Outcome::Failed, "no room (112)", 112);
    failed.nextStep = "Make room.";
    view.Finished(Down(), failed);
    view.Finished(Up(), Result(Outcome::Skipped, "a link to a folder"));
    view.Finished(Up(), Result(Outcome::Skipped));
    view.Finished(Up(), Result(Outcome::Deleted));
    view.Note("a note");
    view.Ended(Summary());
}

TEST(LinesViewTest, NamesWhatIsDoneAndSaysTheRestOnStandardError) {
    const Printed printed = Capture([] {
        LinesView view(true);
        TellAll(view);
    });
    EXPECT_EQ("/Shared/f\ndeleted: /Shared/f\n", printed.output);
    EXPECT_EQ(
        "/Shared/f: the connection was lost (12030), trying again in 3 s (2 of 5)\n"
        "failed: /Shared/f to /home/anna/f: no room (112)\n"
        "        Make room.\n"
        "skipped, a link to a folder: /home/anna/f\n"
        "a note\n"
        "2 files, 1 folder, 4096 bytes, 0 skipped, 0 failed in 1.5 s\n",
        printed.errors);
}

TEST(LinesViewTest, QuietItNamesOnlyWhatFailedOrWasLeftOut) {
    const Printed printed = Capture([] {
        LinesView view(false);
        TellAll(view);
    });
    EXPECT_EQ("", printed.output);
    EXPECT_EQ(
        "failed: /Shared/f to /home/anna/f: no room (112)\n"
        "        Make room.\n"
        "skipped, a link to a folder: /home/anna/f\n"
        "a note\n"
        "2 files, 1 folder, 4096 bytes, 0 skipped, 0 failed in 1.5 s\n",
        printed.errors);
}

TEST(LinesViewTest, SaysNothingOfWhatTheUserInterrupted) {
    const Printed printed = Capture([] {
        LinesView view(true);
        view.Finished(Up(), Result(Outcome::Failed, "", 1223));
    });
    EXPECT_EQ("", printed.output + printed.errors);
}

TEST(JsonViewTest, PrintsAnObjectForEachResultAndForTheSummary) {
    const Printed printed = Capture([] {
        JsonView view;
        TellAll(view);
    });
    const std::string up = R"("direction":"up","method":"whole","local":"/home/anna/f","server":"/Shared/f")";
    const std::vector<std::string> lines = {
        R"({"type":"file","outcome":"done",)" + up + R"(,"bytes":5,"revision":"7"})",
        R"({"type":"file","outcome":"failed","direction":"down","method":"whole","local":"/home/anna/f",)"
        R"json("server":"/Shared/f","bytes":0,"error":112,"why":"no room (112)","next":"Make room."})json",
        R"({"type":"file","outcome":"skipped",)" + up + R"(,"bytes":0,"why":"a link to a folder"})",
        R"({"type":"file","outcome":"skipped",)" + up + R"(,"bytes":0})",
        R"({"type":"file","outcome":"deleted",)" + up + R"(,"bytes":0})",
        R"({"type":"summary","files":2,"folders":1,"bytes":4096,"skipped":0,"deleted":0,"failed":0,)"
        R"("milliseconds":1599,"cancelled":false})"};
    std::string expected;
    for (const std::string& line : lines) {
        expected += line + "\n";
    }
    EXPECT_EQ(expected, printed.output);
    EXPECT_EQ(
        "/Shared/f: the connection was lost (12030), trying again in 3 s (2 of 5)\n"
        "failed: /Shared/f to /home/anna/f: no room (112)\n"
        "        Make room.\n"
        "skipped, a link to a folder: /home/anna/f\n"
        "a note\n"
        "2 files, 1 folder, 4096 bytes, 0 skipped, 0 failed in 1.5 s\n",
        printed.errors);
}

TEST(TransferTextsTest, TheSummaryNamesDeletionsOnlyWhenThereAreAny) {
    TransferSummary summary;
    EXPECT_EQ("0 files, 0 folders, 0 bytes, 0 skipped, 0 failed in 0.0 s", SummaryText(summary));
    summary.files = summary.folders = summary.bytes = summary.skipped = summary.deleted = summary.failed = 1;
    summary.time = std::chrono::minutes(2);
    summary.cancelled = true;
    EXPECT_EQ("1 file, 1 folder, 1 byte, 1 skipped, 1 deleted, 1 failed in 120.0 s, cancelled", SummaryText(summary));
}

TEST(TransferTextsTest, AFailureNamesTheSideThatItHas) {
    TransferFile folder = Up();
    folder.local = WideString();
    EXPECT_EQ("failed: /Shared/f: x", OutcomeText(folder, Result(Outcome::Failed, "x")));
    folder.direction = Direction::Down;
    EXPECT_EQ("failed: /Shared/f: x", OutcomeText(folder, Result(Outcome::Failed, "x")));
    EXPECT_EQ("failed: /home/anna/f to /Shared/f: x", OutcomeText(Up(), Result(Outcome::Failed, "x")));
}

}  // namespace
}  // namespace quillmark::cli
