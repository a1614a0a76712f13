// What a transfer shows on a console.
//
// Wine's console takes the request to move its cursor with sequences, and then shows their letters: what a person would
// see cannot be told there. These cases look at what does not depend on it.
#include "BareWinHttp.h"
#include "CommandLine.h"
#include "PseudoConsole.h"

namespace quillmark::test {
namespace {

class BarsTest : public CommandLineTest, public ::testing::WithParamInterface<SHORT> {};

TEST_P(BarsTest, ADownloadOnAConsoleEndsWithItsSummary) {
    ASSERT_EQ(Login().exitCode, 0u);
    const std::string content = Pattern(3'000'000);
    const std::wstring name = L"\x65E5\x672C\x8A9E";
    Write(name, content);
    ASSERT_EQ(Run({L"put", Path(name), L"/"}).exitCode, 0u);
    const PseudoConsole console(GetParam());
    const Program program = StartAt(console, {L"get", L"/" + name, Path(L"back")});
    EXPECT_EQ(program.Wait(), 0u);
    EXPECT_TRUE(console.Shows("1 file")) << console.Shown();
    EXPECT_TRUE(console.Shows("3000000")) << console.Shown();
    EXPECT_TRUE(Read(L"back") == content);
}

INSTANTIATE_TEST_SUITE_P(AtWidth, BarsTest, ::testing::Values(SHORT{40}, SHORT{80}, SHORT{200}));

}  // namespace
}  // namespace quillmark::test
