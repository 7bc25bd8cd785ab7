// The file system calls beneath a file ticket: reading a file whole, replacing it so that no one ever finds half of it,
// and deleting it. It knows bytes and names only; what the bytes mean is the reader's and the writer's business.
#include "TicketImpSFileSave.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

#include "ConfigurationControl/SysLib.h"

namespace TICKETFILE {
namespace {

constexpr mode_t PERMISSION_BITS = 0777;
constexpr mode_t OWNER_ONLY = 0600;
constexpr auto LONGEST_WAIT = std::chrono::seconds(2);
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(5);

// Most calls below are points at which a thread can be cancelled; half way through a save is no place to end, and the
// destructors here could not let it pass.
class UNCANCELLED {
 public:
    UNCANCELLED() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~UNCANCELLED() { pthread_setcancelstate(m_before, nullptr); }
    UNCANCELLED(UNCANCELLED const&) = delete;
    UNCANCELLED& operator=(UNCANCELLED const&) = delete;

 private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

class DESCRIPTOR {
 public:
    DESCRIPTOR() = default;
    explicit DESCRIPTOR(int number) : m_number(number) {}
    DESCRIPTOR(DESCRIPTOR&& source) noexcept : m_number(std::exchange(source.m_number, -1)) {}
    DESCRIPTOR& operator=(DESCRIPTOR&& source) noexcept {
        std::swap(m_number, source.m_number);
        return *this;
    }
    ~DESCRIPTOR() {
        if (m_number >= 0) close(m_number);
    }

    explicit operator bool() const { return m_number >= 0; }
    int Number() const { return m_number; }
    bool Close() { return close(std::exchange(m_number, -1)) == 0; }

