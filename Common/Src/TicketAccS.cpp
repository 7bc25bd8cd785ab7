// Typed access to tickets: containers go through a ticket's table in one batch, file names get forward slashes.
#include <algorithm>

#include "ConfigurationControl/TicketAccess.h"

namespace {

void NormaliseFilename(std::string& fileName) {
    std::replace(fileName.begin(), fileName.end(), '\\', '/');
}

}  // namespace

std::string FilenameToTicket(std::string const& fileName) {
    std::string result(fileName);
    NormaliseFilename(result);
    return result;
}

std::string FilenameFromTicket_C(std::string const& fileName) {
    return FilenameToTicket(fileName);
}

void FilenamesToTicket(std::vector<std::string>& out, std::vector<std::string> const& in) {
    if (&out != &in) out = in;
    for (std::string& fileName : out) NormaliseFilename(fileName);
}
