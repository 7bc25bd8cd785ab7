// How the tool explains itself: help, version, man page, completion, colour, the form of errors.
#include <regex.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "Program.h"
#include "support/ClassicLocale.h"

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSubsetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

char const* const COMMANDS[] = {"list",     "get", "diff",   "export", "check",
                                "settings", "set", "delete", "merge",  "import"};

// What the last group of an expression matches, each time it is found.
std::set<std::string> Found(std::string const& text, std::string const& pattern) {
    CLASSIC_LOCALE const classic;  // in which "[a-z]" are those letters
    regex_t expression;
    if (regcomp(&expression, pattern.c_str(), REG_EXTENDED) != 0) throw std::invalid_argument(pattern);
    std::set<std::string> found;
    std::vector<regmatch_t> groups(expression.re_nsub + 1);
    for (char const* rest = text.c_str(); regexec(&expression, rest, groups.size(), groups.data(), 0) == 0;
         rest += groups.front().rm_eo) {
        found.emplace(rest + groups.back().rm_so, rest + groups.back().rm_eo);
    }
    regfree(&expression);
    return found;
}

class ToolHelp : public Tool {
 protected:
    // The long options of a command, or of the tool itself, as its help has them.
    std::set<std::string> OptionsOf(std::string const& command) const {
        return Found(Output(command.empty() ? ARGUMENTS{"--help"} : ARGUMENTS{command, "--help"}),
                     "\n +(-[a-z],)?(--[a-z-]+)");
    }
};

TEST_F(ToolHelp, NamesEveryCommandAndTheExitCodes) {
    auto const help = Output({"--help"});
    for (std::string const command : COMMANDS) EXPECT_THAT(help, HasSubstr("\n  " + command + " ")) << command;
    EXPECT_THAT(help, HasSubstr("Exit codes: 0 done, 1 differs or found something, 2 usage or failure."));
    EXPECT_EQ(Found(help.substr(help.find("Subcommands:")), "\n  ([a-z]+)").size(), std::size(COMMANDS));
}

TEST_F(ToolHelp, OfEachCommandShowsAnExampleOfThatCommand) {
    for (std::string const command : COMMANDS) {
        EXPECT_THAT(Output({command, "--help"}), HasSubstr("\nExample:\n  ticket " + command + " ")) << command;
    }
}