 private:
    int m_number = -1;
};

// Repeats a system call that a signal interrupted.
template <typename CALL>
auto Retried(CALL const& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

DESCRIPTOR Open(std::string const& name, int flags, mode_t mode = 0) {
    return DESCRIPTOR(Retried([&] { return open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); }));
}

mode_t ModeFor(std::string const& fileName) {
    struct stat old;
    bool const known = stat(fileName.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    return known ? old.st_mode & PERMISSION_BITS : OWNER_ONLY;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = Retried([&] { return write(file, bytes.data(), bytes.size()); });
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// Reads into the room, which has the size that is expected and a byte more, and a larger one if the file has grown.
bool ReadAll(int file, CONTENT& content) {
    for (;;) {
        if (content.size == content.room.TextSize()) {
            FILE_ROOM larger = FILE_ROOM::WithDocument(2 * content.size);
            std::memcpy(larger.Text(), content.room.Text(), content.size);
            content.room = std::move(larger);
        }
        char* const end = content.room.Text() + content.size;
        ssize_t const count = Retried([&] { return read(file, end, content.room.TextSize() - content.size); });
        if (count <= 0) return count == 0;
        content.size += static_cast<std::size_t>(count);
    }
}

// So that a rename or deletion outlives a crash. Where directories cannot be flushed there is nothing more to do.
void FlushDirectoryOf(std::string const& fileName) {
    std::size_t const slash = fileName.rfind('/');
    std::string const directory = slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
    DESCRIPTOR const opened = Open(directory, O_RDONLY | O_DIRECTORY);
    if (opened) fsync(opened.Number());
}

// The temporary file while it is being written; without `file` if there could be none.
struct TEMPORARY {
    std::string name;
    DESCRIPTOR file;
    DESCRIPTOR lock;  // holds the lock until after the rename, when `file` has long been closed
};

// Whether `file` is what `name` leads to; `found` describes it.
bool IsNamed(int file, std::string const& name, struct stat& found) {
    struct stat named;
    return fstat(file, &found) == 0 && lstat(name.c_str(), &named) == 0 && found.st_dev == named.st_dev &&
           found.st_ino == named.st_ino;
}

// A temporary file of a name that nobody else uses.
TEMPORARY OpenPrivate(std::string name, mode_t mode) {
    name += ".XXXXXX";
    DESCRIPTOR file(mkostemp(name.data(), O_CLOEXEC));
    // Refused only where files have no such bits of their own; then there is nothing to protect by them.
    if (file) fchmod(file.Number(), mode);
    return {std::move(name), std::move(file), {}};
}

// The usual temporary file, locked and emptied. Whoever holds the lock renames the file away before he lets go, so it
// is opened anew for every attempt. When the wait is over, or when the file cannot be locked or is not ours alone, the
// save goes to a file of its own: to write into the same one would mix two saves.
TEMPORARY OpenTemporary(std::string const& name, mode_t mode) {
    auto const deadline = std::chrono::steady_clock::now() + LONGEST_WAIT;
    do {
        DESCRIPTOR file = Open(name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK, OWNER_ONLY);
        if (!file && (errno == EMFILE || errno == ENFILE)) break;
        if (!file) return {name, {}, {}};
        struct stat found;
        if (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) break;
        } else if (IsNamed(file.Number(), name, found)) {
            DESCRIPTOR lock(fcntl(file.Number(), F_DUPFD_CLOEXEC, 0));
            bool const usable = lock && S_ISREG(found.st_mode) && found.st_nlink == 1 &&
                                fchmod(file.Number(), mode) == 0 && ftruncate(file.Number(), 0) == 0;
            if (!usable) break;
            return {name, std::move(file), std::move(lock)};
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    } while (std::chrono::steady_clock::now() < deadline);
    return OpenPrivate(name, mode);
}

// Writes, flushes and closes.
bool WriteOut(DESCRIPTOR& file, std::string_view bytes) {
    bool const written = WriteAll(file.Number(), bytes);
    bool const flushed = written && Retried([&] { return fsync(file.Number()); }) == 0;
    bool const closed = file.Close();
    return flushed && closed;
}

// Moves the old file aside. A directory stays, since nothing here replaces or deletes it.
bool KeepAside(std::string const& fileName) {
    struct stat found;
    bool const directory = lstat(fileName.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
    return directory || rename(fileName.c_str(), (fileName + ".bad").c_str()) == 0 || errno == ENOENT;
}

}  // namespace

CONTENT Read(std::string const& fileName) {
    UNCANCELLED const uncancelled;
    CONTENT content;
    DESCRIPTOR const file = Open(fileName, O_RDONLY | O_NONBLOCK);
    if (!file) {
        content.state = errno == ENOENT || errno == ENOTDIR ? CONTENT::MISSING : CONTENT::UNREADABLE;
        return content;
    }
    struct stat found;
    bool const regular = fstat(file.Number(), &found) == 0 && S_ISREG(found.st_mode);
    // One byte more than expected, so that the end is met without growing.
    if (regular) content.room = FILE_ROOM::WithDocument(static_cast<std::size_t>(found.st_size) + 1);
    content.state = regular && ReadAll(file.Number(), content) ? CONTENT::READ : CONTENT::UNREADABLE;
    return content;
}

bool Replace(std::string const& fileName, std::string_view bytes, OLD old) {
    UNCANCELLED const uncancelled;
    TEMPORARY temporary = OpenTemporary(fileName + ".tmp", ModeFor(fileName));
    bool const complete =
        temporary.file && WriteOut(temporary.file, bytes) && (old == OLD::DISCARD || KeepAside(fileName));
    if (!complete) {
        // The rename must find nothing, or what it finds would pass for a saved ticket.
        bool const removed = unlink(temporary.name.c_str()) == 0 || errno == ENOENT;
        if (!removed) return false;
    }
    SysLib::ForceRename(temporary.name, fileName);
    FlushDirectoryOf(fileName);
    return complete;
}

bool Delete(std::string const& fileName, OLD old) {
    UNCANCELLED const uncancelled;
    bool const gone = old == OLD::KEEP ? KeepAside(fileName) : unlink(fileName.c_str()) == 0 || errno == ENOENT;
    if (gone) FlushDirectoryOf(fileName);
    return gone;
}

}  // namespace TICKETFILE
