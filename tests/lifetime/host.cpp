// A host that ends in one of several ways, or lists its descriptors. Usage: host HOW FILE; MANNERS lists the values of
// HOW.
#include <dirent.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ConfigurationControl/ConfigurationControl.h"
#include "Library.h"

namespace {

STICKET_ACCESS const* g_memory = nullptr;
STICKET_ACCESS const* g_file = nullptr;
IConfigurationControl* g_service = nullptr;
std::unique_ptr<LIBRARY> g_opened;
bool g_endsEverything = false;

// All values of one version of the file are equal. One batch sets them, since another thread may save between two sets.
void SetVersion(int version) {
    constexpr int VALUES = 100;
    std::vector<std::string> keys;
    for (int i = 0; i < VALUES; ++i) keys.push_back("values/v" + std::to_string(i));
    std::vector<SETMULTIPAR> batch;
    for (std::string const& key : keys) batch.push_back({key.c_str(), PARAM_INT, &version, SCALAR_INDEX, false});
    batch.push_back({});
    g_file->SetMultiParameter(g_file->pTicket, batch.data());
    g_memory->SetMultiParameter(g_memory->pTicket, batch.data());
}

// A static object, destroyed after main. It uses the library, which must still work then.
struct LAST_USER {
    ~LAST_USER() {
        if (!g_endsEverything) return;
        SetVersion(2);
        auto const& tickets = g_opened ? g_opened->Tickets() : *hSTicketInstance;
        tickets.Destroy(g_memory);
        tickets.Destroy(g_file);
        g_service->SetLogLevel(2);
        g_service->Release();
    }
} g_lastUser;

void Begin(STICKET_INSTANCE const& tickets, IConfigurationControl* service, std::string const& file) {
    g_memory = tickets.Create(nullptr);
    g_file = tickets.Create(file.c_str());
    g_service = service;
    g_service->Initialize(file + ".settings");
    SetVersion(1);
    g_file->Operation(g_file->pTicket, STICKET_OP_SAVE, nullptr);
    g_service->SetLogLevel(1);
    g_service->Flush(true);
}

// Leaves everything open, with unsaved changes.
int ReturnFromMain(char const* file) {
    Begin(*hSTicketInstance, GetConfigurationControl(), file);
    SetVersion(2);
    g_service->SetLogLevel(2);
    return 0;
}

int EndInAStaticDestructor(char const* file) {
    Begin(*hSTicketInstance, GetConfigurationControl(), file);
    g_endsEverything = true;
    return 0;
}

int EndInAStaticDestructorWhatWasOpened(char const* file) {
    g_opened = std::make_unique<LIBRARY>();
    Begin(g_opened->Tickets(), &g_opened->Service(), file);
    g_endsEverything = true;
    return 0;
}

void UseForEver() {
    for (int version = 1;; ++version) {
        SetVersion(version);
        g_file->Operation(g_file->pTicket, STICKET_OP_SAVE, nullptr);
        unsigned int count = 0;
        g_file->Operation(g_file->pTicket, STICKET_OP_RELEASE, nullptr);
        g_file->Operation(g_file->pTicket, STICKET_OP_COUNT, &count);
        g_service->SetLogLevel(version);
        g_service->Flush(true);
    }
}

// Threads are inside the library while main returns and static objects are destroyed.
int ReturnWhileThreadsSave(char const* file) {
    Begin(*hSTicketInstance, GetConfigurationControl(), file);
    for (int i = 0; i < 3; ++i) std::thread(&UseForEver).detach();
    std::this_thread::sleep_for(std::chrono::microseconds(1000 + getpid() % 64 * 100));
    return 0;
}

// As above, but the thread itself ends the process.
int ExitFromAThread(char const* file) {
    Begin(*hSTicketInstance, GetConfigurationControl(), file);
    std::thread(&UseForEver).detach();
    std::thread([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::exit(0);
    }).join();
    return 1;
}

// One line for each descriptor but the standard ones.
int ListDescriptors(char const*) {
    DIR* const directory = opendir("/proc/self/fd");
    while (dirent const* const entry = readdir(directory)) {
        int const number = std::atoi(entry->d_name);
        if (number <= STDERR_FILENO || number == dirfd(directory)) continue;
        char target[4096] = {};
        if (readlinkat(dirfd(directory), entry->d_name, target, sizeof target - 1) > 0) std::puts(target);
    }
    closedir(directory);
    return 0;
}

struct MANNER {
    char const* name;
    int (*run)(char const* file);
};
constexpr MANNER MANNERS[] = {
    {"return-from-main", &ReturnFromMain},
    {"end-in-a-static-destructor", &EndInAStaticDestructor},
    {"end-in-a-static-destructor-what-was-opened", &EndInAStaticDestructorWhatWasOpened},
    {"return-while-threads-save", &ReturnWhileThreadsSave},
    {"exit-from-a-thread", &ExitFromAThread},
    {"list-descriptors", &ListDescriptors},
};

}  // namespace

int main(int count, char** arguments) {
    for (MANNER const& manner : MANNERS) {
        if (count == 3 && std::strcmp(arguments[1], manner.name) == 0) return manner.run(arguments[2]);
    }
    return 3;
}
