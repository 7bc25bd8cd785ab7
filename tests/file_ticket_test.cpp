// The file ticket through its table: loading, changing, saving, conversion of texts, identity.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/SysLib.h"
#include "support/FileTickets.h"
#include "support/FullDisk.h"

namespace {
std::vector<std::string> g_log;
}  // namespace

// Replaces STICKET::Log for all other objects of this program; see file_ticket_test.cmake.
extern "C" __attribute__((format(printf, 2, 3))) void __wrap__ZN7STICKET3LogEjPKcz(unsigned int level,
                                                                                   char const* format, ...) {
    char text[1000];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    g_log.push_back(std::to_string(level) + " " + text);
}

namespace {

using namespace tickets;
using files::Exists;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::IsEmpty;

class FileTicket : public testing::Test {
 protected:
    void SetUp() override { g_log.clear(); }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

using FileTicketDeath = FileTicket;

// Marks both ends of each text, so that tests see which conversions it passed through.
class MARKS : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override {
        if (text == "refuse") throw std::runtime_error("refused");
        return "[" + text + "]";
    }
    std::string FromFile(std::string const& text, int reserved) override {
        if (text == "[refuse]") throw "refused";
        m_reserved = reserved;
        return "{" + text + "}";
    }
    int m_reserved = -1;
};

STICKET_WHOAMI WithContext(void* context) {
    return {nullptr, -2, -2, context, nullptr};
}

}  // namespace

// Creation

TEST_F(FileTicket, TableIsOfTheFixedFormWithEmptyReserves) {
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(ticket->nSize, 576u);
    EXPECT_EQ(ticket->nVersion, 2u);
    EXPECT_EQ(ticket->nReserved, 0u);
    ASSERT_NE(ticket->pTicket, nullptr);
    EXPECT_EQ(ticket->pTicket->GetInterface(), static_cast<STICKET_ACCESS const*>(ticket));
    EXPECT_EQ(ticket->pTicket->GetServerInterface(), nullptr);
    EXPECT_EQ(ticket->GetParameter, &STICKET_FILE::GetParameter);
    EXPECT_EQ(ticket->GetMultiParameter, &STICKET_FILE::GetMultiParameter);
    EXPECT_EQ(ticket->WalkParameter, &STICKET_FILE::WalkParameter);
    EXPECT_EQ(ticket->SetParameter, &STICKET_FILE::SetParameter);
    EXPECT_EQ(ticket->SetMultiParameter, &STICKET_FILE::SetMultiParameter);
    EXPECT_EQ(ticket->MergeTicket, &STICKET::MergeTicket);
    int (*const operation)(STICKET*, STICKET_OP, void*) = &STICKET_FILE::Operation;
    EXPECT_EQ(ticket->Operation, operation);
    EXPECT_EQ(ticket->Lock, &STICKET_FILE::Lock);
    int (*const enDis)(STICKET*, int, bool, char const* const*) = &STICKET::EnDisNotification;
    EXPECT_EQ(ticket->EnDisNotification, enDis);
    EXPECT_EQ(ticket->QueueAfterNotification, &STICKET::QueueAfterNotification);
    EXPECT_THAT(ticket->Reserved1, testing::Each(nullptr));
    EXPECT_THAT(ticket->Reserved2, testing::Each(nullptr));
    EXPECT_THAT(ticket->Reserved3, testing::Each(nullptr));
}

TEST_F(FileTicket, NothingIsReadBeforeTheFirstAccess) {
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(InMemory(ticket), 0u);
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(InMemory(ticket), 0u);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    EXPECT_EQ(InMemory(ticket), 1u);
}

TEST_F(FileTicket, FileIsReadOnce) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    Write(m_file, Document({"<a type=\"int\">2</a>"}));
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    EXPECT_THAT(Contents(ticket), ElementsAre("a 2 1"));
}

