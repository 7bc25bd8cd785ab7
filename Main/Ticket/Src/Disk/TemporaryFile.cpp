#include "Disk/TemporaryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "Disk/Attributes.h"
#include "Disk/FileNames.h"
#include "Disk/Keeping.h"

namespace TICKETFILE {
namespace {

constexpr auto LONGEST_WAIT = std::chrono::seconds(2);
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(5);
constexpr mode_t OWNER_ONLY = 0600;
constexpr mode_t ALL_MODE_BITS = 07777;

enum class NAMED { NO, YES, UNKNOWN };

// Whether `file` is what `name` leads to; `found` describes it.
NAMED IsNamed(DESCRIPTOR const& file, std::string const& name, struct stat& found) {
    struct stat named;
    if (fstat(file.Number(), &found) != 0) return NAMED::UNKNOWN;
    if (lstat(name.c_str(), &named) != 0) return errno == ENOENT ? NAMED::NO : NAMED::UNKNOWN;
    return IsSameFile(found, named) ? NAMED::YES : NAMED::NO;
}

enum class CLAIM { MINE, BUSY, REFUSED };

// Locks the file. The previous holder of the lock renames or removes the file before unlocking, so the name may lead to
// another file by then. Neither waits for a lock of another user, who may have planted it, nor removes that user's
// file, whose save would fail.
CLAIM Claim(DESCRIPTOR const& file, std::string const& name) {
    bool const isLocked = flock(file.Number(), LOCK_EX | LOCK_NB) == 0;
    if (!isLocked && errno != EWOULDBLOCK) return CLAIM::REFUSED;
    struct stat found;
    NAMED const named = IsNamed(file, name, found);
    if (named == NAMED::NO) return CLAIM::BUSY;
    bool const isOfASave = named == NAMED::YES && S_ISREG(found.st_mode) && found.st_nlink == 1;
    if (!isOfASave) return CLAIM::REFUSED;
    if (isLocked) return CLAIM::MINE;
    return IsTrusted(found.st_uid) ? CLAIM::BUSY : CLAIM::REFUSED;
}

}  // namespace

TEMPORARY_FILE::TEMPORARY_FILE(std::string const& fileName) : m_target(fileName), m_name(TemporaryName(fileName)) {
    if (int const error = ObstacleAt(fileName))
        Fail(SAVE_STEP::RENAME, error);
    else if (IsAppendOnly(DirectoryOf(fileName)))
        Fail(SAVE_STEP::OPEN, EPERM);  // the new file could be neither renamed nor removed
    else
        Open();
    if (m_outcome.Succeeded()) Describe();
}

TEMPORARY_FILE::~TEMPORARY_FILE() {
    Remove();
}

// Never writes into the file of another save, which would mix the two.
void TEMPORARY_FILE::Open() {
    auto const deadline = std::chrono::steady_clock::now() + LONGEST_WAIT;
    do {
        TURN const turn = TakeTurn();
        if (turn == TURN::MINE || !m_outcome.Succeeded()) return;
        if (turn == TURN::REFUSED) break;
        if (turn == TURN::WAIT) std::this_thread::sleep_for(POLL_INTERVAL);
    } while (std::chrono::steady_clock::now() < deadline);
    OpenUnique();
}

// Another save may find the new file before it is locked here, take it for a left-over and remove it.
TEMPORARY_FILE::TURN TEMPORARY_FILE::TakeTurn() {
    DESCRIPTOR made = Create(m_name);
    if (!made) return errno == EEXIST ? RemoveLeftOver() : TURN::REFUSED;
    CLAIM const claim = Claim(made, m_name);
    if (claim == CLAIM::BUSY) return TURN::WAIT;
    if (claim == CLAIM::MINE) m_lock = Duplicate(made);
    if (m_lock) {
        m_file = std::move(made);
        m_exists = true;
        return TURN::MINE;
    }
    struct stat found;
    if (IsNamed(made, m_name, found) == NAMED::YES) unlink(m_name.c_str());
    return TURN::REFUSED;
}

// Does not write to the left-over file: another process may have it open, another user may have planted it. If it is
// read-only, as the ticket's file was, it is opened for reading, which suffices to lock it except on network file
// systems.
TEMPORARY_FILE::TURN TEMPORARY_FILE::RemoveLeftOver() {
    constexpr int FLAGS = O_NOFOLLOW | O_NONBLOCK;
    DESCRIPTOR found = TICKETFILE::Open(m_name, O_WRONLY | FLAGS);
    if (!found && errno == EACCES) found = TICKETFILE::Open(m_name, O_RDONLY | FLAGS);
    if (!found) {
        if (errno == EISDIR) Fail(SAVE_STEP::OPEN, EISDIR);
        return errno == ENOENT ? TURN::NEXT : TURN::REFUSED;
    }
    CLAIM const claim = Claim(found, m_name);
    if (claim == CLAIM::BUSY) return TURN::WAIT;
    bool const isRemoved = claim == CLAIM::MINE && unlink(m_name.c_str()) == 0;
    return isRemoved ? TURN::NEXT : TURN::REFUSED;
}

void TEMPORARY_FILE::OpenUnique() {
    m_name = UniqueTemporaryName(m_target);
    m_file = CreateUnique(m_name);
    m_exists = static_cast<bool>(m_file);
    if (!m_file) Fail(SAVE_STEP::OPEN, errno);
}

// The umask of the process may have removed bits that later calls need.
void TEMPORARY_FILE::Describe() {
    struct stat found;
    if (fstat(m_file.Number(), &found) != 0) return Fail(SAVE_STEP::OPEN, errno);
    m_id = IdOf(found);
    if ((found.st_mode & ALL_MODE_BITS) != OWNER_ONLY) fchmod(m_file.Number(), OWNER_ONLY);
}

void TEMPORARY_FILE::Write(std::string_view bytes) {
    if (!m_outcome.Succeeded()) return;
    if (!WriteAll(m_file.Number(), bytes)) return Fail(SAVE_STEP::WRITE, errno);
    constexpr std::size_t WORTH_A_CALL = std::size_t{128} << 10;
    m_waiting += bytes.size();
    if (m_waiting < WORTH_A_CALL) return;
    // Lets the disk work while the next bytes are being made. Only a hint: the flush at the end counts.
    sync_file_range(m_file.Number(), 0, 0, SYNC_FILE_RANGE_WRITE);
    m_waiting = 0;
}

void TEMPORARY_FILE::Restart() {
    if (!m_outcome.Succeeded()) return;
    int const file = m_file.Number();
    if (lseek(file, 0, SEEK_SET) != 0 || ftruncate(file, 0) != 0) Fail(SAVE_STEP::WRITE, errno);
}

void TEMPORARY_FILE::Finish(bool isMarked) {
    if (m_outcome.Succeeded()) {
        if (isMarked) MarkAsSaved(m_file.Number());
        GiveAttributes(m_file.Number(), AttributesFor(m_target));
    }
    bool const isWritten = m_outcome.Succeeded();
    if (!FlushAndClose(m_file, isWritten)) Fail(SAVE_STEP::FLUSH, errno);
}

void TEMPORARY_FILE::Rename() {
    if (m_outcome.Succeeded() && IsStillNamed()) {
        if (int const error = ObstacleAt(m_target))
            Fail(SAVE_STEP::RENAME, error);
        else if (rename(m_name.c_str(), m_target.c_str()) != 0)
            Fail(SAVE_STEP::RENAME, errno);
        else
            m_exists = false;
    }
    Remove();
}

// Any user who may write to the directory can have put another file there.
bool TEMPORARY_FILE::IsStillNamed() {
    struct stat named;
    if (lstat(m_name.c_str(), &named) != 0) {
        m_exists = errno != ENOENT;
        Fail(SAVE_STEP::RENAME, errno);
    } else if (!IsSameFile(m_id, named)) {
        m_exists = false;
        Fail(SAVE_STEP::RENAME, ESTALE);
    }
    return m_outcome.Succeeded();
}

void TEMPORARY_FILE::Remove() {
    if (m_exists) unlink(m_name.c_str());
    m_exists = false;
}

void TEMPORARY_FILE::Fail(SAVE_STEP step, int error) {
    if (!m_outcome.Succeeded()) return;
    m_outcome.failed = step;
    m_outcome.error = error;
}

}  // namespace TICKETFILE
