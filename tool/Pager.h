// A program through which people read long output.
#pragma once

#include <sys/types.h>

#include <string_view>

class PAGER {
 public:
    // Starts $PAGER, or less. It reads what Show is given.
    PAGER();
    // Waits until the user has left it.
    ~PAGER();
    PAGER(PAGER const&) = delete;
    PAGER& operator=(PAGER const&) = delete;

    // Whether the user wants one: PAGER is neither empty nor "cat".
    static bool IsWanted();

    // What the user no longer wants to see is dropped.
    void Show(std::string_view text);

 private:
    pid_t m_process = -1;
    int m_input = -1;
};
