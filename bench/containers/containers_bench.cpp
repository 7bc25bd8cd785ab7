// Compares the container of a ticket's parameters with the others that were considered.
//
// Values are 16 bytes with a tag, as a ticket's are; a quarter of them own a string of 20 characters.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef WITH_BTREE
#include "BtreeMap.h"
#endif
#include "SortedPages.h"
#include "StdMap.h"
#include "Store/ParameterMap.h"

namespace {

class ENTRY {
 public:
    ENTRY() = default;
    explicit ENTRY(double number) : m_tag(1) { m_payload.number = number; }
    explicit ENTRY(std::string text) : m_tag(2) { m_payload.text = new std::string(std::move(text)); }
    ENTRY(ENTRY&& other) noexcept { *this = std::move(other); }
    ENTRY& operator=(ENTRY&& other) noexcept {
        std::swap(m_payload, other.m_payload);
        std::swap(m_tag, other.m_tag);
        return *this;
    }
    ~ENTRY() {
        if (m_tag == 2) delete m_payload.text;
    }
    double Number() const { return m_payload.number; }
    unsigned char Tag() const { return m_tag; }

 private:
    union {
        double number;
        std::string* text;
    } m_payload{};
    unsigned char m_tag = 0;
};

std::vector<std::string> const& Keys(std::size_t count) {
    static std::vector<std::string> keys;
    if (keys.size() != count) {
        keys.clear();
        for (std::size_t i = 0; i < count; ++i) {
            char key[64];
            std::snprintf(key, sizeof key, "Group%03zu/Sub%02zu/Key%03zu", i / 1000, i / 50 % 20, i % 50);
            keys.emplace_back(key);
            if (i % 2) keys.back() += "/Value";
        }
        std::sort(keys.begin(), keys.end());
    }
    return keys;
}

std::vector<std::string> Shuffled(std::size_t count) {
    std::vector<std::string> keys = Keys(count);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
    return keys;
}

ENTRY MakeValue(std::size_t i) {
    return i % 4 == 3 ? ENTRY(std::string("twenty characters ok")) : ENTRY(static_cast<double>(i));
}

template <typename MAP>
void Fill(MAP& map, std::vector<std::string> const& keys) {
    std::size_t i = 0;
    for (auto const& key : keys) map.FindOrInsert(key) = MakeValue(i++);
}

template <typename MAP>
void FindHit(benchmark::State& state) {
    auto const count = static_cast<std::size_t>(state.range(0));
    MAP map;
    Fill(map, Keys(count));
    auto const keys = Shuffled(count);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.Find(keys[i])->Tag());
        if (++i == keys.size()) i = 0;
    }
}

template <typename MAP>
void InsertInOrder(benchmark::State& state) {
    auto const& keys = Keys(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        auto map = std::make_unique<MAP>();
        Fill(*map, keys);
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename MAP>
void InsertAtRandom(benchmark::State& state) {
    auto const keys = Shuffled(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        auto map = std::make_unique<MAP>();
        Fill(*map, keys);
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename MAP>
void Walk(benchmark::State& state) {
    MAP map;
    Fill(map, Keys(static_cast<std::size_t>(state.range(0))));
    for (auto _ : state) {
        std::size_t length = 0;
        for (auto position = map.First(); position; position = map.Next(position))
            length += position.Key().size() + position.Value().Tag();
        benchmark::DoNotOptimize(length);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename MAP>
void Clear(benchmark::State& state) {
    auto const& keys = Keys(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto map = std::make_unique<MAP>();
        Fill(*map, keys);
        state.ResumeTiming();
        map.reset();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

std::size_t LiveHeap() {
    struct mallinfo2 const heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

// Not a timing: the memory that a filled map keeps allocated, in bytes for each key.
template <typename MAP>
void Heap(benchmark::State& state) {
    auto const& keys = Keys(static_cast<std::size_t>(state.range(0)));
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::size_t const before = LiveHeap();
        MAP map;
        Fill(map, keys);
        bytes = LiveHeap() - before;
    }
    state.counters["bytes_per_key"] = static_cast<double>(bytes) / static_cast<double>(keys.size());
}

#define CANDIDATE(MAP)                                                              \
    BENCHMARK(FindHit<MAP>)->Arg(50)->Arg(10000)->Arg(100000)->Arg(1000000);        \
    BENCHMARK(InsertInOrder<MAP>)->Arg(50)->Arg(10000)->Arg(100000)->Arg(1000000);  \
    BENCHMARK(InsertAtRandom<MAP>)->Arg(50)->Arg(10000)->Arg(100000)->Arg(1000000); \
    BENCHMARK(Walk<MAP>)->Arg(50)->Arg(10000)->Arg(100000)->Arg(1000000);           \
    BENCHMARK(Clear<MAP>)->Arg(10000)->Arg(1000000)->Iterations(3);                 \
    BENCHMARK(Heap<MAP>)->Arg(50)->Arg(10000)->Arg(100000)->Arg(1000000)->Iterations(1)

CANDIDATE(STD_PARAMETER_MAP<ENTRY>);
#ifdef WITH_BTREE
CANDIDATE(BTREE_PARAMETER_MAP<ENTRY>);
#endif
CANDIDATE(SORTED_PARAMETER_MAP<ENTRY>);
CANDIDATE(PARAMETER_MAP<ENTRY>);

}  // namespace
