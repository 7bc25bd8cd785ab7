// The table of all commands.
#include "Commands.h"

namespace {

using KIND = ARGUMENT_KIND;

constexpr POSITIONAL FILE_TO_READ = {"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file, or pipe; - is standard input"};
constexpr POSITIONAL FILES_TO_READ = {"FILE", KIND::FILE_NAME, COUNT::SOME,
                                      "Ticket files, or pipes; - is standard input"};
constexpr POSITIONAL FILE_TO_WRITE = {"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file; created if missing"};
constexpr POSITIONAL FILE_TO_CHANGE = {"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file"};
constexpr POSITIONAL SELECTORS = {"SELECTOR", KIND::KEY, COUNT::ANY,
                                  "Keys, or prefixes followed by *; all keys by default"};
constexpr POSITIONAL KEYS = {"KEY", KIND::KEY, COUNT::SOME, "Keys, or prefixes followed by *"};
constexpr POSITIONAL ONE_KEY = {"KEY", KIND::KEY, COUNT::ONE, "Key"};

constexpr OPTION SCHEMA_FILE = {"--schema", KIND::FILE_NAME, "FILE",
                                "JSON file that describes the keys of a program; FILE.schema.json by "
                                "default; none disables it and the keys of the settings service"};
constexpr OPTION SHOW_SECRETS = {"--show-secrets", KIND::FLAG, "", "Show passwords on a terminal"};
constexpr OPTION REDACT = {"--redact", KIND::FLAG, "", "Hide passwords in pipes and files too", "--show-secrets"};
constexpr OPTION ZERO = {"-z", KIND::FLAG, "", "End each record with a NUL byte and show keys and values as they are"};
constexpr OPTION INDEX = {"--index", KIND::INDEX, "N", "Element of a vector; the first one is 0"};
constexpr OPTION HEX = {"--hex", KIND::FLAG, "", "Print bytes in hexadecimal"};
constexpr OPTION DRY_RUN = {"--dry-run", KIND::FLAG, "", "Show what would change, and change nothing"};
constexpr OPTION BACKUP = {"--backup", KIND::TEXT, "[SUFFIX]",
                           "Keep the old file under its name with SUFFIX appended; ~ by default"};
constexpr OPTION FORCE = {"--force", KIND::FLAG, "",
                          "Write even if the round trip changes a value or key, if the file seems to be another "
                          "program's, or if its owner would change"};
constexpr OPTION CLEAR = {"--clear", KIND::FLAG, "", "Empty the file first"};

std::vector<COMMAND> ReadingCommands() {
    return {
        {"list",
         "Show keys with their types and values",
         "Prints one line for each value, in key order: key, type and value with "
         "a TAB between them. The elements of a "
         "vector have their index after the key.",
         {FILE_TO_READ, SELECTORS},
         {{"--json", KIND::FLAG, "", "Print JSON, in the form of export", "--keys"},
          {"--keys", KIND::FLAG, "", "Print the keys only"},
          ZERO,
          REDACT,
          SHOW_SECRETS,
          SCHEMA_FILE},
         "ticket list settings.xml 'Log/*' Product/Name",
         List,
         true},
        {"get",
         "Print one value",
         "Prints the elements of a vector one a line, and bytes exactly as they "
         "are. The exit code is 1 if the key is "
         "missing.",
         {FILE_TO_READ, ONE_KEY},
         {INDEX,
          {"--type", KIND::TYPE, "TYPE", "Convert to this type, as the library does for a program"},
          HEX,
          {"--default", KIND::TEXT, "VALUE", "Print this if the key is missing"},
          ZERO,
          REDACT,
          SHOW_SECRETS,
          SCHEMA_FILE},
         "ticket get settings.xml Product/Name",
         Get},
        {"find",
         "Show keys whose values contain a text",
         "Prints like list. The exit code is 1 if nothing was found.",
         {FILE_TO_READ, {"TEXT", KIND::TEXT, COUNT::ONE, "Text to find in values, as get prints them"}},
         {{"--regex", KIND::FLAG, "", "TEXT is an extended POSIX regular expression"},
          {"--ignore-case", KIND::FLAG, "", "Do not distinguish upper and lower case"},
          {"--keys", KIND::FLAG, "", "Print the keys only"},
          ZERO,
          REDACT,
          SHOW_SECRETS,
          SCHEMA_FILE},
         "ticket find settings.xml station --ignore-case",
         Find,
         true},
        {"diff",
         "Show what differs between files",
         "Compares the first file with each other one: - marks what was removed, "
         "+ what was added, both what was changed. "
         "The exit code is 1 if anything differs.",
         {{"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file, or pipe; - is standard input"},
          {"OTHER", KIND::FILE_NAME, COUNT::SOME, "Ticket files to compare it with"}},
         {REDACT, SHOW_SECRETS, SCHEMA_FILE},
         "ticket diff old.xml new.xml",
         Diff,
         true},
        {"export",
         "Print a file as JSON",
         "Import brings every type and vector back.",
         {FILE_TO_READ},
         {REDACT, SHOW_SECRETS, SCHEMA_FILE},
         "ticket export settings.xml > settings.json",
         Export,
         true},
        {"check",
         "Report problems that the library ignores",
         "Reports line and column of parse errors, lossy numbers and texts, "
         "ignored elements, keys that a save would lose, "
         "misspelt settings and values that the settings service cannot use. The "
         "exit code is 1 if there are any.",
         {FILES_TO_READ},
         {SCHEMA_FILE},
         "ticket check settings.xml",
         Check,
         true},
        {"settings",
         "Show every setting of the settings service",
         "Shows the value in the file, or the fallback that programs get "
         "instead, and the functions of each setting.",
         {FILE_TO_READ},
         {{"--json", KIND::FLAG, "", "Print JSON"},
          {"--show-secrets", KIND::FLAG, "", "Show passwords; they are hidden in pipes too"}},
         "ticket settings settings.xml",
         Settings,
         true},
        {"describe",
         "Explain a key: its type, fallback and allowed values",
         "Knows the keys of the settings service and of a schema file. Without "
         "KEY it lists all of them.",
         {{"KEY", KIND::KNOWN_KEY, COUNT::OPTIONAL, "Key"},
          {"FILE", KIND::FILE_NAME, COUNT::OPTIONAL, "Ticket file, whose value is shown too"}},
         {SCHEMA_FILE},
         "ticket describe Log/Level",
         Describe,
         true},
        {"watch",
         "Print changes of a file as they are made",
         "Prints like diff, until a signal ends it.",
         {{"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file; it may be missing"}, SELECTORS},
         {{"--count", KIND::INDEX, "N", "End after N changes of the file"}, REDACT, SHOW_SECRETS, SCHEMA_FILE},
         "ticket watch settings.xml",
         Watch},
    };
}

std::vector<COMMAND> WritingCommands() {
    return {
        {"set",
         "Store one value",
         "An existing key keeps its type. A new key gets the type of the setting "
         "of that name, or of the schema's key; "
         "any other is a string. A password should come from --from-file, since "
         "others can see the command line.",
         {FILE_TO_WRITE,
          {"KEY", KIND::KNOWN_KEY, COUNT::ONE, "Key"},
          {"VALUE", KIND::VALUE, COUNT::OPTIONAL, "Value; -- precedes one that begins with a dash"}},
         {{"--type", KIND::TYPE, "TYPE", "Type to store"},
          {"--index", KIND::INDEX, "N", "Replace this element of a vector, or append at its end", "--append"},
          {"--append", KIND::FLAG, "", "Append to the key's vector"},
          {"--hex", KIND::FLAG, "", "VALUE is in hexadecimal; a new key becomes a binstr", "--from-file"},
          {"--from-file", KIND::FILE_NAME, "F",
           "Store the bytes of this file or pipe, - for standard input; a new key becomes a binstr"},
          SCHEMA_FILE,
          DRY_RUN,
          BACKUP,
          FORCE},
         "ticket set settings.xml Log/Level 4",
         Set},
        {"delete",
         "Delete keys, or one element of a vector",
         "A file without values is removed. The exit code is 1 if a key is "
         "missing.",
         {FILE_TO_CHANGE, KEYS},
         {INDEX, DRY_RUN, BACKUP, FORCE},
         "ticket delete settings.xml Login/User 'Recent*'",
         Delete},
        {"reset",
         "Bring keys back to their fallbacks",
         "Deletes keys that the settings service or a schema describes, so that "
         "programs get the fallback; refuses others.",
         {FILE_TO_CHANGE, KEYS},
         {SCHEMA_FILE, DRY_RUN, BACKUP, FORCE},
         "ticket reset settings.xml Log/Level",
         Reset},
        {"merge",
         "Copy keys of one file into another",
         "Keys that are not selected stay as they are.",
         {{"FROM", KIND::FILE_NAME, COUNT::ONE, "Ticket file to read, or pipe; - is standard input"},
          {"INTO", KIND::FILE_NAME, COUNT::ONE, "Ticket file to change; created if missing"},
          SELECTORS},
         {CLEAR, DRY_RUN, BACKUP, FORCE},
         "ticket merge old.xml new.xml 'Login/*'",
         Merge},
        {"import",
         "Store the keys of a JSON text",
         "Reads standard input in the form of export.",
         {FILE_TO_WRITE},
         {CLEAR, DRY_RUN, BACKUP, FORCE},
         "ticket import settings.xml < settings.json",
         Import},
        {"edit",
         "Change a file in your editor",
         "Opens lines of key, type and value in $VISUAL, $EDITOR or vi. Lines "
         "can be changed, added and removed; a mistake "
         "is shown, and nothing is written until it is corrected. Passwords are "
         "hidden, and stay unless their lines change.",
         {FILE_TO_WRITE, SELECTORS},
         {SHOW_SECRETS, SCHEMA_FILE, DRY_RUN, BACKUP, FORCE},
         "ticket edit settings.xml 'Log/*'",
         Edit},
        {"recover",
         "Save what can be read of a file that does not parse",
         "Stores the values up to the break in a new file, and reports each line after it that holds a value, and "
         "whether the file ends early; the exit code is then 1. If nothing is lost, shows the error, because the keys "
         "of a section may then have a wrong name.",
         {{"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file that does not parse, or pipe; - is standard input"},
          {"NEW", KIND::FILE_NAME, COUNT::OPTIONAL, "File to create; without it the values are listed"}},
         {REDACT, SHOW_SECRETS, SCHEMA_FILE},
         "ticket recover settings.xml recovered.xml",
         Recover},
    };
}

std::vector<COMMAND> OwnCommands() {
    return {
        {"help",
         "Show the help of a command",
         "",
         {{"COMMAND", KIND::COMMAND, COUNT::OPTIONAL, "Command"}},
         {},
         "ticket help set",
         Help,
         true},
        {"completion",
         "Print the completion script of a shell",
         "",
         {{"SHELL", KIND::WORDS, COUNT::ONE, "bash|fish|zsh"}},
         {},
         "ticket completion bash > ~/.ticket.bash",
         Completion},
        {"known-keys",
         "Print the keys that a shell can offer for a file",
         "",
         {{"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file; it may be missing"},
          {"PREFIX", KIND::TEXT, COUNT::OPTIONAL, "How the keys begin"}},
         {},
         "ticket known-keys settings.xml Log/",
         KnownKeys,
         false,
         true},
        {"known-values",
         "Print the values that a shell can offer for a key",
         "",
         {{"FILE", KIND::FILE_NAME, COUNT::ONE, "Ticket file; it may be missing"},
          ONE_KEY,
          {"PREFIX", KIND::TEXT, COUNT::OPTIONAL, "How the values begin"}},
         {},
         "ticket known-values settings.xml Option/VireoVerify",
         KnownValues,
         false,
         true},
        {"man-page",
         "Print the part of the manual page that describes the commands",
         "",
         {},
         {},
         "ticket man-page",
         ManPage,
         false,
         true},
    };
}

}  // namespace

std::vector<COMMAND> const& Commands() {
    static std::vector<COMMAND> const commands = [] {
        auto all = ReadingCommands();
        for (auto& command : WritingCommands()) all.push_back(std::move(command));
        for (auto& command : OwnCommands()) all.push_back(std::move(command));
        return all;
    }();
    return commands;
}
