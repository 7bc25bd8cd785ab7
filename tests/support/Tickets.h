// Tickets for tests: an owner, short forms of the common table calls, and a ticket's contents as readable lines.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ClassicLocale.h"
#include "ConfigurationControl/Ticket.h"
#include "TicketImpSMem.h"

namespace tickets {

constexpr STICKET_WHOAMI NOBODY{nullptr, -2, -2, nullptr, nullptr};

// Destroys its ticket at the end of the scope.
class OWNER {
 public:
    explicit OWNER(char const* name = nullptr) : m_access(STICKET::Create(name)) {}
    explicit OWNER(STICKET_ACCESS const* access) : m_access(access) {}
    ~OWNER() { STICKET::Destroy(m_access); }
    OWNER(OWNER const&) = delete;
    OWNER& operator=(OWNER const&) = delete;

    STICKET_ACCESS const* operator->() const { return m_access; }
    operator STICKET_ACCESS const*() const { return m_access; }

 private:
    STICKET_ACCESS const* m_access;
};

inline int Set(STICKET_ACCESS const* access, char const* key, int value, int index = SCALAR_INDEX) {
    return access->SetParameter(access->pTicket, key, PARAM_INT, &value, index);
}

inline int Set(STICKET_ACCESS const* access, char const* key, char const* text, int index = SCALAR_INDEX) {
    return access->SetParameter(access->pTicket, key, PARAM_STRING, text, index);
}

inline int Set(STICKET_ACCESS const* access, char const* key, double value, int index = SCALAR_INDEX) {
    return access->SetParameter(access->pTicket, key, PARAM_DOUBLE, &value, index);
}

inline int Delete(STICKET_ACCESS const* access, char const* key) {
    return access->SetParameter(access->pTicket, key, PARAM_NONE, nullptr, SCALAR_INDEX);
}

inline std::optional<int> GetInt(STICKET_ACCESS const* access, char const* key, int index = SCALAR_INDEX) {
    int value = 0;
    if (!access->GetParameter(access->pTicket, key, PARAM_INT, &value, index)) return {};
    return value;
}

inline std::optional<std::string> GetText(STICKET_ACCESS const* access, char const* key, int index = SCALAR_INDEX) {
    char const* text = nullptr;
    if (!access->GetParameter(access->pTicket, key, PARAM_STRING, &text, index)) return {};
    return text;
}

inline int Operate(STICKET_ACCESS const* access, uint32_t code, void* data = nullptr) {
    return access->Operation(access->pTicket, static_cast<STICKET_OP>(code), data);
}

inline unsigned int Count(STICKET_ACCESS const* access) {
    unsigned int count = 0;
    return Operate(access, STICKET_OP_COUNT, &count) ? count : ~0u;
}

// One line for each value as a full walk reports it: key, element, type and value, for instance "a[1] 2 17".
using LINES = std::vector<std::string>;

inline std::string ValueText(PARAM_TYPE type, void const* value) {
    switch (type) {
        case PARAM_INT:
            return std::to_string(*static_cast<int32_t const*>(value));
        case PARAM_DOUBLE:
            return ClassicText(*static_cast<double const*>(value));
        case PARAM_STRING:
            return static_cast<char const*>(value);
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            return std::string(static_cast<char const*>(bytes.data), bytes.length);
        }
        case PARAM_INT64:
            return std::to_string(*static_cast<int64_t const*>(value));
        case PARAM_UNSIGNED:
            return std::to_string(*static_cast<uint32_t const*>(value));
        case PARAM_UINT64:
            return std::to_string(*static_cast<uint64_t const*>(value));
        default:
            return std::to_string(reinterpret_cast<uintptr_t>(value));
    }
}

inline bool AddLine(void* lines, char const* key, PARAM_TYPE type, void const* value, int index) {
    std::string const element = index < 0 ? "" : "[" + std::to_string(index) + "]";
    static_cast<LINES*>(lines)->push_back(key + element + " " + std::to_string(type) + " " + ValueText(type, value));
    return true;
}

inline LINES Contents(STICKET_ACCESS const* access) {
    LINES lines;
    if (!access->WalkParameter(access->pTicket, &AddLine, &lines, "", WALK_EVERYTHING)) lines = {"the walk failed"};
    return lines;
}

// A memory ticket that makes public what derived classes may use: registrations, and the members behind the entries.
class OPEN_TICKET : public STICKET_MEM {
 public:
    explicit OPEN_TICKET(STICKET_WHOAMI const& whoAmI = NOBODY) : STICKET_MEM(whoAmI) {}

    // `keys`: as in PARTIAL_MODE::set, but without a null at the end.
    void Register(int number, std::vector<char const*> keys) {
        if (!keys.empty()) keys.push_back(nullptr);
        m_state->registrations[number].selection.set(keys.empty() ? nullptr : keys.data());
    }
    std::vector<int> Registered() const {
        std::vector<int> numbers;
        for (auto const& registration : m_state->registrations) numbers.push_back(registration.first);
        return numbers;
    }

    using STICKET::AfterNotification;
    using STICKET::EnDisNotification;
    using STICKET::FlushToNotification;
    using STICKET::GetHNotification;
    using STICKET::GetMutexInstance;
    using STICKET::GetNotification;
    using STICKET::IsLogged;
    using STICKET::Log;
    using STICKET::NotifyOperation;
    using STICKET::NotifySetMultiParameter;
    using STICKET::NotifySetParameter;
    using STICKET_MEM::Operation;
};

}  // namespace tickets
