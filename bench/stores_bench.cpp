// Times this project's stores, their peers and the lower bounds: access, two threads, load, save. Benchmarks are named
// "operation/store/count", as bench/report.py expects.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sched.h>

#include <chrono>

#include "Fixture.h"

namespace {

using CLOCK = std::chrono::steady_clock;
using benchmark::State;

double Seconds(CLOCK::time_point begin) {
    return std::chrono::duration<double>(CLOCK::now() - begin).count();
}

// Binds the current thread to one processor while an object exists.
class PINNED {
 public:
    explicit PINNED(int number) {
        sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
            if (CPU_ISSET(cpu, &m_before) && number-- == 0) CPU_SET(cpu, &one);
        }
        sched_setaffinity(0, sizeof one, &one);
    }
    ~PINNED() { sched_setaffinity(0, sizeof m_before, &m_before); }
    PINNED(PINNED const&) = delete;
    PINNED& operator=(PINNED const&) = delete;

 private:
    cpu_set_t m_before;
};

// Repeats one operation on a filled store for each key of a type.
template <typename OPERATION>
void Access(State& state, STORE& store, std::vector<KEY const*> const& keys, OPERATION operation) {
    PINNED const pinned(state.thread_index());
    std::size_t i = static_cast<std::size_t>(state.thread_index()) * keys.size() / 2;
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(store, *keys[i]));
        if (++i == keys.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0) store.Save();  // so that the timed saves have no earlier changes to write
}

template <typename OPERATION>
benchmark::internal::Benchmark* RegisterAccess(std::string const& name, STORE_KIND const& kind, std::size_t count,
                                               VALUE_TYPE type, OPERATION operation) {
    WORKLOAD const& workload = SharedWorkload(count);
    STORE* const store = &SharedStore(kind, workload);
    return benchmark::RegisterBenchmark(
        (name + "/" + kind.name + "/" + std::to_string(count)).c_str(),
        [store, keys = workload.Shuffled(type), operation](State& state) { Access(state, *store, keys, operation); });
}

int ReadInt(STORE& store, KEY const& key) {
    return store.GetInt(key);
}
std::size_t ReadText(STORE& store, KEY const& key) {
    return store.GetText(key);
}
std::size_t BorrowText(STORE& store, KEY const& key) {
    return store.BorrowText(key);
}
// Writes a new value each time, since a host has no reason to store the same value again.
int WriteInt(STORE& store, KEY const& key) {
    static thread_local int value = 0;
    store.SetInt(key, ++value);
    return 0;
}
// Alternates between the two texts of a key. Uses its own store: written texts lie elsewhere in memory than loaded
// ones, and other benchmarks read loaded ones.
void WriteTexts(State& state, STORE_KIND const& kind, WORKLOAD const& workload, std::vector<KEY const*> const& keys) {
    OWN_STORE own(kind, workload);
    for (KEY const* const key : keys) own.Get().SetText(*key, key->text);
    bool other = true;
    std::size_t left = keys.size();
    Access(state, own.Get(), keys, [&](STORE& written, KEY const& key) {
        written.SetText(key, other ? key.otherText : key.text);
        if (--left == 0) {
            left = keys.size();
            other = !other;
        }
        return 0;
    });
}

void ReadAll(STORE& store, std::vector<KEY const*> const& keys) {
    for (KEY const* const key : keys) benchmark::DoNotOptimize(store.GetText(*key));
}

// The time of the first read of a text after a load.
void FirstReads(State& state, STORE_KIND const& kind, WORKLOAD const& workload, std::vector<KEY const*> const& keys) {
    for (auto _ : state) {
        auto const store = kind.make(workload, SharedFile(kind, workload));
        store->Load();
        double const begin = ThreadSeconds();
        ReadAll(*store, keys);
        state.SetIterationTime((ThreadSeconds() - begin) / static_cast<double>(keys.size()));
    }
}

bool IsOwn(STORE_KIND const& kind) {
    return kind.name == "memory ticket" || kind.name == "file ticket";
}

