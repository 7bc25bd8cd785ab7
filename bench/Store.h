// The interface of every measured store, and the list of the stores that were built.
//
// A store of this project guards itself. A peer is guarded with a mutex, as its users must do to share it between
// threads; what it hands out by reference is copied before the mutex is released.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Workload.h"

class STORE {
 public:
    virtual ~STORE() = default;
    virtual int GetInt(KEY const& key) = 0;
    virtual double GetDouble(KEY const& key) = 0;
    virtual std::size_t GetText(KEY const& key) = 0;  // copies the text, as hosts that keep it must; returns its length
    // The same without the copy, if the store returns pointers to its texts.
    virtual std::size_t BorrowText(KEY const& key) { return GetText(key); }
    virtual void SetInt(KEY const& key, int value) = 0;
    virtual void SetDouble(KEY const& key, double value) = 0;
    virtual void SetText(KEY const& key, std::string const& value) = 0;
    // Reads the file, as far as the store reads it before the first value is read. Call once, on a new store.
    virtual void Load() = 0;
    // Atomic and durable save: after a crash the file is the old or the new one.
    virtual void Save() = 0;
};

// The benchmarks that a kind takes part in.
enum class USE {
    EVERYTHING,
    LOADS,   // it can do nothing else
    THREADS  // another kind with the same file does everything else
};

struct STORE_KIND {
    std::string name;
    bool hasFile;
    // Makes an empty store, bound to a file that need not exist.
    std::unique_ptr<STORE> (*make)(WORKLOAD const& workload, std::string const& file);
    USE use = USE::EVERYTHING;
    std::string fileOf{};  // the kind that writes its file; "": itself

    bool Reads() const { return hasFile || use == USE::LOADS; }
    std::string const& Writer() const { return fileOf.empty() ? name : fileOf; }
};

// Every kind that was built, in the order of their names.
std::vector<STORE_KIND>& StoreKinds();
STORE_KIND const& FindStoreKind(std::string_view name);

// Registers a kind: define one object in the kind's source.
struct STORE_REGISTRATION {
    explicit STORE_REGISTRATION(STORE_KIND kind);
};

// Fills a store with the values of its workload.
void Fill(STORE& store, WORKLOAD const& workload);
// Reads each value once, with its type, in the order of the keys.
void ReadEverything(STORE& store, WORKLOAD const& workload);
// The components of each key.
std::vector<std::vector<std::string>> PathsOf(WORKLOAD const& workload);
// A whole file.
std::string FileText(std::string const& file);
// Replaces a file atomically and durably, for libraries that have no such function.
void WriteDurably(std::string const& file, std::string_view content);

// The operations of a lower bound that only loads.
class ONLY_LOADED {
 public:
    int GetInt(KEY const&) { return 0; }
    double GetDouble(KEY const&) { return 0; }
    std::size_t GetText(KEY const&) { return 0; }
    void SetInt(KEY const&, int) {}
    void SetDouble(KEY const&, double) {}
    void SetText(KEY const&, std::string const&) {}
    void Save() {}
};

// Makes a STORE of a peer, which is a class with STORE's operations as non-virtual functions.
template <typename PEER>
class GUARDED final : public STORE {
 public:
    GUARDED(WORKLOAD const& workload, std::string const& file) : m_peer(workload, file) {}

    static std::unique_ptr<STORE> Make(WORKLOAD const& workload, std::string const& file) {
        return std::make_unique<GUARDED>(workload, file);
    }

    int GetInt(KEY const& key) override {
        std::lock_guard const lock(m_mutex);
        return m_peer.GetInt(key);
    }
    double GetDouble(KEY const& key) override {
        std::lock_guard const lock(m_mutex);
        return m_peer.GetDouble(key);
    }
    std::size_t GetText(KEY const& key) override {
        std::lock_guard const lock(m_mutex);
        return m_peer.GetText(key);
    }
    void SetInt(KEY const& key, int value) override {
        std::lock_guard const lock(m_mutex);
        m_peer.SetInt(key, value);
    }
    void SetDouble(KEY const& key, double value) override {
        std::lock_guard const lock(m_mutex);
        m_peer.SetDouble(key, value);
    }
    void SetText(KEY const& key, std::string const& value) override {
        std::lock_guard const lock(m_mutex);
        m_peer.SetText(key, value);
    }
    void Load() override {
        std::lock_guard const lock(m_mutex);
        m_peer.Load();
    }
    void Save() override {
        std::lock_guard const lock(m_mutex);
        m_peer.Save();
    }

 private:
    typename PEER::MUTEX m_mutex;
    PEER m_peer;
};

// Makes a STORE of a peer that threads only read. Each thread has its own, unguarded object, and keeps the one of the
// last store that it used.
template <typename PEER>
class PER_THREAD final : public STORE {
 public:
    PER_THREAD(WORKLOAD const& workload, std::string const& file) : m_workload(workload), m_file(file) {}

    static std::unique_ptr<STORE> Make(WORKLOAD const& workload, std::string const& file) {
        return std::make_unique<PER_THREAD>(workload, file);
    }

    int GetInt(KEY const& key) override { return Own().GetInt(key); }
    double GetDouble(KEY const& key) override { return Own().GetDouble(key); }
    std::size_t GetText(KEY const& key) override { return Own().GetText(key); }
    void SetInt(KEY const&, int) override {}
    void SetDouble(KEY const&, double) override {}
    void SetText(KEY const&, std::string const&) override {}
    void Load() override { Own(); }
    void Save() override {}

 private:
    PEER& Own() {
        static thread_local std::unique_ptr<PEER> peer;
        static thread_local PER_THREAD const* owner = nullptr;
        if (owner != this) {
            peer = std::make_unique<PEER>(m_workload, m_file);
            peer->Load();
            owner = this;
        }
        return *peer;
    }

    WORKLOAD const& m_workload;
    std::string m_file;
};
