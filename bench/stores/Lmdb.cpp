// Peer: an LMDB file, which is mapped into memory and never read as a whole. A save is a commit; what is read or
// written between two saves is one transaction. Only raw bytes are stored: the
// reader must know the type of a value.
#include <lmdb.h>

#include <cstring>
#include <map>
#include <stdexcept>
#include <utility>

#include "Store.h"

namespace {

void Check(int result) {
    if (result != MDB_SUCCESS) throw std::runtime_error(mdb_strerror(result));
}

// A process may open a file only once; its threads share that.
class ENVIRONMENT {
 public:
    explicit ENVIRONMENT(std::string const& file) {
        constexpr std::size_t LARGEST = std::size_t{1} << 30;
        Check(mdb_env_create(&m_environment));
        Check(mdb_env_set_mapsize(m_environment, LARGEST));
        Check(mdb_env_open(m_environment, file.c_str(), MDB_NOSUBDIR | MDB_NOTLS, 0600));
    }
    ~ENVIRONMENT() { mdb_env_close(m_environment); }
    ENVIRONMENT(ENVIRONMENT const&) = delete;
    ENVIRONMENT& operator=(ENVIRONMENT const&) = delete;

    static std::shared_ptr<ENVIRONMENT> Of(std::string const& file) {
        static std::mutex mutex;
        static std::map<std::string, std::weak_ptr<ENVIRONMENT>> environments;
        std::lock_guard const lock(mutex);
        auto environment = environments[file].lock();
        if (!environment) environments[file] = environment = std::make_shared<ENVIRONMENT>(file);
        return environment;
    }

    MDB_txn* Begin(unsigned int flags) const {
        MDB_txn* transaction = nullptr;
        Check(mdb_txn_begin(m_environment, nullptr, flags, &transaction));
        return transaction;
    }

 private:
    MDB_env* m_environment = nullptr;
};

class LMDB {
 public:
    using MUTEX = std::mutex;

    LMDB(WORKLOAD const&, std::string const& file) : m_file(file) {}
    ~LMDB() { End(); }

    int GetInt(KEY const& key) { return Number<int>(key); }
    double GetDouble(KEY const& key) { return Number<double>(key); }
    std::size_t GetText(KEY const& key) {
        MDB_val const value = Find(key);
        std::string const copy(static_cast<char const*>(value.mv_data), value.mv_size);
        return copy.size();
    }
    void SetInt(KEY const& key, int value) { Put(key, &value, sizeof value); }
    void SetDouble(KEY const& key, double value) { Put(key, &value, sizeof value); }
    void SetText(KEY const& key, std::string const& value) { Put(key, value.data(), value.size()); }
    void Load() { Begin(MDB_RDONLY); }
    void Save() {
        if (!m_isWriting) return;
        Check(mdb_txn_commit(std::exchange(m_transaction, nullptr)));
        m_isWriting = false;
    }

 private:
    void Begin(unsigned int flags) {
        End();
        if (!m_environment) m_environment = ENVIRONMENT::Of(m_file);
        m_transaction = m_environment->Begin(flags);
        Check(mdb_dbi_open(m_transaction, nullptr, 0, &m_values));
    }
    void End() {
        if (m_transaction) mdb_txn_abort(std::exchange(m_transaction, nullptr));
        m_isWriting = false;
    }
    static MDB_val Key(KEY const& key) { return {key.full.size(), const_cast<char*>(key.full.data())}; }
    MDB_val Find(KEY const& key) {
        if (!m_transaction) Begin(MDB_RDONLY);
        MDB_val name = Key(key);
        MDB_val value{};
        mdb_get(m_transaction, m_values, &name, &value);
        return value;
    }
    template <typename NUMBER>
    NUMBER Number(KEY const& key) {
        NUMBER number;
        std::memcpy(&number, Find(key).mv_data, sizeof number);
        return number;
    }
    void Put(KEY const& key, void const* bytes, std::size_t size) {
        if (!m_isWriting) Begin(0);
        m_isWriting = true;
        MDB_val name = Key(key);
        MDB_val value{size, const_cast<void*>(bytes)};
        Check(mdb_put(m_transaction, m_values, &name, &value, 0));
    }

    std::string m_file;
    std::shared_ptr<ENVIRONMENT> m_environment;
    MDB_txn* m_transaction = nullptr;
    MDB_dbi m_values = 0;
    bool m_isWriting = false;
};

STORE_REGISTRATION const registration({"LMDB", true, GUARDED<LMDB>::Make});
STORE_REGISTRATION const perThread({"LMDB, a reader each", true, PER_THREAD<LMDB>::Make, USE::THREADS, "LMDB"});

}  // namespace
