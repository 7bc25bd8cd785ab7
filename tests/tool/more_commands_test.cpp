// find, edit, watch, recover, reset, and the options that several commands share.
#include <atomic>
#include <csignal>
#include <sstream>
#include <thread>

#include "Program.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class ToolMore : public Tool {
 protected:
    ToolMore() {
        WriteTicket("s.xml",
                    "<Log><Level type='int'>3</Level></Log><Name type='string'>Proof Station</Name>"
                    "<Recent type='string'>a.pdf</Recent><Recent type='string'>b.pdf</Recent>"
                    "<Login><Password type='binstr'>pw</Password></Login>");
    }
};

TEST_F(ToolMore, FindShowsKeysByValueOrExpression) {
    EXPECT_EQ(Output({"find", "s.xml", "Station"}), "Name\tstring\t\"Proof Station\"\n");
    EXPECT_EQ(Output({"find", "s.xml", "STATION", "--ignore-case", "--keys"}), "Name\n");
    EXPECT_EQ(Output({"find", "s.xml", "^[ab]\\.pdf$", "--regex", "--keys"}), "Recent\n");
    EXPECT_EQ(Output({"find", "s.xml", "3", "--keys"}), "Log/Level\n");
    auto const nothing = Ticket({"find", "s.xml", "nothing"});
    EXPECT_EQ(nothing.code, 1);
    EXPECT_EQ(nothing.out + nothing.err, "");
    EXPECT_THAT(Error({"find", "s.xml", "(", "--regex"}), StartsWith("'(' is no regular expression: "));
}

TEST_F(ToolMore, PipesAndStandardInputAreRead) {
    auto const elements = Content("s.xml");
    EXPECT_EQ(TicketWithInput(elements, {"get", "-", "Name"}).out, "Proof Station\n");
    EXPECT_EQ(TicketWithInput(elements, {"get", "/dev/stdin", "Name"}).out, "Proof Station\n");
    EXPECT_EQ(TicketWithInput(elements, {"diff", "-", "s.xml"}).code, 0);
    EXPECT_EQ(TicketWithInput(elements, {"merge", "-", "n.xml"}).code, 0);
    EXPECT_EQ(Output({"diff", "s.xml", "n.xml"}), "");
    EXPECT_EQ(TicketWithInput("pw", {"set", "n.xml", "Login/Password", "--from-file", "-"}).code, 0);
    EXPECT_EQ(Output({"get", "n.xml", "Login/Password"}), "pw");
    EXPECT_EQ(TicketWithInput("<ticket><a type='int'>1</a>", {"recover", "-"}).out.substr(0, 8), "a\tint\t1\n");
    auto const broken = TicketWithInput("<ticket>", {"list", "-"});
    EXPECT_EQ(broken.code, 2);
    EXPECT_THAT(broken.err, StartsWith("ticket: standard input:1:"));
}

TEST_F(ToolMore, StandardInputOfAnotherUserIsRead) {
    if (!IsRoot()) GTEST_SKIP() << "needs root";
    std::filesystem::permissions(m_scratch.Path("s.xml"), std::filesystem::perms::owner_read);
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms::all);
    m_manner.asNobody = true;
    if (Ticket({"--version"}).code != 0) GTEST_SKIP() << "nobody else may enter the directory of the build";
    EXPECT_EQ(TicketWithInput(Content("s.xml"), {"get", "-", "Name"}).out, "Proof Station\n");
}

TEST_F(ToolMore, StandardInputIsNoFileToChange) {
    for (auto const& command : std::vector<ARGUMENTS>{{"set", "-", "a", "1"},
                                                      {"delete", "-", "a"},
                                                      {"reset", "-", "Log/Level"},
                                                      {"merge", "s.xml", "-"},
                                                      {"edit", "-"},
                                                      {"watch", "-"}}) {
        EXPECT_EQ(Error(command), "- is standard input, and this needs a file; ./- is one of that name");
    }
    EXPECT_FALSE(files::Exists(m_scratch.Path("-")));
}

