/** @file
 * The file of a ticket::Store: the lock that programs take around a save, the load, the merge. C++17, POSIX.
 */
#ifndef CONFIGURATIONCONTROL_STORE_FILE_H
#define CONFIGURATIONCONTROL_STORE_FILE_H

#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Ticket.h"
#include "ConfigurationControl/TicketServices.h"

namespace ticket::detail {

/** The directory of a file name. */
inline std::string directory_of(std::string const& file) {
    std::size_t const slash = file.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : file.substr(0, slash);
}

/** Whether a file can have this name; the system would cut it at a NUL. */
inline bool is_file_name(std::string const& file) {
    return !file.empty() && file.find('\0') == std::string::npos;
}

/** A file name that means the same file after a change of the working directory. */
inline std::string absolute(std::string file) {
    if (file.empty() || file.front() == '/') return file;
    char* const directory = getcwd(nullptr, 0);
    if (directory == nullptr) return file;
    std::string whole = directory;
    std::free(directory);
    return whole + "/" + file;
}

/** Calls `attempt()` until it returns true, at most for `wait`. Returns what it returned last. */
template <typename Attempt>
bool succeeds_within(std::chrono::milliseconds wait, Attempt&& attempt) {
    auto const now = [] {  // milliseconds of a clock that nobody sets
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
    };
    std::int64_t const begin = now();
    while (!attempt()) {
        if (now() - begin >= wait.count()) return false;
        timespec const pause{0, 2000000};
        nanosleep(&pause, nullptr);
    }
    return true;
}

/**
 * The turn of one save among those of a store, whose threads would otherwise undo each other's saves where the
 * directory cannot be locked. A flag instead of a mutex because the wait has an end.
 */
class SaveTurn {
 public:
    /** Waits for the turn, at most `wait`. `flag` is false while no save is under way. */
    SaveTurn(bool& flag, std::chrono::milliseconds wait)
        : m_flag(succeeds_within(wait, [&] { return !__atomic_test_and_set(&flag, __ATOMIC_ACQUIRE); }) ? &flag
                                                                                                        : nullptr) {}
    ~SaveTurn() { release(); }
    SaveTurn(SaveTurn const&) = delete;
    SaveTurn& operator=(SaveTurn const&) = delete;

    /** Whether the wait ended without it. */
    bool is_taken() const { return m_flag == nullptr; }
    /** Ends the turn before the end of this object. */
    void release() {
        if (m_flag != nullptr) __atomic_clear(m_flag, __ATOMIC_RELEASE);
        m_flag = nullptr;
    }

