// Turns typed values into their text in a ticket file.
#include "Format/Values.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Format/Escapes.h"
#include "Format/Numbers.h"
#include "Format/Words.h"

namespace {

template <typename NUMBER>
void PutNumber(TEXT_BUFFER& text, NUMBER const& number) {
    text.Advance(WriteNumber(text.Reserve(LONGEST_NUMBER), number));
}

void PutBytes(TEXT_BUFFER& text, std::string_view bytes) {
    constexpr std::size_t PART = 4096;  // keeps the space that is reserved for the longest escapes small
    if (bytes.empty()) return text.Put(TICKET_FORMAT::EMPTY_TEXT);
    bool isAfterSpace = false;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(PART, bytes.size()))) {
        std::string_view const part = bytes.substr(0, PART);
        text.Advance(Encode(text.Reserve(LONGEST_ESCAPE * part.size()), part, isAfterSpace));
    }
}

}  // namespace

void PutValue(TEXT_BUFFER& text, PARAM_TYPE type, void const* value, STICKET_STRING_CONVERSION* conversion) {
    if (value == nullptr) return PutBytes(text, {});
    switch (type) {
        case PARAM_INT:
            return PutNumber(text, *static_cast<int32_t const*>(value));
        case PARAM_INT64:
            return PutNumber(text, *static_cast<int64_t const*>(value));
        case PARAM_UINT64:
            return PutNumber(text, *static_cast<uint64_t const*>(value));
        case PARAM_DOUBLE:
            return PutNumber(text, BestDouble{*static_cast<double const*>(value), BestDouble::FILE_LIMIT});
        case PARAM_STRING: {
            auto const string = static_cast<char const*>(value);
            return conversion != nullptr ? PutBytes(text, conversion->ToFile(string)) : PutBytes(text, string);
        }
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            if (bytes.data == nullptr) return PutBytes(text, {});
            return PutBytes(text, {static_cast<char const*>(bytes.data), bytes.length});
        }
        default:
            return PutBytes(text, {});
    }
}
