// The pager of long output on a terminal.
#include "Program.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned short ROWS = 10;
constexpr int KEYS = 5000;  // more text than a pipe holds

class ToolPager : public Tool {
 protected:
    ToolPager() {
        std::string elements;
        for (int i = 0; i < KEYS; ++i)
            elements += "<k type='string'>a text that fills the line " + std::to_string(i) + "</k>";
        WriteTicket("long.xml", elements);
        WriteTicket("short.xml", "<first type='int'>1</first><last type='int'>2</last>");
    }

    void UsePager(std::string const& command) { m_manner.environment = {"PAGER=" + command, "NO_COLOR=1"}; }
    RESULT OnTerminal(ARGUMENTS arguments) const {
        arguments.insert(arguments.begin(), TICKET_PROGRAM);
        auto result = ON_TERMINAL(arguments, m_manner, ROWS).Wait();
        result.out = WithoutProgress(result.out);
        return result;
    }

    std::string const m_lastLine = "k[4999]\tstring\t\"a text that fills the line 4999\"\n";
};

TEST_F(ToolPager, GetsOutputThatIsLongerThanTheTerminal) {
    UsePager("cat > paged");
    auto const result = OnTerminal({"list", "long.xml"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Content("paged") == Output({"list", "long.xml"}), true);
}

TEST_F(ToolPager, IsStartedOnce) {
    UsePager("echo started >> starts; cat > /dev/null");
    EXPECT_EQ(OnTerminal({"list", "long.xml"}).code, 0);
    EXPECT_EQ(Content("starts"), "started\n");
}

TEST_F(ToolPager, IsNotStartedForOutputThatFits) {
    UsePager("cat > paged");
    EXPECT_EQ(OnTerminal({"list", "short.xml"}).out, "first\tint\t1\r\nlast\tint\t2\r\n");
    EXPECT_FALSE(files::Exists(m_scratch.Path("paged")));
}

TEST_F(ToolPager, IsNotStartedForPipesAndFiles) {
    UsePager("cat > paged");
    EXPECT_THAT(Output({"list", "long.xml"}), EndsWith(m_lastLine));
    auto const script = std::string(TICKET_PROGRAM) + " list long.xml > listed";
    EXPECT_EQ(ON_TERMINAL({"sh", "-c", script}, m_manner, ROWS).Wait().code, 0);
    EXPECT_THAT(Content("listed"), EndsWith(m_lastLine));
    EXPECT_FALSE(files::Exists(m_scratch.Path("paged")));
}

TEST_F(ToolPager, IsNotUsedIfThatIsAskedFor) {
    for (auto const* const none : {"", "cat"}) {
        UsePager(none);
        auto const result = OnTerminal({"list", "long.xml"});
        EXPECT_EQ(result.code, 0);
        EXPECT_THAT(result.out, HasSubstr("line 4999\"\r\n"));
    }
}

TEST_F(ToolPager, IsReplacedByTheTerminalIfItCannotBeStarted) {
    UsePager("no-such-pager-anywhere");
    auto const result = OnTerminal({"list", "long.xml"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("no-such-pager-anywhere: not found"));
    EXPECT_THAT(result.out, HasSubstr("line 4999\"\r\n"));
}

TEST_F(ToolPager, IsMissingWithoutAMessageIfNobodyNamedIt) {
    std::filesystem::create_directory(m_scratch.Path("programs"));
    std::filesystem::create_symlink("/bin/cat", m_scratch.Path("programs/cat"));
    m_manner.environment = {"PATH=" + m_scratch.Path("programs"), "NO_COLOR=1"};
    auto const result =
        ON_TERMINAL({"/bin/sh", "-c", "unset PAGER; exec " TICKET_PROGRAM " list long.xml"}, m_manner, ROWS).Wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("not found")));
    EXPECT_THAT(result.out, HasSubstr("line 4999\"\r\n"));
}

TEST_F(ToolPager, EndsTheToolQuietlyIfTheUserLeavesItEarly) {
    // Shows two lines and waits for a key, as pagers do. What follows its end must not appear.
    UsePager("head -n 2; read -r key < /dev/tty; exit 1");
    ON_TERMINAL paged({TICKET_PROGRAM, "list", "long.xml"}, m_manner, ROWS);
    ASSERT_TRUE(paged.WaitFor("line 1\""));
    paged.Type("q\n");
    auto const result = paged.Wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("line 4999")));
    EXPECT_THAT(result.out, Not(HasSubstr("ticket:")));
}

TEST_F(ToolPager, OutlivesAnInterruptThatIsMeantForIt) {
    // The interrupt ends a read from the terminal, or comes before it.
    UsePager("trap 'echo searched' INT; head -n 2; until read -r key < /dev/tty; do :; done; cat");
    ON_TERMINAL paged({TICKET_PROGRAM, "list", "long.xml"}, m_manner, ROWS);
    ASSERT_TRUE(paged.WaitFor("line 1\""));
    paged.Type("\x03");
    ASSERT_TRUE(paged.WaitFor("searched"));
    paged.Type("q\n");
    auto const result = paged.Wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("line 4999\"\r\n"));
}

}  // namespace
