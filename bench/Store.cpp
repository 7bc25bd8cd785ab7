// The list of store kinds, and functions that their benchmarks share.
#include "Store.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

// Makes the new name of a file survive a crash.
bool FlushDirectory(std::string const& file) {
    std::string const directory = std::filesystem::path(file).parent_path().string();
    int const descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return false;
    bool const flushed = fsync(descriptor) == 0;
    return close(descriptor) == 0 && flushed;
}

}  // namespace

std::vector<STORE_KIND>& StoreKinds() {
    static std::vector<STORE_KIND> kinds;
    return kinds;
}

STORE_KIND const& FindStoreKind(std::string_view name) {
    for (STORE_KIND const& kind : StoreKinds())
        if (kind.name == name) return kind;
    throw std::runtime_error("not built in: " + std::string(name));
}

STORE_REGISTRATION::STORE_REGISTRATION(STORE_KIND kind) {
    auto& kinds = StoreKinds();
    kinds.insert(std::upper_bound(kinds.begin(), kinds.end(), kind,
                                  [](auto const& a, auto const& b) { return a.name < b.name; }),
                 std::move(kind));
}

void Fill(STORE& store, WORKLOAD const& workload) {
    for (KEY const& key : workload.Keys()) {
        if (key.type == VALUE_TYPE::INT) store.SetInt(key, key.Int());
        if (key.type == VALUE_TYPE::DOUBLE) store.SetDouble(key, key.Double());
        if (key.type == VALUE_TYPE::TEXT) store.SetText(key, key.text);
    }
}

void ReadEverything(STORE& store, WORKLOAD const& workload) {
    for (KEY const& key : workload.Keys()) {
        if (key.type == VALUE_TYPE::INT) store.GetInt(key);
        if (key.type == VALUE_TYPE::DOUBLE) store.GetDouble(key);
        if (key.type == VALUE_TYPE::TEXT) store.GetText(key);
    }
}

std::vector<std::vector<std::string>> PathsOf(WORKLOAD const& workload) {
    std::vector<std::vector<std::string>> paths;
    for (KEY const& key : workload.Keys()) {
        auto& path = paths.emplace_back();
        for (std::size_t begin = 0; begin <= key.full.size();) {
            std::size_t const end = std::min(key.full.find('/', begin), key.full.size());
            path.push_back(key.full.substr(begin, end - begin));
            begin = end + 1;
        }
    }
    return paths;
}

std::string FileText(std::string const& file) {
    std::string text(std::filesystem::file_size(file), '\0');
    std::ifstream(file, std::ios::binary).read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

void WriteDurably(std::string const& file, std::string_view content) {
    std::string const temporary = file + ".tmp";
    int const descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool const written = descriptor >= 0 &&
                         write(descriptor, content.data(), content.size()) == static_cast<ssize_t>(content.size()) &&
                         fsync(descriptor) == 0 && close(descriptor) == 0;
    if (!written || std::rename(temporary.c_str(), file.c_str()) != 0 || !FlushDirectory(file))
        throw std::system_error(errno, std::generic_category(), file);
}
