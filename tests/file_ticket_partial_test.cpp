// The partial tree of a file ticket: which keys it keeps, what makes the ticket load the rest, and what
// its save writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "support/FileTickets.h"

namespace {

using namespace tickets;
using files::Write;
using testing::ElementsAre;

std::string const WHOLE = Document({"<a>", "\t<b type=\"int\">1</b>", "\t<b type=\"int\">2</b>",
                                    "\t<c type=\"string\">text</c>", "</a>", "<d type=\"int\">3</d>"});

class PartialFileTicket : public testing::Test {
 protected:
    PartialFileTicket() { Write(m_file, WHOLE); }

    // Leaves only the values of "a/b" in memory.
    void LoadPartially() {
        ASSERT_EQ(SetPartialKeys(m_ticket, {"a/b"}), 1);
        ASSERT_EQ(GetInt(m_ticket, "a/b", 0), 1);
        ASSERT_EQ(InMemory(m_ticket), 2u);
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    OPEN_FILE_TICKET* const m_open = new OPEN_FILE_TICKET(m_file);
    OWNER const m_ticket{m_open->GetInterface()};
};

}  // namespace

TEST_F(PartialFileTicket, KeepsOnlyItsKeysUntilAnotherOneIsRead) {
    LoadPartially();
    EXPECT_EQ(GetInt(m_ticket, "a/b", 1), 2);
    EXPECT_EQ(InMemory(m_ticket), 2u);
    EXPECT_EQ(GetText(m_ticket, "a/c"), "text");
    EXPECT_EQ(InMemory(m_ticket), 4u);
    EXPECT_EQ(SetPartialKeys(m_ticket, {"", "a/b"}), 1);
    EXPECT_TRUE(m_open->KeyNotPartial("a/b"));
    EXPECT_EQ(GetInt(m_ticket, "a/b", 0), 1);
    EXPECT_EQ(InMemory(m_ticket), 4u);
}

TEST_F(PartialFileTicket, IsWholeWhileNoKeysAreChosenWhateverTheFirstAccess) {
    GETMULTIPAR nothing[] = {{nullptr, PARAM_INT, nullptr, 0, false}};
    EXPECT_EQ(m_ticket->GetMultiParameter(m_ticket->pTicket, nothing), 1);
    EXPECT_EQ(InMemory(m_ticket), 4u);
}

TEST_F(PartialFileTicket, WholeTreeStaysWholeUntilItIsDropped) {
    EXPECT_EQ(Count(m_ticket), 4u);
    EXPECT_EQ(SetPartialKeys(m_ticket, {"a/b"}), 1);
    EXPECT_EQ(InMemory(m_ticket), 0u);
    GetInt(m_ticket, "d");  // makes the ticket load the whole file
    EXPECT_EQ(InMemory(m_ticket), 4u);
    GetInt(m_ticket, "a/b", 0);
    EXPECT_EQ(InMemory(m_ticket), 4u);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_RELEASE), 1);
    GetInt(m_ticket, "a/b", 0);
    EXPECT_EQ(InMemory(m_ticket), 2u);
}

TEST_F(PartialFileTicket, KeysStayWhenTheSaveBeforeTheirChangeFails) {
    Set(m_ticket, "d", std::numeric_limits<double>::infinity());
    EXPECT_EQ(SetPartialKeys(m_ticket, {"a/b"}), 0);
    EXPECT_TRUE(m_open->KeyNotPartial("a/b"));
    Set(m_ticket, "d", 4);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_RELEASE), 1);
    EXPECT_EQ(Set(m_ticket, "a/b", 5, 0), 1);
    EXPECT_EQ(InMemory(m_ticket), 4u);
}

