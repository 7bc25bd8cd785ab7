// The lines of a ticket file as both writers write them: tabs, tags and line ends.
#pragma once

#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

#include "Format/KeyLimit.h"
#include "Format/TextBuffer.h"
#include "Format/Words.h"

// Elements are written in document order. Every function throws what TEXT_BUFFER throws.
class FILE_LAYOUT {
 public:
    // The file's bytes go to `sink` as they come, unless it is null.
    explicit FILE_LAYOUT(FILE_SINK* sink) : m_text(sink) {}

    void PutDeclaration() { m_text.Put(TICKET_FORMAT::DECLARATION); }
    void PutEmptyElement(std::string_view name) {
        m_text.Indent(m_depth);
        m_text.Put("<", name, "/>\n");
    }
    // An element that holds elements; these come between both calls.
    void OpenElement(std::string_view name) {
        m_text.Indent(m_depth);
        m_text.Put("<", name, ">\n");
        Enter(name);
    }
    void CloseElement(std::string_view name) {
        m_path -= LengthInKeys(name);
        m_text.Indent(--m_depth);
        m_text.Put("</", name, ">\n");
    }
    // An element that holds a value alone; the value's text is added to Text() between both calls. `isLaterOfVector`:
    // the element before it in the same parent has the same name and holds a value.
    void BeginValue(std::string_view name, std::string_view type, bool isLaterOfVector) {
        m_text.Indent(m_depth);
        m_text.Put("<", name, " type=\"", type, "\">");
        if (!isLaterOfVector) m_keys += m_path + name.size();
    }
    void EndValue(std::string_view name) { m_text.Put("</", name, ">\n"); }
    // Follows BeginValue for an element that holds a value and elements; the elements and CloseElement come next.
    void PutValueOfOpenElement(std::string_view name, std::string_view value) {
        m_text.Put("\n");
        Enter(name);
        m_text.Indent(m_depth);
        m_text.Put(value, "\n");
    }

    TEXT_BUFFER& Text() { return m_text; }
    // The bytes of the file that the sink has not taken. Throws std::bad_alloc if the keys are too long for a load.
    TEXT_BUFFER Finish() {
        if (m_keys > TICKET_FORMAT::LongestKeysOf(m_text.Size())) throw OUT_OF_PROPORTION();
        return std::move(m_text);
    }

 private:
    // The length of what an element adds to the keys of the elements inside.
    static std::size_t LengthInKeys(std::string_view name) { return name == TICKET_FORMAT::ROOT ? 0 : name.size() + 1; }
    void Enter(std::string_view name) {
        m_path += LengthInKeys(name);
        ++m_depth;
    }

    TEXT_BUFFER m_text;
    std::size_t m_depth = 0;  // the number of open elements
    std::size_t m_path = 0;   // the length of what they add to keys
    std::size_t m_keys = 0;   // the length of all keys, as KeyLimit.h counts it
};
