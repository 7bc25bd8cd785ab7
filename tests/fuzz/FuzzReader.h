// A reference model of loading: the values that a ticket finds in an XML document.
#pragma once

#include <cstring>
#include <pugixml.hpp>
#include <string>

#include "ConfigurationControl/MathLib.h"
#include "Format/Escapes.h"
#include "Format/Numbers.h"
#include "FuzzFile.h"
#include "FuzzText.h"

class DOCUMENT_READER {
 public:
    // In document order, each appended to its key.
    static VALUES Read(pugi::xml_document const& document) {
        DOCUMENT_READER reader;
        for (pugi::xml_node const child : document.children()) reader.ReadNode(child, "");
        return reader.m_values;
    }

 private:
    void ReadNode(pugi::xml_node node, std::string const& path) {
        std::string const name = node.name();
        std::string const attribute = node.first_attribute().name();
        bool const isElement = node.type() == pugi::node_element;  // a declaration may have children as well
        if (isElement && attribute == "type" && node.first_child())
            ReadValue(path + name, node.first_attribute().value(), Normalised(node.first_child().value()));
        std::string const below = name.empty() || name == "ticket" ? path : path + name + "/";
        for (pugi::xml_node const child : node.children()) ReadNode(child, below);
    }

    void ReadValue(std::string const& key, std::string const& type, std::string const& text) {
        if (type == "int") return Add(key, PARAM_INT, BytesOf(ParseNumber<std::int32_t>(text)));
        if (type == "int64") return Add(key, PARAM_INT64, BytesOf(ParseNumber<std::int64_t>(text)));
        if (type == "uint64") return Add(key, PARAM_UINT64, BytesOf(ParseNumber<std::uint64_t>(text)));
        if (type == "double") {
            bool const isNan = text == "1.#QNAN";
            return Add(key, PARAM_DOUBLE, BytesOf(isNan ? MathLib::NOT_A_DOUBLE_NUMBER : ParseNumber<double>(text)));
        }
        if (type == "string") return Add(key, PARAM_STRING, DecodeString(text).c_str());
        if (type == "binstr") return Add(key, PARAM_BINSTR, DecodeString(text));
    }

    void Add(std::string const& key, PARAM_TYPE type, std::string const& content) {
        m_values.push_back({key, type, content, APPEND_INDEX});
    }

    template <typename NUMBER>
    static std::string BytesOf(NUMBER number) {
        return std::string(reinterpret_cast<char const*>(&number), sizeof number);
    }

    VALUES m_values;
};
