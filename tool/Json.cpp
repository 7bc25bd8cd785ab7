// The JSON form of a ticket; see Json.h for its shape.
#include "Json.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

bool IsUtf8(std::string const& text) {
    try {
        return !Json(text).dump().empty();
    } catch (Json::type_error const&) {
        return false;
    }
}

// Puts a text under `name`, or its bytes under `hexName` when JSON cannot hold it.
void PutText(Json& object, char const* name, char const* hexName, std::string const& text) {
    if (IsUtf8(text)) {
        object[name] = text;
    } else {
        object[hexName] = ToHex(text);
    }
}

void PutValue(Json& object, Value const& value) {
    object["type"] = TypeName(value);
    if (auto const* text = std::get_if<std::string>(&value)) {
        PutText(object, "value", "hex", *text);
    } else if (auto const* bytes = std::get_if<Bytes>(&value)) {
        object["hex"] = ToHex(bytes->data);
    } else if (auto const* number = std::get_if<double>(&value); number != nullptr && std::isnan(*number)) {
        object["value"] = "nan";
    } else if (number != nullptr) {
        object["value"] = *number;
    } else {
        // Integers keep all their digits.
        object["value"] = Json::parse(PlainText(value));
    }
}

Value TakeValue(Json const& object) {
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
    return ParseValue(value.is_string() ? value.get<std::string>() : value.dump(), type);
}

Parameter TakeParameter(Json const& object) {
    Parameter parameter;
    parameter.isVector = object.contains("vector");
    if (!parameter.isVector) {
        parameter.values.push_back(TakeValue(object));
    } else {
        for (auto const& element : object.at("vector")) parameter.values.push_back(TakeValue(element));
    }
    return parameter;
}

}  // namespace

std::string ToJson(Parameters const& parameters) {
    Json array = Json::array();
    for (auto const& [key, parameter] : parameters) {
        Json object = Json::object();
        PutText(object, "key", "keyHex", key);
        if (!parameter.isVector) {
            PutValue(object, parameter.values.front());
        } else {
            auto& elements = object["vector"] = Json::array();
            for (auto const& value : parameter.values) {
                Json element = Json::object();
                PutValue(element, value);
                elements.push_back(std::move(element));
            }
        }
        array.push_back(std::move(object));
    }
    return array.dump(2) + "\n";
}

Parameters FromJson(std::string const& text) {
    try {
        Parameters parameters;
        auto const document = Json::parse(text);
        if (!document.is_array()) throw Failure("the JSON is not an array of keys");
        for (auto const& object : document) {
            auto key = object.contains("keyHex") ? FromHex(object.at("keyHex").get<std::string>())
                                                 : object.at("key").get<std::string>();
            if (!parameters.emplace(key, TakeParameter(object)).second) throw Failure("key '" + key + "' stands twice");
        }
        return parameters;
    } catch (Json::exception const& error) {
        throw Failure(std::string("standard input: ") + error.what());
    }
}
