// Runs operations for callgrind, which counts their instructions: one dump for each, named "OPERATION SIZE". Most run
// with one size and with ten times that size; those on hostile input run with a harmless control first. Times would
// depend on caches; instructions show only how the work grows.
#include <valgrind/callgrind.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/Ticket.h"

namespace {

std::string g_file;

class TICKET {
 public:
    explicit TICKET(char const* name = nullptr) : m_access(STICKET::Create(name)) {}
    ~TICKET() { STICKET::Destroy(m_access); }
    TICKET(TICKET const&) = delete;
    TICKET& operator=(TICKET const&) = delete;

    void Set(std::string const& key, int value, int index = SCALAR_INDEX) const {
        m_access->SetParameter(m_access->pTicket, key.c_str(), PARAM_INT, &value, index);
    }
    void Set(std::string const& key, std::string const& text) const {
        m_access->SetParameter(m_access->pTicket, key.c_str(), PARAM_STRING, text.c_str(), SCALAR_INDEX);
    }
    void Get(std::string const& key) const {
        int value = 0;
        m_access->GetParameter(m_access->pTicket, key.c_str(), PARAM_INT, &value, SCALAR_INDEX);
    }
    void GetText(std::string const& key) const {
        char const* text = nullptr;
        m_access->GetParameter(m_access->pTicket, key.c_str(), PARAM_STRING, &text, SCALAR_INDEX);
    }
    void Delete(std::string const& key) const {
        m_access->SetParameter(m_access->pTicket, key.c_str(), PARAM_NONE, nullptr, SCALAR_INDEX);
    }
    void Operate(STICKET_OP code, void* data = nullptr) const { m_access->Operation(m_access->pTicket, code, data); }
    void Load() const {
        unsigned int count = 0;
        Operate(STICKET_OP_COUNT, &count);
    }
    STICKET_ACCESS const* Access() const { return m_access; }

