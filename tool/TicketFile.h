// A ticket file opened as any host opens one: through the exported instance record and the table it hands out.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Input.h"
#include "Values.h"

// Whether a file that is not there will do.
enum class MISSING { REFUSED, IS_EMPTY };

class TICKET {
 public:
    // Opens and loads a file. Throws FAILURE for one that the library would ignore without an error: missing,
    // unreadable, or broken (UNLOADABLE_FILE).
    explicit TICKET(std::string const& path, MISSING missing = MISSING::REFUSED);
    // The same for a file or pipe to read; the input must outlive the ticket.
    explicit TICKET(INPUT const& input);

    ~TICKET();
    TICKET(TICKET const&) = delete;
    TICKET& operator=(TICKET const&) = delete;

    STICKET_ACCESS const* Table() const { return m_table; }
    // Whether the file had content and not one value, as some other program's would.
    bool IsForeign() const { return m_isForeign; }

    bool IsEmpty() const;
    // The keys in order: all, or those that the selectors name.
    std::vector<std::string> Keys(std::vector<std::string> const& selectors = {}) const;
    // All parameters, or those that the selectors name ("Product/Name", "Log/" followed by "*").
    PARAMETERS Read(std::vector<std::string> const& selectors = {}) const;
    bool Has(std::string const& key, int index = SCALAR_INDEX) const;
    // What a key holds; nothing when it is absent or an empty vector.
    std::optional<PARAMETER> Read(std::string const& key) const;
    // Whether an element is what a reader of files hands over as this.
    bool Holds(std::string const& key, int index, PARAM_TYPE type, void const* value) const;
    // One value as the ticket converts it; nothing when absent or not convertible.
    std::optional<VALUE> Get(std::string const& key, PARAM_TYPE type, int index) const;

    // These throw FAILURE when the ticket refuses. Changes reach the file by Save only.
    void Set(std::string const& key, VALUE const& value, int index);
    void Set(std::string const& key, PARAMETER const& parameter);
    void Delete(std::string const& key, int index);
    void Clear();
    // Copies what the selectors name, or everything; `clear` empties this ticket first.
    void Merge(TICKET const& from, std::vector<std::string> const& selectors, bool clear);
    // Writes the file, changed or not; throws FAILURE with the reason when it could not be written.
    void Save();

 private:
    void Load(std::string const& path);
    bool IsWhatWasLoaded(std::string const& path);
    std::optional<VALUE> ReadElement(std::string const& key, int index) const;

    std::string m_path;
    bool m_isForeign = false;
    STICKET_ACCESS const* m_table = nullptr;
    bool m_isChanged = false;  // and not saved
};

// Loads a file or pipe to read, and shows the progress; the input must outlive the ticket.
TICKET Loaded(INPUT const& input);

// Null-terminated selectors as the table's entries take them; the strings must outlive it. Throws FAILURE for "", which
// would turn the list into one of removals.
std::vector<char const*> KeyList(std::vector<std::string> const& selectors);