 private:
    bool* m_flag;
};

/**
 * The advisory lock on a file's directory, which every store takes around a save, and the command-line tool too. It
 * goes with the process, however that ends. Where a directory cannot be opened or locked, there is none to take.
 */
class DirectoryLock {
 public:
    /** Waits for the lock, at most `wait`. */
    DirectoryLock(std::string const& file, std::chrono::milliseconds wait)
        : m_directory(open(directory_of(file).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        m_taken = !succeeds_within(wait, [&] {
            return m_directory < 0 || flock(m_directory, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
        });
    }
    ~DirectoryLock() { release(); }
    DirectoryLock(DirectoryLock const&) = delete;
    DirectoryLock& operator=(DirectoryLock const&) = delete;

    /** Whether another program kept it until the end of the wait. */
    bool is_taken() const { return m_taken; }
    /** Releases it before the end of this object. */
    void release() {
        if (m_directory >= 0) close(m_directory);
        m_directory = -1;
    }

 private:
    int m_directory;
    bool m_taken = false;
};

/** What kept a step of a save from being done, for those that have no errno; indexed by TICKET_SAVE_STEP. */
inline constexpr char const* SAVE_STEPS[] = {
    nullptr,
    "not saved: a file keeps no infinite number",
    "not saved: the text conversion failed",
    "not saved: the keys are too deep or too long to be loaded again",
    "not saved: memory is short",
    "not saved: the temporary file cannot be made",
    "not saved: the temporary file cannot be locked",
    "not saved: the temporary file cannot be written",
    "not saved: the temporary file cannot be flushed to disk",
    "not saved: the unreadable file cannot be kept",
    "not saved: the temporary file cannot be renamed over the file",
    "not saved: the file cannot be deleted",
};

/** What was wrong with a file that a load did not read as a whole; indexed by TICKET_LOAD_STATE. */
inline constexpr char const* LOAD_PROBLEMS[] = {
    nullptr,
    nullptr,
    nullptr,
    "not loaded",
    "not loaded: not a ticket file",
    "not loaded as a whole: a NUL byte cuts the file",
    "not loaded: nested too deep",
    "not loaded as a whole: the text conversion failed",
};

/** What became of a ticket's last save. */
inline TICKET_SAVE_OUTCOME last_save(Table table) {
    TICKET_SAVE_OUTCOME outcome{sizeof(TICKET_SAVE_OUTCOME), TICKET_SAVE_OK, 0, 0};
    TicketGetSaveOutcome(table, &outcome);
    return outcome;
}

/** Whether the last save failed at the disk: then the ticket counts as saved, and its destruction does not save. */
inline bool was_tried_on_disk(Table table) {
    return last_save(table).nStep >= TICKET_SAVE_OPEN;
}

/** Saves a ticket, and tells what became of it. */
inline Result save_table(Table table, std::string const& subject) {
    if (table == nullptr) return Result(Reason::no_ticket, subject);
    bool const answered = table->Operation(table->pTicket, STICKET_OP_SAVE, nullptr) != 0;
    TICKET_SAVE_OUTCOME const outcome = last_save(table);
    if (answered && outcome.nStep == TICKET_SAVE_OK) return {};
    Reason const reason = outcome.nStep == TICKET_SAVE_MEMORY ? Reason::no_memory : Reason::system;
    // "viewer.xml: No space left on device" says it all; of other steps, it helps to know which one it was.
    bool const is_plain = outcome.nStep == TICKET_SAVE_WRITE || outcome.nStep == TICKET_SAVE_FLUSH;
    if (is_plain && outcome.nError != 0) return Result(reason, subject, nullptr, outcome.nError);
    bool const is_known = outcome.nStep != TICKET_SAVE_OK && outcome.nStep < std::size(SAVE_STEPS);
    return Result(reason, subject, is_known ? SAVE_STEPS[outcome.nStep] : "not saved", outcome.nError);
}

/** A file ticket for the time of one load or save. */
template <typename Lazy>
class BasicFileTicket {
 public:
    explicit BasicFileTicket(std::string const& file) : m_file(file), m_table(STicketInstance.Create(file.c_str())) {}
    /** Destroys the ticket, unless it holds what must not be saved: destruction saves what is unsaved. */
    ~BasicFileTicket() {
        if (!m_abandoned) STicketInstance.Destroy(m_table);
    }
    BasicFileTicket(BasicFileTicket const&) = delete;
    BasicFileTicket& operator=(BasicFileTicket const&) = delete;

    Table table() const { return m_table; }
    /**
     * Reads the file. A missing or empty file is read as one without values, and is no failure. A file that was read in
     * part is Reason::unreadable, too, and what was read is there.
     */
    Result load() {
        if (m_table->Operation(m_table->pTicket, STICKET_OP_COUNT, &m_count) == 0)
            return Result(Reason::no_memory, m_file, "not loaded: memory or file descriptors are short");
        TICKET_LOAD_OUTCOME outcome{sizeof(TICKET_LOAD_OUTCOME), TICKET_LOAD_LOADED, 0, 0, 0};
        TicketGetLoadOutcome(m_table, &outcome);
        bool const known = outcome.nState < std::size(LOAD_PROBLEMS);
        char const* const problem = known ? LOAD_PROBLEMS[outcome.nState] : nullptr;
        return problem != nullptr ? Result(Reason::unreadable, m_file, problem, outcome.nError) : Result();
    }
    /** Whether the last load found values. */
    bool is_loaded() const { return m_count != 0; }
    /** Stores the batch and saves. */
    Result save(BasicBatch<Lazy>& batch, bool whole) {
        // Destroying it half stored, or after a refused save, would save what was reported as not saved. A leak is the
        // lesser evil.
        m_abandoned = true;
        std::vector<std::string> failed;
        if (whole) m_table->Operation(m_table->pTicket, STICKET_OP_CLEAR, nullptr);
        if (!batch.store(m_table, failed)) return Result(Reason::no_memory, m_file, "not saved: memory is short");
        Result saved = save_table(m_table, m_file);
        m_abandoned = !saved && !was_tried_on_disk(m_table);
        if (saved) m_table->Operation(m_table->pTicket, STICKET_OP_COUNT, &m_count);
        return saved;
    }

 private:
    std::string const& m_file;
    Table m_table;
    unsigned int m_count = 0;
    bool m_abandoned = false;
};

}  // namespace ticket::detail

#endif
