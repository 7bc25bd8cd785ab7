// `ticket recover`: the values of a file up to the place where it does not parse.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "Listing.h"
#include "MemoryFile.h"
#include "Text.h"
#include "XmlText.h"

namespace {

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

// Finds the place where a closing tag is missing or damaged, in a file that is indented as a save does it: there an
// element begins no deeper than the one that is still open. Without this, keys would get components that nobody stored.
class INDENTATION {
 public:
    // Takes the element whose tag begins at `at`, inside of `open` others. Returns whether it stands deeper than they.
    bool IsDeeper(std::string_view text, std::size_t at, std::size_t open) {
        std::size_t tabs = 0;
        while (tabs < at && text[at - tabs - 1] == '\t') ++tabs;
        bool const beginsLine = tabs == at || text[at - tabs - 1] == '\n';
        if (open == 1) m_isUsed = beginsLine && tabs == 1;
        auto const outer = open == 0 ? 0 : m_tabs[open - 1];
        m_tabs.resize(open);
        m_tabs.push_back(beginsLine ? tabs : outer);
        return open == 0 || !m_isUsed || !beginsLine || tabs > outer;
    }

 private:
    std::vector<std::size_t> m_tabs;  // before each open element; of one that begins no line, those of the outer one
    bool m_isUsed = false;            // the file is indented so
};

// The longest one before `end`.
BEGINNING BeginningBefore(std::string_view text, std::size_t end) {
    BEGINNING longest;
    INDENTATION indentation;
    std::vector<std::string_view> open;
    for (auto tag = NextTag(text, 0); tag && tag->begin < end; tag = NextTag(text, tag->end)) {
        if (tag->kind == TAG::KIND::OTHER) continue;
        bool const isEnd = tag->kind == TAG::KIND::END;
        if (isEnd && (open.empty() || tag->end > end)) break;
        if (!isEnd && !indentation.IsDeeper(text, tag->begin, open.size())) break;
        if (tag->kind == TAG::KIND::START) {
            open.push_back(NameIn(text, *tag));
            continue;
        }
        if (isEnd) open.pop_back();
        longest = {tag->end, open};
    }
    return longest;
}

// Returns where and why a text does not parse; nothing if it does.
std::optional<UNLOADABLE_FILE> Break(std::string const& file, std::string const& text) {
    try {
        ParseTicketText(file, text);
        return std::nullopt;
    } catch (UNLOADABLE_FILE const& failure) {
        return failure;
    }
}

// The longest beginning that parses once it is closed, with that text. Empty if there is none.
std::pair<BEGINNING, std::string> Recovered(std::string const& file, std::string const& text) {
    constexpr int ATTEMPTS = 16;  // the parser may find another break before the last one
    auto end = text.size();
    for (int i = 0; i < ATTEMPTS; ++i) {
        auto const beginning = BeginningBefore(text, end);
        if (beginning.size == 0) break;
        auto closed = beginning.Closed(text);
        auto const error = Break(file, closed);
        if (!error) return {beginning, std::move(closed)};
        end = error->offset == 0 ? 0 : std::min(end, error->offset) - 1;
    }
    return {};
}

// Reports the lines with values after `begin`, without the values, which may be passwords. Returns whether there are
// any.
bool TellWhatIsLost(std::string const& file, std::string_view text, std::size_t begin) {
    bool lost = false;
    PLACES places(file, text);
    while (begin < text.size()) {
        auto const end = std::min(text.find('\n', begin), text.size());
        auto const line = text.substr(begin, end - begin);
        auto const attribute = FindType(line);
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
    INPUT const input(arguments.Text("FILE"));
    auto const& file = input.Name();
    auto const text = ReadTicketText(input.Path());
    auto const error = Break(file, text);
    if (!error) throw FAILURE(file + ": parses; there is nothing to recover, but check may find problems");
    auto const [beginning, recovered] = Recovered(file, text);
    if (beginning.size == 0) {
        TellWhatIsLost(file, text, 0);
        throw FAILURE(file + ": no value stands before the error; correct it, as ticket check shows it, and try again");
    }
    MEMORY_FILE copy;
    copy.Take(recovered);
    TICKET const ticket(copy.Path());
    auto const target = arguments.Find("NEW");
    LISTING const listing(arguments, arguments.Text("FILE"));
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
    bool const lost = TellWhatIsLost(file, text, beginning.size);
    if (EndsEarly(text, error->offset)) {
        std::cout << Printable(PLACES(file, text).Of(text.size()))
                  << "the file ends here; what stood behind this place is lost\n";
        return FOUND_SOMETHING;
    }
    if (lost) return FOUND_SOMETHING;
    // The damaged tag may be that of a section, whose keys then have the wrong name.
    std::cout << Printable(error->what()) << "; no value is lost, and keys are named by the opening tags\n";
    return SUCCESS;
}
