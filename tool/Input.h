// A file, pipe or standard input, as something that the library can load.
#pragma once

#include <optional>
#include <string>

#include "MemoryFile.h"

// The library loads regular files only; what comes through a pipe is read into memory first.
class INPUT {
 public:
    // "-" is standard input. Throws FAILURE for what cannot be read.
    explicit INPUT(std::string const& name);

    // As messages name it.
    std::string const& Name() const { return m_name; }
    // Where to load it from, while this object lives.
    std::string Path() const { return m_copy ? m_copy->Path() : m_name; }

 private:
    std::string m_name;
    std::optional<MEMORY_FILE> m_copy;
};
