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
using testing::MatchesRegex;
using testing::Not;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

char const* const COMMANDS[] = {"list",     "get",      "find",  "diff",    "export", "check",
                                "settings", "describe", "watch", "set",     "delete", "reset",
                                "merge",    "import",   "edit",  "recover", "help",   "completion"};

// The text of the last group for each match of an expression.
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
                     "\n +(-[a-z], )?(--[a-z-]+)");
    }
};

TEST_F(ToolHelp, NamesEveryCommandAndTheExitCodes) {
    auto const help = Output({"--help"});
    for (std::string const command : COMMANDS) EXPECT_THAT(help, HasSubstr("\n  " + command + " ")) << command;
    EXPECT_THAT(help, HasSubstr("Exit codes: 0 done, 1 something differs, is missing or was found, 2 wrong usage or "
                                "failure."));
    EXPECT_EQ(Found(help.substr(help.find("Commands:")), "\n  ([a-z]+)").size(), std::size(COMMANDS));
}

TEST_F(ToolHelp, OfEachCommandShowsAnExampleOfThatCommand) {
    for (std::string const command : COMMANDS) {
        auto const help = Output({command, "--help"});
        EXPECT_THAT(help, HasSubstr("\nExample:\n  ticket " + command + " ")) << command;
        EXPECT_EQ(help, Output({"help", command}));
    }
}

TEST_F(ToolHelp, TheExamplesWork) {
    WriteTicket("settings.xml",
                "<Log><Level type='int'>3</Level></Log><Product><Name type='string'>Station</Name></Product>"
                "<Recent type='string'>x</Recent><Login><User type='string'>u</User><Password "
                "type='binstr'>p</Password></Login>");
    for (std::string const name : {"old.xml", "new.xml"}) Write(name, Content("settings.xml"));
    Write("settings.json", "[]");
    m_manner.environment = {"PATH=" + std::filesystem::path(TICKET_PROGRAM).parent_path().string() + ":/usr/bin:/bin",
                            "EDITOR=true", "VISUAL=", "HOME=" + m_scratch.Path(), "LC_ALL=C"};
    for (std::string const command : COMMANDS) {
        if (command == "recover") continue;  // needs a broken file
        auto const help = Output({command, "--help"});
        auto const example = Found(help, "\nExample:\n  ([^\n]*)\n");
        ASSERT_EQ(example.size(), 1u) << help;
        auto const result =
            PROCESS({"bash", "-c", *example.begin() + (command == "watch" ? " --count 0" : "")}, m_manner).Wait();
        EXPECT_EQ(result.code, 0) << *example.begin() << "\n" << result.err;
        EXPECT_EQ(result.err, "");
    }
}

