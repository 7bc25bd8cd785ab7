// Writes what a save would write to a file in memory, by the library's own
// writer, and lets the library load that. So no rule of the file format is
// repeated here, and no copy of the settings reaches a disk.
#include "Rehearsal.h"

#include <algorithm>

#include "Format/Writer.h"
#include "Text.h"
#include "XmlText.h"

namespace {

std::string Describe(PARAMETER const& parameter) {
    if (parameter.size() > 1) return "a vector of " + std::to_string(parameter.size());
    return std::string(TypeName(parameter.front())) + " " + Excerpt(parameter.front());
}

// What becomes of a key that comes back as another.
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

// New keys that come back from this file, and that nobody promises to come back
// from every one.
std::vector<LOSS> Unpromised(std::string const& path, TICKET const& ticket) {
    std::vector<LOSS> losses;
    for (auto const& key : ticket.Keys()) {
        if (std::none_of(key.begin(), key.end(), IsControlByte)) continue;
        losses.push_back({key, "holds a control byte and may not come back from a file"});
    }
    if (losses.empty()) return losses;
    TICKET const before(path, MISSING::IS_EMPTY);
    auto const isOld = [&](LOSS const& loss) { return before.Has(loss.key); };
    losses.erase(std::remove_if(losses.begin(), losses.end(), isOld), losses.end());
    return losses;
}

// Why the library refuses to save, most likely: indentation makes a file as
// large as the square of its depth.
LOSS TooDeepToSave(TICKET const& ticket) {
    auto const depth = [](std::string const& key) { return std::count(key.begin(), key.end(), '/') + 1; };
    auto const shallower = [&](auto const& a, auto const& b) { return depth(a) < depth(b); };
    auto const keys = ticket.Keys();
    auto const& key = *std::max_element(keys.begin(), keys.end(), shallower);
    return {key, "nests " + std::to_string(depth(key)) + " elements: too deep to be saved, or memory is short", true};
}

}  // namespace

bool WriteTo(MEMORY_FILE& file, TICKET const& ticket) {
    auto const* const table = ticket.Table();
    auto const walk = [&](STICKET_WALK_CALLBACK callback, void* writer) {
        return table->WalkParameter(table->pTicket, callback, writer, "", WALK_EVERYTHING) != 0;
    };
    return WriteTicket(file, nullptr, nullptr, walk);
}

std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path, MEMORY_FILE& file) {
    if (ticket.Keys().empty()) return {};  // a save deletes the file
    try {
        if (!WriteTo(file, ticket)) return {TooDeepToSave(ticket)};
    } catch (std::bad_alloc const&) {
        return {TooDeepToSave(ticket)};
    }
    try {
        TICKET const reloaded(file.Path());
        auto losses = Compare(ticket, reloaded);
        return losses.empty() ? Unpromised(path, ticket) : losses;
    } catch (UNLOADABLE_FILE const&) {
        throw FAILURE(path +
                      ": not written: the file would not parse any more; "
                      "does a key hold <, >, \" or a line end?");
    }
}

std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path) {
    MEMORY_FILE file;
    return LossesOfASave(ticket, path, file);
}
