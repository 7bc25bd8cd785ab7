// How a ticket's file is replaced and deleted.
//
// What replacing guarantees: whoever opens the file, at any moment, after a crash, beside other processes that save the
// same file, finds the content of one complete save, old or new. The bytes go to the file name with ".tmp" appended and
// are renamed over the file when they are on the disk. Whatever fails on the way, the old file stays as it was.
//
// A symbolic link as the file name is followed when reading and replaced itself when saving. Nothing here throws but
// std::bad_alloc, and a thread that is being cancelled finishes what it does here.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Common/Src/ByteStreams.h"
#include "Disk/Keeping.h"

namespace TICKETFILE {

struct TEMPORARY;

// A new content of a file on its way, taken in pieces. The file keeps its permission bits; a new one is the owner's
// alone (0600), since it may hold a password. Processes and threads that save the same file wait for each other, for
// two seconds at most.
class REPLACEMENT final : public FILE_SINK {
 public:
    explicit REPLACEMENT(std::string fileName);
    // Without a Commit nothing has happened to the file.
    ~REPLACEMENT();
    REPLACEMENT(REPLACEMENT const&) = delete;
    REPLACEMENT& operator=(REPLACEMENT const&) = delete;

    // Opens the temporary file at the first piece. What goes wrong with it is told by Commit.
    void Take(std::string_view piece) override;
    // Forgets all pieces.
    void Restart();
    // Replaces the file. Returns false if the old file is still there. An old file that cannot be kept is replaced all
    // the same.
    bool Commit(OLD old, KEPT* kept = nullptr, std::optional<FILE_ID> const& misread = {});

 private:
    void Open();

    std::string const m_fileName;
    std::unique_ptr<TEMPORARY> m_temporary;  // null until the first piece and after Commit
};

// Deletes the file; a directory of that name stays, and so does a file that is to be kept and cannot be. Returns false
// if it could not.
bool Delete(std::string const& fileName, OLD old, KEPT* kept = nullptr, std::optional<FILE_ID> const& misread = {});

}  // namespace TICKETFILE
