// Broken, odd and hostile files: the values that each loads, and whether the next save keeps the file. The table in
// docs/bad-files.md is generated from these cases.
//
// To regenerate its rows: BAD_FILES_ROWS=FILE bad_files_test
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/BadFiles.h"
#include "support/FileTickets.h"

// Skip the flush: no test here is about power loss, and thousands of flushes take minutes on a busy machine.
extern "C" int fsync(int /*file*/) {
    return 0;
}

namespace {

using namespace tickets;
using bad_files::CASE;
using bad_files::Cases;

// The values in a file, read by a new ticket.
LINES InFile(std::string const& file) {
    OWNER const ticket(file.c_str());
    return Contents(ticket);
}

constexpr char const* ADDED = "~ 2 1";  // sorts behind all others

LINES With(LINES lines, char const* line) {
    lines.emplace_back(line);
    return lines;
}

// The text with unprintable bytes in hexadecimal; long texts are cut.
std::string Shown(std::string const& text) {
    std::string shown;
    for (char const byte : text) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
        if (byte == '\n')
            shown += "\\n";
        else if (byte == '\r')
            shown += "\\r";
        else if (byte == '\t')
            shown += "\\t";
        else if (byte == '|')
            shown += "\\|";
        else if (byte >= ' ' && byte < 0x7F)
            shown += byte;
        else
            shown += hex;
        if (shown.size() > 120) return shown.substr(0, 100) + "…";
    }
    return shown;
}

// Replaces the type number in a line such as "a 2 1" by the type's name.
std::string ValueShown(std::string const& line) {
    constexpr char const* TYPES[] = {"", "", "int", "double", "string", "binstr", "", "int64", "", "uint64"};
    std::size_t type = line.find(' ');
    while (!(std::isdigit(line[type + 1]) && line[type + 2] == ' ')) type = line.find(' ', type + 1);
    std::string const value = line.substr(type + 3);
    return "`" + Shown(line.substr(0, type)) + "` " + TYPES[line[type + 1] - '0'] + (value.empty() ? "" : " `") +
           Shown(value) + (value.empty() ? "" : "`");
}

std::string Row(CASE const& c) {
    std::string loads;
    for (std::string const& line : c.loads) loads += (loads.empty() ? "" : ", ") + ValueShown(line);
    if (loads.size() > 300) loads = std::to_string(c.loads.size()) + " values";
    if (loads.empty()) loads = "nothing";
    bool const isShown = !c.content.empty();
    return "| " + c.name + " | " + (isShown ? "`" + Shown(c.content) + "`" : "") + " | " + loads + " | " +
           (c.isKept ? "kept" : "replaced") + " |";
}

void LoadAndSave(CASE const& c) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    std::string const unreadable = file + ".unreadable";
    files::Write(file, c.content);
    EXPECT_EQ(InFile(file), c.loads);
    EXPECT_TRUE(FileContent(file) == c.content);  // nothing was set, so nothing is saved
    EXPECT_THAT(files::Names(scratch), testing::ElementsAre("t.xml"));
    {
        OWNER const ticket(file.c_str());
        Set(ticket, "~", 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    }
    EXPECT_EQ(InFile(file), With(c.comesBack.empty() ? c.loads : c.comesBack, ADDED));
    EXPECT_EQ(files::Exists(unreadable), c.isKept);
    EXPECT_TRUE(!c.isKept || FileContent(unreadable) == c.content);
}

}  // namespace

TEST(BadFiles, LoadAsTheTableTellsAndAreKeptIfTheyWereNotRead) {
    for (CASE const& c : Cases()) {
        SCOPED_TRACE(c.name);
        LoadAndSave(c);
    }
}

TEST(BadFiles, AreThoseOfTheDocument) {
    std::string rows;
    for (CASE const& c : Cases()) rows += Row(c) + "\n";
    if (char const* const file = std::getenv("BAD_FILES_ROWS")) files::Write(file, rows);
    std::string const document = FileContent(TEST_DATA "/../docs/bad-files.md");
    std::string const head = "|---|---|---|---|\n";
    std::size_t const begin = document.find(head);
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(document.substr(begin + head.size()), rows);
}
