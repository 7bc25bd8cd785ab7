#include "Disk/SystemCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace TICKETFILE {
namespace {

constexpr auto LEASE_POLL_INTERVAL = std::chrono::milliseconds(5);

// Moves a descriptor above the standard streams, even while these are closed: the host's output would reach the file.
DESCRIPTOR AboveStreams(DESCRIPTOR file) {
    if (!file || file.Number() > STDERR_FILENO) return file;
    return Duplicate(file);
}

// The same for a new file, which is removed if descriptors are exhausted.
DESCRIPTOR AboveStreams(DESCRIPTOR made, std::string const& name) {
    bool const isMade = static_cast<bool>(made);
    DESCRIPTOR file = AboveStreams(std::move(made));
    if (file || !isMade) return file;
    int const error = errno;
    unlink(name.c_str());
    errno = error;
    return file;
}

bool IsRegular(std::string const& name) {
    struct stat found;
    return stat(name.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

}  // namespace

bool DESCRIPTOR::Close() {
    int const number = std::exchange(m_number, -1);
    if (number < 0) return true;
    UNCANCELLED const uncancelled;
    return close(number) == 0;
}

FILE_ID IdOf(struct stat const& file) {
    return {file.st_dev, file.st_ino, file.st_size, file.st_mtim};
}

bool IsSameFile(FILE_ID const& id, struct stat const& file) {
    return id.device == file.st_dev && id.number == file.st_ino;
}

bool IsSameFile(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool IsSameTime(timespec const& a, timespec const& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

int WrongKind(mode_t mode) {
    if (S_ISREG(mode) || S_ISLNK(mode)) return 0;
    return S_ISDIR(mode) ? EISDIR : EOPNOTSUPP;
}

bool IsTrusted(uid_t owner) {
    return owner == 0 || owner == geteuid();
}

int ObstacleAt(std::string const& fileName) {
    struct stat found;
    return lstat(fileName.c_str(), &found) == 0 ? WrongKind(found.st_mode) : 0;
}

bool IsAppendOnly(std::string const& directory) {
    struct statx found;
    bool const isKnown = statx(AT_FDCWD, directory.c_str(), 0, 0, &found) == 0;
    return isKnown && (found.stx_attributes & STATX_ATTR_APPEND) != 0;
}

DESCRIPTOR Open(std::string const& name, int flags) {
    return AboveStreams(DESCRIPTOR(Retried([&] { return open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0); })));
}

// The first attempt makes the system ask the holder of the lease to give it up, and take it from a holder that does
// not. So this ends when a blocking open would, but does not wait for a FIFO that takes the name meanwhile.
DESCRIPTOR OpenToRead(std::string const& name, int flags) {
    for (;;) {
        DESCRIPTOR file = Open(name, O_RDONLY | O_NONBLOCK | flags);
        if (file || errno != EWOULDBLOCK) return file;
        if (!IsRegular(name)) {
            errno = EWOULDBLOCK;
            return file;
        }
        std::this_thread::sleep_for(LEASE_POLL_INTERVAL);
    }
}

DESCRIPTOR Create(std::string const& name) {
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY;
    return AboveStreams(DESCRIPTOR(Retried([&] { return open(name.c_str(), FLAGS, S_IRUSR | S_IWUSR); })), name);
}

DESCRIPTOR CreateUnique(std::string& name) {
    return AboveStreams(DESCRIPTOR(mkostemp(name.data(), O_CLOEXEC)), name);
}

DESCRIPTOR Duplicate(DESCRIPTOR const& file) {
    return DESCRIPTOR(fcntl(file.Number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

bool IsShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        errno = EIO;  // for a write that writes nothing and does not say why
        ssize_t const written = Retried([&] { return write(file, bytes.data(), bytes.size()); });
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool FlushAndClose(DESCRIPTOR& file, bool isWritten) {
    bool const flushed = isWritten && Retried([&] { return fsync(file.Number()); }) == 0;
    int const error = errno;
    bool const closed = file.Close();
    if (isWritten && !flushed) errno = error;
    return flushed && closed;
}

void FlushDirectory(std::string const& directory) {
    DESCRIPTOR const opened = Open(directory, O_RDONLY | O_DIRECTORY);
    if (opened) fsync(opened.Number());
}

}  // namespace TICKETFILE
