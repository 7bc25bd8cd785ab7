// Tells libFuzzer what the threads have run. Its usual counters are added to by the instrumented code itself, which
// ThreadSanitizer takes for data races of that code; these are added to out of its sight.
#include <cstdint>

namespace {

constexpr std::uintptr_t COUNTERS = 1 << 16;
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t counters[COUNTERS];

}  // namespace

// Called by the instrumented code at each edge of its control flow, since the linker redirects those calls: libFuzzer
// has a function of the plain name, which only says that it is not supported.
extern "C" __attribute__((no_sanitize("thread", "coverage"))) void __wrap___sanitizer_cov_trace_pc() {
    auto const place = reinterpret_cast<std::uintptr_t>(__builtin_return_address(0));
    std::uint8_t& counter = counters[(place ^ place >> 16) % COUNTERS];
    if (counter < UINT8_MAX) ++counter;
}
