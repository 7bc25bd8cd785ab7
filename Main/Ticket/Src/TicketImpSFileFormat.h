// The fixed words of a ticket file. They stand in files that users keep: none of them ever changes.
#pragma once

#include <string_view>

#include "ConfigurationControl/TicketRecords.h"

namespace TICKET_FORMAT {

constexpr char ROOT[] = "ticket";
constexpr char TYPE_ATTRIBUTE[] = "type";
constexpr char EMPTY_TEXT[] = "\\";
constexpr char NOT_A_NUMBER[] = "1.#QNAN";
// How an element without a name is written.
constexpr char NAMELESS[] = "anonymous";

struct TYPE_NAME {
    PARAM_TYPE type;
    char const* name;
};

// The types that a file keeps. The most frequent ones stand first.
constexpr TYPE_NAME TYPE_NAMES[] = {{PARAM_INT, "int"},       {PARAM_STRING, "string"}, {PARAM_DOUBLE, "double"},
                                    {PARAM_BINSTR, "binstr"}, {PARAM_INT64, "int64"},   {PARAM_UINT64, "uint64"}};

// Null for a type that files do not keep.
constexpr char const* NameOf(PARAM_TYPE type) {
    for (TYPE_NAME const& known : TYPE_NAMES)
        if (known.type == type) return known.name;
    return nullptr;
}

// PARAM_NONE for a name that is not exactly one of the table's.
constexpr PARAM_TYPE TypeOf(std::string_view name) {
    for (TYPE_NAME const& known : TYPE_NAMES)
        if (known.name == name) return known.type;
    return PARAM_NONE;
}

}  // namespace TICKET_FORMAT
