// Commands that change a file: set, delete, merge, import. Each describes its change; Rewrite carries it out safely.
#include <iostream>
#include <iterator>
#include <set>

#include "Commands.h"
#include "Files.h"
#include "Json.h"
#include "Text.h"
#include "XmlText.h"

namespace {

bool IsBytes(SET_OPTIONS const& options) {
    return options.hex || options.fromFile;
}

// The type a value is set with: the one asked for, else the one the key (or its element) has, else that of its source.
PARAM_TYPE TypeToSet(SET_OPTIONS const& options, TICKET const& ticket) {
    if (!options.type.empty()) return TypeFromName(options.type);
    auto const parameter = ticket.Read(options.key);
    if (!parameter) return IsBytes(options) ? PARAM_BINSTR : PARAM_STRING;
    auto const element = static_cast<std::size_t>(options.index.value_or(0));
    return TypeOf((*parameter)[element < parameter->size() ? element : 0]);
}

VALUE ValueToSet(SET_OPTIONS const& options, std::string const& text, PARAM_TYPE type) {
    if (IsBytes(options) && type != PARAM_STRING && type != PARAM_BINSTR) {
        throw FAILURE("--hex and --from-file are for types string and binstr");
    }
    return ParseValue(options.hex ? FromHex(text) : text, type);
}

VALUE ValueToSet(SET_OPTIONS const& options, std::string const& text, TICKET const& ticket) {
    auto const type = TypeToSet(options, ticket);
    try {
        return ValueToSet(options, text, type);
    } catch (FAILURE const& failure) {
        bool const isOfTheKey = options.type.empty() && type != PARAM_STRING && type != PARAM_BINSTR;
        if (!isOfTheKey) throw;
        throw FAILURE(failure.what() + ("; " + Quoted(options.key)) + " is of type " + TypeName(type) +
                      ", --type stores another");
    }
}

void RequireElement(std::optional<int> const& index) {
    if (index && *index < 0) throw FAILURE("an index is 0 or more");
}

// An element that is there, or the next one.
void RequirePlace(SET_OPTIONS const& options, TICKET const& ticket) {
    if (options.index.value_or(0) == 0 || ticket.Has(options.key, *options.index - 1)) return;
    throw FAILURE(options.file + ": " + Quoted(options.key) + " has no element " + std::to_string(*options.index));
}

}  // namespace

int Set(SET_OPTIONS const& options) {
    RequireElement(options.index);
    if (options.value.has_value() == options.fromFile.has_value()) {
        throw FAILURE("set needs either a VALUE or --from-file");
    }
    auto const text = options.value ? *options.value : ReadBytes(*options.fromFile);
    int const index = options.append ? APPEND_INDEX : options.index.value_or(SCALAR_INDEX);
    Rewrite(options.file, options.force, [&](TICKET& ticket) {
        RequirePlace(options, ticket);
        ticket.Set(options.key, ValueToSet(options, text, ticket), index);
    });
    return DONE;
}

int Delete(DELETE_OPTIONS const& options) {
    RequireElement(options.index);
    int const index = options.index.value_or(SCALAR_INDEX);
    std::set<std::string> const keys(options.keys.begin(), options.keys.end());
    {
        TICKET const ticket(options.file);
        for (auto const& key : keys) {
            if (ticket.Has(key, index)) continue;
            auto const element = options.index ? " with element " + std::to_string(index) : std::string();
            throw FAILURE(options.file + ": no key " + Quoted(key) + element);
        }
    }
    Rewrite(options.file, options.force, [&](TICKET& ticket) {
        for (auto const& key : keys) ticket.Delete(key, index);
    });
    return DONE;
}

int Merge(MERGE_OPTIONS const& options) {
    TICKET const from(options.from);
    if (!options.selectors.empty() && from.Keys(options.selectors).empty()) {
        throw FAILURE(options.from + ": no key is selected");
    }
    Rewrite(options.into, options.force, [&](TICKET& into) { into.Merge(from, options.selectors, options.clear); });
    return DONE;
}

int Import(IMPORT_OPTIONS const& options) {
    std::string const text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    auto const parameters = FromJson(text);
    Rewrite(options.file, options.force, [&](TICKET& ticket) {
        if (options.clear) ticket.Clear();
        for (auto const& [key, parameter] : parameters) ticket.Set(key, parameter);
    });
    return DONE;
}
