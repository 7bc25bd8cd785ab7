// A ticket's table with canned answers, for tests of code that uses a ticket only through its table.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

class FAKE_TICKET {
 public:
    struct ENTRY {
        char const* key;
        PARAM_TYPE type;
        void const* value;
        int index;
    };

    // The values that every walk reports, in this order, whatever its level.
    std::vector<ENTRY> entries;
    // The behaviour of the calls; null: return 0, write nothing.
    std::function<int(char const* key, PARAM_TYPE type, void* value, int index)> onGet;
    std::function<int(GETMULTIPAR* records)> onGetMulti;
    std::function<int(char const* key, PARAM_TYPE type, void const* value, int index)> onSet;
    std::function<int(SETMULTIPAR* records)> onSetMulti;
    std::function<int(STICKET_OP code, void* data)> onOperation;

    // The calls so far.
    int walks = 0;
    int gets = 0;
    int getMultis = 0;
    int sets = 0;
    int setMultis = 0;
    std::string walkPrefix;
    int walkLevel = -1;
    bool walkThrew = false;
    bool walkStopped = false;

    FAKE_TICKET() {
        m_access.nSize = sizeof m_access;
        m_access.nVersion = 2;
        // Never dereferenced as a ticket: only the entries below receive it.
        m_access.pTicket = reinterpret_cast<STICKET*>(this);
        m_access.GetParameter = [](STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index) {
            ++Self(ticket).gets;
            return Self(ticket).onGet ? Self(ticket).onGet(key, type, value, index) : 0;
        };
        m_access.GetMultiParameter = [](STICKET* ticket, GETMULTIPAR* records) {
            ++Self(ticket).getMultis;
            return Self(ticket).onGetMulti ? Self(ticket).onGetMulti(records) : 0;
        };
        m_access.SetParameter = [](STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index) {
            ++Self(ticket).sets;
            return Self(ticket).onSet ? Self(ticket).onSet(key, type, value, index) : 0;
        };
        m_access.SetMultiParameter = [](STICKET* ticket, SETMULTIPAR* records) {
            ++Self(ticket).setMultis;
            return Self(ticket).onSetMulti ? Self(ticket).onSetMulti(records) : 0;
        };
        m_access.Operation = [](STICKET* ticket, STICKET_OP code, void* data) {
            return Self(ticket).onOperation ? Self(ticket).onOperation(code, data) : 0;
        };
        m_access.WalkParameter = &FAKE_TICKET::Walk;
    }
    FAKE_TICKET(FAKE_TICKET const&) = delete;
    FAKE_TICKET& operator=(FAKE_TICKET const&) = delete;

    STICKET_ACCESS const* Access() const { return &m_access; }

 private:
    static FAKE_TICKET& Self(STICKET* ticket) { return *reinterpret_cast<FAKE_TICKET*>(ticket); }

    // Catches exceptions of the callback, as the library's own tickets do.
    static int Walk(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) {
        FAKE_TICKET& self = Self(ticket);
        ++self.walks;
        self.walkPrefix = prefix;
        self.walkLevel = level;
        try {
            for (ENTRY const& entry : self.entries) {
                if (callback(context, entry.key, entry.type, entry.value, entry.index)) continue;
                self.walkStopped = true;
                break;
            }
            return 1;
        } catch (...) {
            self.walkThrew = true;
            return 0;
        }
    }

    STICKET_ACCESS m_access{};
};
