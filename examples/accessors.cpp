// Whole containers in one call: vectors, arrays, texts and file names written to a ticket and read back.
//
// Usage: accessors
#include <ConfigurationControl/Ticket.h>
#include <ConfigurationControl/TicketAccess.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

//! [owner]
struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;
//! [owner]

void Vectors(STICKET_ACCESS const& ticket) {
    //! [vectors]
    STICKET_MODIFY const modify(ticket);
    STICKET_READ const read(ticket);

    modify.SetVectorParameter("Job/Copies", std::vector<int>{1, 2, 5});
    modify.SetVectorParameter("Job/Papers", std::vector<std::string>{"matt", "gloss"});

    std::vector<double> copies;  // numbers are converted to the type that is asked for
    if (read.GetVectorParameter("Job/Copies", copies))
        for (double each : copies) std::printf("copies %.1f\n", each);

    std::vector<std::string> papers;
    if (read.GetVectorParameter("Job/Papers", papers))
        for (std::string const& paper : papers) std::printf("paper  %s\n", paper.c_str());
    //! [vectors]
}

void Replacing(STICKET_ACCESS const& ticket) {
    STICKET_MODIFY const modify(ticket);
    STICKET_READ const read(ticket);
    std::vector<int> copies;

    // A written container replaces whatever the key held: nothing of a longer one is left.
    modify.SetVectorParameter("Job/Copies", std::vector<int>{7});
    read.GetVectorParameter("Job/Copies", copies);
    std::printf("now %zu element, %d\n", copies.size(), copies[0]);

    // An empty one removes the key. Reading a key without elements leaves the vector as it was.
    modify.SetVectorParameter("Job/Copies", std::vector<int>());
    bool const found = read.GetVectorParameter("Job/Copies", copies);
    std::printf("then %s, and still %zu element in the host's vector\n", found ? "found" : "not found", copies.size());
}

void MixedElements(STICKET_ACCESS const& ticket) {
    // Elements that cannot be converted are left out; the others keep their order.
    for (char const* text : {"10", "twenty"})
        ticket.SetParameter(ticket.pTicket, "Job/Mixed", PARAM_STRING, text, APPEND_INDEX);
    int const number = 30;
    ticket.SetParameter(ticket.pTicket, "Job/Mixed", PARAM_INT, &number, APPEND_INDEX);

    std::vector<int> numbers;
    std::vector<std::string> texts;
    STICKET_READ const read(ticket);
    read.GetVectorParameter("Job/Mixed", numbers);  // text is never read as a number
    read.GetVectorParameter("Job/Mixed", texts);
    std::printf("numbers %zu (%d), texts %zu (%s, %s)\n", numbers.size(), numbers[0], texts.size(), texts[0].c_str(),
                texts[1].c_str());
}

void Arrays(STICKET_ACCESS const& ticket) {
    STICKET_MODIFY const modify(ticket);
    STICKET_READ const read(ticket);

    double const whitePoint[] = {95.05, 100, 108.88};
    modify.SetArrayParameter("Media/WhitePoint", whitePoint, 3);

    // An array has a fixed length: the ticket must hold at least as many elements.
    double xyz[3];
    if (read.GetArrayParameter("Media/WhitePoint", xyz, 3))
        std::printf("white point %.2f %.2f %.2f\n", xyz[0], xyz[1], xyz[2]);
    double spectrum[36];
    if (!read.GetArrayParameter("Media/WhitePoint", spectrum, 36)) std::printf("no spectrum of 36 values\n");
}

void FileNames(STICKET_ACCESS const& ticket) {
    STICKET_MODIFY const modify(ticket);
    STICKET_READ const read(ticket);

    // Tickets keep file names with forward slashes, whatever the host writes.
    modify.SetFilenameVectorParameter("Profiles", {"icc\\coated.icc", "icc/uncoated.icc"});
    std::string name;
    for (int index = 0; read.GetParameter("Profiles", name, index); ++index) std::printf("profile %s\n", name.c_str());

    // A name that was stored as plain text is put right when it is read as a file name.
    ticket.SetParameter(ticket.pTicket, "Folder", PARAM_STRING, "C:\\proofs\\today", SCALAR_INDEX);
    read.GetFilenameParameterChk_C("Folder", name, SCALAR_INDEX);
    std::printf("folder  %s\n", name.c_str());
}

void Identity(STICKET_ACCESS const& ticket) {
    STICKET_OPTION_WHOAMI who;
    if (STICKET_READ(ticket).WhoAmI(who)) std::printf("ticket (%d, %d)\n", who.nIdA, who.nIdB);
}

}  // namespace

int main() {
    TICKET const ticket(STICKET::Create(nullptr));
    Vectors(*ticket);
    Replacing(*ticket);
    MixedElements(*ticket);
    Arrays(*ticket);
    FileNames(*ticket);
    Identity(*ticket);
}
