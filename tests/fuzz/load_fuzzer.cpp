// Feeds arbitrary bytes to a file ticket: it must load or refuse them, walk, save and load again without a fault, and
// what was saved must save to the same bytes again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "../support/Files.h"
#include "ConfigurationControl/Ticket.h"

namespace {

bool Touch(void* sum, char const* key, PARAM_TYPE type, void const* value, int) {
    *static_cast<std::size_t*>(sum) += std::string(key).size() + (type == PARAM_STRING ? 1U : value != nullptr);
    return true;
}

// Loads a file, makes the ticket dirty by a refused set, saves it, and returns the bytes then.
std::string LoadAndSave(std::string const& file) {
    STICKET_ACCESS const* ticket = STICKET::Create(file.c_str());
    std::size_t sum = 0;
    ticket->WalkParameter(ticket->pTicket, Touch, &sum, "", WALK_EVERYTHING);
    ticket->SetParameter(ticket->pTicket, nullptr, PARAM_STRING, nullptr, SCALAR_INDEX);
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);
    STICKET::Destroy(ticket);
    return files::Content(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    // Faster by far with TMPDIR on a file system in memory: every save is flushed.
    static files::SCRATCH const scratch;
    std::string const file = scratch / "ticket.xml";
    files::Write(file, {reinterpret_cast<char const*>(data), size});
    std::string const once = LoadAndSave(file);
    // A text may lose a space at its ends at each of the first saves, never later.
    LoadAndSave(file);
    std::string const settled = LoadAndSave(file);
    if (LoadAndSave(file) != settled) std::abort();
    std::remove(file.c_str());
    std::remove((file + ".bad").c_str());
    return 0;
}
