// How a change reaches a file safely.
#pragma once

#include <functional>
#include <string>

#include "CommandLine.h"
#include "TicketFile.h"

// Changes a file, or makes it. The changed ticket is written and read back in memory first: when the round trip
// changes a value, nothing is written and FAILURE names the key. One tool at a time changes the files of a directory;
// a link is followed, and the owner stays. Obeys --force, --dry-run and --backup.
void Rewrite(std::string const& path, ARGUMENTS const& arguments, std::function<void(TICKET&)> const& change);
