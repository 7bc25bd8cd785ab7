// The tool's commands. Each takes what the command line said and returns an exit code. What goes wrong is thrown as
// Failure.
#pragma once

#include <optional>
#include <string>
#include <vector>

constexpr int DONE = 0;
constexpr int FOUND_SOMETHING = 1;  // diff and check
constexpr int FAILED = 2;

struct LIST_OPTIONS {
    std::string file;
    std::vector<std::string> selectors;
    bool json = false;
    bool keysOnly = false;
};
int List(LIST_OPTIONS const& options);

struct GET_OPTIONS {
    std::string file;
    std::string key;
    std::optional<int> index;
    std::string type;  // empty: as stored
    bool hex = false;
};
int Get(GET_OPTIONS const& options);

struct SET_OPTIONS {
    std::string file;
    std::string key;
    std::optional<std::string> value;
    std::string type;  // empty: as stored, or a string for a new key
    std::optional<int> index;
    bool append = false;
    bool hex = false;
    std::optional<std::string> fromFile;
    bool force = false;
};
int Set(SET_OPTIONS const& options);

struct DELETE_OPTIONS {
    std::string file;
    std::vector<std::string> keys;
    std::optional<int> index;
    bool force = false;
};
int Delete(DELETE_OPTIONS const& options);

struct MERGE_OPTIONS {
    std::string from;
    std::string into;
    std::vector<std::string> selectors;
    bool clear = false;
    bool force = false;
};
int Merge(MERGE_OPTIONS const& options);

struct DIFF_OPTIONS {
    std::string a;
    std::string b;
};
int Diff(DIFF_OPTIONS const& options);

int Export(std::string const& file);

struct IMPORT_OPTIONS {
    std::string file;
    bool clear = false;
    bool force = false;
};
int Import(IMPORT_OPTIONS const& options);  // reads standard input

int Check(std::vector<std::string> const& files);

struct SETTINGS_OPTIONS {
    std::string file;
    bool json = false;
    bool showSecrets = false;
};
int Settings(SETTINGS_OPTIONS const& options);
