// Workloads, files and filled stores that the benchmarks of a program create once and share.
#pragma once

#include <memory>
#include <string>

#include "Store.h"

// A directory for the files of this process, removed at its end.
std::string const& WorkDirectory();

// Returns the same workload for the same arguments.
WORKLOAD const& SharedWorkload(std::size_t count, SHAPE shape = SHAPE::GROUPED);

// A new file with a workload's values, written by the kind of store that writes the files of this one.
void WriteFile(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file);

// The name of such a file, which is written when first asked for.
std::string const& SharedFile(STORE_KIND const& kind, WORKLOAD const& workload);

// A new, unique name for a file while an object exists.
class FRESH_NAME {
 public:
    explicit FRESH_NAME(std::string const& file);
    ~FRESH_NAME();
    FRESH_NAME(FRESH_NAME const&) = delete;
    FRESH_NAME& operator=(FRESH_NAME const&) = delete;
    std::string const& Get() const { return m_name; }

 private:
    std::string m_name;
};

// A filled store that lives until the process ends; one with a file was loaded from it.
STORE& SharedStore(STORE_KIND const& kind, WORKLOAD const& workload);

// A filled store for a scope, with a file of its own.
class OWN_STORE {
 public:
    OWN_STORE(STORE_KIND const& kind, WORKLOAD const& workload);
    ~OWN_STORE();
    OWN_STORE(OWN_STORE const&) = delete;
    OWN_STORE& operator=(OWN_STORE const&) = delete;
    STORE& Get() { return *m_store; }

 private:
    std::string const m_file;
    std::unique_ptr<STORE> m_store;
};

// The processor time of this thread in seconds. Unlike wall-clock time it excludes other processes.
double ThreadSeconds();

// Starts a thread that sleeps until the process ends. Allocator and mutexes are faster in a process that never had a
// second thread, but hosts that need a guarded store have several.
void ParkAThread();
