// A host that has changed the locales of C++ and C: decimal comma and grouped digits.
#pragma once

#include <clocale>
#include <cstdlib>
#include <locale>
#include <string>

#include "ScratchDirectory.h"

class HostileLocale {
 public:
    HostileLocale() : m_previousC(std::setlocale(LC_ALL, nullptr)) {
        m_previous = std::locale::global(std::locale(std::locale::classic(), new CommasAndDots));
        static OwnLocaleOfC const s_own;
        std::setlocale(LC_NUMERIC, s_own.NAME);
    }
    ~HostileLocale() {
        std::locale::global(m_previous);
        std::setlocale(LC_ALL, m_previousC.c_str());
    }
    HostileLocale(HostileLocale const&) = delete;
    HostileLocale& operator=(HostileLocale const&) = delete;

    // Whether the C locale has changed, too; false only where no such locale can be generated.
    static bool HoldsInC() { return std::localeconv()->decimal_point == std::string(","); }

 private:
    struct CommasAndDots : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    // Few machines have such a locale installed, so it is generated.
    struct OwnLocaleOfC {
        static constexpr char const* NAME = "hostile";
        SCRATCH_DIRECTORY m_directory;

        OwnLocaleOfC() {
            m_directory.Write("source",
                              "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n");
            // By default localedef writes the host's byte order, which differs from that of a test under an emulator.
            constexpr bool IS_BIG_ENDIAN = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
            std::string const order = IS_BIG_ENDIAN ? "--big-endian" : "--little-endian";
            std::string const command = "localedef -c " + order + " -i '" + m_directory.Path("source") +
                                        "' --no-archive '" + m_directory.Path(NAME) + "' >/dev/null 2>&1";
            // localedef reports missing categories as errors; setlocale shows whether it has worked.
            static_cast<void>(std::system(command.c_str()) == 0);
            char const* const others = std::getenv("LOCPATH");
            setenv("LOCPATH", (m_directory.Path() + (others ? std::string(":") + others : "")).c_str(), 1);
        }
    };

    std::string m_previousC;
    std::locale m_previous;
};
