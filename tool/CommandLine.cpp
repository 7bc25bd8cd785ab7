// Builds the parser from the table, and turns its errors into messages.
#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>

#include "ConfigurationControl/Version.h"
#include "Terminal.h"
#include "Text.h"
#include "Values.h"

namespace {

constexpr OPTION HELP = {"--help", ARGUMENT_KIND::FLAG, "", "Show this help"};

// The parser gives some arguments a meaning of its own: "++" ends a command, "[a,b]" is a list, "-.5" an option. A
// prefix protects them; it is removed after parsing.
constexpr char MARK = '\x01';

std::string Marked(std::string const& word) {
    bool const isSign = word == "++" || word[0] == '[' || word.substr(0, 2) == "-." || word[0] == MARK;
    return isSign ? MARK + word : word;
}

std::string Unmarked(std::string const& word) {
    return word[0] == MARK ? word.substr(1) : word;
}

bool IsOptional(OPTION const& option) {
    return option.placeholder[0] == '[';
}

// Throws FAILURE for a value that an option or positional does not take.
void CheckValue(std::string const& name, ARGUMENT_KIND kind, char const* alternatives, std::string const& value) {
    if (kind == ARGUMENT_KIND::INDEX) {
        bool const isNumber = !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
        if (!isNumber || value.size() > 9) {
            throw FAILURE(name + ": " + Quoted(value) + " is not a whole number from 0 to 999999999");
        }
    }
    auto const words = WordsOf(kind, alternatives);
    if (words.empty() || std::find(words.begin(), words.end(), value) != words.end()) return;
    std::string known;
    for (auto const& word : words) known += (known.empty() ? "" : ", ") + word;
    throw FAILURE(name + ": " + Quoted(value) + " is not one of " + known);
}

// An option of a command as the parser knows it.
struct PARSED_OPTION {
    std::string value;
    CLI::Option* parsed = nullptr;
};

// What the parser makes of the words after a command.
struct PARSED_WORDS {
    std::map<std::string, PARSED_OPTION> options;
    std::vector<std::string> positionals;

    void Add(OPTION const& option, CLI::App& app) {
        auto& added = options[option.name];
        bool const isFlag = option.kind == ARGUMENT_KIND::FLAG;
        added.parsed = isFlag ? app.add_flag(option.name)
                              : app.add_option(option.name, added.value)->transform(Unmarked)->take_last();
    }
};

// Begins a message about the words after a command.
FAILURE WrongUsage(COMMAND const& command, std::string const& what) {
    return FAILURE(std::string(command.name) + ": " + what + "; see ticket help " + command.name);
}

std::string WithoutMarks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), MARK), text.end());
    return text;
}

// Gives the words that are no options to the positionals of the table.
void Distribute(COMMAND const& command, std::vector<std::string> const& words, ARGUMENTS& arguments) {
    std::size_t next = 0;
    for (auto const& positional : command.positionals) {
        bool const isNeeded = positional.count == COUNT::ONE || positional.count == COUNT::SOME;
        bool const takesAll = positional.count == COUNT::ANY || positional.count == COUNT::SOME;
        if (next == words.size() && isNeeded) throw WrongUsage(command, std::string(positional.name) + " is missing");
        if (next == words.size()) break;
        auto const first = words.begin() + static_cast<std::ptrdiff_t>(next);
        std::vector<std::string> const values(first, takesAll ? words.end() : first + 1);
        for (auto const& value : values) CheckValue(positional.name, positional.kind, positional.help, value);
        next += values.size();
        arguments.Add(positional.name, values);
    }
    if (next < words.size()) throw WrongUsage(command, "unexpected argument " + Quoted(words[next]));
}

ARGUMENTS Collect(COMMAND const& command, PARSED_WORDS const& words) {
    ARGUMENTS arguments;
    for (auto const& [name, option] : words.options) {
        if (!option.parsed->empty()) arguments.Add(name, {option.value});
    }
    for (auto const& option : OptionsOf(command)) {
        if (!arguments.Has(option.name)) continue;
        if (option.excludes != nullptr && arguments.Has(option.excludes)) {
            throw FAILURE(std::string(option.name) + " and " + option.excludes + " cannot be given together");
        }
        if (!IsOptional(option)) CheckValue(option.name, option.kind, option.placeholder, arguments.Text(option.name));
    }
    Distribute(command, words.positionals, arguments);
    return arguments;
}

