// Reads a ticket's file.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

#include "Common/Src/ByteStreams.h"
#include "Disk/SystemCalls.h"

namespace TICKETFILE {

// A file that is open for reading: its content at the opening, even if a save replaces it meanwhile.
class FILE_READER final : public FILE_SOURCE {
 public:
    enum STATE {
        MISSING,     // there is no such file
        UNREADABLE,  // the file cannot be opened or read: no permission, not a regular file; see Error
        OPEN
    };
    // Follows a symbolic link. Waits for a regular file under a lease, but not for the writer of a FIFO. Where the
    // system is short of descriptors or memory, this and Read throw std::bad_alloc: the file may be read later.
    explicit FILE_READER(std::string const& fileName);

    STATE State() const { return m_state; }
    // errno of what failed, here or in Read; EISDIR and EOPNOTSUPP tell what the file is instead. 0 if nothing failed.
    int Error() const { return m_error; }
    std::optional<FILE_ID> const& Id() const { return m_id; }  // none if it is not known
    std::size_t Size() const override { return m_size; }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override;
    // Compares size and time of the last change, which is as exact as the system's clock ticks. False if unknown.
    bool HasChanged() override;

 private:
    DESCRIPTOR m_file;
    STATE m_state;
    std::optional<FILE_ID> m_id;
    std::size_t m_size = 0;
    int m_error = 0;
};

}  // namespace TICKETFILE
