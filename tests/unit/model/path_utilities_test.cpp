#include "model/PathUtilities.h"

#include <gtest/gtest.h>

#include <utility>

#include "fakes/RecordingEventing.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;
using PathUtilities::NormalizePath;

TEST(NormalizePath, ADrivePathGainsThePrefixOnce) {
    const RecordedLog log;
    const WideString extended = NormalizePath(QM_W("C:\\Users\\ann"));
    EXPECT_EQ(extended, QM_W("\\\\?\\C:\\Users\\ann"));
    EXPECT_EQ(NormalizePath(extended), extended);
    EXPECT_EQ(NormalizePath(QM_W("z:")), QM_W("\\\\?\\z:"));
    EXPECT_TRUE(log.Records().empty());
}

TEST(NormalizePath, AUncPathKeepsOneBackslashBeforeTheServer) {
    const RecordedLog log;
    EXPECT_EQ(NormalizePath(QM_W("\\\\server\\share\\a")), QM_W("\\\\?\\UNC\\server\\share\\a"));
    EXPECT_EQ(NormalizePath(QM_W("\\\\")), QM_W("\\\\?\\UNC\\"));
    EXPECT_TRUE(log.Records().empty());
}

TEST(NormalizePath, AnExtendedPathIsReturnedAsItIs) {
    EXPECT_EQ(NormalizePath(QM_W("\\\\?\\C:\\a??b")), QM_W("\\\\?\\C:\\a??b"));
    EXPECT_EQ(NormalizePath(QM_W("\\\\?\\UNC\\s\\a")), QM_W("\\\\?\\UNC\\s\\a"));
}

TEST(NormalizePath, AnObjectPathHasAllItsQuestionMarksReplaced) {
    EXPECT_EQ(NormalizePath(QM_W("\\??\\C:\\a")), QM_W("\\\\?\\C:\\a"));
    EXPECT_EQ(NormalizePath(QM_W("\\??\\C:\\a??b")), QM_W("\\\\?\\C:\\a\\?b"));
    EXPECT_EQ(NormalizePath(QM_W("\\??\\")), QM_W("\\\\?\\"));
}

TEST(NormalizePath, QuestionMarksAreReplacedFromLeftToRightWithoutOverlap) {
    EXPECT_EQ(NormalizePath(QM_W("\\??\\????")), QM_W("\\\\?\\\\?\\?"));
    EXPECT_EQ(NormalizePath(QM_W("\\??\\???")), QM_W("\\\\?\\\\??"));
}

TEST(NormalizePath, TheCallersTextStaysAsItIs) {
    const WideString path = QM_W("\\??\\C:\\a");
    EXPECT_NE(NormalizePath(path), path);
    EXPECT_EQ(path, QM_W("\\??\\C:\\a"));
}

TEST(NormalizePath, AnyOtherFormIsReturnedAsItIsAndLogged) {
    const std::pair<WideString, const char*> paths[] = {
        {QM_W("dir\\file"), "Unknown path format [dir\\file]"},
        {QM_W("/Home"), "Unknown path format [/Home]"},
        {QM_W("\\a"), "Unknown path format [\\a]"},
        {QM_W("\\?"), "Unknown path format [\\?]"},
        {QM_W("B\u00FCro\\a"), "Unknown path format [B\xC3\xBCro\\a]"},
    };
    for (const auto& [path, text] : paths) {
        const RecordedLog log;
        EXPECT_EQ(NormalizePath(path), path);
        EXPECT_EQ(log.Records().size(), 1u);
        EXPECT_TRUE(log.Has(103, "PathUtilities", "PathUtilities::NormalizePath", text)) << text;
    }
}

TEST(NormalizePath, APathShorterThanTwoCharactersIsReturnedAsItIs) {
    const RecordedLog log;
    EXPECT_EQ(NormalizePath(QM_W("")), QM_W(""));
    EXPECT_EQ(NormalizePath(QM_W("a")), QM_W("a"));
    EXPECT_TRUE(log.Records().empty());
}

}  // namespace
}  // namespace quillmark
