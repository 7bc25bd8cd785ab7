// What every measured store can do, and the list of those that were built in.
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
    virtual std::size_t GetText(KEY const& key) = 0;  // its length
    virtual void SetInt(KEY const& key, int value) = 0;
    virtual void SetDouble(KEY const& key, double value) = 0;
    virtual void SetText(KEY const& key, std::string const& value) = 0;
    // Reads the file, as far as the store does so before a value is asked for. Once, on a new store.
    virtual void Load() = 0;
    // Writes the file so that it survives a crash: old or new, never half.
    virtual void Save() = 0;
};

struct STORE_KIND {
    std::string name;
    bool hasFile;
    // A store without content, bound to a file that need not exist.
    std::unique_ptr<STORE> (*make)(WORKLOAD const& workload, std::string const& file);
};

// Every kind that was built in, in the order of their names.
std::vector<STORE_KIND>& StoreKinds();
STORE_KIND const& FindStoreKind(std::string_view name);

// Defined once in the source of a kind, which so enters the list.
struct STORE_REGISTRATION {
    explicit STORE_REGISTRATION(STORE_KIND kind);
};

// Fills a store with the values of its workload.
void Fill(STORE& store, WORKLOAD const& workload);
// Reads each value once, with its type, in the order of the keys.
void ReadEverything(STORE& store, WORKLOAD const& workload);
// Replaces a file as a careful user of a library without such a function does.
void WriteDurably(std::string const& file, std::string_view content);

// Makes a STORE of a peer: a class with the operations of STORE, not virtual.
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
