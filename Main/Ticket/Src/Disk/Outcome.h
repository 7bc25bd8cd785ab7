// What became of a save.
#pragma once

namespace TICKETFILE {

// What can fail, in the order in which a save does it.
enum class SAVE_STEP {
    NONE,     // nothing failed
    CONTENT,  // a value cannot be written: an infinite number, or the text conversion threw
    MEMORY,   // memory did not suffice, or the file would be out of proportion
    OPEN,     // no temporary file could be made
    WRITE,    // the temporary file could not be written
    FLUSH,    // it could not be flushed to disk or closed
    KEEP,     // a file that could not be read cannot be kept, so it is not deleted
    RENAME,   // the temporary file could not be renamed over the file
    REMOVE    // the file of an empty ticket could not be deleted
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