TEST_F(ToolHelp, TheExamplesWork) {
    WriteTicket("settings.xml",
                "<Log><Level type='int'>3</Level></Log><Product><Name type='string'>x</Name></Product>"
                "<Login><User type='string'>u</User><Password type='binstr'>p</Password></Login>");
    for (std::string const name : {"old.xml", "new.xml"}) Write(name, Content("settings.xml"));
    Write("settings.json", "[]");
    m_manner.environment = {"PATH=" + std::filesystem::path(TICKET_PROGRAM).parent_path().string() + ":/usr/bin:/bin"};
    for (std::string const command : COMMANDS) {
        auto const help = Output({command, "--help"});
        auto const example = Found(help, "\nExample:\n  ([^\n]*)\n");
        ASSERT_EQ(example.size(), 1u) << help;
        auto const result = PROCESS({"bash", "-c", *example.begin()}, m_manner).Wait();
        EXPECT_EQ(result.code, 0) << *example.begin() << "\n" << result.err;
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(ToolHelp, VersionIsThatOfTheLibrary) {
    EXPECT_THAT(Output({"--version"}), MatchesRegex("ticket [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(ToolHelp, WrongUsageIsToldWithTheHelpToRead) {
    EXPECT_THAT(Error({}), HasSubstr("see ticket --help"));
    EXPECT_EQ(Error({"frobnicate"}), "no command 'frobnicate'; see ticket --help");
    EXPECT_THAT(Error({"list"}), AllOf(HasSubstr("FILE"), HasSubstr("see ticket list --help")));
    EXPECT_THAT(Error({"list", "a.xml", "--wrong"}), AllOf(HasSubstr("--wrong"), HasSubstr("see ticket list --help")));
    EXPECT_THAT(Error({"get", "a.xml", "k", "more"}), HasSubstr("more"));
    EXPECT_THAT(Error({"get", "a.xml", "k", "--index", "x"}), HasSubstr("--index"));
    EXPECT_THAT(Error({"set", "a.xml", "k", "v", "--type", "text"}), HasSubstr("see ticket set --help"));
    EXPECT_THAT(Error({"diff", "a.xml"}), HasSubstr("B"));
    EXPECT_THAT(Error({"list", "a.xml", "--json", "--keys"}), AllOf(HasSubstr("--json"), HasSubstr("--keys")));
}

TEST_F(ToolHelp, WhatBeginsWithADashAndIsNoOptionIsToldToFollowTwo) {
    EXPECT_THAT(Error({"set", "a.xml", "k", "-value"}),
                HasSubstr("what begins with a dash and is no option follows --; see ticket set --help"));
    EXPECT_THAT(Error({"get", "a.xml", "k", "more"}), Not(HasSubstr("follows --")));
    EXPECT_THAT(Error({"get", "a.xml", "k", "-.5"}), HasSubstr("not expected: -.5; see"));
    EXPECT_THAT(Output({"set", "--help"}), HasSubstr("follows --"));
}

TEST_F(ToolHelp, AnErrorIsOneLineWhateverItIsAbout) {
    EXPECT_EQ(Error({"list", "a\nb\x1B[31m.xml"}), "a\\nb\\x1B[31m.xml: no such file");
    EXPECT_EQ(Error({"frob\nnicate"}), "no command 'frob\\nnicate'; see ticket --help");
}

TEST_F(ToolHelp, TheManPageHasEveryCommandAndOption) {
    auto page = FileContent(TOOL_SOURCES "/ticket.1");
    for (std::size_t at = 0; (at = page.find("\\-", at)) != std::string::npos; ++at) page.erase(at, 1);
    for (std::string const command : COMMANDS) {
        auto const begin = page.find("\n.BI \"" + command + " ");
        ASSERT_NE(begin, std::string::npos) << command;
        auto const entry = page.substr(begin, page.find("\n.TP", begin) - begin);
        auto const known = OptionsOf(command);
        for (auto const& option : known) {
            bool const isOfAll = option == "--help";
            EXPECT_THAT(isOfAll ? page : entry, HasSubstr(option)) << command;
        }
        EXPECT_THAT(Found(entry.substr(0, entry.find('\n', 1)), "(--[a-z-]+)"), IsSubsetOf(known)) << command;
    }
    for (auto const& option : OptionsOf("")) EXPECT_THAT(page, HasSubstr(option));
    for (std::string const type : {"int", "unsigned", "int64", "uint64", "double", "string", "binstr"}) {
        EXPECT_THAT(page, ContainsRegex("[ ,]" + type + "[ ,.]"));
    }
}

TEST_F(ToolHelp, TheManPageRendersWithoutWarnings) {
    auto const result =
        PROCESS({"sh", "-c", "command -v groff >/dev/null || exit 77; groff -man -ww -z " TOOL_SOURCES "/ticket.1"},
                m_manner)
            .Wait();
    if (result.code == 77) GTEST_SKIP() << "groff is not installed";
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out + result.err, "");
}

class ToolColour : public Tool {
 protected:
    ToolColour() {
        WriteTicket("a.xml", "<a type='int'>1</a>");
        WriteTicket("b.xml", "<b/><c type='int'>2</c>");
    }
    std::string OnTerminal(ARGUMENTS arguments) const {
        arguments.insert(arguments.begin(), TICKET_PROGRAM);
        return RunOnTerminal(arguments, m_manner);
    }
};

TEST_F(ToolColour, IsUsedOnATerminal) {
    m_manner.environment = {"NO_COLOR="};
    EXPECT_EQ(OnTerminal({"diff", "a.xml", "b.xml"}), "\033[31m- a\tint\t1\033[0m\r\n\033[32m+ c\tint\t2\033[0m\r\n");
    EXPECT_EQ(OnTerminal({"check", "b.xml"}), "\033[33mb.xml:1:9: \033[0melement 'b' holds nothing\r\n");
}

TEST_F(ToolColour, IsNotUsedInAPipe) {
    m_manner.environment = {"NO_COLOR="};
    EXPECT_EQ(Ticket({"diff", "a.xml", "b.xml"}).out, "- a\tint\t1\n+ c\tint\t2\n");
}

TEST_F(ToolColour, IsNotUsedWhenTheUserWantsNone) {
    m_manner.environment = {"NO_COLOR=1"};
    EXPECT_THAT(OnTerminal({"diff", "a.xml", "b.xml"}), Not(HasSubstr("\033")));
    EXPECT_THAT(OnTerminal({"check", "b.xml"}), Not(HasSubstr("\033")));
}

class ToolCompletion : public ToolHelp {
 protected:
    ToolCompletion() {
        std::filesystem::create_directory(m_scratch.Path("my files"));
        for (std::string const name : {"s.xml", "my files/s.xml"}) {
            WriteTicket(name,
                        "<Log><Level type='int'>3</Level><Mode type='int'>1</Mode></Log>"
                        "<Product><Name type='string'>x</Name></Product>");
        }
        Write("broken.xml", "<ticket>");
        auto const tool = std::filesystem::path(TICKET_PROGRAM).parent_path().string();
        m_manner.environment = {"PATH=" + tool + ":/usr/bin:/bin", "HOME=" + m_scratch.Path()};
    }

    // What bash offers for the last of these words, which come after "ticket".
    std::vector<std::string> Completions(ARGUMENTS const& words) const {
        std::string const script = "source '" TOOL_SOURCES
                                   "/ticket.bash' || exit; COMP_WORDS=(ticket \"$@\"); COMP_CWORD=$#; _ticket; "
                                   "(( ${#COMPREPLY[@]} )) && printf '%s\\n' \"${COMPREPLY[@]}\"; exit 0";
        ARGUMENTS command{"bash", "--norc", "-c", script, "bash"};
        command.insert(command.end(), words.begin(), words.end());
        auto const result = PROCESS(command, m_manner).Wait();
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.err, "");
        std::vector<std::string> lines;
        std::istringstream stream(result.out);
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }
};

TEST_F(ToolCompletion, OffersEveryCommand) {
    std::vector<std::string> all(std::begin(COMMANDS), std::end(COMMANDS));
    all.insert(all.end(), {"--help", "--version"});
    EXPECT_THAT(Completions({""}), UnorderedElementsAreArray(all));
    EXPECT_THAT(Completions({"de"}), ElementsAre("delete"));
    EXPECT_THAT(Completions({"--v"}), ElementsAre("--version"));
}

TEST_F(ToolCompletion, OffersTheOptionsThatHelpKnows) {
    for (std::string const command : COMMANDS) {
        EXPECT_THAT(Completions({command, "--"}), UnorderedElementsAreArray(OptionsOf(command))) << command;
    }
    EXPECT_THAT(Completions({"set", "s.xml", "Log/Level", "--f"}), UnorderedElementsAre("--from-file", "--force"));
}

TEST_F(ToolCompletion, OffersTypesWhereOneIsDue) {
    EXPECT_THAT(Completions({"set", "--type", ""}),
                UnorderedElementsAre("int", "unsigned", "int64", "uint64", "double", "string", "binstr"));
    EXPECT_THAT(Completions({"get", "s.xml", "--type", "i"}), UnorderedElementsAre("int", "int64"));
    EXPECT_THAT(Completions({"set", "--type", "=", "d"}), ElementsAre("double"));
    EXPECT_THAT(Completions({"get", "--index", ""}), ElementsAre());
}

TEST_F(ToolCompletion, OffersFilesWhereOneIsDue) {
    EXPECT_THAT(Completions({"list", "s."}), ElementsAre("s.xml"));
    EXPECT_THAT(Completions({"check", "s.xml", "br"}), ElementsAre("broken.xml"));
    EXPECT_THAT(Completions({"diff", "s.xml", "br"}), ElementsAre("broken.xml"));
    EXPECT_THAT(Completions({"diff", "s.xml", "broken.xml", ""}), ElementsAre());
    EXPECT_THAT(Completions({"merge", "s.xml", "br"}), ElementsAre("broken.xml"));
    EXPECT_THAT(Completions({"set", "--from-file", "br"}), ElementsAre("broken.xml"));
}

TEST_F(ToolCompletion, OffersTheKeysOfTheFileNamed) {
    EXPECT_THAT(Completions({"get", "s.xml", ""}), ElementsAre("Log/Level", "Log/Mode", "Product/Name"));
    EXPECT_THAT(Completions({"get", "s.xml", "Log/"}), ElementsAre("Log/Level", "Log/Mode"));
    EXPECT_THAT(Completions({"get", "--type", "int", "s.xml", "P"}), ElementsAre("Product/Name"));
    EXPECT_THAT(Completions({"set", "--type", "=", "int", "s.xml", "Log/L"}), ElementsAre("Log/Level"));
    EXPECT_THAT(Completions({"delete", "s.xml", "Log/Mode", "P"}), ElementsAre("Product/Name"));
    EXPECT_THAT(Completions({"list", "--", "s.xml", "P"}), ElementsAre("Product/Name"));
    EXPECT_THAT(Completions({"merge", "s.xml", "new.xml", "P"}), ElementsAre("Product/Name"));
    EXPECT_THAT(Completions({"set", "s.xml", "Log/Level", ""}), ElementsAre());
    EXPECT_THAT(Completions({"get", "broken.xml", ""}), ElementsAre());
    EXPECT_THAT(Completions({"get", "none.xml", ""}), ElementsAre());
}

TEST_F(ToolCompletion, OffersKeysAsTheyMustBeTyped) {
    WriteTicket("k.xml", "<x type='int'>1</x>\n\t<HP 4000 type=\"int\">1</HP 4000>\n");
    EXPECT_THAT(Completions({"get", "k.xml", ""}), ElementsAre("HP\\ 4000", "x"));
    EXPECT_THAT(Completions({"get", "k.xml", "HP\\ 4"}), ElementsAre("HP\\ 4000"));
    EXPECT_THAT(Completions({"get", "k.xml", "'HP 4"}), ElementsAre("HP 4000"));
    EXPECT_THAT(Completions({"get", "k.xml", "\"HP"}), ElementsAre("HP 4000"));
}

TEST_F(ToolCompletion, TakesFileNamesAsTheyAreTyped) {
    for (std::string const name : {"my\\ files/s.xml", "\"my files/s.xml\"", "'my files/s.xml'", "~/s.xml"}) {
        EXPECT_THAT(Completions({"get", name, "P"}), ElementsAre("Product/Name")) << name;
    }
}

TEST_F(ToolCompletion, IsRegisteredForTheTool) {
    auto const result =
        PROCESS({"bash", "--norc", "-c", "source '" TOOL_SOURCES "/ticket.bash'; complete -p ticket"}, m_manner).Wait();
    EXPECT_EQ(result.out, "complete -F _ticket ticket\n");
}

}  // namespace
