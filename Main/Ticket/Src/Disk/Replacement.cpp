#include "Disk/Replacement.h"

#include <unistd.h>

#include <utility>

#include "Disk/FileNames.h"
#include "Disk/SystemCalls.h"
#include "Disk/TemporaryFile.h"

namespace TICKETFILE {
namespace {

bool Exists(std::string const& name) {
    struct stat found;
    return lstat(name.c_str(), &found) == 0;
}

SAVE_OUTCOME DeleteOrKeep(std::string const& fileName, OLD old, std::optional<FILE_ID> const& misread) {
    if (int const error = ObstacleAt(fileName)) return {SAVE_STEP::REMOVE, error, KEPT::NOTHING};
    if (old == OLD::KEEP && !WasSavedSince(fileName, misread)) {
        KEPT const kept = MoveAside(fileName);
        if (kept == KEPT::NO) return {SAVE_STEP::KEEP, errno, kept};
        return {SAVE_STEP::NONE, 0, kept};
    }
    if (unlink(fileName.c_str()) != 0 && errno != ENOENT) return {SAVE_STEP::REMOVE, errno, KEPT::NOTHING};
    return {};
}

}  // namespace

REPLACEMENT::REPLACEMENT(std::string fileName) : m_fileName(std::move(fileName)) {}

REPLACEMENT::~REPLACEMENT() {
    UNCANCELLED const uncancelled;
    m_temporary.reset();
}

TEMPORARY_FILE& REPLACEMENT::Temporary() {
    if (!m_temporary) m_temporary = std::make_unique<TEMPORARY_FILE>(m_fileName);
    return *m_temporary;
}

void REPLACEMENT::Take(std::string_view piece) {
    UNCANCELLED const uncancelled;
    Temporary().Write(piece);
}

void REPLACEMENT::Restart() {
    UNCANCELLED const uncancelled;
    if (m_temporary) m_temporary->Restart();
}

// Allocates before the rename: nothing may throw after it.
SAVE_OUTCOME REPLACEMENT::Commit(OLD old, std::optional<FILE_ID> const& misread) {
    UNCANCELLED const uncancelled;
    std::string const directory = DirectoryOf(m_fileName);
    bool const isMarked = old == OLD::KEEP || Exists(KeptName(m_fileName));
    TEMPORARY_FILE& temporary = Temporary();
    temporary.Finish(isMarked);
    KEPT kept = KEPT::NOTHING;
    bool const keeps = temporary.Outcome().Succeeded() && old == OLD::KEEP && !WasSavedSince(m_fileName, misread);
    if (keeps) kept = Keep(m_fileName);
    temporary.Rename();
    SAVE_OUTCOME outcome = temporary.Outcome();
    outcome.kept = kept;
    FlushDirectory(directory);
    m_temporary.reset();
    return outcome;
}

SAVE_OUTCOME Delete(std::string const& fileName, OLD old, std::optional<FILE_ID> const& misread) {
    UNCANCELLED const uncancelled;
    std::string const directory = DirectoryOf(fileName);
    SAVE_OUTCOME const outcome = DeleteOrKeep(fileName, old, misread);
    if (outcome.Succeeded()) FlushDirectory(directory);
    return outcome;
}

}  // namespace TICKETFILE
