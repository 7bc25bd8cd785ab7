// Decides once whether standard output wants colour, and keeps the standard streams in order.
#include "Terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "Values.h"

namespace {

bool WantsColour() {
    char const* const no = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (no == nullptr || *no == '\0');
}

}  // namespace

std::string Coloured(std::string const& text, Colour colour) {
    static bool const wanted = WantsColour();
    if (!wanted) return text;
    switch (colour) {
        case Colour::red:
            return "\033[31m" + text + "\033[0m";
        case Colour::green:
            return "\033[32m" + text + "\033[0m";
        case Colour::yellow:
            return "\033[33m" + text + "\033[0m";
        default:
            return text;
    }
}

void Complain(std::string const& text) {
    std::cerr << "ticket: " + Printable(text) + "\n";
}

void OccupyStandardStreams() {
    for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) >= 0) continue;
        // The lowest free number is this one; opened the wrong way round, every use of it fails as it should.
        if (open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
    }
}
