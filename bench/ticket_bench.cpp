// Times operations that peers lack or have in another form: batches, vectors, merges, walks and partial loads.
#include <benchmark/benchmark.h>

#include "ConfigurationControl/ConfigurationControl.h"
#include "ConfigurationControl/Store.h"
#include "Fixture.h"

using benchmark::State;

namespace {

constexpr std::size_t BATCH = 40;
constexpr int ELEMENTS = 1000;
constexpr std::size_t DELETED_ELEMENTS = 10000;

class TICKET {
 public:
    explicit TICKET(char const* file) : m_table(STICKET::Create(file)) {}
    ~TICKET() { STICKET::Destroy(m_table); }
    TICKET(TICKET const&) = delete;
    TICKET& operator=(TICKET const&) = delete;
    STICKET_ACCESS const& Table() const { return *m_table; }

    void Fill(WORKLOAD const& workload) const {
        for (KEY const& key : workload.Keys()) {
            double const value = key.type == VALUE_TYPE::INT ? key.Int() : key.Double();
            bool const isText = key.type == VALUE_TYPE::TEXT;
            m_table->SetParameter(m_table->pTicket, key.full.c_str(), isText ? PARAM_STRING : PARAM_DOUBLE,
                                  isText ? static_cast<void const*>(key.text.c_str()) : &value, SCALAR_INDEX);
        }
    }

 private:
    STICKET_ACCESS const* m_table;
};

// A memory ticket with a workload, and the batches that read or write 40 of its integers at a time.
struct BATCHES {
    explicit BATCHES(std::size_t count) : ticket(nullptr) {
        WORKLOAD const& workload = SharedWorkload(count);
        ticket.Fill(workload);
        auto const keys = workload.Shuffled(VALUE_TYPE::INT);
        std::size_t next = 0;
        for (std::size_t batch = 0; batch < 250; ++batch) {
            auto& reads = batches.emplace_back();
            auto& writes = writtenBatches.emplace_back();
            for (std::size_t i = 0; i < BATCH; ++i, ++next) {
                char const* const key = keys[next % keys.size()]->full.c_str();
                reads.push_back({key, PARAM_INT, &values[i], SCALAR_INDEX, false});
                writes.push_back({key, PARAM_INT, &values[i], SCALAR_INDEX, false});
            }
            reads.push_back({});
            writes.push_back({});
        }
    }