// The words as the parser wants them: the last one first, and each value marked that it would miss.
std::vector<std::string> ForParser(COMMAND const& command, std::vector<std::string> const& words) {
    auto const options = OptionsOf(command);
    auto const complete = [&](std::string const& word) {
        for (auto const& option : options) {
            // An optional value follows "=" only; otherwise the next argument would be taken for it.
            if (IsOptional(option) && word == option.name) return word + "=" + MARK;
            if (option.kind != ARGUMENT_KIND::FLAG && word == std::string(option.name) + "=") return word + MARK;
        }
        return Marked(word);
    };
    auto const end = std::find(words.begin(), words.end(), "--");  // what follows is no option
    std::vector<std::string> marked;
    std::transform(words.begin(), end, std::back_inserter(marked), complete);
    std::transform(end, words.end(), std::back_inserter(marked), Marked);
    std::reverse(marked.begin(), marked.end());
    return marked;
}

// The command line after the name of the command.
ARGUMENTS Parse(COMMAND const& command, std::vector<std::string> const& words) {
    CLI::App app;
    app.set_help_flag();
    PARSED_WORDS parsed;
    for (auto const& option : OptionsOf(command)) parsed.Add(option, app);
    app.add_option("WORDS", parsed.positionals)->transform(Unmarked);
    try {
        app.parse(ForParser(command, words));
    } catch (CLI::ExtrasError const&) {
        auto const unknown = Quoted(Unmarked(app.remaining().front()));
        throw WrongUsage(command, "no option " + unknown + "; a value that begins with a dash follows --");
    } catch (CLI::ArgumentMismatch const& error) {
        throw WrongUsage(command,
                         WithoutMarks(error.what()).substr(0, std::string_view(error.what()).find(": 1 required")) +
                             " needs a value");
    } catch (CLI::ParseError const& error) {
        throw WrongUsage(command, WithoutMarks(error.what()));
    }
    return Collect(command, parsed);
}

std::string Spelling(POSITIONAL const& positional) {
    std::string const name = positional.name;
    switch (positional.count) {
        case COUNT::OPTIONAL:
            return "[" + name + "]";
        case COUNT::ANY:
            return "[" + name + "...]";
        case COUNT::SOME:
            return name + "...";
        default:
            return name;
    }
}

using ROWS = std::vector<std::pair<std::string, std::string>>;

// Text in lines that fit a terminal; the first line follows `begin`, the others are indented by its width.
std::string Wrapped(std::string begin, std::string const& text) {
    constexpr std::size_t WIDTH = 100;
    auto const indent = begin.size();
    std::string lines;
    std::string line = std::move(begin);
    std::istringstream stream(text);
    for (std::string word; stream >> word; line += word) {
        if (line.size() + 1 + word.size() > WIDTH && line.size() > indent) {
            lines += std::exchange(line, std::string(indent, ' ')) + "\n";
        } else if (line.size() > indent) {
            line += ' ';
        }
    }
    return lines + line + "\n";
}

// Two columns.
std::string Columns(ROWS const& rows) {
    std::size_t first = 0;
    for (auto const& row : rows) first = std::max(first, row.first.size());
    std::string text;
    for (auto const& [name, what] : rows)
        text += Wrapped("  " + name + std::string(first - name.size() + 2, ' '), what);
    return text;
}

}  // namespace

COMMAND const* FindCommand(std::vector<COMMAND> const& commands, std::string const& name) {
    auto const found =
        std::find_if(commands.begin(), commands.end(), [&](COMMAND const& command) { return name == command.name; });
    return found == commands.end() ? nullptr : &*found;
}

std::string Spelling(OPTION const& option) {
    std::string const name = option.name;
    if (option.kind == ARGUMENT_KIND::FLAG) return name == HELP.name ? "-h, " + name : name;
    if (IsOptional(option)) return name + "[=" + std::string(option.placeholder).substr(1);
    return name + (option.kind == ARGUMENT_KIND::WORDS ? "=" : " ") + option.placeholder;
}

