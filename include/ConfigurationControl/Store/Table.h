/** @file
 * The calls of a ticket's table as ticket::Store uses them: one slot, one batch, the ticket's mutex. C++17.
 *
 * Some classes and functions of the layer are templates for one reason: what a program does not use of them, it does
 * not compile. Their parameter is called `Lazy`, or has a default that is the only argument in use. Including Store.h
 * would otherwise take twice the time.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TABLE_H
#define CONFIGURATIONCONTROL_STORE_TABLE_H

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Result.h"
#include "ConfigurationControl/TicketRecords.h"
#include "ConfigurationControl/TicketServices.h"

namespace ticket::detail {

using Table = STICKET_ACCESS const*; /**< null where there is no ticket */

/** Whether what is stored must survive a save and a load, or only lives in memory. */
enum class Rules : bool { memory, file };

/** One value, or one element, of a ticket. Does not own the key. */
struct Slot {
    Table table;
    char const* key;
    int index = SCALAR_INDEX;

    bool get(PARAM_TYPE type, void* value) const {
        return table->GetParameter(table->pTicket, key, type, value, index) != 0;
    }
    /** The type that is stored, PARAM_NONE where there is no value. */
    PARAM_TYPE type() const {
        PARAM_TYPE stored = PARAM_NONE;
        return get(PARAM_NONE, &stored) ? stored : PARAM_NONE;
    }
    /** The number of elements: 1 for a single value, 0 for an absent key. */
    std::uint64_t count() const {
        std::uint64_t elements = 0;
        table->GetParameter(table->pTicket, key, PARAM_VECTOR, &elements, SCALAR_INDEX);
        return elements;
    }
    Slot element(std::uint64_t position) const { return {table, key, static_cast<int>(position)}; }
    /** Why a read of another type failed. */
    Status mismatch() const {
        if (type() == PARAM_NONE) return NO_VALUE;
        return {Reason::wrong_type, nullptr};
    }
    /** The stored bytes of a text or byte string. Valid until the value changes: call it with the mutex held. */
    std::string_view bytes() const {
        BIN_STRING found{};
        if (!get(PARAM_BINSTR, &found) || found.data == nullptr) return {};
        return {static_cast<char const*>(found.data), static_cast<std::size_t>(found.length)};
    }
};

/**
 * Runs `work()` with the ticket's mutex held. What it throws leaves this function, after the mutex was released.
 * @return false if the ticket cannot be used; then `work` was not called
 */
template <typename Work>
bool locked(Table table, Work&& work) {
    struct Call {
        Work& work;
        std::exception_ptr thrown;
    } call{work, nullptr};
    auto const run = [](void* context) {
        auto& self = *static_cast<Call*>(context);
        try {
            self.work();
        } catch (...) {
            self.thrown = std::current_exception();
        }
    };
    bool const ran = TicketRunLocked(table, run, &call) != 0;
    if (call.thrown) std::rethrow_exception(call.thrown);
    return ran;
}

/** Calls `visit(key)` for every key in ascending order until it returns false. Call it with the mutex held. */
template <typename Visit>
void walk_keys(Table table, Visit&& visit) {
    struct Call {
        Visit& visit;
        std::exception_ptr thrown;
    } call{visit, nullptr};
    auto const step = [](void* context, char const* key, PARAM_TYPE, void const*, int) {
        auto& self = *static_cast<Call*>(context);
        try {
            return static_cast<bool>(self.visit(key));
        } catch (...) {
            self.thrown = std::current_exception();
            return false;
        }
    };
    table->WalkParameter(table->pTicket, step, &call, "", WALK_KEYS);
    if (call.thrown) std::rethrow_exception(call.thrown);
}

/** Whether what a value points to outlives the batch that takes it. */
enum class Lifetime : bool { borrowed, temporary };

/** Values to be stored together, in order. Copies keys, numbers and temporaries; all values if made with `temporary`.
 */
template <typename Lazy>
class BasicBatch {
 public:
    explicit BasicBatch(Lifetime values = Lifetime::borrowed) : m_values(values) {}

