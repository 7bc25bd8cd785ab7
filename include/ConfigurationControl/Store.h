/** @file
 * The typed C++ layer on a ticket: settings as the types that a host works with. C++17, POSIX.
 *
 *     ticket::Store store("viewer.xml");
 *     int width = store.get("Window/Width", 800);
 *     store.set("Recent", {"a.pdf", "b.pdf"});
 *     if (auto saved = store.save(); !saved) warn(saved.message());
 *
 * Header-only, on the public table and the plain functions of TicketServices.h. docs/store-guide.md shows all of it at
 * work, with a table of what a file keeps.
 *
 * Threads: any thread may use one store at any time, except that its construction, move and destruction want it alone.
 * Reads copy with the ticket's mutex held. Exceptions: std::bad_alloc, and Error where it was asked for; nothing else.
 */
#ifndef CONFIGURATIONCONTROL_STORE_H
#define CONFIGURATIONCONTROL_STORE_H

#if !defined(__cplusplus) || __cplusplus < 201703L
#error "ConfigurationControl/Store.h needs C++17; in C, include TicketRecords.h, TicketServices.h and MultiParListC.h"
#endif

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Change.h"
#include "ConfigurationControl/Store/Forms.h"
#include "ConfigurationControl/Store/Key.h"
#include "ConfigurationControl/Store/Result.h"
#include "ConfigurationControl/Store/State.h"
#include "ConfigurationControl/Store/Value.h"
#include "ConfigurationControl/Store/Watch.h"

namespace ticket {

template <typename Function>
class FileWatch;

/** Settings in memory, on a file, or on the table of a ticket that another part of the host owns. */
template <typename Lazy>
class BasicStore {
 public:
    using Options = StoreOptions; /**< how a store works */

    /** A store in memory. It keeps every value, and save() has nothing to do. */
    BasicStore() : BasicStore(Options()) {}
    /** As above. */
    explicit BasicStore(Options const& options)
        : BasicStore({STicketInstance.Create(nullptr), true}, {}, detail::Rules::memory, options) {}
    /**
     * A store on a file, which is read now; it need not exist. A relative name means the working directory of now. The
     * values are kept in memory until save(). loaded() tells whether the file was read. A name that is empty or holds a
     * NUL is Reason::system there and at each save().
     */
    explicit BasicStore(std::string file, Options const& options = {})
        : BasicStore({STicketInstance.Create(nullptr), true}, std::move(file), detail::Rules::file, options) {
        m_state->open();
    }
    /** As above. */
    explicit BasicStore(std::string_view file, Options const& options = {}) : BasicStore(std::string(file), options) {}
    /** As above; null is an empty name. */
    explicit BasicStore(char const* file, Options const& options = {})
        : BasicStore(std::string(file != nullptr ? file : ""), options) {}
    /** As above, with a std::filesystem::path. */
    template <typename Path, std::enable_if_t<detail::is_path<Path>, int> = 0>
    explicit BasicStore(Path const& file, Options const& options = {}) : BasicStore(file.native(), options) {}
    /**
     * A store on a ticket that its owner keeps, and that outlives the store: for instance the settings service's,
     * CConfigurationControl::GetConfigInstance. save() saves that ticket, without a merge. Null is a store that holds
     * nothing and takes nothing.
     */
    explicit BasicStore(STICKET_ACCESS const* table, Options const& options = {})
        : BasicStore({table, false}, {}, detail::Rules::file, options) {}
    BasicStore(std::nullptr_t) = delete;

    /** Leaves `other` without a ticket: it holds nothing and takes nothing. */
    BasicStore(BasicStore&& other) noexcept { swap(other); }
    /** As above. */
    BasicStore& operator=(BasicStore&& other) noexcept {
        BasicStore(std::move(other)).swap(*this);
        return *this;
    }
    /** Saves what is unsaved, and cannot tell when that fails: call save() before. */
    ~BasicStore() {
        if (m_state == nullptr) return;
        try {
            if (!m_state->file().empty()) (void)m_state->save();
        } catch (...) {
        }
        delete m_state;
    }

    // ---- Reading

