// The classic locale for what a test formats itself, whatever locale the host has that it plays.
#pragma once

#include <locale.h>

#include <string>

// For the thread that makes it, while it lives.
class CLASSIC_LOCALE {
 public:
    CLASSIC_LOCALE() : m_classic(newlocale(LC_ALL_MASK, "C", nullptr)), m_before(uselocale(m_classic)) {}
    ~CLASSIC_LOCALE() {
        uselocale(m_before);
        freelocale(m_classic);
    }
    CLASSIC_LOCALE(CLASSIC_LOCALE const&) = delete;
    CLASSIC_LOCALE& operator=(CLASSIC_LOCALE const&) = delete;

 private:
    locale_t m_classic;
    locale_t m_before;
};

template <typename NUMBER>
std::string ClassicText(NUMBER number) {
    CLASSIC_LOCALE const classic;
    return std::to_string(number);
}
