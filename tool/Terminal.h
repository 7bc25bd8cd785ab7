// What people see: colour on terminals, none in pipes; nothing that would control a terminal; errors on one line.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

enum class COLOUR { NONE, RED, GREEN, YELLOW };

// Text in a colour; printed to std::cout without colour where that is no terminal or NO_COLOR is set.
struct COLOURED {
    std::string_view text;
    COLOUR colour;
};
std::ostream& operator<<(std::ostream& out, COLOURED const& coloured);

class TERMINAL_BUFFER;

// Standard output while it lives. On a terminal, whatever is printed to std::cout is shown with escapes in place of
// characters that would control the terminal; into pipes and files it goes as it is.
class OUTPUT {
 public:
    OUTPUT();
    ~OUTPUT();
    OUTPUT(OUTPUT const&) = delete;
    OUTPUT& operator=(OUTPUT const&) = delete;

    // Whether a person reads standard output.
    static bool IsForPeople();

 private:
    std::unique_ptr<TERMINAL_BUFFER> m_terminal;  // null where standard output is no terminal
};

// Tells what went wrong, on standard error.
void Complain(std::string const& text);

// Puts something that cannot be used in the place of standard streams that are closed. Otherwise the next file to be
// opened, a settings file perhaps, would become standard output.
void OccupyStandardStreams();
