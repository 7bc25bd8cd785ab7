// Looks at a file before it is opened as a ticket (a ticket passes over a broken file in silence, the tool must not),
// and rehearses every change on a copy, so that no rule of the file format has to be repeated here.
#include "Files.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "XmlText.h"

namespace fs = std::filesystem;

namespace {

// A directory of our own under the temporary one, removed with everything in it.
class SCRATCH {
 public:
    SCRATCH() {
        std::string pattern = (fs::temp_directory_path() / "ticket-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw Failure("cannot make a temporary directory: " + pattern);
        m_path = pattern;
    }
    ~SCRATCH() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    SCRATCH(SCRATCH const&) = delete;
    SCRATCH& operator=(SCRATCH const&) = delete;
    std::string File() const { return (m_path / "ticket.xml").string(); }

 private:
    fs::path m_path;
};

void CopyIfThere(std::string const& from, std::string const& to) {
    if (fs::exists(from)) fs::copy_file(from, to);
}

std::string Describe(Parameter const& parameter) {
    if (!parameter.isVector)
        return std::string(TypeName(parameter.values.front())) + " " + OneLine(parameter.values.front());
    return "a vector of " + std::to_string(parameter.values.size());
}

std::vector<LOSS> Compare(Parameters const& before, Parameters const& after) {
    std::vector<LOSS> losses;
    for (auto const& [key, parameter] : before) {
        auto const found = after.find(key);
        if (found == after.end()) {
            losses.push_back({key, "would be gone after a save"});
        } else if (!(found->second == parameter)) {
            losses.push_back({key, Describe(parameter) + " would come back as " + Describe(found->second)});
        }
    }
    for (auto const& [key, parameter] : after) {
        if (before.count(key) == 0) losses.push_back({key, "would appear after a save as " + Describe(parameter)});
    }
    return losses;
}

// Loads a copy, changes it, saves it, reads it back; what is not the same then.
std::vector<LOSS> Rehearse(std::string const& path, std::function<void(TicketFile&)> const& change) {
    SCRATCH const scratch;
    CopyIfThere(path, scratch.File());
    Parameters intended;
    {
        TicketFile ticket(scratch.File());
        change(ticket);
        intended = ticket.Read();
        ticket.Save();
    }
    try {
        if (fs::exists(scratch.File())) ParseTicketText(scratch.File(), ReadWholeFile(scratch.File()));
    } catch (Failure const&) {
        throw Failure(path + ": not written: the file would not parse any more; is each part of each key an XML name?");
    }
    return Compare(intended, TicketFile(scratch.File()).Read());
}

}  // namespace

void RequireTicketFile(std::string const& path) {
    if (!fs::exists(path)) throw Failure(path + ": no such file");
    ParseTicketText(path, ReadWholeFile(path));
}

void RequireTicketFileOrNone(std::string const& path) {
    if (fs::exists(path)) {
        RequireTicketFile(path);
        return;
    }
    auto const directory = fs::path(path).parent_path();
    if (!directory.empty() && !fs::is_directory(directory)) throw Failure(path + ": no such directory");
}

void Rewrite(std::string const& path, bool force, std::function<void(TicketFile&)> const& change) {
    RequireTicketFileOrNone(path);
    auto const losses = Rehearse(path, change);
    if (!losses.empty() && !force) {
        auto const& first = losses.front();
        auto const more = losses.size() > 1 ? " (and " + std::to_string(losses.size() - 1) + " more)" : std::string();
        throw Failure(path + ": not written: '" + first.key + "' " + first.what + more +
                      "; --force writes all the same");
    }
    Parameters intended;
    {
        TicketFile ticket(path);
        change(ticket);
        intended = ticket.Read();
        ticket.Save();
    }
    // The library does not report a failed write; the file itself tells.
    if (!force && !Compare(intended, TicketFile(path).Read()).empty()) throw Failure(path + ": cannot be written");
}

std::vector<LOSS> LossesOfASave(std::string const& path) {
    return Rehearse(path, [](TicketFile& ticket) {
        // Even a refused set makes a ticket dirty, so that the save really writes.
        ticket.Table()->SetParameter(ticket.Table()->pTicket, nullptr, PARAM_STRING, nullptr, SCALAR_INDEX);
    });
}
