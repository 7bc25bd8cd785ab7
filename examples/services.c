// A host in plain C that uses a ticket's services: it observes changes, copies text under the ticket's mutex, and asks
// what became of a load and a save.
//
// Usage: services FILE [LIBRARY], by default the library that the system finds as libConfigurationControl.so.1.
#include <ConfigurationControl/TicketServices.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// What this host uses of the library.
typedef struct LIBRARY {
    STICKET_INSTANCE const* tickets;
    int (*RunLocked)(STICKET_ACCESS const* access, TICKET_LOCKED_CALLBACK callback, void* context);
    uint64_t (*AddObserver)(STICKET_ACCESS const* access, TICKET_OBSERVER observer, void* context);
    int (*RemoveObserver)(STICKET_ACCESS const* access, uint64_t id);
    int (*GetSaveOutcome)(STICKET_ACCESS const* access, TICKET_SAVE_OUTCOME* outcome);
    int (*GetLoadOutcome)(STICKET_ACCESS const* access, TICKET_LOAD_OUTCOME* outcome);
} LIBRARY;

// Stores the address of a symbol in a pointer of any kind. C converts no data pointer to a function pointer, so the
// bytes are copied.
static bool Find(void* module, char const* name, void* pointer) {
    void* const symbol = dlsym(module, name);
    memcpy(pointer, &symbol, sizeof symbol);
    return symbol != NULL;
}

static bool LoadLibrary(LIBRARY* library, char const* name) {
    void* const module = dlopen(name, RTLD_NOW);
    return module && Find(module, "STicketInstance", &library->tickets) &&
           Find(module, "TicketRunLocked", &library->RunLocked) &&
           Find(module, "TicketAddObserver", &library->AddObserver) &&
           Find(module, "TicketRemoveObserver", &library->RemoveObserver) &&
           Find(module, "TicketGetSaveOutcome", &library->GetSaveOutcome) &&
           Find(module, "TicketGetLoadOutcome", &library->GetLoadOutcome);
}

static void SetText(STICKET_ACCESS const* ticket, char const* key, char const* text) {
    ticket->SetParameter(ticket->pTicket, key, PARAM_STRING, text, SCALAR_INDEX);
}

//! [observer]
// Runs after each change, on its thread, with the ticket's mutex held.
static void PrintKeys(void* context, char const* const* keys) {
    printf("%s:", (char const*)context);
    if (!keys) printf(" any key");
    for (; keys && *keys; ++keys) printf(" %s", *keys);
    printf("\n");
}

static void Observe(LIBRARY const* library, STICKET_ACCESS const* ticket) {
    static char name[] = "changed";
    uint64_t const id = library->AddObserver(ticket, PrintKeys, name);
    SetText(ticket, "View/Theme", "light");

    SETMULTIPAR batch[] = {{"View/Font", PARAM_STRING, "Sans", SCALAR_INDEX, false},
                           {"View/Absent", PARAM_NONE, NULL, SCALAR_INDEX, false},  // refused: nothing to delete
                           {"View/Theme", PARAM_STRING, "dark", SCALAR_INDEX, false},
                           {0}};
    ticket->SetMultiParameter(ticket->pTicket, batch);
    ticket->Operation(ticket->pTicket, STICKET_OP_CLEAR, NULL);

    library->RemoveObserver(ticket, id);
    SetText(ticket, "View/Theme", "dark");  // no observer is called any more
}
//! [observer]

//! [locked]
typedef struct COPY {
    STICKET_ACCESS const* ticket;
    char text[100];
} COPY;

// No other thread can change the text while it is copied.
static void CopyTheme(void* context) {
    COPY* const copy = context;
    char const* text = NULL;
    copy->ticket->GetParameter(copy->ticket->pTicket, "View/Theme", PARAM_STRING, &text, SCALAR_INDEX);
    snprintf(copy->text, sizeof copy->text, "%s", text ? text : "");
}

static void PrintTheme(LIBRARY const* library, STICKET_ACCESS const* ticket) {
    COPY copy = {ticket, ""};
    if (library->RunLocked(ticket, CopyTheme, &copy)) printf("theme: %s\n", copy.text);
}
//! [locked]

//! [outcome]
static void SaveAndTell(LIBRARY const* library, STICKET_ACCESS const* ticket) {
    TICKET_LOAD_OUTCOME loaded = {.nSize = sizeof loaded};
    library->GetLoadOutcome(ticket, &loaded);
    printf("the file is %s\n", loaded.nState == TICKET_LOAD_NO_FILE ? "new" : "there");

    // The entry returns 1 also if the disk refuses the save, as when it is full; the outcome tells.
    TICKET_SAVE_OUTCOME saved = {.nSize = sizeof saved};
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, NULL);
    library->GetSaveOutcome(ticket, &saved);
    if (saved.nStep == TICKET_SAVE_OK)
        printf("saved\n");
    else
        printf("not saved: step %u, %s\n", saved.nStep, strerror(saved.nError));
}
//! [outcome]

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: services FILE [LIBRARY]\n");
        return 2;
    }
    LIBRARY library;
    if (!LoadLibrary(&library, argc > 2 ? argv[2] : "libConfigurationControl.so.1")) {
        fprintf(stderr, "services: %s\n", dlerror());
        return EXIT_FAILURE;
    }
    STICKET_ACCESS const* ticket = library.tickets->Create(argv[1]);
    Observe(&library, ticket);
    PrintTheme(&library, ticket);
    SaveAndTell(&library, ticket);
    library.tickets->Destroy(&ticket);
    return EXIT_SUCCESS;
}
