// The JSON form of a ticket; see Json.h for its shape.
#include "Json.h"

#include <nlohmann/json.hpp>
#include <type_traits>

namespace {

using Json = nlohmann::ordered_json;

// Puts a text under `name`, or its bytes under `hexName` when JSON cannot hold it.
void PutText(Json& object, char const* name, char const* hexName, std::string const& text) {
    if (IsUtf8(text)) {
        object[name] = text;
    } else {
        object[hexName] = ToHex(text);
    }
}

void PutElement(Json& object, Value const& value) {
    object["type"] = TypeName(value);
    PutJsonValue(object, value);
}

void RequireObject(Json const& value) {
    if (!value.is_object()) throw Failure("not an object");
}

Value TakeValue(Json const& object) {
    RequireObject(object);
    auto const type = TypeFromName(object.at("type").get<std::string>());
    if (object.contains("hex")) {
        auto bytes = FromHex(object.at("hex").get<std::string>());
        if (type == PARAM_STRING) return bytes;
        if (type == PARAM_BINSTR) return Bytes{std::move(bytes)};
        throw Failure(std::string("\"hex\" does not go with type ") + TypeName(type));
    }
    auto const& value = object.at("value");
    if (type == PARAM_STRING) return value.get<std::string>();
    if (type == PARAM_BINSTR) return Bytes{value.get<std::string>()};
    if (value.is_number_float() && type == PARAM_DOUBLE) return value.get<double>();
    if (value.is_string()) return ParseValue(value.get<std::string>(), type);
    if (!value.is_number()) throw Failure(std::string("\"value\" is not one of type ") + TypeName(type));
    return ParseValue(value.dump(), type);
}

std::string TakeKey(Json const& object) {
    RequireObject(object);
    if (object.contains("keyHex")) return FromHex(object.at("keyHex").get<std::string>());
    return object.at("key").get<std::string>();
}

Parameter TakeParameter(Json const& object) {
    if (!object.contains("vector")) return {TakeValue(object)};
    Parameter parameter;
    auto const& elements = object.at("vector");
    if (!elements.is_array() || elements.empty()) throw Failure("\"vector\" is not an array of values");
    for (auto const& element : elements) parameter.push_back(TakeValue(element));
    return parameter;
}

// The library's messages begin with a number of its own.
std::string Reason(Json::exception const& error) {
    std::string const text = error.what();
    auto const end = text.find("] ");
    return end == std::string::npos ? text : text.substr(end + 2);
}

Json Parse(std::string const& text) {
    try {
        return Json::parse(text);
    } catch (Json::exception const& error) {
        throw Failure("standard input: " + Reason(error));
    }
}

}  // namespace

void PutJsonValue(Json& object, Value const& value) {
    std::visit(
        [&](auto const& content) {
            using T = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<T, std::string>) {
                PutText(object, "value", "hex", content);
            } else if constexpr (std::is_same_v<T, Bytes>) {
                object["hex"] = ToHex(content.data);
            } else if (content != content) {
                object["value"] = "nan";
            } else {
                object["value"] = content;
            }
        },
        value);
}

std::string ToJson(Parameters const& parameters) {
    Json array = Json::array();
    for (auto const& [key, parameter] : parameters) {
        Json object = Json::object();
        PutText(object, "key", "keyHex", key);
        if (parameter.size() == 1) {
            PutElement(object, parameter.front());
        } else {
            auto& elements = object["vector"] = Json::array();
            for (auto const& value : parameter) PutElement(elements.emplace_back(Json::object()), value);
        }
        array.push_back(std::move(object));
    }
    return array.dump(2) + "\n";
}

Parameters FromJson(std::string const& text) {
    auto const document = Parse(text);
    if (!document.is_array()) throw Failure("standard input: the JSON is not an array of keys");
    Parameters parameters;
    std::size_t entry = 0;
    for (auto const& object : document) {
        auto const place = "standard input: entry " + std::to_string(entry++) + ": ";
        try {
            auto const key = TakeKey(object);
            if (!parameters.emplace(key, TakeParameter(object)).second)
                throw Failure("key " + Quoted(key) + " stands twice");
        } catch (Json::exception const& error) {
            throw Failure(place + Reason(error));
        } catch (Failure const& failure) {
            throw Failure(place + failure.what());
        }
    }
    return parameters;
}
