// A ticket file opened as any host opens one: through the exported instance record and the table it hands out.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Values.h"

// A save that the library does not even begin or finish, whatever the disk; the ticket still wants to be saved.
struct RefusedSave : Failure {
    using Failure::Failure;
};

// Whether a file that is not there will do.
enum class MISSING { REFUSED, IS_EMPTY };

class TicketFile {
 public:
    // Opens and loads a file. Throws Failure for one that the library would pass over in silence: missing, unreadable,
    // or broken (UnloadableFile).
    explicit TicketFile(std::string const& path, MISSING missing = MISSING::REFUSED);

    STICKET_ACCESS const* Table() const { return m_table.get(); }
    // Whether the file had content and not one value, as some other program's would.
    bool IsForeign() const { return m_isForeign; }

    // All parameters, or those that the selectors name ("Product/Name", "Log/" followed by "*").
    Parameters Read(std::vector<std::string> const& selectors = {}) const;
    bool Has(std::string const& key, int index = SCALAR_INDEX) const;
    // What a key holds; nothing when it is absent or an empty vector.
    std::optional<Parameter> Read(std::string const& key) const;
    // One value as the ticket converts it; nothing when absent or not convertible.
    std::optional<Value> Get(std::string const& key, PARAM_TYPE type, int index) const;

    // These throw Failure when the ticket refuses. What was changed and not saved is saved, unchecked, at the end of
    // the ticket's life.
    void Set(std::string const& key, Value const& value, int index);
    void Set(std::string const& key, Parameter const& parameter);
    void Delete(std::string const& key, int index);
    void Clear();
    // Writes the file, changed or not; throws Failure when it could not be written, RefusedSave when it never can be.
    void Save();

 private:
    struct DESTROY {
        void operator()(STICKET_ACCESS const* table) const;
    };

    unsigned int Count() const;
    std::optional<Value> ReadElement(std::string const& key, int index) const;

    std::string m_path;
    bool m_isForeign = false;
    std::unique_ptr<STICKET_ACCESS const, DESTROY> m_table;
};

// Null-terminated selectors as the table's entries take them; the strings must outlive it. Throws Failure for "", which
// would turn the list into one of removals.
std::vector<char const*> KeyList(std::vector<std::string> const& selectors);
