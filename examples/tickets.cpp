// A ticket from C++: made, written, read, walked, locked, shared between threads, saved and destroyed.
//
// Usage: tickets FILE
#include <ConfigurationControl/MultiPar.h>
#include <ConfigurationControl/SysLib.h>
#include <ConfigurationControl/Ticket.h>
#include <ConfigurationControl/TicketAccess.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

namespace {

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

void Values(STICKET_ACCESS const& ticket) {
    //! [values]
    int const level = 3;
    ticket.SetParameter(ticket.pTicket, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    ticket.SetParameter(ticket.pTicket, "Product/Name", PARAM_STRING, "Proofs", SCALAR_INDEX);

    double asDouble = 0;  // numbers are converted to the type that is asked for
    if (ticket.GetParameter(ticket.pTicket, "Log/Level", PARAM_DOUBLE, &asDouble, SCALAR_INDEX))
        std::printf("level %.1f\n", asDouble);
    if (ticket.GetParameter(ticket.pTicket, "Product/Name", PARAM_NONE, nullptr, SCALAR_INDEX))
        std::printf("there is a name\n");  // no buffer: only asks whether there is such a key

    PARAM_TYPE type = PARAM_NONE;
    ticket.GetParameter(ticket.pTicket, "Product/Name", PARAM_NONE, &type, SCALAR_INDEX);
    std::printf("its type is %u\n", static_cast<unsigned int>(type));

    ticket.SetParameter(ticket.pTicket, "Log/Level", PARAM_NONE, nullptr, SCALAR_INDEX);  // deletes
    //! [values]
}

void Failures(STICKET_ACCESS const& ticket) {
    // Every entry returns 0 when it fails, and a failed read stores 0 or null.
    int number = 42;
    if (!ticket.GetParameter(ticket.pTicket, "No/Such/Key", PARAM_INT, &number, SCALAR_INDEX))
        std::printf("no such key: %d\n", number);
    if (!ticket.GetParameter(ticket.pTicket, "Product/Name", PARAM_INT, &number, SCALAR_INDEX))
        std::printf("text is no number: %d\n", number);
    char const* text = "";
    if (!ticket.GetParameter(ticket.pTicket, "Product/Name", PARAM_STRING, &text, 1))
        std::printf("no second element: %s\n", text == nullptr ? "null" : text);

    // A refused change leaves the value as it was, but a refused element index still makes a vector of it.
    double const half = 0.5;
    if (!ticket.SetParameter(ticket.pTicket, "Product/Name", PARAM_DOUBLE, &half, 5)) {
        PARAM_TYPE type = PARAM_NONE;
        ticket.GetParameter(ticket.pTicket, "Product/Name", PARAM_NONE, &type, SCALAR_INDEX);
        std::printf("no element 5; %s\n", type == PARAM_VECTOR ? "the name is a vector of one now" : "nothing changed");
    }
}

void Lifetimes(STICKET_ACCESS const& memory, STICKET_ACCESS const& file) {
    char const* text = nullptr;
    memory.SetParameter(memory.pTicket, "Name", PARAM_STRING, "first", SCALAR_INDEX);
    if (memory.GetParameter(memory.pTicket, "Name", PARAM_STRING, &text, SCALAR_INDEX)) {
        std::string const copy(text);  // the next line frees what `text` points to
        memory.SetParameter(memory.pTicket, "Name", PARAM_STRING, "second", SCALAR_INDEX);
        std::printf("in memory: %s\n", copy.c_str());
    }

    file.SetParameter(file.pTicket, "Name", PARAM_STRING, "first", SCALAR_INDEX);
    if (file.GetParameter(file.pTicket, "Name", PARAM_STRING, &text, SCALAR_INDEX)) {
        file.SetParameter(file.pTicket, "Name", PARAM_STRING, "second", SCALAR_INDEX);
        std::printf("of a file: %s\n", text);  // a file ticket keeps every text that it has handed out
    }
}

void Batches(STICKET_ACCESS const& ticket) {
    //! [batches]
    // One call, one lock: no other thread sees half of it. The records own nothing; a null key ends them.
    int const x = 40, y = 30;
    SETMULTIPAR place[] = {
        {"Window/X", PARAM_INT, &x, SCALAR_INDEX, false}, {"Window/Y", PARAM_INT, &y, SCALAR_INDEX, false}, {}};
    ticket.SetMultiParameter(ticket.pTicket, place);
    std::printf("all stored: %s\n", AllMultiParameterOk(place) ? "yes" : "no");

    int readX = 0, width = -1;
    GETMULTIPAR sizes[] = {{"Window/X", PARAM_INT, &readX, SCALAR_INDEX, false},
                           {"Window/Width", PARAM_INT, &width, SCALAR_INDEX, false},
                           {}};
    int const handled = ticket.GetMultiParameter(ticket.pTicket, sizes);  // 1 also when records failed
    std::printf("handled %d: x %d is %s, width %d is %s\n", handled, readX, sizes[0].result ? "read" : "missing", width,
                sizes[1].result ? "read" : "missing");
    //! [batches]
}

//! [walk]
// A callback may change the ticket that is walked: the walk continues with the key after the current one.
bool DeleteWindowKeys(void* context, char const* key, PARAM_TYPE /*type*/, void const* /*value*/, int /*index*/) {
    STICKET_ACCESS const& ticket = **static_cast<TICKET const*>(context);
    if (std::strncmp(key, "Window/", 7) == 0)
        ticket.SetParameter(ticket.pTicket, key, PARAM_NONE, nullptr, SCALAR_INDEX);
    return true;  // false would end the walk
}

void ForgetWindow(TICKET& ticket) {
    ticket->WalkParameter(ticket->pTicket, &DeleteWindowKeys, &ticket, "", WALK_KEYS);
    unsigned int left = 0;
    ticket->Operation(ticket->pTicket, STICKET_OP_COUNT, &left);
    std::printf("%u values left\n", left);
}
//! [walk]

struct VIEW {
    bool stale = false;
};

// Runs on the thread of the change, after it, with the ticket's mutex held. It may use the ticket; it must not wait for
// another thread that does.
void MarkStale(void* view) {
    static_cast<VIEW*>(view)->stale = true;
}

void Defer(STICKET_ACCESS const& ticket, VIEW& view) {
    ticket.QueueAfterNotification(ticket.pTicket, &MarkStale, &view);  // once; a later change needs another call
    int const level = 5;
    ticket.SetParameter(ticket.pTicket, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    std::printf("the view is %s\n", view.stale ? "stale" : "fresh");
}

void CountTogether() {
    //! [together]
    // Each call is safe by itself. Where a read and a write belong together, the host lends the ticket a mutex of its
    // own and holds it around both. A ticket with a lent mutex needs another one as its server, which outlives it.
    SysLib::MUTEX_INSTANCE mutex;
    TICKET const server(STICKET::Create(nullptr));
    TICKET const counter(STICKET::PCreate(STICKET_WHOAMI{server->pTicket, 1, 0, nullptr, &mutex}));

    auto const countUp = [&] {
        for (int i = 0; i < 1000; ++i) {
            SysLib::MUTEX_LOCK const lock(mutex);
            int count = 0;
            counter->GetParameter(counter->pTicket, "Count", PARAM_INT, &count, SCALAR_INDEX);
            ++count;
            counter->SetParameter(counter->pTicket, "Count", PARAM_INT, &count, SCALAR_INDEX);
        }
    };
    std::thread other(countUp);
    countUp();
    other.join();

    int count = 0;
    counter->GetParameter(counter->pTicket, "Count", PARAM_INT, &count, SCALAR_INDEX);
    std::printf("counted to %d\n", count);
    //! [together]
}

// Reads the file back with a ticket of its own.
bool IsSaved(char const* fileName, char const* key, std::string const& value) {
    TICKET const file(STICKET::Create(fileName));
    std::string saved;
    return STICKET_READ(*file).GetParameter(key, saved, SCALAR_INDEX) && saved == value;
}

void Save(STICKET_ACCESS const& file, char const* fileName) {
    //! [save]
    file.SetParameter(file.pTicket, "Product/Name", PARAM_STRING, "Proofs", SCALAR_INDEX);
    std::printf("before: %s\n", IsSaved(fileName, "Product/Name", "Proofs") ? "saved" : "in memory only");

    int seconds = 30;
    file.Operation(file.pTicket, STICKET_OP_SAVE, &seconds);  // only if unsaved for longer than that
    std::printf("still:  %s\n", IsSaved(fileName, "Product/Name", "Proofs") ? "saved" : "in memory only");

    file.Operation(file.pTicket, STICKET_OP_SAVE, nullptr);  // now, if there is anything to save
    std::printf("after:  %s\n", IsSaved(fileName, "Product/Name", "Proofs") ? "saved" : "in memory only");
    //! [save]
}

void Release(STICKET_ACCESS const& file) {
    //! [release]
    // Saves what has changed and drops the contents from memory; the next access reads the file again.
    file.Operation(file.pTicket, STICKET_OP_RELEASE, nullptr);
    unsigned int inMemory = 0, all = 0;
    file.Operation(file.pTicket, STICKET_OP_COUNT_LOADED, &inMemory);
    file.Operation(file.pTicket, STICKET_OP_COUNT, &all);
    std::printf("%u values in memory, %u after loading\n", inMemory, all);
    //! [release]
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tickets FILE\n");
        return 2;
    }
    //! [create]
    TICKET memory(STICKET::Create(nullptr));  // in memory
    TICKET file(STICKET::Create(argv[1]));    // bound to a file, which need not be there
    //! [create]

    Values(*memory);
    Failures(*memory);
    Lifetimes(*memory, *file);
    Batches(*memory);
    ForgetWindow(memory);
    VIEW view;
    Defer(*memory, view);
    CountTogether();
    Save(*file, argv[1]);
    Release(*file);
}
