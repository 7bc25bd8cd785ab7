// Rehearses every change on a copy, so that no rule of the file format has to be repeated here, and sees to what a
// library used by one program need not care about: other tools at the same time, links, owners, a user who interrupts.
#include "Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "Turn.h"
#include "XmlText.h"

namespace fs = std::filesystem;

namespace {

// Lets signals that would end the tool wait, so that it leaves no copy of a settings file behind.
class SIGNALS_LATER {
 public:
    SIGNALS_LATER() {
        sigset_t ending;
        sigemptyset(&ending);
        for (int const number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&ending, number);
        pthread_sigmask(SIG_BLOCK, &ending, &m_before);
    }
    ~SIGNALS_LATER() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SIGNALS_LATER(SIGNALS_LATER const&) = delete;
    SIGNALS_LATER& operator=(SIGNALS_LATER const&) = delete;

 private:
    sigset_t m_before;
};

// A directory of our own under the temporary one, removed with everything in it.
class SCRATCH {
 public:
    SCRATCH() {
        std::error_code error;
        std::string pattern = (fs::temp_directory_path(error) / "ticket-XXXXXX").string();
        if (error || mkdtemp(pattern.data()) == nullptr) {
            throw Failure("no place for a copy to rehearse on: is TMPDIR a directory that can be written?");
        }
        m_path = pattern;
    }
    ~SCRATCH() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    SCRATCH(SCRATCH const&) = delete;
    SCRATCH& operator=(SCRATCH const&) = delete;
    std::string File() const { return m_path / "ticket.xml"; }

 private:
    SIGNALS_LATER m_signals;
    fs::path m_path;
};

// A save makes a new file, which belongs to whoever runs the tool; an administrator must not take a program's settings
// away from it.
class OWNER {
 public:
    explicit OWNER(std::string const& path) : m_path(path), m_known(stat(path.c_str(), &m_before) == 0) {}
    bool CanBeRestored() const { return !m_known || geteuid() == 0 || m_before.st_uid == geteuid(); }
    void Restore() const {
        struct stat now;
        if (!m_known || stat(m_path.c_str(), &now) != 0) return;
        if (now.st_uid == m_before.st_uid && now.st_gid == m_before.st_gid) return;
        if (lchown(m_path.c_str(), m_before.st_uid, m_before.st_gid) != 0) return;  // a group of others
    }

 private:
    std::string m_path;
    struct stat m_before;
    bool m_known;
};

// The file itself, where the name is a link: a save would put a file in the place of the link.
std::string FileBehind(std::string const& path) {
    std::error_code error;
    if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
    auto const file = fs::canonical(path, error);
    if (error) throw Failure(path + ": a link to nothing");
    return file;
}

void CopyIfThere(std::string const& from, std::string const& to) {
    std::error_code error;
    if (!fs::exists(from, error)) return;
    fs::copy_file(from, to, error);
    if (!error) fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write, error);
    if (error) throw Failure(from + ": cannot be copied to rehearse on: " + error.message());
}

std::string Describe(Parameter const& parameter) {
    if (parameter.size() > 1) return "a vector of " + std::to_string(parameter.size());
    return std::string(TypeName(parameter.front())) + " " + Excerpt(parameter.front());
}

// What becomes of a key that comes back as another.
std::string Change(Parameter const& before, Parameter const& after) {
    if (before.size() != after.size()) return "(" + Describe(before) + ") would come back as " + Describe(after);
    std::size_t first = 0;
    while (SameParameter({before[first]}, {after[first]})) ++first;
    auto const element = before.size() == 1 ? "" : "element " + std::to_string(first) + " ";
    return element + "(" + Describe({before[first]}) + ") would come back as " + Describe({after[first]});
}

std::vector<LOSS> Compare(Parameters const& before, Parameters const& after) {
    std::vector<LOSS> losses;
    for (auto const& [key, parameter] : before) {
        auto const found = after.find(key);
        if (found == after.end()) {
            losses.push_back({key, "would be gone after a save"});
        } else if (!SameParameter(found->second, parameter)) {
            losses.push_back({key, Change(parameter, found->second)});
        }
    }
    for (auto const& [key, parameter] : after) {
        if (before.count(key) == 0) losses.push_back({key, "would appear after a save as " + Describe(parameter)});
    }
    return losses;
}

