// Makes one list of the settings' table and of schema files.
#include "Schema.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "Json.h"
#include "Text.h"
#include "XmlText.h"
#include "src/SettingsTable.h"

namespace {

using JSON = nlohmann::ordered_json;

// Values without a meaning for the settings service: what its getters turn into something else.
struct LIMIT {
    char const* key;
    double minimum;
    double maximum;
};
constexpr double NO_LIMIT = std::numeric_limits<int32_t>::max();
constexpr LIMIT LIMITS[] = {
    {"Locale/Measure", 0, 4},  {"JE/Width", 0, NO_LIMIT},  {"JE/Height", 0, NO_LIMIT},
    {"SM/Width", 0, NO_LIMIT}, {"SM/Height", 0, NO_LIMIT},
};

KNOWN_KEY Known(SETTING_ROW const& row) {
    KNOWN_KEY known;
    known.key = row.key;
    known.types = {ParameterType(row.kind)};
    known.isFlag = row.kind == SETTING_KIND::FLAG;
    known.isSecret = row.kind == SETTING_KIND::SECRET;
    bool const isNumber = known.types[0] == PARAM_INT || known.types[0] == PARAM_DOUBLE;
    known.fallback = isNumber ? VALUE(int32_t{row.readFailed}) : VALUE(std::string());
    if (known.isFlag) known.choices = {int32_t{0}, int32_t{1}};
    for (auto const& limit : LIMITS) {
        if (known.key != limit.key) continue;
        known.minimum = limit.minimum;
        if (limit.maximum < NO_LIMIT) known.maximum = limit.maximum;
    }
    if (row.getter != nullptr) known.getter = row.getter;
    if (row.setter != nullptr) known.setter = row.setter;
    return known;
}

VALUE ValueOf(JSON const& json, PARAM_TYPE type) {
    auto const text = json.is_string() ? json.get<std::string>() : json.is_boolean() ? (json ? "1" : "0") : json.dump();
    return ParseValue(text, type);
}

bool Flag(JSON const& object, char const* name) {
    if (!object.contains(name)) return false;
    auto const& flag = object[name];
    if (!flag.is_boolean()) throw FAILURE(std::string("\"") + name + "\" is neither true nor false");
    return flag.get<bool>();
}

// The number that a value is, or that its text tells; NaN, which is in no range, for any other.
double Number(VALUE const& value) {
    return std::visit(
        [](auto const& content) {
            using T = std::decay_t<decltype(content)>;
            if constexpr (std::is_arithmetic_v<T>) return static_cast<double>(content);
            if constexpr (std::is_same_v<T, std::string>) {
                try {
                    return std::get<double>(ParseValue(content, PARAM_DOUBLE));
                } catch (FAILURE const&) {
                }
            }
            return std::numeric_limits<double>::quiet_NaN();
        },
        value);
}

// Nothing for a null, which stands for an infinite number. Numbers that are kept as texts have limits that are texts.
std::optional<double> Limit(JSON const& object, char const* name) {
    if (!object.contains(name) || object[name].is_null()) return std::nullopt;
    auto const& limit = object[name];
    auto const number = limit.is_string()   ? Number(limit.get<std::string>())
                        : limit.is_number() ? limit.get<double>()
                                            : std::numeric_limits<double>::quiet_NaN();
    if (std::isnan(number)) throw FAILURE(std::string("\"") + name + "\" is not a number");
    return number;
}

// Nothing for a null, and for the values of a vector, which are not checked.
std::optional<VALUE> Fallback(JSON const& object, KNOWN_KEY const& known) {
    if (!object.contains("default") || object["default"].is_null()) return std::nullopt;
    auto const& fallback = object["default"];
    if (known.isVector && fallback.is_array()) return std::nullopt;
    if (!fallback.is_primitive()) throw FAILURE("\"default\" is not one value");
    return ValueOf(fallback, known.types[0]);
}

JSON const& Array(JSON const& object, char const* name) {
    auto const& array = JsonMember(object, name);
    if (!array.is_array()) throw FAILURE(std::string("\"") + name + "\" is not an array");
    return array;
}

// A misspelt member would silently turn a check off, or show a secret. Members for other programs begin with "$" or
// "x-".
void RequireOnly(JSON const& object, std::vector<std::string> const& members) {
    for (auto const& [name, ignored] : object.items()) {
        bool const isForOthers = name.compare(0, 1, "$") == 0 || name.compare(0, 2, "x-") == 0;
        if (isForOthers || std::count(members.begin(), members.end(), name) != 0) continue;
        std::string known;
        for (auto const& member : members) known += (known.empty() ? "" : ", ") + member;
        throw FAILURE("unknown member " + Quoted(name) + "; there are " + known);
    }
}

KNOWN_KEY Known(JSON const& object) {
    KNOWN_KEY known;
    known.key = JsonTextMember(object, "key");
    RequireOnly(object, {"key", "type", "default", "min", "max", "choices", "vector", "secret", "help"});
    auto const type = TypeFromName(JsonTextMember(object, "type"));
    known.types = {type};
    known.isVector = Flag(object, "vector");
    known.isSecret = Flag(object, "secret");
    if (object.contains("help")) known.help = JsonTextMember(object, "help");
    known.fallback = Fallback(object, known);
    known.minimum = Limit(object, "min");
    known.maximum = Limit(object, "max");
    if (object.contains("choices")) {
        for (auto const& choice : Array(object, "choices")) known.choices.push_back(ValueOf(choice, type));
        if (known.choices.empty()) throw FAILURE("\"choices\" is empty");
    }
    if (type == PARAM_BINSTR && (known.minimum || known.maximum)) throw FAILURE("bytes have no \"min\" and \"max\"");
    if (known.minimum && known.maximum && *known.minimum > *known.maximum)
        throw FAILURE("\"min\" is greater than \"max\"");
    return known;
}

// The steps that turn one text into another: a letter added, removed, changed, or swapped with the next.
std::size_t Distance(std::string const& a, std::string const& b) {
    std::vector<std::vector<std::size_t>> steps(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            std::size_t const change = a[i - 1] == b[j - 1] ? 0 : 1;
            steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
            bool const swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
        }
    }
    return steps[a.size()][b.size()];
}

