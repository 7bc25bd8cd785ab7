// What people see: colour on terminals, none in pipes; errors on one line.
#pragma once

#include <string>

enum class Colour { none, red, green, yellow };

// The text in a colour when standard output is a terminal and NO_COLOR is not set; else as it is.
std::string Coloured(std::string const& text, Colour colour);

// Tells what went wrong, on standard error.
void Complain(std::string const& text);

// Puts something that cannot be used in the place of standard streams that are closed. Otherwise the next file to be
// opened, a settings file perhaps, would become standard output.
void OccupyStandardStreams();
