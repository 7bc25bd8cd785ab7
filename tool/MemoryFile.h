// An anonymous file in memory (memfd) for copies of settings: it ends with the process, even a killed one.
#pragma once

#include <string>
#include <string_view>

#include "Common/Src/ByteStreams.h"

class MEMORY_FILE final : public FILE_SINK {
 public:
    // Throws FAILURE where the system has none.
    MEMORY_FILE();
    ~MEMORY_FILE();
    MEMORY_FILE(MEMORY_FILE const&) = delete;
    MEMORY_FILE& operator=(MEMORY_FILE const&) = delete;

    // Appends; throws FAILURE when memory is short.
    void Take(std::string_view piece) override;
    // Makes the file empty again.
    void Restart();

    int Descriptor() const { return m_descriptor; }
    // A name by which this process can open it while this object lives.
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

 private:
    int const m_descriptor;
};