TEST_F(FileTicket, MissingFileReadsAsEmptyAndIsWrittenByTheFirstSaveAfterASet) {
    OWNER const ticket(m_file.c_str());
    EXPECT_THAT(Contents(ticket), IsEmpty());
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(Exists(m_file));
    EXPECT_EQ(Set(ticket, "a/b", 42), 1);
    EXPECT_FALSE(Exists(m_file));
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n\t<a>\n\t\t<b type=\"int\">42</b>\n"
              "\t</a>\n</ticket>\n");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileTicket, EveryKindOfValueSurvivesDestructionAndReload) {
    LINES before;
    {
        OWNER const ticket(m_file.c_str());
        Set(ticket, "int", -7);
        Set(ticket, "double", 0.1);
        Set(ticket, "text", "caf\xC3\xA9 <&> \\ \t end");
        Set(ticket, "empty", "");
        Set(ticket, "vector", 1);
        Set(ticket, "vector", "two", APPEND_INDEX);
        Set(ticket, "vector", std::nan(""), APPEND_INDEX);
        BIN_STRING const bytes{"\0\xFF!", 3};
        ticket->SetParameter(ticket->pTicket, "bytes", PARAM_BINSTR, &bytes, SCALAR_INDEX);
        int64_t const large = -9007199254740993;
        ticket->SetParameter(ticket->pTicket, "int64", PARAM_INT64, &large, SCALAR_INDEX);
        uint64_t const largest = ~0ull;
        ticket->SetParameter(ticket->pTicket, "uint64", PARAM_UINT64, &largest, SCALAR_INDEX);
        before = Contents(ticket);
    }
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(before.size(), 10u);
    EXPECT_EQ(Contents(ticket), before);
}

TEST_F(FileTicket, PointersAreNotSavedAndATicketOfNothingElseLeavesAnEmptyElement) {
    {
        OWNER const ticket(m_file.c_str());
        ticket->SetParameter(ticket->pTicket, "p", PARAM_POINTER, &m_file, SCALAR_INDEX);
    }
    EXPECT_EQ(FileContent(m_file), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket/>\n");
}

// The dirty flag: changes that lead to a save, and calls that do not

TEST_F(FileTicket, ReadingDoesNotLeadToASave) {
    Write(m_file, "<ticket><a type=\"int\">1</a></ticket>");
    {
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(GetInt(ticket, "a"), 1);
        EXPECT_THAT(Contents(ticket), ElementsAre("a 2 1"));
        EXPECT_EQ(Count(ticket), 1u);
    }
    EXPECT_EQ(FileContent(m_file), "<ticket><a type=\"int\">1</a></ticket>");
}

TEST_F(FileTicket, SaveWritesOnlyAfterAChange) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_SAVE);
    Write(m_file, "by somebody else");
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), "by somebody else");
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
}

TEST_F(FileTicket, EvenAFailingSetLeadsToASave) {
    struct CASE {
        char const* name;
        std::function<int(STICKET_ACCESS const*)> set;
    };
    for (CASE const& c : {
             CASE{"null key", [](auto* t) { return t->SetParameter(t->pTicket, nullptr, PARAM_INT, &t, -1); }},
             CASE{"bad type", [](auto* t) { return t->SetParameter(t->pTicket, "k", PARAM_TYPE(12), &t, -1); }},
             CASE{"null value", [](auto* t) { return t->SetParameter(t->pTicket, "k", PARAM_INT, nullptr, -1); }},
             CASE{"null batch", [](auto* t) { return t->SetMultiParameter(t->pTicket, nullptr); }},
         }) {
        SCOPED_TRACE(c.name);
        Write(m_file, "<ticket><a type=\"int\">1</a></ticket>");
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(c.set(ticket), 0);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    }
}

TEST_F(FileTicket, DeletingTheLastValueDeletesTheFileAndLogsItsName) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_SAVE);
    ASSERT_TRUE(Exists(m_file));
    EXPECT_EQ(Delete(ticket, "a"), 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(Exists(m_file));
    EXPECT_THAT(g_log, ElementsAre("2000 STICKET_FILE deleted empty ticket \"" + m_file + "\""));

    g_log.clear();
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);  // no longer dirty
    EXPECT_THAT(g_log, IsEmpty());
}

