#include "Trace.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

const std::string Token = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

TEST(PathForTraceTest, ShowsPathsAndTheQueriesThatTheLibrarySends) {
    for (const std::string path :
         {"/endpoints", "/api/1.7/init", "/api/1.7/sessions", "/api/devices",
          "/api/1.7/folders/a%20b/notifs/x?type=all", "/api/1.7/folders/api/x", "/api/1.7/folders/f?revision=17",
          "/api/1.7/folders?includeAll=true&timeout=5",
          "/api/1.7/asdelta/status?jobId=0F8FAD5B-D9CB-469F-A165-70867728950E", "/api/1.7/notifs",
          "/api/1.7/resume/upload/f?resume_id=0F8FAD5B-D9CB-469F-A165-70867728950E", "/api/1.7/locking/f"}) {
        EXPECT_EQ(PathForTrace(path, {}), path);
    }
}

TEST(PathForTraceTest, HidesTheTokenInThePathsOfApi10BeforeItIsKnown) {
    EXPECT_EQ(PathForTrace("/api/" + Token + "/folders/f?type=all", {}), "/api/***/folders/f?type=all");
    EXPECT_EQ(PathForTrace("/api/1.0/notifs/" + Token, {}), "/api/1.0/notifs/***");
    EXPECT_EQ(PathForTrace("/api/short/share", {}), "/api/***/share");
}

TEST(PathForTraceTest, HidesKnownTokensWhereverTheyStand) {
    EXPECT_EQ(PathForTrace("/own/" + Token + "/folders/x" + Token + "?revision=" + Token, {Token}),
              "/own/***/folders/x***?revision=***");
    EXPECT_EQ(PathForTrace("/a/one/two", {"one", "two"}), "/a/***/***");
}

TEST(PathForTraceTest, ShowsNoValueOfAQueryThatItDoesNotKnow) {
    EXPECT_EQ(PathForTrace("/x?session_token=abc&password=p&type=all", {}),
              "/x?session_token=***&password=***&type=all");
    EXPECT_EQ(PathForTrace("/x?abcdef", {}), "/x?***");
    EXPECT_EQ(PathForTrace("/x?", {}), "/x?***");
}

TEST(PathForTraceTest, ShowsNothingThatSteersATerminal) {
    EXPECT_EQ(PathForTrace("/a\x1b[2Jb\n", {}), "/a?[2Jb?");
}

}  // namespace
}  // namespace quillmark::cli
