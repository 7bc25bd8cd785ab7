/** @file
 * An interface for hosts that convert the text of a ticket file, for instance between character sets.
 */
#ifndef CONFIGURATIONCONTROL_STRINGCONVERSION_H
#define CONFIGURATIONCONTROL_STRINGCONVERSION_H

#include "ConfigurationControl/CxxOnly.h"

#include <string>

/**
 * Passed as STICKET_WHOAMI::pContext of a file ticket (as a pointer to exactly this class). The ticket does not own it;
 * it must outlive the ticket, whose destruction may still save. Called with the ticket's mutex held, on the thread
 * whose call saves or loads; it must not use that ticket. Only text is converted, neither keys nor byte strings. The
 * order of the two operations is part of the binary interface.
 *
 * An exception from `ToFile` stops the save and leaves the file as it was. While the ticket is destroyed it ends the
 * process, unless it is std::bad_alloc. An exception from `FromFile` skips that value, and the first save then keeps
 * the old file with ".unreadable" appended to its name; std::bad_alloc ends the load, which the next access tries
 * again.
 */
class STICKET_STRING_CONVERSION {
 public:
    /**
     * Converts a stored text, the empty one included, to what the file keeps. A save may convert a text twice. Do not
     * save the same file through another ticket here: the running save may hold the lock of its temporary file, so the
     * other one waits for two seconds, and its file is replaced when the first one ends.
     */
    virtual std::string ToFile(std::string const& text) = 0;
    /**
     * Converts a non-empty text of the file to what the ticket stores, up to its first NUL. `reserved` is 0. A load
     * calls it once for each text that it keeps, in the order of the file; again for all of them if the file is changed
     * in place meanwhile. Texts of a file that then proves broken are dropped.
     */
    virtual std::string FromFile(std::string const& text, int reserved) = 0;

 protected:
    ~STICKET_STRING_CONVERSION() = default;
};

#endif
