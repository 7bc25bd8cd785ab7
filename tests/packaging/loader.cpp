// A host without our headers, which loads the library at run time.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>

int main() {
    void* library = dlopen("libConfigurationControl.so.1", RTLD_NOW);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    auto const* record = static_cast<std::uint64_t const*>(dlsym(library, "STicketInstance"));
    std::printf("record of %llu bytes, version %llu\n", static_cast<unsigned long long>(record[0]),
                static_cast<unsigned long long>(record[1]));
    return record[0] == 192 && record[1] == 1 ? 0 : 1;
}
