#include "ErrorText.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

TEST(ErrorTextTest, NamesTheNumberAtItsEnd) {
    EXPECT_EQ(ErrorText(21030), "another user or device has locked the item (21030)");
    EXPECT_EQ(ErrorText(20423), "another user or device has locked the item (20423)");
    EXPECT_EQ(ErrorText(21031), "the storage behind the folder is not reachable (21031)");
    EXPECT_EQ(ErrorText(21203), "the job is not ready yet (21203)");
    EXPECT_EQ(ErrorText(1341), "the server takes no statistics (1341)");
    EXPECT_EQ(ErrorText(21999), "the server refused with its error 1999 (21999)");
    EXPECT_EQ(ErrorText(4711), "the system reports an error (4711)");
}

TEST(ErrorTextTest, GivesEachKindItsExitCode) {
    const std::pair<DWORD, ExitCode> codes[] = {{0, ExitCode::Success},           {87, ExitCode::Usage},
                                                {145, ExitCode::Conflict},        {1006, ExitCode::LocalFile},
                                                {1113, ExitCode::LocalFile},      {1341, ExitCode::Usage},
                                                {12030, ExitCode::CannotConnect}, {20006, ExitCode::NotLoggedIn},
                                                {20404, ExitCode::NotFound},      {20423, ExitCode::Conflict},
                                                {20503, ExitCode::CannotConnect}, {21002, ExitCode::NotFound},
                                                {21030, ExitCode::Conflict},      {21031, ExitCode::CannotConnect},
                                                {21077, ExitCode::Conflict},      {21202, ExitCode::Conflict},
                                                {21203, ExitCode::Conflict},      {21040, ExitCode::InvalidReply},
                                                {4711, ExitCode::SomeFailed}};
    for (const auto& [error, exit] : codes) {
        EXPECT_EQ(ExitCodeFor(error, false), exit) << error;
    }
    EXPECT_EQ(ExitCodeFor(12030, true), ExitCode::Cancelled);
}

}  // namespace
}  // namespace quillmark::cli
