// Workloads, files and stores that each process creates once.
#include "Fixture.h"

#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <thread>

namespace {

struct DIRECTORY {
    std::string name;
    DIRECTORY() : name((std::filesystem::temp_directory_path() / "ticket-bench-XXXXXX").string()) {
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary directory");
    }
    ~DIRECTORY() {
        std::error_code ignored;
        std::filesystem::remove_all(name, ignored);
    }
};

}  // namespace

std::string const& WorkDirectory() {
    static DIRECTORY const directory;
    return directory.name;
}

namespace {

std::string UnusedName() {
    static std::size_t count = 0;
    return WorkDirectory() + "/unused" + std::to_string(++count);
}

// A filled store, loaded from its file if it has one.
std::unique_ptr<STORE> FilledStore(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file) {
    auto store = kind.make(workload, file);
    kind.hasFile ? store->Load() : Fill(*store, workload);
    return store;
}

}  // namespace

WORKLOAD const& SharedWorkload(std::size_t count, SHAPE shape) {
    static std::map<std::pair<std::size_t, SHAPE>, WORKLOAD> workloads;
    auto const found = workloads.find({count, shape});
    if (found != workloads.end()) return found->second;
    return workloads.emplace(std::pair(count, shape), WORKLOAD(count, shape)).first->second;
}

void WriteFile(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file) {
    auto const store = FindStoreKind(kind.Writer()).make(workload, file);
    Fill(*store, workload);
    store->Save();
}

std::string const& SharedFile(STORE_KIND const& kind, WORKLOAD const& workload) {
    static std::map<std::pair<std::string, WORKLOAD const*>, std::string> files;
    std::string& file = files[{kind.name, &workload}];
    if (file.empty()) {
        file = WorkDirectory() + "/" + kind.name + std::to_string(files.size());
        WriteFile(kind, workload, file);
    }
    return file;
}

FRESH_NAME::FRESH_NAME(std::string const& file) : m_name(UnusedName()) {
    std::filesystem::create_hard_link(file, m_name);
}

FRESH_NAME::~FRESH_NAME() {
    std::error_code ignored;
    std::filesystem::remove(m_name, ignored);
}

OWN_STORE::OWN_STORE(STORE_KIND const& kind, WORKLOAD const& workload) : m_file(UnusedName()) {
    if (kind.hasFile) std::filesystem::copy_file(SharedFile(kind, workload), m_file);
    m_store = FilledStore(kind, workload, m_file);
}

OWN_STORE::~OWN_STORE() {
    m_store.reset();
    std::error_code ignored;
    std::filesystem::remove(m_file, ignored);
}

STORE& SharedStore(STORE_KIND const& kind, WORKLOAD const& workload) {
    static std::map<std::pair<std::string, WORKLOAD const*>, std::unique_ptr<STORE>> stores;
    std::unique_ptr<STORE>& store = stores[{kind.name, &workload}];
    if (!store) store = FilledStore(kind, workload, kind.hasFile ? SharedFile(kind, workload) : "");
    return *store;
}

double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void ParkAThread() {
    std::thread([] {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable().wait(lock, [] { return false; });
    }).detach();
}
