// Commands that change a file: set, delete, merge, import. Each describes its change; Rewrite carries it out safely.
#include <iostream>
#include <iterator>

#include "Commands.h"
#include "Files.h"
#include "Json.h"
#include "XmlText.h"

namespace {

// The type a value is set with: the one asked for, else the one the key (or its element) has, else a string.
PARAM_TYPE TypeToSet(SetOptions const& options) {
    if (!options.type.empty()) return TypeFromName(options.type);
    if (options.hex || !options.fromFile.empty()) return PARAM_BINSTR;
    auto const parameter = TicketFile(options.file).Read(options.key);
    if (!parameter) return PARAM_STRING;
    auto const element = static_cast<std::size_t>(options.index.value_or(0));
    return TypeOf(parameter->values[element < parameter->values.size() ? element : 0]);
}

Value ValueToSet(SetOptions const& options) {
    if (options.value.has_value() == !options.fromFile.empty()) {
        throw Failure("set needs either a VALUE or --from-file");
    }
    auto const type = TypeToSet(options);
    bool const bytes = options.hex || !options.fromFile.empty();
    if (bytes && type != PARAM_BINSTR) throw Failure("--hex and --from-file are for type binstr");
    if (!options.fromFile.empty()) return Bytes{ReadWholeFile(options.fromFile)};
    if (options.hex) return Bytes{FromHex(*options.value)};
    return ParseValue(*options.value, type);
}

}  // namespace

int Set(SetOptions const& options) {
    RequireTicketFileOrNone(options.file);
    if (options.index && *options.index < 0) throw Failure("an index is 0 or more");
    auto const value = ValueToSet(options);
    int const index = options.append ? APPEND_INDEX : options.index.value_or(SCALAR_INDEX);
    Rewrite(options.file, options.force, [&](TicketFile& ticket) { ticket.Set(options.key, value, index); });
    return 0;
}

int Delete(DeleteOptions const& options) {
    RequireTicketFile(options.file);
    int const index = options.index.value_or(SCALAR_INDEX);
    if (index < SCALAR_INDEX) throw Failure("an index is 0 or more");
    {
        TicketFile const ticket(options.file);
        for (auto const& key : options.keys) {
            if (ticket.Has(key, index)) continue;
            auto const element = options.index ? "[" + std::to_string(index) + "]" : std::string();
            throw Failure(options.file + ": no key '" + key + element + "'");
        }
    }
    Rewrite(options.file, options.force, [&](TicketFile& ticket) {
        for (auto const& key : options.keys) ticket.Delete(key, index);
    });
    return 0;
}

int Merge(MergeOptions const& options) {
    RequireTicketFile(options.from);
    TicketFile const from(options.from);
    auto const keys = KeyList(options.selectors);
    Rewrite(options.into, options.force, [&](TicketFile& into) {
        auto const* const table = into.Table();
        if (table->MergeTicket(table->pTicket, from.Table(), keys.data(), options.clear) == 0 &&
            !from.Read(options.selectors).empty()) {
            throw Failure(options.into + ": the library refused to merge");
        }
    });
    return 0;
}

int Import(ImportOptions const& options) {
    RequireTicketFileOrNone(options.file);
    std::string const text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    auto const parameters = FromJson(text);
    Rewrite(options.file, options.force, [&](TicketFile& ticket) {
        if (options.clear) ticket.Clear();
        for (auto const& [key, parameter] : parameters) ticket.Set(key, parameter);
    });
    return 0;
}