// New keys that come back from this file, and that nobody promises to come back from every one.
std::vector<LOSS> Unpromised(std::string const& path, Parameters const& intended) {
    std::vector<LOSS> losses;
    for (auto const& [key, parameter] : intended) {
        if (std::none_of(key.begin(), key.end(), IsControlByte)) continue;
        losses.push_back({key, "holds a control byte and may not come back from a file"});
    }
    if (losses.empty()) return losses;
    TicketFile const before(path, MISSING::IS_EMPTY);
    auto const isOld = [&](LOSS const& loss) { return before.Has(loss.key); };
    losses.erase(std::remove_if(losses.begin(), losses.end(), isOld), losses.end());
    return losses;
}

// Why the library refuses to save, most likely: indentation makes a file as large as the square of its depth.
LOSS TooDeepToSave(Parameters const& parameters) {
    auto const depth = [](std::string const& key) { return std::count(key.begin(), key.end(), '/') + 1; };
    auto const shallower = [&](auto const& a, auto const& b) { return depth(a.first) < depth(b.first); };
    auto const& key = std::max_element(parameters.begin(), parameters.end(), shallower)->first;
    return {key, "nests " + std::to_string(depth(key)) + " elements: too deep to be saved, or memory is short", true};
}

// The first two, since a key that comes back under another name makes two.
std::string Told(std::vector<LOSS> const& losses) {
    auto const told = [](LOSS const& loss) { return Quoted(loss.key) + " " + loss.what; };
    auto text = told(losses[0]);
    if (losses.size() > 1) text += ", and " + told(losses[1]);
    if (losses.size() > 2) text += " (and " + std::to_string(losses.size() - 2) + " more)";
    return text;
}

// Loads a copy, changes it, saves it, reads it back; what is not the same then.
std::vector<LOSS> Rehearse(std::string const& path, std::function<void(TicketFile&)> const& change) {
    SCRATCH const scratch;
    CopyIfThere(path, scratch.File());
    Parameters intended;
    {
        TicketFile copy(scratch.File(), MISSING::IS_EMPTY);
        try {
            change(copy);
            intended = copy.Read();
            copy.Save();
        } catch (RefusedSave const&) {
            copy.Clear();  // its end would save it all the same
            if (intended.empty()) throw;
            return {TooDeepToSave(intended)};
        } catch (...) {
            copy.Clear();
            throw;
        }
    }
    std::vector<LOSS> losses;
    try {
        losses = Compare(intended, TicketFile(scratch.File(), MISSING::IS_EMPTY).Read());
    } catch (UnloadableFile const&) {
        throw Failure(path +
                      ": not written: the file would not parse any more; does a key hold <, >, \" or a line end?");
    }
    return losses.empty() ? Unpromised(path, intended) : losses;
}

}  // namespace

void Rewrite(std::string const& path, bool force, std::function<void(TicketFile&)> const& change) {
    auto const file = FileBehind(path);
    TURN const turn(file);
    // Refused here, a broken file is named by its own name and not by that of a copy.
    bool const isForeign = TicketFile(file, MISSING::IS_EMPTY).IsForeign();
    if (isForeign && !force) {
        throw Failure(file +
                      ": not written: it has content and not one value: is it a ticket file? --force replaces it");
    }
    OWNER const owner(file);
    if (!owner.CanBeRestored() && !force) {
        throw Failure(file + ": not written: it is another user's, and would be yours; --force writes all the same");
    }
    auto const losses = Rehearse(file, change);
    if (!losses.empty() && (!force || losses.front().preventsSave)) {
        auto const* const hint = losses.front().preventsSave ? "" : "; --force writes all the same";
        throw Failure(file + ": not written: " + Told(losses) + hint);
    }
    SIGNALS_LATER const signals;
    TicketFile ticket(file, MISSING::IS_EMPTY);
    change(ticket);
    ticket.Save();
    owner.Restore();
}

std::vector<LOSS> LossesOfASave(std::string const& path) {
    return Rehearse(path, [](TicketFile&) {});
}
