#include "Retry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace quillmark::cli {
namespace {

using std::chrono::milliseconds;

const std::vector<DWORD> AtOnce = {1237, 21202};
const std::vector<DWORD> AfterPause = {12002, 12029, 12030, 12152, 19016, 20408, 20429, 20500, 20502, 20503, 20504};
const std::vector<DWORD> AfterLogin = {20006, 20401};
const std::vector<DWORD> AnswerLost = {13, 12002, 12030, 12152, 19016, 20500, 20502, 20504};

bool Contains(const std::vector<DWORD>& errors, DWORD error) {
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

TEST(RemedyTest, IsAtOnceWhereTheLibraryAsksForIt) {
    for (const DWORD error : AtOnce) {
        EXPECT_EQ(RemedyFor(error), Remedy::AtOnce) << error;
    }
}

TEST(RemedyTest, IsAPauseForLostConnectionsAndServersInTrouble) {
    for (const DWORD error : AfterPause) {
        EXPECT_EQ(RemedyFor(error), Remedy::AfterPause) << error;
    }
}

TEST(RemedyTest, IsALoginWhereTheSessionHasEnded) {
    for (const DWORD error : AfterLogin) {
        EXPECT_EQ(RemedyFor(error), Remedy::AfterLogin) << error;
    }
}

TEST(RemedyTest, IsNoneForEverythingElse) {
    for (DWORD error = 0; error < 30000; ++error) {
        if (!Contains(AtOnce, error) && !Contains(AfterPause, error) && !Contains(AfterLogin, error)) {
            EXPECT_EQ(RemedyFor(error), Remedy::None) << error;
        }
    }
}

TEST(AnswerLostTest, IsToldOfWhatMayHaveHappenedAllTheSame) {
    for (DWORD error = 0; error < 30000; ++error) {
        EXPECT_EQ(IsAnswerLost(error), Contains(AnswerLost, error)) << error;
    }
}

TEST(RetryBudgetTest, PausesDoubleUpToTheLongestAndLieInTheUpperHalf) {
    const milliseconds wholes[] = {milliseconds(500),  milliseconds(1000),  milliseconds(2000),  milliseconds(4000),
                                   milliseconds(8000), milliseconds(16000), milliseconds(30000), milliseconds(30000)};
    for (std::uint32_t seed = 1; seed <= 50; ++seed) {
        RetryBudget budget(8, seed);
        for (const milliseconds whole : wholes) {
            const auto pause = budget.Next(Remedy::AfterPause);
            ASSERT_TRUE(pause.has_value());
            EXPECT_GE(*pause, whole / 2) << seed;
            EXPECT_LE(*pause, whole) << seed;
        }
        EXPECT_FALSE(budget.Next(Remedy::AfterPause).has_value());
    }
}

TEST(RetryBudgetTest, PausesDifferFromSeedToSeed) {
    std::set<milliseconds> pauses;
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        pauses.insert(*RetryBudget(1, seed).Next(Remedy::AfterPause));
    }
    EXPECT_GT(pauses.size(), 10u);
}

TEST(RetryBudgetTest, StaysAtTheLongestPauseHoweverOftenItIsAsked) {
    RetryBudget budget(1000, 1);
    for (int attempt = 1; attempt <= 1000; ++attempt) {
        const auto pause = budget.Next(Remedy::AfterPause);
        ASSERT_TRUE(pause.has_value());
        EXPECT_LE(*pause, milliseconds(30000));
        EXPECT_EQ(budget.Attempt(), attempt);
    }
}

TEST(RetryBudgetTest, WaitsNotForWhatIsRepeatedAtOnceOrAfterALogin) {
    RetryBudget budget(2, 1);
    EXPECT_EQ(budget.Next(Remedy::AtOnce), milliseconds(0));
    EXPECT_EQ(budget.Next(Remedy::AfterLogin), milliseconds(0));
    EXPECT_FALSE(budget.Next(Remedy::AtOnce).has_value());
}

TEST(RetryBudgetTest, AllowsNothingWithoutRetriesOrWithoutARemedy) {
    EXPECT_FALSE(RetryBudget(0, 1).Next(Remedy::AtOnce).has_value());
    EXPECT_FALSE(RetryBudget(-1, 1).Next(Remedy::AfterPause).has_value());
    RetryBudget budget(5, 1);
    EXPECT_FALSE(budget.Next(Remedy::None).has_value());
    EXPECT_EQ(budget.Attempt(), 0);
}

TEST(RetryBudgetTest, ProgressBeginsAnew) {
    RetryBudget budget(3, 1);
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(budget.Next(Remedy::AfterPause).has_value());
    }
    ASSERT_FALSE(budget.Next(Remedy::AfterPause).has_value());
    budget.Progressed();
    const auto pause = budget.Next(Remedy::AfterPause);
    ASSERT_TRUE(pause.has_value());
    EXPECT_LE(*pause, milliseconds(500));
    EXPECT_EQ(budget.Attempt(), 1);
    EXPECT_EQ(budget.Most(), 3);
}

TEST(RepetitionTextTest, SaysWhyWhenAndHowOften) {
    EXPECT_EQ(RepetitionText(12030, 2, 5, milliseconds(1234)),
              "the connection was lost (12030); trying again in 1.2 s (2 of 5)");
    EXPECT_EQ(RepetitionText(1237, 1, 5, milliseconds(0)),
              "the login was renewed meanwhile (1237); trying again at once (1 of 5)");
    EXPECT_EQ(RepetitionText(20006, 1, 3, milliseconds(0)),
              "the session has ended (20006); trying again with a new login (1 of 3)");
}

}  // namespace
}  // namespace quillmark::cli
