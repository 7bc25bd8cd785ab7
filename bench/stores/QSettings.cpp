// Peer: Qt's settings in an INI file.
#include <QSettings>

#include "Store.h"

namespace {

class QT_SETTINGS {
 public:
    using MUTEX = std::mutex;

    QT_SETTINGS(WORKLOAD const& workload, std::string const& file) : m_file(QString::fromStdString(file)) {
        for (KEY const& key : workload.Keys()) m_keys.push_back(QString::fromStdString(key.full));
    }

    int GetInt(KEY const& key) { return Settings().value(m_keys[key.number]).toInt(); }
    double GetDouble(KEY const& key) { return Settings().value(m_keys[key.number]).toDouble(); }
    std::size_t GetText(KEY const& key) {
        return static_cast<std::size_t>(Settings().value(m_keys[key.number]).toString().size());
    }
    void SetInt(KEY const& key, int value) { Settings().setValue(m_keys[key.number], value); }
    void SetDouble(KEY const& key, double value) { Settings().setValue(m_keys[key.number], value); }
    void SetText(KEY const& key, std::string const& value) {
        Settings().setValue(m_keys[key.number], QString::fromStdString(value));
    }
    void Load() { m_settings = std::make_unique<::QSettings>(m_file, ::QSettings::IniFormat); }
    void Save() { m_settings->sync(); }

 private:
    ::QSettings& Settings() {
        if (!m_settings) Load();
        return *m_settings;
    }

    QString m_file;
    std::vector<QString> m_keys;
    std::unique_ptr<::QSettings> m_settings;
};

STORE_REGISTRATION const registration({"QSettings", true, GUARDED<QT_SETTINGS>::Make});

}  // namespace
