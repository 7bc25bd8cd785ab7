// Reads a ticket file: calls a set function for each stored value.
#pragma once

#include "Common/Src/ByteStreams.h"
#include "Format/Leaf.h"
#include "Format/XmlReader.h"

// Reads the text of a ticket file and hands its values to the receiver. A file as a save writes it is read in one pass;
// any other file goes through the XML library from the first byte on that a save would not have written. The values and
// their order are those that the XML library alone would give. When the source changes meanwhile, all is dropped and
// read again. Unless the result IsRead, nothing is left set. Throws std::bad_alloc, also if the source changed during
// each of four attempts, and what the receiver throws.
READ_RESULT ReadTicket(FILE_SOURCE& source, LEAF_RECEIVER const& receiver);
