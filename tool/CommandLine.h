// The command line as data: the description of a command, and the arguments of one call. Help, completion and man page
// are made of the same table as the parser, so that they cannot differ.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What an argument holds: decides how it is checked and what a shell offers for it. WORDS are alternatives with "|"
// between them; KNOWN_KEY is a key of the file or of the schema, VALUE a value of the key before it.
enum class ARGUMENT_KIND { FLAG, TEXT, INDEX, TYPE, WORDS, FILE_NAME, KEY, KNOWN_KEY, VALUE, COMMAND };

struct OPTION {
    char const* name;         // "--type", or "-z"
    ARGUMENT_KIND kind;       // FLAG: takes no value
    char const* placeholder;  // what help calls the value; "[SUFFIX]" is optional;
                              // for WORDS the words: "auto|never"
    char const* help;
    char const* excludes = nullptr;  // an option that cannot be given as well
};

enum class COUNT { ONE, OPTIONAL, ANY, SOME };

struct POSITIONAL {
    char const* name;
    ARGUMENT_KIND kind;
    COUNT count;
    char const* help;
};

// The arguments that a user gave after a command.
class ARGUMENTS {
 public:
    bool Has(std::string_view name) const { return m_values.count(name) != 0; }
    // The value of an optional option or positional; nothing if it was not given.
    std::optional<std::string> Find(std::string_view name) const;
    // Of one that the table requires; empty if it was not given.
    std::string Text(std::string_view name) const { return Find(name).value_or(std::string()); }
    std::optional<int> Index() const;
    std::vector<std::string> All(std::string_view name) const;

    void Add(std::string name, std::vector<std::string> values) { m_values[std::move(name)] = std::move(values); }

 private:
    std::map<std::string, std::vector<std::string>, std::less<>> m_values;
};

struct COMMAND {
    char const* name;
    char const* summary;  // one line, without a full stop
    char const* details;  // more sentences for help and man page; may be ""
    std::vector<POSITIONAL> positionals;
    std::vector<OPTION> options;
    char const* example;
    int (*run)(ARGUMENTS const& arguments);
    bool isPaged = false;   // its output may be long
    bool isHidden = false;  // hidden from help: for the completion scripts and the build
};

// Options that every command takes.
std::vector<OPTION> const& CommonOptions();

// The command's own options, then the common ones.
std::vector<OPTION> OptionsOf(COMMAND const& command);

// Null for an unknown name.
COMMAND const* FindCommand(std::vector<COMMAND> const& commands, std::string const& name);

// "--type TYPE", "--color=auto|always|never", "--backup[=SUFFIX]"
std::string Spelling(OPTION const& option);
// The words that an option or positional of kind WORDS or TYPE takes; empty for any other.
std::vector<std::string> WordsOf(ARGUMENT_KIND kind, std::string_view alternatives);

// "ticket set [OPTION...] FILE KEY [VALUE]"
std::string UsageOf(COMMAND const& command);

std::string HelpOf(COMMAND const& command);
std::string HelpOf(std::vector<COMMAND> const& commands);

// Reads a command line and runs the command; an exit code. Throws FAILURE for wrong usage, and what the command throws.
int RunCommandLine(std::vector<COMMAND> const& commands, std::vector<std::string> const& words);
