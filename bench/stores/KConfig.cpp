// Peer: KDE's configuration files.
#include <KConfig>
#include <KConfigGroup>

#include "Store.h"

namespace {

class KCONFIG {
 public:
    using MUTEX = std::mutex;

    // Load creates the object, since its constructor already reads the file.
    KCONFIG(WORKLOAD const& workload, std::string const& file) : m_file(QString::fromStdString(file)) {
        for (KEY const& key : workload.Keys()) {
            QString const name = QString::fromStdString(key.group);
            if (m_names.empty() || m_names.back() != name) m_names.push_back(name);
            m_groupOfKey.push_back(m_names.size() - 1);
        }
        m_groups.resize(m_names.size());
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
    // Created at first use, so that its cost is not part of a load, and kept.
    KConfigGroup& Group(KEY const& key) {
        if (!m_config) Load();
        std::size_t const number = m_groupOfKey[key.number];
        KConfigGroup& group = m_groups[number];
        if (!group.isValid()) group = m_config->group(m_names[number]);
        return group;
    }

    QString m_file;
    std::vector<QString> m_names;  // names of groups, in the order of the keys
    std::vector<std::size_t> m_groupOfKey;
    std::unique_ptr<::KConfig> m_config;
    std::vector<KConfigGroup> m_groups;
};

STORE_REGISTRATION const registration({"KConfig", true, GUARDED<KCONFIG>::Make});

}  // namespace
