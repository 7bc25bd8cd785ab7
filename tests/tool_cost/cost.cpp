// The yardstick and the scale for the cost of the tool: `cost load FILE` loads a ticket file as a host does,
// `cost memory COMMAND...` runs a command and prints its largest resident size in KiB.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "ConfigurationControl/Ticket.h"

namespace {

bool Load(char const* file) {
    auto const* table = STICKET::Create(file);
    unsigned int count = 0;
    table->Operation(table->pTicket, STICKET_OP_COUNT, &count);
    STICKET::Destroy(table);
    return count != 0;
}

bool PrintMemory(char** command) {
    pid_t const process = fork();
    if (process == 0) {
        execv(command[0], command);
        _exit(127);
    }
    int status = -1;
    rusage used;
    if (wait4(process, &status, 0, &used) != process || status != 0) return false;
    std::printf("%ld\n", used.ru_maxrss);
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3) return 2;
    bool const isLoad = std::string_view(arguments[1]) == "load";
    return (isLoad ? Load(arguments[2]) : PrintMemory(arguments + 2)) ? 0 : 1;
}
