// Floor: Abseil's hash table under a mutex, with values of any type, and nothing else of what a ticket does.
#include <absl/container/flat_hash_map.h>

#include <variant>

#include "Store.h"

namespace {

class HASH_MAP {
 public:
    using MUTEX = std::mutex;

    HASH_MAP(WORKLOAD const&, std::string const&) {}

    int GetInt(KEY const& key) { return static_cast<int>(GetDouble(key)); }
    double GetDouble(KEY const& key) { return std::get<double>(m_values.find(key.full)->second); }
    std::size_t GetText(KEY const& key) {
        std::string const copy = std::get<std::string>(m_values.find(key.full)->second);
        return copy.size();
    }
    void SetInt(KEY const& key, int value) { SetDouble(key, value); }
    void SetDouble(KEY const& key, double value) { m_values[key.full] = value; }
    void SetText(KEY const& key, std::string const& value) { m_values[key.full] = value; }
    void Load() {}
    void Save() {}

 private:
    absl::flat_hash_map<std::string, std::variant<double, std::string>> m_values;
};

STORE_REGISTRATION const registration({"F3 flat_hash_map", false, GUARDED<HASH_MAP>::Make});

}  // namespace
