// The text of a ticket file as the library's parser reads it, with places for messages.
#pragma once

#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "Format/XmlReader.h"
#include "Values.h"

// A file that is there and that the library cannot load; when it does not parse, the message carries line and column.
struct UNLOADABLE_FILE : FAILURE {
    explicit UNLOADABLE_FILE(std::string const& what, std::size_t breakAt = std::string::npos)
        : FAILURE(what), offset(breakAt) {}
    std::size_t offset;  // where it does not parse; npos for any other reason
};

// The bytes of a file or pipe; "-" is standard input. Throws FAILURE when it cannot be read.
std::string ReadBytes(std::string const& path);

// Throws FAILURE unless a regular file is there: the library reads no other.
void RequireRegularFile(std::string const& path);

// The bytes of a ticket file. Throws FAILURE unless it is a regular file that can be read.
std::string ReadTicketText(std::string const& path);

// Whether a text that does not parse at a place seems to be cut off there: no tag ends behind it.
bool EndsEarly(std::string_view text, std::size_t breakAt);

// A tag of a text: from its '<' to behind its '>'.
struct TAG {
    enum class KIND { START, EMPTY, END, OTHER };  // OTHER: comment, declaration and the like
    KIND kind;
    std::size_t begin;
    std::size_t end;
};

// The first tag that begins at a place or behind it; nothing if none is complete.
std::optional<TAG> NextTag(std::string_view text, std::size_t at);

// Where a type attribute begins, with the space before it; npos if there is none.
std::size_t FindType(std::string_view text);

// The name in a start tag. It may be a name that XML forbids, such as "HP 4000".
std::string_view NameIn(std::string_view text, TAG const& tag);

// Lines and columns of a text, both counted from 1, columns in bytes. Ask for ascending offsets, so that the text is
// passed over only once.
class PLACES {
 public:
    PLACES(std::string const& path, std::string_view text) : m_path(path), m_text(text) {}
    // "PATH:LINE:COLUMN: "
    std::string Of(std::size_t offset);

 private:
    std::string const& m_path;
    std::string_view m_text;
    std::size_t m_line = 1;
    std::size_t m_lineStart = 0;
    std::size_t m_offset = 0;
};

// Keys with such bytes are not promised to come back from a file.
inline bool IsControlByte(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// Parses as a load does, names that are none in XML included. Throws UNLOADABLE_FILE.
std::unique_ptr<PARSED_TEXT> ParseTicketText(std::string const& path, std::string const& text,
                                             unsigned int options = PARSE_OPTIONS);

// Whether this is more than an empty top-level element: an element in it, or text.
bool IsContent(pugi::xml_node node);

bool IsText(pugi::xml_node node);

// Text that is more than the layout of the file.
bool IsMoreThanSpace(pugi::xml_node node);
