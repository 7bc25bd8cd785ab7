// How a change reaches a file safely.
#pragma once

#include <functional>
#include <string>

#include "TicketFile.h"

// Changes a file, or makes it. The changed ticket is written and read back in memory first: when it would not come back
// as it is, nothing is written and FAILURE says which key differs. `force` writes all the same. One tool at a time
// changes the files of a directory; a link is followed, and the owner stays.
void Rewrite(std::string const& path, bool force, std::function<void(TICKET&)> const& change);
