// The exported plain functions on top of a ticket's table.
#include "ConfigurationControl/TicketServices.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "TicketImpSBase.h"
#include "TicketImpSFile.h"

namespace {

// Gives access to the frame, which only derived classes may use; never instantiated.
struct KIND : STICKET {
    using STICKET::FRAME;
};

// The ticket behind a table; null for a table that this library did not make, whose pointer could be to anything.
STICKET* TicketOf(STICKET_ACCESS const* access) {
    bool const isOurs = access && access->QueueAfterNotification == &STICKET::QueueAfterNotification;
    return isOurs ? access->pTicket : nullptr;
}

// Runs `work(STICKET&)` with the ticket's mutex held; 0 also if it throws.
template <typename WORK>
int RunLocked(STICKET_ACCESS const* access, WORK const& work) {
    return KIND::FRAME::Run<STICKET>(TicketOf(access), work, [](int, int) {});
}

// Calls `describe(STICKET_FILE const&)` for a file ticket, and copies as much of the record that it returns as
// `outcome` has room for. Later versions of the library may have longer records.
template <typename OUTCOME, typename DESCRIBE>
int GetOutcome(STICKET_ACCESS const* access, OUTCOME* outcome, DESCRIBE const& describe) {
    if (!outcome) return 0;
    return RunLocked(access, [&](STICKET& ticket) {
        auto const* const file = dynamic_cast<STICKET_FILE const*>(&ticket);
        std::size_t const size = std::min<std::size_t>(outcome->nSize, sizeof(OUTCOME));
        if (!file || size < sizeof outcome->nSize) return 0;
        OUTCOME found = describe(*file);
        found.nSize = outcome->nSize;
        std::memcpy(outcome, &found, size);
        return 1;
    });
}

using TICKETFILE::SAVE_STEP;
static_assert(static_cast<int>(SAVE_STEP::NUMBER) == TICKET_SAVE_CONTENT_NUMBER);
static_assert(static_cast<int>(SAVE_STEP::CONVERSION) == TICKET_SAVE_CONTENT_CONVERSION);
static_assert(static_cast<int>(SAVE_STEP::NESTING) == TICKET_SAVE_CONTENT_NESTING);
static_assert(static_cast<int>(SAVE_STEP::MEMORY) == TICKET_SAVE_MEMORY);
static_assert(static_cast<int>(SAVE_STEP::OPEN) == TICKET_SAVE_OPEN);
static_assert(static_cast<int>(SAVE_STEP::WRITE) == TICKET_SAVE_WRITE);
static_assert(static_cast<int>(SAVE_STEP::FLUSH) == TICKET_SAVE_FLUSH);
static_assert(static_cast<int>(SAVE_STEP::KEEP) == TICKET_SAVE_KEEP);
static_assert(static_cast<int>(SAVE_STEP::RENAME) == TICKET_SAVE_RENAME);
static_assert(static_cast<int>(SAVE_STEP::REMOVE) == TICKET_SAVE_REMOVE);

static_assert(static_cast<int>(LOAD_STATE::NOT_YET) == TICKET_LOAD_NOT_YET);
static_assert(static_cast<int>(LOAD_STATE::LOADED) == TICKET_LOAD_LOADED);
static_assert(static_cast<int>(LOAD_STATE::NO_FILE) == TICKET_LOAD_NO_FILE);
static_assert(static_cast<int>(LOAD_STATE::UNREADABLE) == TICKET_LOAD_UNREADABLE);
static_assert(static_cast<int>(LOAD_STATE::NO_DOCUMENT) == TICKET_LOAD_NO_DOCUMENT);
static_assert(static_cast<int>(LOAD_STATE::CUT_AT_NUL) == TICKET_LOAD_CUT_AT_NUL);
static_assert(static_cast<int>(LOAD_STATE::TOO_DEEP) == TICKET_LOAD_TOO_DEEP);
static_assert(static_cast<int>(LOAD_STATE::CONVERSION_FAILED) == TICKET_LOAD_CONVERSION_FAILED);

}  // namespace

int TicketRunLocked(STICKET_ACCESS const* access, TICKET_LOCKED_CALLBACK callback, void* context) {
    if (!callback) return 0;
    return RunLocked(access, [&](STICKET&) {
        callback(context);
        return 1;
    });
}

uint64_t TicketAddObserver(STICKET_ACCESS const* access, TICKET_OBSERVER observer, void* context) {
    uint64_t id = 0;
    if (!observer) return id;
    RunLocked(access, [&](STICKET& ticket) {
        id = KIND::FRAME::Observers(ticket).Add(observer, context);
        return 1;
    });
    return id;
}

int TicketRemoveObserver(STICKET_ACCESS const* access, uint64_t id) {
    return RunLocked(access, [&](STICKET& ticket) { return KIND::FRAME::Observers(ticket).Remove(id); });
}

int TicketGetSaveOutcome(STICKET_ACCESS const* access, TICKET_SAVE_OUTCOME* outcome) {
    return GetOutcome(access, outcome, [](STICKET_FILE const& file) {
        TICKETFILE::SAVE_OUTCOME const& last = file.LastSave();
        bool const isNoted = last.Succeeded() && last.kept == TICKETFILE::KEPT::NO;
        return TICKET_SAVE_OUTCOME{0, static_cast<uint32_t>(last.failed), last.error,
                                   isNoted ? uint32_t{TICKET_SAVE_NOT_KEPT} : 0u};
    });
}

int TicketGetLoadOutcome(STICKET_ACCESS const* access, TICKET_LOAD_OUTCOME* outcome) {
    return GetOutcome(access, outcome, [](STICKET_FILE const& file) {
        LOAD_OUTCOME const& last = file.LastLoad();
        return TICKET_LOAD_OUTCOME{0, static_cast<uint32_t>(last.state), last.error, static_cast<uint32_t>(last.line),
                                   static_cast<uint32_t>(last.column)};
    });
}
