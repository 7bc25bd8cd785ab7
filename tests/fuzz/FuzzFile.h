// A reference model of saving and loading: the text of a ticket's file, and the values that a load of it sets.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <unordered_map>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"
#include "Format/Escapes.h"
#include "Format/Numbers.h"
#include "FuzzArgument.h"
#include "FuzzText.h"
#include "FuzzWildcard.h"

// One call of a walk.
struct VALUE {
    std::string key;
    PARAM_TYPE type;
    std::string content;  // as in ARGUMENT; the bits of a pointer
    int index;

    bool operator==(VALUE const& other) const {
        return key == other.key && type == other.type && content == other.content && index == other.index;
    }
};
using VALUES = std::vector<VALUE>;

inline std::string Spelled(VALUES const& values) {
    std::string lines;
    for (VALUE const& value : values) {
        lines += value.key + "[" + std::to_string(value.index) + "] " + std::to_string(value.type) + " ";
        lines += value.content + "\n";
    }
    return lines;
}

// STICKET_WALK_CALLBACK whose context is a VALUES.
inline bool AddValue(void* values, char const* key, PARAM_TYPE type, void const* value, int index) {
    std::string content;
    if (type == PARAM_POINTER)
        content.assign(reinterpret_cast<char const*>(&value), sizeof value);
    else if (value != nullptr)
        content = ARGUMENT::ContentOf(type, value);
    static_cast<VALUES*>(values)->push_back({key, type, content, index});
    return true;
}

inline VALUES Walked(STICKET_ACCESS const* ticket) {
    VALUES values;
    MUST_HOLD(ticket->WalkParameter(ticket->pTicket, &AddValue, &values, "", WALK_EVERYTHING) != 0);
    return values;
}

// Whether a component of a key certainly survives a save and a load. Others may be misread; docs/file-format.md says
// how.
inline bool IsSure(std::string const& component) {
    if (component.empty()) return true;
    return component.back() != ' ' && std::none_of(component.begin(), component.end(), [](char byte) {
               return static_cast<unsigned char>(byte) < ' ' || byte == '<' || byte == '>' || byte == '"' ||
                      byte == '=';
           });
}

// The empty element of a key that ends in "/" may also be misread as markup, or as the beginning of markup.
inline bool IsSureKey(std::string key) {
    bool const isEmptyElement = !key.empty() && key.back() == '/';
    for (std::size_t end; (end = key.find('/')) != std::string::npos; key.erase(0, end + 1)) {
        bool const mayBeMarkup = isEmptyElement && (key.front() == '?' || key.front() == '!');
        if (mayBeMarkup || !IsSure(key.substr(0, end))) return false;
    }
    return IsSure(key);
}

class FILE_MODEL {
 public:
    // `values`: all values of a ticket, as a walk reports them.
    explicit FILE_MODEL(VALUES const& values) {
        for (VALUE const& value : values)
            if (*TypeName(value.type) != '\0') Place(m_ticket, value.key, value);
    }

    std::string Text() const {
        std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        Write(m_ticket, 0, text);
        return text;
    }

    // The values that a load finds, in this order, each appended to its key.
    VALUES Reloaded() const {
        VALUES values;
        for (auto const& child : m_ticket.children) Read(*child, "", values);
        return values;
    }

    // The text after a save and a load: a single space at either end is lost, and XML entities are replaced by their
    // characters.
    static std::string ReloadedText(std::string const& text) {
        std::string const encoded = text.empty() ? "\\" : EncodeString(text);
        return DecodeString(Normalised(encoded.find('&') != std::string::npos ? Parsed(encoded) : encoded));
    }

 private:
    struct ELEMENT {
        std::string name;
        VALUE const* value = nullptr;
        std::string text;
        std::vector<std::unique_ptr<ELEMENT>> children;
        std::unordered_map<std::string, ELEMENT*> firstOfName{};  // of the children
    };

