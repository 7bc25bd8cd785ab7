// The operation codes of a file ticket, in particular saving and releasing after a delay.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "support/FileTickets.h"
#include "support/Misaligned.h"

namespace {

using namespace tickets;
using files::Exists;
using files::Write;

class FileTicketOperations : public testing::Test {
 protected:
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    OPEN_FILE_TICKET* const m_open = new OPEN_FILE_TICKET(m_file);
    OWNER const m_ticket{m_open->GetInterface()};
};

}  // namespace

// 0: save

TEST_F(FileTicketOperations, SaveAfterSecondsWaitsForMoreThanThatSinceTheTicketTurnedDirty) {
    Set(m_ticket, "a", 1);
    m_open->Pass(30);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, 30), 1);
    EXPECT_FALSE(Exists(m_file));
    m_open->Pass(1);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, 30), 1);
    EXPECT_TRUE(Exists(m_file));
}

TEST_F(FileTicketOperations, SecondsMayLieAtAnyAlignment) {
    Set(m_ticket, "a", 1);
    m_open->Pass(1);
    MISALIGNED<int> seconds(30);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE, seconds.Address()), 1);
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicketOperations, OnlyTheFirstOfSeveralChangesCountsForTheSeconds) {
    Set(m_ticket, "a", 1);
    m_open->Pass(20);
    Set(m_ticket, "a", 2);
    m_open->Pass(11);
    Seconds(m_ticket, STICKET_OP_SAVE, 30);
    EXPECT_TRUE(Exists(m_file));

    std::filesystem::remove(m_file);
    m_open->Pass(100);
    Set(m_ticket, "a", 3);  // makes the ticket dirty again
    m_open->Pass(30);
    Seconds(m_ticket, STICKET_OP_SAVE, 30);
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicketOperations, SaveTakesAnyNumberOfSeconds) {
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, std::numeric_limits<int>::max()), 1);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, 0), 1);
    EXPECT_FALSE(Exists(m_file));
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, -1), 1);
    EXPECT_TRUE(Exists(m_file));
}

TEST_F(FileTicketOperations, SaveAfterSecondsDoesNotWaitForAClockThatWasSetBack) {
    Set(m_ticket, "a", 1);
    m_open->Pass(-86400);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_SAVE, 30), 1);
    EXPECT_TRUE(Exists(m_file));
}

TEST_F(FileTicketOperations, SaveOfACleanOrUnreadTicketDoesNothing) {
    Write(m_file, "by somebody else");
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    GetInt(m_ticket, "a");
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), "by somebody else");
}

// 1: release

TEST_F(FileTicketOperations, ReleaseSavesAndDropsAndTheNextAccessLoadsAgain) {
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_RELEASE), 1);
    EXPECT_EQ(InMemory(m_ticket), 0u);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    Write(m_file, Document({"<a type=\"int\">2</a>"}));
    EXPECT_EQ(GetInt(m_ticket, "a"), 2);
}

TEST_F(FileTicketOperations, ReleaseAfterSecondsWaitsForMoreThanThatSinceTheLastAccess) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    GETMULTIPAR get[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    SETMULTIPAR set[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    std::function<void()> const accesses[] = {
        [&] { GetInt(m_ticket, "a"); },
        [&] { GetInt(m_ticket, "not there"); },
        [&] { m_ticket->GetMultiParameter(m_ticket->pTicket, get); },
        [&] { Contents(m_ticket); },
        [&] { Set(m_ticket, "a", 1); },
        [&] { m_ticket->SetMultiParameter(m_ticket->pTicket, set); },
        [&] { Count(m_ticket); },
    };
    GetInt(m_ticket, "a");
    for (auto const& access : accesses) {
        m_open->Pass(60);
        access();
        m_open->Pass(60);
        EXPECT_EQ(Seconds(m_ticket, STICKET_OP_RELEASE, 60), 1);
        EXPECT_EQ(InMemory(m_ticket), 1u);
    }
    m_open->Pass(1);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_RELEASE, 60), 1);
    EXPECT_EQ(InMemory(m_ticket), 0u);
}

TEST_F(FileTicketOperations, LocksSavesAndCountsOfMemoryAreNoAccess) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    GetInt(m_ticket, "a");
    m_open->Pass(61);
    int owner = 1;
    unsigned int counter = 0;
    m_ticket->Lock(m_ticket->pTicket, 1, &owner, true);
    Operate(m_ticket, STICKET_OP_SAVE);
    Operate(m_ticket, STICKET_OP_INCREMENT, &counter);
    EXPECT_EQ(InMemory(m_ticket), 1u);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_RELEASE, 60), 1);
    EXPECT_EQ(InMemory(m_ticket), 0u);
}

TEST_F(FileTicketOperations, ReleaseAfterSecondsLeavesATicketThatIsNotLoaded) {
    SetPartialKeys(m_ticket, {"a"});
    GetInt(m_ticket, "b");  // now the whole file is loaded
    Operate(m_ticket, STICKET_OP_RELEASE);
    m_open->ReleaseTo(false);
    Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"int\">1</b>"}));
    m_open->Pass(1000);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_RELEASE, 0), 1);
    GetInt(m_ticket, "a");
    EXPECT_EQ(InMemory(m_ticket), 2u);
}

