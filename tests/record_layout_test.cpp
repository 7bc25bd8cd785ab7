// The records as another module sees them: bytes at fixed offsets. Assertions in the header check the offsets of the
// fields; these tests check the values that the library writes into them.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "ConfigurationControl/Version.h"
#include "support/Tickets.h"

namespace {

uint64_t WordAt(void const* record, size_t offset) {
    uint64_t word;
    std::memcpy(&word, static_cast<char const*>(record) + offset, sizeof word);
    return word;
}

uint32_t HalfWordAt(void const* record, size_t offset) {
    uint32_t word;
    std::memcpy(&word, static_cast<char const*>(record) + offset, sizeof word);
    return word;
}

void ExpectZeroBytes(void const* record, size_t from, size_t to) {
    for (size_t offset = from; offset < to; ++offset) {
        EXPECT_EQ(static_cast<unsigned char const*>(record)[offset], 0) << "at " << offset;
    }
}

class AccessTable : public testing::TestWithParam<char const*> {
 protected:
    tickets::OWNER m_ticket{GetParam()};
    void const* m_record = static_cast<STICKET_ACCESS const*>(m_ticket);
};

TEST_P(AccessTable, BeginsWithItsSizeAndVersion) {
    EXPECT_EQ(WordAt(m_record, 0), 576u);
    EXPECT_EQ(HalfWordAt(m_record, 8), 2u);
    EXPECT_EQ(HalfWordAt(m_record, 12), 0u);
    EXPECT_NE(WordAt(m_record, 16), 0u);
}

TEST_P(AccessTable, HasTenEntriesAndZeroInEveryReservedPlace) {
    std::set<uint64_t> entries;
    for (size_t const offset : {24u, 32u, 40u, 208u, 216u, 224u, 232u, 240u, 408u, 416u}) {
        EXPECT_NE(WordAt(m_record, offset), 0u) << "at " << offset;
        entries.insert(WordAt(m_record, offset));
    }
    EXPECT_EQ(entries.size(), 10u);
    ExpectZeroBytes(m_record, 48, 208);
    ExpectZeroBytes(m_record, 248, 408);
    ExpectZeroBytes(m_record, 424, 576);
}

TEST_P(AccessTable, SharesThreeEntriesBetweenTheKinds) {
    EXPECT_EQ(m_ticket->MergeTicket, &STICKET::MergeTicket);
    EXPECT_EQ(m_ticket->EnDisNotification,
              static_cast<int (*)(STICKET*, int, bool, char const* const*)>(&STICKET::EnDisNotification));
    EXPECT_EQ(m_ticket->QueueAfterNotification, &STICKET::QueueAfterNotification);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, AccessTable, testing::Values(nullptr, ""));

TEST(InstanceRecord, HasItsFieldsAtTheirOffsets) {
    EXPECT_EQ(WordAt(&STicketInstance, 0), 192u);
    EXPECT_EQ(WordAt(&STicketInstance, 8), 1u);
    EXPECT_EQ(WordAt(&STicketInstance, 16), reinterpret_cast<uint64_t>(&STICKET::Create));
    EXPECT_EQ(WordAt(&STicketInstance, 24), reinterpret_cast<uint64_t>(&STICKET::Destroy));
    EXPECT_EQ(WordAt(&STicketInstance, 32), 2u);
    ExpectZeroBytes(&STicketInstance, 40, 192);
}

TEST(IdentityRecord, IsReadAtItsOffsets) {
    tickets::OPEN_TICKET server;
    unsigned char record[32] = {};
    uint32_t const numbers[] = {6, 7};
    uint64_t words[] = {reinterpret_cast<uint64_t>(static_cast<STICKET*>(&server)), 0, 0x123456789abcdef0,
                        reinterpret_cast<uint64_t>(&server.GetMutexInstance())};
    std::memcpy(&words[1], numbers, sizeof numbers);
    std::memcpy(record, words, sizeof record);
    STICKET_WHOAMI whoAmI;
    static_assert(sizeof whoAmI == sizeof record);
    std::memcpy(&whoAmI, record, sizeof record);

    tickets::OWNER const ticket(STICKET::PCreate(whoAmI));
    EXPECT_EQ(tickets::Set(ticket, "a", 1), 1) << "it has the server's mutex";
    unsigned char identity[16] = {};
    EXPECT_EQ(tickets::Operate(ticket, STICKET_OP_WHOAMI, identity), 1);
    EXPECT_EQ(WordAt(identity, 0), reinterpret_cast<uint64_t>(server.GetInterface()));
    EXPECT_EQ(HalfWordAt(identity, 8), 6u);
    EXPECT_EQ(HalfWordAt(identity, 12), 7u);
    uint64_t context = 0;
    EXPECT_EQ(tickets::Operate(ticket, STICKET_OP_CONTEXT, &context), 1);
    EXPECT_EQ(context, 0x123456789abcdef0u);
}

// The two destructors come first, then the two operations.
TEST(TicketObject, HasItsVirtualOperationsInTheirSlots) {
    tickets::OPEN_TICKET ticket;
    using OPERATION = STICKET_ACCESS const* (*)(STICKET const*);
    STICKET const* const object = &ticket;
    OPERATION const* slots;
    std::memcpy(&slots, static_cast<void const*>(object), sizeof slots);
    EXPECT_EQ(slots[2](object), ticket.GetInterface());
    EXPECT_EQ(slots[3](object), nullptr);
}

TEST(Numbers, OfTypesAndCodesAreFixed) {
    unsigned int number = 0;
    for (PARAM_TYPE const type : {PARAM_NONE, PARAM_POINTER, PARAM_INT, PARAM_DOUBLE, PARAM_STRING, PARAM_BINSTR,
                                  PARAM_VECTOR, PARAM_INT64, PARAM_UNSIGNED, PARAM_UINT64})
        EXPECT_EQ(type, number++);
    number = 0;
    for (STICKET_OP const code :
         {STICKET_OP_SAVE, STICKET_OP_RELEASE, STICKET_OP_CLEAR, STICKET_OP_PARTIAL_KEYS, STICKET_OP_COUNT,
          STICKET_OP_COUNT_LOADED, STICKET_OP_FLUSH_NOTIFICATION, STICKET_OP_INCREMENT, STICKET_OP_UNUSED_8,
          STICKET_OP_UNUSED_9, STICKET_OP_CONTEXT, STICKET_OP_WHOAMI, STICKET_OP_INSTANCE})
        EXPECT_EQ(code, number++);
    EXPECT_EQ(WALK_KEYS, 0);
    EXPECT_EQ(WALK_TYPES, 1);
    EXPECT_EQ(WALK_VALUES, 2);
    EXPECT_EQ(WALK_EVERYTHING, 8000);
    EXPECT_EQ(SCALAR_INDEX, -1);
    EXPECT_EQ(APPEND_INDEX, -2);
    EXPECT_GT(static_cast<PARAM_TYPE>(UINT32_MAX), PARAM_UINT64) << "compared without a sign";
    EXPECT_GT(static_cast<STICKET_OP>(UINT32_MAX), STICKET_OP_INSTANCE);
}

TEST(Version, OfTheLibraryReadsTheSameAsNumberAndAsText) {
    unsigned int const number = ConfigurationControlVersionNumber;
    std::string const text =
        std::to_string(number / 10000) + "." + std::to_string(number / 100 % 100) + "." + std::to_string(number % 100);
    EXPECT_EQ(ConfigurationControlVersionString, text);
}

}  // namespace