 private:
    STICKET_ACCESS const* m_access;
};

std::string Repeated(std::string const& text, int count) {
    std::string all;
    while (count-- > 0) all += text;
    return all;
}

std::string Numbered(char const* name, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%07d", number);
    return name + std::string(digits);
}

// A pseudo-random permutation of the numbers below `size`.
int Shuffled(int number, int size) {
    return static_cast<int>(number * 7919LL % size);
}

using WORK = std::function<void()>;

WORK Load(std::string const& elements) {
    std::ofstream(g_file) << "<ticket>" << elements << "</ticket>";
    return [] { TICKET(g_file.c_str()).Load(); };
}

// A ticket without a file: the save of one that was cleared before its file was read would read it.
std::shared_ptr<TICKET> NewFileTicket() {
    std::remove(g_file.c_str());
    return std::make_shared<TICKET>(g_file.c_str());
}

WORK Save(int count, std::function<std::string(int)> const& key) {
    auto const ticket = NewFileTicket();
    for (int i = 0; i < count; ++i) ticket->Set(key(i), i);
    return [ticket] { ticket->Operate(STICKET_OP_SAVE); };
}

std::shared_ptr<TICKET> Filled(int count) {
    auto ticket = std::make_shared<TICKET>();
    for (int i = 0; i < count; ++i) ticket->Set(Numbered("key", i), i);
    return ticket;
}

struct CASE {
    char const* name;
    int size;
    WORK (*prepare)(int size);
};

constexpr CASE CASES[] = {
    {"load_nested_elements", 10000,
     [](int n) { return Load(Repeated("<a>", n) + "<b type=\"int\">1</b>" + Repeated("</a>", n)); }},
    {"load_keys", 5000,
     [](int n) {
         std::string text;
         for (int i = 0; i < n; ++i) text += "<k" + Numbered("", i) + " type=\"int\">1</k" + Numbered("", i) + ">\n";
         return Load(text);
     }},
    {"load_entities", 5000,
     [](int n) { return Load("<a type=\"string\">" + Repeated("&e;&#1;", n) + "</a>" + Repeated("<!-- -->", n)); }},
    {"load_escapes", 20000, [](int n) { return Load("<a type=\"binstr\">" + Repeated("\\xFF ", n) + "</a>"); }},
    {"load_digits", 20000, [](int n) { return Load("<a type=\"double\">0." + Repeated("7", n) + "</a>"); }},
    {"load_vector", 5000, [](int n) { return Load(Repeated("<v type=\"int\">1</v>", n)); }},
    {"save_keys", 5000, [](int n) { return Save(n, [](int i) { return Numbered("g", i / 50) + Numbered("/k", i); }); }},
    {"save_value", 20000,
     [](int n) -> WORK {
         auto const ticket = NewFileTicket();
         ticket->Set("text", Repeated("<\xFF ", n));
         return [ticket] { ticket->Operate(STICKET_OP_SAVE); };
     }},
    {"save_long_keys", 5,
     [](int n) { return Save(n, [](int i) { return std::string(65000, 'k') + Numbered("", i) + "/v"; }); }},
    {"save_wildcards_at_the_end", 500, [](int n) { return Save(n, [](int i) { return Numbered("", i) + "*?/v"; }); }},
    {"save_wildcards_in_front", 500, [](int n) { return Save(n, [](int i) { return Numbered("*?", i) + "/v"; }); }},
    {"save_wildcards_at_both_ends", 500,
     [](int n) { return Save(n, [](int i) { return Numbered("*name", i) + "*/v"; }); }},
    {"save_sets_of_bytes", 500, [](int n) { return Save(n, [](int i) { return Numbered("list[", i) + "]/v"; }); }},
    {"save_twelve_stars", 500,
     [](int n) { return Save(n, [](int i) { return Numbered("*a*b*c*d*e*f*g*h*i*j*k*", i) + "/v"; }); }},
    {"save_below_one_wildcard", 1000,
     [](int n) { return Save(n, [](int i) { return i % 2 ? Numbered("a!", i) + "/v" : Numbered("a*b/", i); }); }},
    {"save_below_leaves", 1000,
     [](int n) { return Save(n, [](int i) { return Numbered("a", i / 2) + (i % 2 ? "/b" : ""); }); }},
    {"save_empty_components", 500, [](int n) { return Save(n, [](int i) { return Numbered("a//", i); }); }},
    {"match_twelve_stars_with_a_long_name", 10000,
     [](int n) {
         return Save(2, [n](int i) {
             return i ? std::string("*a*a*a*a*a*a*a*a*a*a*a*ab/v")
                      : "!" + std::string(static_cast<std::size_t>(n), 'a') + "/v";
         });
     }},
    {"set_keys_in_no_order", 5000,
     [](int n) -> WORK {
         return [n] {
             TICKET const ticket;
             for (int i = 0; i < n; ++i) ticket.Set(Numbered("key", Shuffled(i, n)), i);
         };
     }},
    {"get_keys", 5000,
     [](int n) -> WORK {
         return [n, ticket = Filled(n)] {
             for (int i = 0; i < n; ++i) ticket->Get(Numbered("key", Shuffled(i, n)));
         };
     }},
    {"delete_keys", 5000,
     [](int n) -> WORK {
         return [n, ticket = Filled(n)] {
             for (int i = 0; i < n; ++i) ticket->Delete(Numbered("key", i));
         };
     }},
    {"key_of_many_components", 10000,
     [](int n) -> WORK {
         return [n, key = Repeated("a/", n) + "b"] {
             TICKET const ticket;
             ticket.Set(key, 1);
             ticket.Get(key);
             ticket.Delete(key);
         };
     }},
    {"append_elements", 5000,
     [](int n) -> WORK {
         return [n] {
             TICKET const ticket;
             for (int i = 0; i < n; ++i) ticket.Set("v", i, APPEND_INDEX);
         };
     }},
    {"merge", 5000,
     [](int n) -> WORK {
         return [source = Filled(n)] {
             TICKET const target;
             target.Access()->MergeTicket(target.Access()->pTicket, source->Access(), nullptr, true);
         };
     }},
    {"sort_a_batch", 5000,
     [](int n) -> WORK {
         return [n] {
             SETMULTIPAR_LIST list(false);
             for (int i = 0; i < n; ++i)
                 list.xSetParameter(Numbered("key", Shuffled(i, n)).c_str(), PARAM_INT, &i, SCALAR_INDEX);
             list.Table(true);
         };
     }},
};

// Names and texts that contain the public constants of a multiplicative hash, so that they collide whatever its seed
// is: each product with such a word is zero. Their control differs from them in one bit of the constant.
std::string Hostile(std::size_t position, std::string const& constant, int number, bool isControl) {
    std::string text(position, 'n');
    text += constant;
    text[position] = static_cast<char>(text[position] ^ static_cast<char>(isControl));
    return text + Numbered("a", number);  // these 8 bytes make the texts different
}
std::string HostileKey(int number, bool isControl) {
    return Hostile(0, "\x15\x7C\x4A\x7F\xB9\x79\x37\x9E", number, isControl);
}
std::string HostileLongKey(int number, bool isControl) {
    return Hostile(16, "\x93\xFD\x59\x66\xB8\xFE\xE8\xD6", number, isControl) + std::string(16, 'n');
}

template <std::string (*KEY)(int, bool)>
std::shared_ptr<TICKET> FilledWithHostile(int count, bool isControl) {
    auto ticket = std::make_shared<TICKET>();
    for (int i = 0; i < count; ++i) ticket->Set(KEY(i, isControl), i);
    return ticket;
}

template <std::string (*KEY)(int, bool)>
WORK LoadHostile(int count, bool isControl) {
    {
        TICKET const ticket(g_file.c_str());
        ticket.Operate(STICKET_OP_CLEAR);
        for (int i = 0; i < count; ++i) ticket.Set(KEY(i, isControl), i);
    }
    return [] { TICKET(g_file.c_str()).Load(); };
}

template <std::string (*KEY)(int, bool)>
WORK ReadHostile(int count, bool isControl) {
    return [=, ticket = FilledWithHostile<KEY>(count, isControl)] {
        for (int i = 0; i < count; ++i) ticket->Get(KEY(i, isControl));
    };
}

WORK ReadHostileTexts(int count, bool isControl) {
    auto const ticket = std::make_shared<TICKET>(g_file.c_str());
    ticket->Operate(STICKET_OP_CLEAR);
    for (int i = 0; i < count; ++i) ticket->Set(Numbered("text", i), HostileKey(i, isControl));
    return [=] {
        for (int i = 0; i < count; ++i) ticket->GetText(Numbered("text", i));
    };
}

// Names whose hashes by the standard library are all the same. It mixes eight bytes at a time, in steps that can be
// undone, so the last eight can be chosen for any first ones. The control's differ from them in one bit.
uint64_t Mixed(uint64_t word) {
    return word ^ word >> 47;
}
std::string CollidingName(uint64_t number, bool isControl) {
    constexpr uint64_t FACTOR = 0xC6A4A7935BD1E995;
    constexpr uint64_t INVERSE = 0x5F7A0EA7E59B19BD;
    static_assert(FACTOR * INVERSE == 1);
    constexpr uint64_t SEED = 0xC70F6907;
    constexpr uint64_t SAME = 1;
    uint64_t const first = number << 8 | '?';
    uint64_t const state = (SEED ^ 2 * sizeof first * FACTOR ^ Mixed(first * FACTOR) * FACTOR) * FACTOR;
    uint64_t const last = Mixed((state ^ SAME) * INVERSE) * INVERSE ^ static_cast<uint64_t>(isControl);
    std::string name(2 * sizeof first, '\0');
    std::memcpy(&name[0], &first, sizeof first);
    std::memcpy(&name[sizeof first], &last, sizeof last);
    return name;
}

WORK LoadHostileClosings(int count, bool isControl) {
    std::string text;
    for (uint64_t number = 0x31323334616161; count > 0; ++number) {
        std::string const name = CollidingName(number, false);
        if ((name + CollidingName(number, true)).find_first_of({"\0\n<>\"/", 6}) != std::string::npos) continue;
        text += "</" + CollidingName(number, isControl) + ">\n";
        --count;
    }
    return Load("\n" + text);
}

// The elements of a vector whose key is long: to search the key for each of them takes long. The control has the same
// bytes in a text.
std::shared_ptr<TICKET> VectorOfLongKey(int count, bool isControl, std::string const& further) {
    std::string const longText(20000, 'n');
    auto ticket = NewFileTicket();
    ticket->Operate(STICKET_OP_CLEAR);
    ticket->Set("text", isControl ? longText : "t");
    ticket->Set(further, 1);
    std::string const key = (isControl ? "n" : longText) + "/v";
    for (int i = 0; i < count; ++i) ticket->Set(key, i, APPEND_INDEX);
    return ticket;
}

WORK SaveVector(int count, bool isControl) {
    auto const ticket = VectorOfLongKey(count, isControl, "further");
    return [ticket] { ticket->Operate(STICKET_OP_SAVE); };
}

WORK SaveVectorAsTree(int count, bool isControl) {
    auto const ticket = VectorOfLongKey(count, isControl, "wild*/further");
    return [ticket] { ticket->Operate(STICKET_OP_SAVE); };
}

WORK LoadVector(int count, bool isControl) {
    VectorOfLongKey(count, isControl, "further")->Operate(STICKET_OP_SAVE);
    return [] { TICKET(g_file.c_str()).Load(); };
}

WORK LoadVectorByParser(int count, bool isControl) {
    VectorOfLongKey(count, isControl, "further")->Operate(STICKET_OP_SAVE);
    std::ofstream(g_file, std::ios::app) << "<!-- not as a save writes it -->";
    return [] { TICKET(g_file.c_str()).Load(); };
}

struct HOSTILE_CASE {
    char const* name;
    WORK (*prepare)(int size, bool isControl);
};

constexpr int HOSTILE_SIZE = 5000;
constexpr HOSTILE_CASE HOSTILE_CASES[] = {
    {"hostile_keys_loaded", LoadHostile<HostileKey>},
    {"hostile_keys_read", ReadHostile<HostileKey>},
    {"hostile_long_keys_loaded", LoadHostile<HostileLongKey>},
    {"hostile_texts_read", ReadHostileTexts},
    {"hostile_closing_tags_loaded", LoadHostileClosings},
    {"hostile_vector_loaded", LoadVector},
    {"hostile_vector_parsed", LoadVectorByParser},
    {"hostile_vector_saved", SaveVector},
    {"hostile_vector_saved_as_tree", SaveVectorAsTree},
};

void Count(char const* name, int size, WORK const& work) {
    CALLGRIND_TOGGLE_COLLECT;
    work();
    CALLGRIND_TOGGLE_COLLECT;
    char label[80];
    std::snprintf(label, sizeof label, "%s %d", name, size);
    CALLGRIND_DUMP_STATS_AT(label);
}

}  // namespace

// usage: growth FILE: the name of a ticket file, which is written and removed
int main(int count, char** arguments) {
    if (count != 2) return 1;
    g_file = arguments[1];
    for (CASE const& one : CASES)
        for (int const size : {one.size, 10 * one.size}) Count(one.name, size, one.prepare(size));
    for (HOSTILE_CASE const& one : HOSTILE_CASES)
        for (bool const isControl : {true, false}) Count(one.name, HOSTILE_SIZE, one.prepare(HOSTILE_SIZE, isControl));
    std::remove(g_file.c_str());
    return 0;
}
