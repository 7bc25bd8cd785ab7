// Peer: SimpleIni.
#define SI_NO_CONVERSION  // the bytes as they are
#include <SimpleIni.h>

#include "Store.h"

namespace {

class INI {
 public:
    using MUTEX = std::mutex;

    INI(WORKLOAD const&, std::string const& file) : m_file(file) {}

    int GetInt(KEY const& key) { return static_cast<int>(m_values.GetLongValue(key.group.c_str(), key.name.c_str())); }
    double GetDouble(KEY const& key) { return m_values.GetDoubleValue(key.group.c_str(), key.name.c_str()); }
    std::size_t GetText(KEY const& key) {
        std::string const copy = m_values.GetValue(key.group.c_str(), key.name.c_str(), "");
        return copy.size();
    }
    void SetInt(KEY const& key, int value) { m_values.SetLongValue(key.group.c_str(), key.name.c_str(), value); }
    void SetDouble(KEY const& key, double value) {
        m_values.SetDoubleValue(key.group.c_str(), key.name.c_str(), value);
    }
    void SetText(KEY const& key, std::string const& value) {
        m_values.SetValue(key.group.c_str(), key.name.c_str(), value.c_str());
    }
    void Load() { m_values.LoadFile(m_file.c_str()); }
    void Save() {
        std::string text;
        m_values.Save(text);
        WriteDurably(m_file, text);
    }

 private:
    std::string m_file;
    CSimpleIniCaseA m_values;
};

STORE_REGISTRATION const registration({"SimpleIni", true, GUARDED<INI>::Make});

}  // namespace
