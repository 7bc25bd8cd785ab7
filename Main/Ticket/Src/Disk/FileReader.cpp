#include "Disk/FileReader.h"

#include <unistd.h>

#include <new>
#include <utility>

namespace TICKETFILE {

FILE_READER::FILE_READER(std::string const& fileName) {
    UNCANCELLED const uncancelled;
    struct stat found {};
    m_file = OpenToRead(fileName);
    m_error = m_file ? 0 : errno;
    if (IsShortage(m_error)) throw std::bad_alloc();
    if (m_error == ENOENT || m_error == ENOTDIR) {
        m_state = MISSING;
        return;
    }
    bool const isKnown = m_file ? fstat(m_file.Number(), &found) == 0 : stat(fileName.c_str(), &found) == 0;
    if (isKnown)
        m_id = IdOf(found);
    else if (m_error == 0)
        m_error = errno;
    if (m_error == 0) m_error = WrongKind(found.st_mode);
    m_state = m_error == 0 ? OPEN : UNREADABLE;
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
