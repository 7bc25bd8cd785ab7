// Replacing a ticket's file so that nobody ever finds half of it, and deleting it.
#include "Disk/Replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "Disk/SystemCalls.h"

namespace TICKETFILE {
namespace {

constexpr mode_t PERMISSION_BITS = 0777;
constexpr mode_t ALL_MODE_BITS = 07777;
constexpr mode_t OWNER_ONLY = 0600;
constexpr auto LONGEST_WAIT = std::chrono::seconds(2);
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(5);

mode_t ModeFor(std::string const& fileName) {
    struct stat old;
    bool const known = stat(fileName.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    return known ? old.st_mode & PERMISSION_BITS : OWNER_ONLY;
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

// Whether `file` is what `name` leads to; `found` describes it.
NAMED IsNamed(int file, std::string const& name, struct stat& found) {
    struct stat named;
    if (fstat(file, &found) != 0) return NAMED::UNKNOWN;
    if (lstat(name.c_str(), &named) != 0) return errno == ENOENT ? NAMED::NO : NAMED::UNKNOWN;
    return IsSameFile(found, named) ? NAMED::YES : NAMED::NO;
}

// A temporary file of a name that nobody else uses.
TEMPORARY OpenPrivate(std::string name, mode_t mode) {
    name += ".XXXXXX";
    DESCRIPTOR file = CreateUnique(name);
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
            DESCRIPTOR lock = claim == CLAIM::MINE ? Duplicate(usual.file) : DESCRIPTOR();
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

}  // namespace

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
    bool const complete = temporary.file && FlushAndClose(temporary.file, !temporary.failed);
    bool replaced = false;
    if (complete) {
        bool const isKept = old == OLD::KEEP && IsStill(m_fileName, misread);
        KEPT const done = isKept ? Keep(m_fileName) : KEPT::NOTHING;
        if (kept != nullptr) *kept = done;
        replaced = rename(temporary.name.c_str(), m_fileName.c_str()) == 0;
    }
    if (temporary.exists && !replaced) unlink(temporary.name.c_str());
    FlushDirectory(directory);
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
    if (gone) FlushDirectory(directory);
    return gone;
}

}  // namespace TICKETFILE