TEST_F(ToolHelp, VersionIsThatOfTheLibrary) {
    EXPECT_THAT(Output({"--version"}), MatchesRegex("ticket [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(ToolHelp, WrongUsageIsToldWithTheHelpToRead) {
    EXPECT_EQ(Error({}), "a command is missing; see ticket --help");
    EXPECT_EQ(Error({"frobnicate"}), "no command 'frobnicate'; see ticket --help");
    EXPECT_EQ(Error({"help", "frobnicate"}), "no command 'frobnicate'; see ticket --help");
    EXPECT_EQ(Error({"list"}), "list: FILE is missing; see ticket help list");
    EXPECT_THAT(Error({"list", "a.xml", "--wrong"}), HasSubstr("list: no option '--wrong'"));
    EXPECT_EQ(Error({"get", "a.xml", "k", "more"}), "get: unexpected argument 'more'; see ticket help get");
    EXPECT_EQ(Error({"get", "a.xml", "k", "--index", "x"}), "--index: 'x' is not a whole number from 0 to 999999999");
    EXPECT_EQ(Error({"get", "a.xml", "k", "--default"}), "get: --default needs a value; see ticket help get");
    EXPECT_EQ(Error({"set", "a.xml", "k", "v", "--type", "text"}),
              "--type: 'text' is not one of int, unsigned, int64, uint64, double, string, binstr");
    EXPECT_EQ(Error({"diff", "a.xml"}), "diff: OTHER is missing; see ticket help diff");
    EXPECT_EQ(Error({"list", "a.xml", "--json", "--keys"}), "--json and --keys cannot be given together");
    EXPECT_EQ(Error({"completion", "csh"}), "SHELL: 'csh' is not one of bash, fish, zsh");
}

TEST_F(ToolHelp, HasNoJargonOfTheParser) {
    for (std::string const command : COMMANDS) {
        auto const help = Output({command, "--help"});
        for (auto const* const word : {"TEXT REQUIRED", "REQUIRED", "Excludes", "[OPTIONS]", "Subcommands"}) {
            EXPECT_THAT(help, Not(HasSubstr(word))) << command;
        }
    }
}

TEST_F(ToolHelp, TheFilesMadeFromTheTableOfCommandsAreUpToDate) {
    for (std::string const shell : {"bash", "fish", "zsh"}) {
        EXPECT_EQ(Output({"completion", shell}) == FileContent(TOOL_SOURCES "/ticket." + shell), true)
            << "ticket completion " << shell << " > tool/ticket." << shell;
    }
    EXPECT_THAT(FileContent(TOOL_SOURCES "/ticket.1"), HasSubstr(Output({"man-page"})));
}

TEST_F(ToolHelp, WhatBeginsWithADashAndIsNoOptionIsToldToFollowTwo) {
    EXPECT_THAT(Error({"set", "a.xml", "k", "-value"}),
                HasSubstr("set: no option '-value'; a value that begins with a dash follows --; see ticket help set"));
    EXPECT_THAT(Error({"get", "a.xml", "k", "more"}), Not(HasSubstr("follows --")));
    EXPECT_EQ(Error({"get", "a.xml", "k", "-.5"}), "get: unexpected argument '-.5'; see ticket help get");
    EXPECT_THAT(Output({"set", "--help"}), HasSubstr("-- precedes one that begins with a dash"));
}

TEST_F(ToolHelp, AValueAfterAnEqualsSignMayBeEmpty) {
    WriteTicket("a.xml", "<k type='int'>1</k>");
    EXPECT_EQ(Output({"get", "a.xml", "none", "--default="}), "\n");
    EXPECT_EQ(Output({"set", "a.xml", "k", "2", "--backup="}), "");
    EXPECT_EQ(Output({"get", "a.xml~", "k"}), "1\n");
}

TEST_F(ToolHelp, WhatFollowsTwoDashesIsTakenAsItIs) {
    for (auto const* const word : {"--backup", "--type=", "--", "-h", "--help"}) {
        EXPECT_EQ(Output({"set", "a.xml", "k", "--", word}), "");
        EXPECT_EQ(Output({"get", "a.xml", "k"}), std::string(word) + "\n");
    }
}

TEST_F(ToolHelp, AnErrorIsOneLineWhateverItIsAbout) {
    EXPECT_EQ(Error({"list", "a\nb\x1B[31m.xml"}), "a\\nb\\x1B[31m.xml: no such file");
    EXPECT_EQ(Error({"frob\nnicate"}), "no command 'frob\\nnicate'; see ticket --help");
}

TEST_F(ToolHelp, TheManPageHasEveryCommandAndOption) {
    auto page = FileContent(TOOL_SOURCES "/ticket.1");
    for (std::size_t at = 0; (at = page.find("\\-", at)) != std::string::npos; ++at) page.erase(at, 1);
    for (std::string const command : COMMANDS) {
        auto const begin = page.find("\n.B ticket " + command + " ");
        ASSERT_NE(begin, std::string::npos) << command;
        auto const entry = page.substr(begin, page.find("\n.TP\n.B ticket ", begin) - begin);
        for (auto const& option : OptionsOf(command)) {
            bool const isOfAll = option == "--help" || option == "--color";
            EXPECT_THAT(isOfAll ? page : entry, HasSubstr(option)) << command;
        }
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
        // LC_ALL: bash warns of a locale that is not installed.
        m_manner.environment = {"PATH=" + tool + ":/usr/bin:/bin", "HOME=" + m_scratch.Path(), "LC_ALL=C"};
    }

    // The completions that bash offers for the last of these words, which come after "ticket".
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
    EXPECT_THAT(Completions({"de"}), UnorderedElementsAre("delete", "describe"));
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
    EXPECT_THAT(Completions({"get", "s.xml", "Log/Level", ""}), ElementsAre());
    EXPECT_THAT(Completions({"list", "--schema", "br"}), ElementsAre("broken.xml"));
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

TEST_F(ToolCompletion, OffersKnownKeysWhereOneMayBeNew) {
    EXPECT_THAT(Completions({"set", "new.xml", "Log/"}), ElementsAre("Log/Level", "Log/Mode"));
    EXPECT_THAT(Completions({"describe", "Locale/Measure_"}), ElementsAre("Locale/Measure_Values"));
    EXPECT_THAT(Completions({"get", "new.xml", "Log/"}), ElementsAre());
}

TEST_F(ToolCompletion, OffersTheValuesThatAKeyTakes) {
    EXPECT_THAT(Completions({"set", "new.xml", "Option/VireoVerify", ""}), ElementsAre("0", "1"));
    Write("v.xml.schema.json",
          R"({"keys": [{"key": "the theme", "type": "string", "choices": ["light", "very dark"]}]})");
    EXPECT_THAT(Completions({"set", "v.xml", "the\\ theme", "ver"}), ElementsAre("very\\ dark"));
    EXPECT_THAT(Completions({"set", "v.xml", "'the theme'", "'"}), ElementsAre("light", "very dark"));
    EXPECT_THAT(Completions({"set", "new.xml", "Log/Level", ""}), ElementsAre());
}

TEST_F(ToolCompletion, OffersWordsWhereOneOfThemIsDue) {
    EXPECT_THAT(Completions({"help", "rec"}), ElementsAre("recover"));
    EXPECT_THAT(Completions({"completion", ""}), ElementsAre("bash", "fish", "zsh"));
    EXPECT_THAT(Completions({"list", "--color", "=", "al"}), ElementsAre("always"));
}

TEST_F(ToolCompletion, OfFishOffersTheSame) {
    auto const offered = [&](std::string const& line) {
        std::string const script = "source " TOOL_SOURCES "/ticket.fish; complete -C '" + line + "' | cut -f1";
        auto const result =
            PROCESS({"sh", "-c", "command -v fish >/dev/null || exit 77; exec fish --no-config -c \"$0\"", script},
                    m_manner)
                .Wait();
        return result.code == 77 ? std::string("none") : result.out;
    };
    if (offered("ticket ") == "none") GTEST_SKIP() << "fish is not installed";
    EXPECT_THAT(offered("ticket de"), AllOf(HasSubstr("delete\n"), HasSubstr("describe\n")));
    EXPECT_EQ(offered("ticket get s.xml Log/"), "Log/Level\nLog/Mode\n");
    EXPECT_THAT(offered("ticket set new.xml Log/"), HasSubstr("Log/Level\n"));
    EXPECT_EQ(offered("ticket set s.xml --type ui"), "uint64\n");
    EXPECT_EQ(offered("ticket set s.xml Option/VireoVerify "), "0\n1\n");
    EXPECT_THAT(offered("ticket list s.xml --k"), HasSubstr("--keys\n"));
    EXPECT_EQ(offered("ticket --v"), "--version\n");
}

TEST_F(ToolCompletion, OfZshCompletesWhatIsTyped) {
    if (PROCESS({"sh", "-c", "command -v zsh"}, m_manner).Wait().code != 0) GTEST_SKIP() << "zsh is not installed";
    std::filesystem::create_directory(m_scratch.Path("functions"));
    std::filesystem::copy(TOOL_SOURCES "/ticket.zsh", m_scratch.Path("functions/_ticket"));
    Write(".zshrc",
          "fpath=($HOME/functions $fpath)\nautoload -Uz compinit\ncompinit -u -D\nPS1='ready> '\n"
          "preexec() { print -r -- \"ran: $1\" }\n");
    m_manner.environment.insert(m_manner.environment.end(), {"TERM=dumb", "ZDOTDIR=" + m_scratch.Path()});
    ON_TERMINAL shell({"zsh", "-d", "-i"}, m_manner);
    ASSERT_TRUE(shell.WaitFor("ready> "));
    std::pair<std::string, std::string> const lines[] = {
        {"ticket exp\t", "ticket export"},
        {"ticket --v\t", "ticket --version"},
        {"ticket list s.xml --k\t", "ticket list s.xml --keys"},
        {"ticket find s.xml --reg\t", "ticket find s.xml --regex"},
        {"ticket set s.xml --type ui\t", "ticket set s.xml --type uint64"},
        {"ticket get s.xml Log/L\t", "ticket get s.xml Log/Level"},
        {"ticket get 'my files/s.xml' Log/L\t", "ticket get 'my files/s.xml' Log/Level"},
        {"ticket set new.xml Option/VireoV\t", "ticket set new.xml Option/VireoVerify"},
        {"ticket describe Locale/Measure_\t", "ticket describe Locale/Measure_Values"},
        {"ticket set v.xml theme d\t", "ticket set v.xml theme dark"},
    };
    Write("v.xml.schema.json", R"({"keys": [{"key": "theme", "type": "string", "choices": ["light", "dark"]}]})");
    for (auto const& [typed, completed] : lines) shell.Type(typed + "\n");
    shell.Type("exit\n");
    auto const shown = shell.Wait().out;
    for (auto const& [typed, completed] : lines) EXPECT_THAT(shown, HasSubstr("ran: " + completed)) << typed;
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
