// Writes what a save would write to a file in memory, by the library's own writer, and lets the library load that. So
// no rule of the file format is repeated here, and no copy of the settings reaches a disk.
#include "Rehearsal.h"

#include <unistd.h>

#include <algorithm>
#include <new>
#include <optional>

#include "Format/Reader.h"
#include "Format/Writer.h"
#include "Text.h"
#include "XmlText.h"

namespace {

std::string Describe(PARAMETER const& parameter) {
    if (parameter.size() > 1) return "a vector of " + std::to_string(parameter.size());
    return std::string(TypeName(parameter.front())) + " " + Excerpt(parameter.front());
}

// How a key is changed by the round trip.
std::string Change(PARAMETER const& before, PARAMETER const& after) {
    if (before.size() != after.size()) return "(" + Describe(before) + ") would come back as " + Describe(after);
    std::size_t first = 0;
    while (SameParameter({before[first]}, {after[first]})) ++first;
    auto const element = before.size() == 1 ? "" : "element " + std::to_string(first) + " ";
    return element + "(" + Describe({before[first]}) + ") would come back as " + Describe({after[first]});
}

std::vector<LOSS> Compare(TICKET const& before, TICKET const& after) {
    std::vector<LOSS> losses;
    for (auto const& key : before.Keys()) {
        auto const parameter = before.Read(key);
        if (!parameter) continue;
        auto const found = after.Read(key);
        if (!found) {
            losses.push_back({key, "would be gone after a save"});
        } else if (!SameParameter(*found, *parameter)) {
            losses.push_back({key, Change(*parameter, *found)});
        }
    }
    for (auto const& key : after.Keys()) {
        if (!before.Has(key)) losses.push_back({key, "would appear after a save as " + Describe(*after.Read(key))});
    }
    return losses;
}

bool HasControlByte(std::string_view key) {
    return std::any_of(key.begin(), key.end(), IsControlByte);
}

// New keys that come back from this file, and that nobody promises to come back from every one.
std::vector<LOSS> Unpromised(std::string const& path, TICKET const& ticket) {
    std::vector<LOSS> losses;
    TICKET const before(path, MISSING::IS_EMPTY);
    for (auto const& key : ticket.Keys()) {
        if (!HasControlByte(key) || before.Has(key)) continue;
        losses.push_back({key, "holds a control byte and may not come back from a file"});
    }
    return losses;
}

// Why the library refuses to save, most likely: indentation makes a file as large as the square of its depth.
LOSS TooDeepToSave(TICKET const& ticket) {
    auto const depth = [](std::string const& key) { return std::count(key.begin(), key.end(), '/') + 1; };
    auto const shallower = [&](auto const& a, auto const& b) { return depth(a) < depth(b); };
    auto const keys = ticket.Keys();
    auto const& key = *std::max_element(keys.begin(), keys.end(), shallower);
    return {key, "nests " + std::to_string(depth(key)) + " elements: too deep to be saved, or memory is short", true};
}

// What a save wrote.
struct WRITTEN {
    std::size_t count = 0;            // values
    bool hasPromisedKeysOnly = true;  // no key with a control byte
};

// Writes what a save of this ticket would write, while `wantsMore()` is true. Returns nothing for what the library
// refuses to save.
template <typename SINK, typename CONDITION>
std::optional<WRITTEN> WriteTo(SINK& file, TICKET const& ticket, CONDITION const& wantsMore) {
    struct OBSERVED {
        CONDITION const& wantsMore;
        STICKET_WALK_CALLBACK callback;
        void* writer;
        WRITTEN written;

        static bool Take(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto& self = *static_cast<OBSERVED*>(context);
            ++self.written.count;
            if (HasControlByte(key)) self.written.hasPromisedKeysOnly = false;
            return self.callback(self.writer, key, type, value, index) && self.wantsMore();
        }
    };
    auto const* const table = ticket.Table();
    WRITTEN written;
    auto const walk = [&](STICKET_WALK_CALLBACK callback, void* writer) {
        OBSERVED observed = {wantsMore, callback, writer, {}};
        bool const done = table->WalkParameter(table->pTicket, OBSERVED::Take, &observed, "", WALK_EVERYTHING) != 0;
        written = observed.written;
        return done;
    };
    try {
        if (WriteTicket(file, nullptr, nullptr, walk)) return written;
    } catch (std::bad_alloc const&) {
        return std::nullopt;
    }
    return std::nullopt;
}

// Compares with a text what a save writes.
class COMPARISON final : public FILE_SINK {
 public:
    explicit COMPARISON(std::string_view text) : m_text(text), m_rest(text) {}