constexpr std::size_t SHORT = 6;  // most short names are close to each other
constexpr std::size_t MOST = 3;   // more steps make another name

// Which letters a text holds, whatever their case, and which other bytes, by their last bits.
std::uint64_t Letters(std::string const& text) {
    std::uint64_t letters = 0;
    for (char const c : text) letters |= std::uint64_t{1} << ((static_cast<unsigned char>(c) | 0x20) & 0x3F);
    return letters;
}

std::string Lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

bool IsNumber(VALUE const& value) {
    return !std::holds_alternative<std::string>(value) && !std::holds_alternative<BYTES>(value);
}

bool SameMeaning(VALUE const& a, VALUE const& b) {
    return IsNumber(a) && IsNumber(b) ? Number(a) == Number(b) : a == b;
}

}  // namespace

SCHEMA::SCHEMA(ARGUMENTS const& arguments, std::string const& file) {
    auto const named = arguments.Find("--schema");
    if (named == "none") return;
    AddSettings();
    auto const beside = file + ".schema.json";
    std::error_code ignored;
    if (named) {
        AddFile(*named);
    } else if (!file.empty() && std::filesystem::is_regular_file(beside, ignored)) {
        AddFile(beside);
    }
    for (auto const& known : m_keys) m_names.emplace_back(known.key);
    SortBySize(m_names);
}

void SCHEMA::Add(KNOWN_KEY key) {
    auto const before = [](KNOWN_KEY const& known, std::string const& name) { return known.key < name; };
    auto const place = std::lower_bound(m_keys.begin(), m_keys.end(), key.key, before);
    if (place != m_keys.end() && place->key == key.key) {
        *place = std::move(key);
    } else {
        m_keys.insert(place, std::move(key));
    }
}

void SCHEMA::AddSettings() {
    for (auto const& row : SETTINGS) {
        auto known = Known(row);
        // Two rows may share a key, which then holds the type of either.
        if (auto const* const first = Find(known.key)) {
            known.types.insert(known.types.begin(), first->types.begin(), first->types.end());
            known.getter = first->getter + ", " + known.getter;
            known.setter = first->setter + ", " + known.setter;
            known.fallback = first->fallback;
        }
        Add(std::move(known));
    }
}

