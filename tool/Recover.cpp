// `ticket recover`: the values of a file up to the place where it does not parse.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "Listing.h"
#include "MemoryFile.h"
#include "Text.h"
#include "XmlText.h"

namespace {

// The name in a start tag, without its brackets. It may be a name that XML forbids, such as "HP 4000".
std::string_view NameIn(std::string_view tag) {
    auto end = tag.find(" type=\"");
    if (end == std::string_view::npos && tag.find("=\"") != std::string_view::npos) end = tag.find_first_of(" \t\r\n");
    tag = tag.substr(0, end);
    return tag.substr(0, tag.find_last_not_of(" \t\r\n") + 1);
}

// The beginning of a text that ends with a closing tag.
struct BEGINNING {
    std::size_t size = 0;
    std::vector<std::string_view> open;  // the elements that are open at its end

    // The whole file that it would be.
    std::string Closed(std::string_view text) const {
        std::string file(text.substr(0, size));
        for (auto name = open.rbegin(); name != open.rend(); ++name) file.append("</").append(*name).append(">\n");
        return file;
    }
};

// The longest one before `end`.
BEGINNING BeginningBefore(std::string_view text, std::size_t end) {
    BEGINNING longest;
    std::vector<std::string_view> open;
    for (std::size_t at = text.find('<'); at < end; at = text.find('<', at)) {
        auto const rest = text.substr(at);
        bool const isComment = rest.substr(0, 4) == "<!--";
        auto const close = isComment ? rest.find("-->") : rest.find('>');
        if (close == std::string_view::npos) break;
        at += close + 1;
        auto const tag = rest.substr(1, close - 1);
        if (isComment || tag.empty() || tag[0] == '?' || tag[0] == '!') continue;
        bool const isClosing = tag[0] == '/';
        if (isClosing && (open.empty() || at > end)) break;
        if (isClosing) {
            open.pop_back();
        } else if (tag.back() != '/') {
            open.push_back(NameIn(tag));
            continue;
        }
        longest = {at, open};
    }
    return longest;
}

// Returns whether a text parses; if not, lowers `end` to a place before the break.
bool Parses(std::string const& file, std::string const& text, std::size_t& end) {
    try {
        ParseTicketText(file, text);
        return true;
    } catch (UNLOADABLE_FILE const& failure) {
        end = failure.offset == 0 ? 0 : std::min(end, failure.offset) - 1;
        return false;
    }
}

// Reports the lines with values after `begin`, without the values, which may be passwords. Returns whether there are
// any.
bool TellWhatIsLost(std::string const& file, std::string_view text, std::size_t begin) {
    bool lost = false;
    PLACES places(file, text);
    while (begin < text.size()) {
        auto const end = std::min(text.find('\n', begin), text.size());
        auto const line = text.substr(begin, end - begin);
        auto const attribute = line.find(" type=\"");
        if (attribute != std::string_view::npos) {
            lost = true;
            auto const start = std::min(line.rfind('<', attribute), attribute + 1);  // or no bracket
            auto const tag = line.substr(start, line.find('>', attribute) - start + 1);
            std::cout << Printable(places.Of(begin + start)) << "lost: " << Printable(tag) << '\n';
        }
        begin = end + 1;
    }
    return lost;
}

}  // namespace

int Recover(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    auto const text = ReadTicketText(file);
    auto end = text.size();
    if (Parses(file, text, end)) throw FAILURE(file + ": parses; there is nothing to recover");
    BEGINNING beginning;
    std::string recovered;
    constexpr int ATTEMPTS = 16;  // the parser may find another break before that one
    for (int i = 0; i < ATTEMPTS; ++i) {
        beginning = BeginningBefore(text, end);
        recovered = beginning.Closed(text);
        if (beginning.size == 0 || Parses(file, recovered, end)) break;
    }
    if (beginning.size == 0) {
        TellWhatIsLost(file, text, 0);
        throw FAILURE(file + ": no value stands before the error; correct it, as ticket check shows it, and try again");
    }
    MEMORY_FILE copy;
    copy.Take(recovered);
    TICKET const ticket(copy.Path());
    auto const target = arguments.Find("NEW");
    LISTING const listing(arguments, file);
    if (!target) {
        for (auto const& key : ticket.Keys()) {
            if (auto const parameter = ticket.Read(key)) listing.Print(key, *parameter);
        }
    } else {
        if (std::filesystem::exists(std::filesystem::symlink_status(*target))) {
            throw FAILURE(*target + ": exists; recover needs the name of a new file");
        }
        Rewrite(*target, arguments, [&](TICKET& into) { into.Merge(ticket, {}, false); });
    }
    return TellWhatIsLost(file, text, beginning.size) ? FOUND_SOMETHING : SUCCESS;
}
