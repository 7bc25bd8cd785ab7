// Colour for people, none for pipes.
#pragma once

#include <string>

enum class Colour { none, red, green, yellow };

// The text in a colour when standard output is a terminal and NO_COLOR is not set; else as it is.
std::string Coloured(std::string const& text, Colour colour);
