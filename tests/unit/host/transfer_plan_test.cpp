#include "transfer/TransferPlan.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace quillmark::cli {
namespace {

using Kind = TreeEntry::Kind;

constexpr std::int64_t Mib = 1024 * 1024;

const char* Word(StepKind kind) {
    constexpr const char* Words[] = {"mkdir", "send", "skip", "fail", "delete"};
    return Words[static_cast<int>(kind)];
}

const char* Word(StepReason reason) {
    constexpr const char* Words[] = {"new",           "changed",   "asked",      "same",       "excluded",
                                     "folder-link",   "link",      "special",    "unfinished", "only-there",
                                     "no-local-name", "no-text",   "name-taken", "wrong-kind", "in-the-way",
                                     "too-large",     "unreadable"};
    return Words[static_cast<int>(reason)];
}

const char* Word(Method method) {
    constexpr const char* Words[] = {"whole", "resumable", "delta"};
    return Words[static_cast<int>(method)];
}

// A tree in memory: entries by the path of their folder.
class MemoryTree : public TreeReader {
public:
    TreeEntry& Add(const std::string& path, Kind kind = Kind::File, std::int64_t size = 1, std::int64_t time = 10'000) {
        const std::size_t slash = path.rfind('/');
        TreeEntry entry;
        entry.name = WidenUtf8(slash == std::string::npos ? path : path.substr(slash + 1));
        entry.kind = kind;
        entry.size = size;
        entry.modified = CAttributeTime(time);
        entry.revision = "r" + std::to_string(time);
        std::vector<TreeEntry>& folder = m_folders[slash == std::string::npos ? "" : path.substr(0, slash)];
        folder.push_back(entry);
        return folder.back();
    }
    void Folder(const std::string& path) {
        Add(path, Kind::Folder);
        m_folders[path];
    }
    void Fails(const std::string& path, DWORD error) { m_errors[path] = error; }

    DWORD List(const WideString& path, std::vector<TreeEntry>& entries) override {
        const std::string folder = NarrowUtf8(path);
        listed.push_back(folder);
        entries = m_folders[folder];
        return m_errors.count(folder) != 0 ? m_errors[folder] : DWORD{0};
    }

    std::vector<std::string> listed;

private:
    std::map<std::string, std::vector<TreeEntry>> m_folders;
    std::map<std::string, DWORD> m_errors;
};

class TransferPlanTest : public ::testing::Test {
protected:
    using Lines = std::vector<std::string>;

