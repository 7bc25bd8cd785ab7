// How a change reaches a file safely.
#pragma once

#include <functional>
#include <string>

#include "CommandLine.h"
#include "TicketFile.h"

// Changes a file, or makes it. The changed ticket is written and read back in memory first: when it would not come back
// as it is, nothing is written and FAILURE says which key differs. One tool at a time changes the files of a directory;
// a link is followed, and the owner stays. The options --force, --dry-run and --backup have their say.
void Rewrite(std::string const& path, ARGUMENTS const& arguments, std::function<void(TICKET&)> const& change);
