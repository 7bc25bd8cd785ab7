// Output for people: colours on terminals, none in pipes; control characters escaped; each error on one line.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

enum class COLOUR { NONE, RED, GREEN, YELLOW };

// Text in a colour, or as it is where standard output has none.
struct COLOURED {
    std::string_view text;
    COLOUR colour;
};
std::ostream& operator<<(std::ostream& out, COLOURED const& coloured);

// Decides whether std::cout has colours: "always", "never", or "auto": on a terminal, unless NO_COLOR is set.
void UseColour(std::string_view when);

class TERMINAL_BUFFER;

// Standard output while it lives. On a terminal, whatever is printed to std::cout is shown with escapes in place of
// characters that would control the terminal; into pipes and files it goes as it is.
class OUTPUT {
 public:
    OUTPUT();
    ~OUTPUT();
    OUTPUT(OUTPUT const&) = delete;
    OUTPUT& operator=(OUTPUT const&) = delete;

    // Prints what is left and waits for a pager; throws FAILURE when standard output could not be written.
    void Finish();

    // Whether a person reads standard output.
    static bool IsForPeople();
    // Shows more than a screen of text in a pager.
    static void UsePager();

 private:
    std::unique_ptr<TERMINAL_BUFFER> m_terminal;  // null where standard output is no terminal
};

// Tells what went wrong, on standard error.
void Complain(std::string const& text);
// Prints a note on standard error.
void Note(std::string const& text);

// Puts something that cannot be used in the place of standard streams that are closed. Otherwise the next file to be
// opened, a settings file perhaps, would become standard output.
void OccupyStandardStreams();
