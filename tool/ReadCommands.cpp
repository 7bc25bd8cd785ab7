// Commands that show values: list, get, find, diff, export.
#include <regex.h>

#include <algorithm>
#include <iostream>

#include "Commands.h"
#include "Json.h"
#include "Listing.h"
#include "Text.h"
#include "TicketFile.h"

namespace {

int PrintJson(TICKET const& ticket, LISTING const& listing, std::vector<std::string> const& selectors) {
    JSON_ARRAY array(std::cout);
    for (auto const& key : ticket.Keys(selectors)) {
        if (auto const parameter = ticket.Read(key)) array.Add(key, *parameter, listing.Hides(key));
    }
    array.Finish();
    return SUCCESS;
}

void PrintPlain(VALUE const& value, bool hex, char end) {
    if (hex) {
        std::cout << ToHex(PlainText(value)) << end;
    } else if (std::holds_alternative<BYTES>(value) && end == '\n') {
        std::cout << PlainText(value);  // exactly the bytes
    } else {
        std::cout << PlainText(value) << end;
    }
}

std::string Meant(TICKET const& ticket, LISTING const& listing, std::string const& key) {
    std::vector<NAME> names;
    for (auto const& name : ticket.Keys()) names.emplace_back(name);
    SortBySize(names);
    if (auto const* const closest = Closest(key, names)) return "; did you mean " + Quoted(closest->text) + "?";
    auto const* const known = listing.Known().Meant(key);
    return known == nullptr ? "" : "; did you mean " + Quoted(known->key) + "?";
}

// Whether a text holds another, or matches a regular expression.
class PATTERN {
 public:
    PATTERN(std::string const& text, bool isExpression, bool ignoresCase)
        : m_text(ignoresCase ? Lower(text) : text), m_isExpression(isExpression), m_ignoresCase(ignoresCase) {
        if (!isExpression) return;
        int const code = regcomp(&m_expression, text.c_str(), REG_EXTENDED | (ignoresCase ? REG_ICASE : 0));
        if (code == 0) return;
        char reason[128];
        regerror(code, &m_expression, reason, sizeof reason);
        throw FAILURE(Quoted(text) + " is no regular expression: " + reason);
    }
    ~PATTERN() {
        if (m_isExpression) regfree(&m_expression);
    }
    PATTERN(PATTERN const&) = delete;
    PATTERN& operator=(PATTERN const&) = delete;

    bool IsIn(std::string const& text) const {
        if (!m_isExpression) return (m_ignoresCase ? Lower(text) : text).find(m_text) != std::string::npos;
        regmatch_t whole = {0, static_cast<regoff_t>(text.size())};
        return regexec(&m_expression, text.data(), 1, &whole, REG_STARTEND) == 0;
    }

 private:
    static std::string Lower(std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        return text;
    }

    std::string m_text;
    bool m_isExpression;
    bool m_ignoresCase;
    regex_t m_expression = {};
};

}  // namespace

int List(ARGUMENTS const& arguments) {
    INPUT const input(arguments.Text("FILE"));
    TICKET const ticket = Loaded(input);
    LISTING const listing(arguments, arguments.Text("FILE"));
    auto const selectors = arguments.All("SELECTOR");
    if (arguments.Has("--json")) return PrintJson(ticket, listing, selectors);
    for (auto const& key : ticket.Keys(selectors)) {
        auto const parameter = ticket.Read(key);
        if (!parameter) continue;
        if (arguments.Has("--keys")) {
            listing.PrintKey(key);
        } else {
            listing.Print(key, *parameter);
        }
    }
    return SUCCESS;
}

int Get(ARGUMENTS const& arguments) {
    INPUT const input(arguments.Text("FILE"));
    TICKET const ticket = Loaded(input);
    LISTING const listing(arguments, arguments.Text("FILE"));
    auto const key = arguments.Text("KEY");
    auto const parameter = ticket.Read(key);
    auto const count = parameter ? static_cast<int>(parameter->size()) : 0;
    auto const index = arguments.Index();
    bool const isMissing = index.value_or(0) >= count;
    if (isMissing && arguments.Has("--default")) {
        std::cout << arguments.Text("--default") << listing.End();
        return SUCCESS;
    }
    if (!parameter) throw MISSING_KEY(input.Name() + ": no key " + Quoted(key) + Meant(ticket, listing, key));
    if (isMissing) throw MISSING_KEY(input.Name() + ": " + Quoted(key) + " has no element " + std::to_string(*index));
    auto const type = arguments.Find("--type");
    for (int i = index.value_or(0); i <= index.value_or(count - 1); ++i) {
        std::optional<VALUE> value = (*parameter)[static_cast<std::size_t>(i)];
        if (type) value = ticket.Get(key, TypeFromName(*type), i);
        if (!value) throw FAILURE(input.Name() + ": " + Quoted(key) + " cannot be read as " + *type);
        if (listing.Hides(key)) {
            std::cout << HIDDEN_VALUE << listing.End();
        } else {
            PrintPlain(*value, arguments.Has("--hex"), listing.End());
        }
    }
    return SUCCESS;
}

int Find(ARGUMENTS const& arguments) {
    PATTERN const pattern(arguments.Text("TEXT"), arguments.Has("--regex"), arguments.Has("--ignore-case"));
    INPUT const input(arguments.Text("FILE"));
    TICKET const ticket = Loaded(input);
    LISTING const listing(arguments, arguments.Text("FILE"));
    bool found = false;
    for (auto const& key : ticket.Keys()) {
        auto const parameter = ticket.Read(key);
        auto const matches = [&](VALUE const& value) { return pattern.IsIn(PlainText(value)); };
        bool const isFound = parameter && std::any_of(parameter->begin(), parameter->end(), matches);
        if (!isFound || listing.Hides(key)) continue;  // a hidden value could be guessed letter by letter
        found = true;
        if (arguments.Has("--keys")) {
            listing.PrintKey(key);
        } else {
            listing.Print(key, *parameter);
        }
    }
    return found ? SUCCESS : FOUND_SOMETHING;
}

int Diff(ARGUMENTS const& arguments) {
    INPUT const first(arguments.Text("FILE"));
    TICKET const before = Loaded(first);
    LISTING const listing(arguments, arguments.Text("FILE"));
    auto const others = arguments.All("OTHER");
    bool differs = false;
    for (auto const& name : others) {
        INPUT const input(name);
        TICKET const after = Loaded(input);
        if (others.size() > 1)
            std::cout << "--- " << Printable(first.Name()) << "\n+++ " << Printable(input.Name()) << '\n';
        if (listing.PrintDifferences(&before, &after)) differs = true;
    }
    return differs ? FOUND_SOMETHING : SUCCESS;
}

int Export(ARGUMENTS const& arguments) {
    INPUT const input(arguments.Text("FILE"));
    return PrintJson(Loaded(input), LISTING(arguments, arguments.Text("FILE")), {});
}
