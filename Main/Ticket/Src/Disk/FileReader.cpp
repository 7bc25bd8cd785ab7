#include "Disk/FileReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <new>

namespace TICKETFILE {

FILE_READER::FILE_READER(std::string const& fileName) {
    UNCANCELLED const uncancelled;
    m_file = Open(fileName, O_RDONLY | O_NONBLOCK);
    if (!m_file && IsShortage(errno)) throw std::bad_alloc();
    bool const isMissing = !m_file && (errno == ENOENT || errno == ENOTDIR);
    struct stat found;
    bool const isKnown = m_file && fstat(m_file.Number(), &found) == 0;
    if (isKnown) m_id = FILE_ID{found.st_dev, found.st_ino};
    bool const isRegular = isKnown && S_ISREG(found.st_mode);
    if (isRegular) m_size = static_cast<std::size_t>(found.st_size);
    if (isRegular) m_modified = found.st_mtim;
    m_state = isRegular ? OPEN : isMissing ? MISSING : UNREADABLE;
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
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

bool FILE_READER::HasChanged() {
    UNCANCELLED const uncancelled;
    struct stat now;
    if (fstat(m_file.Number(), &now) != 0) return false;
    auto const size = static_cast<std::size_t>(now.st_size);
    timespec const& modified = now.st_mtim;
    bool const isSame =
        size == m_size && modified.tv_sec == m_modified.tv_sec && modified.tv_nsec == m_modified.tv_nsec;
    m_size = size;
    m_modified = modified;
    return !isSame;
}

}  // namespace TICKETFILE
