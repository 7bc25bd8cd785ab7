// A child process that is stopped before and after each of its system calls. It uses
// ptrace, so that every call is seen, whoever makes it; a kill ends the process between two calls.
#pragma once

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

class TRACED_PROCESS {
 public:
    // One system call, complete once IsAfter() holds.
    struct CALL {
        long number = -1;
        uint64_t arguments[6]{};
        long result = 0;
    };

    // Runs `prepare` untraced; the first Step then begins `work`. Neither may start threads.
    TRACED_PROCESS(std::function<void()> const& prepare, std::function<void()> const& work) : m_child(fork()) {
        if (m_child < 0) throw std::runtime_error("no child process");
        if (m_child > 0) {
            WaitForStop();
            m_traced = IsStopped() && ptrace(PTRACE_SETOPTIONS, m_child, nullptr, OPTIONS) == 0;
            return;
        }
        bool const traced = ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
        if (!traced) _exit(1);
        prepare();
        kill(getpid(), SIGSTOP);
        work();
        _exit(0);
    }
    ~TRACED_PROCESS() { Kill(); }
    TRACED_PROCESS(TRACED_PROCESS const&) = delete;
    TRACED_PROCESS& operator=(TRACED_PROCESS const&) = delete;

    // Whether the system lets processes be traced.
    static bool IsPossible() {
        TRACED_PROCESS probe([] {}, [] { getppid(); });
        return probe.m_traced && probe.Step();
    }

    // Continues to the next entry to or exit from a system call; false when `work` is done.
    bool Step() {
        if (!IsStopped()) return false;
        do {
            ptrace(PTRACE_SYSCALL, m_child, nullptr, nullptr);
            WaitForStop();
        } while (IsStopped() && WSTOPSIG(m_status) != CALL_STOP);
        if (!IsStopped()) return false;
        Look();
        bool const over = !m_after && (m_call.number == SYS_exit_group || m_call.number == SYS_exit);
        return !over;
    }

    // False: the call is about to be made.
    bool IsAfter() const { return m_after; }
    CALL const& Call() const { return m_call; }

    // A text ended by NUL, or `size` bytes, of its memory.
    std::string Text(uint64_t address) const {
        std::string text;
        for (char byte; Copy(address + text.size(), &byte, 1) && byte != '\0';) text += byte;
        return text;
    }
    std::string Bytes(uint64_t address, std::size_t size) const {
        std::string bytes(size, '\0');
        return Copy(address, bytes.data(), size) ? bytes : std::string();
    }

    // Kills the process where it is: a call at whose entry it stands is not made.
    void Kill() {
        if (m_child <= 0 || m_ended) return;
        kill(m_child, SIGKILL);
        do WaitForStop();
        while (!m_ended);
    }

 private:
    static constexpr long OPTIONS = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;
    static constexpr int CALL_STOP = SIGTRAP | 0x80;

    bool IsStopped() const { return !m_ended && WIFSTOPPED(m_status); }

    void WaitForStop() {
        while (waitpid(m_child, &m_status, 0) < 0 && errno == EINTR) continue;
        m_ended = WIFEXITED(m_status) || WIFSIGNALED(m_status);
    }

    void Look() {
        __ptrace_syscall_info info{};
        ptrace(PTRACE_GET_SYSCALL_INFO, m_child, sizeof info, &info);
        m_after = info.op == PTRACE_SYSCALL_INFO_EXIT;
        if (m_after) {
            m_call.result = static_cast<long>(info.exit.rval);
            return;
        }
        m_call = {};
        m_call.number = static_cast<long>(info.entry.nr);
        for (int i = 0; i < 6; ++i) m_call.arguments[i] = info.entry.args[i];
    }

    bool Copy(uint64_t address, void* bytes, std::size_t size) const {
        iovec const here{bytes, size};
        iovec const there{reinterpret_cast<void*>(address), size};
        return process_vm_readv(m_child, &here, 1, &there, 1, 0) == static_cast<ssize_t>(size);
    }

    pid_t const m_child;
    int m_status = 0;
    bool m_ended = false;
    bool m_traced = false;
    bool m_after = false;
    CALL m_call;
};
