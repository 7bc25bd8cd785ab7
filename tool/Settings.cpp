// `ticket settings`: the settings of the configuration service as a file has them, or what their getters answer
// instead.
#include <algorithm>
#include <array>
#include <iostream>
#include <nlohmann/json.hpp>
#include <vector>

#include "Commands.h"
#include "Json.h"
#include "Listing.h"
#include "TicketFile.h"
#include "src/SettingsTable.h"

namespace {

using JSON = nlohmann::ordered_json;

struct ROW {
    SETTING_ROW const& setting;
    VALUE value;
    bool fromFile;
    std::string stored;  // what the file has instead: the type, or "vector"; empty
                         // when it has nothing
    bool hidden;
};

bool IsFlag(ROW const& row) {
    return row.setting.kind == SETTING_KIND::FLAG;
}

VALUE Fallback(SETTING_ROW const& setting) {
    auto const type = ParameterType(setting.kind);
    if (type == PARAM_STRING || type == PARAM_BINSTR) return std::string();
    return int32_t{setting.readFailed};
}

ROW Row(bool showSecrets, TICKET const& ticket, SETTING_ROW const& setting) {
    auto value = ticket.Get(setting.key, ParameterType(setting.kind), SCALAR_INDEX);
    if (!value) {
        auto const stored = ticket.Read(setting.key);
        auto const* const type = !stored ? "" : stored->size() > 1 ? "vector" : TypeName(stored->front());
        return {setting, Fallback(setting), false, type, false};
    }
    bool const secret = setting.kind == SETTING_KIND::SECRET;
    // A password is text to whoever types it.
    if (secret) value = std::get<BYTES>(*value).data;
    return {setting, *value, true, {}, secret && !showSecrets};
}

std::string Shown(ROW const& row) {
    if (row.hidden) return HIDDEN_VALUE;
    if (IsFlag(row)) return std::get<int32_t>(row.value) != 0 ? "true" : "false";
    return OneLine(row.value);
}

std::string Origin(ROW const& row) {
    if (row.fromFile) return "file";
    return row.stored.empty() ? "fallback" : "fallback, file has " + row.stored;
}

std::string OrDash(char const* name) {
    return name == nullptr ? "-" : name;
}

void PrintTable(std::vector<ROW> const& rows) {
    using CELLS = std::array<std::string, 6>;
    std::vector<CELLS> table{{"KEY", "TYPE", "VALUE", "FROM", "GETTER", "SETTER"}};
    for (auto const& row : rows) {
        table.push_back({row.setting.key, TypeName(ParameterType(row.setting.kind)), Shown(row), Origin(row),
                         OrDash(row.setting.getter), OrDash(row.setting.setter)});
    }
    std::array<std::size_t, std::tuple_size_v<CELLS>> widths{};
    for (auto const& cells : table) {
        for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size());
    }
    for (auto const& cells : table) {
        for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
            std::cout << cells[i] << std::string(widths[i] + 2 - cells[i].size(), ' ');
        }
        std::cout << cells.back() << '\n';
    }
}

JSON ToJson(ROW const& row) {
    auto const orNull = [](char const* name) { return name == nullptr ? JSON() : JSON(name); };
    JSON object{{"key", row.setting.key}, {"type", TypeName(ParameterType(row.setting.kind))}};
    if (row.hidden) {
        object["value"] = HIDDEN_VALUE;
    } else if (IsFlag(row)) {
        object["value"] = std::get<int32_t>(row.value) != 0;
    } else {
        PutJsonValue(object, row.value);
    }
    object["from"] = row.fromFile ? "file" : "fallback";
    if (!row.stored.empty()) object["stored"] = row.stored;
    object["getter"] = orNull(row.setting.getter);
    object["setter"] = orNull(row.setting.setter);
    return object;
}

void PrintJson(std::vector<ROW> const& rows) {
    JSON array = JSON::array();
    for (auto const& row : rows) array.push_back(ToJson(row));
    std::cout << JsonText(array);
}

}  // namespace

int Settings(ARGUMENTS const& arguments) {
    INPUT const input(arguments.Text("FILE"));
    TICKET const ticket = Loaded(input);
    std::vector<ROW> rows;
    for (auto const& setting : SETTINGS) rows.push_back(Row(arguments.Has("--show-secrets"), ticket, setting));
    if (arguments.Has("--json")) {
        PrintJson(rows);
    } else {
        PrintTable(rows);
    }
    return SUCCESS;
}
