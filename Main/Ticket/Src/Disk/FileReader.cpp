#include "Disk/FileReader.h"

#include <unistd.h>

#include <new>
#include <utility>

namespace TICKETFILE {

// Opening a device can make it act, so its kind is checked before. Another file can have the name by the time it is
// opened, so the kind is checked again.
FILE_READER::FILE_READER(std::string const& fileName) {
    UNCANCELLED const uncancelled;
    struct stat found;
    auto const learn = [&](int result) {
        m_error = result == 0 ? WrongKind(found.st_mode) : errno;
        if (result == 0) m_id = IdOf(found);
    };
    learn(stat(fileName.c_str(), &found));
    if (m_error == 0) {
        m_file = OpenToRead(fileName);
        if (m_file)
            learn(fstat(m_file.Number(), &found));
        else
            m_error = errno;
    }
    if (IsShortage(m_error)) throw std::bad_alloc();
    bool const isMissing = m_error == ENOENT || m_error == ENOTDIR;
    m_state = m_error == 0 ? OPEN : isMissing ? MISSING : UNREADABLE;
    if (m_state == OPEN) m_size = static_cast<std::size_t>(found.st_size);
}

std::optional<std::size_t> FILE_READER::Read(std::size_t begin, char* bytes, std::size_t size) {
    UNCANCELLED const uncancelled;
    std::size_t done = 0;
    while (done < size) {
        std::size_t const position = begin + done;
        if (position == m_size && m_size > 0) break;  // the end, unless the system did not know the size
        ssize_t const count =
            Retried([&] { return pread(m_file.Number(), bytes + done, size - done, static_cast<off_t>(position)); });
        if (count < 0 && IsShortage(errno)) throw std::bad_alloc();
        if (count < 0) {
            m_error = errno;
            return std::nullopt;
        }
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

bool FILE_READER::HasChanged() {
    UNCANCELLED const uncancelled;
    struct stat now;
    if (fstat(m_file.Number(), &now) != 0) return false;
    FILE_ID const before = std::exchange(*m_id, IdOf(now));
    m_size = static_cast<std::size_t>(now.st_size);
    return before.size != now.st_size || !IsSameTime(before.modified, now.st_mtim);
}

}  // namespace TICKETFILE
