// Parts of a ticket: selecting by keys and prefixes, copying a selection, and keeping only some keys of a file in
// memory.
//
// Usage: partial FILE
#include <ConfigurationControl/MultiParList.h>
#include <ConfigurationControl/PartialMode.h>
#include <ConfigurationControl/Ticket.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

bool PrintKey(void* /*context*/, char const* key, PARAM_TYPE /*type*/, void const* /*value*/, int /*index*/) {
    std::printf("  %s\n", key);
    return true;
}

void PrintKeys(STICKET_ACCESS const& ticket) {
    ticket.WalkParameter(ticket.pTicket, &PrintKey, nullptr, "", WALK_KEYS);
}

void Fill(STICKET_ACCESS const& ticket) {
    // A batch from short-lived values: the list keeps copies of all of them.
    SETMULTIPAR_LIST list;
    for (std::string const user : {"ada", "ben"})
        list.xSetParameter(("Login/" + user).c_str(), PARAM_STRING, ("password of " + user).c_str(), SCALAR_INDEX);
    list.xSetParameter("Product/Name", PARAM_STRING, "Proofs", SCALAR_INDEX);
    int const level = 3;
    list.xSetParameter("Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    list.SetVectorParameter("Log/Files", {"first.log", "second.log"});
    ticket.SetMultiParameter(ticket.pTicket, list.Table(true));  // one call, sorted by key
}

void Select() {
    //! [select]
    char const* const wanted[] = {"Product/Name", "Login/*", nullptr};  // "*" at the end marks a prefix
    PARTIAL_MODE mode;
    mode.set(wanted);
    for (char const* key : {"Product/Name", "Product/Names", "Login/ada", "Login"})
        std::printf("  %-13s %s\n", key, mode.Selects(key) ? "selected" : "not selected");

    char const* const unwanted[] = {"", "Login/*", nullptr};  // "" in front: remove the others
    mode.set(unwanted);
    std::printf("  %-13s %s\n", "Login/ada", mode.Selects("Login/ada") ? "selected" : "not selected any more");
    //! [select]
}

void Copy(STICKET_ACCESS const& settings, STICKET_ACCESS const& file) {
    //! [merge]
    char const* const keys[] = {"Log/*", "Product/Name", nullptr};
    file.MergeTicket(file.pTicket, &settings, keys, true);  // true: empty the target first
    //! [merge]
    PrintKeys(file);

    //! [filter]
    // Any other choice is a function of the key. `true`: the list copies every value.
    SETMULTIPAR_LIST list(true);
    list.MergeIf(&settings, [](char const* key) { return std::string(key).find("ada") != std::string::npos; });
    file.SetMultiParameter(file.pTicket, list.Table(false));
    //! [filter]
    std::printf("and then\n");
    PrintKeys(file);
}

unsigned int CountLoaded(STICKET_ACCESS const& file) {
    unsigned int count = 0;
    file.Operation(file.pTicket, STICKET_OP_COUNT_LOADED, &count);  // does not load anything
    return count;
}

void LoadPart(STICKET_ACCESS const& file) {
    file.Operation(file.pTicket, STICKET_OP_SAVE, nullptr);

    //! [partial]
    // A file ticket can keep some keys only. Here keys are exact: "Log/*" would be a key of that very name.
    char const* kept[] = {"Log/Level", "Product/Name", nullptr};
    file.Operation(file.pTicket, STICKET_OP_PARTIAL_KEYS, kept);
    std::printf("  %u values in memory\n", CountLoaded(file));

    int level = 0;
    file.GetParameter(file.pTicket, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);  // loads, but only the kept keys
    std::printf("  %u values in memory, log level %d\n", CountLoaded(file), level);

    // Any other key, and any walk, brings back everything. CAUTION: a change made before that, while only a part is in
    // memory, would be saved as it stands: the file would lose the rest.
    char const* login = nullptr;
    file.GetParameter(file.pTicket, "Login/ada", PARAM_STRING, &login, SCALAR_INDEX);
    std::printf("  %u values in memory, %s\n", CountLoaded(file), login);
    //! [partial]
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: partial FILE\n");
        return 2;
    }
    TICKET const settings(STICKET::Create(nullptr));
    TICKET const file(STICKET::Create(argv[1]));

    std::printf("Everything\n");
    Fill(*settings);
    PrintKeys(*settings);
    std::printf("Selecting\n");
    Select();
    std::printf("Copying a selection to the file\n");
    Copy(*settings, *file);
    std::printf("Loading a part of the file\n");
    LoadPart(*file);
}
