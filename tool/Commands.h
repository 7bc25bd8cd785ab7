// The tool's commands. Each takes what the command line said and returns an exit code. What goes wrong is thrown as
// Failure.
#pragma once

#include <optional>
#include <string>
#include <vector>

constexpr int kDone = 0;
constexpr int kFoundSomething = 1;  // diff and check
constexpr int kFailed = 2;

struct ListOptions {
    std::string file;
    std::vector<std::string> selectors;
    bool json = false;
    bool keysOnly = false;
};
int List(ListOptions const& options);

struct GetOptions {
    std::string file;
    std::string key;
    std::optional<int> index;
    std::string type;  // empty: as stored
    bool hex = false;
};
int Get(GetOptions const& options);

struct SetOptions {
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
int Set(SetOptions const& options);

struct DeleteOptions {
    std::string file;
    std::vector<std::string> keys;
    std::optional<int> index;
    bool force = false;
};
int Delete(DeleteOptions const& options);

struct MergeOptions {
    std::string from;
    std::string into;
    std::vector<std::string> selectors;
    bool clear = false;
    bool force = false;
};
int Merge(MergeOptions const& options);

struct DiffOptions {
    std::string a;
    std::string b;
};
int Diff(DiffOptions const& options);

int Export(std::string const& file);

struct ImportOptions {
    std::string file;
    bool clear = false;
    bool force = false;
};
int Import(ImportOptions const& options);  // reads standard input

int Check(std::vector<std::string> const& files);

struct SettingsOptions {
    std::string file;
    bool json = false;
    bool showSecrets = false;
};
int Settings(SettingsOptions const& options);
