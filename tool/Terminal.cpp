// Decides once whether standard output wants colour.
#include "Terminal.h"

#include <unistd.h>

#include <cstdlib>

std::string Coloured(std::string const& text, Colour colour) {
    static bool const wanted = isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
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
