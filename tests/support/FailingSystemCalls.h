// Makes system calls fail. Replaces the calls that loads and saves make by forwarders that can fail, and that can call
// a function of the test before. Include it in one source of a program.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "NextFunction.h"

namespace system_calls {

// The calls that fail while the fault is armed.
struct FAULT {
    enum SCOPE { THAT_KIND, EVERYTHING };
    int at = -1;                     // index of the first call that fails; -1: none
    int error = 0;                   // its errno
    int times = 1;                   // number of calls that fail
    SCOPE scope = THAT_KIND;         // whether other kinds of calls fail as well from then on
    std::size_t longest = SIZE_MAX;  // the most bytes that one read or write transfers
};

struct STATE {
    bool isArmed = false;
    FAULT fault;
    std::string failing;  // the kind of call that failed first
    int failures = 0;
    std::vector<std::string> calls;  // the kinds of all calls
};
inline STATE g_state;

// If it is set, it is called before each call while no fault is armed: with the kind of the call, and with the path if
// that is the first argument, otherwise "". Returns the errno of a call that must fail; 0 lets the call happen.
inline std::function<int(std::string_view kind, char const* path)> g_before;

template <typename FIRST, typename... OTHERS>
char const* PathOf(FIRST const& first, OTHERS const&...) {
    if constexpr (std::is_convertible_v<FIRST, char const*>)
        return first;
    else
        return "";
}

// Counts a call; true, with errno set, if it must fail.
inline bool Fails(char const* kind, char const* path = "") {
    STATE& state = g_state;
    if (!state.isArmed) {
        int const error = g_before ? g_before(kind, path) : 0;
        if (error != 0) errno = error;
        return error != 0;
    }
    int const number = static_cast<int>(state.calls.size());
    state.calls.emplace_back(kind);
    FAULT const& fault = state.fault;
    if (number == fault.at) state.failing = kind;
    bool const isMeant = !state.failing.empty() && (fault.scope == FAULT::EVERYTHING || state.failing == kind);
    if (!isMeant || state.failures >= fault.times) return false;
    ++state.failures;
    errno = fault.error;
    return true;
}

inline std::size_t Portion(std::size_t size) {
    return g_state.isArmed ? std::min(size, g_state.fault.longest) : size;
}

// Runs `action` with a fault; returns the calls and failures.
template <typename ACTION>
STATE With(FAULT const& fault, ACTION const& action) {
    g_state = STATE{true, fault, {}, 0, {}};
    action();
    g_state.isArmed = false;
    return g_state;
}

}  // namespace system_calls

// Each function has its own C++ name and gets its symbol by __asm__: the system's headers define inline functions of
// some of these names.
#define FAILING_SYSTEM_CALL(result, name, parameters, arguments)                       \
    extern "C" [[gnu::used]] result failing_##name parameters __asm__(#name);          \
    result failing_##name parameters {                                                 \
        static auto const next = NextFunction<result(*) parameters>(#name);            \
        bool const fails = system_calls::Fails(#name, system_calls::PathOf arguments); \
        return fails ? static_cast<result>(-1) : next arguments;                       \
    }

FAILING_SYSTEM_CALL(int, fstat, (int file, struct stat* found), (file, found))
FAILING_SYSTEM_CALL(int, stat, (char const* name, struct stat* found), (name, found))
FAILING_SYSTEM_CALL(int, lstat, (char const* name, struct stat* found), (name, found))
FAILING_SYSTEM_CALL(int, statx, (int base, char const* name, int flags, unsigned int mask, struct statx* found),
                    (base, name, flags, mask, found))
FAILING_SYSTEM_CALL(int, fchmod, (int file, mode_t mode), (file, mode))
FAILING_SYSTEM_CALL(int, ftruncate, (int file, off_t size), (file, size))
FAILING_SYSTEM_CALL(off_t, lseek, (int file, off_t offset, int whence), (file, offset, whence))
FAILING_SYSTEM_CALL(int, sync_file_range, (int file, off_t offset, off_t size, unsigned int flags),
                    (file, offset, size, flags))
FAILING_SYSTEM_CALL(int, flock, (int file, int operation), (file, operation))
FAILING_SYSTEM_CALL(int, rename, (char const* from, char const* to), (from, to))
FAILING_SYSTEM_CALL(int, link, (char const* from, char const* to), (from, to))
FAILING_SYSTEM_CALL(int, unlink, (char const* name), (name))
FAILING_SYSTEM_CALL(int, mkostemp, (char* name, int flags), (name, flags))
FAILING_SYSTEM_CALL(int, fchown, (int file, uid_t user, gid_t group), (file, user, group))
FAILING_SYSTEM_CALL(ssize_t, getxattr, (char const* file, char const* name, void* value, size_t size),
                    (file, name, value, size))
FAILING_SYSTEM_CALL(ssize_t, listxattr, (char const* file, char* names, size_t size), (file, names, size))
FAILING_SYSTEM_CALL(int, fsetxattr, (int file, char const* name, void const* value, size_t size, int flags),
                    (file, name, value, size, flags))
FAILING_SYSTEM_CALL(int, fremovexattr, (int file, char const* name), (file, name))
FAILING_SYSTEM_CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, system_calls::Portion(size)))
FAILING_SYSTEM_CALL(ssize_t, pread, (int file, void* bytes, size_t size, off_t place),
                    (file, bytes, system_calls::Portion(size), place))
FAILING_SYSTEM_CALL(ssize_t, write, (int file, void const* bytes, size_t size),
                    (file, bytes, system_calls::Portion(size)))

extern "C" {

[[gnu::used]] int failing_open(char const* name, int flags, ...) __asm__("open");
int failing_open(char const* name, int flags, ...) {
    static auto const next = NextFunction<int (*)(char const*, int, ...)>("open");
    std::va_list more;
    va_start(more, flags);
    mode_t const mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
    va_end(more);
    return system_calls::Fails("open", name) ? -1 : next(name, flags, mode);
}

[[gnu::used]] int failing_fcntl(int file, int command, ...) __asm__("fcntl");
int failing_fcntl(int file, int command, ...) {
    static auto const next = NextFunction<int (*)(int, int, ...)>("fcntl");
    std::va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    return system_calls::Fails("fcntl") ? -1 : next(file, command, argument);
}

// While a fault is armed, nothing is flushed: no test here is about power loss.
[[gnu::used]] int failing_fsync(int file) __asm__("fsync");
int failing_fsync(int file) {
    static auto const next = NextFunction<int (*)(int)>("fsync");
    if (!system_calls::g_state.isArmed) return next(file);
    return system_calls::Fails("fsync") ? -1 : 0;
}

// Closes the descriptor even when it reports an error, as Linux does.
[[gnu::used]] int failing_close(int file) __asm__("close");
int failing_close(int file) {
    static auto const next = NextFunction<int (*)(int)>("close");
    bool const fails = system_calls::Fails("close");
    int const error = errno;
    int const result = next(file);
    if (fails) errno = error;
    return fails ? -1 : result;
}

}  // extern "C"