    void Take(std::string_view piece) override {
        m_isSame = m_isSame && m_rest.substr(0, piece.size()) == piece;
        m_rest.remove_prefix(std::min(piece.size(), m_rest.size()));
    }
    void Restart() {
        m_rest = m_text;
        m_isSame = true;
    }
    bool IsSameSoFar() const { return m_isSame; }
    bool IsSame() const { return m_isSame && m_rest.empty(); }

 private:
    std::string_view m_text;
    std::string_view m_rest;
    bool m_isSame = true;
};

// The bytes of a file in memory, for the library's reader.
class MEMORY_SOURCE final : public FILE_SOURCE {
 public:
    explicit MEMORY_SOURCE(MEMORY_FILE const& file) : m_file(file.Descriptor()) {}

    std::size_t Size() const override { return static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)); }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
        ssize_t const count = pread(m_file, bytes, size, static_cast<off_t>(begin));
        if (count < 0) return std::nullopt;
        return static_cast<std::size_t>(count);
    }

 private:
    int m_file;
};

// Receives the values of a file and compares them with those of a ticket. It keeps nothing, and takes a third of the
// time that loading the file and comparing two tickets takes.
class VALUE_COMPARISON {
 public:
    explicit VALUE_COMPARISON(TICKET const& ticket) : m_ticket(ticket) {}

    static int Take(void* context, std::string_view key, PARAM_TYPE type, void const* value, int /*index*/) {
        auto& self = *static_cast<VALUE_COMPARISON*>(context);
        int const order = self.m_count == 0 ? 1 : key.compare(self.m_key);
        self.m_index = order == 0 ? self.m_index + 1 : 0;
        if (order != 0) self.m_key = key;
        ++self.m_count;
        // Out of order, a key could come twice from two places.
        self.m_isSame = self.m_isSame && order >= 0 && self.m_ticket.Holds(self.m_key, self.m_index, type, value);
        return 1;
    }
    // Whether all of `count` values have come, and no other.
    bool IsSame(std::size_t count) const { return m_isSame && m_count == count; }

 private:
    TICKET const& m_ticket;
    std::string m_key;
    int m_index = 0;
    std::size_t m_count = 0;
    bool m_isSame = true;
};

bool ComesBack(MEMORY_FILE const& file, TICKET const& ticket, std::size_t count) {
    VALUE_COMPARISON comparison(ticket);
    MEMORY_SOURCE source(file);
    LEAF_RECEIVER const receiver = {VALUE_COMPARISON::Take, &comparison};
    return ReadTicket(source, receiver).reading == READING::DONE && comparison.IsSame(count);
}

}  // namespace

bool IsAsSaved(TICKET const& ticket, std::string_view text) {
    COMPARISON comparison(text);
    return WriteTo(comparison, ticket, [&] { return comparison.IsSameSoFar(); }) && comparison.IsSame();
}

std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path, MEMORY_FILE& file) {
    if (ticket.IsEmpty()) return {};  // a save deletes the file
    auto const written = WriteTo(file, ticket, [] { return true; });
    if (!written) return {TooDeepToSave(ticket)};
    std::vector<LOSS> losses;
    try {
        if (!ComesBack(file, ticket, written->count)) losses = Compare(ticket, TICKET(file.Path()));
    } catch (UNLOADABLE_FILE const&) {
        throw FAILURE(path +
                      ": not written: the file would not parse any more; "
                      "does a key hold <, >, \" or a line end?");
    }
    return losses.empty() && !written->hasPromisedKeysOnly ? Unpromised(path, ticket) : losses;
}

std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path) {
    MEMORY_FILE file;
    return LossesOfASave(ticket, path, file);
}
