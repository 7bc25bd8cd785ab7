// How a ticket's file is replaced and deleted.
//
// What replacing guarantees: whoever opens the file, at any moment, after a crash, beside other processes that save the
// same file, finds the content of one complete save, old or new. The bytes go to a temporary file, which is renamed
// over the file when they are on the disk. Whatever fails on the way, the old file stays as it was.
//
// A symbolic link as the file name is replaced itself. What is neither a regular file nor such a link is neither
// replaced nor deleted. Nothing here throws but std::bad_alloc, and a thread that is being cancelled finishes what it
// does here.
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

// A new content of a file on its way, taken in pieces. The file keeps what AttributesFor tells; a new one is the
// owner's alone (0600), since it may hold a password. Processes and threads that save the same file wait for each
// other, for two seconds at most.
class REPLACEMENT final : public FILE_SINK {
 public:
    explicit REPLACEMENT(std::string fileName);
    // Without a Commit nothing has happened to the file.
    ~REPLACEMENT();
    REPLACEMENT(REPLACEMENT const&) = delete;
    REPLACEMENT& operator=(REPLACEMENT const&) = delete;

    // Creates the temporary file at the first piece. Commit reports errors.
    void Take(std::string_view piece) override;
    // Forgets all pieces.
    void Restart();
    // Replaces the file; if that fails, the old one is still there. An old file that cannot be kept is replaced all the
    // same. `misread`: which file the ticket could not read, as far as it is known.
    SAVE_OUTCOME Commit(OLD old, std::optional<FILE_ID> const& misread = {});

 private:
    TEMPORARY_FILE& Temporary();

    std::string const m_fileName;
    std::unique_ptr<TEMPORARY_FILE> m_temporary;  // null until the first piece and after Commit
};

// Deletes the file; one that is to be kept and cannot be stays. A missing file counts as deleted.
SAVE_OUTCOME Delete(std::string const& fileName, OLD old, std::optional<FILE_ID> const& misread = {});

}  // namespace TICKETFILE
