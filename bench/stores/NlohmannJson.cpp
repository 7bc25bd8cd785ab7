// Peer: a JSON document, nested as the keys are.
#include <nlohmann/json.hpp>

#include "Store.h"

namespace {

class JSON {
 public:
    using MUTEX = std::mutex;

    JSON(WORKLOAD const& workload, std::string const& file) : m_file(file), m_paths(PathsOf(workload)) {}

    int GetInt(KEY const& key) { return Find(key).get<int>(); }
    double GetDouble(KEY const& key) { return Find(key).get<double>(); }
    std::size_t GetText(KEY const& key) { return Find(key).get<std::string>().size(); }
    void SetInt(KEY const& key, int value) { Place(key) = value; }
    void SetDouble(KEY const& key, double value) { Place(key) = value; }
    void SetText(KEY const& key, std::string const& value) { Place(key) = value; }
    void Load() { m_document = nlohmann::json::parse(FileText(m_file)); }
    void Save() { WriteDurably(m_file, m_document.dump(1, '\t')); }

 private:
    nlohmann::json const& Find(KEY const& key) {
        nlohmann::json const* place = &m_document;
        for (std::string const& component : m_paths[key.number]) place = &*place->find(component);
        return *place;
    }
    nlohmann::json& Place(KEY const& key) {
        nlohmann::json* place = &m_document;
        for (std::string const& component : m_paths[key.number]) place = &(*place)[component];
        return *place;
    }

    std::string m_file;
    std::vector<std::vector<std::string>> m_paths;
    nlohmann::json m_document;
};

STORE_REGISTRATION const registration({"nlohmann-json", true, GUARDED<JSON>::Make});

}  // namespace
