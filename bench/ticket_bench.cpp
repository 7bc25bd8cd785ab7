// Times what only this project has: batches, vectors through the typed accessor, and the configuration service beside
// the table calls that it makes.
#include <benchmark/benchmark.h>

#include "ConfigurationControl/ConfigurationControl.h"
#include "Fixture.h"

using benchmark::State;

namespace {

constexpr std::size_t BATCH = 40;
constexpr int ELEMENTS = 1000;

class TICKET {
 public:
    explicit TICKET(char const* file) : m_table(STICKET::Create(file)) {}
    ~TICKET() { STICKET::Destroy(m_table); }
    TICKET(TICKET const&) = delete;
    TICKET& operator=(TICKET const&) = delete;
    STICKET_ACCESS const& Table() const { return *m_table; }

 private:
    STICKET_ACCESS const* m_table;
};

// A memory ticket with a workload, and the batches that read 40 of its integers at a time.
struct BATCHES {
    explicit BATCHES(std::size_t count) : ticket(nullptr) {
        WORKLOAD const& workload = SharedWorkload(count);
        STICKET_ACCESS const& table = ticket.Table();
        for (KEY const& key : workload.Keys()) {
            double const value = key.type == VALUE_TYPE::INT ? key.Int() : key.Double();
            table.SetParameter(table.pTicket, key.full.c_str(), PARAM_DOUBLE, &value, SCALAR_INDEX);
        }
        auto const keys = workload.Shuffled(VALUE_TYPE::INT);
        std::size_t next = 0;
        for (std::size_t batch = 0; batch < 250; ++batch) {
            auto& records = batches.emplace_back();
            for (std::size_t i = 0; i < BATCH; ++i, ++next)
                records.push_back({keys[next % keys.size()]->full.c_str(), PARAM_INT, &values[i], SCALAR_INDEX, false});
            records.push_back({});
        }
    }

    TICKET ticket;
    int values[BATCH];
    std::vector<std::vector<GETMULTIPAR>> batches;
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

void RegisterBatches() {
    for (std::size_t const count : {50U, 10000U, 100000U}) {
        auto const data = std::make_shared<BATCHES>(count);
        std::string const suffix = "/memory ticket/" + std::to_string(count);
        benchmark::RegisterBenchmark(("batch_40" + suffix).c_str(), [data](State& state) { GetBatch(state, *data); });
        benchmark::RegisterBenchmark(("single_40" + suffix).c_str(), [data](State& state) { GetSingly(state, *data); });
    }
    auto const ticket = std::make_shared<TICKET>(nullptr);
    STICKET_MODIFY(ticket->Table()).SetVectorParameter("Vector", std::vector<int>(ELEMENTS, 3));
    benchmark::RegisterBenchmark("get_vector/memory ticket/1000",
                                 [ticket](State& state) { GetVector(state, *ticket); });
    benchmark::RegisterBenchmark("set_vector/memory ticket/1000",
                                 [ticket](State& state) { SetVector(state, *ticket); });
}

}  // namespace

void RegisterTicketBenchmarks() {
    RegisterBatches();
}
