// The interfaces through which the file format (Format/) reads and writes the bytes of files (Disk/).
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

// Reads the bytes of a text at any position.
class FILE_SOURCE {
 public:
    // The expected length of the text in bytes; a hint.
    virtual std::size_t Size() const = 0;
    // Copies `size` bytes from position `begin`, fewer at the end. Returns their number; nothing if reading fails.
    virtual std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) = 0;
    // Whether the text may have changed since it was opened, or since the last call that returned true.
    virtual bool HasChanged() { return false; }

 protected:
    ~FILE_SOURCE() = default;
};

// Receives the pieces of a text, in order.
class FILE_SINK {
 public:
    virtual void Take(std::string_view piece) = 0;

 protected:
    ~FILE_SINK() = default;
};
