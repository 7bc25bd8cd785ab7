// Saves safely where the library alone does not: values that do not survive a round trip, other tools at the same time,
// symbolic links, owners, interrupts.
#include "Files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <vector>

#include "Listing.h"
#include "Owner.h"
#include "Progress.h"
#include "Rehearsal.h"
#include "Text.h"
#include "Turn.h"

namespace fs = std::filesystem;

namespace {

// Blocks the signals that would end the tool, so that a save leaves no temporary file.
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

// Whether a link on the way from `path` to `file` belongs to another user, and `file` to a third: who made the link may
// have chosen a file that he can read, or that he must not change.
bool IsRedirected(fs::path path, std::string const& file) {
    struct stat link;
    struct stat target;
    if (stat(file.c_str(), &target) != 0) return false;
    std::error_code error;
    while (lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
        bool const isTrusted = link.st_uid == 0 || link.st_uid == geteuid() || link.st_uid == target.st_uid;
        if (!isTrusted) return true;
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return false;
}

// The file itself, where the name is a link: a save would put a file in the place of the link.
std::string FileBehind(std::string const& path, bool force) {
    std::error_code error;
    if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
    auto const file = fs::canonical(path, error);
    if (error) throw FAILURE(path + ": a link to nothing");
    if (!force && IsRedirected(path, file))
        throw FAILURE(path + ": not written: it is another user's link; --force follows it to " + file.string());
    return file;
}

// Makes a hard link to the old file, which a save does not change. Replaces an earlier backup.
void KeepBackup(std::string const& file, std::string const& suffix) {
    if (suffix.find('/') != std::string::npos) throw FAILURE("--backup: a suffix holds no /");
    auto const backup = file + suffix;
    std::error_code error;
    if (!fs::exists(file, error)) return;
    fs::create_hard_link(file, backup, error);
    if (error == std::errc::file_exists && !fs::is_directory(backup)) {
        fs::remove(backup, error);
        fs::create_hard_link(file, backup, error);
    }
    if (error) throw FAILURE(file + ": not written: no backup can be made at " + backup + ": " + error.message());
}

// The first two, since a key that comes back under another name makes two.
std::string Told(std::vector<LOSS> const& losses) {
    auto const told = [](LOSS const& loss) { return Quoted(loss.key) + " " + loss.what; };
    auto text = told(losses[0]);
    if (losses.size() > 1) text += ", and " + told(losses[1]);
    if (losses.size() > 2) text += " (and " + std::to_string(losses.size() - 2) + " more)";
    return text;
}

}  // namespace

void Rewrite(std::string const& path, ARGUMENTS const& arguments, std::function<void(TICKET&)> const& change) {
    bool const force = arguments.Has("--force");
    auto const file = FileBehind(path, force);
    std::optional<PROGRESS> progress(std::in_place, file, 5);
    progress->Next("waiting for another ticket");
    TURN const turn(file);
    progress->Next("loading");
    TICKET ticket(file, MISSING::IS_EMPTY);
    if (ticket.IsForeign() && !force) {
        throw FAILURE(file +
                      ": not written: it has content and not one value: is "
                      "it a ticket file? --force replaces it");
    }
    OWNER const owner(file);
    owner.CheckForSave(force);
    progress->Next("changing");
    change(ticket);
    progress->Next("comparing what a save would write");
    MEMORY_FILE saved;
    auto const losses = LossesOfASave(ticket, file, saved);
    if (!losses.empty() && (!force || losses.front().preventsSave)) {
        auto const* const hint = losses.front().preventsSave ? "" : "; --force writes all the same";
        throw FAILURE(file + ": not written: " + Told(losses) + hint);
    }
    if (arguments.Has("--dry-run")) {
        progress.reset();
        TICKET const before(file, MISSING::IS_EMPTY);
        LISTING(arguments, file).PrintDifferences(&before, &ticket);
        return;
    }
    progress->Next("saving");
    SIGNALS_LATER const signals;
    if (auto const suffix = arguments.Find("--backup")) KeepBackup(file, suffix->empty() ? "~" : *suffix);
    ticket.Save();
    owner.Restore(saved);
}
