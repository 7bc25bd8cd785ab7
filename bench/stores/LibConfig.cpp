// Peer: libconfig++.
#include <algorithm>
#include <libconfig.h++>

#include "Store.h"

namespace {

class LIBCONFIG {
 public:
    using MUTEX = std::mutex;

    LIBCONFIG(WORKLOAD const& workload, std::string const& file) : m_file(file) {
        for (KEY const& key : workload.Keys()) {
            m_paths.push_back(key.full);
            std::replace(m_paths.back().begin(), m_paths.back().end(), '/', '.');
        }
    }

    int GetInt(KEY const& key) { return m_config.lookup(m_paths[key.number]); }
    double GetDouble(KEY const& key) { return m_config.lookup(m_paths[key.number]); }
    std::size_t GetText(KEY const& key) {
        std::string const copy = m_config.lookup(m_paths[key.number]);
        return copy.size();
    }
    void SetInt(KEY const& key, int value) { Place(key, libconfig::Setting::TypeInt) = value; }
    void SetDouble(KEY const& key, double value) { Place(key, libconfig::Setting::TypeFloat) = value; }
    void SetText(KEY const& key, std::string const& value) { Place(key, libconfig::Setting::TypeString) = value; }
    void Load() { m_config.readFile(m_file.c_str()); }
    void Save() {
        char* text = nullptr;
        std::size_t size = 0;
        FILE* const stream = open_memstream(&text, &size);
        m_config.write(stream);
        std::fclose(stream);
        WriteDurably(m_file, {text, size});
        std::free(text);
    }

 private:
    libconfig::Setting& Place(KEY const& key, libconfig::Setting::Type type) {
        std::string const& path = m_paths[key.number];
        try {
            return m_config.lookup(path);
        } catch (libconfig::SettingNotFoundException const&) {
            return Add(path, type);
        }
    }
    libconfig::Setting& Add(std::string const& path, libconfig::Setting::Type type) {
        libconfig::Setting* place = &m_config.getRoot();
        for (std::size_t begin = 0;;) {
            std::size_t const end = path.find('.', begin);
            std::string const component = path.substr(begin, end - begin);
            if (end == std::string::npos) return place->add(component, type);
            place = place->exists(component) ? &place->lookup(component)
                                             : &place->add(component, libconfig::Setting::TypeGroup);
            begin = end + 1;
        }
    }

    std::string m_file;
    std::vector<std::string> m_paths;
    libconfig::Config m_config;
};

STORE_REGISTRATION const registration({"libconfig++", true, GUARDED<LIBCONFIG>::Make});

}  // namespace
