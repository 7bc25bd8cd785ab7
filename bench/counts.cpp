// Runs the hot operations for callgrind, which counts their instructions: one dump for each, named "operation count".
// A test compares the counts with the record: unlike times, they are not noisy.
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <filesystem>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "ConfigurationControl/Store.h"
#include "ConfigurationControl/Ticket.h"
#include "Workload.h"

// The library takes the random words of its hash from this function, which replaces that of the C library here.
// With true random words the counts of 50 keys differed by up to 6 % between two runs of the same program.
extern "C" [[gnu::visibility("default")]] int getentropy(void* bytes, std::size_t count) {
    static std::mt19937_64 words(1);
    for (std::size_t i = 0; i < count; ++i) static_cast<unsigned char*>(bytes)[i] = static_cast<unsigned char>(words());
    return 0;
}

namespace {

class TICKET {
 public:
    explicit TICKET(char const* file) : m_table(STICKET::Create(file)) {}
    ~TICKET() { STICKET::Destroy(m_table); }
    TICKET(TICKET const&) = delete;
    TICKET& operator=(TICKET const&) = delete;

    void Get(KEY const& key, PARAM_TYPE type, void* value) const {
        m_table->GetParameter(m_table->pTicket, key.full.c_str(), type, value, SCALAR_INDEX);
    }
    void Set(KEY const& key, PARAM_TYPE type, void const* value) const {
        m_table->SetParameter(m_table->pTicket, key.full.c_str(), type, value, SCALAR_INDEX);
    }
    void GetBatch(GETMULTIPAR* records) const { m_table->GetMultiParameter(m_table->pTicket, records); }
    void SetText(char const* key, std::string const& text) const {
        m_table->SetParameter(m_table->pTicket, key, PARAM_STRING, text.c_str(), SCALAR_INDEX);
    }
    void GetText(char const* key) const {
        char const* text = nullptr;
        m_table->GetParameter(m_table->pTicket, key, PARAM_STRING, &text, SCALAR_INDEX);
    }
    void SetBatch(SETMULTIPAR* records) const { m_table->SetMultiParameter(m_table->pTicket, records); }
    void Append(char const* key, int value) const {
        m_table->SetParameter(m_table->pTicket, key, PARAM_INT, &value, APPEND_INDEX);
    }
    void DeleteFront(char const* key) const { m_table->SetParameter(m_table->pTicket, key, PARAM_NONE, nullptr, 0); }
    void MergeFrom(TICKET const& source) const {
        m_table->MergeTicket(m_table->pTicket, source.m_table, nullptr, true);
    }
    STICKET_ACCESS const* Table() const { return m_table; }
    void Save() const { m_table->Operation(m_table->pTicket, STICKET_OP_SAVE, nullptr); }

    void Fill(WORKLOAD const& workload) const {
        for (KEY const& key : workload.Keys()) {
            int const integer = key.Int();
            double const number = key.Double();
            if (key.type == VALUE_TYPE::INT) Set(key, PARAM_INT, &integer);
            if (key.type == VALUE_TYPE::DOUBLE) Set(key, PARAM_DOUBLE, &number);
            if (key.type == VALUE_TYPE::TEXT) Set(key, PARAM_STRING, key.text.c_str());
        }
    }

 private:
    STICKET_ACCESS const* m_table;
};

// One set of tickets with the same values.
struct TICKETS {
    TICKETS(std::size_t count, std::size_t first, std::string fileName)
        : workload(count, SHAPE::GROUPED, first),
          name(std::move(fileName)),
          memory(nullptr),
          file(name.c_str()),
          beyondAscii(count, '\xE4'),
          fileBeyondAscii((name + "-text").c_str()),
          store(memory.Table()),
          storeOfFile(name + "-store") {
        fileBeyondAscii.SetText("Text", beyondAscii);
        fileBeyondAscii.Save();
        memory.Fill(workload);
        file.Fill(workload);
        file.Save();
        for (KEY const& key : workload.Keys()) {
            if (key.type == VALUE_TYPE::TEXT) texts.push_back(&key);
            if (key.type != VALUE_TYPE::INT) continue;
            integers.push_back(&key);
            declared.emplace_back(key.full.c_str(), 0);
            missing.push_back(key.full + "-");
            batch.push_back({key.full.c_str(), PARAM_INT, &value, SCALAR_INDEX, false});
            writes.push_back({key.full.c_str(), PARAM_INT, &value, SCALAR_INDEX, false});
        }
        batch.push_back({});
        writes.push_back({});
    }
    ~TICKETS() {
        storeOfFile.erase("*");  // its end then leaves no file
        std::filesystem::remove(name);
        std::filesystem::remove(name + "-text");
    }
    TICKETS(TICKETS const&) = delete;
    TICKETS& operator=(TICKETS const&) = delete;

