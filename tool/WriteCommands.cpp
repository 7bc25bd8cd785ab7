// Commands that change a file: set, delete, reset, merge, import. Each describes its change; Rewrite carries it out
// safely.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <set>

#include "Commands.h"
#include "Files.h"
#include "Json.h"
#include "Schema.h"
#include "Terminal.h"
#include "Text.h"
#include "XmlText.h"

namespace {

// The arguments of `set`.
struct ASSIGNMENT {
    ARGUMENTS const& arguments;
    SCHEMA const& schema;
    std::string key;
    std::string text;
    bool isBytes;
};

// Where the type of a value comes from.
enum class ORIGIN { OPTION, STORED, KNOWN, USUAL };

struct TYPE_CHOICE {
    PARAM_TYPE type;
    ORIGIN origin;
};

TYPE_CHOICE TypeToSet(ASSIGNMENT const& assignment, TICKET const& ticket) {
    if (auto const asked = assignment.arguments.Find("--type")) return {TypeFromName(*asked), ORIGIN::OPTION};
    if (auto const parameter = ticket.Read(assignment.key)) {
        auto const element = static_cast<std::size_t>(assignment.arguments.Index().value_or(0));
        return {TypeOf((*parameter)[element < parameter->size() ? element : 0]), ORIGIN::STORED};
    }
    auto const* const known = assignment.schema.Find(assignment.key);
    if (known != nullptr) return {known->types.front(), ORIGIN::KNOWN};
    return {assignment.isBytes ? PARAM_BINSTR : PARAM_STRING, ORIGIN::USUAL};
}

bool IsText(PARAM_TYPE type) {
    return type == PARAM_STRING || type == PARAM_BINSTR;
}

VALUE Converted(ASSIGNMENT const& assignment, PARAM_TYPE type) {
    if (assignment.isBytes && !IsText(type)) {
        throw FAILURE("--hex and --from-file are for types string and binstr");
    }
    auto const* const known = assignment.schema.Find(assignment.key);
    if (known != nullptr && known->isFlag && type == PARAM_INT) {
        if (assignment.text == "true") return int32_t{1};
        if (assignment.text == "false") return int32_t{0};
    }
    return ParseValue(assignment.arguments.Has("--hex") ? FromHex(assignment.text) : assignment.text, type);
}

// Prints a note if a program reads the value differently than the user may expect. Throws FAILURE for a value that the
// setting or schema does not allow, unless --force is given.
void CheckMeaning(ASSIGNMENT const& assignment, TYPE_CHOICE const& choice, VALUE const& value) {
    auto const* const known = assignment.schema.Find(assignment.key);
    if (known == nullptr) {
        if (choice.origin != ORIGIN::USUAL) return;
        auto const* const meant = assignment.schema.Meant(assignment.key);
        if (meant != nullptr)
            Note(Quoted(assignment.key) + " is no known key; did you mean " + Quoted(meant->key) + "?");
        return;
    }
    bool const isRead = std::find(known->types.begin(), known->types.end(), choice.type) != known->types.end();
    bool const areNumbers = !IsText(known->types.front()) && !IsText(choice.type);
    if (!isRead && !areNumbers) {
        Note(Quoted(known->key) + " is stored as " + TypeName(choice.type) + "; programs read " +
             TypeName(known->types.front()) + ", which --type " + TypeName(known->types.front()) + " stores");
        return;
    }
    auto const objection = Objection(*known, value);
    if (objection.empty() || assignment.arguments.Has("--force")) return;
    throw FAILURE(Quoted(known->key) + ": " + Excerpt(value) + " " + objection + "; --force stores it all the same");
}

VALUE ConvertedOrHint(ASSIGNMENT const& assignment, TYPE_CHOICE const& choice) {
    try {
        return Converted(assignment, choice.type);
    } catch (FAILURE const& failure) {
        bool const isOfTheKey = choice.origin == ORIGIN::STORED || choice.origin == ORIGIN::KNOWN;
        if (!isOfTheKey || IsText(choice.type)) throw;
        throw FAILURE(failure.what() + ("; " + Quoted(assignment.key)) + " is of type " + TypeName(choice.type) +
                      ", --type stores another");
    }
}

VALUE ValueToSet(ASSIGNMENT const& assignment, TICKET const& ticket) {
    auto const choice = TypeToSet(assignment, ticket);
    auto value = ConvertedOrHint(assignment, choice);
    CheckMeaning(assignment, choice, value);
    return value;
}

// An element that is there, or the next one.
void RequirePlace(ARGUMENTS const& arguments, std::string const& key, TICKET const& ticket) {
    auto const index = arguments.Index().value_or(0);
    if (index == 0 || ticket.Has(key, index - 1)) return;
    throw FAILURE(arguments.Text("FILE") + ": " + Quoted(key) + " has no element " + std::to_string(index));
}

// The keys that exist and that a command names, each by itself or by a prefix and "*". Throws MISSING_KEY for a name
// without any.
std::set<std::string> NamedKeys(TICKET const& ticket, ARGUMENTS const& arguments) {
    auto const index = arguments.Index();
    std::set<std::string> keys;
    for (auto const& name : arguments.All("KEY")) {
        if (ticket.Has(name, index.value_or(SCALAR_INDEX))) {
            keys.insert(name);
            continue;
        }
        bool const isPrefix = !index && !name.empty() && name.back() == '*';
        auto const selected = isPrefix ? ticket.Keys({name}) : std::vector<std::string>();
        keys.insert(selected.begin(), selected.end());
        if (!selected.empty()) continue;
        auto const element = index ? " with element " + std::to_string(*index) : std::string();
        throw MISSING_KEY(arguments.Text("FILE") + ": no key " + Quoted(name) + element);
    }
    return keys;
}

}  // namespace

