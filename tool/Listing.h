// Parameters as lines for people and scripts.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"
#include "Schema.h"
#include "Terminal.h"
#include "TicketFile.h"

constexpr char const* HIDDEN_VALUE = "********";

// How a command shows parameters: what its options and the schema say.
class LISTING {
 public:
    LISTING(ARGUMENTS const& arguments, std::string const& file);

    // Whether the value of a key is hidden: that of a password, on a terminal or where it is asked for.
    bool Hides(std::string const& key) const;
    // One line for each value.
    void Print(std::string const& key, PARAMETER const& parameter, char const* mark = "",
               COLOUR colour = COLOUR::NONE) const;
    void PrintKey(std::string const& key) const;
    // What ends each line or record.
    char End() const { return m_end; }

    // Prints what was removed, added and changed; returns whether anything was. Null stands for an empty ticket.
    bool PrintDifferences(TICKET const* before, TICKET const* after,
                          std::vector<std::string> const& selectors = {}) const;

    SCHEMA const& Known() const { return m_schema; }

 private:
    SCHEMA m_schema;
    bool m_hidesSecrets;
    char m_end;
};
