// Counts the heap of one store: the bytes allocated after a load, the maximum during the load, and the bytes after each
// value was read once.
//
// usage: heap list: prints the names of the stores
//        heap write STORE COUNT FILE: writes what the store loads
//        heap measure STORE COUNT FILE: prints one line of JSON
// Writing and measuring are two processes, because a load would reuse memory that a library keeps after writing.
// The allocator's functions are replaced for the whole process, so that libraries are counted, too. A block counts with
// the size that the allocator really uses for it.
#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "Fixture.h"

namespace {

constexpr std::size_t OVERHEAD = 8;  // the allocator's own word in front of a block
std::atomic<std::size_t> g_live{0};
std::atomic<std::size_t> g_peak{0};

void* Count(void* block) {
    if (!block) return block;
    std::size_t const live = g_live += malloc_usable_size(block) + OVERHEAD;
    if (live > g_peak) g_peak = live;
    return block;
}

void Discount(void* block) {
    if (block) g_live -= malloc_usable_size(block) + OVERHEAD;
}

// The bytes of a mapping that were touched and so occupy memory.
std::size_t Resident(void* begin, std::size_t size) {
    constexpr std::size_t PAGE = 4096;
    constexpr std::size_t AT_ONCE = 256;
    unsigned char pages[AT_ONCE];
    std::size_t resident = 0;
    for (std::size_t done = 0; done < size; done += AT_ONCE * PAGE) {
        std::size_t const part = std::min(AT_ONCE * PAGE, size - done);
        if (mincore(static_cast<char*>(begin) + done, part, pages) != 0) continue;
        resident += PAGE * static_cast<std::size_t>(std::count_if(pages, pages + (part + PAGE - 1) / PAGE,
                                                                  [](auto page) { return page & 1; }));
    }
    return resident;
}

// A mapping made by a library; the allocator's own mappings are not recorded.
struct MAPPING {
    char* begin;
    char* end;
};
constexpr std::size_t MOST_MAPPINGS = 4096;
MAPPING g_mappings[MOST_MAPPINGS];
std::size_t g_mappingCount = 0;

void AddMapping(char* begin, char* end) {
    if (begin == end) return;
    if (g_mappingCount == MOST_MAPPINGS) std::abort();
    g_mappings[g_mappingCount++] = {begin, end};
}

// Removes a range from the recorded mappings. A mapping that is cut leaves one or two smaller ones.
void RemoveMapping(char* begin, char* end) {
    for (std::size_t i = g_mappingCount; i-- > 0;) {
        MAPPING const old = g_mappings[i];
        if (end <= old.begin || old.end <= begin) continue;
        g_mappings[i] = g_mappings[--g_mappingCount];
        AddMapping(old.begin, std::max(old.begin, begin));
        AddMapping(std::min(old.end, end), old.end);
    }
}

// Includes the touched bytes of mappings.
std::size_t Live() {
    std::size_t live = g_live;
    for (std::size_t i = 0; i < g_mappingCount; ++i)
        live += Resident(g_mappings[i].begin, static_cast<std::size_t>(g_mappings[i].end - g_mappings[i].begin));
    return live;
}

}  // namespace

// The C library's allocator under its second names, which replacements may call.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
    return Count(__libc_malloc(size));
}
__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    return Count(__libc_calloc(count, size));
}
__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size) {
    std::size_t const before = block ? malloc_usable_size(block) + OVERHEAD : 0;
    void* const moved = __libc_realloc(block, size);
    if (moved || size == 0) g_live -= before;
    return Count(moved);
}
__attribute__((visibility("default"))) void* memalign(std::size_t alignment, std::size_t size) {
    return Count(__libc_memalign(alignment, size));
}
__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Count(__libc_memalign(alignment, size));
}
__attribute__((visibility("default"))) int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* const made = Count(__libc_memalign(alignment, size));
    if (!made) return ENOMEM;
    *block = made;
    return 0;
}
__attribute__((visibility("default"))) void free(void* block) {
    Discount(block);
    __libc_free(block);
}
__attribute__((visibility("default"))) void* mmap(void* place, std::size_t size, int protection, int flags, int file,
                                                  off_t offset) {
    auto* const begin = reinterpret_cast<char*>(syscall(SYS_mmap, place, size, protection, flags, file, offset));
    if (begin != MAP_FAILED && (flags & MAP_ANONYMOUS)) AddMapping(begin, begin + size);
    return begin;
}
// The maximum is reached just before memory is returned.
__attribute__((visibility("default"))) int munmap(void* begin, std::size_t size) {
    g_peak = std::max(g_peak.load(), Live());
    RemoveMapping(static_cast<char*>(begin), static_cast<char*>(begin) + size);
    return static_cast<int>(syscall(SYS_munmap, begin, size));
}
}

// Counts what a load takes in a process that does nothing before it, and prints it.
void Measure(STORE_KIND const& kind, WORKLOAD const& workload, std::string const& file) {
    ParkAThread();
    std::size_t const before = Live();
    auto const store = kind.make(workload, file);
    std::size_t const made = Live();  // includes keys that some peers prepare
    g_peak = made;
    kind.Reads() ? store->Load() : Fill(*store, workload);
    std::size_t const live = Live() - made;
    std::size_t const peak = std::max(g_peak.load(), live + made) - made;
    ReadEverything(*store, workload);
    std::size_t const read = Live() - made;
    std::size_t const fileSize = kind.Reads() ? static_cast<std::size_t>(std::filesystem::file_size(file)) : 0;
    std::printf(R"({"store": "%s", "count": %zu, "live": %zu, "peak": %zu, "read": %zu, "file": %zu, "made": %zu})"
                "\n",
                kind.name.c_str(), workload.Count(), live, peak, read, fileSize, made - before);
}

int main(int count, char** arguments) {
    std::string_view const command = count > 1 ? arguments[1] : "";
    if (command == "list") {
        for (STORE_KIND const& kind : StoreKinds())
            if (kind.use != USE::THREADS) std::puts(kind.name.c_str());
        return 0;
    }
    if (count != 5) return 2;
    STORE_KIND const& kind = FindStoreKind(arguments[2]);
    WORKLOAD const& workload = SharedWorkload(std::strtoul(arguments[3], nullptr, 10));
    if (command == "measure") Measure(kind, workload, arguments[4]);
    if (command == "write" && kind.Reads()) WriteFile(kind, workload, arguments[4]);
    return 0;
}
