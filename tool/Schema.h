// The known keys: those of the settings service and those of a host's schema file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Values.h"

struct KNOWN_KEY {
    std::string key;
    std::vector<PARAM_TYPE> types;  // that programs read; new keys get the first one
    bool isVector = false;
    bool isFlag = false;    // an int that means false or true
    bool isSecret = false;  // hidden from onlookers
    std::optional<VALUE> fallback;
    std::optional<double> minimum;
    std::optional<double> maximum;
    std::vector<VALUE> choices;  // none: every value
    std::string help;
    std::string getter;  // of the settings service
    std::string setter;
};

// A name, and which letters it holds, so that most names that are not close are excluded quickly.
struct NAME {
    explicit NAME(std::string const& name);
    std::string text;
    std::uint64_t letters;
    std::size_t allowed;  // how many steps a misspelling may be away
};

class SCHEMA {
 public:
    // Knows the settings, and the keys of the schema file that --schema names or that lies beside `file`. Throws
    // FAILURE for a schema file that cannot be read.
    SCHEMA(ARGUMENTS const& arguments, std::string const& file);

    std::vector<KNOWN_KEY> const& Keys() const { return m_keys; }  // in their order
    KNOWN_KEY const* Find(std::string const& key) const;
    bool IsSecret(std::string const& key) const;
    // The known key that was probably meant; null if the key is known, or resembles none.
    KNOWN_KEY const* Meant(std::string const& key) const;

 private:
    void AddSettings();
    void AddFile(std::string const& path);
    void Add(KNOWN_KEY key);

    std::vector<KNOWN_KEY> m_keys;
    std::vector<NAME> m_names;  // of the keys
};

// What is wrong with a value of this key, as the end of a sentence; empty if nothing is.
std::string Objection(KNOWN_KEY const& known, VALUE const& value);

// The values that a key takes, in words: "0 to 4", "one of 1, 2"; empty if it takes all of its type.
std::string Allowed(KNOWN_KEY const& known);

// Sorts names as Closest needs them.
void SortBySize(std::vector<NAME>& names);

// Of the candidates, sorted by SortBySize, the one that a misspelt name probably means; null if none is close.
NAME const* Closest(std::string const& name, std::vector<NAME> const& candidates);