TEST_F(FileTicketOperations, ReleaseLoadsTheKeysOfThePartialSetNext) {
    Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"int\">2</b>"}));
    SetPartialKeys(m_ticket, {"a"});
    GetInt(m_ticket, "b");
    EXPECT_EQ(InMemory(m_ticket), 2u);
    m_open->Pass(61);
    EXPECT_EQ(Seconds(m_ticket, STICKET_OP_RELEASE, 60), 1);
    GetInt(m_ticket, "a");
    EXPECT_EQ(InMemory(m_ticket), 1u);
}

// 2: clear

TEST_F(FileTicketOperations, ClearEmptiesTheTicketAndItsSaveDeletesTheFile) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(GetInt(m_ticket, "a"), std::nullopt);
    EXPECT_EQ(Count(m_ticket), 0u);
    EXPECT_TRUE(Exists(m_file));
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1);
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicketOperations, ClearTurnsTheTicketDirtyNowUnlessItIsDirtyAlready) {
    Write(m_file, "");
    m_open->Pass(100);
    Operate(m_ticket, STICKET_OP_CLEAR);
    m_open->Pass(30);
    Operate(m_ticket, STICKET_OP_CLEAR);
    Seconds(m_ticket, STICKET_OP_SAVE, 30);
    EXPECT_TRUE(Exists(m_file));
    m_open->Pass(1);
    Seconds(m_ticket, STICKET_OP_SAVE, 30);
    EXPECT_FALSE(Exists(m_file));
}

TEST_F(FileTicketOperations, ClearIsAnAccess) {
    Set(m_ticket, "a", 1);
    m_open->Pass(61);
    Operate(m_ticket, STICKET_OP_CLEAR);
    Set(m_ticket, "b", 1);
    Operate(m_ticket, STICKET_OP_CLEAR);
    m_open->Pass(60);
    Seconds(m_ticket, STICKET_OP_RELEASE, 60);
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(GetInt(m_ticket, "a"), std::nullopt);  // the ticket was not released, so it does not read the file again
}

// 4 and 5: count

TEST_F(FileTicketOperations, CountsLoadOrTakeTheTicketAsItStands) {
    Write(m_file, Document({"<a type=\"int\">1</a>", "<a type=\"int\">2</a>", "<b type=\"string\">x</b>"}));
    unsigned int count = 77;
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_COUNT_LOADED, &count), 1);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_COUNT, &count), 1);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_COUNT_LOADED, &count), 1);
    EXPECT_EQ(count, 3u);
}

TEST_F(FileTicketOperations, CountWithoutAPlaceForItFailsButLoads) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_COUNT_LOADED), 0);
    EXPECT_EQ(InMemory(m_ticket), 0u);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_COUNT), 0);
    EXPECT_EQ(InMemory(m_ticket), 1u);
}

// 6: flush to a notification

TEST_F(FileTicketOperations, FlushLoadsAndFailsAlways) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    int number = 1;
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_FLUSH_NOTIFICATION), 0);
    EXPECT_EQ(InMemory(m_ticket), 1u);
    Operate(m_ticket, STICKET_OP_RELEASE);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_FLUSH_NOTIFICATION, &number), 0);
    EXPECT_EQ(InMemory(m_ticket), 1u);
    m_open->Register(1, "a");
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_FLUSH_NOTIFICATION, &number), 0);
    EXPECT_TRUE(m_open->IsRegistered(1));
}

// 7 and up

TEST_F(FileTicketOperations, IncrementAddsOneToTheCallersCounter) {
    unsigned int counter = 41;
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_INCREMENT, &counter), 1);
    EXPECT_EQ(counter, 42u);
    counter = ~0u;
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_INCREMENT, &counter), 1);
    EXPECT_EQ(counter, 0u);
}

TEST_F(FileTicketOperations, IdentityIsReported) {
    int context = 0;
    OWNER const server;
    SysLib::MUTEX_INSTANCE mutex;
    OWNER const ticket(STICKET::PCreate(m_scratch.Path("other.xml"), {server->pTicket, 5, 6, &context, &mutex}));
    void* slot = nullptr;
    EXPECT_EQ(Operate(ticket, STICKET_OP_CONTEXT, &slot), 1);
    EXPECT_EQ(slot, &context);
    EXPECT_EQ(Operate(ticket, STICKET_OP_INSTANCE, &slot), 1);
    EXPECT_EQ(slot, hSTicketInstance);
    STICKET_OPTION_WHOAMI whoAmI{};
    EXPECT_EQ(Operate(ticket, STICKET_OP_WHOAMI, &whoAmI), 1);
    EXPECT_EQ(whoAmI.pServer, static_cast<STICKET_ACCESS const*>(server));
    EXPECT_EQ(whoAmI.nIdA, 5);
    EXPECT_EQ(whoAmI.nIdB, 6);
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_WHOAMI, &whoAmI), 1);
    EXPECT_EQ(whoAmI.pServer, nullptr);
    EXPECT_EQ(whoAmI.nIdA, -2);
    EXPECT_EQ(whoAmI.nIdB, -2);
}

TEST_F(FileTicketOperations, CodesThatNeedDataFailWithoutItAndUnknownCodesAlways) {
    for (uint32_t const code : {4u, 5u, 6u, 7u, 10u, 11u, 12u}) EXPECT_EQ(Operate(m_ticket, code), 0) << code;
    uint64_t data[8] = {};
    for (uint32_t const code : {8u, 9u, 13u, 14u, 100u, 0x7FFFFFFFu, 0x80000000u, ~0u}) {
        EXPECT_EQ(Operate(m_ticket, code), 0) << code;
        EXPECT_EQ(Operate(m_ticket, code, data), 0) << code;
    }
    EXPECT_THAT(data, testing::Each(0u));
}
