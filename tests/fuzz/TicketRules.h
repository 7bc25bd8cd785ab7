// A reference model of a ticket: a map and, for a file ticket, the loaded values and the values in the file.
#pragma once

#include <cmath>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../support/TicketModel.h"
#include "FuzzArgument.h"
#include "FuzzFile.h"
#include "FuzzLocks.h"
#include "FuzzSelection.h"

// The value that a set stores; none: deletes.
struct REQUEST {
    bool isRefused = false;
    std::optional<ticket_model::SCALAR> value;

    explicit REQUEST(ARGUMENT const& argument);
    explicit REQUEST(std::string const& text) : value(text) {}
    explicit REQUEST(VALUE const& walked);
};

class TICKET_RULES {
 public:
    using MODEL = ticket_model::MODEL;

    explicit TICKET_RULES(bool isFile) : m_isFile(isFile) {}

    // The values that a full walk reports after a load of these.
    static VALUES LoadedFrom(VALUES const& file);

    // The results of the table's entries. Null: no key.
    bool Set(std::string const* key, REQUEST const& request, int index);
    std::string Get(std::string const* key, PARAM_TYPE type, int index, bool isTest);
    struct RECORD {
        std::string key;
        REQUEST request;
        int index;
        bool result = false;
    };
    bool SetBatch(std::vector<RECORD>* records);
    struct QUESTION {
        std::string key;
        PARAM_TYPE type;
        int index;
    };
    std::optional<std::vector<std::string>> GetBatch(std::vector<QUESTION> const& questions);
    std::optional<std::vector<std::string>> Walk(int level);
    // A full walk; callback number `at` calls `change`.
    std::optional<VALUES> WalkChanging(std::size_t at, std::function<void()> const& change);
    bool Operation(STICKET_OP code, int const* seconds);
    bool ChangePartialKeys(TEXTS const* keys);
    std::optional<std::size_t> Count(bool load);
    bool Merge(TICKET_RULES& source, TEXTS const* keys, bool clear);

    // Registrations, queued callbacks, and the callbacks that were called.
    void Register(int number, TEXTS const& keys) { m_registrations[number].Set(keys); }
    // Without a server no observer can be registered, and only a request to remove all of them succeeds.
    bool Unregister(int number, bool enable) {
        bool const isHeard = number == -2 && !enable;
        if (isHeard) m_registrations.clear();
        return isHeard;
    }
    bool IsRegistered(int number) const { return m_registrations.count(number) != 0; }
    void Queue(int call) { m_queue.push_back(call); }
    std::vector<int> const& Calls() const { return m_calls; }
    // The action of callback `call`: sets "q", queues another callback, or throws.
    enum ACTION { ACT_SET, ACT_QUEUE, ACT_THROW, ACT_NOTHING };
    static ACTION ActionOf(int call) { return call < 100 ? static_cast<ACTION>(call % 4) : ACT_NOTHING; }

    LOCK_RULES& Locks() { return m_locks; }

    void Pass(int seconds) { m_now += seconds; }
    bool CanBeSaved() const;
    void Destroy();
    std::string const& FileText() const { return m_fileText; }

 private:
    // Thrown when an infinite number stops a save.
    struct STOPPED {};

    VALUES Everything() const;
    void Save();
    void Load();
    void ReleaseTo(bool partial);
    void MakeReady(bool everything);
    bool IsNotPartial(std::string const* key) const { return !key || m_partialKeys.count(*key) == 0; }
    void MarkDirty();
    bool Apply(std::string const& key, REQUEST const& request, int index);
    void Notify(std::vector<std::string> const& keys);
    void RunQueue();
    bool Operate(STICKET_OP code, int const* seconds);

    bool const m_isFile;
    MODEL m_parameters;
    std::map<int, SELECTION> m_registrations;
    std::deque<int> m_queue;
    std::vector<int> m_calls;
    LOCK_RULES m_locks;

    std::set<std::string> m_partialKeys;
    bool m_partial = false;
    bool m_loaded = false;
    bool m_dirty = false;
    int m_now = 0;
    int m_lastAccess = 0;
    int m_dirtySince = 0;
    std::string m_fileText;
    VALUES m_fileValues;
};