    /** Names the key of the values that follow. The first of them replaces what the key holds, others are appended. */
    void begin(std::string_view key) {
        m_keys.emplace_back(key);
        m_index = SCALAR_INDEX;
    }
    /** Adds a value of the key that was begun. */
    void add(PARAM_TYPE type, void const* value, Lifetime lifetime) {
        Item item{m_keys.size() - 1, type, m_index, 0, {}, {}, false};
        m_index = APPEND_INDEX;
        item.copied = lifetime == Lifetime::temporary || m_values == Lifetime::temporary;
        if (type == PARAM_STRING) {
            item.pointed = {value, 0};
            if (item.copied) item.copy = static_cast<char const*>(value);
        } else if (type == PARAM_BINSTR) {
            std::memcpy(&item.pointed, value, sizeof item.pointed);
            if (item.copied && item.pointed.length != 0)
                item.copy.assign(static_cast<char const*>(item.pointed.data), item.pointed.length);
        } else {
            std::memcpy(&item.number, value, size_of(type));
        }
        m_items.push_back(std::move(item));
    }
    /** Adds what a key of another ticket holds, exactly; its erasure where that is absent. With that mutex held. */
    void copy(Table source, std::string const& key) {
        Slot const slot{source, key.c_str()};
        PARAM_TYPE const type = slot.type();
        if (type == PARAM_NONE) return erase(key);
        begin(key);
        if (type != PARAM_VECTOR) return copy(slot, type);
        std::uint64_t const count = slot.count();
        for (std::uint64_t i = 0; i < count; ++i) copy(slot.element(i), slot.element(i).type());
    }
    /** Adds the erasure of a key. */
    void erase(std::string_view key) {
        begin(key);
        m_items.push_back({m_keys.size() - 1, PARAM_NONE, SCALAR_INDEX, 0, {}, {}, false});
    }
    bool empty() const { return m_items.empty(); }
    /** The first key with an infinite number, or null. */
    std::string const* infinite_key() const {
        for (Item const& item : m_items) {
            double number = 0;
            std::memcpy(&number, &item.number, sizeof number);
            if (item.type == PARAM_DOUBLE && number - number != 0 && number == number) return &m_keys[item.key];
        }
        return nullptr;
    }

    /** Stores all under one lock. Receives the keys of the values for which memory was short. */
    template <typename Record = SETMULTIPAR>
    Status store(Table table, std::vector<std::string>& failed) {
        std::vector<Record> records;
        records.reserve(m_items.size() + 1);
        for (Item& item : m_items)
            records.push_back({m_keys[item.key].c_str(), item.type, item.pointer(), item.index, false});
        records.push_back({});
        table->SetMultiParameter(table->pTicket, records.data());
        for (std::size_t i = 0; i < m_items.size(); ++i) {
            bool const stored = records[i].result || m_items[i].type == PARAM_NONE;
            if (!stored && (failed.empty() || failed.back() != records[i].key)) failed.emplace_back(records[i].key);
        }
        return failed.empty() ? Status{} : Status{Reason::no_memory, "not all was stored; the rest of the batch was"};
    }

 private:
    struct Item {
        std::size_t key;
        PARAM_TYPE type;
        int index;
        std::uint64_t number;
        BIN_STRING pointed;
        std::string copy;
        bool copied;

        void const* pointer() {
            if (type == PARAM_NONE) return nullptr;
            if (type == PARAM_STRING) return copied ? copy.c_str() : pointed.data;
            if (type != PARAM_BINSTR) return &number;
            if (copied) pointed = {copy.data(), copy.size()};
            return &pointed;
        }
    };

    /** Adds one value or element; an opaque pointer adds nothing. */
    void copy(Slot const& slot, PARAM_TYPE type) {
        if (type == PARAM_STRING || type == PARAM_BINSTR) {
            std::string_view const bytes = slot.bytes();
            BIN_STRING const view{bytes.data(), bytes.size()};
            if (type == PARAM_STRING)
                add(type, bytes.empty() ? "" : bytes.data(), Lifetime::temporary);
            else
                add(type, &view, Lifetime::temporary);
            return;
        }
        std::uint64_t number = 0;
        if (type != PARAM_POINTER && slot.get(type, &number)) add(type, &number, Lifetime::temporary);
    }

    static std::size_t size_of(PARAM_TYPE type) {
        return type == PARAM_INT || type == PARAM_UNSIGNED ? sizeof(std::uint32_t) : sizeof(std::uint64_t);
    }

    Lifetime m_values;
    std::vector<std::string> m_keys;
    std::vector<Item> m_items;
    int m_index = SCALAR_INDEX;
};

/** Whether a value, or an element, is the same in two tickets. With both mutexes held. */
inline bool is_same_value(Slot const& a, Slot const& b) {
    PARAM_TYPE const type = a.type();
    if (type != b.type()) return false;
    if (type == PARAM_STRING || type == PARAM_BINSTR) return a.bytes() == b.bytes();
    if (type == PARAM_NONE || type == PARAM_POINTER) return true;
    if (type == PARAM_VECTOR) {
        std::uint64_t const count = a.count();
        bool same = count == b.count();
        for (std::uint64_t i = 0; same && i < count; ++i) same = is_same_value(a.element(i), b.element(i));
        return same;
    }
    std::uint64_t left = 0, right = 0;  // of a double the bits decide, so that a NaN is the same as itself
    return a.get(type, &left) && b.get(type, &right) && left == right;
}

}  // namespace ticket::detail

#endif