    /**
     * The value of a key, or `fallback` where there is none that fits its type: store.get("Window/Width", 800). The
     * type may be named, store.get<double>("Zoom", 1); a fallback that does not fit it is cut to its range.
     */
    template <typename T = void, typename U = T>
    detail::Kept<detail::NamedOr<T, U>> get(detail::KeyName const& key, U const& fallback) const {
        return get_or<detail::Kept<detail::NamedOr<T, U>>>(key, fallback, {});
    }
    /** As above, but a number is rounded and cut to the range of its type instead of being refused. */
    template <typename T = void, typename U = T>
    detail::Kept<detail::NamedOr<T, U>> get(detail::KeyName const& key, U const& fallback, Nearest) const {
        return get_or<detail::Kept<detail::NamedOr<T, U>>>(key, fallback, {true});
    }
    /** As above, with a list as fallback: store.get("Recent", {"a", "b"}). */
    template <typename T>
    std::vector<detail::Kept<T>> get(detail::KeyName const& key, std::initializer_list<T> fallback) const {
        using V = std::vector<detail::Kept<T>>;
        return get_or<V>(key, V(fallback.begin(), fallback.end()), {});
    }
    /** The value of a key, or nothing where there is none that fits the type: store.get<int>("Window/Width"). */
    template <typename T = void>
    auto get(detail::KeyName const& key) const {
        static_assert(!std::is_void_v<T>,
                      "ticket::Store: name the type, get<int>(key), or give a fallback, get(key, 0)");
        if constexpr (!std::is_void_v<T>) return read<T>(key).optional();
    }
    /** As above; a number is rounded and cut to the range of its type: store.get<int>("Zoom", ticket::nearest). */
    template <typename T>
    std::optional<T> get(detail::KeyName const& key, Nearest) const {
        check_read<T>();
        T value{};
        if (!take(key, {true}, value)) return std::nullopt;
        return value;
    }
    /** The value of a declared key, or its fallback. */
    template <typename T>
    T get(Key<T> const& key) const {
        T value = first_value(key);
        if (!take(key, value)) return key.fallback();
        return value;
    }
    /** The value of a declared key, or another fallback, which need not be in the range or among the choices. */
    template <typename T>
    T get(Key<T> const& key, detail::Same<T> const& fallback) const {
        T value = fallback;
        if (!take(key, value)) return fallback;
        return value;
    }
    /** As above, with a fallback that converts to the key's type; a number is cut to the range of the type. */
    template <typename T, typename U, std::enable_if_t<!std::is_same_v<T, U>, int> = 0>
    T get(Key<T> const& key, U const& fallback) const {
        return get(key, detail::convert_fallback<T>(fallback));
    }
    /** The values of declared keys, read together: auto [width, height] = store.get(Width, Height). */
    template <typename T, typename U, typename... More>
    std::tuple<T, U, More...> get(Key<T> const& first, Key<U> const& second, Key<More> const&... more) const {
        std::tuple<T, U, More...> values(first.fallback(), second.fallback(), more.fallback()...);
        detail::locked(m_table, [&] { values = {get(first), get(second), get(more)...}; });
        return values;
    }
    /** The value of a key, or why there is none. */
    template <typename T>
    Expected<T> read(detail::KeyName const& key) const {
        check_read<T>();
        T value{};
        if (detail::Status const status = take(key, {}, value); !status)
            return Expected<T>(Result(status, key.c_str()));
        return Expected<T>(std::move(value));
    }
    /** The value of a declared key, or why there is none. */
    template <typename T>
    Expected<T> read(Key<T> const& key) const {
        T value = first_value(key);
        if (detail::Status const status = take(key, value); !status) return Expected<T>(Result(status, key.name()));
        return Expected<T>(std::move(value));
    }
    /** Whether a key has a value, of any type. */
    bool contains(detail::KeyName const& key) const {
        return m_table != nullptr && key.is_whole() && detail::Slot{m_table, key.c_str()}.get(PARAM_NONE, nullptr);
    }
    /** Whether a declared key has a value, of any type; of a struct, whether a member has one. */
    template <typename T>
    bool contains(Key<T> const& key) const {
        bool found = false;
        detail::visit_keys<T>(key.name(), [&](std::string const& name) { found = found || contains(name); });
        return found;
    }
    /** Copies of all keys that begin with `selector`, and of their values, in key order. A trailing '*' is left out. */
    template <typename Held = Value>
    std::vector<BasicEntry<Held>> entries(detail::TextArgument const& selector = "") const {
        std::string_view prefix = selector;
        if (!prefix.empty() && prefix.back() == '*') prefix.remove_suffix(1);
        std::vector<BasicEntry<Held>> found;
        detail::locked(m_table, [&] {
            detail::walk_keys(m_table, [&](char const* name) {
                std::string_view const key = name;
                if (key.substr(0, prefix.size()) != prefix) return key < prefix;
                if (auto value = detail::read_value<Held>(m_table, name)) found.push_back({name, *std::move(value)});
                return true;
            });
        });
        return found;
    }
    /**
     * The text of a key without a copy. CAUTION: borrowed; valid until that value changes or goes, by any thread, or
     * the store is destroyed. For a store that other threads use, get() copies.
     */
    template <typename Text = std::string_view>
    std::optional<Text> borrow_text(detail::KeyName const& key) const {
        return borrow<Text>(key, detail::view_text);
    }
    /** The bytes of a key without a copy. CAUTION: borrowed, as borrow_text. */
    template <typename Text = std::string_view>
    std::optional<Text> borrow_bytes(detail::KeyName const& key) const {
        return borrow<Text>(key, detail::view_bytes);
    }

