// `ticket settings`: the settings of the configuration service as its getters would answer them from a file.
#include <algorithm>
#include <array>
#include <iostream>
#include <nlohmann/json.hpp>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "SettingsTable.h"

namespace {

constexpr char const* kHidden = "********";

struct ROW {
    SETTING_ROW const& setting;
    std::string value;
    bool fromFile;
};

std::string Fallback(SETTING_ROW const& setting) {
    switch (setting.kind) {
        case SETTING_KIND::FLAG:
            return setting.readFailed != 0 ? "true" : "false";
        case SETTING_KIND::INTEGER:
        case SETTING_KIND::VERSION:
            return std::to_string(setting.readFailed);
        default:
            return OneLine(std::string());
    }
}

// The stored value, read as the setting's type; nothing where the getter would fall back.
std::optional<std::string> Current(TicketFile const& ticket, SETTING_ROW const& setting) {
    auto const value = ticket.Get(setting.key, ParameterType(setting.kind), SCALAR_INDEX);
    if (!value) return std::nullopt;
    if (setting.kind == SETTING_KIND::FLAG) return std::get<int32_t>(*value) != 0 ? "true" : "false";
    // A password is text to whoever types it.
    if (setting.kind == SETTING_KIND::SECRET) return OneLine(std::get<Bytes>(*value).data);
    return OneLine(*value);
}

std::vector<ROW> Rows(SettingsOptions const& options) {
    TicketFile const ticket(options.file);
    std::vector<ROW> rows;
    for (auto const& setting : SETTINGS) {
        auto current = Current(ticket, setting);
        bool const fromFile = current.has_value();
        std::string value = fromFile ? std::move(*current) : Fallback(setting);
        if (setting.kind == SETTING_KIND::SECRET && fromFile && !options.showSecrets) value = kHidden;
        rows.push_back({setting, std::move(value), fromFile});
    }
    return rows;
}

std::string OrDash(char const* name) {
    return name == nullptr ? "-" : name;
}

void PrintTable(std::vector<ROW> const& rows) {
    using CELLS = std::array<std::string, 6>;
    std::vector<CELLS> table{{"KEY", "TYPE", "VALUE", "FROM", "GETTER", "SETTER"}};
    for (auto const& row : rows) {
        table.push_back({row.setting.key, TypeName(ParameterType(row.setting.kind)), row.value,
                         row.fromFile ? "file" : "fallback", OrDash(row.setting.getter), OrDash(row.setting.setter)});
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

void PrintJson(std::vector<ROW> const& rows) {
    using Json = nlohmann::ordered_json;
    auto const orNull = [](char const* name) { return name == nullptr ? Json() : Json(name); };
    Json array = Json::array();
    for (auto const& row : rows) {
        array.push_back({{"key", row.setting.key},
                         {"type", TypeName(ParameterType(row.setting.kind))},
                         {"value", row.value},
                         {"from", row.fromFile ? "file" : "fallback"},
                         {"getter", orNull(row.setting.getter)},
                         {"setter", orNull(row.setting.setter)}});
    }
    std::cout << array.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace

int Settings(SettingsOptions const& options) {
    RequireTicketFile(options.file);
    auto const rows = Rows(options);
    if (options.json) {
        PrintJson(rows);
    } else {
        PrintTable(rows);
    }
    return 0;
}