TEST_F(PartialFileTicket, EverythingButSingleAccessToItsKeysLoadsTheWhole) {
    struct CASE {
        char const* name;
        unsigned int inMemory;
        std::function<void(STICKET_ACCESS const*)> access;
    };
    static unsigned int s_count;
    static int s_number;
    s_number = 5;
    static GETMULTIPAR s_ownKeys[] = {{"a/b", PARAM_INT, &s_number, 0, false}, {"", PARAM_INT, nullptr, 0, false}};
    static GETMULTIPAR s_otherKeys[] = {{"a/b", PARAM_INT, &s_number, 0, false},
                                        {"a", PARAM_INT, &s_number, 0, false},
                                        {nullptr, PARAM_INT, nullptr, 0, false}};
    static GETMULTIPAR s_noKeys[] = {{nullptr, PARAM_INT, nullptr, 0, false}};
    static SETMULTIPAR s_set[] = {{"a/b", PARAM_INT, &s_number, 0, false}, {nullptr, PARAM_INT, nullptr, 0, false}};
    for (CASE const& c : {
             CASE{"read of its key", 2, [](auto* t) { GetInt(t, "a/b", 0); }},
             CASE{"existence of its key", 2,
                  [](auto* t) { t->GetParameter(t->pTicket, "a/b", PARAM_NONE, nullptr, 5); }},
             CASE{"write of its key", 2, [](auto* t) { Set(t, "a/b", 7, 0); }},
             CASE{"batched read of its keys", 2, [](auto* t) { t->GetMultiParameter(t->pTicket, s_ownKeys); }},
             CASE{"batched read of no keys", 2, [](auto* t) { t->GetMultiParameter(t->pTicket, s_noKeys); }},
             CASE{"null batch", 2, [](auto* t) { t->GetMultiParameter(t->pTicket, nullptr); }},
             CASE{"count of what is in memory", 2, [](auto* t) { Operate(t, STICKET_OP_COUNT_LOADED, &s_count); }},
             CASE{"lock", 2, [](auto* t) { t->Lock(t->pTicket, 1, &s_number, true); }},
             CASE{"read of another key", 4, [](auto* t) { GetInt(t, "d"); }},
             CASE{"read of a key that does not exist", 4, [](auto* t) { GetInt(t, "a"); }},
             CASE{"read of no key", 4, [](auto* t) { t->GetParameter(t->pTicket, nullptr, PARAM_INT, &s_number, 0); }},
             CASE{"batched read of other keys too", 4, [](auto* t) { t->GetMultiParameter(t->pTicket, s_otherKeys); }},
             CASE{"write of another key", 5, [](auto* t) { Set(t, "e", 7); }},
             CASE{"batched write of its key", 4, [](auto* t) { t->SetMultiParameter(t->pTicket, s_set); }},
             CASE{"null batch of writes", 4, [](auto* t) { t->SetMultiParameter(t->pTicket, nullptr); }},
             CASE{"walk", 4, [](auto* t) { Contents(t); }},
             CASE{"walk without a callback", 4, [](auto* t) { t->WalkParameter(t->pTicket, nullptr, nullptr, "", 0); }},
             CASE{"count", 4, [](auto* t) { Count(t); }},
             CASE{"count without a place for it", 4, [](auto* t) { EXPECT_EQ(Operate(t, STICKET_OP_COUNT), 0); }},
             CASE{"flush", 4, [](auto* t) { EXPECT_EQ(Operate(t, STICKET_OP_FLUSH_NOTIFICATION, &s_number), 0); }},
             CASE{"flush without a number", 4,
                  [](auto* t) { EXPECT_EQ(Operate(t, STICKET_OP_FLUSH_NOTIFICATION), 0); }},
         }) {
        SCOPED_TRACE(c.name);
        Write(m_file, WHOLE);
        OWNER const ticket(m_file.c_str());
        SetPartialKeys(ticket, {"a/b"});
        GetInt(ticket, "a/b", 0);
        ASSERT_EQ(InMemory(ticket), 2u);
        c.access(ticket);
        EXPECT_EQ(InMemory(ticket), c.inMemory);
    }
}

TEST_F(PartialFileTicket, AccessToAPartialKeyBeforeAnyLoadLoadsThatAlone) {
    SetPartialKeys(m_ticket, {"a/b"});
    EXPECT_EQ(InMemory(m_ticket), 0u);
    Set(m_ticket, "a/b", 9, 0);
    EXPECT_EQ(InMemory(m_ticket), 2u);
}

