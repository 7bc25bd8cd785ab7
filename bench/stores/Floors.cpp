// Lower bounds: a standard map under a recursive lock for access (F2), and the XML library alone for loading (F1),
// which parses a ticket's file and converts nothing.
#include <map>
#include <pugixml.hpp>

#include "Store.h"

namespace {

class STANDARD_MAP {
 public:
    using MUTEX = std::recursive_mutex;

    STANDARD_MAP(WORKLOAD const& workload, std::string const&) {
        for (KEY const& key : workload.Keys()) m_keys.emplace_back(key.full);
    }

    int GetInt(KEY const& key) { return static_cast<int>(m_values.find(m_keys[key.number])->second.number); }
    double GetDouble(KEY const& key) { return m_values.find(m_keys[key.number])->second.number; }
    std::size_t GetText(KEY const&) { return 0; }
    void SetInt(KEY const& key, int value) { SetDouble(key, value); }
    void SetDouble(KEY const& key, double value) {
        auto const found = m_values.find(m_keys[key.number]);
        if (found != m_values.end()) {
            found->second = {value, 1};
        } else {
            m_values.emplace(key.full, VALUE{value, 1});
        }
    }
    void SetText(KEY const& key, std::string const&) { SetDouble(key, 0); }
    void Load() {}
    void Save() {}

 private:
    struct VALUE {
        double number;
        char tag;
    };
    std::vector<std::string_view> m_keys;
    std::map<std::string, VALUE, std::less<>> m_values;
};

class XML_DOCUMENT : public ONLY_LOADED {
 public:
    using MUTEX = std::mutex;

    XML_DOCUMENT(WORKLOAD const&, std::string const& file) : m_file(file) {}

    void Load() {
        m_document.load_file(m_file.c_str(), pugi::parse_full | pugi::parse_ws_pcdata_single, pugi::encoding_utf8);
    }

 private:
    std::string m_file;
    pugi::xml_document m_document;
};

STORE_REGISTRATION const map({"F2 std::map", false, GUARDED<STANDARD_MAP>::Make});
STORE_REGISTRATION const document({"F1 pugixml", false, GUARDED<XML_DOCUMENT>::Make, USE::LOADS, "file ticket"});

}  // namespace
