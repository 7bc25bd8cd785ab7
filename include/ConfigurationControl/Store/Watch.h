/** @file
 * Changes that are heard: what ticket::Store::on_change returns. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_WATCH_H
#define CONFIGURATIONCONTROL_STORE_WATCH_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Key.h"
#include "ConfigurationControl/Store/Ticket.h"
#include "ConfigurationControl/Store/Value.h"

namespace ticket {

/** A key whose value differs from what it was. */
template <typename Held>
struct BasicEvent {
    std::string key;            /**< the key */
    std::optional<Held> before; /**< what it held; empty if it was not there */
    std::optional<Held> after;  /**< what it holds; empty if it is gone */
};
using Event = BasicEvent<Value>; /**< what on_change tells */

namespace detail {

/** A watch, while it is watching. */
class Watcher {
 public:
    Watcher() = default;
    virtual ~Watcher() = default;
    Watcher(Watcher const&) = delete;
    Watcher& operator=(Watcher const&) = delete;

    /** Ends, and deletes this object: at once or, within its own call, after that. */
    virtual void end() = 0;
};

/**
 * Calls a function with what differs from its copies of the watched values. Used with the ticket's mutex held. `Held`
 * is a parameter so that programs without a watch do not compile the variant.
 */
template <typename Function, typename Held = Value>
class FunctionWatcher final : public Watcher {
 public:
    FunctionWatcher(SharedTicket ticket, std::string_view selector, Function function)
        : m_ticket(std::move(ticket)), m_selector(selector), m_function(std::move(function)) {}

    /** Begins; false if memory was short or the ticket cannot be used. */
    bool begin() {
        locked(m_ticket.table(), [&] {
            walk_keys(m_ticket.table(), [&](char const* key) {
                if (m_selector.selects(key)) m_shadow.push_back({key, *read_value<Held>(m_ticket.table(), key)});
                return true;
            });
            m_observer = TicketAddObserver(m_ticket.table(), &FunctionWatcher::observe, this);
        });
        return m_observer != 0;
    }
    void end() override {
        TicketRemoveObserver(m_ticket.table(), m_observer);
        if (m_calling)
            m_ended = true;
        else
            delete this;
    }

 private:
    using Difference = BasicEvent<Held>;

    static void observe(void* context, char const* const* keys) {
        auto& self = *static_cast<FunctionWatcher*>(context);
        self.m_calling = true;
        WatchCall const call(self.m_ticket.table());
        std::vector<Difference> events;
        try {
            self.add_differences(keys, events);
        } catch (...) {  // memory is short: the next change of each other key tells the difference
        }
        for (Difference const& event : events) {
            if (self.m_ended) break;
            try {
                self.m_function(event);
            } catch (...) {  // the caller that made the change cannot handle it
            }
        }
        self.m_calling = false;
        if (self.m_ended) delete &self;
    }

    void add_differences(char const* const* keys, std::vector<Difference>& events) {
        if (keys != nullptr) {
            for (; *keys != nullptr; ++keys)
                if (m_selector.selects(*keys)) add_difference(*keys, events);
            return;
        }
        std::vector<std::string> all;
        walk_keys(m_ticket.table(), [&](char const* key) {
            if (m_selector.selects(key)) all.emplace_back(key);
            return true;
        });
        for (BasicEntry<Held> const& entry : m_shadow) all.push_back(entry.key);
        for (std::string const& key : all) add_difference(key, events);
    }

    // If it throws, neither the events nor the copies have changed.
    void add_difference(std::string const& key, std::vector<Difference>& events) {
        std::optional<Held> after = read_value<Held>(m_ticket.table(), key.c_str());
        std::size_t place = 0;
        for (std::size_t end = m_shadow.size(); place < end;) {
            std::size_t const middle = place + (end - place) / 2;
            if (m_shadow[middle].key < key)
                place = middle + 1;
            else
                end = middle;
        }
        bool const known = place < m_shadow.size() && m_shadow[place].key == key;
        std::optional<Held> before;
        if (known) before = m_shadow[place].value;
        if (is_same(before, after)) return;
        events.push_back({key, before, after});
        auto const position = m_shadow.begin() + static_cast<std::ptrdiff_t>(place);
        if (known && after) {
            position->value = *std::move(after);
        } else if (known) {
            m_shadow.erase(position);
        } else {
            try {
                m_shadow.insert(position, BasicEntry<Held>{key, *std::move(after)});
            } catch (...) {
                events.pop_back();
                throw;
            }
        }
    }

    SharedTicket m_ticket;
    Selector m_selector;
    Function m_function;
    std::vector<BasicEntry<Held>> m_shadow;  // in key order
    std::uint64_t m_observer = 0;
    bool m_calling = false;
    bool m_ended = false;
};

}  // namespace detail

/**
 * A function that is called after each change of the watched keys, until this object is destroyed.
 *
 * It is called on the thread of the change, with the ticket's mutex held, once for each key whose value differs,
 * if the change was made through this store, another one on the same table, or the table itself. It may read and
 * change the store, and is called for its own changes after it has returned; it may end this watch. It must not wait
 * for another thread that uses the store, and must not destroy the store. Of the settings service's store it must not
 * call the service, which holds its own mutex while it changes a setting. An exception that leaves it is dropped.
 *
 * What the function changes is noted for a save after it has returned, so save then. A save within the function writes
 * what was changed before it and takes over nothing; a reload within it is Reason::busy.
 *
 * Destruction waits for a call on another thread, so do not hold a lock that the function takes. A watch may outlive
 * its store, but not a table that the store was given.
 */
class [[nodiscard]] Watch {
 public:
    /** Watches nothing. */
    Watch() = default;
    /** Made by Store::on_change. */
    explicit Watch(detail::Watcher* watcher) : m_watcher(watcher) {}
    /** Takes the other watch over. */
    Watch(Watch&& other) noexcept : m_watcher(other.release()) {}
    /** Ends this watch and takes the other one over. */
    Watch& operator=(Watch&& other) noexcept {
        if (this != &other) {
            end();
            m_watcher = other.release();
        }
        return *this;
    }
    ~Watch() { end(); }

    /** Whether it watches; false if memory was short when it was made. */
    explicit operator bool() const noexcept { return m_watcher != nullptr; }
    /** Ends it now. */
    void end() {
        if (m_watcher != nullptr) release()->end();
    }

 private:
    detail::Watcher* release() noexcept {
        detail::Watcher* const watcher = m_watcher;
        m_watcher = nullptr;
        return watcher;
    }

    detail::Watcher* m_watcher = nullptr;
};

}  // namespace ticket

#endif
