// The JSON form of a ticket; see Json.h for its shape.
#include "Json.h"

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

#include "Text.h"

namespace {

using JSON = nlohmann::ordered_json;

// Puts a text under `name`, or its bytes under `hexName` when JSON cannot hold it.
void PutText(JSON& object, char const* name, char const* hexName, std::string const& text) {
    if (IsUtf8(text)) {
        object[name] = text;
    } else {
        object[hexName] = ToHex(text);
    }
}

void PutElement(JSON& object, VALUE const& value) {
    object["type"] = TypeName(value);
    PutJsonValue(object, value);
}

void RequireObject(JSON const& value) {
    if (!value.is_object()) throw FAILURE("not an object");
}

VALUE TakeValue(JSON const& object) {
    RequireObject(object);
    auto const type = TypeFromName(object.at("type").get<std::string>());
    if (object.contains("hex")) {
        auto bytes = FromHex(object.at("hex").get<std::string>());
        if (type == PARAM_STRING) return bytes;
        if (type == PARAM_BINSTR) return BYTES{std::move(bytes)};
        throw FAILURE(std::string("\"hex\" does not go with type ") + TypeName(type));
    }
    auto const& value = object.at("value");
    if (type == PARAM_STRING) return value.get<std::string>();
    if (type == PARAM_BINSTR) return BYTES{value.get<std::string>()};
    if (value.is_number_float() && type == PARAM_DOUBLE) return value.get<double>();
    if (value.is_string()) return ParseValue(value.get<std::string>(), type);
    if (!value.is_number()) throw FAILURE(std::string("\"value\" is not one of type ") + TypeName(type));
    return ParseValue(value.dump(), type);
}

std::string TakeKey(JSON const& object) {
    RequireObject(object);
    if (object.contains("keyHex")) return FromHex(object.at("keyHex").get<std::string>());
    return object.at("key").get<std::string>();
}

PARAMETER TakeParameter(JSON const& object) {
    if (object.contains("redacted")) throw FAILURE("the value was hidden when it was exported");
    if (!object.contains("vector")) return {TakeValue(object)};
    PARAMETER parameter;
    auto const& elements = object.at("vector");
    if (!elements.is_array() || elements.empty()) throw FAILURE("\"vector\" is not an array of values");
    for (auto const& element : elements) parameter.push_back(TakeValue(element));
    return parameter;
}

// Rejects objects with several members of one name; the parser alone would silently keep the last one.
class MEMBERS {
 public:
    // Called for each event of the parser.
    bool operator()(int /*depth*/, JSON::parse_event_t event, JSON& parsed) {
        if (event == JSON::parse_event_t::object_start) m_open.emplace_back();
        if (event == JSON::parse_event_t::object_end) m_open.pop_back();
        if (event == JSON::parse_event_t::key && !m_open.back().insert(parsed.get<std::string>()).second) {
            throw FAILURE("an object has the member \"" + Printable(parsed.get<std::string>()) + "\" twice");
        }
        return true;
    }

 private:
    std::vector<std::set<std::string>> m_open;  // the members so far of each object that is not closed
};

}  // namespace

void PutJsonValue(JSON& object, VALUE const& value) {
    std::visit(
        [&](auto const& content) {
            using T = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<T, std::string>) {
                PutText(object, "value", "hex", content);
            } else if constexpr (std::is_same_v<T, BYTES>) {
                object["hex"] = ToHex(content.data);
            } else if (content != content) {
                object["value"] = "nan";
            } else {
                object["value"] = content;
            }
        },
        value);
}

std::string JsonText(JSON const& json) {
    return PrintableJson(json.dump(2)) + "\n";
}

std::string JsonReason(std::string const& what) {
    auto const end = what.find("] ");
    return end == std::string::npos ? what : what.substr(end + 2);
}

JSON ParseJson(std::string const& text, std::string const& source) {
    try {
        return JSON::parse(text, MEMBERS());
    } catch (JSON::exception const& error) {
        throw FAILURE(source + ": " + JsonReason(error.what()));
    } catch (FAILURE const& failure) {
        throw FAILURE(source + ": " + failure.what());
    }
}

void JSON_ARRAY::Add(std::string const& key, PARAMETER const& parameter, bool isHidden) {
    JSON object = JSON::object();
    PutText(object, "key", "keyHex", key);
    if (isHidden) {
        object["redacted"] = true;
    } else if (parameter.size() == 1) {
        PutElement(object, parameter.front());
    } else {
        auto& elements = object["vector"] = JSON::array();
        for (auto const& value : parameter) PutElement(elements.emplace_back(JSON::object()), value);
    }
    m_out << (std::exchange(m_isEmpty, false) ? "[" : ",");
    std::istringstream lines(PrintableJson(object.dump(2)));
    for (std::string line; std::getline(lines, line);) m_out << "\n  " << line;
}

void JSON_ARRAY::Finish() {
    m_out << (m_isEmpty ? "[]\n" : "\n]\n");
}

PARAMETERS FromJson(std::string const& text) {
    auto const document = ParseJson(text, "standard input");
    if (!document.is_array()) throw FAILURE("standard input: the JSON is not an array of keys");
    PARAMETERS parameters;
    std::size_t entry = 0;
    for (auto const& object : document) {
        auto const place = "standard input: entry " + std::to_string(entry++) + ": ";
        try {
            auto const key = TakeKey(object);
            if (!parameters.emplace(key, TakeParameter(object)).second)
                throw FAILURE("key " + Quoted(key) + " stands twice");
        } catch (JSON::exception const& error) {
            throw FAILURE(place + JsonReason(error.what()));
        } catch (FAILURE const& failure) {
            throw FAILURE(place + failure.what());
        }
    }
    return parameters;
}
