#include "common/CaseFold.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "common/CaseFoldTable.h"

namespace quillmark {
namespace {

TEST(CaseFold, AsciiLettersHaveNoCase) {
    EXPECT_TRUE(EqualsIgnoreCase(QM_W("/Docs/A.TXT"), QM_W("/docs/a.txt")));
    EXPECT_TRUE(EqualsIgnoreCase(QM_W(""), QM_W("")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("/docs"), QM_W("/dock")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("["), QM_W("{")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("@"), QM_W("`")));
}

TEST(CaseFold, ALongerTextIsAnother) {
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("docs"), QM_W("docsx")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("docsx"), QM_W("docs")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W(""), QM_W("a")));
}

TEST(CaseFold, LettersOfAnyScriptHaveNoCase) {
    constexpr std::array<std::pair<WideView, WideView>, 9> Pairs{{
        {QM_W("B\u00DCRO"), QM_W("b\u00FCro")},    // Latin
        {QM_W("\u03A3"), QM_W("\u03C3")},          // Greek sigma
        {QM_W("\u03C2"), QM_W("\u03C3")},          // its final form
        {QM_W("\u0416"), QM_W("\u0436")},          // Cyrillic
        {QM_W("\u0178"), QM_W("\u00FF")},          // a capital far from its small letter
        {QM_W("\u1E9E"), QM_W("\u00DF")},          // capital sharp s
        {QM_W("\u13A0"), QM_W("\uAB70")},          // Cherokee, which folds upwards
        {QM_W("\u212A"), QM_W("k")},               // the kelvin sign
        {QM_W("\U00010400"), QM_W("\U00010428")},  // Deseret, beyond 16 bits
    }};
    for (const auto& [left, right] : Pairs) {
        EXPECT_TRUE(EqualsIgnoreCase(left, right)) << NarrowUtf8(left);
        EXPECT_TRUE(EqualsIgnoreCase(right, left)) << NarrowUtf8(left);
    }
}

TEST(CaseFold, FoldsAreOneCharacterForOne) {
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("STRASSE"), QM_W("stra\u00DFe")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("\u0130"), QM_W("i")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("\u0131"), QM_W("i")));
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("\u00E9"), QM_W("e")));
    // Between two that fold, with a distance of two: these have no case.
    EXPECT_FALSE(EqualsIgnoreCase(QM_W("\u0101"), QM_W("\u0102")));
}

TEST(CaseFold, ALoneSurrogateEqualsItselfOnly) {
    const std::array<WideChar, 2> lead{0xD801, QM_W('A')};
    const std::array<WideChar, 2> leadSmall{0xD801, QM_W('a')};
    const std::array<WideChar, 1> trail{0xDC00};
    const std::array<WideChar, 1> otherTrail{0xDC28};
    EXPECT_TRUE(EqualsIgnoreCase({lead.data(), 2}, {leadSmall.data(), 2}));
    EXPECT_FALSE(EqualsIgnoreCase({trail.data(), 1}, {otherTrail.data(), 1}));
    EXPECT_FALSE(EqualsIgnoreCase({lead.data(), 1}, {trail.data(), 1}));
    EXPECT_TRUE(EqualsIgnoreCase({lead.data(), 1}, {lead.data(), 1}));
}

TEST(CaseFold, TheTableIsInOrderAndLeadsNowhereTwice) {
    std::uint32_t end = 0;
    for (const CaseFoldRange& range : CaseFoldRanges) {
        EXPECT_GT(range.first, end);
        EXPECT_GE(range.last, range.first);
        EXPECT_EQ((range.last - range.first) % range.step, 0u);
        end = range.last;
        for (std::uint32_t letter = range.first; letter <= range.last; letter += range.step) {
            const std::uint32_t fold = letter + static_cast<std::uint32_t>(range.delta);
            for (const CaseFoldRange& other : CaseFoldRanges) {
                const bool inside = fold >= other.first && fold <= other.last;
                EXPECT_FALSE(inside && (fold - other.first) % other.step == 0) << letter;
            }
        }
    }
}

}  // namespace
}  // namespace quillmark