void SCHEMA::AddFile(std::string const& path) {
    constexpr char const* HINT = "; --schema none ignores schema files";
    auto const text = ReadBytes(path);
    std::string where;
    try {
        auto const document = ParseJson(text, "JSON");
        std::set<std::string> keys;
        std::size_t number = 0;
        auto const& objects = Array(document, "keys");
        RequireOnly(document, {"keys"});
        for (auto const& object : objects) {
            where = "key " + std::to_string(number++) + ": ";
            auto known = Known(object);
            if (!keys.insert(known.key).second) throw FAILURE(Quoted(known.key) + " stands twice");
            Add(std::move(known));
        }
    } catch (FAILURE const& failure) {
        throw FAILURE(path + ": " + where + failure.what() + HINT);
    }
}

KNOWN_KEY const* SCHEMA::Find(std::string const& key) const {
    auto const before = [](KNOWN_KEY const& known, std::string const& name) { return known.key < name; };
    auto const place = std::lower_bound(m_keys.begin(), m_keys.end(), key, before);
    return place != m_keys.end() && place->key == key ? &*place : nullptr;
}

bool SCHEMA::IsSecret(std::string const& key) const {
    auto const* const known = Find(key);
    return known != nullptr && known->isSecret;
}

KNOWN_KEY const* SCHEMA::Meant(std::string const& key) const {
    auto const* const closest = Closest(key, m_names);
    return closest == nullptr || Find(key) != nullptr ? nullptr : Find(closest->text);
}

NAME::NAME(std::string const& name)
    : text(name), letters(Letters(name)), allowed(name.size() < SHORT ? 0 : std::min(MOST, name.size() / 4)) {}

void SortBySize(std::vector<NAME>& names) {
    auto const isShorter = [](NAME const& a, NAME const& b) { return a.text.size() < b.text.size(); };
    std::stable_sort(names.begin(), names.end(), isShorter);
}

NAME const* Closest(std::string const& name, std::vector<NAME> const& candidates) {
    NAME const* closest = nullptr;
    std::size_t least = MOST + 1;
    auto const letters = Letters(name);
    auto const isShorter = [](NAME const& candidate, std::size_t size) { return candidate.text.size() < size; };
    auto const shortest = name.size() - std::min(name.size(), MOST);
    auto candidate = std::lower_bound(candidates.begin(), candidates.end(), shortest, isShorter);
    for (; candidate != candidates.end() && candidate->text.size() <= name.size() + MOST; ++candidate) {
        auto const allowed = candidate->allowed;
        // Whether the sizes differ by more; a difference below zero wraps around.
        if (name.size() - candidate->text.size() + allowed > 2 * allowed) continue;
        // Each step adds or removes two letters at most.
        if (std::bitset<64>(letters ^ candidate->letters).count() > 2 * allowed) continue;
        auto const distance = Distance(Lower(name), Lower(candidate->text));
        if (distance > allowed || distance >= least) continue;
        least = distance;
        closest = &*candidate;
    }
    return closest;
}

std::string Objection(KNOWN_KEY const& known, VALUE const& value) {
    auto const isValue = [&](VALUE const& choice) { return SameMeaning(choice, value); };
    bool const isChoice = known.choices.empty() || std::any_of(known.choices.begin(), known.choices.end(), isValue);
    // NaN is in no range.
    bool const isHighEnough = !known.minimum || Number(value) >= *known.minimum;
    bool const isLowEnough = !known.maximum || Number(value) <= *known.maximum;
    return isChoice && isHighEnough && isLowEnough ? "" : "is not " + Allowed(known);
}

std::string Allowed(KNOWN_KEY const& known) {
    auto const number = [](double value) { return PlainText(VALUE(value)); };
    if (known.isFlag) return "0 or 1";
    if (!known.choices.empty()) {
        std::string text = "one of ";
        for (auto const& choice : known.choices) text += (text.size() > 7 ? ", " : "") + OneLine(choice);
        return text;
    }
    if (known.minimum && known.maximum) return number(*known.minimum) + " to " + number(*known.maximum);
    if (known.minimum) return number(*known.minimum) + " or more";
    if (known.maximum) return number(*known.maximum) + " or less";
    return {};
}