// Reads texts that were read before. The first read, at which a file ticket keeps the text, is measured separately, and
// so is a read without a copy.
void RegisterTexts(STORE_KIND const& kind, std::size_t count) {
    WORKLOAD const& workload = SharedWorkload(count);
    auto const keys = workload.Shuffled(VALUE_TYPE::TEXT);
    std::string const suffix = "/" + std::to_string(count);
    benchmark::RegisterBenchmark(("get_string/" + kind.name + suffix).c_str(),
                                 [store = &SharedStore(kind, workload), keys](State& state) {
                                     ReadAll(*store, keys);
                                     Access(state, *store, keys, ReadText);
                                 });
    benchmark::RegisterBenchmark(("set_string/" + kind.name + suffix).c_str(),
                                 [&kind, &workload, keys](State& state) { WriteTexts(state, kind, workload, keys); });
    if (IsOwn(kind))
        benchmark::RegisterBenchmark(("get_string/" + kind.name + ", borrowed" + suffix).c_str(),
                                     [store = &SharedStore(kind, workload), keys](State& state) {
                                         ReadAll(*store, keys);
                                         Access(state, *store, keys, BorrowText);
                                     });
    if (kind.name != "file ticket") return;
    constexpr int ROUNDS = 3;
    benchmark::RegisterBenchmark(("get_string/file ticket, first read" + suffix).c_str(),
                                 [&kind, &workload, keys](State& state) { FirstReads(state, kind, workload, keys); })
        ->UseManualTime()
        ->Iterations(ROUNDS);
}

void RegisterThreads(STORE_KIND const& kind, std::size_t count) {
    RegisterAccess("read_by_1_thread", kind, count, VALUE_TYPE::INT, ReadInt)->Threads(1)->UseRealTime();
    RegisterAccess("read_by_2_threads", kind, count, VALUE_TYPE::INT, ReadInt)->Threads(2)->UseRealTime();
}

void RegisterAccesses(STORE_KIND const& kind, std::size_t count) {
    RegisterAccess("get_int", kind, count, VALUE_TYPE::INT, ReadInt);
    RegisterThreads(kind, count);
    RegisterAccess("set_int", kind, count, VALUE_TYPE::INT, WriteInt);
    if (kind.name != "F2 std::map") RegisterTexts(kind, count);  // that store keeps numbers only
}

void LoadOnly(STORE& store, WORKLOAD const&) {
    store.Load();
}
// Stores differ in the work that they postpone to the first read of a value: parsing, conversion, copying.
void LoadAndRead(STORE& store, WORKLOAD const& workload) {
    store.Load();
    ReadEverything(store, workload);
}
using LOADING = void (*)(STORE&, WORKLOAD const&);

// A host loads its settings once, into memory that the system has just given it ("cold"), or after it has used and
// freed memory of its own ("warm"). Before a cold load the memory of earlier rounds is returned to the system; before
// warm loads the store was loaded once. Qt caches files by name, so each round needs a new name.
enum class HEAP { COLD, WARM };

double LoadOnce(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file, LOADING loading, HEAP heap) {
    FRESH_NAME const name(file);
    auto const store = kind.make(workload, name.Get());
    if (heap == HEAP::COLD) malloc_trim(0);
    double const begin = ThreadSeconds();
    loading(*store, workload);
    return ThreadSeconds() - begin;
}

void Load(State& state, STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file, LOADING loading,
          HEAP heap) {
    if (heap == HEAP::WARM) LoadOnce(kind, workload, file, loading, heap);
    for (auto _ : state) state.SetIterationTime(LoadOnce(kind, workload, file, loading, heap));
}

void Change(STORE& store, KEY const& key, int round) {
    if (key.type == VALUE_TYPE::TEXT)
        store.SetText(key, round % 2 == 0 ? key.text : key.otherText);
    else
        store.SetInt(key, round);
}

// Makes one changed value durable. Every store except a database writes all values for that.
void Save(State& state, STORE& store, KEY const& key) {
    int round = 0;
    Change(store, key, round);
    for (auto _ : state) {
        auto const begin = CLOCK::now();
        Change(store, key, ++round);
        store.Save();
        state.SetIterationTime(Seconds(begin));
    }
}