    // "send new a/b", a line for each step; folders end in a slash. The top's own step is left out.
    Lines Plan(bool targetThere = true) {
        Lines lines;
        TreePlanner planner(options, source, target);
        planner.Walk(targetThere, [&](const PlanStep& step) {
            if (!step.path.empty() || step.kind != StepKind::Skip) {
                lines.push_back(std::string(Word(step.kind)) + " " + Word(step.reason) + " " + NarrowUtf8(step.path) +
                                (step.folder ? "/" : ""));
            }
            return answers.count(NarrowUtf8(step.path)) != 0 ? answers[NarrowUtf8(step.path)]
                                                             : TreePlanner::Answer::GoOn;
        });
        complete = planner.IsSourceComplete();
        withheld = planner.Withheld();
        return lines;
    }
    void Offer(FolderAbilities abilities) {
        options.abilities = [abilities](const WideString&) { return abilities; };
    }
    // The method for one file of that size; old: the size of what the target has, negative for nothing.
    std::string MethodOf(std::int64_t size, std::int64_t old = -1) {
        TreeEntry item;
        item.size = size;
        item.modified = CAttributeTime(20'000);
        TreeEntry there;
        there.size = old;
        there.modified = CAttributeTime(10'000);
        const PlanStep step = PlanFile(options, QM_W("f"), item, old < 0 ? nullptr : &there);
        return step.kind == StepKind::Transfer ? Word(step.method) : Word(step.reason);
    }

    PlanOptions options;
    MemoryTree source;
    MemoryTree target;
    std::map<std::string, TreePlanner::Answer> answers;
    bool complete = false;
    std::uint64_t withheld = 0;
};

TEST_F(TransferPlanTest, FoldersComeBeforeWhatIsInThemAndNamesInOrder) {
    source.Add("z");
    source.Add("b");
    source.Folder("m");
    source.Add("m/2");
    source.Add("m/1");
    source.Folder("a");
    source.Folder("a/deep");
    source.Add("a/deep/x");
    EXPECT_EQ(Plan(false), (Lines{"mkdir new /", "send new b", "send new z", "mkdir new a/", "mkdir new a/deep/",
                                  "send new a/deep/x", "mkdir new m/", "send new m/1", "send new m/2"}));
    EXPECT_TRUE(target.listed.empty()) << "what is not there is not listed";
}

TEST_F(TransferPlanTest, TheSameIsSkippedByItsSizeAndTime) {
    source.Add("same", Kind::File, 5, 20'000);
    target.Add("same", Kind::File, 5, 20'000);
    source.Add("longer", Kind::File, 6, 20'000);
    target.Add("longer", Kind::File, 5, 20'000);
    source.Add("newer", Kind::File, 5, 40'000);
    target.Add("newer", Kind::File, 5, 20'000);
    source.Add("older", Kind::File, 5, 20'000);
    target.Add("older", Kind::File, 5, 40'000);
    EXPECT_EQ(Plan(), (Lines{"send changed longer", "send changed newer", "send changed older", "skip same same"}));
}

TEST_F(TransferPlanTest, TimesAreComparedToTheMillisecond) {
    source.Add("part", Kind::File, 5, 29'999);  // a server keeps 2 ms of it
    target.Add("part", Kind::File, 5, 20'000);
    source.Add("whole", Kind::File, 5, 30'000);
    target.Add("whole", Kind::File, 5, 29'999);
    EXPECT_EQ(Plan(), (Lines{"skip same part", "send changed whole"}));
}

TEST_F(TransferPlanTest, ATimeThatIsNotKnownIsNotTheSame) {
    source.Add("f", Kind::File, 5, CAttributeTime::Unset);
    target.Add("f", Kind::File, 5, CAttributeTime::Unset);
    EXPECT_EQ(Plan(), Lines{"send changed f"});
}

TEST_F(TransferPlanTest, AlwaysSendsWhatIsTheSame) {
    options.always = true;
    source.Add("f");
    target.Add("f");
    EXPECT_EQ(Plan(), Lines{"send asked f"});
}

TEST_F(TransferPlanTest, WhatAPatternExcludesIsNeitherSentNorWalkedNorDeleted) {
    options.exclude = ExcludePatterns({"*.tmp", "build/"});
    options.deleteExtra = true;
    source.Add("a.tmp");
    source.Add("b");
    source.Folder("build");
    source.Add("build/x");
    target.Folder("gone");
    target.Add("gone/kept.tmp");
    target.Add("gone/not");
    target.Add("old.tmp");
    target.Add("build");  // a file that the pattern does not mean, and that the source's folder of the name covers
    EXPECT_EQ(Plan(),
              (Lines{"skip excluded a.tmp", "send new b", "skip excluded build/", "delete only-there gone/not"}));
    EXPECT_EQ(source.listed, Lines{""});
}

TEST_F(TransferPlanTest, NothingIsDeletedUnlessAskedFor) {
    target.Add("extra");
    target.Folder("more");
    target.Add("more/x");
    EXPECT_EQ(Plan(), (Lines{"skip only-there extra", "skip only-there more/"}));
}

TEST_F(TransferPlanTest, DeletesTheDeepestFirstAndAfterEverythingElse) {
    options.deleteExtra = true;
    source.Add("z");
    source.Folder("kept");
    target.Folder("kept");
    target.Add("kept/extra");
    target.Folder("old");
    target.Folder("old/deep");
    target.Add("old/deep/x");
    target.Add("old/y");
    EXPECT_EQ(Plan(),
              (Lines{"send new z", "skip same kept/", "delete only-there old/deep/x", "delete only-there old/deep/",
                     "delete only-there old/y", "delete only-there old/", "delete only-there kept/extra"}));
}

TEST_F(TransferPlanTest, NothingIsDeletedWhenAFolderOfTheSourceCannotBeRead) {
    options.deleteExtra = true;
    source.Folder("secret");
    source.Fails("secret", 5);
    source.Add("a");
    target.Folder("secret");
    target.Add("secret/x");
    target.Add("extra");
    EXPECT_EQ(Plan(), (Lines{"send new a", "skip same secret/", "fail unreadable secret/"}));
    EXPECT_FALSE(complete);
    EXPECT_EQ(withheld, 1u);
}

TEST_F(TransferPlanTest, AnUnreadableTopDoesNotLookEmpty) {
    options.deleteExtra = true;
    source.Fails("", 5);
    target.Add("a");
    EXPECT_EQ(Plan(), Lines{"fail unreadable /"});
}

TEST_F(TransferPlanTest, WhatWasReadBeforeTheErrorIsSent) {
    source.Fails("", 5);
    source.Add("a");
    EXPECT_EQ(Plan(), (Lines{"fail unreadable /", "send new a"}));
}

TEST_F(TransferPlanTest, ATargetFolderThatCannotBeReadIsLeftOut) {
    options.deleteExtra = true;
    source.Folder("f");
    source.Add("f/x");
    source.Add("other");
    target.Folder("f");
    target.Fails("f", 5);
    target.Folder("extra");
    target.Fails("extra", 5);
    EXPECT_EQ(Plan(), (Lines{"send new other", "fail unreadable extra/", "skip same f/", "fail unreadable f/"}));
}

TEST_F(TransferPlanTest, LinksAndSpecialFilesStayWhereTheyAre) {
    options.deleteExtra = true;
    source.Add("link", Kind::FolderLink);
    source.Add("pipe", Kind::Special);
    source.Add("broken", Kind::Broken).error = 2;
    target.Add("pipe");
    target.Add("old-link", Kind::FolderLink);
    target.Folder("old");
    target.Add("old/socket", Kind::Special);
    EXPECT_EQ(Plan(), (Lines{"fail unreadable broken", "skip folder-link link/", "skip special pipe",
                             "skip special old/socket", "skip folder-link old-link/"}));
}

TEST_F(TransferPlanTest, ALinkToAFileThatOnlyTheTargetHasStays) {
    options.deleteExtra = true;
    target.Add("linked").link = true;
    TreeEntry& nowhere = target.Add("nowhere", Kind::Broken);
    nowhere.link = true;
    nowhere.error = 1921;
    EXPECT_EQ(Plan(), (Lines{"skip link linked", "skip link nowhere"}));
}

TEST_F(TransferPlanTest, ASpecialFileInTheTargetIsInTheWayOfFilesAndFolders) {
    source.Add("a");
    source.Folder("b");
    target.Add("a", Kind::Special);
    target.Add("b", Kind::Special);
    EXPECT_EQ(Plan(), (Lines{"fail in-the-way a", "fail in-the-way b/"}));
}

TEST_F(TransferPlanTest, ATargetFolderWithANameThatIsNoneIsLeftAlone) {
    for (const std::string name : {"", ".", "..", "x/y"}) {
        MemoryTree strange;
        strange.Add("extra");
        strange.Add("placeholder").name = WidenUtf8(name);
        source = MemoryTree();
        source.Add("new");
        options.deleteExtra = true;
        std::vector<std::string> steps;
        TreePlanner planner(options, source, strange);
        planner.Walk(true, [&](const PlanStep& step) {
            steps.push_back(std::string(Word(step.kind)) + (step.inTarget ? " in target" : ""));
            return TreePlanner::Answer::GoOn;
        });
        EXPECT_EQ(steps, (Lines{"skip", "fail in target"})) << name;
    }
}

TEST_F(TransferPlanTest, AFolderToBeDeletedStaysWhenItHasANameThatIsNone) {
    options.deleteExtra = true;
    target.Folder("old");
    target.Add("old/x");
    target.Add("old/y").name = QM_W("..");
    EXPECT_EQ(Plan(), Lines{"fail unreadable old/"});
}

TEST_F(TransferPlanTest, NothingIsDeletedBehindALink) {
    options.deleteExtra = true;
    source.Folder("f");
    source.Add("f/x");
    target.Add("f", Kind::FolderLink);
    target.Add("f/extra");
    EXPECT_EQ(Plan(), (Lines{"skip same f/", "send new f/x", "skip only-there f/extra"}));
}

TEST_F(TransferPlanTest, AFileAndAFolderOfOneNameAreAFailure) {
    options.deleteExtra = true;
    source.Add("a");
    target.Folder("a");
    target.Add("a/x");
    source.Folder("b");
    source.Add("b/x");
    target.Add("b");
    source.Add("c");
    target.Add("c", Kind::Special);
    EXPECT_EQ(Plan(), (Lines{"fail wrong-kind a", "fail wrong-kind b/", "fail in-the-way c"}));
}

TEST_F(TransferPlanTest, UnfinishedDownloadsAreLeftAlone) {
    options.deleteExtra = true;
    source.Add("a.quillmark-part");
    source.Add("a.quillmark-part-of");
    source.Add("a.quillmark-part-of.new");
    target.Add("b.quillmark-part");
    target.Add("b.quillmark-temp");
    target.Add("b.quillmark-part-of.new");
    EXPECT_EQ(Plan(), (Lines{"skip unfinished a.quillmark-part", "skip unfinished a.quillmark-part-of",
                             "skip unfinished a.quillmark-part-of.new"}));
}

TEST_F(TransferPlanTest, NamesThatTheOtherSideDoesNotTakeFail) {
    source.Add("good");
    source.Add("x").name = WideString(WideView(QM_W("\xDC80"), 1));
    EXPECT_EQ(Plan(), (Lines{"send new good", "fail no-text \xEF\xBF\xBD"}));
    options.direction = Direction::Down;
    options.isLocalName = [](const WideString& name) { return name != QM_W("good"); };
    EXPECT_EQ(Plan()[0], "fail no-local-name good");
}

TEST_F(TransferPlanTest, NamesThatAreOneNameHereAreOneFile) {
    options.direction = Direction::Down;
    options.deleteExtra = true;
    options.localKey = [](const WideString& name) { return name == QM_W("A") ? WideString(QM_W("a")) : name; };
    source.Add("A", Kind::File, 5);
    source.Add("a", Kind::File, 6);
    target.Add("a", Kind::File, 5);
    EXPECT_EQ(Plan(), (Lines{"skip same A", "fail name-taken a"}));
}

TEST_F(TransferPlanTest, NamesOfTheServerAreNeverOne) {
    options.localKey = [](const WideString&) { return WideString(QM_W("one")); };
    source.Add("A");
    source.Add("a");
    EXPECT_EQ(Plan(), (Lines{"send new A", "send new a"}));
}

TEST_F(TransferPlanTest, AFolderThatCouldNotBeMadeIsLeftOut) {
    source.Folder("f");
    source.Add("f/x");
    source.Folder("g");
    source.Add("g/x");
    answers["f"] = TreePlanner::Answer::LeaveOut;
    EXPECT_EQ(Plan(), (Lines{"mkdir new f/", "mkdir new g/", "send new g/x"}));
}

TEST_F(TransferPlanTest, StopEndsTheWalk) {
    options.deleteExtra = true;
    source.Add("a");
    source.Add("b");
    source.Folder("c");
    target.Add("extra");
    answers["a"] = TreePlanner::Answer::Stop;
    EXPECT_EQ(Plan(), Lines{"send new a"});
}

TEST_F(TransferPlanTest, ADeletionCarriesWhatWasSeen) {
    options.deleteExtra = true;
    target.Add("old", Kind::File, 7, 30'000);
    TreePlanner planner(options, source, target);
    planner.Walk(true, [](const PlanStep& step) {
        if (step.kind == StepKind::Delete) {
            EXPECT_EQ(step.size, 7);
            EXPECT_EQ(step.modified.Ticks(), 30'000);
            EXPECT_EQ(step.revision, "r30000");
            EXPECT_TRUE(step.inTarget);
            EXPECT_EQ(step.extra, QM_W("old"));
        }
        return TreePlanner::Answer::GoOn;
    });
}

TEST_F(TransferPlanTest, ADeletionNamesTheItemThatTheSourceHasNot) {
    options.deleteExtra = true;
    source.Folder("kept");
    target.Folder("kept");
    target.Folder("kept/old");
    target.Add("kept/old/x");
    TreePlanner planner(options, source, target);
    planner.Walk(true, [](const PlanStep& step) {
        EXPECT_EQ(step.extra, step.kind == StepKind::Delete ? QM_W("kept/old") : QM_W("")) << NarrowUtf8(step.path);
        return TreePlanner::Answer::GoOn;
    });
}

TEST_F(TransferPlanTest, LargeUploadsGoInChunksWhereTheFolderTakesThem) {
    EXPECT_EQ(MethodOf(100 * Mib), "whole");
    Offer({false, true, 0});
    EXPECT_EQ(MethodOf(16 * Mib - 1), "whole");
    EXPECT_EQ(MethodOf(16 * Mib), "resumable");
}

TEST_F(TransferPlanTest, AskedForEveryUploadGoesInChunks) {
    options.method = Method::Resumable;
    EXPECT_EQ(MethodOf(0), "resumable");
}

TEST_F(TransferPlanTest, AFileBeyondTheFoldersLimitFails) {
    Offer({true, true, 1000});
    EXPECT_EQ(MethodOf(1000), "whole");
    EXPECT_EQ(MethodOf(1001), "too-large");
    options.direction = Direction::Down;
    EXPECT_EQ(MethodOf(1001), "whole") << "the limit is for uploads";
}

TEST_F(TransferPlanTest, AnUploadIsADeltaWhenTheBaseIsWhatTheServerHas) {
    Offer({true, true, 0});
    options.base = [](const WideString&) { return BaseFile{2 * Mib, CAttributeTime(10'000 + 9'999)}; };
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib), "delta");
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib + 1), "whole") << "another size";
    EXPECT_EQ(MethodOf(Mib - 1, 2 * Mib), "whole") << "too small";
    EXPECT_EQ(MethodOf(3 * Mib), "whole") << "the server has nothing";
    options.base = [](const WideString&) { return BaseFile{2 * Mib, CAttributeTime(30'000)}; };
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib), "whole") << "another time";
    options.base = [](const WideString&) { return std::optional<BaseFile>(); };
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib), "whole") << "no base";
}

TEST_F(TransferPlanTest, WithoutTheFoldersConsentThereIsNoDelta) {
    Offer({false, true, 0});
    options.base = [](const WideString&) { return BaseFile{2 * Mib, CAttributeTime(10'000)}; };
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib), "whole");
    options.direction = Direction::Down;
    EXPECT_EQ(MethodOf(3 * Mib, 2 * Mib), "whole");
}

TEST_F(TransferPlanTest, ADownloadOverAnOlderFileIsADelta) {
    Offer({true, true, 0});
    options.direction = Direction::Down;
    EXPECT_EQ(MethodOf(2 * Mib, 2 * Mib), "delta");
    EXPECT_EQ(MethodOf(2 * Mib, Mib - 1), "whole");
    EXPECT_EQ(MethodOf(Mib - 1, 2 * Mib), "whole");
    EXPECT_EQ(MethodOf(2 * Mib), "whole");
}

TEST_F(TransferPlanTest, LargeDownloadsAreKeptWhenTheyEndEarly) {
    options.direction = Direction::Down;
    EXPECT_EQ(MethodOf(4 * Mib - 1), "whole");
    EXPECT_EQ(MethodOf(4 * Mib), "resumable");
}

TEST_F(TransferPlanTest, AnUploadNamesTheRevisionThatItReplaces) {
    source.Add("f", Kind::File, 1, 20'000);
    target.Add("f", Kind::File, 2, 30'000);
    TreePlanner planner(options, source, target);
    planner.Walk(true, [](const PlanStep& step) {
        if (step.kind == StepKind::Transfer) {
            EXPECT_EQ(step.revision, "r30000");
            EXPECT_EQ(step.size, 1);
        }
        return TreePlanner::Answer::GoOn;
    });
}

}  // namespace
}  // namespace quillmark::cli
