// A host with a logger in its executable.
#include <gtest/gtest.h>

#include "ConfigurationControl/IConfigurationControl.h"
#include "ConfigurationControl/Ticket.h"

extern "C" int CountMessages();

TEST(OwnLogger, HearsTheService) {
    auto* const configuration = GetConfigurationControl();
    EXPECT_EQ(CountMessages(), 0);
    configuration->Initialize("");
    EXPECT_EQ(CountMessages(), 1);
    configuration->Release();
}

TEST(OwnCopies, OfDataAreThoseThatTheLibraryUses) {
    EXPECT_EQ(hSTicketInstance, &STicketInstance);

    STICKET_ACCESS const* ticket = STICKET::Create(nullptr);
    STICKET_INSTANCE const* handedOut = nullptr;
    EXPECT_TRUE(ticket->Operation(ticket->pTicket, STICKET_OP_INSTANCE, &handedOut));
    EXPECT_EQ(handedOut, &STicketInstance);
    STICKET::Destroy(ticket);
}
