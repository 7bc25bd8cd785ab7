// `ticket`: looks into ticket files and mends them. This file is the command line; the commands are in their own
// sources.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "ConfigurationControl/Version.h"
#include "Terminal.h"
#include "Text.h"
#include "Values.h"

namespace {

// A command with its example; `run` is filled in by whoever adds the options.
CLI::App* AddCommand(CLI::App& app, char const* name, char const* what, char const* example) {
    auto* const command = app.add_subcommand(name, what);
    command->footer(std::string("Example:\n  ") + example);
    return command;
}

void AddForce(CLI::App* command, bool& force) {
    command->add_flag(
        "--force", force,
        "Write even when a value or key would not come back as it is, or the file seems to be no ticket file");
}

void AddType(CLI::App* command, std::string& type, char const* what) {
    command->add_option("--type", type, what)->check(CLI::IsMember(TypeNames()));
}

using RUN = std::function<int()>;

void AddReadCommands(CLI::App& app, RUN& run) {
    static LIST_OPTIONS list;
    auto* command = AddCommand(app, "list", "Show keys with type and value, in order",
                               "ticket list settings.xml 'Log/*' Product/Name");
    command->add_option("FILE", list.file, "Ticket file")->required();
    command->add_option("SELECTOR", list.selectors, "Keys, or prefixes with a trailing *; all keys by default");
    auto* const json = command->add_flag("--json", list.json, "As JSON, in the form of export");
    command->add_flag("--keys", list.keysOnly, "Keys only")->excludes(json);
    command->callback([&run] { run = [] { return List(list); }; });

    static GET_OPTIONS get;
    command = AddCommand(app, "get", "Print one value, plain; a vector one element a line",
                         "ticket get settings.xml Product/Name");
    command->add_option("FILE", get.file, "Ticket file")->required();
    command->add_option("KEY", get.key, "Key")->required();
    command->add_option("--index", get.index, "Element of a vector, from 0");
    command->add_flag("--hex", get.hex, "In hexadecimal");
    AddType(command, get.type, "Convert to this type, as the library does for a host");
    command->callback([&run] { run = [] { return Get(get); }; });

    static DIFF_OPTIONS diff;
    command = AddCommand(app, "diff", "Show added, removed and changed keys; exit code 1 when there are any",
                         "ticket diff old.xml new.xml");
    command->add_option("A", diff.a, "Ticket file")->required();
    command->add_option("B", diff.b, "Ticket file")->required();
    command->callback([&run] { run = [] { return Diff(diff); }; });

    static std::string exported;
    command = AddCommand(app, "export", "Print a file as JSON", "ticket export settings.xml > settings.json");
    command->add_option("FILE", exported, "Ticket file")->required();
    command->callback([&run] { run = [] { return Export(exported); }; });

    static std::vector<std::string> checked;
    command = AddCommand(app, "check", "Report what the library passes over in silence; exit code 1 when there is any",
                         "ticket check settings.xml");
    command->add_option("FILE", checked, "Ticket files")->required();
    command->callback([&run] { run = [] { return Check(checked); }; });

    static SETTINGS_OPTIONS settings;
    command = AddCommand(app, "settings", "Show every setting of the configuration service: current value or fallback",
                         "ticket settings settings.xml");
    command->add_option("FILE", settings.file, "Ticket file")->required();
    command->add_flag("--json", settings.json, "As JSON");
    command->add_flag("--show-secrets", settings.showSecrets, "Show passwords in clear");
    command->callback([&run] { run = [] { return Settings(settings); }; });
}

void AddWriteCommands(CLI::App& app, RUN& run) {
    static SET_OPTIONS set;
    auto* command = AddCommand(app, "set", "Store one value; a key that exists keeps its type, a new one is a string",
                               "ticket set settings.xml Log/Level 4 --type int");
    command->add_option("FILE", set.file, "Ticket file; made if missing")->required();
    command->add_option("KEY", set.key, "Key")->required();
    command->add_option("VALUE", set.value, "Value; one that begins with a dash and is no number follows --");
    AddType(command, set.type, "Type to store");
    auto* const index =
        command->add_option("--index", set.index, "Element of a vector: replace it, or append at the end");
    command->add_flag("--append", set.append, "Append to the key's vector")->excludes(index);
    auto* const hex = command->add_flag("--hex", set.hex, "VALUE is bytes in hexadecimal; a new key is a binstr");
    command->add_option("--from-file", set.fromFile, "Take the bytes of this file or pipe; a new key is a binstr")
        ->excludes(hex);
    AddForce(command, set.force);
    command->callback([&run] { run = [] { return Set(set); }; });

    static DELETE_OPTIONS del;
    command = AddCommand(app, "delete", "Delete keys, or one element of a vector",
                         "ticket delete settings.xml Login/User Login/Password");
    command->add_option("FILE", del.file, "Ticket file")->required();
    command->add_option("KEY", del.keys, "Keys")->required();
    command->add_option("--index", del.index, "Only this element");
    AddForce(command, del.force);
    command->callback([&run] { run = [] { return Delete(del); }; });

    static MERGE_OPTIONS merge;
    command = AddCommand(app, "merge", "Copy keys of one file into another", "ticket merge old.xml new.xml 'Login/*'");
    command->add_option("FROM", merge.from, "Ticket file to read")->required();
    command->add_option("INTO", merge.into, "Ticket file to change; made if missing")->required();
    command->add_option("SELECTOR", merge.selectors, "Keys, or prefixes with a trailing *; all keys by default");
    command->add_flag("--clear", merge.clear, "Empty INTO first");
    AddForce(command, merge.force);
    command->callback([&run] { run = [] { return Merge(merge); }; });

    static IMPORT_OPTIONS import;
    command = AddCommand(app, "import", "Store the keys of a JSON text from standard input",
                         "ticket import settings.xml < settings.json");
    command->add_option("FILE", import.file, "Ticket file; made if missing")->required();
    command->add_flag("--clear", import.clear, "Empty the file first");
    AddForce(command, import.force);
    command->callback([&run] { run = [] { return Import(import); }; });
}

// The parser takes some arguments for signs of its own: "++" ends a command, "[a,b]" is a list, "-.5" an option. A mark
// in front keeps them as they are until the parser has passed them on.
constexpr char MARK = '\x01';

std::string Marked(std::string const& argument) {
    bool const isSign = argument == "++" || argument[0] == '[' || argument.substr(0, 2) == "-." || argument[0] == MARK;
    return isSign ? MARK + argument : argument;
}

std::string Unmarked(std::string const& argument) {
    return argument[0] == MARK ? argument.substr(1) : argument;
}

void UnmarkWhatIsPassedOn(CLI::App& app) {
    for (auto* const command : app.get_subcommands({})) {
        for (auto* const option : command->get_options()) {
            if (option->get_expected_max() > 0) option->transform(Unmarked);
        }
    }
}

std::string WrongUsage(CLI::App const& app, CLI::ParseError const& error) {
    std::string what = error.what();
    what.erase(std::remove(what.begin(), what.end(), MARK), what.end());
    auto const commands = app.get_subcommands();
    if (!commands.empty()) {
        auto const extras = commands[0]->remaining();
        bool const dash = std::any_of(extras.begin(), extras.end(), [](auto const& extra) { return extra[0] == '-'; });
        auto const* const hint = dash ? "; what begins with a dash and is no option follows --" : "";
        return what + hint + "; see ticket " + commands[0]->get_name() + " --help";
    }
    auto const unknown = app.remaining();
    return (unknown.empty() ? what : "no command " + Quoted(unknown[0])) + "; see ticket --help";
}

// What the command line asks for, done; an exit code. Throws what goes wrong.
int Run(CLI::App& app, RUN const& run, std::vector<std::string> const& arguments) {
    std::vector<std::string> lastFirst;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(lastFirst), Marked);
    try {
        app.parse(std::move(lastFirst));
    } catch (CLI::Success const& help) {
        return app.exit(help);  // --help, --version
    } catch (CLI::ParseError const& error) {
        throw FAILURE(WrongUsage(app, error));
    }
    return run();
}

}  // namespace

int main(int argc, char** argv) {
    OccupyStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN);  // a write beyond the limit of file sizes then fails like any other
    OUTPUT const output;
    CLI::App app("Looks into ticket settings files and mends them.", "ticket");
    app.set_version_flag("--version", std::string("ticket ") + ConfigurationControlVersionString);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 differs or found something, 2 usage or failure. See also: man ticket");
    RUN run;
    AddReadCommands(app, run);
    AddWriteCommands(app, run);
    UnmarkWhatIsPassedOn(app);
    try {
        int const result = Run(app, run, {argv + std::min(argc, 1), argv + argc});
        std::cout.flush();
        if (!std::cout) throw FAILURE("standard output cannot be written");
        return result;
    } catch (std::exception const& error) {
        Complain(error.what());
    } catch (char const* text) {
        Complain(text);
    }
    return FAILED;
}