TEST_F(ToolMore, ADryRunShowsWhatWouldChangeAndChangesNothing) {
    auto const before = Content("s.xml");
    EXPECT_EQ(Output({"set", "s.xml", "Log/Level", "4", "--dry-run"}), "- Log/Level\tint\t3\n+ Log/Level\tint\t4\n");
    EXPECT_EQ(Output({"delete", "s.xml", "Name", "--dry-run"}), "- Name\tstring\t\"Proof Station\"\n");
    EXPECT_EQ(Output({"set", "n.xml", "a", "1", "--dry-run"}), "+ a\tstring\t\"1\"\n");
    EXPECT_EQ(Content("s.xml"), before);
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
    EXPECT_THAT(Error({"set", "s.xml", "a", "x ", "--dry-run"}), HasSubstr("would come back"));
}

TEST_F(ToolMore, ABackupKeepsTheOldFile) {
    auto const before = Content("s.xml");
    EXPECT_EQ(Output({"set", "s.xml", "Log/Level", "4", "--backup"}), "");
    EXPECT_EQ(Content("s.xml~"), before);
    EXPECT_EQ(Output({"set", "s.xml", "Log/Level", "5", "--backup"}), "");
    EXPECT_EQ(Output({"get", "s.xml~", "Log/Level"}), "4\n");
    EXPECT_EQ(Output({"delete", "s.xml", "Name", "--backup=.old"}), "");
    EXPECT_EQ(Output({"get", "s.xml.old", "Log/Level"}), "5\n");
    EXPECT_EQ(Output({"set", "new.xml", "a", "1", "--backup"}), "");
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("new.xml", "s.xml", "s.xml.old", "s.xml~"));
    EXPECT_EQ(Error({"set", "s.xml", "a", "1", "--backup=/x"}), "--backup: a suffix holds no /");
    std::filesystem::create_directory(m_scratch.Path("s.xml.dir"));
    EXPECT_THAT(Error({"set", "s.xml", "a", "1", "--backup=.dir"}), HasSubstr("no backup can be made at s.xml.dir"));
}

TEST_F(ToolMore, DeleteTakesPrefixes) {
    EXPECT_EQ(Output({"delete", "s.xml", "Log*", "Name"}), "");
    EXPECT_EQ(Output({"list", "s.xml", "--keys"}), "Recent\n");
    EXPECT_EQ(Error({"delete", "s.xml", "x*"}, 1), "s.xml: no key 'x*'");
    EXPECT_EQ(Error({"delete", "s.xml", "Rec*", "--index", "0"}, 1), "s.xml: no key 'Rec*' with element 0");
    WriteTicket("t.xml", "<ab type='int'>1</ab>\n\t<a* type=\"int\">2</a*>\n");
    EXPECT_EQ(Output({"delete", "t.xml", "a*"}), "");
    EXPECT_EQ(Output({"list", "t.xml", "--keys"}), "ab\n");
}

TEST_F(ToolMore, ResetBringsKnownKeysBackToTheirFallback) {
    EXPECT_EQ(Output({"reset", "s.xml", "Log/Level", "Log/Mode"}), "");
    EXPECT_THAT(Output({"settings", "s.xml"}), HasSubstr("Log/Level                            int     3   "));
    EXPECT_EQ(Error({"reset", "s.xml", "Name"}), "'Name' has no known fallback; delete removes it");
    EXPECT_EQ(Error({"reset", "s.xml", "Log/Levle"}), "'Log/Levle' has no known fallback; did you mean 'Log/Level'?");
}

