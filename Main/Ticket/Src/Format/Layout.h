// The lines of a ticket file as both writers write them: tabs, tags and line ends.
#pragma once

#include <cstddef>
#include <string_view>

#include "Format/TextBuffer.h"
#include "Format/Words.h"

// `depth` is the number of elements around the one that is written: 0 for the outermost.
class LAYOUT {
 public:
    explicit LAYOUT(TEXT_BUFFER& text) : m_text(text) {}

    void PutDeclaration() { m_text.Put(TICKET_FORMAT::DECLARATION); }
    void PutEmptyElement(std::size_t depth, std::string_view name) {
        m_text.Indent(depth);
        m_text.Put("<", name, "/>\n");
    }
    // An element that holds elements; these come between both calls.
    void OpenElement(std::size_t depth, std::string_view name) {
        m_text.Indent(depth);
        m_text.Put("<", name, ">\n");
    }
    void CloseElement(std::size_t depth, std::string_view name) {
        m_text.Indent(depth);
        m_text.Put("</", name, ">\n");
    }
    // An element that holds a value alone; its text comes between both calls.
    void BeginValue(std::size_t depth, std::string_view name, std::string_view type) {
        m_text.Indent(depth);
        m_text.Put("<", name, " type=\"", type, "\">");
    }
    void EndValue(std::string_view name) { m_text.Put("</", name, ">\n"); }
    // The same as a whole; if it holds elements too, these and CloseElement come next.
    void PutValue(std::size_t depth, std::string_view name, std::string_view type, std::string_view value,
                  bool holdsElements) {
        BeginValue(depth, name, type);
        if (!holdsElements) {
            m_text.Put(value);
            return EndValue(name);
        }
        m_text.Put("\n");
        m_text.Indent(depth + 1);
        m_text.Put(value, "\n");
    }

 private:
    TEXT_BUFFER& m_text;
};
