// The file that a save writes before it is renamed over the ticket's file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Disk/Outcome.h"
#include "Disk/SystemCalls.h"

namespace TICKETFILE {

// Created exclusively (O_EXCL) with mode 0600, so that no other process has it open; gets the attributes of the old
// file when it is complete. After the first failure, all calls do nothing.
class TEMPORARY_FILE {
 public:
    // Makes the file TemporaryName(fileName) and locks it, so that processes and threads that save the same file take
    // turns. An unlocked file of that name was left behind by a killed save, and is removed. After two seconds, or at
    // once if the name cannot be used or a user other than root has locked its file, the new file gets a unique name
    // and no lock. The save is refused if a directory has the temporary name, or if `fileName` is of a WrongKind.
    explicit TEMPORARY_FILE(std::string const& fileName);
    // Removes the file unless it was renamed.
    ~TEMPORARY_FILE();
    TEMPORARY_FILE(TEMPORARY_FILE const&) = delete;
    TEMPORARY_FILE& operator=(TEMPORARY_FILE const&) = delete;

    void Write(std::string_view bytes);
    // Forgets what was written.
    void Restart();
    // Completes the file: gives it the attributes of the old one, flushes and closes it. `isMarked`: marks it, see
    // MarkAsSaved. Throws std::bad_alloc.
    void Finish(bool isMarked);
    // Renames it over the old file. If anything failed, removes it.
    void Rename();

    SAVE_OUTCOME const& Outcome() const { return m_outcome; }

 private:
    enum class TURN { MINE, NEXT, WAIT, REFUSED };

    void Open();
    TURN TakeTurn();
    TURN RemoveLeftOver();
    void OpenUnique();
    void Describe();
    bool IsStillNamed();
    void Remove();
    void Fail(SAVE_STEP step, int error);

    std::string const m_target;
    std::string m_name;
    DESCRIPTOR m_file;
    DESCRIPTOR m_lock;          // holds the lock until after the rename, when m_file has long been closed
    std::size_t m_waiting = 0;  // bytes that the disk has not been asked to write
    FILE_ID m_id{};
    bool m_exists = false;  // under m_name
    SAVE_OUTCOME m_outcome;
};

}  // namespace TICKETFILE