    TICKET ticket;
    ticket::Store store{&ticket.Table()};
    int values[BATCH] = {};
    std::vector<std::vector<GETMULTIPAR>> batches;
    std::vector<std::vector<SETMULTIPAR>> writtenBatches;
};

void GetBatch(State& state, BATCHES& data) {
    STICKET_ACCESS const& table = data.ticket.Table();
    std::size_t next = 0;
    for (auto _ : state) {
        table.GetMultiParameter(table.pTicket, data.batches[next].data());
        benchmark::ClobberMemory();
        if (++next == data.batches.size()) next = 0;
    }
}

void GetSingly(State& state, BATCHES& data) {
    STICKET_ACCESS const& table = data.ticket.Table();
    std::size_t next = 0;
    for (auto _ : state) {
        for (GETMULTIPAR* record = data.batches[next].data(); record->key; ++record)
            record->result =
                table.GetParameter(table.pTicket, record->key, record->type, record->value, record->index) != 0;
        benchmark::ClobberMemory();
        if (++next == data.batches.size()) next = 0;
    }
}

// Writes new values each time, since a host has no reason to store the same values again.
void SetBatch(State& state, BATCHES& data) {
    STICKET_ACCESS const& table = data.ticket.Table();
    std::size_t next = 0;
    for (auto _ : state) {
        ++data.values[next % BATCH];
        table.SetMultiParameter(table.pTicket, data.writtenBatches[next].data());
        if (++next == data.batches.size()) next = 0;
    }
}

void SetSingly(State& state, BATCHES& data) {
    STICKET_ACCESS const& table = data.ticket.Table();
    std::size_t next = 0;
    for (auto _ : state) {
        ++data.values[next % BATCH];
        for (SETMULTIPAR* record = data.writtenBatches[next].data(); record->key; ++record)
            record->result =
                table.SetParameter(table.pTicket, record->key, record->type, record->value, record->index) != 0;
        if (++next == data.batches.size()) next = 0;
    }
}

// The same single reads and writes by the typed layer.
void GetByStore(State& state, BATCHES& data) {
    std::size_t next = 0;
    for (auto _ : state) {
        for (GETMULTIPAR* record = data.batches[next].data(); record->key; ++record)
            *static_cast<int*>(record->value) = data.store.get(record->key, 0);
        benchmark::ClobberMemory();
        if (++next == data.batches.size()) next = 0;
    }
}

void SetByStore(State& state, BATCHES& data) {
    std::size_t next = 0;
    for (auto _ : state) {
        ++data.values[next % BATCH];
        for (SETMULTIPAR* record = data.writtenBatches[next].data(); record->key; ++record)
            data.store.set(record->key, *static_cast<int const*>(record->value));
        if (++next == data.batches.size()) next = 0;
    }
}

void GetVector(State& state, TICKET const& ticket) {
    STICKET_READ const reader(ticket.Table());
    std::vector<int> values;
    for (auto _ : state) {
        if (!reader.GetVectorParameter("Vector", values)) state.SkipWithError("no vector");
        benchmark::ClobberMemory();
    }
}

void SetVector(State& state, TICKET const& ticket) {
    STICKET_MODIFY const writer(ticket.Table());
    std::vector<int> const values(ELEMENTS, 5);
    for (auto _ : state) writer.SetVectorParameter("Vector", values);
}

// The time of one deletion, when all elements of a vector are deleted from its front.
void DeleteFromTheFront(State& state) {
    TICKET const ticket(nullptr);
    STICKET_ACCESS const& table = ticket.Table();
    std::vector<int> const values(DELETED_ELEMENTS, 5);
    for (auto _ : state) {
        STICKET_MODIFY(table).SetVectorParameter("Vector", values);
        double const begin = ThreadSeconds();
        for (std::size_t left = values.size(); left > 0; --left)
            table.SetParameter(table.pTicket, "Vector", PARAM_NONE, nullptr, 0);
        state.SetIterationTime((ThreadSeconds() - begin) / static_cast<double>(values.size()));
    }
}

// Merges all values of one ticket into an empty one.
void Merge(State& state, std::size_t count) {
    TICKET const source(nullptr);
    source.Fill(SharedWorkload(count));
    for (auto _ : state) {
        TICKET const target(nullptr);
        STICKET_ACCESS const& table = target.Table();
        double const begin = ThreadSeconds();
        table.MergeTicket(table.pTicket, &source.Table(), nullptr, false);
        state.SetIterationTime(ThreadSeconds() - begin);
    }
}

bool CopyValue(void* target, char const* key, PARAM_TYPE type, void const* value, int index) {
    auto const& table = *static_cast<STICKET_ACCESS const*>(target);
    return table.SetParameter(table.pTicket, key, type, value, index) != 0;
}

// The same by a host that walks the one and stores each value in the other.
void CopyByWalk(State& state, std::size_t count) {
    TICKET const source(nullptr);
    source.Fill(SharedWorkload(count));
    for (auto _ : state) {
        TICKET const target(nullptr);
        STICKET_ACCESS const& table = source.Table();
        double const begin = ThreadSeconds();
        table.WalkParameter(table.pTicket, &CopyValue, const_cast<STICKET_ACCESS*>(&target.Table()), "",
                            WALK_EVERYTHING);
        state.SetIterationTime(ThreadSeconds() - begin);
    }
}

bool TakeValue(void* count, char const* key, PARAM_TYPE, void const* value, int) {
    benchmark::DoNotOptimize(key);
    benchmark::DoNotOptimize(value);
    ++*static_cast<std::size_t*>(count);
    return true;
}

void Walk(State& state, std::size_t count) {
    TICKET const ticket(nullptr);
    ticket.Fill(SharedWorkload(count));
    STICKET_ACCESS const& table = ticket.Table();
    std::size_t values = 0;
    for (auto _ : state) table.WalkParameter(table.pTicket, &TakeValue, &values, "", WALK_EVERYTHING);
    benchmark::DoNotOptimize(values);
}

// Two keys of a large file are selected and one of them is read; `isWhole`: without a selection.
void LoadTwoKeys(State& state, std::size_t count, bool isWhole) {
    WORKLOAD const& workload = SharedWorkload(count);
    std::string const& file = SharedFile(FindStoreKind("file ticket"), workload);
    char const* const keys[] = {workload.Keys()[count / 3].full.c_str(), workload.Keys()[count / 2].full.c_str(),
                                nullptr};
    for (auto _ : state) {
        TICKET const ticket(file.c_str());
        STICKET_ACCESS const& table = ticket.Table();
        double const begin = ThreadSeconds();
        if (!isWhole) table.Operation(table.pTicket, STICKET_OP_PARTIAL_KEYS, const_cast<char const**>(keys));
        double value = 0;
        table.GetParameter(table.pTicket, keys[0], PARAM_DOUBLE, &value, SCALAR_INDEX);
        state.SetIterationTime(ThreadSeconds() - begin);
    }
}

template <typename WORK>
benchmark::internal::Benchmark* RegisterMemory(char const* operation, std::size_t count, WORK work) {
    return benchmark::RegisterBenchmark((std::string(operation) + "/memory ticket/" + std::to_string(count)).c_str(),
                                        work);
}

void RegisterWholeTickets(std::size_t count) {
    RegisterMemory("merge", count, [count](State& state) { Merge(state, count); })->UseManualTime();
    RegisterMemory("copy_by_walk", count, [count](State& state) { CopyByWalk(state, count); })->UseManualTime();
    RegisterMemory("walk", count, [count](State& state) { Walk(state, count); });
    for (bool const isWhole : {false, true})
        benchmark::RegisterBenchmark(
            ((isWhole ? "load_for_2_keys/file ticket/" : "load_2_keys/file ticket/") + std::to_string(count)).c_str(),
            [=](State& state) { LoadTwoKeys(state, count, isWhole); })
            ->UseManualTime();
}

void RegisterBatches() {
    for (std::size_t const count : {50U, 10000U, 100000U}) {
        auto const data = std::make_shared<BATCHES>(count);
        RegisterMemory("batch_40", count, [data](State& state) { GetBatch(state, *data); });
        RegisterMemory("single_40", count, [data](State& state) { GetSingly(state, *data); });
        RegisterMemory("set_batch_40", count, [data](State& state) { SetBatch(state, *data); });
        RegisterMemory("store_40", count, [data](State& state) { GetByStore(state, *data); });
        RegisterMemory("set_store_40", count, [data](State& state) { SetByStore(state, *data); });
        RegisterMemory("set_single_40", count, [data](State& state) { SetSingly(state, *data); });
    }
    auto const ticket = std::make_shared<TICKET>(nullptr);
    STICKET_MODIFY(ticket->Table()).SetVectorParameter("Vector", std::vector<int>(ELEMENTS, 3));
    benchmark::RegisterBenchmark("get_vector/memory ticket/1000",
                                 [ticket](State& state) { GetVector(state, *ticket); });
    benchmark::RegisterBenchmark("set_vector/memory ticket/1000",
                                 [ticket](State& state) { SetVector(state, *ticket); });
}

}  // namespace

void RegisterTicketBenchmarks(bool quick) {
    RegisterBatches();
    for (std::size_t const count : {10000U, 100000U}) RegisterWholeTickets(count);
    if (!quick) RegisterWholeTickets(1000000);
    // The number of rounds is fixed: the library would choose it by the time of one deletion, and a round has many.
    constexpr int ROUNDS = 5;
    RegisterMemory("delete_from_front", DELETED_ELEMENTS, DeleteFromTheFront)->UseManualTime()->Iterations(ROUNDS);
}
