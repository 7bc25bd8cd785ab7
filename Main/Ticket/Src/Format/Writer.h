// Writes a whole ticket file, with the writer that its keys need.
#pragma once

#include "Format/StreamWriter.h"
#include "Format/TreeWriter.h"

// `walk(callback, writer)` walks all parameters at WALK_EVERYTHING in ascending order of keys, a second time if the
// keys need a tree, and returns whether it could. `file` is a FILE_SINK whose Restart() drops everything that it has
// taken. Texts pass through `conversion`, and `log` receives a message for each key whose last component is empty; both
// may be null. Returns whether the file is complete. Throws as the writers do.
template <typename SINK, typename WALK>
[[nodiscard]] bool WriteTicket(SINK& file, STICKET_STRING_CONVERSION* conversion, TREE_WRITER::LOG log,
                               WALK const& walk) {
    STREAM_WRITER stream(conversion, &file);
    bool const isWalked = walk(&STREAM_WRITER::SaveOne, &stream);
    if (!stream.IsRefused()) {
        if (isWalked) file.Take(stream.Finish().View());
        return isWalked;
    }
    file.Restart();
    TREE_WRITER tree(conversion, log);
    if (!walk(&TREE_WRITER::SaveOne, &tree)) return false;
    file.Take(tree.Serialise(&file).View());
    return true;
}
