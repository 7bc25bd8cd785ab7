/** @file
 * The file of a ticket::Store: the lock that programs take around a save, the load, the merge. C++17, POSIX.
 */
#ifndef CONFIGURATIONCONTROL_STORE_FILE_H
#define CONFIGURATIONCONTROL_STORE_FILE_H

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Ticket.h"

namespace ticket::detail {

/** The directory of a file name. */
inline std::string directory_of(std::string const& file) {
    std::size_t const slash = file.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : file.substr(0, slash);
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

/**
 * The advisory lock on a file's directory, which every store takes around a save, and the command-line tool too. It
 * goes with the process, however that ends. Where a directory cannot be opened or locked, there is none to take.
 */
class DirectoryLock {
 public:
    /** Waits for the lock, at most `wait`. */
    DirectoryLock(std::string const& file, std::chrono::milliseconds wait)
        : m_directory(open(directory_of(file).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        auto const deadline = std::chrono::steady_clock::now() + wait;
        while (m_directory >= 0 && flock(m_directory, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            if (std::chrono::steady_clock::now() >= deadline) {
                m_taken = true;
                return;
            }
            timespec const pause{0, 2000000};
            nanosleep(&pause, nullptr);
        }
    }
    ~DirectoryLock() {
        if (m_directory >= 0) close(m_directory);
    }
    DirectoryLock(DirectoryLock const&) = delete;
    DirectoryLock& operator=(DirectoryLock const&) = delete;

    /** Whether another program kept it until the end of the wait. */
    bool is_taken() const { return m_taken; }

 private:
    int m_directory;
    bool m_taken = false;
};

/** What tells one version of a file from another. */
struct FileVersion {
    struct stat found {};
    bool exists = false;

    static FileVersion of(std::string const& file) {
        FileVersion version;
        version.exists = stat(file.c_str(), &version.found) == 0;
        return version;
    }
    bool operator==(FileVersion const& other) const {
        auto const& a = found;
        auto const& b = other.found;
        return exists == other.exists && a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
               a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
    }
};

/** All keys of a ticket. With the mutex held. */
template <typename Key = std::string>
std::vector<Key> keys_of(Table table) {
    std::vector<Key> keys;
    walk_keys(table, [&](char const* key) {
        keys.emplace_back(key);
        return true;
    });
    return keys;
}

/** Saves a ticket, and tells what became of it. */
inline Result save_table(Table table, std::string const& subject) {
    if (table == nullptr) return Result(Reason::no_ticket, subject);
    if (table->Operation(table->pTicket, STICKET_OP_SAVE, nullptr) == 0)
        return Result(Reason::system, subject, "not saved");
    return {};
}

/** A file ticket for the time of one load or save. */
template <typename Lazy>
class BasicFileTicket {
 public:
    explicit BasicFileTicket(std::string const& file) : m_file(file), m_table(STicketInstance.Create(file.c_str())) {}
    /** Destroys the ticket, which saves nothing: it was saved, or never changed. */
    ~BasicFileTicket() {
        if (!m_abandoned) STicketInstance.Destroy(m_table);
    }
    BasicFileTicket(BasicFileTicket const&) = delete;
    BasicFileTicket& operator=(BasicFileTicket const&) = delete;

    Table table() const { return m_table; }
    /** Reads the file. A missing or empty file is read as one without values, and is no failure. */
    Result load() {
        if (m_table->Operation(m_table->pTicket, STICKET_OP_COUNT, &m_count) == 0)
            return Result(Reason::no_memory, m_file, "not loaded: memory or file descriptors are short");
        FileVersion const version = FileVersion::of(m_file);
        if (m_count != 0 || !version.exists || version.found.st_size == 0) return {};
        int const file = open(m_file.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) return Result(Reason::unreadable, m_file, "not loaded", errno);
        close(file);
        return Result(Reason::unreadable, m_file, "not loaded: no ticket file, or one without values");
    }
    /** Whether the last load found values. */
    bool is_loaded() const { return m_count != 0; }
    /** Stores the batch and saves. */
    Result save(Batch& batch, bool whole) {
        std::vector<std::string> failed;
        if (whole) m_table->Operation(m_table->pTicket, STICKET_OP_CLEAR, nullptr);
        if (!batch.store(m_table, failed)) {
            // Destroying it would save what was stored of the batch. A leak is the lesser evil.
            m_abandoned = true;
            return Result(Reason::no_memory, m_file, "not saved: memory is short");
        }
        FileVersion const before = FileVersion::of(m_file);
        if (Result saved = save_table(m_table, m_file); !saved) return saved;
        m_table->Operation(m_table->pTicket, STICKET_OP_COUNT, &m_count);
        // A save replaces the file, or deletes it where there are no values.
        FileVersion const after = FileVersion::of(m_file);
        bool const done = m_count == 0 ? !after.exists : after.exists && !(after == before);
        return done ? Result() : not_replaced();
    }

 private:
    /** The ticket does not tell why; the most likely reasons can be seen from here. */
    Result not_replaced() const {
        int const error = access(directory_of(m_file).c_str(), W_OK) != 0 ? errno : 0;
        return Result(
            Reason::system, m_file,
            error != 0 ? "not saved" : "not saved: is the disk full, or a directory at its name with \".tmp\"?", error);
    }

    std::string const& m_file;
    Table m_table;
    unsigned int m_count = 0;
    bool m_abandoned = false;
};
using FileTicket = BasicFileTicket<void>;

}  // namespace ticket::detail

#endif
