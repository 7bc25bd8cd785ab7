// The output of the tool on a terminal for hostile files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "Program.h"
#include "tool/Turn.h"

namespace {

using testing::HasSubstr;
using testing::Not;

// ESC, BEL, CR, DEL, C1 in UTF-8 and as a single byte, overrides and isolates of direction, line separators.
char const* const HARMFUL[] = {"\x1B",         "\x07",         "\r",           "\x7F",         "\xC2\x9B",
                               "\x9B",         "\xE2\x80\xAA", "\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x81\xA9",
                               "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\x8F", "\xD8\x9C",     "\x08"};

std::string EscapedForFile(std::string const& text) {
    std::string escaped;
    for (char const byte : text) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(byte));
        escaped += escape;
    }
    return escaped;
}

class ToolTerminal : public Tool {
 protected:
    ToolTerminal() {
        std::string elements;
        std::string name;
        for (std::string const harm : HARMFUL) {
            name += "k" + (harm == "\r" ? "" : harm);
            elements += "\t<s type=\"string\">" + EscapedForFile("]0;x" + harm + "y") + "</s>\n";
            elements += "\t<b type=\"binstr\">" + EscapedForFile(harm) + "</b>\n";
            elements += "\t<i type=\"int\">1" + harm + "</i>\n";
        }
        elements += "\t<" + name + " type=\"string\">v</" + name + ">\n";
        elements += "\t<Product>\n\t\t<Name type=\"string\">" + EscapedForFile("\x1B[2J\xE2\x80\xAE") +
                    "</Name>\n\t</Product>\n";
        m_name = name;
        WriteTicket("s.xml", "\n" + elements);
        WriteTicket("empty.xml", "");
        WriteTicket("\x1B[31m.xml", "<broken>");
        Write("\xE2\x80\xAE.xml", "<ticket>\x1B");
        Write("cut.xml", "<ticket>\n" + elements + "\t<\x1B>\n" + elements);
        m_manner.environment = {"NO_COLOR=1"};
    }

    std::string OnTerminal(ARGUMENTS arguments) const {
        arguments.insert(arguments.begin(), TICKET_PROGRAM);
        return RunOnTerminal(arguments, m_manner);
    }

    std::string m_name;
};

// The terminal itself puts a CR in front of each line feed.
std::string WithoutLineEnds(std::string shown) {
    for (std::size_t at = 0; (at = shown.find("\r\n", at)) != std::string::npos;) shown.erase(at, 2);
    return shown;
}

TEST_F(ToolTerminal, IsNotControlledByAFileWhateverTheCommand) {
    std::vector<ARGUMENTS> const commands = {{"list", "s.xml"},
                                             {"list", "s.xml", "--keys"},
                                             {"list", "s.xml", "--json"},
                                             {"get", "s.xml", "s"},
                                             {"get", "s.xml", "b"},
                                             {"get", "s.xml", "i"},
                                             {"get", "s.xml", m_name},
                                             {"get", "s.xml", "Product/Name"},
                                             {"get", "s.xml", "\x1B[2J"},
                                             {"diff", "s.xml", "empty.xml"},
                                             {"export", "s.xml"},
                                             {"check", "s.xml"},
                                             {"check", "\x1B[31m.xml", "\xE2\x80\xAE.xml"},
                                             {"settings", "s.xml"},
                                             {"settings", "s.xml", "--json"},
                                             {"set", "s.xml", m_name, "x", "--type", "int"},
                                             {"set", "s.xml", "\x1B[2J<", "x"},
                                             {"set", "s.xml", "new", "\x1B[2J", "--dry-run"},
                                             {"delete", "s.xml", "s", "--dry-run"},
                                             {"reset", "s.xml", "Product/Name", "--dry-run"},
                                             {"merge", "s.xml", "empty.xml", "--dry-run"},
                                             {"find", "s.xml", "y"},
                                             {"describe", "Product/Name", "s.xml"},
                                             {"describe", m_name},
                                             {"recover", "cut.xml"},
                                             {"\x1B[2J"}};
    for (auto const& command : commands) {
        auto const shown = WithoutLineEnds(OnTerminal(command));
        EXPECT_NE(shown, "");
        for (std::string const harm : HARMFUL) {
            if (harm == "\x9B") continue;  // alone; it is also a part of harmless characters
            EXPECT_THAT(shown, Not(HasSubstr(harm))) << testing::PrintToString(command) << testing::PrintToString(harm);
        }
    }
}