TEST_F(FileTicket, TicketOfEmptyVectorsOnlyIsEmpty) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    {
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(Set(ticket, "a", 1, 5), 0);  // fails, but turns the value into a vector
        ticket->SetParameter(ticket->pTicket, "a", PARAM_NONE, nullptr, 0);
    }
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicket, DirtIsGoneEvenWhenTheDiskRefusedTheSave) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    {
        FULL_DISK const full;
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    }
    EXPECT_FALSE(Exists(m_file));
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicket, KeyThatEndsInASlashIsLoggedAndTheSaveGoesOn) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a/b/", 1);
    Set(ticket, "c", 2);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_THAT(g_log, ElementsAre("0 STICKET_FILE Illegal key .../b/ creates empty node"));
    EXPECT_EQ(FileContent(m_file), Document({"<a>", "\t<b/>", "</a>", "<c type=\"int\">2</c>"}));
}

// Infinite numbers cannot be written

TEST_F(FileTicket, InfiniteNumberStopsTheSaveAndKeepsFileAndDirt) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    STICKET_WHOAMI const whoAmI{nullptr, 7, 8, nullptr, nullptr};
    OWNER const ticket(STICKET::PCreate(m_file, whoAmI));
    Set(ticket, "a", 2);
    Set(ticket, "b", std::numeric_limits<double>::infinity());
    for (uint32_t const code : {STICKET_OP_SAVE, STICKET_OP_RELEASE, STICKET_OP_PARTIAL_KEYS}) {
        g_log.clear();
        EXPECT_EQ(Operate(ticket, code), 0);
        EXPECT_THAT(g_log, ElementsAre("0 STICKET_FILE::Operation(7, 8, " + std::to_string(code) + ") catch(...)"));
        EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
        EXPECT_EQ(InMemory(ticket), 2u);
    }
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));

    EXPECT_EQ(Set(ticket, "b", 3), 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">2</a>", "<b type=\"int\">3</b>"}));
}

TEST_F(FileTicketDeath, SaveThatFailsInTheDestructorEndsTheProcess) {
    EXPECT_DEATH(
        {
            STICKET_ACCESS const* ticket = STICKET::Create(m_file.c_str());
            Set(ticket, "a", -std::numeric_limits<double>::infinity());
            STICKET::Destroy(ticket);
        },
        "");
    EXPECT_FALSE(Exists(m_file));
}

// Notifications, deferred callbacks, locks

TEST_F(FileTicket, ChangesTellRegistrationsAndRunCallbacksButLoadingDoesNot) {
    struct CALLS {
        static void Count(void* calls) { ++*static_cast<int*>(calls); }
    };
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    auto* const open = new OPEN_FILE_TICKET(m_file);
    OWNER const ticket(open->GetInterface());
    int calls = 0;
    SETMULTIPAR batch[] = {{"a", PARAM_STRING, "x", SCALAR_INDEX, false}, {nullptr, PARAM_NONE, nullptr, 0, false}};
    auto const prepare = [&] {
        calls = 0;
        open->Register(1, "a");
        EXPECT_TRUE(ticket->QueueAfterNotification(ticket->pTicket, &CALLS::Count, &calls));
    };

    prepare();
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    EXPECT_TRUE(open->IsRegistered(1));
    EXPECT_EQ(calls, 0);

    EXPECT_EQ(Set(ticket, "a", 2), 1);
    EXPECT_FALSE(open->IsRegistered(1));
    EXPECT_EQ(calls, 1);

    prepare();
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, batch), 1);
    EXPECT_FALSE(open->IsRegistered(1));
    EXPECT_EQ(calls, 1);

    prepare();
    EXPECT_EQ(ticket->SetParameter(ticket->pTicket, "a", PARAM_VECTOR, &calls, SCALAR_INDEX), 0);
    EXPECT_EQ(Operate(ticket, STICKET_OP_UNUSED_8), 0);
    EXPECT_EQ(Operate(ticket, 13), 0);
    EXPECT_TRUE(open->IsRegistered(1));
    EXPECT_EQ(calls, 0);

    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_TRUE(open->IsRegistered(1));
    EXPECT_EQ(calls, 1);

    EXPECT_EQ(Operate(ticket, STICKET_OP_CLEAR), 1);
    EXPECT_FALSE(open->IsRegistered(1));
}