std::vector<std::string> WordsOf(ARGUMENT_KIND kind, std::string_view alternatives) {
    if (kind == ARGUMENT_KIND::TYPE) return TypeNames();
    std::vector<std::string> words;
    if (kind != ARGUMENT_KIND::WORDS) return words;
    std::istringstream stream{std::string(alternatives)};
    for (std::string word; std::getline(stream, word, '|');) words.push_back(word);
    return words;
}

std::optional<std::string> ARGUMENTS::Find(std::string_view name) const {
    auto const found = m_values.find(name);
    if (found == m_values.end()) return std::nullopt;
    return found->second.empty() ? std::string() : found->second.front();
}

std::vector<std::string> ARGUMENTS::All(std::string_view name) const {
    auto const found = m_values.find(name);
    return found == m_values.end() ? std::vector<std::string>() : found->second;
}

std::optional<int> ARGUMENTS::Index() const {
    auto const text = Find("--index");
    if (!text) return std::nullopt;
    return std::stoi(*text);
}

std::vector<OPTION> const& CommonOptions() {
    static std::vector<OPTION> const options = {
        {"--color", ARGUMENT_KIND::WORDS, "auto|always|never", "Use colours; auto, the default, means on a terminal"},
        HELP,
    };
    return options;
}

std::vector<OPTION> OptionsOf(COMMAND const& command) {
    auto options = command.options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    return options;
}

std::string UsageOf(COMMAND const& command) {
    std::string usage = std::string("ticket ") + command.name;
    if (!command.options.empty()) usage += " [OPTION...]";
    for (auto const& positional : command.positionals) usage += " " + Spelling(positional);
    return usage;
}

std::string HelpOf(COMMAND const& command) {
    std::string help = "Usage: " + UsageOf(command) + "\n\n" + command.summary + ".\n";
    ROWS rows;
    if (command.details[0] != '\0') help += Wrapped("", command.details);
    for (auto const& positional : command.positionals) rows.emplace_back(positional.name, positional.help);
    if (!rows.empty()) help += "\nArguments:\n" + Columns(rows);
    rows.clear();
    for (auto const& option : OptionsOf(command)) rows.emplace_back(Spelling(option), option.help);
    return help + "\nOptions:\n" + Columns(rows) + "\nExample:\n  " + command.example + "\n";
}

std::string HelpOf(std::vector<COMMAND> const& commands) {
    ROWS rows;
    for (auto const& command : commands) {
        if (!command.isHidden) rows.emplace_back(command.name, command.summary);
    }
    return "Shows, checks and changes ticket settings files.\n\nUsage: ticket "
           "COMMAND [OPTION...] [ARGUMENT...]\n\n"
           "Commands:\n" +
           Columns(rows) +
           "\nOptions:\n  -h, --help  Show this help, or that of a command\n  "
           "--version   Show the version\n\n"
           "Exit codes: 0 done, 1 something differs, is missing or was found, 2 "
           "wrong usage or failure.\n"
           "See also: ticket help COMMAND, man ticket\n";
}

int RunCommandLine(std::vector<COMMAND> const& commands, std::vector<std::string> const& words) {
    if (words.empty()) throw FAILURE("a command is missing; see ticket --help");
    auto const& name = words.front();
    if (name == "--help" || name == "-h") return std::cout << HelpOf(commands), 0;
    if (name == "--version") return std::cout << "ticket " << ConfigurationControlVersionString << '\n', 0;
    auto const* const command = FindCommand(commands, name);
    if (command == nullptr) throw FAILURE("no command " + Quoted(name) + "; see ticket --help");
    std::vector<std::string> const rest(words.begin() + 1, words.end());
    auto const end = std::find(rest.begin(), rest.end(), "--");
    bool const wantsHelp =
        std::any_of(rest.begin(), end, [](auto const& word) { return word == "--help" || word == "-h"; });
    if (wantsHelp) return std::cout << HelpOf(*command), 0;
    auto const arguments = Parse(*command, rest);
    UseColour(arguments.Find("--color").value_or("auto"));
    if (command->isPaged) OUTPUT::UsePager();
    return command->run(arguments);
}
