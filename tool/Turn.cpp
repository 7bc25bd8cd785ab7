// Takes turns by a lock on the directory, which goes with the process however it ends.
#include "Turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "Values.h"

namespace {

constexpr auto POLL_INTERVAL = std::chrono::milliseconds(5);

// Whether somebody else has the lock.
bool IsTaken(int directory) {
    return flock(directory, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

}  // namespace

TURN::TURN(std::string const& file, std::chrono::milliseconds longestWait) {
    auto const directory = std::filesystem::path(file).parent_path();
    m_directory = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    auto const deadline = std::chrono::steady_clock::now() + longestWait;
    while (m_directory >= 0 && IsTaken(m_directory)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            close(m_directory);
            throw FAILURE(file +
                          ": not written: another ticket is busy with a file "
                          "of its directory; try again");
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
}

TURN::~TURN() {
    if (m_directory >= 0) close(m_directory);
}
