// Values that reads and walks of a file ticket return, and how long their pointers stay valid.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/FileTickets.h"
#include "support/Misaligned.h"

namespace {

using namespace tickets;
using files::Write;
using testing::ElementsAre;

class FileTicket : public testing::Test {
 protected:
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST_F(FileTicket, TextThatWasReadStaysReadableWhateverBecomesOfTheValue) {
    std::string const longText(1000, 'x');
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", longText.c_str());
    Set(ticket, "v", "element", APPEND_INDEX);
    Set(ticket, "v", "other", APPEND_INDEX);
    char const* text = nullptr;
    char const* element = nullptr;
    ASSERT_TRUE(ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &text, SCALAR_INDEX));
    ASSERT_TRUE(ticket->GetParameter(ticket->pTicket, "v", PARAM_STRING, &element, 0));
    Set(ticket, "a", "overwritten");
    EXPECT_EQ(text, longText);
    Delete(ticket, "a");
    Delete(ticket, "v");
    EXPECT_EQ(text, longText);
    Operate(ticket, STICKET_OP_CLEAR);
    Operate(ticket, STICKET_OP_RELEASE);
    EXPECT_EQ(text, longText);
    EXPECT_STREQ(element, "element");
}

TEST_F(FileTicket, EqualTextsAreHandedOutAtOnePlace) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "same");
    Set(ticket, "b", "same");
    char const* texts[3] = {};
    ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &texts[0], SCALAR_INDEX);
    ticket->GetParameter(ticket->pTicket, "b", PARAM_STRING, &texts[1], SCALAR_INDEX);
    Operate(ticket, STICKET_OP_RELEASE);
    ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &texts[2], SCALAR_INDEX);
    EXPECT_STREQ(texts[0], "same");
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(texts[0], texts[2]);
}

TEST_F(FileTicket, TextThatWasReadHasOnePlaceThroughChangesReloadsAndBatches) {
    OWNER const ticket(m_file.c_str());
    auto const read = [&](char const* key, int index = SCALAR_INDEX) {
        char const* text = nullptr;
        ticket->GetParameter(ticket->pTicket, key, PARAM_STRING, &text, index);
        return text;
    };
    Set(ticket, "a", "first");
    char const* const first = read("a");
    EXPECT_EQ(read("a"), first);

    Set(ticket, "a", "second");
    char const* const second = read("a");
    EXPECT_STREQ(second, "second");
    EXPECT_EQ(read("a"), second);
    EXPECT_STREQ(first, "first");
    Set(ticket, "a", first);
    EXPECT_EQ(read("a"), first);

    Set(ticket, "a", second, APPEND_INDEX);
    EXPECT_EQ(read("a", 0), first) << "moved into a vector";
    EXPECT_EQ(read("a", 1), second);
    Operate(ticket, STICKET_OP_RELEASE);
    EXPECT_EQ(read("a", 0), first) << "loaded again";
    EXPECT_EQ(read("a", 1), second);

    SETMULTIPAR changes[] = {{"a", PARAM_STRING, second, SCALAR_INDEX, false},
                             {"a", PARAM_STRING, first, 1, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, changes), 1);
    char const* texts[2] = {};
    GETMULTIPAR records[] = {{"a", PARAM_STRING, &texts[0], 0, false},
                             {"a", PARAM_STRING, &texts[1], 1, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, records), 1);
    EXPECT_THAT(texts, ElementsAre(second, first));
    EXPECT_STREQ(first, "first");
    EXPECT_STREQ(second, "second");
}

TEST_F(FileTicket, WalkedTextStaysThereWhileItsCallbackReadsIt) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "same text");
    Set(ticket, "b", "same text");
    struct READER {
        STICKET_ACCESS const* ticket;
        std::vector<std::string> texts;

        static bool Take(void* context, char const* key, PARAM_TYPE, void const* value, int) {
            auto& self = *static_cast<READER*>(context);
            char const* text = nullptr;
            self.ticket->GetParameter(self.ticket->pTicket, key, PARAM_STRING, &text, SCALAR_INDEX);
            self.texts.push_back(std::string(static_cast<char const*>(value)) + "=" + text);
            return true;
        }
    } reader{ticket, {}};
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &READER::Take, &reader, "", WALK_EVERYTHING), 1);
    EXPECT_THAT(reader.texts, ElementsAre("same text=same text", "same text=same text"));
}

