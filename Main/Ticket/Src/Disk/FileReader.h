// Reading a ticket's file.
#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

#include "Common/Src/ByteStreams.h"
#include "Disk/SystemCalls.h"

namespace TICKETFILE {

// A file that is open for reading. What is read is its content at the opening, even if a save replaces the file
// meanwhile.
class FILE_READER final : public FILE_SOURCE {
 public:
    enum STATE {
        MISSING,     // there is no such file
        UNREADABLE,  // there is one, but its bytes cannot be had: no permission, not a regular file
        OPEN
    };
    // Follows a symbolic link. Does not wait for whoever should write to a pipe of that name. Where the system is short
    // of descriptors or memory, this and Read throw std::bad_alloc: the file may be read later.
    explicit FILE_READER(std::string const& fileName);

    STATE State() const { return m_state; }
    std::optional<FILE_ID> const& Id() const { return m_id; }  // none while nothing is open
    std::size_t Size() const override { return m_size; }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override;
    // Compares the file's size and the time of its last change, which is as exact as the system's clock ticks. False if
    // the system does not tell them.
    bool HasChanged() override;

 private:
    DESCRIPTOR m_file;
    STATE m_state;
    std::optional<FILE_ID> m_id;
    std::size_t m_size = 0;
    timespec m_modified{};
};

}  // namespace TICKETFILE
