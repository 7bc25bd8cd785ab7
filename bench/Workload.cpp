// Makes the keys and values of the benchmarks.
#include "Workload.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace {

template <typename... ARGUMENTS>
std::string Format(char const* format, ARGUMENTS... arguments) {
    char text[64];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

std::string Group(std::size_t number, SHAPE shape) {
    switch (shape) {
        case SHAPE::FLAT:
            return "";
        case SHAPE::WIDE:
            return Format("Group%06zu", number);
        case SHAPE::DEEP: {
            std::string levels;
            for (int level = 1; level <= 29; ++level) levels += Format("Level%02d/", level);
            return levels + Group(number, SHAPE::GROUPED);
        }
        default:
            break;
    }
    return Format("Group%03zu/Sub%02zu", number / 500, number / 25 % 20);
}

std::string Name(std::size_t number, SHAPE shape) {
    switch (shape) {
        case SHAPE::FLAT:
            return Format("Key%06zu", number);
        case SHAPE::WIDE:
            return "Key";
        default:
            return Format("Key%03zu", number % 25);
    }
}

std::string Text(char const* beginning, std::size_t number, SHAPE shape) {
    std::string const text = Format("%s %07zu of some", beginning, number);
    if (shape == SHAPE::TEXTS) return text + text;
    if (shape != SHAPE::FOREIGN) return text;
    std::string letters;
    for (char const byte : text) letters += {'\xC3', static_cast<char>(0x80 + byte % 0x40)};
    return letters;
}

}  // namespace

WORKLOAD::WORKLOAD(std::size_t count, SHAPE shape, std::size_t first) {
    static constexpr VALUE_TYPE TYPES[] = {VALUE_TYPE::INT, VALUE_TYPE::DOUBLE, VALUE_TYPE::INT, VALUE_TYPE::TEXT};
    m_keys.reserve(count);
    for (std::size_t number = first; number < first + count; ++number) {
        KEY key{number, "", Group(number, shape), Name(number, shape), TYPES[number % 4], "", ""};
        if (shape == SHAPE::TEXTS || shape == SHAPE::FOREIGN) key.type = VALUE_TYPE::TEXT;
        if (key.type == VALUE_TYPE::TEXT) {
            key.text = Text("text", number, shape);
            key.otherText = Text("TEXT", number, shape);
        }
        key.full = key.group.empty() ? key.name : key.group + "/" + key.name;
        m_keys.push_back(std::move(key));
    }
}

std::vector<KEY const*> WORKLOAD::Shuffled(VALUE_TYPE type) const {
    std::vector<KEY const*> keys;
    for (KEY const& key : m_keys)
        if (key.type == type) keys.push_back(&key);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(42));
    return keys;
}
