// Writes the text of a value.
#pragma once

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/TicketRecords.h"
#include "Format/TextBuffer.h"

// Appends the text of a value that a walk delivered; EMPTY_TEXT for an empty one, for null and for types that files do
// not keep. Texts pass through `conversion` first unless it is null. Throws the C string of BestDouble for an infinite
// number, std::bad_alloc, and whatever the conversion or the buffer's sink throws.
void PutValue(TEXT_BUFFER& text, PARAM_TYPE type, void const* value, STICKET_STRING_CONVERSION* conversion);