TEST_F(FileTicket, TextsOfABatchStayReadable) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "first text");
    Set(ticket, "b", 5);
    char const* text = nullptr;
    char const* none = "not null";
    int number = 0;
    GETMULTIPAR records[] = {{"a", PARAM_STRING, &text, SCALAR_INDEX, false},
                             {"b", PARAM_INT, &number, SCALAR_INDEX, false},
                             {"b", PARAM_STRING, &none, SCALAR_INDEX, true},
                             {"a", PARAM_STRING, nullptr, SCALAR_INDEX, false},
                             {"", PARAM_INT, &number, SCALAR_INDEX, true}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, records), 1);
    Operate(ticket, STICKET_OP_CLEAR);
    EXPECT_STREQ(text, "first text");
    EXPECT_EQ(number, 5);
    EXPECT_EQ(none, nullptr);
    EXPECT_TRUE(records[0].result);
    EXPECT_TRUE(records[1].result);
    EXPECT_FALSE(records[2].result);
    EXPECT_TRUE(records[3].result);
    EXPECT_TRUE(records[4].result);  // after the end of the batch: unchanged
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, nullptr), 0);
}

TEST_F(FileTicket, TextIsWrittenToBuffersOfAnyAlignment) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "text");
    MISALIGNED<char const*> text;
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, text.Address(), SCALAR_INDEX), 1);
    EXPECT_STREQ(text.Value(), "text");
}

TEST_F(FileTicket, RecordsOfABatchMayShareABuffer) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "text");
    Set(ticket, "b", 5);
    union {
        char const* text;
        int64_t number;
    } buffer = {};
    GETMULTIPAR records[] = {{"a", PARAM_STRING, &buffer, SCALAR_INDEX, false},
                             {"b", PARAM_INT64, &buffer, SCALAR_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, records), 1);
    EXPECT_EQ(buffer.number, 5);
}

TEST_F(FileTicket, ExistenceTestNeedsNoBufferWhateverTheType) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "text");
    for (uint32_t const type : {0u, 4u, 9u, 12u, ~0u}) {
        EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "a", PARAM_TYPE(type), nullptr, SCALAR_INDEX), 1);
        EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "b", PARAM_TYPE(type), nullptr, SCALAR_INDEX), 0);
    }
}

TEST_F(FileTicket, FailingReadWritesTheFailureValue) {
    OWNER const ticket(m_file.c_str());
    char const* text = "old";
    int number = 5;
    BIN_STRING bytes{"old", 3};
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "none", PARAM_STRING, &text, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, nullptr, PARAM_INT, &number, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "none", PARAM_BINSTR, &bytes, SCALAR_INDEX), 0);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(bytes.data, nullptr);
    EXPECT_EQ(bytes.length, 0u);
}

// Walks

TEST_F(FileTicket, WalkNeedsACallbackButNoPrefix) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    OWNER const ticket(m_file.c_str());
    LINES lines;
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, nullptr, nullptr, nullptr, 2), 0);
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &AddLine, &lines, nullptr, 2), 1);
    EXPECT_THAT(lines, ElementsAre("a 2 1"));
}

TEST_F(FileTicket, WalkGoesOnBehindTheLastKeyWhenItsCallbackDropsTheTree) {
    Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"string\">x</b>", "<b type=\"string\">y</b>",
                            "<c type=\"int\">3</c>"}));
    struct STEP {
        STICKET_ACCESS const* ticket;
        uint32_t code;
        LINES lines;
        static bool Take(void* step, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto& self = *static_cast<STEP*>(step);
            AddLine(&self.lines, key, type, value, index);
            char const* keys[] = {"a", nullptr};
            EXPECT_EQ(Operate(self.ticket, self.code, self.code == STICKET_OP_PARTIAL_KEYS ? keys : nullptr), 1);
            if (self.lines.size() == 2) GetInt(self.ticket, "a");  // makes the ticket load the whole file
            return self.lines.size() < 9;
        }
    };
    for (uint32_t const code : {STICKET_OP_RELEASE, STICKET_OP_PARTIAL_KEYS}) {
        OWNER const ticket(m_file.c_str());
        STEP step{ticket, code, {}};
        EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &STEP::Take, &step, "", WALK_EVERYTHING), 1);
        EXPECT_THAT(step.lines, ElementsAre("a 2 1", "b[0] 4 x", "b[1] 4 y", "c 2 3"));
    }
}

TEST_F(FileTicket, WalkWhoseCallbackThrowsAnswersNothing) {
    struct STEP {
        static bool Take(void*, char const*, PARAM_TYPE, void const*, int) { throw "enough"; }
    };
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &STEP::Take, nullptr, "", 2), 0);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
}