TEST_F(PartialFileTicket, KeysAreComparedExactly) {
    SetPartialKeys(m_ticket, {"a/*", "a", "A/B", ""});
    EXPECT_FALSE(m_open->KeyNotPartial("a/*"));
    EXPECT_FALSE(m_open->KeyNotPartial("a"));
    EXPECT_FALSE(m_open->KeyNotPartial(""));
    EXPECT_TRUE(m_open->KeyNotPartial("a/b"));
    EXPECT_TRUE(m_open->KeyNotPartial("a/"));
    EXPECT_TRUE(m_open->KeyNotPartial(nullptr));
    GetInt(m_ticket, "a/*");
    EXPECT_EQ(InMemory(m_ticket), 0u);
    EXPECT_EQ(GetInt(m_ticket, "a/b", 0), 1);
}

TEST_F(PartialFileTicket, ListsAddRemoveForgetOrChangeNothing) {
    auto const has = [&](std::initializer_list<char const*> keys) {
        for (char const* const key : keys) {
            if (m_open->KeyNotPartial(key)) return false;
        }
        return true;
    };
    SetPartialKeys(m_ticket, {"x", "y"});
    SetPartialKeys(m_ticket, {"z", "x"});
    EXPECT_TRUE(has({"x", "y", "z"}));
    SetPartialKeys(m_ticket, {});
    EXPECT_TRUE(has({"x", "y", "z"}));
    SetPartialKeys(m_ticket, {"", "unknown", "y"});
    EXPECT_TRUE(has({"x", "z"}));
    EXPECT_FALSE(has({"y"}));
    SetPartialKeys(m_ticket, {""});
    EXPECT_TRUE(has({"x", "z"}));
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_PARTIAL_KEYS), 1);
    EXPECT_FALSE(has({"x"}));
    EXPECT_FALSE(has({"z"}));
}

TEST_F(PartialFileTicket, ListMayBeginBehindAnEmptyStringOnlyToRemove) {
    SetPartialKeys(m_ticket, {"x", "", "y"});
    EXPECT_FALSE(m_open->KeyNotPartial("x"));
    EXPECT_FALSE(m_open->KeyNotPartial(""));
    EXPECT_FALSE(m_open->KeyNotPartial("y"));
}

TEST_F(PartialFileTicket, EmptyStringThatIsAKeyGoesOnlyWithASecondOne) {
    SetPartialKeys(m_ticket, {"x", ""});
    SetPartialKeys(m_ticket, {""});
    SetPartialKeys(m_ticket, {"", "x"});
    EXPECT_FALSE(m_open->KeyNotPartial(""));
    SetPartialKeys(m_ticket, {"", ""});
    EXPECT_TRUE(m_open->KeyNotPartial(""));
}

TEST_F(PartialFileTicket, EveryChangeOfTheKeysSavesAndDropsTheTree) {
    int value = 10;
    for (auto const& change : std::vector<std::function<int()>>{
             [&] { return Operate(m_ticket, STICKET_OP_PARTIAL_KEYS); },
             [&] { return SetPartialKeys(m_ticket, {}); },
             [&] {
                 return SetPartialKeys(m_ticket, {"", "x"});
             },
             [&] { return SetPartialKeys(m_ticket, {"x"}); },
         }) {
        Set(m_ticket, "d", ++value);
        EXPECT_EQ(change(), 1);
        EXPECT_EQ(InMemory(m_ticket), 0u);
        EXPECT_THAT(FileContent(m_file), testing::HasSubstr("<d type=\"int\">" + std::to_string(value) + "</d>"));
    }
}

TEST_F(PartialFileTicket, SaveOfAPartialTreeWritesOnlyWhatIsInMemory) {
    LoadPartially();
    Set(m_ticket, "a/b", 7, 0);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<a>", "\t<b type=\"int\">7</b>", "\t<b type=\"int\">2</b>", "</a>"}));
}