TEST_F(FileTicket, CallbackThatRunsAfterAChangeMayUseTheTicket) {
    struct CALLBACK {
        static void Drop(void* access) { Operate(static_cast<STICKET_ACCESS const*>(access), STICKET_OP_RELEASE); }
    };
    OWNER const ticket(m_file.c_str());
    void* const access = const_cast<STICKET_ACCESS*>(static_cast<STICKET_ACCESS const*>(ticket));
    ticket->QueueAfterNotification(ticket->pTicket, &CALLBACK::Drop, access);
    EXPECT_EQ(Set(ticket, "a", 1), 1);
    EXPECT_EQ(InMemory(ticket), 0u);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
}

TEST_F(FileTicket, LocksAreTheTicketsAndDoNotLoadTheFile) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    OWNER const ticket(m_file.c_str());
    int first = 5;
    int second = 6;
    EXPECT_TRUE(ticket->Lock(ticket->pTicket, 3, &first, true));
    EXPECT_FALSE(ticket->Lock(ticket->pTicket, 3, &second, true));
    EXPECT_EQ(second, 5);
    EXPECT_TRUE(ticket->Lock(ticket->pTicket, 3, &first, false));
    EXPECT_EQ(first, -1);
    EXPECT_FALSE(ticket->Lock(ticket->pTicket, 20, &first, true));
    EXPECT_FALSE(ticket->Lock(ticket->pTicket, 0, nullptr, true));
    EXPECT_EQ(InMemory(ticket), 0u);
}

// Conversion of texts

TEST_F(FileTicket, ConversionSeesEveryTextOnTheWayOutAndEveryNonEmptyOneOnTheWayIn) {
    MARKS marks;
    {
        OWNER const ticket(STICKET::PCreate(m_file, WithContext(&marks)));
        Set(ticket, "a", "text");
        Set(ticket, "b", "");
        BIN_STRING const bytes{"bytes", 5};
        ticket->SetParameter(ticket->pTicket, "c", PARAM_BINSTR, &bytes, SCALAR_INDEX);
        Set(ticket, "v", "one");
        Set(ticket, "v", "two", APPEND_INDEX);
    }
    EXPECT_EQ(FileContent(m_file),
              Document({"<a type=\"string\">[text]</a>", "<b type=\"string\">[]</b>", "<c type=\"binstr\">bytes</c>",
                        "<v type=\"string\">[one]</v>", "<v type=\"string\">[two]</v>"}));

    Write(m_file,
          Document({"<a type=\"string\">text</a>", "<b type=\"string\">\\</b>", "<c type=\"binstr\">bytes</c>"}));
    OWNER const ticket(STICKET::PCreate(m_file, WithContext(&marks)));
    EXPECT_THAT(Contents(ticket), ElementsAre("a 4 {text}", "b 4 ", "c 5 bytes"));
    EXPECT_EQ(marks.m_reserved, 0);
}

TEST_F(FileTicket, ContextIsNotTouchedWhileNoTextIsSavedOrLoaded) {
    void* const anything = reinterpret_cast<void*>(1);
    Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"string\">\\</b>"}));
    OWNER const ticket(STICKET::PCreate(m_file, WithContext(anything)));
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    Set(ticket, "b", "text");
    EXPECT_EQ(GetText(ticket, "b"), "text");
    Delete(ticket, "b");
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    void* context = nullptr;
    EXPECT_EQ(Operate(ticket, STICKET_OP_CONTEXT, &context), 1);
    EXPECT_EQ(context, anything);
}

