// Writing the text of a ticket file straight from a walk, without a document in between.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/TicketRecords.h"
#include "Format/TextBuffer.h"

// What TICKET_DOCUMENT writes, in a fraction of its time, for parameters that a walk delivers in ascending order of
// keys and whose elements nest as their keys do. Then each inner element is open when it is needed again, and no search
// can find another. It refuses keys for which that does not hold: with wildcards in an inner component, with an empty
// component, or below the leaf of another key.
//
// Usage: construct, walk the parameters at WALK_EVERYTHING with SaveOne and the stream as context, Finish.
class TICKET_STREAM {
 public:
    // Texts pass through `conversion`, and the file's bytes go to `sink` as they come, unless these are null.
    explicit TICKET_STREAM(STICKET_STRING_CONVERSION* conversion, FILE_SINK* sink = nullptr)
        : m_conversion(conversion), m_text(sink) {}

    // Walk callback: adds one parameter, skips the types that files do not keep; false once a key was refused. Throws
    // as TICKET_DOCUMENT::CreateSubElem.
    static bool SaveOne(void* stream, char const* key, PARAM_TYPE type, void const* value, int index);

    // Whether a key was refused: then what the sink has is worthless, and a TICKET_DOCUMENT must make the text.
    bool IsRefused() const { return m_refused; }
    // The bytes of the file that the sink has not taken.
    FILE_TEXT Finish();

 private:
    bool Add(std::string_view key, PARAM_TYPE type, void const* value);
    bool IsBelowALeaf(std::string_view key, std::size_t shared);
    bool OpenTo(std::string_view key);
    void CloseDownTo(std::size_t steps);
    void PutLeaf(std::string_view name, PARAM_TYPE type, void const* value);

    STICKET_STRING_CONVERSION* m_conversion;
    FILE_TEXT m_text;
    std::string m_lastKey;
    std::vector<std::size_t> m_steps;   // where the names of the open elements end in m_lastKey
    std::vector<std::size_t> m_leaves;  // lengths of the earlier keys with which m_lastKey begins, itself included
    std::string m_value;                // scratch
    bool m_refused = false;
};