    static char const* TypeName(PARAM_TYPE type) {
        switch (type) {
            case PARAM_INT:
                return "int";
            case PARAM_DOUBLE:
                return "double";
            case PARAM_STRING:
                return "string";
            case PARAM_BINSTR:
                return "binstr";
            case PARAM_INT64:
                return "int64";
            case PARAM_UINT64:
                return "uint64";
            default:
                return "";
        }
    }

    static std::string Parsed(std::string const& text) {
        pugi::xml_document document;
        MUST_HOLD(
            document.load_string(("<a>" + text + "</a>").c_str(), pugi::parse_full | pugi::parse_ws_pcdata_single));
        return document.first_child().child_value();
    }

    static ELEMENT& Add(ELEMENT& parent, std::string const& name) {
        parent.children.push_back(std::make_unique<ELEMENT>());
        parent.children.back()->name = name;
        parent.firstOfName.emplace(name, parent.children.back().get());
        return *parent.children.back();
    }

    static ELEMENT& FindOrAdd(ELEMENT& parent, std::string const& component) {
        if (component.find_first_of("*?[") == std::string::npos) {  // a large file has many, and each stands for itself
            auto const found = parent.firstOfName.find(component);
            return component.empty() || found == parent.firstOfName.end() ? Add(parent, component) : *found->second;
        }
        for (auto const& child : parent.children)
            if (!child->name.empty() && wildcards::Matches(component, child->name)) return *child;
        return Add(parent, component);
    }

    static void Place(ELEMENT& parent, std::string const& key, VALUE const& value) {
        std::size_t const end = key.find('/');
        if (end != std::string::npos) return Place(FindOrAdd(parent, key.substr(0, end)), key.substr(end + 1), value);
        if (key.empty()) return;
        ELEMENT& leaf = Add(parent, key);
        leaf.value = &value;
        leaf.text = TextOf(value);
        if (leaf.text.empty()) leaf.text = "\\";
    }

    template <typename NUMBER>
    static NUMBER As(std::string const& content) {
        NUMBER number;
        std::memcpy(&number, content.data(), sizeof number);
        return number;
    }

    static std::string TextOf(VALUE const& value) {
        switch (value.type) {
            case PARAM_INT:
                return std::to_string(As<int>(value.content));
            case PARAM_INT64:
                return std::to_string(As<long long>(value.content));
            case PARAM_UINT64:
                return std::to_string(As<unsigned long long>(value.content));
            case PARAM_DOUBLE:
                return NumberText(BestDouble{As<double>(value.content), BestDouble::FILE_LIMIT});
            default:
                return EncodeString(value.content);
        }
    }

    static std::string NameOf(ELEMENT const& element) { return element.name.empty() ? "anonymous" : element.name; }

    static void Write(ELEMENT const& element, std::size_t depth, std::string& text) {
        std::string const tabs(depth, '\t');
        text += tabs + "<" + NameOf(element);
        if (element.value != nullptr) text += std::string(" type=\"") + TypeName(element.value->type) + "\"";
        if (element.children.empty()) {
            text += element.value != nullptr ? ">" + element.text + "</" + NameOf(element) + ">\n" : "/>\n";
            return;
        }
        text += ">\n";
        if (element.value != nullptr) text += tabs + "\t" + element.text + "\n";
        for (auto const& child : element.children) Write(*child, depth + 1, text);
        text += tabs + "</" + NameOf(element) + ">\n";
    }

    static void Read(ELEMENT const& element, std::string const& path, VALUES& values) {
        std::string const name = NameOf(element);
        if (element.value != nullptr) {
            VALUE value = *element.value;
            value.key = path + name;
            value.index = APPEND_INDEX;
            if (value.type == PARAM_STRING || value.type == PARAM_BINSTR) value.content = ReloadedText(value.content);
            values.push_back(value);
        }
        for (auto const& child : element.children) Read(*child, name == "ticket" ? path : path + name + "/", values);
    }

    ELEMENT m_ticket{"ticket", nullptr, {}, {}, {}};
};
