// The host of scripts/power_cut.
//
// Usage: saver run FILE COUNTERS [no-file-flush | no-directory-flush]
//            saves FILE again and again until it is killed; the n-th save stores n in every value. COUNTERS holds two
//            64-bit numbers: of the last save that has returned, and of the last that was begun. Without one of the
//            flushes the library's calls of fsync for files, or for directories, do nothing.
//        saver check FILE
//            prints n when FILE holds exactly what the n-th save stored, 0 when there is no FILE; then saves it once
//            more.
#include <ConfigurationControl/ConfigurationControl.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <string_view>

namespace {

constexpr int VALUES = 200;
bool flushFiles = true;
bool flushDirectories = true;

struct COUNTERS {
    std::atomic<uint64_t> returned;
    std::atomic<uint64_t> begun;
};
static_assert(std::atomic<uint64_t>::is_always_lock_free);

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

std::string KeyOf(int value) {
    return "Values/Value" + std::to_string(value);
}

// A text of up to 60,000 bytes, so that the number of blocks of the file differs from save to save.
std::string TextOf(int number) {
    return std::string(static_cast<std::size_t>(number) * 7919 % 60000, static_cast<char>('a' + number % 26));
}

bool Save(STICKET_ACCESS const& ticket, int number) {
    for (int i = 0; i < VALUES; ++i)
        ticket.SetParameter(ticket.pTicket, KeyOf(i).c_str(), PARAM_INT, &number, SCALAR_INDEX);
    ticket.SetParameter(ticket.pTicket, "Text", PARAM_STRING, TextOf(number).c_str(), SCALAR_INDEX);
    return ticket.Operation(ticket.pTicket, STICKET_OP_SAVE, nullptr) != 0;
}

// The number of the save that left these values; -1 if no save did.
int NumberOf(STICKET_ACCESS const& ticket) {
    int number = 0;
    ticket.GetParameter(ticket.pTicket, KeyOf(0).c_str(), PARAM_INT, &number, SCALAR_INDEX);
    for (int i = 0; i < VALUES; ++i) {
        int value = 0;
        if (!ticket.GetParameter(ticket.pTicket, KeyOf(i).c_str(), PARAM_INT, &value, SCALAR_INDEX) || value != number)
            return -1;
    }
    std::string text;
    unsigned int count = 0;
    ticket.Operation(ticket.pTicket, STICKET_OP_COUNT, &count);
    bool const hasText = STICKET_READ(ticket).GetParameter("Text", text, SCALAR_INDEX);
    return hasText && text == TextOf(number) && count == VALUES + 1 ? number : -1;
}

int Run(char const* fileName, char const* countersName) {
    int const file = open(countersName, O_RDWR | O_CREAT, 0600);
    if (file < 0 || ftruncate(file, sizeof(COUNTERS)) != 0) return 1;
    void* const memory = mmap(nullptr, sizeof(COUNTERS), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) return 1;
    auto& counters = *static_cast<COUNTERS*>(memory);
    TICKET const ticket(STICKET::Create(fileName));
    std::mt19937 random(static_cast<unsigned int>(getpid()));
    for (int number = 1;; ++number) {
        counters.begun = static_cast<uint64_t>(number);
        if (!Save(*ticket, number)) return 1;
        counters.returned = static_cast<uint64_t>(number);
        // A power cut during this pause is after one save and before the next.
        usleep(random() % 10000);
    }
}

int Check(char const* fileName) {
    struct stat status;
    int number = 0;
    if (stat(fileName, &status) == 0) number = NumberOf(*TICKET(STICKET::Create(fileName)));
    std::printf("%d\n", number);
    constexpr int NEXT = 1000000;
    if (!Save(*TICKET(STICKET::Create(fileName)), NEXT)) return 1;
    return NumberOf(*TICKET(STICKET::Create(fileName))) == NEXT ? 0 : 1;
}

}  // namespace

namespace {

int FlushUnlessLeftOut(long call, int file) {
    struct stat status;
    bool const isDirectory = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    if (!(isDirectory ? flushDirectories : flushFiles)) return 0;
    return static_cast<int>(syscall(call, file));
}

}  // namespace

// The library calls these functions, since the dynamic linker searches the program first.
extern "C" int fsync(int file) {
    return FlushUnlessLeftOut(SYS_fsync, file);
}
extern "C" int fdatasync(int file) {
    return FlushUnlessLeftOut(SYS_fdatasync, file);
}

int main(int argc, char** argv) {
    std::string_view const command = argc > 1 ? argv[1] : "";
    std::string_view const option = argc > 4 ? argv[4] : "";
    flushFiles = option != "no-file-flush";
    flushDirectories = option != "no-directory-flush";
    if (command == "run" && argc > 3) return Run(argv[2], argv[3]);
    if (command == "check" && argc == 3) return Check(argv[2]);
    std::fprintf(stderr, "usage: saver run FILE COUNTERS [no-file-flush | no-directory-flush] | saver check FILE\n");
    return 2;
}
