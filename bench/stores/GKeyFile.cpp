// Peer: GLib's key files.
#include <glib.h>

#include <cstring>

#include "Store.h"

namespace {

class KEY_FILE {
 public:
    using MUTEX = std::mutex;

    KEY_FILE(WORKLOAD const&, std::string const& file) : m_file(file), m_values(g_key_file_new()) {}
    ~KEY_FILE() { g_key_file_free(m_values); }

    int GetInt(KEY const& key) {
        return g_key_file_get_integer(m_values, key.group.c_str(), key.name.c_str(), nullptr);
    }
    double GetDouble(KEY const& key) {
        return g_key_file_get_double(m_values, key.group.c_str(), key.name.c_str(), nullptr);
    }
    std::size_t GetText(KEY const& key) {
        char* const text = g_key_file_get_string(m_values, key.group.c_str(), key.name.c_str(), nullptr);
        std::size_t const length = std::strlen(text);
        g_free(text);
        return length;
    }
    void SetInt(KEY const& key, int value) {
        g_key_file_set_integer(m_values, key.group.c_str(), key.name.c_str(), value);
    }
    void SetDouble(KEY const& key, double value) {
        g_key_file_set_double(m_values, key.group.c_str(), key.name.c_str(), value);
    }
    void SetText(KEY const& key, std::string const& value) {
        g_key_file_set_string(m_values, key.group.c_str(), key.name.c_str(), value.c_str());
    }
    void Load() { g_key_file_load_from_file(m_values, m_file.c_str(), G_KEY_FILE_NONE, nullptr); }
    // Replaces the file through a temporary one and flushes it when there was a file before.
    void Save() { g_key_file_save_to_file(m_values, m_file.c_str(), nullptr); }

 private:
    std::string m_file;
    GKeyFile* m_values;
};

STORE_REGISTRATION const registration({"GKeyFile", true, GUARDED<KEY_FILE>::Make});

}  // namespace
