// Creating and destroying tickets through the static functions and through the exported record.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/Tickets.h"

namespace {

// Used before main, as a host's static objects may do.
STICKET_ACCESS const* const madeEarly = STicketInstance.Create(nullptr);

STICKET_OPTION_WHOAMI Identity(STICKET_ACCESS const* access) {
    STICKET_OPTION_WHOAMI identity{};
    EXPECT_EQ(tickets::Operate(access, STICKET_OP_WHOAMI, &identity), 1);
    return identity;
}

bool IsMemoryTicket(STICKET_ACCESS const* access) {
    return access->GetParameter == &STICKET_MEM::GetParameter;
}

TEST(Factory, WithoutANameMakesAMemoryTicket) {
    tickets::OWNER const ticket(STICKET::Create(nullptr));
    EXPECT_TRUE(IsMemoryTicket(ticket));
    EXPECT_EQ(tickets::Set(ticket, "a", 1), 1);
}

TEST(Factory, WithAnyNameMakesAFileTicket) {
    for (char const* name : {"", "no such directory/ticket.xml"}) {
        tickets::OWNER const ticket(STICKET::Create(name));
        EXPECT_FALSE(IsMemoryTicket(ticket));
        EXPECT_EQ(tickets::Count(ticket), 0u) << "a missing file reads as an empty one";
    }
}

TEST(Factory, GivesTheDefaultIdentity) {
    for (char const* name : {static_cast<char const*>(nullptr), ""}) {
        tickets::OWNER const ticket(STICKET::Create(name));
        STICKET_OPTION_WHOAMI const identity = Identity(ticket);
        EXPECT_EQ(identity.pServer, nullptr);
        EXPECT_EQ(identity.nIdA, -2);
        EXPECT_EQ(identity.nIdB, -2);
        void* context = &context;
        EXPECT_EQ(tickets::Operate(ticket, STICKET_OP_CONTEXT, &context), 1);
        EXPECT_EQ(context, nullptr);
    }
}

TEST(Factory, TakesTheCallersIdentity) {
    STICKET_WHOAMI const whoAmI{nullptr, 11, 12, nullptr, nullptr};
    for (STICKET_ACCESS const* access : {STICKET::CCreate(nullptr, whoAmI), STICKET::CCreate("", whoAmI),
                                         STICKET::PCreate(whoAmI), STICKET::PCreate(std::string("x"), whoAmI)}) {
        tickets::OWNER const ticket(access);
        EXPECT_EQ(Identity(ticket).nIdA, 11);
        EXPECT_EQ(Identity(ticket).nIdB, 12);
    }
}

TEST(Factory, DestroyNullsTheCallersPointerAndAcceptsNull) {
    STICKET_ACCESS const* access = STICKET::Create(nullptr);
    STICKET::Destroy(access);
    EXPECT_EQ(access, nullptr);
    STICKET::Destroy(access);
    EXPECT_EQ(access, nullptr);
}

TEST(Factory, DestroyAcceptsATableWithoutATicket) {
    STICKET_ACCESS const table{};
    STICKET_ACCESS const* access = &table;
    STICKET::Destroy(access);
    EXPECT_EQ(access, nullptr);
}

TEST(Factory, ATicketMayBeGivenBackThroughTheRecord) {
    for (char const* name : {static_cast<char const*>(nullptr), ""}) {
        STICKET_ACCESS const* access = STICKET::Create(name);
        hSTicketInstance->Destroy(access);
        EXPECT_EQ(access, nullptr);
    }
}

TEST(Factory, TheRecordNamesItsFunctionsAndVersions) {
    EXPECT_EQ(hSTicketInstance, &STicketInstance);
    EXPECT_EQ(STicketInstance.nSize, 192u);
    EXPECT_EQ(STicketInstance.nVersion, 1u);
    EXPECT_EQ(STicketInstance.Create, &STICKET::Create);
    EXPECT_EQ(STicketInstance.Destroy, &STICKET::Destroy);
    EXPECT_EQ(STicketInstance.nAccessVersion, 2u);
    for (void* reserved : STicketInstance.Reserved) EXPECT_EQ(reserved, nullptr);
}

TEST(Factory, EveryTableCarriesTheVersionThatTheRecordPromises) {
    for (char const* name : {static_cast<char const*>(nullptr), ""}) {
        tickets::OWNER const ticket(STICKET::Create(name));
        EXPECT_EQ(ticket->nVersion, STicketInstance.nAccessVersion);
    }
}

TEST(Factory, EveryKindOfTicketLeadsBackToTheRecord) {
    for (char const* name : {static_cast<char const*>(nullptr), ""}) {
        tickets::OWNER const ticket(STICKET::Create(name));
        void* record = nullptr;
        EXPECT_EQ(tickets::Operate(ticket, STICKET_OP_INSTANCE, &record), 1);
        EXPECT_EQ(record, &STicketInstance);
    }
}

TEST(Factory, WorksBeforeMain) {
    ASSERT_NE(madeEarly, nullptr);
    EXPECT_EQ(tickets::Set(madeEarly, "a", 1), 1);
    STICKET_ACCESS const* access = madeEarly;
    STICKET::Destroy(access);
}

TEST(Factory, DestroyEndsTheTicketThroughItsOwnDestructor) {
    struct WATCHED : STICKET_MEM {
        explicit WATCHED(bool& ended) : STICKET_MEM(tickets::NOBODY), m_ended(ended) {}
        ~WATCHED() override { m_ended = true; }
        bool& m_ended;
    };
    bool ended = false;
    STICKET_ACCESS const* access = (new WATCHED(ended))->GetInterface();
    STICKET::Destroy(access);
    EXPECT_TRUE(ended);
}

}  // namespace
