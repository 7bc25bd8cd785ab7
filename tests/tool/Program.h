// Programs run as a user runs them, and the fixture of all tests of the tool.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <future>
#include <string>
#include <vector>

#include "support/Files.h"

struct RESULT {
    int code;  // the exit code, or 128 + the number of the signal that ended the program
    std::string out;
    std::string err;
};

using ARGUMENTS = std::vector<std::string>;

constexpr uid_t NOBODY = 65534;

// How a program is run.
struct MANNER {
    std::string directory;
    std::string input;
    std::vector<std::string> environment;  // "NAME=VALUE", added to the test's own
    std::vector<int> closed;               // standard streams that are closed
    bool asNobody = false;                 // as NOBODY, a user without rights; needs root
};

// A program that has been started; its output is collected until it ends.
class PROCESS {
 public:
    PROCESS(ARGUMENTS const& command, MANNER const& manner);
    void Signal(int number) const;
    bool HasEnded() const;
    RESULT Wait();

 private:
    pid_t m_process;
    std::future<RESULT> m_result;
};

// A program that runs on a terminal of its own.
class ON_TERMINAL {
 public:
    // Without rows, the terminal does not know its size.
    ON_TERMINAL(ARGUMENTS const& command, MANNER const& manner, unsigned short rows = 0);
    ~ON_TERMINAL();
    ON_TERMINAL(ON_TERMINAL const&) = delete;
    ON_TERMINAL& operator=(ON_TERMINAL const&) = delete;

    // Waits until the terminal has shown the text; returns false if the program ends without it.
    bool WaitFor(std::string const& text);
    void Type(std::string const& keys) const;
    // Waits for the program's end. `out` is all that the terminal has shown.
    RESULT Wait();

 private:
    // Waits for more output; returns false when there is none.
    bool Read();

    pid_t m_process;
    int m_terminal = -1;
    std::string m_shown;
};

// What a terminal has shown, without the progress bar that appears when a command takes more than half a second.
std::string WithoutProgress(std::string shown);

// Runs a program on a terminal of its own. Returns the output on the terminal, without progress.
std::string RunOnTerminal(ARGUMENTS const& command, MANNER const& manner);

class Tool : public testing::Test {
 protected:
    Tool() { m_manner.directory = m_scratch.Path(); }

    // Runs the tool in the scratch directory.
    RESULT Ticket(ARGUMENTS arguments) const { return Start(std::move(arguments)).Wait(); }
    PROCESS Start(ARGUMENTS arguments) const;
    RESULT TicketWithInput(std::string input, ARGUMENTS arguments) const;
    // Returns its standard output; fails the test unless it succeeded and wrote no error.
    std::string Output(ARGUMENTS arguments) const;
    // Fails the test unless the tool fails with this exit code and one line. Returns that line without its "ticket: ".
    std::string Error(ARGUMENTS arguments, int code = 2) const;

    void Write(std::string const& name, std::string const& content) const {
        files::Write(m_scratch.Path(name), content);
    }
    // A ticket file with these elements inside.
    void WriteTicket(std::string const& name, std::string const& elements) const;
    std::string Content(std::string const& name) const { return FileContent(m_scratch.Path(name)); }

    SCRATCH_DIRECTORY m_scratch;
    MANNER m_manner;
};

// Whether tests run as root, whom permissions do not stop.
bool IsRoot();
