// The value argument of a set as a host may pass it: any type, any alignment, at the very end of its allocation.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"
#include "FuzzInput.h"

class ARGUMENT {
 public:
    explicit ARGUMENT(INPUT& input) : m_type(static_cast<PARAM_TYPE>(input.Below(11))) {
        std::size_t const shape = input.Byte();
        m_isNull = shape % 8 == 0;
        m_offset = shape / 8 % 2;
        Fill(input);
    }
    ARGUMENT(PARAM_TYPE type, std::string const& content) : m_type(type) { Keep(content); }
    ARGUMENT(ARGUMENT const&) = delete;
    ARGUMENT& operator=(ARGUMENT const&) = delete;

    PARAM_TYPE Type() const { return m_type; }
    bool IsNull() const { return m_isNull; }
    // The bytes of the number, the text or the byte string.
    std::string const& Content() const { return m_content; }
    template <typename NUMBER>
    NUMBER As() const {
        NUMBER number{};
        std::memcpy(&number, m_content.data(), std::min(sizeof number, m_content.size()));
        return number;
    }
    void const* Pointer() const { return m_isNull ? nullptr : m_memory.data() + m_offset; }

    // The Content of a value of that type.
    static std::string ContentOf(PARAM_TYPE type, void const* value) {
        if (type == PARAM_STRING) return static_cast<char const*>(value);
        if (type == PARAM_BINSTR) {
            BIN_STRING bytes;
            std::memcpy(&bytes, value, sizeof bytes);
            return bytes.data != nullptr ? std::string(static_cast<char const*>(bytes.data), bytes.length) : "";
        }
        return std::string(static_cast<char const*>(value), SizeOf(type));
    }

 private:
    static std::size_t SizeOf(PARAM_TYPE type) {
        switch (type) {
            case PARAM_INT:
            case PARAM_UNSIGNED:
                return 4;
            case PARAM_DOUBLE:
            case PARAM_INT64:
            case PARAM_UINT64:
                return 8;
            default:
                return 0;
        }
    }

    void Fill(INPUT& input) {
        if (m_type == PARAM_STRING) return Keep(input.Text());
        if (m_type == PARAM_BINSTR) return Keep(input.Bytes());
        // Numbers close to the limits of conversions, or any number.
        constexpr double EDGES[] = {0.0, -0.0, 0.5, 2.5, 0x1p31, 0x1p32, 0x1p53, 0x1p63, 0x1p64, 1e300};
        constexpr std::uint64_t PLACES[] = {0, 31, 32, 53, 63};
        std::size_t const kind = input.Below(4);
        auto word = input.Number<std::uint8_t>() + std::uint64_t{0};
        if (kind == 0) word = (std::uint64_t{1} << PLACES[input.Below(std::size(PLACES))]) + word - 128;
        if (kind == 1) word = input.Number<std::uint64_t>();
        if (kind == 2) word = 0 - word;
        double number = static_cast<double>(static_cast<std::int64_t>(word)) / 4;
        if (kind == 0) number = EDGES[word % std::size(EDGES)] * (word % 32 < 16 ? 1 : -1);
        if (kind == 1) std::memcpy(&number, &word, sizeof number);
        std::string bytes(reinterpret_cast<char const*>(&word), sizeof word);
        if (m_type == PARAM_DOUBLE) bytes.assign(reinterpret_cast<char const*>(&number), sizeof number);
        bytes.resize(SizeOf(m_type));
        Keep(bytes);
    }

    void Keep(std::string const& content) {
        m_content = content;
        std::string bytes = content;
        if (m_type == PARAM_STRING) bytes += '\0';
        if (m_type == PARAM_BINSTR) {
            m_bytes.assign(content.begin(), content.end());
            BIN_STRING const view{m_bytes.data(), m_bytes.size()};
            bytes.assign(reinterpret_cast<char const*>(&view), sizeof view);
        }
        m_memory.assign(m_offset, 'x');
        m_memory.insert(m_memory.end(), bytes.begin(), bytes.end());
        if (bytes.empty()) m_memory.push_back('x');  // a distinct pointer, never dereferenced
        m_memory.shrink_to_fit();
    }

    PARAM_TYPE m_type;
    bool m_isNull = false;
    std::size_t m_offset = 0;
    std::string m_content;
    std::vector<char> m_bytes;
    std::vector<char> m_memory;
};
