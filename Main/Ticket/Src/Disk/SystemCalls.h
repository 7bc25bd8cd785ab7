// System calls that file operations share: descriptors, repeated and uncancelled calls, whole writes, flushes.
//
// Functions that fail leave the reason in errno.
#pragma once

#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>

namespace TICKETFILE {

// Disables cancellation of the calling thread for its scope. Most system calls are cancellation points: a thread must
// not end half way through a save, and the exception of a cancellation cannot leave a destructor.
class UNCANCELLED {
 public:
    UNCANCELLED() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~UNCANCELLED() { pthread_setcancelstate(m_before, nullptr); }
    UNCANCELLED(UNCANCELLED const&) = delete;
    UNCANCELLED& operator=(UNCANCELLED const&) = delete;

 private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

// Repeats a system call that a signal interrupted.
template <typename CALL>
auto Retried(CALL const& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

// A file descriptor, closed with its owner.
class DESCRIPTOR {
 public:
    DESCRIPTOR() = default;
    explicit DESCRIPTOR(int number) : m_number(number) {}
    DESCRIPTOR(DESCRIPTOR&& source) noexcept : m_number(std::exchange(source.m_number, -1)) {}
    DESCRIPTOR& operator=(DESCRIPTOR&& source) noexcept {
        std::swap(m_number, source.m_number);
        return *this;
    }
    ~DESCRIPTOR() { Close(); }

    explicit operator bool() const { return m_number >= 0; }
    int Number() const { return m_number; }
    bool Close();

 private:
    int m_number = -1;
};

// Identifies a file, whatever its name, and recognises a copy of it.
struct FILE_ID {
    dev_t device;
    ino_t number;
    off_t size;
    timespec modified;
};

FILE_ID IdOf(struct stat const& file);
bool IsSameFile(FILE_ID const& id, struct stat const& file);
bool IsSameFile(struct stat const& a, struct stat const& b);
bool IsSameTime(timespec const& a, timespec const& b);

// Why something of this kind is not a settings file: EISDIR for a directory, EOPNOTSUPP for a device, a socket or a
// FIFO; 0 for a regular file or a symbolic link.
int WrongKind(mode_t mode);

// Whether the owner is this user, or root, who could change the file anyway.
bool IsTrusted(uid_t owner);

// WrongKind of what has the name; a link is not followed. 0 if nothing has it.
int ObstacleAt(std::string const& fileName);

// Whether a directory is append-only: files can be made in it, but neither renamed nor removed.
bool IsAppendOnly(std::string const& directory);

// Opens a file. No descriptor of this room has the number of a standard stream.
DESCRIPTOR Open(std::string const& name, int flags);

// Opens a file for reading. Waits for the holder of a lease on a regular file, but not for the writer of a FIFO.
DESCRIPTOR OpenToRead(std::string const& name, int flags = 0);

// Makes and opens a file with mode 0600 for writing. Fails with EEXIST if anything has the name.
DESCRIPTOR Create(std::string const& name);

// The same under a unique name: `name` ends in "XXXXXX", which is replaced.
DESCRIPTOR CreateUnique(std::string& name);

// A second descriptor of an open file.
DESCRIPTOR Duplicate(DESCRIPTOR const& file);

// Whether the system is short of descriptors or memory: the call may succeed later.
bool IsShortage(int error);

// False if the bytes could not all be written.
bool WriteAll(int file, std::string_view bytes);

// Flushes to disk, unless the writing failed, and closes. False unless all three succeeded.
bool FlushAndClose(DESCRIPTOR& file, bool isWritten);

// Makes renames and deletions in a directory outlive a crash. Where directories cannot be flushed nothing happens.
void FlushDirectory(std::string const& directory);

}  // namespace TICKETFILE
