// Text conversion: this host keeps Latin-1 in memory and writes UTF-8 to its files.
//
// Usage: conversion FILE
#include <ConfigurationControl/StringConversion.h>
#include <ConfigurationControl/Ticket.h>
#include <ConfigurationControl/TicketAccess.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

//! [conversion]
// Each byte of Latin-1 is the character of that number, which UTF-8 writes with one byte below 0x80, otherwise with
// two.
class LATIN1_IN_MEMORY : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override {
        std::string utf8;
        for (char const c : text) {
            auto const character = static_cast<unsigned char>(c);
            if (character < 0x80) {
                utf8 += c;
            } else {
                utf8 += static_cast<char>(0xC0 | (character >> 6));
                utf8 += static_cast<char>(0x80 | (character & 0x3F));
            }
        }
        return utf8;
    }

    // Throws for a character that Latin-1 does not have: the value is left out rather than changed.
    std::string FromFile(std::string const& text, int /*reserved*/) override {
        std::string latin1;
        for (std::size_t i = 0; i < text.size(); ++i) {
            unsigned int const lead = static_cast<unsigned char>(text[i]);
            if (lead < 0x80) {
                latin1 += text[i];
                continue;
            }
            unsigned int const next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
            if ((lead != 0xC2 && lead != 0xC3) || (next & 0xC0) != 0x80) throw std::range_error("not in Latin-1");
            latin1 += static_cast<char>(((lead & 0x03) << 6) | (next & 0x3F));
            ++i;
        }
        return latin1;
    }
};
//! [conversion]

// The conversion stays the host's. It must outlive the ticket, whose destruction saves.
TICKET Open(char const* fileName, STICKET_STRING_CONVERSION& conversion) {
    return TICKET(STICKET::PCreate(fileName, STICKET_WHOAMI{nullptr, -2, -2, &conversion, nullptr}));
}

std::string City(STICKET_ACCESS const& ticket) {
    std::string city;
    STICKET_READ(ticket).GetParameter("City", city, SCALAR_INDEX);
    return city;
}

void PrintFile(char const* name) {
    std::ifstream file(name);
    if (!file) throw std::runtime_error(std::string(name) + " is not there");
    std::fflush(stdout);
    std::cout << file.rdbuf() << std::flush;
}

void WriteAndRead(char const* fileName) {
    LATIN1_IN_MEMORY conversion;
    TICKET ticket = Open(fileName, conversion);
    ticket->SetParameter(ticket->pTicket, "City", PARAM_STRING, "K\xF6ln", SCALAR_INDEX);
    ticket.reset();  // saves
    PrintFile(fileName);

    ticket = Open(fileName, conversion);
    std::printf("with the conversion    %zu bytes\n", City(*ticket).size());
    ticket.reset(STICKET::Create(fileName));
    std::printf("without the conversion %zu bytes\n", City(*ticket).size());
}

void Misfit(char const* fileName) {
    // A text that cannot be converted is not loaded. The rest is; and as the file then holds more than the ticket does,
    // the next save keeps the old file beside the new one.
    LATIN1_IN_MEMORY conversion;
    TICKET ticket(STICKET::Create(fileName));
    ticket->SetParameter(ticket->pTicket, "Price", PARAM_STRING, "5 \xE2\x82\xAC", SCALAR_INDEX);  // the euro sign
    ticket.reset();

    ticket = Open(fileName, conversion);
    std::string price;
    bool const found = STICKET_READ(*ticket).GetParameter("Price", price, SCALAR_INDEX);
    std::printf("the city has %zu bytes, the price is %s\n", City(*ticket).size(), found ? "there" : "missing");
    ticket->SetParameter(ticket->pTicket, "Price", PARAM_STRING, "5 euro", SCALAR_INDEX);
    ticket.reset();
    PrintFile((std::string(fileName) + ".unreadable").c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: conversion FILE\n");
        return 2;
    }
    try {
        WriteAndRead(argv[1]);
        Misfit(argv[1]);
    } catch (std::exception const& problem) {
        std::fprintf(stderr, "conversion: %s\n", problem.what());
        return 1;
    }
}
