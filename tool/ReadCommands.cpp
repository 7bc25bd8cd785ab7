// Commands that only read: list, get, diff.
#include <iostream>

#include "Commands.h"
#include "Json.h"
#include "Terminal.h"
#include "Text.h"
#include "TicketFile.h"

namespace {

std::string Name(std::string const& key, PARAMETER const& parameter, std::size_t element) {
    auto const name = Printable(key);
    return parameter.size() > 1 ? name + "[" + std::to_string(element) + "]" : name;
}

void PrintLines(char const* mark, COLOUR colour, std::string const& key, PARAMETER const& parameter) {
    for (std::size_t i = 0; i < parameter.size(); ++i) {
        auto const& value = parameter[i];
        auto const line = mark + Name(key, parameter, i) + "\t" + TypeName(value) + "\t" + OneLine(value);
        std::cout << COLOURED{line, colour} << '\n';
    }
}

void PrintPlain(VALUE const& value, bool hex) {
    if (hex) {
        std::cout << ToHex(PlainText(value)) << '\n';
    } else if (std::holds_alternative<BYTES>(value)) {
        std::cout << PlainText(value);  // exactly the bytes
    } else {
        std::cout << PlainText(value) << '\n';
    }
}

}  // namespace

int List(LIST_OPTIONS const& options) {
    auto const parameters = TICKET(options.file).Read(options.selectors);
    if (options.json) {
        std::cout << ToJson(parameters);
        return DONE;
    }
    for (auto const& [key, parameter] : parameters) {
        if (options.keysOnly) {
            std::cout << (OUTPUT::IsForPeople() ? Printable(key) : key) << '\n';
        } else {
            PrintLines("", COLOUR::NONE, key, parameter);
        }
    }
    return DONE;
}

int Get(GET_OPTIONS const& options) {
    TICKET const ticket(options.file);
    auto const parameter = ticket.Read(options.key);
    if (!parameter) throw FAILURE(options.file + ": no key " + Quoted(options.key));
    auto const count = static_cast<int>(parameter->size());
    if (options.index && (*options.index < 0 || *options.index >= count)) {
        throw FAILURE(options.file + ": " + Quoted(options.key) + " has no element " + std::to_string(*options.index));
    }
    int const first = options.index.value_or(0);
    int const last = options.index.value_or(count - 1);
    for (int i = first; i <= last; ++i) {
        std::optional<VALUE> value = (*parameter)[static_cast<std::size_t>(i)];
        if (!options.type.empty()) value = ticket.Get(options.key, TypeFromName(options.type), i);
        if (!value) throw FAILURE(options.file + ": " + Quoted(options.key) + " cannot be read as " + options.type);
        PrintPlain(*value, options.hex);
    }
    return DONE;
}

int Diff(DIFF_OPTIONS const& options) {
    auto const a = TICKET(options.a).Read();
    auto const b = TICKET(options.b).Read();
    bool differs = false;
    auto left = a.begin();
    auto right = b.begin();
    while (left != a.end() || right != b.end()) {
        bool const takeLeft = right == b.end() || (left != a.end() && left->first <= right->first);
        bool const takeRight = left == a.end() || (right != b.end() && right->first <= left->first);
        if (!takeLeft || !takeRight || !SameParameter(left->second, right->second)) {
            differs = true;
            if (takeLeft) PrintLines("- ", COLOUR::RED, left->first, left->second);
            if (takeRight) PrintLines("+ ", COLOUR::GREEN, right->first, right->second);
        }
        if (takeLeft) ++left;
        if (takeRight) ++right;
    }
    return differs ? FOUND_SOMETHING : DONE;
}

int Export(std::string const& file) {
    std::cout << ToJson(TICKET(file).Read());
    return DONE;
}
