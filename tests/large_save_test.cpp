// Saves larger than the buffer that holds the text in memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/StringConversion.h"
#include "Format/StreamWriter.h"
#include "Format/TreeWriter.h"
#include "TicketImpSNode.h"
#include "support/FileTickets.h"
#include "support/Files.h"
#include "support/Tickets.h"

namespace {

using files::Names;
using testing::ElementsAre;
using tickets::Operate;
using tickets::OWNER;
using tickets::Set;

constexpr int LINES = 5000;  // some 150 KB

class PIECES final : public FILE_SINK {
 public:
    void Take(std::string_view piece) override {
        m_text += piece;
        ++m_count;
    }
    std::string With(TEXT_BUFFER const& rest) const { return m_text + std::string(rest.View()); }
    int Count() const { return m_count; }

 private:
    std::string m_text;
    int m_count = 0;
};

std::string KeyOf(int line) {
    return "Group" + std::to_string(line / 10 + 10000) + "/Key" + std::to_string(line % 10);
}

clTICKETNODE LargeNode(std::size_t longest) {
    clTICKETNODE node;
    for (int line = 0; line < LINES; ++line) node.Set(KeyOf(line), static_cast<unsigned long long>(line));
    node.Set("Long", std::string(longest, 'x'));
    return node;
}

class LargeSave : public testing::Test {
 protected:
    static void Fill(STICKET_ACCESS const* ticket) {
        for (int line = 0; line < LINES; ++line) Set(ticket, KeyOf(line).c_str(), line);
    }
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST(FilePieces, MakeTheTextThatIsMadeAtOnce) {
    for (std::size_t const longest : {1u, 65536u, 1000000u}) {
        clTICKETNODE const node = LargeNode(longest);
        TREE_WRITER document(nullptr, nullptr);
        node.WalkParameter(&TREE_WRITER::SaveOne, &document, "", WALK_EVERYTHING);
        std::string const whole(document.Serialise().View());

        PIECES ofDocument;
        EXPECT_EQ(ofDocument.With(document.Serialise(&ofDocument)), whole);
        EXPECT_GT(ofDocument.Count(), 1);

        PIECES ofStream;
        STREAM_WRITER stream(nullptr, &ofStream);
        node.WalkParameter(&STREAM_WRITER::SaveOne, &stream, "", WALK_EVERYTHING);
        EXPECT_EQ(ofStream.With(stream.Finish()), whole);
        EXPECT_GT(ofStream.Count(), 1);
    }
}

TEST(FilePieces, KeepWhatIsThereWhenMoreComesThanThereIsRoomFor) {
    for (std::size_t const length : {1u, 2u, 8191u, 8192u, 8193u}) {
        TEXT_BUFFER text;
        std::string const first(length, 'x');
        std::string const second(100000, 'y');
        text.Put(first);
        text.Put(second);
        EXPECT_EQ(text.View(), first + second) << length;
    }
}

TEST(FilePieces, HoldSixteenTimesAsMuchIndentationAsTextAndNoMore) {
    struct NOWHERE final : FILE_SINK {
        void Take(std::string_view) override {}
    } nowhere;
    TEXT_BUFFER text(&nowhere);
    constexpr std::size_t MEBIBYTE = std::size_t{1} << 20;
    constexpr int TEXTS = 33;  // 16 times as much exceeds the 256 MiB that are always allowed
    for (int i = 0; i < TEXTS; ++i) text.Put(std::string(MEBIBYTE, 'x'));
    // Text that is about to be added counts twice.
    for (int i = 0; i < 16 * (TEXTS - 1); ++i) ASSERT_NO_THROW(text.Indent(MEBIBYTE));
    EXPECT_THROW(text.Indent(MEBIBYTE), std::bad_alloc);
}

TEST_F(LargeSave, ComesBackWhole) {
    {
        OWNER const ticket(m_file.c_str());
        Fill(ticket);
    }
    OWNER const ticket(m_file.c_str());
    unsigned int count = 0;
    EXPECT_EQ(Operate(ticket, STICKET_OP_COUNT, &count), 1);
    EXPECT_EQ(count, static_cast<unsigned int>(LINES));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(LargeSave, BeginsAnewWhenALateKeyNeedsTheDocument) {
    OWNER const ticket(m_file.c_str());
    Fill(ticket);
    Set(ticket, "Z*/last", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    std::string const text = FileContent(m_file);
    EXPECT_EQ(text.find("<ticket>"), text.rfind("<ticket>"));
    std::string const end =
        "\t\t<Key9 type=\"int\">4999</Key9>\n\t</Group10499>\n"
        "\t<Z*>\n\t\t<last type=\"int\">1</last>\n\t</Z*>\n</ticket>\n";
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

TEST_F(LargeSave, ThatAnInfiniteNumberStopsLeavesTheOldFileAlone) {
    files::Write(m_file, "<ticket><a type=\"int\">1</a></ticket>");
    OWNER const ticket(m_file.c_str());
    Fill(ticket);
    Set(ticket, "Z", std::numeric_limits<double>::infinity());
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 0);
    EXPECT_EQ(FileContent(m_file), "<ticket><a type=\"int\">1</a></ticket>");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
    Set(ticket, "Z", 1);
}

// The outer save holds the lock of its temporary file and continues only after the inner save.
TEST_F(LargeSave, WhoseConversionSavesTheSameFileEndsAndIsWhatStands) {
    OWNER const other(m_file.c_str());
    Set(other, "Z", "other");
    struct CONVERSION : STICKET_STRING_CONVERSION {
        explicit CONVERSION(STICKET_ACCESS const* ticket) : other(ticket) {}
        std::string ToFile(std::string const& text) override {
            EXPECT_EQ(Operate(other, STICKET_OP_SAVE), 1);
            return text;
        }
        std::string FromFile(std::string const& text, int) override { return text; }
        STICKET_ACCESS const* other;
    } conversion(other);
    OWNER const ticket(STICKET::PCreate(m_file, {nullptr, -2, -2, &conversion, nullptr}));
    Fill(ticket);
    Set(ticket, "Z", "mine");
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_THAT(FileContent(m_file), testing::HasSubstr("mine"));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}
