/** @file
 * Several changes as one: what ticket::Store::change hands to its function. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_CHANGE_H
#define CONFIGURATIONCONTROL_STORE_CHANGE_H

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Forms.h"
#include "ConfigurationControl/Store/Key.h"

namespace ticket {

/**
 * The result of Store::change. A refused value (see reason()) refuses the whole change. A change for which memory was
 * short is done in part, because a batch has no rollback: `failed` then names the keys that were not stored.
 */
template <typename Lazy>
class BasicChangeResult : public Result {
 public:
    BasicChangeResult() = default;
    /** A result, and the keys for which memory was short. */
    explicit BasicChangeResult(Result result, std::vector<std::string> failed = {})
        : Result(std::move(result)), m_failed(std::move(failed)) {}
    /** The keys for which memory was short. */
    std::vector<std::string> const& failed() const noexcept { return m_failed; }

 private:
    std::vector<std::string> m_failed;
};
using ChangeResult = BasicChangeResult<void>; /**< what Store::change returns */

namespace detail {

/** Adds the erasure of every key that a selector names. With the mutex held. Returns how many. */
template <typename Batch>
std::size_t put_erasures(Table table, Selector const& selector, Batch& batch) {
    std::size_t count = 0;
    auto const erase = [&](char const* key) {
        batch.erase(key);
        ++count;
    };
    if (!selector.is_prefix()) {
        if (!KeyName(selector.text()).is_whole()) return 0;  // the table would erase the key up to the NUL
        if (Slot{table, selector.text().c_str()}.type() != PARAM_NONE) erase(selector.text().c_str());
        return count;
    }
    walk_keys(table, [&](std::string_view key) {
        bool const selected = selector.selects(key);
        if (selected) erase(key.data());
        return selected || key < selector.text();
    });
    return count;
}

}  // namespace detail

/**
 * Changes that are collected and then stored together, under one holding of the ticket's mutex. Reads through the store
 * see what was there before. Use it within the function that was given to Store::change only.
 */
template <typename Lazy>
class BasicChange {
 public:
    /** Made by Store::change. */
    BasicChange(detail::Table table, detail::Rules rules) : m_table(table), m_rules(rules) {}
    BasicChange(BasicChange const&) = delete;
    BasicChange& operator=(BasicChange const&) = delete;

    /** Stores a value; see Store::set. */
    template <typename T = void, typename U = T>
    void set(detail::KeyName const& key, U const& value) {
        using V = detail::NamedOr<T, detail::Given<U>>;
        detail::check_type<V>();
        note(detail::check_key(key, m_rules), key.c_str());
        if constexpr (std::is_same_v<V, detail::Given<U>>) {
            if (m_refused) note(detail::put<V>(key.c_str(), detail::given(value), m_rules, m_batch), key.c_str());
        } else {
            detail::check_conversion<V, U>();
            if (!detail::fits<V>(value)) return note(detail::DOES_NOT_FIT_KEY, key.c_str());
            set(key, detail::convert_given<V>(value));
        }
    }
    /** Stores a vector: change.set("Recent", {"a", "b"}). */
    template <typename T>
    void set(detail::KeyName const& key, std::initializer_list<T> values) {
        set(key, std::vector<detail::Kept<T>>(values.begin(), values.end()));
    }
    /** Stores a value of a declared key. */
    template <typename T>
    void set(Key<T> const& key, detail::Same<T> const& value) {
        if (!key.allows(value)) note(detail::not_allowed(key), key.name());
        if (!m_refused) return;
        if constexpr (detail::can_be_wide<T>)
            if (key.is_wide()) return set(key.name(), Wide<T>{value});
        set(key.name(), value);
    }
    /** As above, with a value that converts to the key's type; a number that does not fit is refused. */
    template <typename T, typename U, std::enable_if_t<!std::is_same_v<T, U>, int> = 0>
    void set(Key<T> const& key, U const& value) {
        detail::check_conversion<T, U>();
        if (!detail::fits<T>(value)) return note(detail::DOES_NOT_FIT_KEY, key.name());
        set(key, detail::convert_given<T>(value));
    }
    /** Removes a key, or with a trailing '*' all keys that begin so and are there now. Returns how many. */
    std::size_t erase(detail::TextArgument const& selector) {
        return detail::put_erasures(m_table, detail::Selector(selector), m_batch);
    }
    /** Removes the value of a declared key, of a struct those of all its members. Returns how many were there. */
    template <typename T>
    std::size_t erase(Key<T> const& key) {
        std::size_t count = 0;
        detail::visit_keys<T>(key.name(), [&](std::string const& name) {
            if (detail::Slot{m_table, name.c_str()}.type() != PARAM_NONE) ++count;
            m_batch.erase(name);
        });
        return count;
    }

    /** Stores everything; called by Store::change. */
    BasicChangeResult<Lazy> apply() {
        using Done = BasicChangeResult<Lazy>;
        if (!m_refused || m_batch.empty()) return Done(m_refused);
        std::vector<std::string> failed;
        detail::Status const status = m_batch.store(m_table, failed);
        if (status) return {};
        return Done(Result(status, failed.front()), std::move(failed));
    }

 private:
    void note(detail::Status status, char const* key) {
        if (!status && m_refused) m_refused = Result(status, key);
    }

    detail::Table m_table;
    detail::Rules m_rules;
    detail::BasicBatch<Lazy> m_batch{detail::Lifetime::temporary};
    Result m_refused;
};
using Change = BasicChange<void>; /**< what the function of Store::change is given */

}  // namespace ticket

#endif
