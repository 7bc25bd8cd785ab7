// A host in plain C: it loads the library at run time, keeps values of every type in a ticket file, and shows the file.
// It needs the C headers and links with nothing.
//
// Usage: c_host FILE [LIBRARY], by default the library that the system finds as libConfigurationControl.so.1.
#include <ConfigurationControl/MultiParListC.h>
#include <dlfcn.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

//! [library]
// What this host uses of the library.
typedef struct LIBRARY {
    STICKET_INSTANCE const* tickets;
    char const* version;
    SETMULTIPAR_LIST* (*ListCreate)(void);
    bool (*ListSet)(SETMULTIPAR_LIST* list, char const* key, PARAM_TYPE type, void const* value, int index);
    unsigned long (*ListSize)(SETMULTIPAR_LIST const* list);
    SETMULTIPAR* (*ListTable)(SETMULTIPAR_LIST* list, int sort);
    void (*ListDestroy)(SETMULTIPAR_LIST** list);
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
    bool const found = module && Find(module, "STicketInstance", &library->tickets) &&
                       Find(module, "ConfigurationControlVersionString", &library->version) &&
                       Find(module, "MultiParListCreate", &library->ListCreate) &&
                       Find(module, "MultiParListSetParameter", &library->ListSet) &&
                       Find(module, "MultiParListSize", &library->ListSize) &&
                       Find(module, "MultiParListTable", &library->ListTable) &&
                       Find(module, "MultiParListDestroy", &library->ListDestroy);
    if (!found) fprintf(stderr, "c_host: %s\n", dlerror());
    return found;
}
//! [library]

//! [check]
// Everything else is reached through these two records, so a host goes no further with others than it was made for.
static bool IsSupported(STICKET_INSTANCE const* tickets) {
    return tickets->nSize == sizeof(STICKET_INSTANCE) && tickets->nVersion == 1 && tickets->nAccessVersion == 2;
}

static bool IsUsable(STICKET_ACCESS const* ticket) {
    return ticket && ticket->nSize == sizeof(STICKET_ACCESS) && ticket->nVersion == 2;
}
//! [check]

