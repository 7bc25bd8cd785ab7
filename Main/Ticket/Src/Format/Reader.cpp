// Chooses the reader for a ticket file, and reads again if the file changes meanwhile.
#include "Format/Reader.h"

#include <new>
#include <optional>
#include <string>

#include "Format/StrictReader.h"

namespace {

constexpr int MOST_ATTEMPTS = 4;
constexpr std::size_t PIECE = std::size_t{64} << 10;

// The text up to its first NUL and the very last byte, the only one behind it that the parser sees. Nothing on failure.
std::optional<std::string> ReadText(FILE_SOURCE& source) {
    std::string text;
    for (std::size_t size = 0;;) {
        text.resize(size + PIECE);
        auto const count = source.Read(size, &text[size], PIECE);
        if (!count) return std::nullopt;
        text.resize(size + *count);
        std::size_t const nul = text.find('\0', size);
        size += *count;
        bool const isEnd = *count < PIECE;
        if (nul == std::string::npos && !isEnd) continue;
        if (nul == std::string::npos || source.Size() <= nul + 1) return text;
        text.resize(nul + 2);
        if (!source.Read(source.Size() - 1, &text[nul + 1], 1)) return std::nullopt;
        return text;
    }
}

READ_RESULT ReadOnce(FILE_SOURCE& source, LEAF_RECEIVER const& receiver) {
    std::size_t leaves = 0;
    {
        STRICT_READER strict(source, receiver);
        STRICT_READER::END const end = strict.Read();
        if (end == STRICT_READER::END::WHOLE) return {READING::DONE};
        if (end == STRICT_READER::END::UNREADABLE) return {READING::UNREADABLE};
        leaves = strict.Leaves();
    }
    auto const text = ReadText(source);
    if (!text) return {READING::UNREADABLE};
    return ReadDocument(*text, receiver, leaves);
}

void Drop(LEAF_RECEIVER const& receiver) {
    if (receiver.drop != nullptr) receiver.drop(receiver.context);
}

}  // namespace

READ_RESULT ReadTicket(FILE_SOURCE& source, LEAF_RECEIVER const& receiver) {
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        READ_RESULT const result = ReadOnce(source, receiver);
        bool const isOfTwoVersions = source.HasChanged();
        if (isOfTwoVersions || !result.IsRead()) Drop(receiver);
        if (!isOfTwoVersions) return result;
    }
    throw std::bad_alloc();  // as for every file that may be read later: the ticket does not replace it
}
