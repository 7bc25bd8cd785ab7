// Peer: a table of keys and values in an SQLite file. It reads from the file instead of loading it, and its save is
// a commit. All reads and writes between two saves are one transaction: otherwise each operation would lock and unlock
// the file, and each write would flush it.
#include <sqlite3.h>

#include <stdexcept>

#include "Store.h"

namespace {

class SQLITE {
 public:
    using MUTEX = std::mutex;

    SQLITE(WORKLOAD const&, std::string const& file) : m_file(file) {}
    ~SQLITE() {
        if (m_inTransaction) Save();
        for (sqlite3_stmt* const statement : {m_get, m_set}) sqlite3_finalize(statement);
        sqlite3_close(m_database);
    }

    int GetInt(KEY const& key) {
        int const value = (Select(key), sqlite3_column_int(m_get, 0));
        sqlite3_reset(m_get);
        return value;
    }
    double GetDouble(KEY const& key) {
        double const value = (Select(key), sqlite3_column_double(m_get, 0));
        sqlite3_reset(m_get);
        return value;
    }
    std::size_t GetText(KEY const& key) {
        Select(key);
        std::string const copy = reinterpret_cast<char const*>(sqlite3_column_text(m_get, 0));
        sqlite3_reset(m_get);
        return copy.size();
    }
    void SetInt(KEY const& key, int value) {
        Begin();
        sqlite3_bind_int(m_set, 2, value);
        Replace(key);
    }
    void SetDouble(KEY const& key, double value) {
        Begin();
        sqlite3_bind_double(m_set, 2, value);
        Replace(key);
    }
    void SetText(KEY const& key, std::string const& value) {
        Begin();
        sqlite3_bind_text(m_set, 2, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        Replace(key);
    }
    void Load() {
        Check(sqlite3_open(m_file.c_str(), &m_database));
        Run("CREATE TABLE IF NOT EXISTS settings (key TEXT PRIMARY KEY, value) WITHOUT ROWID");
        Check(sqlite3_prepare_v2(m_database, "SELECT value FROM settings WHERE key = ?", -1, &m_get, nullptr));
        Check(sqlite3_prepare_v2(m_database, "REPLACE INTO settings VALUES (?, ?)", -1, &m_set, nullptr));
    }
    void Save() {
        if (m_inTransaction) Run("COMMIT");
        m_inTransaction = false;
    }

 private:
    void Check(int result) {
        if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(m_database));
    }
    void Run(char const* command) { Check(sqlite3_exec(m_database, command, nullptr, nullptr, nullptr)); }
    void Begin() {
        if (!m_database) Load();
        if (!m_inTransaction) Run("BEGIN");
        m_inTransaction = true;
    }
    void Bind(sqlite3_stmt* statement, KEY const& key) {
        sqlite3_bind_text(statement, 1, key.full.c_str(), static_cast<int>(key.full.size()), SQLITE_STATIC);
    }
    void Select(KEY const& key) {
        Begin();
        Bind(m_get, key);
        sqlite3_step(m_get);
    }
    void Replace(KEY const& key) {
        Bind(m_set, key);
        sqlite3_step(m_set);
        sqlite3_reset(m_set);
    }

    std::string m_file;
    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_get = nullptr;
    sqlite3_stmt* m_set = nullptr;
    bool m_inTransaction = false;
};

STORE_REGISTRATION const registration({"SQLite", true, GUARDED<SQLITE>::Make});
STORE_REGISTRATION const perThread({"SQLite, a connection each", true, PER_THREAD<SQLITE>::Make, USE::THREADS,
                                    "SQLite"});

}  // namespace