int Set(ARGUMENTS const& arguments) {
    auto const value = arguments.Find("VALUE");
    auto const source = arguments.Find("--from-file");
    if (value.has_value() == source.has_value()) throw FAILURE("set needs either a VALUE or --from-file");
    auto const file = arguments.Text("FILE");
    SCHEMA const schema(arguments, file);
    ASSIGNMENT const assignment = {arguments, schema, arguments.Text("KEY"), value ? *value : ReadBytes(*source),
                                   source || arguments.Has("--hex")};
    int const index = arguments.Has("--append") ? APPEND_INDEX : arguments.Index().value_or(SCALAR_INDEX);
    Rewrite(file, arguments, [&](TICKET& ticket) {
        RequirePlace(arguments, assignment.key, ticket);
        ticket.Set(assignment.key, ValueToSet(assignment, ticket), index);
    });
    return SUCCESS;
}

int Delete(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    auto const keys = NamedKeys(TICKET(file), arguments);
    Rewrite(file, arguments, [&](TICKET& ticket) {
        for (auto const& key : keys) ticket.Delete(key, arguments.Index().value_or(SCALAR_INDEX));
    });
    return SUCCESS;
}

int Reset(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    SCHEMA const schema(arguments, file);
    TICKET const before(file);
    std::vector<std::string> keys;
    for (auto const& name : arguments.All("KEY")) {
        bool const isPrefix = !name.empty() && name.back() == '*';
        auto const named = isPrefix ? before.Keys({name}) : std::vector<std::string>{name};
        auto const isKnown = [&](std::string const& key) { return schema.Find(key) != nullptr; };
        auto const count = keys.size();
        std::copy_if(named.begin(), named.end(), std::back_inserter(keys), isKnown);
        if (keys.size() > count || isPrefix) continue;
        auto const* const meant = schema.Meant(name);
        throw FAILURE(Quoted(name) + " has no known fallback; " +
                      (meant == nullptr ? "delete removes it" : "did you mean " + Quoted(meant->key) + "?"));
    }
    Rewrite(file, arguments, [&](TICKET& ticket) {
        for (auto const& key : keys) {
            if (ticket.Has(key)) ticket.Delete(key, SCALAR_INDEX);
        }
    });
    return SUCCESS;
}

int Merge(ARGUMENTS const& arguments) {
    INPUT const input(arguments.Text("FROM"));
    TICKET const from = Loaded(input);
    auto const selectors = arguments.All("SELECTOR");
    if (!selectors.empty() && from.Keys(selectors).empty()) throw FAILURE(input.Name() + ": no key is selected");
    Rewrite(arguments.Text("INTO"), arguments,
            [&](TICKET& into) { into.Merge(from, selectors, arguments.Has("--clear")); });
    return SUCCESS;
}

int Import(ARGUMENTS const& arguments) {
    std::string const text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    auto const parameters = FromJson(text);
    Rewrite(arguments.Text("FILE"), arguments, [&](TICKET& ticket) {
        if (arguments.Has("--clear")) ticket.Clear();
        for (auto const& [key, parameter] : parameters) ticket.Set(key, parameter);
    });
    return SUCCESS;
}
