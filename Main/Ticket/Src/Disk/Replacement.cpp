// The file system calls beneath a file ticket: reading a file, replacing it so that no one ever finds half of it,
// and deleting it. It knows bytes and names only; what the bytes mean is the reader's and the writer's business.
#include "Disk/Replacement.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace TICKETFILE {
namespace {

constexpr mode_t PERMISSION_BITS = 0777;
constexpr mode_t ALL_MODE_BITS = 07777;
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

// Repeats a system call that a signal interrupted.
template <typename CALL>
auto Retried(CALL const& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

// Numbers up to 2 are the host's streams, also while these are closed: what somebody prints would land in the file.
DESCRIPTOR BehindStreams(DESCRIPTOR file) {
    if (!file || file.Number() > STDERR_FILENO) return file;
    return DESCRIPTOR(fcntl(file.Number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

DESCRIPTOR Open(std::string const& name, int flags, mode_t mode = 0) {
    return BehindStreams(DESCRIPTOR(Retried([&] { return open(name.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); })));
}

// Whether the system is short of something that comes back: no reason to take a file for unreadable.
bool IsShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
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

// Takes memory, so it is asked before the first rename: what has been renamed must not end in an exception.
std::string DirectoryOf(std::string const& fileName) {
    std::size_t const slash = fileName.rfind('/');
    return slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
}

// So that a rename or deletion outlives a crash. Where directories cannot be flushed there is nothing more to do.
void Flush(std::string const& directory) {
    DESCRIPTOR const opened = Open(directory, O_RDONLY | O_DIRECTORY);
    if (opened) fsync(opened.Number());
}

}  // namespace

// The temporary file while it is being written; without `file` if there could be none.
struct TEMPORARY {
    std::string name;
    DESCRIPTOR file;
    DESCRIPTOR lock;          // holds the lock until after the rename, when `file` has long been closed
    std::size_t waiting = 0;  // bytes that the disk has not been asked to write
    bool failed = false;
    bool exists = false;  // under its name, which is to be removed
};

namespace {

enum class NAMED { NO, YES, UNKNOWN };

bool AreOne(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Whether `file` is what `name` leads to; `found` describes it.
NAMED IsNamed(int file, std::string const& name, struct stat& found) {
    struct stat named;
    if (fstat(file, &found) != 0) return NAMED::UNKNOWN;
    if (lstat(name.c_str(), &named) != 0) return errno == ENOENT ? NAMED::NO : NAMED::UNKNOWN;
    return AreOne(found, named) ? NAMED::YES : NAMED::NO;
}

// A temporary file of a name that nobody else uses.
TEMPORARY OpenPrivate(std::string name, mode_t mode) {
    name += ".XXXXXX";
    DESCRIPTOR file = BehindStreams(DESCRIPTOR(mkostemp(name.data(), O_CLOEXEC)));
    // Refused only where files have no such bits of their own; then there is nothing to protect by them.
    if (file) fchmod(file.Number(), mode);
    return {std::move(name), std::move(file), {}};
}

// Gives the file, which `found` describes, this mode and no content. A new one mostly has both.
bool MakeNew(int file, struct stat const& found, mode_t mode) {
    bool const hasMode = (found.st_mode & ALL_MODE_BITS) == mode || fchmod(file, mode) == 0;
    return hasMode && (found.st_size == 0 || ftruncate(file, 0) == 0);
}

struct USUAL {
    DESCRIPTOR file;
    bool isNew;
};

// The usual temporary file, which may be one that is there.
USUAL OpenUsual(std::string const& name) {
    constexpr int FLAGS = O_WRONLY | O_NOFOLLOW | O_NONBLOCK;
    for (;;) {
        DESCRIPTOR made = Open(name, FLAGS | O_CREAT | O_EXCL, OWNER_ONLY);
        if (made || errno != EEXIST) return {std::move(made), true};
        DESCRIPTOR found = Open(name, FLAGS);
        if (found || errno != ENOENT) return {std::move(found), false};
    }
}

enum class CLAIM { MINE, BUSY, REFUSED };

// Locks and empties it. Whoever holds the lock renames the file away before he lets go, so the name may lead elsewhere.
CLAIM Claim(int file, std::string const& name, mode_t mode) {
    if (flock(file, LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK ? CLAIM::BUSY : CLAIM::REFUSED;
    struct stat found;
    NAMED const named = IsNamed(file, name, found);
    if (named != NAMED::YES) return named == NAMED::NO ? CLAIM::BUSY : CLAIM::REFUSED;
    bool const isOurs = S_ISREG(found.st_mode) && found.st_nlink == 1;
    return isOurs && MakeNew(file, found, mode) ? CLAIM::MINE : CLAIM::REFUSED;
}

// The usual temporary file, opened anew for every attempt. When the wait is over, or when the file cannot be opened or
// locked or is not ours alone, the save goes to a file of its own: to write into the same one would mix two saves. A
// directory of that name is somebody's will, and refuses the save as a full disk would.
TEMPORARY OpenTemporary(std::string name, mode_t mode) {
    auto const deadline = std::chrono::steady_clock::now() + LONGEST_WAIT;
    do {
        USUAL usual = OpenUsual(name);
        if (!usual.file && errno == EISDIR) return {};
        if (!usual.file) break;
        CLAIM const claim = Claim(usual.file.Number(), name, mode);
        if (claim != CLAIM::BUSY) {
            DESCRIPTOR lock(claim == CLAIM::MINE ? fcntl(usual.file.Number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1);
            if (lock) return {std::move(name), std::move(usual.file), std::move(lock)};
            if (usual.isNew) unlink(name.c_str());
            break;
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    } while (std::chrono::steady_clock::now() < deadline);
    return OpenPrivate(std::move(name), mode);
}

// Lets the disk work while the next pieces are being made. Only a hint: the flush at the end counts.
void BeginWriteBack(TEMPORARY& temporary) {
    constexpr std::size_t WORTH_A_CALL = std::size_t{128} << 10;
    if (temporary.waiting < WORTH_A_CALL) return;
    sync_file_range(temporary.file.Number(), 0, 0, SYNC_FILE_RANGE_WRITE);
    temporary.waiting = 0;
}

// Flushes what was written whole, and closes.
bool Finish(DESCRIPTOR& file, bool written) {
    bool const flushed = written && Retried([&] { return fsync(file.Number()); }) == 0;
    bool const closed = file.Close();
    return flushed && closed;
}

// Keeping an old file

std::string KeptName(std::string const& fileName) {
    return fileName + ".unreadable";
}

// Leaves no `from` behind, also where both are names of one file, which a rename leaves alone.
bool MoveOver(std::string const& from, std::string const& to) {
    bool const moved = rename(from.c_str(), to.c_str()) == 0;
    unlink(from.c_str());
    return moved;
}

// A second name for the file itself, or for a link if that is what it is.
bool KeepByLink(std::string const& fileName, std::string const& kept) {
    TEMPORARY const free = OpenPrivate(kept, OWNER_ONLY);  // its name is what matters
    if (!free.file || unlink(free.name.c_str()) != 0) return false;
    return link(fileName.c_str(), free.name.c_str()) == 0 && MoveOver(free.name, kept);
}

bool CopyAll(int from, int to) {
    std::array<char, 16384> bytes;
    for (;;) {
        ssize_t const count = Retried([&] { return read(from, bytes.data(), bytes.size()); });
        if (count <= 0) return count == 0;
        if (!WriteAll(to, {bytes.data(), static_cast<std::size_t>(count)})) return false;
    }
}

bool KeepByCopy(std::string const& fileName, std::string const& kept) {
    DESCRIPTOR const file = Open(fileName, O_RDONLY | O_NONBLOCK);
    struct stat found;
    if (!file || fstat(file.Number(), &found) != 0 || !S_ISREG(found.st_mode)) return false;
    TEMPORARY copy = OpenPrivate(kept, found.st_mode & PERMISSION_BITS);
    if (!copy.file) return false;
    bool const whole = Finish(copy.file, CopyAll(file.Number(), copy.file.Number()));
    if (whole) return MoveOver(copy.name, kept);
    unlink(copy.name.c_str());
    return false;
}

// Whether the name still leads to the file that could not be read. Another one is the work of somebody who has kept
// that before replacing it; to keep his would lose the first.
bool IsStill(std::string const& fileName, std::optional<FILE_ID> const& misread) {
    struct stat found;
    if (!misread || stat(fileName.c_str(), &found) != 0) return true;
    return found.st_dev == misread->device && found.st_ino == misread->number;
}

// Keeps a file that is about to be replaced, and leaves it where it is. Only somebody else's file, which may be neither
// linked nor read, is moved away first: to be without a file for a moment is better than to lose it. A directory is
// never replaced.
KEPT Keep(std::string const& fileName, std::string const& directory) {
    std::string const kept = KeptName(fileName);
    struct stat old;
    struct stat earlier;
    bool const isKnown = lstat(fileName.c_str(), &old) == 0;
    if (isKnown ? S_ISDIR(old.st_mode) : errno == ENOENT) return KEPT::NOTHING;
    bool const isKept = isKnown && lstat(kept.c_str(), &earlier) == 0 && AreOne(old, earlier);
    bool const done = isKept || KeepByLink(fileName, kept) || KeepByCopy(fileName, kept) ||
                      (isKnown && rename(fileName.c_str(), kept.c_str()) == 0);
    if (!done) return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
    Flush(directory);
    return KEPT::YES;
}

// Keeps a file that is to go.
KEPT MoveAside(std::string const& fileName) {
    std::string const kept = KeptName(fileName);
    struct stat found;
    struct stat earlier;
    bool const isKnown = lstat(fileName.c_str(), &found) == 0;
    if (isKnown && S_ISDIR(found.st_mode)) return KEPT::NOTHING;
    // A rename leaves both names of one file alone.
    bool const isKept = isKnown && lstat(kept.c_str(), &earlier) == 0 && AreOne(found, earlier);
    int const failed = isKept ? unlink(fileName.c_str()) : rename(fileName.c_str(), kept.c_str());
    if (failed == 0) return KEPT::YES;
    return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
}

}  // namespace

bool DESCRIPTOR::Close() {
    int const number = std::exchange(m_number, -1);
    if (number < 0) return true;
    UNCANCELLED const uncancelled;
    return close(number) == 0;
}

CONTENT::CONTENT(std::string const& fileName) {
    UNCANCELLED const uncancelled;
    m_file = Open(fileName, O_RDONLY | O_NONBLOCK);
    if (!m_file && IsShortage(errno)) throw std::bad_alloc();
    bool const isMissing = !m_file && (errno == ENOENT || errno == ENOTDIR);
    struct stat found;
    bool const isKnown = m_file && fstat(m_file.Number(), &found) == 0;
    if (isKnown) m_id = FILE_ID{found.st_dev, found.st_ino};
    bool const isRegular = isKnown && S_ISREG(found.st_mode);
    if (isRegular) m_size = static_cast<std::size_t>(found.st_size);
    m_state = isRegular ? OPEN : isMissing ? MISSING : UNREADABLE;
}

std::optional<std::size_t> CONTENT::Read(std::size_t begin, char* bytes, std::size_t size) {
    UNCANCELLED const uncancelled;
    std::size_t done = 0;
    while (done < size) {
        std::size_t const place = begin + done;
        if (place == m_size && m_size > 0) break;  // the end, unless the system did not know better
        ssize_t const count =
            Retried([&] { return pread(m_file.Number(), bytes + done, size - done, static_cast<off_t>(place)); });
        if (count < 0 && IsShortage(errno)) throw std::bad_alloc();
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

REPLACEMENT::REPLACEMENT(std::string fileName) : m_fileName(std::move(fileName)) {}

REPLACEMENT::~REPLACEMENT() {
    UNCANCELLED const uncancelled;
    if (m_temporary && m_temporary->exists) unlink(m_temporary->name.c_str());
}

void REPLACEMENT::Open() {
    m_temporary = std::make_unique<TEMPORARY>();
    *m_temporary = OpenTemporary(m_fileName + ".tmp", ModeFor(m_fileName));
    m_temporary->exists = static_cast<bool>(m_temporary->file);
}

void REPLACEMENT::Take(std::string_view piece) {
    UNCANCELLED const uncancelled;
    if (!m_temporary) Open();
    TEMPORARY& temporary = *m_temporary;
    if (temporary.failed) return;
    temporary.failed = !temporary.file || !WriteAll(temporary.file.Number(), piece);
    temporary.waiting += piece.size();
    if (!temporary.failed) BeginWriteBack(temporary);
}

void REPLACEMENT::Restart() {
    UNCANCELLED const uncancelled;
    if (!m_temporary || m_temporary->failed) return;
    int const file = m_temporary->file.Number();
    m_temporary->failed = lseek(file, 0, SEEK_SET) != 0 || ftruncate(file, 0) != 0;
}

bool REPLACEMENT::Commit(OLD old, KEPT* kept, std::optional<FILE_ID> const& misread) {
    UNCANCELLED const uncancelled;
    std::string const directory = DirectoryOf(m_fileName);
    if (!m_temporary) Open();
    TEMPORARY& temporary = *m_temporary;
    bool const complete = temporary.file && Finish(temporary.file, !temporary.failed);
    bool replaced = false;
    if (complete) {
        bool const isKept = old == OLD::KEEP && IsStill(m_fileName, misread);
        KEPT const done = isKept ? Keep(m_fileName, directory) : KEPT::NOTHING;
        if (kept != nullptr) *kept = done;
        replaced = rename(temporary.name.c_str(), m_fileName.c_str()) == 0;
    }
    if (temporary.exists && !replaced) unlink(temporary.name.c_str());
    Flush(directory);
    m_temporary.reset();
    return replaced;
}

bool Delete(std::string const& fileName, OLD old, KEPT* kept, std::optional<FILE_ID> const& misread) {
    UNCANCELLED const uncancelled;
    std::string const directory = DirectoryOf(fileName);
    bool const isKept = old == OLD::KEEP && IsStill(fileName, misread);
    KEPT const done = isKept ? MoveAside(fileName) : KEPT::NOTHING;
    if (kept != nullptr) *kept = done;
    bool const gone = isKept ? done != KEPT::NO : unlink(fileName.c_str()) == 0 || errno == ENOENT;
    if (gone) Flush(directory);
    return gone;
}

}  // namespace TICKETFILE