    WORKLOAD const workload;
    std::string const name;
    TICKET const memory;
    TICKET const file;
    std::string const beyondAscii;  // the same number of bytes, each of which is escaped in a file
    TICKET const fileBeyondAscii;
    ticket::Store store;        // on the ticket in memory
    ticket::Store storeOfFile;  // notes what it changes, for the next save
    std::vector<KEY const*> integers;
    std::vector<ticket::Key<int>> declared;  // the same keys
    std::vector<std::string> missing;        // as many keys that hold nothing
    std::vector<KEY const*> texts;
    std::vector<GETMULTIPAR> batch;
    std::vector<SETMULTIPAR> writes;
    int value = 0;
    std::string text;
};

// Counts the instructions of `rounds` calls of `operation` on each object.
template <typename OBJECTS, typename OPERATION>
void Count(char const* name, std::size_t count, int rounds, OBJECTS& objects, OPERATION const& operation) {
    for (auto& object : objects) operation(object);  // a first call, so that work done only once is not counted
    CALLGRIND_TOGGLE_COLLECT;
    for (int i = 0; i < rounds; ++i)
        for (auto& object : objects) operation(object);
    CALLGRIND_TOGGLE_COLLECT;
    char label[64];
    std::snprintf(label, sizeof label, "%s %zu", name, count);
    CALLGRIND_DUMP_STATS_AT(label);
}

void CountAll(std::size_t count, int rounds, std::list<TICKETS>& tickets) {
    Count("get_int", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.integers) all.memory.Get(*key, PARAM_INT, &all.value);
    });
    Count("set_int", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.integers) all.memory.Set(*key, PARAM_INT, &all.value);
    });
    Count("store_get_int", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.integers) all.value = all.store.get(key->full, 0);
    });
    Count("store_get_declared_int", count, rounds, tickets, [](TICKETS& all) {
        for (ticket::Key<int> const& key : all.declared) all.value = all.store.get(key);
    });
    Count("store_get_missing_int", count, rounds, tickets, [](TICKETS& all) {
        for (std::string const& key : all.missing) all.value = all.store.get(key.c_str(), 0);
    });
    Count("store_set_int", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.integers) all.store.set(key->full, all.value);
    });
    Count("store_set_int_of_file", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.integers) all.storeOfFile.set(key->full, all.value);
    });
    Count("store_set_declared_int", count, rounds, tickets, [](TICKETS& all) {
        for (ticket::Key<int> const& key : all.declared) all.store.set(key, all.value);
    });
    Count("store_get_string", count, rounds, tickets, [](TICKETS& all) {
        for (KEY const* key : all.texts) all.text = all.store.get(key->full, "");
    });
    Count("get_string", count, rounds, tickets, [](TICKETS& all) {
        char const* text = nullptr;
        for (KEY const* key : all.texts) all.memory.Get(*key, PARAM_STRING, &text);
    });
    Count("get_string_of_file", count, rounds, tickets, [](TICKETS& all) {
        char const* text = nullptr;
        for (KEY const* key : all.texts) all.file.Get(*key, PARAM_STRING, &text);
    });
    Count("get_batch", count, rounds, tickets, [](TICKETS& all) { all.memory.GetBatch(all.batch.data()); });
    Count("set_batch", count, rounds, tickets, [](TICKETS& all) { all.memory.SetBatch(all.writes.data()); });
    Count("merge", count, 1, tickets, [](TICKETS& all) { TICKET(nullptr).MergeFrom(all.memory); });
    TICKET const vector(nullptr);
    for (std::size_t i = 0; i < 2 * count; ++i) vector.Append("vector", 1);
    std::vector<TICKET const*> vectors{&vector};
    Count("delete_front", count, 1, vectors, [count](TICKET const* one) {
        for (std::size_t i = 0; i < count / 2; ++i) one->DeleteFront("vector");
    });
    Count("load", count, 1, tickets, [](TICKETS& all) {
        TICKET const cold(all.name.c_str());
        cold.Get(*all.integers.front(), PARAM_INT, &all.value);
    });
    Count("save", count, 1, tickets, [](TICKETS& all) {
        all.file.Set(*all.integers.front(), PARAM_INT, &all.value);
        all.file.Save();
    });
    Count("load_text_beyond_ascii", count, 1, tickets,
          [](TICKETS& all) { TICKET((all.name + "-text").c_str()).GetText("Text"); });
    Count("save_text_beyond_ascii", count, 1, tickets, [](TICKETS& all) {
        all.fileBeyondAscii.SetText("Text", all.beyondAscii);
        all.fileBeyondAscii.Save();
    });
}

}  // namespace

// usage: instruction_counts PREFIX; the names of the ticket files, which are written and removed, begin with PREFIX
int main(int count, char** arguments) {
    if (count != 2) return 1;
    // The place of a key in a hash table depends on the random words. Counting many small tickets averages that.
    static constexpr struct {
        std::size_t keys;
        std::size_t tickets;
        int rounds;
    } SIZES[] = {{50, 40, 10}, {10000, 1, 2}};
    for (auto const& size : SIZES) {
        std::list<TICKETS> tickets;
        for (std::size_t i = 0; i < size.tickets; ++i)
            tickets.emplace_back(size.keys, i * size.keys, arguments[1] + std::to_string(i));
        CountAll(size.keys, size.rounds, tickets);
    }
    return 0;
}
