// The result of a save.
#pragma once

namespace TICKETFILE {

// What can fail, in the order in which a save does it. Hosts get these numbers: TICKET_SAVE_STEP.
enum class SAVE_STEP {
    NONE = 0,        // nothing failed
    NUMBER = 1,      // an infinite number cannot be written
    CONVERSION = 2,  // the text conversion threw
    NESTING = 3,     // a load would refuse the file: its keys or its indentation would be too long
    MEMORY = 4,      // out of memory
    OPEN = 5,        // no temporary file could be made
    WRITE = 7,       // the temporary file could not be written
    FLUSH = 8,       // it could not be flushed to disk or closed
    KEEP = 9,        // a file that could not be read cannot be kept, so it is not deleted
    RENAME = 10,     // the temporary file could not be renamed over the file
    REMOVE = 11      // the file of an empty ticket could not be deleted
};

// What became of a file that could not be read.
enum class KEPT {
    NOTHING,  // there was none to keep
    YES,
    NO  // it could not be kept; a save replaces it all the same, a deletion leaves it
};

struct SAVE_OUTCOME {
    SAVE_STEP failed = SAVE_STEP::NONE;
    int error = 0;  // errno of that step
    KEPT kept = KEPT::NOTHING;

    bool Succeeded() const { return failed == SAVE_STEP::NONE; }
};

}  // namespace TICKETFILE