TEST_F(ToolMore, DiffComparesTheFirstFileWithEachOther) {
    WriteTicket("b.xml", "<a type='int'>1</a>");
    WriteTicket("c.xml", "<a type='int'>2</a>");
    auto const result = Ticket({"diff", "b.xml", "b.xml", "c.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "--- b.xml\n+++ b.xml\n--- b.xml\n+++ c.xml\n- a\tint\t1\n+ a\tint\t2\n");
}

TEST_F(ToolMore, RecordsEndWithANulByteWhereItIsAskedFor) {
    using namespace std::string_literals;
    EXPECT_EQ(Output({"list", "s.xml", "--keys", "-z"}), "Log/Level\0Login/Password\0Name\0Recent\0"s);
    EXPECT_EQ(Output({"get", "s.xml", "Recent", "-z"}), "a.pdf\0b.pdf\0"s);
    EXPECT_EQ(Output({"list", "s.xml", "Name", "-z"}), "Name\tstring\t\"Proof Station\"\0"s);
}

TEST_F(ToolMore, ColourIsUsedWhereItIsAskedFor) {
    WriteTicket("b.xml", "<a type='int'>1</a>");
    WriteTicket("c.xml", "");
    EXPECT_EQ(Ticket({"diff", "b.xml", "c.xml", "--color=always"}).out, "\033[31m- a\tint\t1\033[0m\n");
    m_manner.environment = {"NO_COLOR="};
    EXPECT_EQ(RunOnTerminal({TICKET_PROGRAM, "diff", "b.xml", "c.xml", "--color=never"}, m_manner), "- a\tint\t1\r\n");
}

class ToolEdit : public ToolMore {
 protected:
    RESULT EditWith(std::string const& script, std::string const& input = {}) const {
        auto manner = m_manner;
        manner.environment = {"EDITOR=" + script, "VISUAL=", "TMPDIR=" + m_scratch.Path(), "XDG_RUNTIME_DIR="};
        manner.input = input;
        return PROCESS({TICKET_PROGRAM, "edit", "s.xml"}, manner).Wait();
    }
};

TEST_F(ToolEdit, StoresWhatWasChangedAddedAndRemoved) {
    auto const result = EditWith("sed -i -e 's/int\t3/int\t4/' -e '/^Name/d' -e '$aNew\\tdouble\\t2.5'");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Output({"list", "s.xml"}),
              "Log/Level\tint\t4\nLogin/Password\tbinstr\t7077\nNew\tdouble\t2.5\nRecent[0]\tstring\t\"a.pdf\"\n"
              "Recent[1]\tstring\t\"b.pdf\"\n");
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(ToolEdit, HidesPasswordsAndKeepsThem) {
    EXPECT_EQ(EditWith("grep Password >seen.txt").err, "");
    EXPECT_EQ(Content("seen.txt"), "Login/Password\tbinstr\t********\n");
    EXPECT_EQ(EditWith("sed -i 's/int\t3/int\t4/'").err, "");
    EXPECT_EQ(Output({"get", "s.xml", "Login/Password"}), "pw");
}

TEST_F(ToolEdit, WritesNothingAfterAMistake) {
    auto const before = Content("s.xml");
    EXPECT_THAT(EditWith("sed -i 's/int\t3/int\tx/'").err, HasSubstr("nothing was changed: line 4: 'Log/Level': "));
    EXPECT_THAT(EditWith("sed -i 's/int\t3/int 3/'").err, HasSubstr("line 4: not key, type and value"));
    EXPECT_THAT(EditWith("sed -i 's/Proof Station\"/Proof/'").err, HasSubstr("a string stands in quotes"));
    EXPECT_THAT(EditWith("false").err, HasSubstr("nothing was changed: the editor 'false' failed"));
    EXPECT_EQ(Content("s.xml"), before);
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(ToolEdit, KeepsEveryValueThatIsLeftAlone) {
    WriteTicket("s.xml",
                R"(<a type='string'>tab\tline\nquote " back\\slash \xE2\x82\xAC \x01</a><b type='binstr'>\x00\xFF</b>)"
                "\n\t<c\\d type=\"double\">1.#QNAN</c\\d>\n\t<e type=\"uint64\">18446744073709551615</e>");
    auto const before = Output({"export", "s.xml"});
    EXPECT_EQ(EditWith("printf 'z\\tint\\t1\\n' >>").err, "");
    EXPECT_EQ(Output({"delete", "s.xml", "z"}), "");
    EXPECT_EQ(Output({"export", "s.xml"}), before);
}

TEST_F(ToolEdit, RemovesWhatAKilledOneLeft) {
    EXPECT_EQ(EditWith("kill -9 $PPID; true").code, 128 + SIGKILL);
    EXPECT_EQ(files::Names(m_scratch).size(), 2u);
    EXPECT_EQ(EditWith("true").err, "");
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(ToolMore, WatchPrintsChangesAsTheyAreMade) {
    auto watching = Start({"watch", "s.xml", "Log/*", "--count", "2"});
    // It begins at any time, and may see two changes as one.
    for (int i = 4; !watching.HasEnded(); ++i) {
        EXPECT_EQ(Output({"set", "s.xml", "Name", std::to_string(i)}), "");
        EXPECT_EQ(Output({"set", "s.xml", "Log/Level", std::to_string(i)}), "");
    }
    auto const result = watching.Wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, MatchesRegex("(- Log/Level\tint\t[0-9]+\n[+] Log/Level\tint\t[0-9]+\n){2}"));
}

TEST_F(ToolMore, WatchTellsABrokenFileOnce) {
    auto const put = [&](std::string const& text) {
        Write("next.xml", text);
        std::filesystem::rename(m_scratch.Path("next.xml"), m_scratch.Path("s.xml"));
    };
    ON_TERMINAL watching({TICKET_PROGRAM, "watch", "s.xml"}, m_manner);
    std::atomic<bool> isWatching = false;
    std::thread changes([&] {  // until the tool watches
        for (int i = 0; !isWatching; ++i) put("<ticket><a type='int'>" + std::to_string(i) + "</a></ticket>");
    });
    EXPECT_TRUE(watching.WaitFor("+ a"));
    isWatching = true;
    changes.join();

    put("<ticket>");
    EXPECT_TRUE(watching.WaitFor("s.xml:1:8: does not parse"));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Output({"set", "other.xml", "a", std::to_string(i)}), "");
    put("<ticket><a type='string'>sound</a></ticket>");
    EXPECT_TRUE(watching.WaitFor("sound"));
    watching.Type("\x03");
    auto const shown = watching.Wait().out;
    EXPECT_EQ(shown.find("does not parse"), shown.rfind("does not parse")) << shown;
}

TEST_F(ToolMore, RecoverSavesTheValuesUpToTheBreakAndTellsWhatIsLost) {
    Write("b.xml",
          "<ticket>\n\t<Log>\n\t\t<Level type=\"int\">1</Level>\n\t\t<Mode type=\"int\">2</Mod>\n\t</Log>\n"
          "\t<Secret type=\"string\">pw</Secret>\n</ticket>\n");
    auto const result = Ticket({"recover", "b.xml", "r.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "b.xml:4:3: lost: <Mode type=\"int\">\nb.xml:6:2: lost: <Secret type=\"string\">\n");
    EXPECT_EQ(Output({"list", "r.xml"}), "Log/Level\tint\t1\n");
    EXPECT_EQ(Ticket({"recover", "b.xml"}).out, "Log/Level\tint\t1\n" + result.out);
    EXPECT_EQ(Error({"recover", "b.xml", "r.xml"}), "r.xml: exists; recover needs the name of a new file");
    EXPECT_EQ(Error({"recover", "s.xml"}), "s.xml: parses; there is nothing to recover, but check may find problems");
}

TEST_F(ToolMore, RecoverTellsThatAFileIsCutOff) {
    std::string const cut = "<ticket>\n\t<Log>\n\t\t<Level type=\"int\">1</Level>\n";
    Write("b.xml", cut);
    auto const result = Ticket({"recover", "b.xml"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "Log/Level\tint\t1\nb.xml:4:1: the file ends here; what stood behind this place is lost\n");
    Write("b.xml", cut + "\t\t<Mo");
    EXPECT_EQ(Ticket({"recover", "b.xml"}).out,
              "Log/Level\tint\t1\nb.xml:4:6: the file ends here; what stood behind this place is lost\n");
}

TEST_F(ToolMore, RecoverMakesNoKeyOfWhatFollowsADamagedClosingTag) {
    for (std::string const damaged : {"\t\tLog>\n", "\t<Log>\n", ""}) {
        Write("b.xml", "<ticket>\n\t<Log>\n\t\t<Level type=\"int\">1</Level>\n" + damaged +
                           "\t<A>\n\t\t<B type=\"int\">2</B>\n\t</A>\n</ticket>\n");
        auto const result = Ticket({"recover", "b.xml"});
        EXPECT_EQ(result.code, 1);
        EXPECT_THAT(result.out, MatchesRegex("Log/Level\tint\t1\nb.xml:[56]:3: lost: <B type=\"int\">\n")) << damaged;
    }
}

TEST_F(ToolMore, RecoverShowsTheErrorWhereOnlyANameMayBeWrong) {
    Write("b.xml", "<ticket>\n\t<Lgo>\n\t\t<Level type=\"int\">1</Level>\n\t</Log>\n</ticket>\n");
    auto const result = Ticket({"recover", "b.xml"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(
        result.out,
        "Lgo/Level\tint\t1\nb.xml:4:4: does not parse: <Lgo> of line 2 is not closed: here stands </Log>; no value is "
        "lost, and keys are named by the opening tags\n");
}

TEST_F(ToolMore, RecoverClosesElementsThatHaveAttributesInSingleQuotes) {
    Write("s.xml", "<ticket>\n\t<a note='x'>\n\t\t<b type='int'>1</b>\n\t\t<c type='int'>2</d>\n");
    EXPECT_EQ(Ticket({"recover", "s.xml", "new.xml"}).code, 1);
    EXPECT_EQ(Output({"list", "new.xml"}), "a/b\tint\t1\n");
}

TEST_F(ToolMore, RecoverTellsWhatIsLostEvenIfNothingStandsBeforeTheBreak) {
    Write("b.xml", "<ticket>\n\t=Level type=\"int\">1</Level>\n\t<Mode type=\"int\">2</Mode>\n</ticket>\n");
    auto const result = Ticket({"recover", "b.xml", "r.xml"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err,
              "ticket: b.xml: no value stands before the error; correct it, as ticket check shows it, and try again\n");
    EXPECT_EQ(result.out, "b.xml:2:9: lost: type=\"int\">\nb.xml:3:2: lost: <Mode type=\"int\">\n");
    EXPECT_FALSE(files::Exists(m_scratch.Path("r.xml")));
}

TEST_F(ToolMore, RecoverTakesWhatATruncationLeaves) {
    EXPECT_EQ(Output({"set", "s.xml", "Printer/HP 4000/ID", "7"}), "");
    auto const whole = Content("s.xml");
    auto const keys = Output({"list", "s.xml"});
    for (std::size_t size = whole.find("</"); size + 1 < whole.size(); size += 3) {
        Write("cut.xml", whole.substr(0, size));
        std::filesystem::remove(m_scratch.Path("r.xml"));
        if (Ticket({"recover", "cut.xml", "r.xml"}).code == 2) continue;
        std::istringstream recovered(Output({"list", "r.xml"}));
        for (std::string line; std::getline(recovered, line);) {
            // A vector may have lost elements, so its lines have no index.
            if (line.substr(0, 6) == "Recent") continue;
            EXPECT_THAT(keys, HasSubstr(line + "\n")) << size;
        }
    }
    Write("cut.xml", whole.substr(0, whole.size() / 2));
    EXPECT_NE(Ticket({"recover", "cut.xml"}).out, "");
}

}  // namespace