TEST_F(ToolTerminal, ShowsEscapesInPlaceOfWhatWouldControlIt) {
    EXPECT_EQ(OnTerminal({"get", "s.xml", "Product/Name"}), "\\x1B[2J\\xE2\\x80\\xAE\r\n");
    WriteTicket("t.xml", "<a type='string'>" + EscapedForFile("\x9B \xC3\xA4") + "\\t\\n\\r</a>");
    EXPECT_EQ(OnTerminal({"get", "t.xml", "a"}), "\\x9B \xC3\xA4\t\r\n\\r\r\n");
}

TEST_F(ToolTerminal, ShowsJsonThatMeansTheSame) {
    auto const shown = OnTerminal({"list", "s.xml", "--json", "Product/Name"});
    EXPECT_THAT(shown, HasSubstr("\"value\": \"\\u001b[2J\\u202E\""));
}

TEST_F(ToolTerminal, ALongLineIsCutAtNoCharacter) {
    std::string text;
    for (int i = 0; i < 50'000; ++i) text += "\xE2\x82\xAC";
    WriteTicket("t.xml", "<a type='string'>" + text + "</a>");
    EXPECT_EQ(OnTerminal({"get", "t.xml", "a"}) == text + "\r\n", true);
}

TEST_F(ToolTerminal, PipesAndFilesGetTheBytesAsTheyAre) {
    EXPECT_EQ(Output({"get", "s.xml", "Product/Name"}), "\x1B[2J\xE2\x80\xAE\n");
    std::string all;
    for (std::string const harm : HARMFUL) all += harm;
    EXPECT_EQ(Output({"get", "s.xml", "b"}), all);
    EXPECT_THAT(Output({"list", "s.xml", "--keys"}), HasSubstr(m_name + "\n"));
}

TEST_F(ToolTerminal, ShowsWhatALongCommandIsDoing) {
    WriteTicket("t.xml", "<a type='string'>x</a>");
    std::optional<TURN> other(m_scratch.Path("t.xml"));
    ON_TERMINAL waiting({TICKET_PROGRAM, "set", "t.xml", "a", "y"}, m_manner);
    EXPECT_TRUE(waiting.WaitFor("[--------------------] waiting for another ticket, "));
    other.reset();
    auto const text = waiting.Wait().out;
    EXPECT_EQ(text.substr(text.size() - 4), "\r\033[K");
    EXPECT_EQ(Output({"get", "t.xml", "a"}), "y\n");
}

TEST_F(ToolTerminal, ShowsProgressInOneRowSinceOnlyThatCanBeDrawnOver) {
    std::string const name(200, 'n');
    WriteTicket(name, "<a type='string'>x</a>");
    std::optional<TURN> other(m_scratch.Path(name));
    ON_TERMINAL waiting({TICKET_PROGRAM, "set", name, "a", "y"}, m_manner);
    EXPECT_TRUE(waiting.WaitFor("nnn\r"));
    other.reset();
    auto const text = waiting.Wait().out;
    auto const begin = text.find('[', text.find("\033[K") + 3);
    EXPECT_LT(text.find('\r', begin) - begin, 80U) << text;
}

// Makes every other process that opens a file wait while this object lives.
class LEASE {
 public:
    explicit LEASE(std::string const& path) : m_file(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
        std::signal(SIGIO, SIG_IGN);  // tells that somebody waits
        m_isHeld = fcntl(m_file, F_SETLEASE, F_WRLCK) == 0;
    }
    ~LEASE() { close(m_file); }
    LEASE(LEASE const&) = delete;
    LEASE& operator=(LEASE const&) = delete;

    bool IsHeld() const { return m_isHeld; }

 private:
    int m_file;
    bool m_isHeld = false;
};

TEST_F(ToolTerminal, ShowsThatALongLoadGoesOn) {
    WriteTicket("t.xml", "<a type='string'>x</a>");
    std::optional<LEASE> lease(m_scratch.Path("t.xml"));
    if (!lease->IsHeld()) GTEST_SKIP() << "the file system has no leases";
    ON_TERMINAL loading({TICKET_PROGRAM, "get", "t.xml", "a"}, m_manner);
    EXPECT_TRUE(loading.WaitFor("[--------------------] loading, "));
    lease.reset();
    auto const text = loading.Wait().out;
    EXPECT_EQ(text.substr(text.rfind("\r\033")), "\r\033[Kx\r\n");
    EXPECT_EQ(WithoutProgress(text), "x\r\n");
}

}  // namespace
