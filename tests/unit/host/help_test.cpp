// What is made out of the declarations of a command line.
#include <gtest/gtest.h>

#include "Help.h"
#include "help/Completion.h"
#include "help/ManPage.h"

namespace quillmark::cli {
namespace {

// A small program with one of everything.
class HelpTest : public ::testing::Test {
protected:
    HelpTest() : m_app("Does things.", "quillmark") {
        m_app.add_option("--session", m_text, "The login")->type_name("FILE");
        CLI::App* fetch = m_app.add_subcommand("fetch", "Fetch 'it' - all");
        SetCompletion(*fetch->add_option("remote", m_text, "On the server")->required(), Completes::ServerPath);
        SetCompletion(*fetch->add_option("local", m_texts, "Here"), Completes::LocalPath);
        fetch->add_option("--sort", m_text, "How")->check(CLI::IsMember({"name", "size"}))->capture_default_str();
        fetch->add_flag("-q,--quiet", m_flag, "Say nothing");
        fetch->add_option("--follow", m_number, "Again")->expected(0, 1)->type_name("SECONDS");
        AddExamples(*fetch, {{"quillmark fetch /a b", "one"}, {"quillmark fetch /a", ""}});
        CLI::App* jobs = m_app.add_subcommand("jobs", "Look after jobs");
        jobs->add_subcommand("cancel", "Give up")->add_option("--seconds", m_number, "When")->check(CLI::Range(1, 9));
        m_app.add_subcommand("hidden", "Nobody sees it")->group("");
    }

    CLI::App m_app;
    std::string m_text;
    std::vector<std::string> m_texts;
    int m_number = 0;
    bool m_flag = false;
};

TEST_F(HelpTest, ExamplesStandInTheHelpAsCommandLines) {
    const std::string help = m_app.get_subcommand("fetch")->help();
    EXPECT_NE(std::string::npos, help.find("\nExamples:\n  quillmark fetch /a b  # one\n  quillmark fetch /a\n"))
        << help;
}

TEST_F(HelpTest, MarksOfCompletionAreNotInTheHelp) {
    EXPECT_EQ(std::string::npos, m_app.get_subcommand("fetch")->help().find("completes"));
    EXPECT_EQ(Completes::ServerPath, CompletionOf(*m_app.get_subcommand("fetch")->get_option("remote")));
    EXPECT_EQ(std::nullopt, CompletionOf(*m_app.get_subcommand("fetch")->get_option("--sort")));
}

TEST_F(HelpTest, DeclarationsTellWhatTheParserWasTold) {
    const DeclaredCommand whole = Declarations(m_app);
    ASSERT_EQ(2u, whole.commands.size()) << "without the hidden one";
    const DeclaredCommand& fetch = whole.commands[0];
    EXPECT_EQ("fetch", fetch.Name());
    ASSERT_EQ(2u, fetch.arguments.size());
    EXPECT_EQ(std::vector<std::string>{"REMOTE"}, fetch.arguments[0].names);
    EXPECT_TRUE(fetch.arguments[0].required);
    EXPECT_FALSE(fetch.arguments[0].many);
    EXPECT_EQ(Completes::ServerPath, fetch.arguments[0].completes);
    EXPECT_TRUE(fetch.arguments[1].many);
    ASSERT_EQ(3u, fetch.options.size());
    EXPECT_EQ((std::vector<std::string>{"name", "size"}), fetch.options[0].choices);
    EXPECT_EQ((std::vector<std::string>{"-q", "--quiet"}), fetch.options[1].names);
    EXPECT_EQ("", fetch.options[1].value);
    EXPECT_EQ("SECONDS", fetch.options[2].value);
    EXPECT_TRUE(fetch.options[2].valueIsOptional);
    EXPECT_EQ("jobs cancel", whole.commands[1].commands[0].Name());
    EXPECT_EQ("1 to 9", whole.commands[1].commands[0].options[0].limits);
}

TEST_F(HelpTest, ManPageEscapesWhatTheFormatterWouldTakeForItsOwn) {
    const std::string page = ManPage(Declarations(m_app), "quillmark 1.0");
    EXPECT_EQ(0u, page.find(".TH QUILLMARK 1 \"\" \"quillmark 1.0\" \"User Commands\"\n.SH NAME\n"));
    EXPECT_NE(std::string::npos,
              page.find(".SS \\fBquillmark fetch\\fR [\\fIOPTIONS\\fR] \\fIREMOTE\\fR [\\fILOCAL\\fR ...]\n"
                        "Fetch \\(aqit\\(aq \\- all.\n"))
        << page;
    EXPECT_NE(std::string::npos, page.find(".TP\n\\fB\\-q\\fR, \\fB\\-\\-quiet\\fR\nSay nothing.\n")) << page;
    EXPECT_NE(std::string::npos, page.find(".TP\n\\fB\\-\\-follow\\fR [\\fISECONDS\\fR]\nAgain.\n")) << page;
    EXPECT_NE(std::string::npos, page.find("One of: name, size.")) << page;
    EXPECT_NE(std::string::npos,
              page.find(".PP\nExamples:\n.PP\n.nf\n  quillmark fetch /a b  # one\n  quillmark fetch /a\n.fi\n"))
        << page;
    EXPECT_EQ(std::string::npos, page.find("hidden"));
}

TEST_F(HelpTest, CompletionsPassOnOnlyTheLoginOptionsThatThereAre) {
    const std::string bash = BashCompletion(Declarations(m_app));
    EXPECT_NE(std::string::npos, bash.find("[[ ' --session ' == ")) << bash;
    EXPECT_EQ(std::string::npos, bash.find("@LOGIN@")) << bash;
    EXPECT_EQ(std::string::npos, bash.find("@QUIET@")) << bash;
}

}  // namespace
}  // namespace quillmark::cli
