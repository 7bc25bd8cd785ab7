// From a typed value to its text in a ticket file.
#include "Format/Values.h"

#include <cstdint>
#include <string_view>

#include "Format/Escapes.h"
#include "Format/Numbers.h"

void AppendValue(std::string& out, PARAM_TYPE type, void const* value, STICKET_STRING_CONVERSION* conversion) {
    if (value == nullptr) return;
    switch (type) {
        case PARAM_INT:
            return AppendNumber(out, *static_cast<int32_t const*>(value));
        case PARAM_INT64:
            return AppendNumber(out, *static_cast<int64_t const*>(value));
        case PARAM_UINT64:
            return AppendNumber(out, *static_cast<uint64_t const*>(value));
        case PARAM_DOUBLE:
            return AppendNumber(out, BestDouble{*static_cast<double const*>(value), BestDouble::FILE_LIMIT});
        case PARAM_STRING: {
            auto const text = static_cast<char const*>(value);
            return conversion != nullptr ? EncodeTo(out, conversion->ToFile(text)) : EncodeTo(out, text);
        }
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            if (bytes.data != nullptr) EncodeTo(out, {static_cast<char const*>(bytes.data), bytes.length});
            return;
        }
        default:
            return;
    }
}