    // ---- Changing

    /**
     * Stores a value in place of what the key held; an empty optional removes it. A value that the file would not give
     * back as it is, or that a named type does not hold, is refused, and the key keeps what it held.
     */
    template <typename T = void, typename U = T>
    Result set(detail::KeyName const& key, U const& value) {
        using V = detail::NamedOr<T, detail::Given<U>>;
        detail::check_type<V>();
        if constexpr (std::is_same_v<V, detail::Given<U>>) {
            detail::Status status = m_table != nullptr ? detail::check_key(key, m_rules) : detail::NO_TICKET;
            if (status) status = put<V>(key.c_str(), detail::given(value));
            return status ? Result() : report(status, key.c_str());
        } else {
            detail::check_conversion<V, U>();
            if (!detail::fits<V>(value)) return report(detail::DOES_NOT_FIT_KEY, key.c_str());
            return set(key, detail::convert_given<V>(value));
        }
    }
    /** Stores a vector: store.set("Recent", {"a", "b"}). */
    template <typename T>
    Result set(detail::KeyName const& key, std::initializer_list<T> values) {
        return set(key, std::vector<detail::Kept<T>>(values.begin(), values.end()));
    }
    /** Stores a value of a declared key; one outside its range or choices is refused. */
    template <typename T>
    Result set(Key<T> const& key, detail::Same<T> const& value) {
        detail::Status const status = put(key, value);
        return status ? Result() : report(status, key.name());
    }
    /** As above, with a value that converts to the key's type; a number that does not fit is refused. */
    template <typename T, typename U, std::enable_if_t<!std::is_same_v<T, U>, int> = 0>
    Result set(Key<T> const& key, U const& value) {
        detail::check_conversion<T, U>();
        if (!detail::fits<T>(value)) return report(detail::DOES_NOT_FIT_KEY, key.name());
        return set(key, detail::convert_given<T>(value));
    }
    /** Removes a key, or with a trailing '*' all keys that begin so. Reason::missing where there is none. */
    Result erase(detail::TextArgument const& selector) { return erase(selector, selector); }
    /** Removes the value of a declared key, of a struct those of all its members. Reason::missing if there is none. */
    template <typename T>
    Result erase(Key<T> const& key) {
        return erase(key, key.name());
    }
    /**
     * Several changes as one, under one holding of the ticket's mutex: store.change([&](ticket::Change& c) {...}). All
     * is checked beforehand: a refused value refuses the whole change, and an exception leaves everything as it was.
     * Reads within the function see the store as it was.
     */
    template <typename Function>
    BasicChangeResult<Lazy> change(Function&& function) {
        static_assert(std::is_invocable_v<Function&, BasicChange<Lazy>&>,
                      "ticket::Store: the function of change takes a ticket::Change&");
        BasicChangeResult<Lazy> result(Result(Reason::no_ticket, {}));
        detail::locked(m_table, [&] {
            BasicChange<Lazy> change(m_table, m_rules);
            function(change);
            result = change.apply();
        });
        if (!result && m_throws) result.or_throw();
        return result;
    }

