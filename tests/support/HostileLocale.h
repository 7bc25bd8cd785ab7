// A host that has changed the locale of C++ and, as far as one is installed, of C: decimal comma and grouped digits.
#pragma once

#include <clocale>
#include <locale>
#include <string>

class HostileLocale {
 public:
    HostileLocale() : m_previousC(std::setlocale(LC_ALL, nullptr)) {
        m_previous = std::locale::global(std::locale(std::locale::classic(), new CommasAndDots));
        for (char const* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "pt_BR.UTF-8"})
            if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
    ~HostileLocale() {
        std::locale::global(m_previous);
        std::setlocale(LC_ALL, m_previousC.c_str());
    }
    HostileLocale(HostileLocale const&) = delete;
    HostileLocale& operator=(HostileLocale const&) = delete;

 private:
    struct CommasAndDots : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::string m_previousC;
    std::locale m_previous;
};
