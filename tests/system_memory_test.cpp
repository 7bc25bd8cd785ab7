// Mappings, on a system whose pages are as large as the test says.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "Store/SystemMemory.h"

namespace {

std::size_t g_page = 0;  // 0: as the system has them
int g_partsOfPages = 0;  // given back, which fails or takes more than was meant

}  // namespace

extern "C" {

long __sysconf(int name);

[[gnu::visibility("default")]] long sysconf(int name) noexcept {
    return name == _SC_PAGESIZE && g_page > 0 ? static_cast<long>(g_page) : __sysconf(name);
}

// Begins at a page, however large; what lies around it is never given back.
[[gnu::visibility("default")]] void* mmap(void* address, std::size_t size, int protection, int flags, int file,
                                          off_t offset) noexcept {
    using FUNCTION = void* (*)(void*, std::size_t, int, int, int, off_t);
    static auto const next = reinterpret_cast<FUNCTION>(dlsym(RTLD_NEXT, "mmap"));
    void* const mapped = next(address, size + g_page, protection, flags, file, offset);
    if (g_page == 0 || mapped == MAP_FAILED) return mapped;
    return static_cast<char*>(mapped) + (g_page - reinterpret_cast<std::uintptr_t>(mapped) % g_page);
}

[[gnu::visibility("default")]] int munmap(void* address, std::size_t size) noexcept {
    static auto const next = reinterpret_cast<int (*)(void*, std::size_t)>(dlsym(RTLD_NEXT, "munmap"));
    if (g_page > 0 && (reinterpret_cast<std::uintptr_t>(address) % g_page != 0 || size % g_page != 0)) ++g_partsOfPages;
    return next(address, size);
}

}  // extern "C"

namespace {

TEST(Mapping, ConsistsOfWholePagesHoweverLargeTheyAre) {
    for (std::size_t const page : {4096U, 16384U, 65536U}) {
        g_page = page;
        {
            SYSTEM_MEMORY::BYTES const bytes = SYSTEM_MEMORY::Map(SYSTEM_MEMORY::HUGE_PAGE + 1);
            ASSERT_TRUE(bytes);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes.get()) % SYSTEM_MEMORY::HUGE_PAGE, 0U);
            bytes.get()[SYSTEM_MEMORY::HUGE_PAGE] = 1;
        }
        g_page = 0;
        EXPECT_EQ(g_partsOfPages, 0) << page;
    }
}

}  // namespace
