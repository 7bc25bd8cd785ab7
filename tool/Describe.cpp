// `ticket describe`: shows type, fallback and allowed values of a key.
#include <iostream>

#include "Commands.h"
#include "Listing.h"
#include "Text.h"

namespace {

std::string TypesOf(KNOWN_KEY const& known) {
    std::string types;
    for (auto const type : known.types) types += (types.empty() ? "" : " or ") + std::string(TypeName(type));
    return known.isVector ? "vector of " + types : types;
}

void PrintRow(char const* name, std::string const& text) {
    constexpr std::size_t WIDTH = 10;
    if (text.empty()) return;
    std::cout << "  " << name << std::string(WIDTH - std::string_view(name).size(), ' ') << Printable(text) << '\n';
}

void Print(KNOWN_KEY const& known) {
    std::cout << Printable(known.key) << '\n';
    PrintRow("type", TypesOf(known));
    if (known.fallback) PrintRow("fallback", OneLine(*known.fallback));
    PrintRow("values", Allowed(known));
    PrintRow("secret", known.isSecret ? "yes" : "");
    PrintRow("getter", known.getter);
    PrintRow("setter", known.setter);
    PrintRow("help", known.help);
}

void PrintStored(ARGUMENTS const& arguments, std::string const& key, LISTING const& listing) {
    auto const file = arguments.Find("FILE");
    if (!file) return;
    INPUT const input(*file);
    auto const parameter = Loaded(input).Read(key);
    if (!parameter) return PrintRow("stored", "nothing");
    for (auto const& value : *parameter) {
        PrintRow("stored", std::string(TypeName(value)) + " " + (listing.Hides(key) ? HIDDEN_VALUE : OneLine(value)));
    }
}

}  // namespace

int Describe(ARGUMENTS const& arguments) {
    LISTING const listing(arguments, arguments.Text("FILE"));
    auto const& schema = listing.Known();
    auto const key = arguments.Find("KEY");
    if (!key) {
        for (auto const& known : schema.Keys()) std::cout << Printable(known.key) << '\t' << TypesOf(known) << '\n';
        return SUCCESS;
    }
    auto const* const known = schema.Find(*key);
    if (known == nullptr) {
        auto const* const meant = schema.Meant(*key);
        auto const hint = meant == nullptr ? "" : "; did you mean " + Quoted(meant->key) + "?";
        throw MISSING_KEY("nothing is known of the key " + Quoted(*key) + hint);
    }
    Print(*known);
    PrintStored(arguments, *key, listing);
    return SUCCESS;
}
