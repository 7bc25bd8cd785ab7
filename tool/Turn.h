// Tools that change files of one directory do so one after the other, since each reads, changes and writes.
#pragma once

#include <chrono>
#include <string>

// While it lives no other tool changes files of the file's directory. Waits for its turn and throws FAILURE when that
// does not come. Where directories cannot be locked the change goes on without.
class TURN {
 public:
    explicit TURN(std::string const& file, std::chrono::milliseconds longestWait = std::chrono::seconds(10));
    ~TURN();
    TURN(TURN const&) = delete;
    TURN& operator=(TURN const&) = delete;

 private:
    int m_directory;
};
