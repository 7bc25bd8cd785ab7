// Batch records as short texts, "key[index]=value", so that tests compare whole batches at once.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

inline std::string RecordText(SETMULTIPAR const& record) {
    std::string text = record.key ? record.key : "(null)";
    text += "[" + std::to_string(record.index) + "]=";
    if (!record.value) return text + "null:" + std::to_string(record.type);
    char number[40];
    switch (record.type) {
        case PARAM_INT:
            return text + "i" + std::to_string(*static_cast<int32_t const*>(record.value));
        case PARAM_DOUBLE:
            std::snprintf(number, sizeof number, "d%g", *static_cast<double const*>(record.value));
            return text + number;
        case PARAM_STRING:
            return text + "\"" + static_cast<char const*>(record.value) + "\"";
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(record.value);
            return text + "<" + std::string(static_cast<char const*>(bytes.data), bytes.length) + ">";
        }
        case PARAM_INT64:
            return text + "I" + std::to_string(*static_cast<int64_t const*>(record.value));
        case PARAM_UNSIGNED:
            return text + "u" + std::to_string(*static_cast<uint32_t const*>(record.value));
        case PARAM_UINT64:
            return text + "U" + std::to_string(*static_cast<uint64_t const*>(record.value));
        default:
            return text + "?" + std::to_string(record.type);
    }
}

// The records of `table`, the terminator left out.
inline std::vector<std::string> RecordTexts(SETMULTIPAR const* table, std::size_t count) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i) texts.push_back(RecordText(table[i]));
    return texts;
}
