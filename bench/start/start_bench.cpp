// Times whole processes from start to end, the lower bound and the service alternately, and prints the medians in
// microseconds as one line of JSON. usage: start_bench PARSE_PROCESS SERVICE_PROCESS LIBRARY REPETITIONS
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ConfigurationControl/Ticket.h"
#include "Fixture.h"

namespace {

double Run(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    auto const begin = std::chrono::steady_clock::now();
    pid_t process = 0;
    int status = 0;
    bool const ended = posix_spawn(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0 &&
                       waitpid(process, &status, 0) == process;
    auto const end = std::chrono::steady_clock::now();
    if (!ended || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s failed with status %d\n", arguments[0], status);
        std::exit(1);
    }
    return std::chrono::duration<double, std::micro>(end - begin).count();
}

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) return 1;
    // The 50 keys of the other benchmarks, and the one that is read.
    std::string const file = SharedFile(FindStoreKind("file ticket"), SharedWorkload(50));
    STICKET_ACCESS const* table = STICKET::Create(file.c_str());
    int const language = 3;
    table->SetParameter(table->pTicket, "Language/SelectedID", PARAM_INT, &language, SCALAR_INDEX);
    STICKET::Destroy(table);

    std::vector<double> parse;
    std::vector<double> service;
    for (int i = std::atoi(arguments[4]); i > 0; --i) {
        parse.push_back(Run({arguments[1], file}));
        service.push_back(Run({arguments[2], arguments[3], file}));
    }
    std::printf(R"({"parse": %.1f, "service": %.1f})"
                "\n",
                Median(parse), Median(service));
    return 0;
}