    // ---- The file

    /**
     * Writes what was changed since the last save, and takes over what other programs have changed in the file. With
     * nothing changed it does nothing. Waits at most Options::longest_wait for other programs and threads that save;
     * then it returns Reason::busy.
     */
    [[nodiscard]] Result save() {
        if (m_state == nullptr) return report(detail::NO_TICKET, {});
        Result saved = m_state->save();
        if (!saved && m_throws) saved.or_throw();
        return saved;
    }
    /**
     * Takes over what other programs have changed in the file. Keys that were changed here and not saved stay.
     * Reason::busy within a function of on_change, where it would undo what that function has changed.
     */
    Result reload() {
        if (m_state == nullptr || m_state->file().empty()) return report(detail::NO_TICKET, {});
        return m_state->reload(true, [](std::vector<std::string> const&, detail::Table) {});
    }
    /**
     * Whether the file was read when the store was made; done also for a file that is not there. A file that was read
     * in part is Reason::unreadable; save() writes the whole store over it and keeps it as its name with ".unreadable".
     */
    Result loaded() const { return m_state != nullptr ? m_state->loaded() : Result(Reason::no_ticket, {}); }
    /** Whether something was changed and not saved. */
    bool has_unsaved() const { return m_state != nullptr && m_state->has_unsaved(); }
    /** The table of the store's ticket, for plain calls; what they change is saved and heard, too. Null after a move.
     */
    STICKET_ACCESS const* table() const { return m_table; }

    // ---- Hearing of changes

    /**
     * Calls `function(ticket::Event const&)` after each change of a key, or of all keys that begin with what stands
     * before a trailing '*', until the Watch is destroyed. See Watch for what the function may do.
     */
    template <typename Function>
    Watch on_change(detail::TextArgument const& selector, Function function) {
        static_assert(std::is_invocable_v<Function&, Event const&>,
                      "ticket::Store: the function of on_change takes a ticket::Event const&");
        if (m_state == nullptr) return Watch();
        auto* const watcher = new detail::FunctionWatcher<Function>(m_state->ticket(), selector, std::move(function));
        Watch watch(watcher);
        return watcher->begin() ? std::move(watch) : Watch();
    }
    /** As above, for a declared key; of a struct, for all its members. */
    template <typename T, typename Function>
    Watch on_change(Key<T> const& key, Function function) {
        std::string selector;
        detail::visit_keys<T>(key.name(), [&](std::string const& name) { selector = name; });
        if (selector != key.name()) selector = std::string(key.name()) + "/*";
        return on_change(selector, std::move(function));
    }

 private:
    BasicStore(detail::SharedTicket ticket, std::string file, detail::Rules rules, Options const& options)
        : m_table(ticket.table()),
          m_rules(rules),
          m_throws(options.throws),
          m_state(new detail::BasicState<Lazy>(std::move(ticket), std::move(file), options)) {}

    void swap(BasicStore& other) noexcept {
        std::swap(m_table, other.m_table);
        std::swap(m_rules, other.m_rules);
        std::swap(m_throws, other.m_throws);
        std::swap(m_state, other.m_state);
    }

    // Not inline, so that the usual way through set stays short.
    [[gnu::noinline, gnu::cold]] Result report(detail::Status status, std::string_view subject) const {
        Result result(status, subject);
        if (m_throws) result.or_throw();
        return result;
    }

