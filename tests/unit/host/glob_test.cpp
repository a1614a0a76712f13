#include "Glob.h"

#include <gtest/gtest.h>

namespace quillmark::cli {
namespace {

TEST(Glob, WithoutMarksMeansTheNameItself) {
    EXPECT_TRUE(GlobMatches(QM_W("a.txt"), QM_W("a.txt")));
    EXPECT_FALSE(GlobMatches(QM_W("a.txt"), QM_W("A.txt")));
    EXPECT_FALSE(GlobMatches(QM_W("a.txt"), QM_W("a.tx")));
    EXPECT_FALSE(GlobMatches(QM_W("a.tx"), QM_W("a.txt")));
    EXPECT_TRUE(GlobMatches(QM_W(""), QM_W("")));
    EXPECT_FALSE(GlobMatches(QM_W(""), QM_W("a")));
}

TEST(Glob, StarIsAnyText) {
    EXPECT_TRUE(GlobMatches(QM_W("*"), QM_W("")));
    EXPECT_TRUE(GlobMatches(QM_W("*"), QM_W("anything")));
    EXPECT_TRUE(GlobMatches(QM_W("*.pdf"), QM_W(".pdf")));
    EXPECT_TRUE(GlobMatches(QM_W("*.pdf"), QM_W("a.pdf.pdf")));
    EXPECT_FALSE(GlobMatches(QM_W("*.pdf"), QM_W("a.pdf.")));
    EXPECT_TRUE(GlobMatches(QM_W("a*b*c"), QM_W("aXbXbYc")));
    EXPECT_FALSE(GlobMatches(QM_W("a*b*c"), QM_W("acb")));
    EXPECT_TRUE(GlobMatches(QM_W("**a**"), QM_W("a")));
}

TEST(Glob, ManyStarsTakeNoLongTime) {
    EXPECT_FALSE(
        GlobMatches(QM_W("*a*a*a*a*a*a*a*a*a*a*a*a*b"), WideString(std::basic_string<WideChar>(5000, QM_W('a')))));
}

TEST(Glob, QuestionMarkIsOneCharacter) {
    EXPECT_TRUE(GlobMatches(QM_W("a?c"), QM_W("abc")));
    EXPECT_FALSE(GlobMatches(QM_W("a?c"), QM_W("ac")));
    EXPECT_TRUE(GlobMatches(QM_W("?"), QM_W("\u6587")));
    EXPECT_TRUE(GlobMatches(QM_W("?"), QM_W("\U0001F680"))) << "a pair of surrogates is one character";
    EXPECT_FALSE(GlobMatches(QM_W("??"), QM_W("\U0001F680")));
}

TEST(Glob, BracketsAreOneOutOfASet) {
    EXPECT_TRUE(GlobMatches(QM_W("[abc]x"), QM_W("bx")));
    EXPECT_FALSE(GlobMatches(QM_W("[abc]x"), QM_W("dx")));
    EXPECT_TRUE(GlobMatches(QM_W("[a-c0-9]"), QM_W("7")));
    EXPECT_FALSE(GlobMatches(QM_W("[a-c0-9]"), QM_W("d")));
    EXPECT_TRUE(GlobMatches(QM_W("[!a-c]"), QM_W("d")));
    EXPECT_TRUE(GlobMatches(QM_W("[^a-c]"), QM_W("d")));
    EXPECT_FALSE(GlobMatches(QM_W("[!a-c]"), QM_W("b")));
    EXPECT_TRUE(GlobMatches(QM_W("[]]"), QM_W("]")));
    EXPECT_TRUE(GlobMatches(QM_W("[a-]"), QM_W("-")));
    EXPECT_FALSE(GlobMatches(QM_W("[a]"), QM_W("")));
}

TEST(Glob, BracketThatIsNotClosedIsItself) {
    EXPECT_TRUE(GlobMatches(QM_W("[a"), QM_W("[a")));
    EXPECT_FALSE(GlobMatches(QM_W("[a"), QM_W("a")));
}

TEST(Glob, BackslashTakesTheMeaningAway) {
    EXPECT_TRUE(GlobMatches(QM_W("a\\*"), QM_W("a*")));
    EXPECT_FALSE(GlobMatches(QM_W("a\\*"), QM_W("ab")));
    EXPECT_TRUE(GlobMatches(QM_W("\\[a]"), QM_W("[a]")));
    EXPECT_TRUE(GlobMatches(QM_W("a\\"), QM_W("a\\")));
    EXPECT_TRUE(GlobMatches(QM_W("[\\]x]"), QM_W("]")));
    EXPECT_TRUE(GlobMatches(QM_W("[a\\-c]"), QM_W("-")));
    EXPECT_FALSE(GlobMatches(QM_W("[a\\-c]"), QM_W("b")));
}

}  // namespace
}  // namespace quillmark::cli
