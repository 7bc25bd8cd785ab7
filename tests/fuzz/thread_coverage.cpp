// Reports the threads' coverage to libFuzzer. The instrumented code itself would increment libFuzzer's usual counters,
// which ThreadSanitizer reports as data races. These counters are incremented in code that is not instrumented.
#include <cstdint>

namespace {

constexpr std::uintptr_t COUNTERS = 1 << 16;
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t counters[COUNTERS];

}  // namespace

// Called by the instrumented code at each edge of its control flow. The linker redirects those calls, since libFuzzer's
// own function of that name only reports that it is not supported.
extern "C" __attribute__((no_sanitize("thread", "coverage"))) void __wrap___sanitizer_cov_trace_pc() {
    auto const place = reinterpret_cast<std::uintptr_t>(__builtin_return_address(0));
    std::uint8_t& counter = counters[(place ^ place >> 16) % COUNTERS];
    if (counter < UINT8_MAX) ++counter;
}