    template <typename Selected>
    Result erase(Selected const& selected, std::string_view subject) {
        std::size_t count = 0;
        BasicChangeResult<Lazy> changed = change([&](BasicChange<Lazy>& change) { count = change.erase(selected); });
        if (!changed) return std::move(changed);
        return count != 0 ? Result() : report(detail::NO_VALUE, subject);
    }
    /** Stores a value. The caller has checked the key, and that there is a ticket. */
    template <typename V>
    detail::Status put(char const* key, V const& value) {
        if constexpr (detail::is_scalar<V>) {
            auto sink = [&](PARAM_TYPE type, void const* stored, detail::Lifetime) {
                bool const done = m_table->SetParameter(m_table->pTicket, key, type, stored, SCALAR_INDEX) != 0;
                return detail::Status{done ? Reason::none : Reason::no_memory, nullptr};
            };
            return detail::put_scalar<V>(value, m_rules, sink);
        } else {
            detail::BasicBatch<Lazy> batch;
            detail::Status const status = detail::put<V>(key, value, m_rules, batch);
            std::vector<std::string> failed;
            return status ? batch.store(m_table, failed) : status;
        }
    }
    /** As above. The constructor of the declared key has checked its name. */
    template <typename T>
    detail::Status put(Key<T> const& key, T const& value) {
        if (m_table == nullptr) return detail::NO_TICKET;
        if (!key.allows(value)) return detail::not_allowed(key);
        if constexpr (detail::can_be_wide<T>)
            if (key.is_wide()) return put<Wide<T>>(key.name(), Wide<T>{value});
        return put<T>(key.name(), value);
    }

    template <typename T>
    static constexpr void check_read() {
        static_assert(std::is_same_v<T, detail::Plain<T>>, "ticket::Store: name the type without const and &");
        detail::check_type<T>();
        static_assert(!std::is_same_v<T, std::string_view> && !std::is_same_v<T, char const*>,
                      "ticket::Store: read a std::string, which is a copy; borrow_text() is the view of the text");
        static_assert(
            std::is_default_constructible_v<T>,
            "ticket::Store: a type without a default constructor is read with a fallback, get(key, fallback)");
    }

    template <typename T>
    detail::Status take(detail::KeyName const& key, detail::ReadMode mode, T& out) const {
        detail::Status status = detail::NO_TICKET;
        if (m_table == nullptr) return status;
        if (!key.is_whole()) return detail::NO_VALUE;  // the table would read the key up to the NUL
        detail::Slot const slot{m_table, key.c_str()};
        if constexpr (detail::kind_of<T>() == detail::Kind::number)
            status = detail::take(slot, mode, out);
        else
            detail::locked(m_table, [&] { status = detail::take(slot, mode, out); });
        return status;
    }
    template <typename T>
    detail::Status take(Key<T> const& key, T& out) const {
        if constexpr (detail::can_be_wide<T>) {
            if (key.is_wide()) {
                Wide<T> wide{};
                detail::Status const status = take(key.name(), {}, wide);
                if (status) out = std::move(wide.value);
                return status && !key.allows(out) ? detail::not_allowed(key) : status;
            }
        }
        detail::Status const status = take(key.name(), {}, out);
        return status && !key.allows(out) ? detail::not_allowed(key) : status;
    }
    /** What a read begins with: of a struct the fallback, whose members stand for those that are missing. */
    template <typename T>
    static T first_value(Key<T> const& key) {
        if constexpr (detail::kind_of<T>() == detail::Kind::structure || !std::is_default_constructible_v<T>)
            return key.fallback();
        else
            return T{};
    }
    template <typename V, typename T>
    V get_or(detail::KeyName const& key, T const& fallback, detail::ReadMode mode) const {
        detail::check_type<V>();
        if constexpr (detail::kind_of<V>() == detail::Kind::structure || !std::is_default_constructible_v<V>) {
            V value = detail::convert_fallback<V>(fallback);
            (void)take(key, mode, value);  // without a value that fits, it stays
            return value;
        } else {
            V value{};
            if (take(key, mode, value)) return value;
            return detail::convert_fallback<V>(fallback);
        }
    }

    template <typename Text, typename View>
    std::optional<Text> borrow(detail::KeyName const& key, View view) const {
        Text found;
        if (m_table == nullptr || !key.is_whole() || !view(detail::Slot{m_table, key.c_str()}, found))
            return std::nullopt;
        return found;
    }

    template <typename>
    friend class FileWatch;

    detail::Table m_table = nullptr;
    detail::Rules m_rules = detail::Rules::memory;
    bool m_throws = false;
    detail::BasicState<Lazy>* m_state = nullptr;
};
/** Settings in memory, on a file, or on the table of a ticket that another part of the host owns. */
using Store = BasicStore<void>;

}  // namespace ticket

#endif
