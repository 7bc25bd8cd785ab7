// The classic locale for text that a test formats itself, while the program runs under a host's locale.
#pragma once

#include <locale.h>

#include <string>

// Sets the C locale of the calling thread while an object exists.
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
