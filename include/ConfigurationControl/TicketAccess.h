/** @file
 * Typed access to tickets: whole containers and file names in one call.
 */
#ifndef CONFIGURATIONCONTROL_TICKETACCESS_H
#define CONFIGURATIONCONTROL_TICKETACCESS_H

#include <string>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

/** A copy of `fileName` as tickets keep it: every backslash becomes "/". */
CONFIGURATIONCONTROL_API std::string FilenameToTicket(std::string const& fileName);
/** A copy of a ticket's file name for the host: every backslash becomes "/", as tickets of other makers may hold it. */
CONFIGURATIONCONTROL_API std::string FilenameFromTicket_C(std::string const& fileName);
/** Fills `out` with the names of `in`, in order, each as FilenameToTicket returns it. Both may be the same vector. */
CONFIGURATIONCONTROL_API void FilenamesToTicket(std::vector<std::string>& out, std::vector<std::string> const& in);

#endif
