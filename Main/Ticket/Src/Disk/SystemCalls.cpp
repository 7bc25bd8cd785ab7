#include "Disk/SystemCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace TICKETFILE {
namespace {

// Numbers up to 2 are the host's streams, even while these are closed: what the host prints would land in the file.
DESCRIPTOR AboveStreams(DESCRIPTOR file) {
    if (!file || file.Number() > STDERR_FILENO) return file;
    return Duplicate(file);
}

}  // namespace

bool DESCRIPTOR::Close() {
    int const number = std::exchange(m_number, -1);
    if (number < 0) return true;
    UNCANCELLED const uncancelled;
    return close(number) == 0;
}

bool IsSameFile(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

DESCRIPTOR Open(std::string const& name, int flags, mode_t mode) {
    return AboveStreams(DESCRIPTOR(Retried([&] { return open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); })));
}

DESCRIPTOR CreateUnique(std::string& name) {
    return AboveStreams(DESCRIPTOR(mkostemp(name.data(), O_CLOEXEC)));
}

DESCRIPTOR Duplicate(DESCRIPTOR const& file) {
    return DESCRIPTOR(fcntl(file.Number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

bool IsShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = Retried([&] { return write(file, bytes.data(), bytes.size()); });
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool FlushAndClose(DESCRIPTOR& file, bool isWritten) {
    bool const flushed = isWritten && Retried([&] { return fsync(file.Number()); }) == 0;
    bool const closed = file.Close();
    return flushed && closed;
}

std::string DirectoryOf(std::string const& fileName) {
    std::size_t const slash = fileName.rfind('/');
    return slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
}

void FlushDirectory(std::string const& directory) {
    DESCRIPTOR const opened = Open(directory, O_RDONLY | O_DIRECTORY);
    if (opened) fsync(opened.Number());
}

}  // namespace TICKETFILE
