// The keywords of a ticket file: the XML declaration, the root element, the type attribute and its values. Existing
// files contain them, so none of them may change.
#pragma once

#include <string_view>

#include "ConfigurationControl/TicketRecords.h"

namespace TICKET_FORMAT {

constexpr std::string_view DECLARATION = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view ROOT = "ticket";
constexpr std::string_view TYPE_ATTRIBUTE = "type";
constexpr std::string_view EMPTY_TEXT = "\\";
constexpr std::string_view NOT_A_NUMBER = "1.#QNAN";
// Written for an element whose name is empty.
constexpr std::string_view NAMELESS = "anonymous";

struct TYPE_NAME {
    PARAM_TYPE type;
    std::string_view name;
};

// The types that a file can hold. Readers search from the front, so the most frequent ones come first.
constexpr TYPE_NAME TYPE_NAMES[] = {{PARAM_INT, "int"},       {PARAM_STRING, "string"}, {PARAM_DOUBLE, "double"},
                                    {PARAM_BINSTR, "binstr"}, {PARAM_INT64, "int64"},   {PARAM_UINT64, "uint64"}};

// The name of a type in a file; empty for a type that files do not hold.
constexpr std::string_view NameOf(PARAM_TYPE type) {
    for (TYPE_NAME const& known : TYPE_NAMES)
        if (known.type == type) return known.name;
    return {};
}

}  // namespace TICKET_FORMAT
