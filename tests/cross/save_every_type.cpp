// A host that saves 3,000 keys with values of every type in a file, so that the files of two machines can be compared.
//
// Usage: save_every_type FILE. A FILE that exists is loaded, each of its values is compared with what this program
// stores, and it is saved again; otherwise FILE is made.
#include <ConfigurationControl/ConfigurationControl.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int COUNT = 3000;

struct DESTROY_TICKET {
    void operator()(STICKET_ACCESS const* ticket) const { STICKET::Destroy(ticket); }
};
using TICKET = std::unique_ptr<STICKET_ACCESS const, DESTROY_TICKET>;

// 64 pseudo-random bits, the same on every machine.
uint64_t Scramble(int number) {
    uint64_t bits = static_cast<uint64_t>(number) + 0x9E3779B97F4A7C15u;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBu;
    return bits ^ (bits >> 31);
}

// A double with a fraction, of any size below 2^20: a whole one is stored as an integer.
double ScrambledDouble(int number) {
    uint64_t const bits = Scramble(number);
    uint64_t const exponent = number % 4 == 1 ? bits % 1043 : 1003 + bits % 40;
    uint64_t const sized = (bits & 0x800FFFFFFFFFFFFFu) | exponent << 52;
    double value;
    std::memcpy(&value, &sized, sizeof value);
    return value;
}

bool Store(STICKET_ACCESS const& ticket, std::string const& key, PARAM_TYPE type, void const* value,
           int index = SCALAR_INDEX) {
    return ticket.SetParameter(ticket.pTicket, key.c_str(), type, value, index) != 0;
}

bool StoreNumbered(STICKET_ACCESS const& ticket, int number, std::string const& key, int index) {
    uint64_t const bits = Scramble(number);
    switch (number % 6) {
        case 0: {
            auto const value = static_cast<int32_t>(bits);
            return Store(ticket, key, PARAM_INT, &value, index);
        }
        case 1: {
            double const value = ScrambledDouble(number);
            return Store(ticket, key, PARAM_DOUBLE, &value, index);
        }
        case 2: {
            std::string const value =
                "text <&> \xC3\xA4\xE2\x82\xAC \xFF\x01\t" + std::to_string(bits) + std::string(bits % 40, 'x');
            return Store(ticket, key, PARAM_STRING, value.c_str(), index);
        }
        case 3: {
            std::string bytes = "<";  // a space at either end would be lost
            for (unsigned int i = 0; i < 8 - bits % 3; ++i) bytes += static_cast<char>(bits >> (8 * i));
            bytes += '>';
            BIN_STRING const value{bytes.data(), bytes.size()};
            return Store(ticket, key, PARAM_BINSTR, &value, index);
        }
        case 4: {
            auto const value = static_cast<int64_t>(bits | uint64_t{1} << 62);
            return Store(ticket, key, PARAM_INT64, &value, index);
        }
        default: {
            uint64_t const value = bits | uint64_t{1} << 63;
            return Store(ticket, key, PARAM_UINT64, &value, index);
        }
    }
}

bool Fill(STICKET_ACCESS const& ticket) {
    for (int number = 0; number < COUNT; ++number) {
        std::string const key = "Group" + std::to_string(number % 37) + "/Sub/Key" + std::to_string(number);
        if (number % 50 != 49) {
            if (!StoreNumbered(ticket, number, key, SCALAR_INDEX)) return false;
            continue;
        }
        for (int element = 0; element < 7; ++element)
            if (!StoreNumbered(ticket, number + element, key, APPEND_INDEX)) return false;
    }
    return true;
}

// One line for a value of a walk.
bool Describe(void* lines, char const* key, PARAM_TYPE type, void const* value, int index) {
    std::string line = std::string(key) + ' ' + std::to_string(type) + ' ' + std::to_string(index) + ' ';
    switch (type) {
        case PARAM_INT:
            line.append(static_cast<char const*>(value), sizeof(int32_t));
            break;
        case PARAM_STRING:
            line += static_cast<char const*>(value);
            break;
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            line.append(static_cast<char const*>(bytes.data), bytes.length);
            break;
        }
        default:
            line.append(static_cast<char const*>(value), sizeof(uint64_t));
    }
    static_cast<std::vector<std::string>*>(lines)->push_back(std::move(line));
    return true;
}

std::vector<std::string> AllValues(STICKET_ACCESS const& ticket) {
    std::vector<std::string> lines;
    ticket.WalkParameter(ticket.pTicket, &Describe, &lines, "", WALK_EVERYTHING);
    return lines;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: save_every_type FILE\n");
        return 2;
    }
    TICKET const expected(STICKET::Create(nullptr));
    if (!Fill(*expected)) {
        std::fprintf(stderr, "a value was not stored\n");
        return 1;
    }
    struct stat status;
    bool const exists = stat(argv[1], &status) == 0;
    TICKET const file(STICKET::Create(argv[1]));
    if (exists && AllValues(*file) != AllValues(*expected)) {
        std::fprintf(stderr, "%s holds other values\n", argv[1]);
        return 1;
    }
    // Keeps the loaded values, but stores one of them again, so that the ticket has something to save.
    if (exists ? !StoreNumbered(*file, 0, "Group0/Sub/Key0", SCALAR_INDEX) : !Fill(*file)) return 1;
    return file->Operation(file->pTicket, STICKET_OP_SAVE, nullptr) != 0 ? 0 : 1;
}