void RegisterLoad(std::string const& name, LOADING loading, STORE_KIND const& kind, WORKLOAD const& workload,
                  std::string const& suffix) {
    std::string const file = SharedFile(kind, workload);
    for (HEAP const heap : {HEAP::COLD, HEAP::WARM})
        benchmark::RegisterBenchmark(
            (name + (heap == HEAP::WARM ? "_warm/" : "/") + kind.name + "/" + suffix).c_str(),
            [&kind, &workload, file, loading, heap](State& state) { Load(state, kind, workload, file, loading, heap); })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
}

void RegisterSave(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& suffix) {
    STORE* const store = &SharedStore(kind, workload);
    benchmark::RegisterBenchmark(("save/" + kind.name + "/" + suffix).c_str(),
                                 [store, &workload](State& state) { Save(state, *store, workload.Keys().front()); })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

bool IsFloor(STORE_KIND const& kind) {
    return kind.name[0] == 'F' && kind.name[1] >= '1' && kind.name[1] <= '9';
}

void RegisterCount(std::size_t count, bool ownOnly) {
    WORKLOAD const& workload = SharedWorkload(count);
    std::string const suffix = std::to_string(count);
    for (STORE_KIND const& kind : StoreKinds()) {
        if (ownOnly && !IsOwn(kind) && !IsFloor(kind)) continue;
        if (kind.use == USE::THREADS) {
            RegisterThreads(kind, count);
            continue;
        }
        if (kind.Reads()) RegisterLoad("load_only", LoadOnly, kind, workload, suffix);
        if (kind.use == USE::LOADS) continue;
        RegisterAccesses(kind, count);
        if (!kind.hasFile) continue;
        RegisterLoad("load", LoadAndRead, kind, workload, suffix);
        RegisterSave(kind, workload, suffix);
    }
}

void RegisterShapes(std::size_t count) {
    STORE_KIND const& kind = FindStoreKind("file ticket");
    STORE_KIND const& floor = FindStoreKind("F1 pugixml");
    static constexpr struct {
        SHAPE shape;
        char const* name;
    } SHAPES[] = {{SHAPE::FLAT, "flat"}, {SHAPE::WIDE, "wide"}, {SHAPE::DEEP, "deep"}};
    for (auto const& [shape, name] : SHAPES) {
        WORKLOAD const& workload = SharedWorkload(count, shape);
        RegisterLoad("load_only", LoadOnly, kind, workload, name);
        RegisterLoad("load_only", LoadOnly, floor, workload, name);
        RegisterSave(kind, workload, name);
    }
}

// Texts of ASCII letters, and of other letters with the same length.
void RegisterLetters(std::size_t count, bool ownOnly) {
    for (STORE_KIND const& kind : StoreKinds()) {
        if (!kind.hasFile || kind.use != USE::EVERYTHING || (ownOnly && !IsOwn(kind))) continue;
        for (auto const& [shape, name] : {std::pair(SHAPE::TEXTS, "texts"), std::pair(SHAPE::FOREIGN, "foreign")}) {
            WORKLOAD const& workload = SharedWorkload(count, shape);
            RegisterLoad("load", LoadAndRead, kind, workload, name);
            RegisterSave(kind, workload, name);
        }
    }
}

bool TakeFlag(int& count, char** arguments, std::string_view flag) {
    for (int i = 1; i < count; ++i) {
        if (arguments[i] != flag) continue;
        std::copy(arguments + i + 1, arguments + count + 1, arguments + i);
        --count;
        return true;
    }
    return false;
}

}  // namespace

void RegisterTicketBenchmarks(bool quick);
void RegisterServiceBenchmarks();

// "--quick": only this project's stores and the floors, up to 100,000 keys.
int main(int count, char** arguments) {
    bool const quick = TakeFlag(count, arguments, "--quick");
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    ParkAThread();
    for (std::size_t const keys : {50U, 10000U, 100000U}) RegisterCount(keys, quick);
    RegisterShapes(100000);
    RegisterLetters(10000, quick);
    RegisterTicketBenchmarks(quick);
    RegisterServiceBenchmarks();
    if (!quick) RegisterCount(1000000, true);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