TEST_F(FileTicket, ConversionThatFailsOnTheWayOutStopsTheSave) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    MARKS marks;
    OWNER const ticket(STICKET::PCreate(m_file, WithContext(&marks)));
    Set(ticket, "b", "refuse");
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 0);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    Set(ticket, "b", "pass");
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>", "<b type=\"string\">[pass]</b>"}));
}

TEST_F(FileTicket, ValueWhoseConversionFailsOnTheWayInIsSkippedLoggedAndKeptAside) {
    std::string const old = Document({"<a type=\"string\">[refuse]</a>", "<b type=\"int\">1</b>"});
    Write(m_file, old);
    MARKS marks;
    OWNER const ticket(STICKET::PCreate(m_file, {nullptr, 3, 4, &marks, nullptr}));
    EXPECT_THAT(Contents(ticket), ElementsAre("b 2 1"));
    EXPECT_THAT(g_log, ElementsAre("0 STICKET_FILE::LocalSetParameter(3, 4) catch(...)"));
    Set(ticket, "b", 2);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">2</b>"}));
    EXPECT_EQ(FileContent(m_file + ".unreadable"), old);
}

TEST_F(FileTicket, ElementsBehindOneThatCannotBeConvertedStayWithTheirKey) {
    Write(m_file, Document({"<a type=\"string\">1</a>", "<a type=\"string\">2</a>", "<b type=\"string\">[refuse]</b>",
                            "<b type=\"string\">3</b>", "<b type=\"string\">4</b>"}));
    MARKS marks;
    OWNER const ticket(STICKET::PCreate(m_file, {nullptr, 3, 4, &marks, nullptr}));
    EXPECT_THAT(Contents(ticket), ElementsAre("a[0] 4 {1}", "a[1] 4 {2}", "b[0] 4 {3}", "b[1] 4 {4}"));
}

TEST_F(FileTicket, KeepingAFileThatCannotBeReadIsToldInTheLog) {
    Write(m_file, "broken");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    Set(ticket, "a", 2);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_THAT(g_log, ElementsAre("2000 STICKET_FILE kept unreadable \"" + m_file + ".unreadable\""));
    EXPECT_EQ(FileContent(m_file + ".unreadable"), "broken");
}

TEST_F(FileTicket, FileThatCanNeitherBeReadNorKeptIsReplacedAndTheLogTells) {
    Write(m_file, "broken");
    std::filesystem::create_directory(m_file + ".unreadable");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_THAT(g_log, ElementsAre("0 STICKET_FILE cannot keep unreadable \"" + m_file + "\""));
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
}

TEST_F(FileTicket, ConversionThatReadsTheTicketWhileItLoadsEndsAllTheSame) {
    struct READER : MARKS {
        STICKET_ACCESS const* m_ticket = nullptr;
        std::optional<int> m_read;
        std::string FromFile(std::string const& text, int) override {
            m_read = GetInt(m_ticket, "a");
            return text;
        }
    } reader;
    Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"string\">text</b>"}));
    OWNER const ticket(STICKET::PCreate(m_file, WithContext(static_cast<STICKET_STRING_CONVERSION*>(&reader))));
    reader.m_ticket = ticket;
    EXPECT_THAT(Contents(ticket), ElementsAre("a 2 1", "b 4 text"));
    EXPECT_EQ(reader.m_read, 1);
}

// The mutex

