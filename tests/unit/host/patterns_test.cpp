#include "transfer/Patterns.h"

#include <gtest/gtest.h>

#include "ErrorText.h"

namespace quillmark::cli {
namespace {

struct Case {
    const char* pattern;
    const char* path;
    bool folder;
    bool excluded;
};

constexpr bool File = false;
constexpr bool Folder = true;

void Check(const Case& tested) {
    const ExcludePatterns patterns({tested.pattern});
    EXPECT_EQ(patterns.Excludes(WidenUtf8(tested.path), tested.folder), tested.excluded)
        << "'" << tested.pattern << "' and '" << tested.path << "'" << (tested.folder ? ", a folder" : "");
}

TEST(ExcludePatternsTest, ANameIsMeantAtAnyDepth) {
    for (const Case& tested : {Case{"*.tmp", "a.tmp", File, true}, Case{"*.tmp", "deep/in/it/a.tmp", File, true},
                               Case{"*.tmp", "a.tmp.txt", File, false}, Case{"*.tmp", ".tmp", File, true},
                               Case{"*.tmp", "folder.tmp", Folder, true}, Case{"name", "name", File, true},
                               Case{"name", "x/name", File, true}, Case{"name", "names", File, false},
                               Case{"name", "x/aname", File, false}, Case{"name", "name/x", File, false}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, ASlashAtTheEndMeansFolders) {
    for (const Case& tested : {Case{"build/", "build", Folder, true}, Case{"build/", "build", File, false},
                               Case{"build/", "a/b/build", Folder, true}, Case{"/build/", "a/build", Folder, false},
                               Case{"/build/", "build", Folder, true}, Case{"build//", "build", Folder, true}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, ASlashBeforeTheEndMeansFromTheTop) {
    for (const Case& tested :
         {Case{"/top", "top", File, true}, Case{"/top", "a/top", File, false}, Case{"a/b", "a/b", File, true},
          Case{"a/b", "x/a/b", File, false}, Case{"/a/*.c", "a/x.c", File, true},
          Case{"/a/*.c", "a/b/x.c", File, false}, Case{"*/x", "a/x", File, true}, Case{"*/x", "x", File, false},
          Case{"*/x", "a/b/x", File, false}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, TwoStarsAreAnyDepth) {
    for (const Case& tested :
         {Case{"**/b", "b", File, true}, Case{"**/b", "a/b", File, true}, Case{"**/b", "a/c/b", File, true},
          Case{"**/b", "a/cb", File, false}, Case{"a/**/b", "a/b", File, true}, Case{"a/**/b", "a/x/y/b", File, true},
          Case{"a/**/b", "x/a/b", File, false}, Case{"a/**", "a", Folder, false}, Case{"a/**", "a/x", File, true},
          Case{"a/**", "a/x/y", File, true}, Case{"**", "x", File, true},
          Case{"**/a/**/b/*.c", "1/a/2/3/b/x.c", File, true}, Case{"**/a/**/b/*.c", "1/a/2/3/b/y/x.c", File, false}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, StarsStayWithinAName) {
    for (const Case& tested : {Case{"/*", "a", File, true}, Case{"/*", "a/b", File, false},
                               Case{"a*b*c", "a1b2c", File, true}, Case{"a*b*c", "abc", File, true},
                               Case{"a*b*c", "acb", File, false}, Case{"*a*a*a*b", "aaaaaaaaaaaaaaaa", File, false},
                               Case{"*", "anything", File, true}, Case{"a**b", "axyzb", File, true}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, QuestionMarksAndSetsAreOneCharacter) {
    for (const Case& tested :
         {Case{"?", "a", File, true}, Case{"?", "ab", File, false}, Case{"?", "\xF0\x9F\x9A\x80", File, true},
          Case{"[a-c]x", "bx", File, true}, Case{"[a-c]x", "dx", File, false}, Case{"[!a-c]x", "dx", File, true},
          Case{"[!a-c]x", "ax", File, false}, Case{"[^a]", "b", File, true}, Case{"[]]", "]", File, true},
          Case{"[a-]", "-", File, true}, Case{"[abc", "[abc", File, true}, Case{"[\\]a]", "]", File, true},
          Case{"[\xC3\xA4-\xC3\xBC]", "\xC3\xB6", File, true},
          Case{"\xF0\x9F\x9A\x80*", "\xF0\x9F\x9A\x80z", File, true}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, ABackslashTakesTheMeaning) {
    for (const Case& tested :
         {Case{"\\*", "*", File, true}, Case{"\\*", "x", File, false}, Case{"\\?x", "?x", File, true},
          Case{"\\[a]", "[a]", File, true}, Case{"\\!a", "!a", File, true}, Case{"a\\\\b", "a\\b", File, true}}) {
        Check(tested);
    }
}

TEST(ExcludePatternsTest, LetterCaseCounts) {
    Check({"*.TMP", "a.tmp", File, false});
}

TEST(ExcludePatternsTest, EachOfSeveralCounts) {
    const ExcludePatterns patterns({"*.o", "/out/"});
    EXPECT_TRUE(patterns.Excludes(QM_W("a/b.o"), false));
    EXPECT_TRUE(patterns.Excludes(QM_W("out"), true));
    EXPECT_FALSE(patterns.Excludes(QM_W("a/out"), true));
    EXPECT_FALSE(ExcludePatterns().Excludes(QM_W("a"), false));
}

TEST(ExcludePatternsTest, RefusesWhatIsNoPattern) {
    for (const char* text : {"", "/", "//", "!a"}) {
        EXPECT_THROW(ExcludePatterns({text}), Failure) << text;
    }
}

}  // namespace
}  // namespace quillmark::cli
