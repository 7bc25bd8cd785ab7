// Preloaded into test programs by scripts/locale_and_char_suite: sets the locale TEST_LOCALE for C and
// C++ before main, as a host for users of that language does. "grouping": decimal comma and grouped digits, for C++
// only.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <stdexcept>
#include <string>

namespace {

struct COMMAS_AND_DOTS : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Only test programs: system programs such as ctest keep their locale.
bool IsTested() {
    char const* const root = std::getenv("TEST_PROGRAMS");
    char* const program = realpath("/proc/self/exe", nullptr);
    bool const tested = root && program && std::string(program).rfind(root, 0) == 0;
    free(program);
    return tested;
}

struct HOST {
    HOST() {
        char const* const name = std::getenv("TEST_LOCALE");
        if (!name || !IsTested()) return;
        try {
            if (std::string(name) == "grouping")
                std::locale::global(std::locale(std::locale::classic(), new COMMAS_AND_DOTS));
            else
                std::locale::global(std::locale(name));
        } catch (std::runtime_error const&) {
            std::fprintf(stderr, "no locale %s\n", name);
            std::_Exit(2);
        }
    }
} const g_host;

}  // namespace
