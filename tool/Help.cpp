// Help, and what the manual page says of the commands: all from the table of the commands.
#include <algorithm>
#include <iostream>
#include <string_view>

#include "Commands.h"
#include "Schema.h"
#include "Text.h"
#include "TicketFile.h"

namespace {

// Text for troff, which gives "-", "\" and a leading "." or "'" meanings.
std::string Roff(std::string_view text) {
    std::string result;
    for (char const c : text) {
        if (c == '-') {
            result += "\\-";
        } else if (c == '\\') {
            result += "\\e";
        } else if (result.empty() && (c == '.' || c == '\'')) {
            result += std::string("\\&") + c;
        } else {
            result += c;
        }
    }
    return result;
}

void PrintManEntry(COMMAND const& command) {
    std::cout << ".TP\n.B " << Roff(UsageOf(command)) << '\n' << Roff(command.summary) << ".\n";
    if (command.details[0] != '\0') std::cout << Roff(command.details) << '\n';
    if (command.options.empty()) return;
    std::cout << ".RS\n";
    for (auto const& option : command.options) {
        std::cout << ".TP\n.B " << Roff(Spelling(option)) << '\n' << Roff(option.help) << ".\n";
    }
    std::cout << ".RE\n";
}

}  // namespace

int Help(ARGUMENTS const& arguments) {
    auto const name = arguments.Find("COMMAND");
    if (!name) {
        std::cout << HelpOf(Commands());
        return SUCCESS;
    }
    auto const* const command = FindCommand(Commands(), *name);
    if (command == nullptr) throw FAILURE("no command " + Quoted(*name) + "; see ticket --help");
    std::cout << HelpOf(*command);
    return SUCCESS;
}

int ManPage(ARGUMENTS const& /*arguments*/) {
    for (auto const& command : Commands()) {
        if (!command.isHidden) PrintManEntry(command);
    }
    return SUCCESS;
}

int KnownKeys(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    auto const prefix = arguments.Text("PREFIX");
    std::vector<std::string> keys;
    try {
        keys = TICKET(file).Keys();
    } catch (FAILURE const&) {
        keys.clear();  // a shell asks before the file is there
    }
    SCHEMA const schema(arguments, file);
    for (auto const& known : schema.Keys()) keys.push_back(known.key);
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (auto const& key : keys) {
        if (key.compare(0, prefix.size(), prefix) == 0) std::cout << key << '\n';
    }
    return SUCCESS;
}

int KnownValues(ARGUMENTS const& arguments) {
    SCHEMA const schema(arguments, arguments.Text("FILE"));
    auto const prefix = arguments.Text("PREFIX");
    auto const* const known = schema.Find(arguments.Text("KEY"));
    if (known == nullptr) return SUCCESS;
    for (auto const& choice : known->choices) {
        auto const text = PlainText(choice);
        if (text.compare(0, prefix.size(), prefix) == 0) std::cout << text << '\n';
    }
    return SUCCESS;
}
