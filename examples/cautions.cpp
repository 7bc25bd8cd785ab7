// Values that a ticket file does not preserve, and ways to lose the rest of a file: for each case the value before the
// save and after loading.
//
// Usage: cautions FILE
#include <ConfigurationControl/Ticket.h>
#include <ConfigurationControl/TicketAccess.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <string>

namespace {

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

// The value as text, as a host reads it.
std::string Show(STICKET_ACCESS const& ticket, char const* key) {
    PARAM_TYPE type = PARAM_NONE;
    if (!ticket.GetParameter(ticket.pTicket, key, PARAM_NONE, &type, SCALAR_INDEX)) return "gone";
    if (type == PARAM_STRING) {
        std::string text;
        STICKET_READ(ticket).GetParameter(key, text, SCALAR_INDEX);
        return '"' + text + '"';
    }
    if (type == PARAM_POINTER) return "a pointer";
    if (type == PARAM_VECTOR) {
        uint64_t count = 0;
        ticket.GetParameter(ticket.pTicket, key, PARAM_VECTOR, &count, SCALAR_INDEX);
        return "a vector of " + std::to_string(count);
    }
    double number = 0;
    ticket.GetParameter(ticket.pTicket, key, PARAM_DOUBLE, &number, SCALAR_INDEX);
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", number);
    return text;
}

// Saves and loads one value, in a file of its own.
void SaveAndLoad(char const* fileName, char const* key, PARAM_TYPE type, void const* value, int index) {
    TICKET ticket(STICKET::Create(fileName));
    ticket->Operation(ticket->pTicket, STICKET_OP_CLEAR, nullptr);
    ticket->SetParameter(ticket->pTicket, key, type, value, index);
    std::string const before = Show(*ticket, key);
    ticket.reset();  // saves
    ticket.reset(STICKET::Create(fileName));
    std::printf("%-14s %-18s %s\n", key, before.c_str(), Show(*ticket, key).c_str());
}

void Values(char const* fileName) {
    auto const tell = [fileName](char const* key, PARAM_TYPE type, void const* value, int index = SCALAR_INDEX) {
        SaveAndLoad(fileName, key, type, value, index);
    };
    std::printf("key            in memory          after loading\n");
    //! [values]
    unsigned int const large = 3000000000;
    tell("Unsigned", PARAM_UNSIGNED, &large);
    double const whole = 1e12;
    tell("Double", PARAM_DOUBLE, &whole);
    double const fraction = 1e12 + 0.5;
    tell("WithFraction", PARAM_DOUBLE, &fraction);
    int64_t const beyond = (int64_t{1} << 53) + 2;
    tell("Beyond53Bits", PARAM_INT64, &beyond);
    tell("LargeAsText", PARAM_STRING, "3000000000");

    int anything = 0;
    tell("Pointer", PARAM_POINTER, &anything);
    tell("Spaces", PARAM_STRING, " a  b ");
    tell("OneElement", PARAM_STRING, "a", 0);
    tell("EmptyVector", PARAM_STRING, "a", 1);
    //! [values]
    std::printf("\n");
    //! [keys]
    tell("", PARAM_STRING, "no name");
    tell("Folder/", PARAM_STRING, "no last name");
    tell("A/ticket/B", PARAM_STRING, "loads as A/B");
    tell("Two Words", PARAM_STRING, "comes back");
    tell("End ", PARAM_STRING, "loses its blank");
    tell("12\" wide", PARAM_STRING, "no file holds it");
    //! [keys]
}

unsigned int CountInFile(char const* fileName) {
    TICKET const ticket(STICKET::Create(fileName));
    unsigned int count = 0;
    ticket->Operation(ticket->pTicket, STICKET_OP_COUNT, &count);
    return count;
}

void Misread(char const* fileName) {
    std::remove(fileName);
    // A key with <, >, " or a line end can spoil the whole file: then nothing of it is loaded.
    TICKET ticket(STICKET::Create(fileName));
    ticket->SetParameter(ticket->pTicket, "Name", PARAM_STRING, "good", SCALAR_INDEX);
    ticket->SetParameter(ticket->pTicket, "12\" wide", PARAM_STRING, "bad", SCALAR_INDEX);
    ticket.reset();
    ticket.reset(STICKET::Create(fileName));
    std::printf("the name is %s\n", Show(*ticket, "Name").c_str());

    // The first save over such a file keeps it.
    ticket->SetParameter(ticket->pTicket, "Name", PARAM_STRING, "new", SCALAR_INDEX);
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);
    std::printf("the file with the old name is %s\n",
                std::ifstream(std::string(fileName) + ".unreadable") ? "kept" : "lost");
}

void Infinity(char const* fileName) {
    TICKET const ticket(STICKET::Create(fileName));
    double const infinity = std::numeric_limits<double>::infinity();
    ticket->SetParameter(ticket->pTicket, "Limit", PARAM_DOUBLE, &infinity, SCALAR_INDEX);
    int const saved = ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);
    std::printf("saved with an infinite number: %d\n", saved);

    // Correct this before the ticket is destroyed: that save cannot report the error, and ends the process.
    ticket->SetParameter(ticket->pTicket, "Limit", PARAM_NONE, nullptr, SCALAR_INDEX);
}

void PartialTree(char const* fileName) {
    TICKET ticket(STICKET::Create(fileName));
    ticket->Operation(ticket->pTicket, STICKET_OP_CLEAR, nullptr);
    for (char const* key : {"A", "B", "C"}) ticket->SetParameter(ticket->pTicket, key, PARAM_STRING, key, SCALAR_INDEX);
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);
    std::printf("in the file: %u values\n", CountInFile(fileName));

    char const* kept[] = {"A", nullptr};
    ticket->Operation(ticket->pTicket, STICKET_OP_PARTIAL_KEYS, kept);
    ticket->SetParameter(ticket->pTicket, "A", PARAM_STRING, "new", SCALAR_INDEX);  // loads and changes "A" only
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);                   // writes what is in memory
    std::printf("after a save of the part: %u value\n", CountInFile(fileName));
}

void LastOneWins(char const* fileName) {
    TICKET first(STICKET::Create(fileName)), second(STICKET::Create(fileName));
    first->SetParameter(first->pTicket, "First", PARAM_STRING, "1", SCALAR_INDEX);     // each reads the file once,
    second->SetParameter(second->pTicket, "Second", PARAM_STRING, "2", SCALAR_INDEX);  // and writes all it knows
    first.reset();
    second.reset();
    TICKET const file(STICKET::Create(fileName));
    std::printf("of the first ticket: %s, of the second: %s\n", Show(*file, "First").c_str(),
                Show(*file, "Second").c_str());
}

void Emptied(char const* fileName) {
    TICKET const ticket(STICKET::Create(fileName));
    ticket->Operation(ticket->pTicket, STICKET_OP_CLEAR, nullptr);
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr);
    std::printf("the file of an empty ticket is %s\n", std::ifstream(fileName) ? "there" : "deleted");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: cautions FILE\n");
        return 2;
    }
    Values(argv[1]);
    std::printf("\n");
    Misread(argv[1]);
    Infinity(argv[1]);
    PartialTree(argv[1]);
    LastOneWins(argv[1]);
    Emptied(argv[1]);
}
