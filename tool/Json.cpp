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

// Which of two members that mean the same is taken would be a guess.
void RequireOneOf(JSON const& object, char const* a, char const* b) {
    if (!object.contains(a) || !object.contains(b)) return;
    throw FAILURE(std::string("both \"") + a + "\" and \"" + b + "\" are given");
}

VALUE TakeValue(JSON const& object) {
    auto const type = TypeFromName(JsonTextMember(object, "type"));
    RequireOneOf(object, "value", "hex");
    if (object.contains("hex")) {
        auto bytes = FromHex(JsonTextMember(object, "hex"));
        if (type == PARAM_STRING) return bytes;
        if (type == PARAM_BINSTR) return BYTES{std::move(bytes)};
        throw FAILURE(std::string("\"hex\" does not go with type ") + TypeName(type));
    }
    auto const& value = JsonMember(object, "value");
    if (type == PARAM_STRING) return JsonTextMember(object, "value");
    if (type == PARAM_BINSTR) return BYTES{JsonTextMember(object, "value")};
    if (value.is_number_float() && type == PARAM_DOUBLE) return value.get<double>();
    if (value.is_string()) return ParseValue(value.get<std::string>(), type);
    if (!value.is_number()) throw FAILURE(std::string("\"value\" is not one of type ") + TypeName(type));
    return ParseValue(value.dump(), type);
}

std::string TakeKey(JSON const& object) {
    RequireOneOf(object, "key", "keyHex");
    return object.contains("keyHex") ? FromHex(JsonTextMember(object, "keyHex")) : JsonTextMember(object, "key");
}

PARAMETER TakeParameter(JSON const& object) {
    if (object.contains("redacted")) throw FAILURE("the value was hidden when it was exported");
    if (!object.contains("vector")) return {TakeValue(object)};
    RequireOneOf(object, "vector", "value");
    RequireOneOf(object, "vector", "hex");
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

// Removes the first part of a text that begins and ends so.
void Erase(std::string& text, std::string_view begin, std::string_view end) {
    auto const first = text.find(begin);
    if (first == std::string::npos) return;
    auto const last = text.find(end, first + begin.size());
    if (last != std::string::npos) text.erase(first, last + end.size() - first);
}

// The parser's message without its terms: "[json.exception.parse_error.101] parse error at line 1, column 1: syntax
// error while parsing value - invalid literal; ..." It may hold a number of any length.
std::string Reason(std::string what) {
    constexpr std::size_t LONGEST = 200;
    what.erase(0, what.find("] ") + 2);
    Erase(what, "parse error at ", "");
    Erase(what, "syntax error while parsing ", " - ");
    if (what.size() > LONGEST) what.replace(LengthOfWholeCharacters(what.substr(0, LONGEST)), std::string::npos, "...");
    return what;
}

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

JSON const& JsonMember(JSON const& object, char const* name) {
    if (!object.is_object()) throw FAILURE("not an object");
    auto const found = object.find(name);
    if (found == object.end()) throw FAILURE(std::string("\"") + name + "\" is missing");
    return *found;
}

std::string JsonTextMember(JSON const& object, char const* name) {
    auto const& text = JsonMember(object, name);
    if (!text.is_string()) throw FAILURE(std::string("\"") + name + "\" is not a text");
    return text.get<std::string>();
}

JSON ParseJson(std::string const& text, std::string const& source) {
    try {
        return JSON::parse(text, MEMBERS());
    } catch (JSON::exception const& error) {
        throw FAILURE(source + ": " + Reason(error.what()));
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
        } catch (FAILURE const& failure) {
            throw FAILURE(place + failure.what());
        }
    }
    return parameters;
}
