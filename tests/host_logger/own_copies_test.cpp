// A host at fixed addresses, whose executable holds copies of the library's data.
#include <gtest/gtest.h>

#include "ConfigurationControl/Ticket.h"

TEST(OwnCopies, OfDataAreThoseThatTheLibraryUses) {
    EXPECT_EQ(hSTicketInstance, &STicketInstance);

    STICKET_ACCESS const* ticket = STICKET::Create(nullptr);
    STICKET_INSTANCE const* handedOut = nullptr;
    EXPECT_TRUE(ticket->Operation(ticket->pTicket, STICKET_OP_INSTANCE, &handedOut));
    EXPECT_EQ(handedOut, &STicketInstance);
    STICKET::Destroy(ticket);
}
