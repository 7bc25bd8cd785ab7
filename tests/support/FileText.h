// The values that the text of a ticket file sets, and a frame to make such a text of elements.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Format/Reader.h"

// A text in memory, read like a file.
class TEXT_SOURCE final : public FILE_SOURCE {
 public:
    explicit TEXT_SOURCE(std::string_view text) : m_text(text) {}
    std::size_t Size() const override { return m_text.size(); }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
        return begin < m_text.size() ? m_text.copy(bytes, size, begin) : 0;
    }

 private:
    std::string_view m_text;
};

// A source that reports another size than it has. The reader's first buffer has that size, so that lines cross its end.
class TOLD_SOURCE final : public FILE_SOURCE {
 public:
    TOLD_SOURCE(std::string_view text, std::size_t told) : m_text(text), m_told(told) {}
    std::size_t Size() const override { return m_told; }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
        return m_text.Read(begin, bytes, size);
    }

 private:
    TEXT_SOURCE m_text;
    std::size_t m_told;
};

// One line for each call of the set function: key, type number and value, for instance "a/b 2 42". Unprintable bytes
// are hexadecimal numbers in braces.
struct FileText {
    READ_RESULT result;
    std::vector<std::string> values;

    bool Parsed() const { return result.IsRead(); }

    static FileText Read(std::string const& text) {
        TEXT_SOURCE source(text);
        return Read(source);
    }

    static FileText Read(FILE_SOURCE& source) {
        FileText all{};
        all.result = ReadTicket(source, all.Receiver());
        return all;
    }

    // Reads by the XML library alone.
    static FileText ReadByXml(std::string const& text) {
        FileText all{};
        all.result = ReadDocument(text, all.Receiver());
        return all;
    }

    // Reads by one of its two attempts alone.
    static FileText ReadXmlNames(std::string const& text) {
        FileText all{};
        all.ReadAs(text, PARSED_TEXT::NAMES::OF_XML);
        return all;
    }
    static FileText ReadAnyNames(std::string const& text) {
        FileText all{};
        all.ReadAs(text, PARSED_TEXT::NAMES::ANY);
        return all;
    }

    static bool Read(std::string const& text, LEAF_RECEIVER::SET set, void* context) {
        TEXT_SOURCE source(text);
        return ReadTicket(source, {set, context}).reading == READING::DONE;
    }

    // Reads by the first attempt alone; true if the text is XML.
    static bool ReadXmlNames(std::string const& text, LEAF_RECEIVER::SET set, void* context) {
        PARSED_TEXT parsed(text, PARSED_TEXT::NAMES::OF_XML);
        return ReadParsed(parsed, text, {set, context}).IsRead();
    }

    // The text of a file with these elements below the root.
    static std::string Framed(std::string const& elements) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n" + elements + "</ticket>\n";
    }

    static std::string Printable(std::string const& bytes) {
        std::string text;
        for (char const byte : bytes) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "{%02X}", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
            byte >= ' ' && byte < 0x7F ? text += byte : text += hex;
        }
        return text;
    }

 private:
    void ReadAs(std::string const& text, PARSED_TEXT::NAMES names) {
        PARSED_TEXT parsed(text, names);
        result = ReadParsed(parsed, text, Receiver());
    }

    LEAF_RECEIVER Receiver() {
        return {&Set, this, nullptr, [](void* all) { static_cast<FileText*>(all)->values.clear(); }};
    }

    static int Set(void* all, std::string_view key, PARAM_TYPE type, void const* value, int index) {
        std::string line = std::string(key) + ' ' + std::to_string(type) + ' ' + Spell(type, value);
        if (index != APPEND_INDEX) line += " at " + std::to_string(index);
        static_cast<FileText*>(all)->values.push_back(line);
        return 1;
    }

    static std::string Spell(PARAM_TYPE type, void const* value) {
        char number[64] = {};
        switch (type) {
            case PARAM_INT:
                return std::to_string(*static_cast<int32_t const*>(value));
            case PARAM_INT64:
                return std::to_string(*static_cast<int64_t const*>(value));
            case PARAM_UINT64:
                return std::to_string(*static_cast<uint64_t const*>(value));
            case PARAM_DOUBLE:
                std::snprintf(number, sizeof number, "%a", *static_cast<double const*>(value));
                std::replace(std::begin(number), std::end(number), ',',
                             '.');  // a HostileLocale formats a decimal comma
                return number;
            case PARAM_STRING:
                return Printable(static_cast<char const*>(value));
            case PARAM_BINSTR: {
                auto const& bytes = *static_cast<BIN_STRING const*>(value);
                return Printable({static_cast<char const*>(bytes.data), bytes.length});
            }
            default:
                return "?";
        }
    }
};
