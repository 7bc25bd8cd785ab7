// Peer: KDE's configuration files.
#include <KConfig>
#include <KConfigGroup>

#include "Store.h"

namespace {

class KCONFIG {
 public:
    using MUTEX = std::mutex;

    // Reads the file already when it is made; so it is made by Load.
    KCONFIG(WORKLOAD const& workload, std::string const& file) : m_file(QString::fromStdString(file)) {
        for (KEY const& key : workload.Keys()) m_groups.push_back(QString::fromStdString(key.group));
    }

    int GetInt(KEY const& key) { return Group(key).readEntry(key.name.c_str(), 0); }
    double GetDouble(KEY const& key) { return Group(key).readEntry(key.name.c_str(), 0.0); }
    std::size_t GetText(KEY const& key) {
        return static_cast<std::size_t>(Group(key).readEntry(key.name.c_str(), QString()).size());
    }
    void SetInt(KEY const& key, int value) { Group(key).writeEntry(key.name.c_str(), value); }
    void SetDouble(KEY const& key, double value) { Group(key).writeEntry(key.name.c_str(), value); }
    void SetText(KEY const& key, std::string const& value) {
        Group(key).writeEntry(key.name.c_str(), QString::fromStdString(value));
    }
    void Load() { m_config = std::make_unique<::KConfig>(m_file, ::KConfig::SimpleConfig); }
    void Save() { m_config->sync(); }

 private:
    KConfigGroup Group(KEY const& key) {
        if (!m_config) Load();
        return m_config->group(m_groups[key.number]);
    }

    QString m_file;
    std::vector<QString> m_groups;
    std::unique_ptr<::KConfig> m_config;
};

STORE_REGISTRATION const registration({"KConfig", true, GUARDED<KCONFIG>::Make});

}  // namespace