TEST_F(PartialFileTicket, DirtyPartialTreeIsSavedBeforeTheWholeIsLoaded) {
    LoadPartially();
    Set(m_ticket, "a/b", 7);
    EXPECT_EQ(GetText(m_ticket, "a/c"), std::nullopt);  // the save dropped it
    EXPECT_EQ(FileContent(m_file), Document({"<a>", "\t<b type=\"int\">7</b>", "</a>"}));
}

TEST_F(PartialFileTicket, ChangeThatIsRefusedIsSavedLikeAnyOther) {
    LoadPartially();
    int const value = 1;
    EXPECT_EQ(m_ticket->SetParameter(m_ticket->pTicket, "a/b", PARAM_VECTOR, &value, SCALAR_INDEX), 0);
    EXPECT_EQ(GetText(m_ticket, "a/c"), std::nullopt);
    EXPECT_EQ(FileContent(m_file), Document({"<a>", "\t<b type=\"int\">1</b>", "\t<b type=\"int\">2</b>", "</a>"}));
}

TEST_F(PartialFileTicket, PartialTreeThatBecomesEmptyDeletesTheFile) {
    LoadPartially();
    Delete(m_ticket, "a/b");
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(files::Exists(m_file));
}

TEST_F(PartialFileTicket, ClearMakesItWhole) {
    LoadPartially();
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(GetText(m_ticket, "a/c"), std::nullopt);  // nothing is loaded again
    EXPECT_EQ(GetInt(m_ticket, "a/b", 0), std::nullopt);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(files::Exists(m_file));
}

TEST_F(PartialFileTicket, LoaderSkipsOtherKeysWithSuccess) {
    LoadPartially();
    int const value = 1;
    auto* const self = static_cast<STICKET_FILE*>(m_open);
    EXPECT_EQ(OPEN_FILE_TICKET::LocalSetParameter(self, "d", PARAM_INT, &value, APPEND_INDEX), 1);
    EXPECT_EQ(InMemory(m_ticket), 2u);
    EXPECT_EQ(OPEN_FILE_TICKET::LocalSetParameter(self, "a/b", PARAM_INT, &value, APPEND_INDEX), 1);
    EXPECT_EQ(InMemory(m_ticket), 3u);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), WHOLE);  // loading is no change
}

TEST_F(PartialFileTicket, ReleasedTreeComesBackAsTold) {
    SetPartialKeys(m_ticket, {"d"});
    for (bool const partial : {false, true, false}) {
        m_open->ReleaseTo(partial);
        EXPECT_EQ(InMemory(m_ticket), 0u);
        GetInt(m_ticket, "d");
        EXPECT_EQ(InMemory(m_ticket), partial ? 1u : 4u);
    }
}

// Arguments that point into the tree which the call itself drops

TEST_F(PartialFileTicket, ValueOfADroppedPartialTreeCanBeStored) {
    Write(m_file, Document({"<a type=\"binstr\">some bytes that are not short</a>", "<d type=\"int\">3</d>"}));
    BIN_STRING bytes{};
    auto const read = [&] {
        SetPartialKeys(m_ticket, {"a"});
        EXPECT_EQ(m_ticket->GetParameter(m_ticket->pTicket, "a", PARAM_BINSTR, &bytes, SCALAR_INDEX), 1);
        EXPECT_EQ(InMemory(m_ticket), 1u);
    };
    read();
    EXPECT_EQ(m_ticket->SetParameter(m_ticket->pTicket, "copy", PARAM_BINSTR, &bytes, SCALAR_INDEX), 1);
    read();
    EXPECT_EQ(m_ticket->SetParameter(m_ticket->pTicket, "text", PARAM_STRING, bytes.data, SCALAR_INDEX), 1);
    read();
    SETMULTIPAR batch[] = {{"batch", PARAM_BINSTR, &bytes, SCALAR_INDEX, false},
                           {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, batch), 1);
    read();
    EXPECT_EQ(Set(m_ticket, static_cast<char const*>(bytes.data), 4), 1);
    EXPECT_THAT(Contents(m_ticket),
                ElementsAre("a 5 some bytes that are not short", "batch 5 some bytes that are not short",
                            "copy 5 some bytes that are not short", "d 2 3", "some bytes that are not short 2 4",
                            "text 4 some bytes that are not short"));
}
