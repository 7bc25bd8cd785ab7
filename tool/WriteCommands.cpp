// Commands that change a file: set, delete, merge, import. Each describes its change; Rewrite carries it out safely.
#include <iostream>
#include <iterator>
#include <set>

#include "Commands.h"
#include "Files.h"
#include "Json.h"
#include "XmlText.h"

namespace {

bool IsBytes(SetOptions const& options) {
    return options.hex || options.fromFile;
}

// The type a value is set with: the one asked for, else the one the key (or its element) has, else that of its source.
PARAM_TYPE TypeToSet(SetOptions const& options, TicketFile const& ticket) {
    if (!options.type.empty()) return TypeFromName(options.type);
    auto const parameter = ticket.Read(options.key);
    if (!parameter) return IsBytes(options) ? PARAM_BINSTR : PARAM_STRING;
    auto const element = static_cast<std::size_t>(options.index.value_or(0));
    return TypeOf((*parameter)[element < parameter->size() ? element : 0]);
}

Value ValueToSet(SetOptions const& options, std::string const& text, PARAM_TYPE type) {
    if (IsBytes(options) && type != PARAM_STRING && type != PARAM_BINSTR) {
        throw Failure("--hex and --from-file are for types string and binstr");
    }
    return ParseValue(options.hex ? FromHex(text) : text, type);
}

Value ValueToSet(SetOptions const& options, std::string const& text, TicketFile const& ticket) {
    auto const type = TypeToSet(options, ticket);
    try {
        return ValueToSet(options, text, type);
    } catch (Failure const& failure) {
        bool const isOfTheKey = options.type.empty() && type != PARAM_STRING && type != PARAM_BINSTR;
        if (!isOfTheKey) throw;
        throw Failure(failure.what() + ("; " + Quoted(options.key)) + " is of type " + TypeName(type) +
                      ", --type stores another");
    }
}

void RequireElement(std::optional<int> const& index) {
    if (index && *index < 0) throw Failure("an index is 0 or more");
}

// An element that is there, or the next one.
void RequirePlace(SetOptions const& options, TicketFile const& ticket) {
    if (options.index.value_or(0) == 0 || ticket.Has(options.key, *options.index - 1)) return;
    throw Failure(options.file + ": " + Quoted(options.key) + " has no element " + std::to_string(*options.index));
}

}  // namespace

int Set(SetOptions const& options) {
    RequireElement(options.index);
    if (options.value.has_value() == options.fromFile.has_value()) {
        throw Failure("set needs either a VALUE or --from-file");
    }
    auto const text = options.value ? *options.value : ReadBytes(*options.fromFile);
    int const index = options.append ? APPEND_INDEX : options.index.value_or(SCALAR_INDEX);
    Rewrite(options.file, options.force, [&](TicketFile& ticket) {
        RequirePlace(options, ticket);
        ticket.Set(options.key, ValueToSet(options, text, ticket), index);
    });
    return kDone;
}

int Delete(DeleteOptions const& options) {
    RequireElement(options.index);
    int const index = options.index.value_or(SCALAR_INDEX);
    std::set<std::string> const keys(options.keys.begin(), options.keys.end());
    {
        TicketFile const ticket(options.file);
        for (auto const& key : keys) {
            if (ticket.Has(key, index)) continue;
            auto const element = options.index ? " with element " + std::to_string(index) : std::string();
            throw Failure(options.file + ": no key " + Quoted(key) + element);
        }
    }
    Rewrite(options.file, options.force, [&](TicketFile& ticket) {
        for (auto const& key : keys) ticket.Delete(key, index);
    });
    return kDone;
}

int Merge(MergeOptions const& options) {
    TicketFile const from(options.from);
    auto const source = from.Read(options.selectors);
    if (source.empty() && !options.selectors.empty()) throw Failure(options.from + ": no key is selected");
    auto const keys = KeyList(options.selectors);
    Rewrite(options.into, options.force, [&](TicketFile& into) {
        auto const* const table = into.Table();
        bool const merged = table->MergeTicket(table->pTicket, from.Table(), keys.data(), options.clear) != 0;
        if (!merged && !source.empty()) throw Failure(options.into + ": the library refused to merge");
        // A merge cuts whole numbers to 32 bits; whether the file can hold them is for the rehearsal to tell.
        for (auto const& [key, parameter] : source) {
            auto const arrived = into.Read(key);
            if (!arrived || !SameParameter(*arrived, parameter)) into.Set(key, parameter);
        }
    });
    return kDone;
}

int Import(ImportOptions const& options) {
    std::string const text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    auto const parameters = FromJson(text);
    Rewrite(options.file, options.force, [&](TicketFile& ticket) {
        if (options.clear) ticket.Clear();
        for (auto const& [key, parameter] : parameters) ticket.Set(key, parameter);
    });
    return kDone;
}
