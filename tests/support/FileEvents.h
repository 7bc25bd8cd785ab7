// Translates the system calls of a traced process to file events.
#pragma once

#include <fcntl.h>
#include <sys/syscall.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>

#include "DiskModel.h"
#include "TracedProcess.h"

class FILE_EVENTS {
 public:
    // The event of a call that has returned; nothing if it changed no file. Calls that this class does not know are
    // added to `Unknown`.
    std::optional<FILE_EVENT> Of(TRACED_PROCESS const& process) {
        TRACED_PROCESS::CALL const& call = process.Call();
        if (IsHarmless(call.number) || call.result < 0) return {};
        std::optional<FILE_EVENT> event = OfFile(process, call);
        if (!event) event = OfName(process, call);
        if (!event && !IsKnown(call)) m_unknown.insert(call.number);
        return event;
    }

    std::set<long> const& Unknown() const { return m_unknown; }

 private:
    static bool IsOneOf(long number, std::initializer_list<long> numbers) {
        return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
    }

    // Calls that change no file. Some do not exist on every architecture.
    static bool IsHarmless(long number) {
        return IsOneOf(number, {
#ifdef SYS_stat
                                   SYS_stat,
                                   SYS_lstat,
                                   SYS_time,
#endif
                                   SYS_fstat,
                                   SYS_newfstatat,
                                   SYS_statx,
                                   SYS_geteuid,
                                   SYS_flock,
                                   SYS_fchmod,
                                   SYS_fchown,
                                   SYS_getxattr,
                                   SYS_listxattr,
                                   SYS_fsetxattr,
                                   SYS_fremovexattr,
                                   SYS_getrandom,
                                   SYS_clock_gettime,
                                   SYS_gettimeofday,
                                   SYS_clock_nanosleep,
                                   SYS_nanosleep,
                                   SYS_mmap,
                                   SYS_munmap,
                                   SYS_mprotect,
                                   SYS_madvise,
                                   SYS_brk,
                                   SYS_futex,
                                   SYS_rt_sigprocmask,
                                   SYS_rt_sigaction,
                                   SYS_sched_yield,
                                   SYS_read,
                                   SYS_pread64,
                                   SYS_readlink,
                                   SYS_readlinkat,
                                   SYS_getpid,
                                   SYS_gettid,
                                   SYS_sigaltstack,
                                   SYS_sync_file_range,
                                   SYS_restart_syscall,
                               });
    }

    // Known calls that change no file with these arguments, for instance opening a directory or locking.
    static bool IsKnown(TRACED_PROCESS::CALL const& call) {
        return IsOpen(call.number) || IsOneOf(call.number, {SYS_close, SYS_fcntl, SYS_fsync, SYS_fdatasync});
    }

    static bool IsOpen(long number) {
#ifdef SYS_open
        if (number == SYS_open) return true;
#endif
        return number == SYS_openat;
    }

    std::optional<FILE_EVENT> OfFile(TRACED_PROCESS const& process, TRACED_PROCESS::CALL const& call) {
        uint64_t const* const a = call.arguments;
        int const result = static_cast<int>(call.result);
        if (IsOpen(call.number)) {
            uint64_t const* const name = call.number == SYS_openat ? a + 1 : a;
            if (name[1] & O_DIRECTORY) {
                m_directories.insert(result);
                return {};
            }
            m_directories.erase(result);
            return FILE_EVENT{FILE_EVENT::OPEN, result, -1, process.Text(name[0]), {}, {}, (name[1] & O_TRUNC) != 0};
        }
        int const file = static_cast<int>(a[0]);
        bool const isDirectory = m_directories.count(file) > 0;
        if (call.number == SYS_close) {
            m_directories.erase(file);
            return FILE_EVENT{FILE_EVENT::CLOSE, file};
        }
        if (call.number == SYS_fcntl && (a[1] == F_DUPFD || a[1] == F_DUPFD_CLOEXEC))
            return FILE_EVENT{FILE_EVENT::DUPLICATE, result, file};
        if (call.number == SYS_write)
            return FILE_EVENT{FILE_EVENT::WRITE, file, -1, {}, {}, process.Bytes(a[1], static_cast<size_t>(result))};
        if (call.number == SYS_ftruncate && a[1] == 0) return FILE_EVENT{FILE_EVENT::TRUNCATE, file};
        if (IsOneOf(call.number, {SYS_fsync, SYS_fdatasync}))
            return FILE_EVENT{isDirectory ? FILE_EVENT::FLUSH_DIRECTORY : FILE_EVENT::FLUSH, file};
        return {};
    }

    static std::optional<FILE_EVENT> OfName(TRACED_PROCESS const& process, TRACED_PROCESS::CALL const& call) {
        uint64_t const* const a = call.arguments;
        auto const two = [&](FILE_EVENT::KIND kind, uint64_t from, uint64_t to) {
            return FILE_EVENT{kind, -1, -1, process.Text(from), process.Text(to)};
        };
#ifdef SYS_rename
        if (call.number == SYS_rename) return two(FILE_EVENT::RENAME, a[0], a[1]);
        if (call.number == SYS_link) return two(FILE_EVENT::LINK, a[0], a[1]);
        if (call.number == SYS_unlink) return FILE_EVENT{FILE_EVENT::UNLINK, -1, -1, process.Text(a[0])};
#endif
        if (call.number == SYS_renameat2 && a[4] == 0) return two(FILE_EVENT::RENAME, a[1], a[3]);
#ifdef SYS_renameat
        if (call.number == SYS_renameat) return two(FILE_EVENT::RENAME, a[1], a[3]);
#endif
        if (call.number == SYS_linkat) return two(FILE_EVENT::LINK, a[1], a[3]);
        if (call.number == SYS_unlinkat) return FILE_EVENT{FILE_EVENT::UNLINK, -1, -1, process.Text(a[1])};
        return {};
    }

    std::set<int> m_directories;  // descriptors of directories
    std::set<long> m_unknown;
};