static void Fill(LIBRARY const* library, STICKET_ACCESS const* ticket) {
    int printers[2] = {0, 0};  // what a pointer points to is the host's affair
    //! [batch]
    SETMULTIPAR_LIST* list = library->ListCreate();

    int32_t const level = 3;
    double const gamma = 2.2;
    char const key[] = {0x01, 0x00, 0x7F};
    BIN_STRING const licence = {key, sizeof key};
    int64_t const serial = -9007199254740993;
    uint32_t const copies = 250;
    uint64_t const mask = UINT64_MAX;
    library->ListSet(list, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    library->ListSet(list, "Profile/Gamma", PARAM_DOUBLE, &gamma, SCALAR_INDEX);
    library->ListSet(list, "Product/Name", PARAM_STRING, "Proofs", SCALAR_INDEX);
    library->ListSet(list, "Product/Licence", PARAM_BINSTR, &licence, SCALAR_INDEX);
    library->ListSet(list, "Product/Serial", PARAM_INT64, &serial, SCALAR_INDEX);
    library->ListSet(list, "Job/Copies", PARAM_UNSIGNED, &copies, SCALAR_INDEX);
    library->ListSet(list, "Job/Mask", PARAM_UINT64, &mask, SCALAR_INDEX);
    library->ListSet(list, "Job/Printers", PARAM_POINTER, printers, SCALAR_INDEX);  // the pointer itself; never saved

    // Replaces a vector: PARAM_NONE deletes the key, then each element is appended.
    library->ListSet(list, "Job/Papers", PARAM_NONE, NULL, SCALAR_INDEX);
    library->ListSet(list, "Job/Papers", PARAM_STRING, "matt", APPEND_INDEX);
    library->ListSet(list, "Job/Papers", PARAM_STRING, "gloss", APPEND_INDEX);

    // The list has copied all keys and values (a pointer stays what it is); the array belongs to the list.
    printf("%lu records\n", library->ListSize(list));
    SETMULTIPAR* const records = library->ListTable(list, 1);  // 1: in key order
    ticket->SetMultiParameter(ticket->pTicket, records);
    for (SETMULTIPAR const* record = records; record && record->key; ++record) {
        if (!record->result) printf("%s: refused\n", record->key);  // here: there was nothing to delete
    }
    library->ListDestroy(&list);
    //! [batch]
}

//! [walk]
// Everything that the callback gets is valid until it returns.
static bool PrintValue(void* count, char const* key, PARAM_TYPE type, void const* value, int index) {
    ++*(unsigned int*)count;
    printf("  %-16s", key);
    if (index != SCALAR_INDEX) printf("[%d] ", index);
    switch (type) {
        case PARAM_INT:
            printf("int %" PRId32 "\n", *(int32_t const*)value);
            break;
        case PARAM_DOUBLE:
            printf("double %g\n", *(double const*)value);
            break;
        case PARAM_STRING:
            printf("string \"%s\"\n", (char const*)value);
            break;
        case PARAM_BINSTR:
            printf("%" PRIu64 " bytes\n", ((BIN_STRING const*)value)->length);
            break;
        case PARAM_INT64:
            printf("int64 %" PRId64 "\n", *(int64_t const*)value);
            break;
        case PARAM_UINT64:
            printf("uint64 %" PRIu64 "\n", *(uint64_t const*)value);
            break;
        default:
            printf("type %" PRIu32 "\n", type);
            break;
    }
    return true;  // false would end the walk
}

static void PrintAll(STICKET_ACCESS const* ticket) {
    unsigned int count = 0;
    ticket->WalkParameter(ticket->pTicket, PrintValue, &count, "", WALK_EVERYTHING);
    printf("  %u values\n", count);
}
//! [walk]

static void Read(STICKET_ACCESS const* ticket) {
    //! [read]
    int32_t rounded = 0;
    if (ticket->GetParameter(ticket->pTicket, "Profile/Gamma", PARAM_INT, &rounded, SCALAR_INDEX))
        printf("gamma is about %" PRId32 "\n", rounded);

    uint64_t papers = 0;
    ticket->GetParameter(ticket->pTicket, "Job/Papers", PARAM_VECTOR, &papers, SCALAR_INDEX);
    for (int i = 0; i < (int)papers; ++i) {
        char const* paper = NULL;
        if (ticket->GetParameter(ticket->pTicket, "Job/Papers", PARAM_STRING, &paper, i)) printf("paper %s\n", paper);
    }

    // A read that fails returns 0 and stores 0 or null. Text is never read as a number.
    int32_t number = 42;
    if (!ticket->GetParameter(ticket->pTicket, "Product/Name", PARAM_INT, &number, SCALAR_INDEX))
        printf("the name is no number: %" PRId32 "\n", number);
    //! [read]
}

static void Lock(STICKET_ACCESS const* ticket) {
    //! [lock]
    enum { JOB_LOCK = 0 };  // 0 to 19; what a number stands for is agreed among the hosts of the ticket
    int editor = 7, viewer = 8;
    if (ticket->Lock(ticket->pTicket, JOB_LOCK, &editor, true)) printf("7 has the lock\n");
    if (!ticket->Lock(ticket->pTicket, JOB_LOCK, &viewer, true)) printf("8 is refused: %d has it\n", viewer);
    ticket->Lock(ticket->pTicket, JOB_LOCK, &editor, false);
    printf("given back, the owner is %d\n", editor);  // -1: nobody holds it
    //! [lock]
}

static void CountChange(void* argument) {
    ++*(int*)argument;
}

static void Defer(STICKET_ACCESS const* ticket) {
    int changes = 0;
    ticket->QueueAfterNotification(ticket->pTicket, CountChange, &changes);
    int32_t const level = 5;
    ticket->SetParameter(ticket->pTicket, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    ticket->SetParameter(ticket->pTicket, "Log/Level", PARAM_INT, &level, SCALAR_INDEX);
    printf("called back %d time\n", changes);  // queued once, called after the first change
}

static bool PrintFile(char const* name) {
    FILE* const file = fopen(name, "r");
    if (!file) return false;
    for (int c; (c = getc(file)) != EOF;) putchar(c);
    fclose(file);
    return true;
}

//! [life]
static int Run(LIBRARY const* library, char const* fileName) {
    STICKET_ACCESS const* ticket = library->tickets->Create(fileName);
    if (!IsUsable(ticket)) return EXIT_FAILURE;

    Fill(library, ticket);
    PrintAll(ticket);
    Read(ticket);
    Lock(ticket);
    Defer(ticket);

    // Saves if anything has changed. TicketGetSaveOutcome tells what became of it.
    ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, NULL);
    bool const saved = PrintFile(fileName);

    library->tickets->Destroy(&ticket);  // would save what has changed since; `ticket` is null from here on
    return saved ? EXIT_SUCCESS : EXIT_FAILURE;
}
//! [life]

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: c_host FILE [LIBRARY]\n");
        return 2;
    }
    LIBRARY library;
    if (!LoadLibrary(&library, argc > 2 ? argv[2] : "libConfigurationControl.so.1")) return EXIT_FAILURE;
    if (!IsSupported(library.tickets)) {
        fprintf(stderr, "c_host: version %s is not for this host\n", library.version);
        return EXIT_FAILURE;
    }
    return Run(&library, argv[1]);
}
