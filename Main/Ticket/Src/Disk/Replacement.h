// Replaces and deletes a ticket's file.
//
// Atomic save: the bytes go to a temporary file, which is renamed over the file when they are on the disk. Whoever
// opens the file, at any moment, after a crash, while other processes save it, finds one complete save, old or new. If
// anything fails, the old file stays as it was.
//
// A symbolic link is replaced, not followed. Directories, devices, sockets and FIFOs are neither replaced nor deleted.
// Throws std::bad_alloc only. A thread that is being cancelled finishes the call.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Common/Src/ByteStreams.h"
#include "Disk/Keeping.h"
#include "Disk/Outcome.h"

namespace TICKETFILE {

class TEMPORARY_FILE;

// Receives the new content of a file in pieces. The file gets the attributes of AttributesFor; without an old file it
// is the owner's alone (0600), since it may hold a password. Processes and threads that save the same file wait for
// each other, for two seconds at most.
class REPLACEMENT final : public FILE_SINK {
 public:
    explicit REPLACEMENT(std::string fileName);
    // Without a Commit the old file stays.
    ~REPLACEMENT();
    REPLACEMENT(REPLACEMENT const&) = delete;
    REPLACEMENT& operator=(REPLACEMENT const&) = delete;

    // Creates the temporary file at the first piece. Commit reports errors.
    void Take(std::string_view piece) override;
    // Forgets all pieces.
    void Restart();
    // Replaces the file. An old file that should be kept but cannot be is replaced all the same. `misread`: the file
    // that the ticket could not read, if it is known.
    SAVE_OUTCOME Commit(OLD old, std::optional<FILE_ID> const& misread = {});

 private:
    TEMPORARY_FILE& Temporary();

    std::string const m_fileName;
    std::unique_ptr<TEMPORARY_FILE> m_temporary;  // null until the first piece and after Commit
};

// Deletes the file; one that should be kept but cannot be stays. A missing file counts as deleted.
SAVE_OUTCOME Delete(std::string const& fileName, OLD old, std::optional<FILE_ID> const& misread = {});

}  // namespace TICKETFILE