TEST_F(FileTicket, EntriesWithoutAMutexAnswerNothingAndSaySoInTheLog) {
    OWNER const server;
    OWNER const ticket(STICKET::PCreate(m_file, {server->pTicket, 7, 8, nullptr, nullptr}));
    STICKET* const self = ticket->pTicket;
    int owner = 1;
    GETMULTIPAR get[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    SETMULTIPAR set[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->GetParameter(self, "a", PARAM_INT, &owner, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->SetParameter(self, "a", PARAM_INT, &owner, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->GetMultiParameter(self, get), 0);
    EXPECT_EQ(ticket->SetMultiParameter(self, set), 0);
    EXPECT_EQ(ticket->WalkParameter(self, &AddLine, nullptr, "", 0), 0);
    EXPECT_EQ(ticket->Operation(self, STICKET_OP_CLEAR, nullptr), 0);
    EXPECT_EQ(ticket->Operation(self, STICKET_OP(~0u), nullptr), 0);
    EXPECT_EQ(ticket->Lock(self, 19, &owner, true), 0);
    EXPECT_EQ(OPEN_FILE_TICKET::LocalSetParameter(static_cast<STICKET_FILE*>(self), "a", PARAM_INT, &owner, -2), 0);
    EXPECT_THAT(
        g_log,
        ElementsAre("0 STICKET_FILE::GetParameter(7, 8) catch(...)", "0 STICKET_FILE::SetParameter(7, 8) catch(...)",
                    "0 STICKET_FILE::GetMultiParameter(7, 8) catch(...)",
                    "0 STICKET_FILE::SetMultiParameter(7, 8) catch(...)",
                    "0 STICKET_FILE::WalkParameter(7, 8) catch(...)", "0 STICKET_FILE::Operation(7, 8, 2) catch(...)",
                    "0 STICKET_FILE::Operation(7, 8, -1) catch(...)", "0 STICKET_FILE::Lock(7, 8, 19) catch(...)",
                    "0 STICKET_FILE::LocalSetParameter(7, 8) catch(...)"));
}

TEST_F(FileTicket, EntriesWithoutATicketAnswerNothing) {
    OWNER const ticket(m_file.c_str());
    int owner = 1;
    GETMULTIPAR get[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    SETMULTIPAR set[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->GetParameter(nullptr, "a", PARAM_INT, &owner, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->SetParameter(nullptr, "a", PARAM_INT, &owner, SCALAR_INDEX), 0);
    EXPECT_EQ(ticket->GetMultiParameter(nullptr, get), 0);
    EXPECT_EQ(ticket->SetMultiParameter(nullptr, set), 0);
    EXPECT_EQ(ticket->WalkParameter(nullptr, &AddLine, nullptr, "", 0), 0);
    EXPECT_EQ(ticket->Operation(nullptr, STICKET_OP_CLEAR, nullptr), 0);
    EXPECT_EQ(ticket->Lock(nullptr, 0, &owner, true), 0);
    EXPECT_THAT(g_log, IsEmpty());
}

TEST_F(FileTicket, TicketOfAServerUsesTheMutexItIsGivenForTheSaveOfItsDestructionToo) {
    SysLib::MUTEX_INSTANCE mutex;
    OWNER const server;
    STICKET_ACCESS const* ticket = STICKET::PCreate(m_file, {server->pTicket, -2, -2, nullptr, &mutex});
    Set(ticket, "a", 1);

    std::atomic<bool> destroyed{false};
    std::thread destroyer;
    {
        SysLib::MUTEX_LOCK const lock(mutex);
        destroyer = std::thread([&] {
            STICKET::Destroy(ticket);
            destroyed = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_FALSE(destroyed);
        EXPECT_FALSE(Exists(m_file));
    }
    destroyer.join();
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
}

// Names

TEST_F(FileTicket, TicketWithoutANameWorksInMemory) {
    auto const before = std::filesystem::current_path();
    std::filesystem::current_path(m_scratch.Path());
    {
        OWNER const ticket("");
        EXPECT_EQ(Set(ticket, "a", 1), 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(GetInt(ticket, "a"), 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_RELEASE), 1);
        EXPECT_EQ(GetInt(ticket, "a"), std::nullopt);
    }
    std::filesystem::current_path(before);
}

TEST_F(FileTicket, NameEndsAtItsFirstNul) {
    {
        OWNER const ticket(STICKET::PCreate(m_file + std::string("\0tail", 5), NOBODY));
        Set(ticket, "a", 1);
    }
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}
