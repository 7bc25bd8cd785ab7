// A ticket file opened as any host opens one: through the exported instance record and the table it hands out.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Values.h"

class TicketFile {
 public:
    // Opens a file; a missing one is an empty ticket. Throws Failure when the library cannot make a ticket.
    explicit TicketFile(std::string const& path);
    ~TicketFile();  // saves what was changed
    TicketFile(TicketFile const&) = delete;
    TicketFile& operator=(TicketFile const&) = delete;

    STICKET_ACCESS const* Table() const { return m_table; }

    // All parameters, or those that the selectors name ("Product/Name", "Log/" followed by "*").
    Parameters Read(std::vector<std::string> const& selectors = {}) const;
    bool Has(std::string const& key, int index = SCALAR_INDEX) const;
    // A key with all its elements; nothing when it is absent or an empty vector.
    std::optional<Parameter> Read(std::string const& key) const;
    // One value as the ticket converts it; nothing when absent or not convertible.
    std::optional<Value> Get(std::string const& key, PARAM_TYPE type, int index) const;

    // Throw Failure when the ticket refuses.
    void Set(std::string const& key, Value const& value, int index);
    void Set(std::string const& key, Parameter const& parameter);
    void Delete(std::string const& key, int index);
    void Clear();
    void Save();

 private:
    STICKET_ACCESS const* m_table;
};

// Null-terminated selectors as the table's entries take them; the strings must outlive it.
std::vector<char const*> KeyList(std::vector<std::string> const& selectors);
