// `ticket edit`: a file in the user's editor.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Commands.h"
#include "Files.h"
#include "Lines.h"
#include "Listing.h"
#include "Text.h"
#include "XmlText.h"

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PREFIX = "ticket-edit-";

constexpr char const* INTRODUCTION =
    "# Key, type and value, with a TAB between them. The elements of a vector "
    "stand in lines of the same key.\n"
    "# Lines can be changed, added and removed. ******** stands for a hidden "
    "password, and leaves it as it is.\n"
    "# Types: int, unsigned, int64, uint64, double, string (in quotes), binstr "
    "(in hexadecimal).\n";

// A directory for the text, which an editor can open by name only. The lock on it ends with the process, so that a
// later command recognises the directory of a killed one and removes it.
class PRIVATE_DIRECTORY {
 public:
    PRIVATE_DIRECTORY() {
        auto const parent = Parent();
        RemoveLeftovers(parent);
        std::string pattern = parent / (std::string(PREFIX) + "XXXXXX");
        if (mkdtemp(pattern.data()) == nullptr)
            throw FAILURE("no place for the text: is " + parent.string() + " full?");
        m_path = pattern;
        m_lock = open(pattern.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (m_lock >= 0) flock(m_lock, LOCK_EX | LOCK_NB);
    }
    ~PRIVATE_DIRECTORY() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
        if (m_lock >= 0) close(m_lock);
    }
    PRIVATE_DIRECTORY(PRIVATE_DIRECTORY const&) = delete;
    PRIVATE_DIRECTORY& operator=(PRIVATE_DIRECTORY const&) = delete;

    std::string File() const { return m_path / "settings.txt"; }

 private:
    // The user's own directory in memory where there is one.
    static fs::path Parent() {
        char const* const runtime = std::getenv("XDG_RUNTIME_DIR");
        if (runtime != nullptr && access(runtime, W_OK | X_OK) == 0) return runtime;
        std::error_code error;
        auto const temporary = fs::temp_directory_path(error);
        if (error) throw FAILURE("no place for the text: is TMPDIR a directory?");
        return temporary;
    }

    static void RemoveLeftovers(fs::path const& parent) {
        std::error_code ignored;
        for (auto const& found : fs::directory_iterator(parent, ignored)) {
            if (found.path().filename().string().substr(0, PREFIX.size()) != PREFIX) continue;
            int const directory = open(found.path().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            struct stat status;
            bool const isOurs = directory >= 0 && fstat(directory, &status) == 0 && status.st_uid == geteuid();
            if (isOurs && flock(directory, LOCK_EX | LOCK_NB) == 0) fs::remove_all(found.path(), ignored);
            if (directory >= 0) close(directory);
        }
    }

    fs::path m_path;
    int m_lock = -1;
};

// Waits for the editor; throws FAILURE when it failed.
void RunEditor(std::string const& file) {
    char const* editor = std::getenv("VISUAL");
    if (editor == nullptr || *editor == '\0') editor = std::getenv("EDITOR");
    if (editor == nullptr || *editor == '\0') editor = "vi";
    auto const command = std::string(editor) + " \"$1\"";
    pid_t const process = fork();
    if (process == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), "sh", file.c_str(), nullptr);
        _exit(127);
    }
    int status = -1;
    while (process > 0 && waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
    if (status != 0) throw FAILURE(std::string("nothing was changed: the editor ") + Quoted(editor) + " failed");
}

// Asks whether to go on after a mistake; no without a terminal.
bool WantsToGoOn() {
    if (isatty(STDIN_FILENO) == 0) return false;
    std::cerr << "Edit again? [Y/n] ";
    std::string answer;
    return static_cast<bool>(std::getline(std::cin, answer)) &&
           (answer.empty() || answer[0] == 'y' || answer[0] == 'Y');
}

// What the lines say; hidden values are those of `before`.
PARAMETERS ParametersOf(std::string const& text, PARAMETERS const& before, LISTING const& listing) {
    PARAMETERS parameters;
    for (auto const& line : FromLines(text)) {
        auto& parameter = parameters[line.key];
        auto const old = before.find(line.key);
        bool const isHidden =
            line.value == HIDDEN_VALUE && old != before.end() && parameter.size() < old->second.size();
        parameter.push_back(isHidden ? old->second[parameter.size()] : ValueOf(line));
        auto const* const known = listing.Known().Find(line.key);
        auto const objection = known == nullptr ? "" : Objection(*known, parameter.back());
        if (!objection.empty()) {
            throw FAILURE("line " + std::to_string(line.number) + ": " + Quoted(line.key) + ": " + line.value + " " +
                          objection);
        }
    }
    return parameters;
}

// Shows the parameters in the editor until the result parses or the user gives up.
PARAMETERS Edited(PARAMETERS const& before, LISTING const& listing) {
    PRIVATE_DIRECTORY const directory;
    {
        std::ofstream text(directory.File());
        text << INTRODUCTION;
        for (auto const& [key, parameter] : before) {
            for (auto const& value : parameter) {
                text << (listing.Hides(key) ? ToHiddenLine(key, value) : ToLine(key, value)) << '\n';
            }
        }
        if (!text.flush()) throw FAILURE(directory.File() + ": cannot be written");
    }
    for (;;) {
        RunEditor(directory.File());
        try {
            return ParametersOf(ReadBytes(directory.File()), before, listing);
        } catch (FAILURE const& mistake) {
            if (!WantsToGoOn()) throw FAILURE(std::string("nothing was changed: ") + mistake.what());
            Complain(mistake.what());
        }
    }
}

void Apply(PARAMETERS const& before, PARAMETERS const& after, TICKET& ticket) {
    for (auto const& [key, parameter] : before) {
        if (after.count(key) == 0 && ticket.Has(key)) ticket.Delete(key, SCALAR_INDEX);
    }
    for (auto const& [key, parameter] : after) {
        auto const old = before.find(key);
        if (old == before.end() || !SameParameter(old->second, parameter)) ticket.Set(key, parameter);
    }
}

}  // namespace

int Edit(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    // An editor shows values to a person even if standard output is no terminal.
    auto shown = arguments;
    shown.Add("--redact", {});
    LISTING const listing(shown, file);
    auto const before = TICKET(file, MISSING::IS_EMPTY).Read(arguments.All("SELECTOR"));
    auto const after = Edited(before, listing);
    if (before.size() == after.size() &&
        std::equal(before.begin(), before.end(), after.begin(), [](auto const& a, auto const& b) {
            return a.first == b.first && SameParameter(a.second, b.second);
        })) {
        return SUCCESS;
    }
    Rewrite(file, arguments, [&](TICKET& ticket) { Apply(before, after, ticket); });
    return SUCCESS;
}
