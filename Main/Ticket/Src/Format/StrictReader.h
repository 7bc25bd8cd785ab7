// The fast way to read a ticket file: one pass over a file exactly as a save writes it, without a document.
//
// It knows the two lines at the head, opening and closing tags and leaves of a known type, each after as many tabs as
// elements are open, and stops at the first other byte. If the whole is a document, the XML library would read the same
// leaves up to there, in the same order. It takes half of that library's instructions and only a buffer.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Src/ByteStreams.h"
#include "Format/Leaf.h"

// Reads a source line by line, through a buffer that grows only for a longer line.
class LINE_BUFFER {
 public:
    enum class LINE {
        WHOLE,
        NONE,        // the text is over
        UNFINISHED,  // the text ends without a line feed
        UNREADABLE   // the source failed
    };

    explicit LINE_BUFFER(FILE_SOURCE& source);

    // Finds the next line. Throws std::bad_alloc.
    LINE Next() {
        m_begin = m_next;
        return FindEnd(m_begin) ? LINE::WHOLE : NextOfSource();
    }
    // The line may be written to. A line feed stands at its end.
    char* Begin() const { return m_bytes.get() + m_begin; }
    char* End() const { return m_bytes.get() + m_end; }
    std::string_view Text() const { return {Begin(), m_end - m_begin}; }

 private:
    static constexpr std::size_t USUAL_SIZE = std::size_t{64} << 10;

    // Ends the line at the first line feed from there. False if there is none in the buffer.
    bool FindEnd(std::size_t from) {
        void* const feed = std::memchr(m_bytes.get() + from, '\n', m_filled - from);
        if (feed == nullptr) return false;
        m_end = static_cast<std::size_t>(static_cast<char*>(feed) - m_bytes.get());
        m_next = m_end + 1;
        return true;
    }
    LINE NextOfSource();
    bool Fill();

    FILE_SOURCE& m_source;
    std::size_t m_size;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_filled = 0;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_next = 0;    // where the next line begins
    std::size_t m_offset = 0;  // in the source, of what follows the buffer
};

class STRICT_READER {
 public:
    enum class END {
        WHOLE,      // every value of the file has been handed over
        STOPPED,    // a line is not as a save writes it; Leaves() tells how many leaves were read
        UNREADABLE  // the source failed
    };

    STRICT_READER(FILE_SOURCE& source, LEAF_RECEIVER const& receiver);
    STRICT_READER(STRICT_READER const&) = delete;
    STRICT_READER& operator=(STRICT_READER const&) = delete;

    // Reads the text and hands its values over. Throws std::bad_alloc and what the receiver throws.
    END Read();

    // The number of leaves read, wanted or not.
    std::size_t Leaves() const { return m_leaves; }

 private:
    struct ELEMENT {
        std::size_t nameEnd;  // in m_names
        std::size_t path;     // length of the beginning of m_key that the keys inside share
    };

    bool ReadLine(char* line, char* end);
    void Open(std::string_view name);
    bool Close(std::string_view name);
    bool ReadLeaf(std::string_view name, char* rest, char* end);
    bool MoveTo(std::string_view name);

    std::size_t Path() const { return m_open.empty() ? 0 : m_open.back().path; }
    std::size_t NameBegin() const { return m_open.size() > 1 ? m_open[m_open.size() - 2].nameEnd : 0; }

    LINE_BUFFER m_lines;
    LEAF_SETTER m_setter;
    KEY_PATH m_key;
    bool m_isLater = false;       // whether the current leaf has the key of the one before
    std::size_t m_leafEnd = 0;    // the length of the key in the last line, if that was a leaf, or 0
    std::string m_names;          // of the open elements
    std::vector<ELEMENT> m_open;  // the outermost element first
    std::size_t m_allowed;        // how long the keys of further leaves may be
    std::size_t m_leaves = 0;
};
