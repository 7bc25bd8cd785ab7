// The text of a value as a ticket file holds it.
#pragma once

#include <string>

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/TicketRecords.h"

// Appends the text of a value that a walk delivered; nothing for null and for types that files do not keep. Texts pass
// through `conversion` first unless it is null. Throws the C string of BestDouble for an infinite number, and whatever
// the conversion throws.
void AppendValue(std::string& out, PARAM_TYPE type, void const* value, STICKET_STRING_CONVERSION* conversion);
