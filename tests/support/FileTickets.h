// File tickets for tests: with a clock that tests set, and with access to what derived classes may do.
#pragma once

#include <ctime>
#include <initializer_list>
#include <string>
#include <vector>

#include "Files.h"
#include "TicketImpSFile.h"
#include "Tickets.h"

namespace tickets {

class OPEN_FILE_TICKET : public STICKET_FILE {
 public:
    explicit OPEN_FILE_TICKET(std::string const& fileName, STICKET_WHOAMI const& whoAmI = NOBODY)
        : STICKET_FILE(fileName, whoAmI), m_now(std::time(nullptr)) {}

    // Moves the ticket's clock.
    void Pass(int seconds) { m_now += seconds; }

    // Watches one key.
    void Register(int number, char const* key) { m_state->registrations[number].selection.keys.insert(key); }
    bool IsRegistered(int number) const { return GetNotification(number) != nullptr; }

    using STICKET_FILE::KeyNotPartial;
    using STICKET_FILE::LocalSetParameter;
    using STICKET_FILE::ReleaseTo;
    using STICKET_FILE::Save;

 protected:
    std::time_t Now() const override { return m_now; }

 private:
    std::time_t m_now;
};

// The number of values in memory, without loading.
inline unsigned int InMemory(STICKET_ACCESS const* access) {
    unsigned int count = 0;
    return Operate(access, STICKET_OP_COUNT_LOADED, &count) ? count : ~0u;
}

inline int SetPartialKeys(STICKET_ACCESS const* access, std::vector<char const*> keys) {
    keys.push_back(nullptr);
    return Operate(access, STICKET_OP_PARTIAL_KEYS, keys.data());
}

inline int Seconds(STICKET_ACCESS const* access, STICKET_OP code, int seconds) {
    return Operate(access, code, &seconds);
}

// The text of a ticket file with these lines between the outermost tags.
inline std::string Document(std::initializer_list<char const*> lines) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n";
    for (char const* const line : lines) text += "\t" + std::string(line) + "\n";
    return text + "</ticket>\n";
}

}  // namespace tickets
