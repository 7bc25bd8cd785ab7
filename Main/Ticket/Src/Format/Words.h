// The fixed words of a ticket file. They stand in files that users keep: none of them ever changes.
#pragma once

#include <string_view>

#include "ConfigurationControl/TicketRecords.h"

namespace TICKET_FORMAT {

constexpr std::string_view DECLARATION = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view ROOT = "ticket";
constexpr std::string_view TYPE_ATTRIBUTE = "type";
constexpr std::string_view EMPTY_TEXT = "\\";
constexpr std::string_view NOT_A_NUMBER = "1.#QNAN";
// How an element without a name is written.
constexpr std::string_view NAMELESS = "anonymous";

struct TYPE_NAME {
    PARAM_TYPE type;
    std::string_view name;
};

// The types that a file keeps. The most frequent ones stand first.
constexpr TYPE_NAME TYPE_NAMES[] = {{PARAM_INT, "int"},       {PARAM_STRING, "string"}, {PARAM_DOUBLE, "double"},
                                    {PARAM_BINSTR, "binstr"}, {PARAM_INT64, "int64"},   {PARAM_UINT64, "uint64"}};

// Empty for a type that files do not keep.
constexpr std::string_view NameOf(PARAM_TYPE type) {
    for (TYPE_NAME const& known : TYPE_NAMES)
        if (known.type == type) return known.name;
    return {};
}

}  // namespace TICKET_FORMAT
