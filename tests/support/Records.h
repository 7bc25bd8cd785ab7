// Batch records as readable lines, so that tests compare whole batches at once.
#pragma once

#include "Tickets.h"

namespace records {

// Key, index, type and value, for instance "a[-1] 2 17".
inline std::string Line(SETMULTIPAR const& record) {
    return (record.key ? record.key : "(null)") + ("[" + std::to_string(record.index) + "] ") +
           std::to_string(record.type) + " " +
           (record.value ? tickets::ValueText(record.type, record.value) : "(null)");
}

inline tickets::LINES Lines(SETMULTIPAR const* table, std::size_t count) {
    tickets::LINES lines;
    for (std::size_t i = 0; i < count; ++i) lines.push_back(Line(table[i]));
    return lines;
}

}  // namespace records
