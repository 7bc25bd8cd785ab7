/** @file
 * The inside of a ticket::Store: its ticket, its file, and the journal of its changes. C++17, POSIX.
 */
#ifndef CONFIGURATIONCONTROL_STORE_STATE_H
#define CONFIGURATIONCONTROL_STORE_STATE_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/File.h"
#include "ConfigurationControl/Store/Ticket.h"

namespace ticket {

/** Options of a store. */
struct StoreOptions {
    bool merge = true; /**< save writes what this store has changed into the file as it is now; else all of the store */
    bool throws =
        false; /**< set, erase, change and save throw Error instead of returning a Result that tells why not */
    /** How long save waits for another program that saves a file of the same directory. */
    std::chrono::milliseconds longest_wait{1000};
};

namespace detail {

/** A store at a fixed address. For a file its ticket is in memory, and its own observer writes the journal. */
template <typename Lazy>
class BasicState {
 public:
    /** `file` is empty for a store without a file. */
    BasicState(SharedTicket ticket, std::string file, StoreOptions const& options)
        : m_ticket(std::move(ticket)),
          m_file(is_file_name(file) ? absolute(std::move(file)) : std::string()),
          m_options(options) {}
    ~BasicState() {
        if (m_observer != 0) TicketRemoveObserver(table(), m_observer);
    }
    BasicState(BasicState const&) = delete;
    BasicState& operator=(BasicState const&) = delete;

    Table table() const { return m_ticket.table(); }
    SharedTicket const& ticket() const { return m_ticket; }
    std::string const& file() const { return m_file; }
    StoreOptions const& options() const { return m_options; }
    Result const& loaded() const { return m_loaded; }

    /** Reads the file and begins the journal. Called once, for a store on a file. */
    void open() {
        if (m_file.empty())
            m_loaded = Result(Reason::system, "ticket", "the file name is empty or holds a NUL", EINVAL);
        else
            load();
        m_journal.open();
        locked(table(), [&] {
            m_observer = TicketAddObserver(table(), &BasicState::observe, this);
            if (m_observer == 0) m_journal.add_everything();
        });
    }

    bool has_unsaved() const {
        bool unsaved = false;
        locked(table(), [&] { unsaved = !m_journal.empty(); });
        return unsaved;
    }

    /** Writes what was changed, and takes over what others have changed. */
    Result save() {
        if (m_file.empty()) return m_loaded ? save_ticket() : m_loaded;
        if (!has_unsaved()) return {};
        SaveTurn turn(m_saving, m_options.longest_wait);
        if (turn.is_taken())
            return Result(Reason::busy, m_file, "not saved: another thread is saving this store; try again");
        DirectoryLock lock(m_file, m_options.longest_wait);
        if (lock.is_taken())
            return Result(Reason::busy, m_file,
                          "not saved: another program is busy with a file of its directory; try again");
        int const begun = generation();
        BasicFileTicket<Lazy> target(m_file);
        Result loaded = target.load();
        if (loaded.reason() == Reason::no_memory) return loaded;
        // Of a file that was read in part, the rest may be keys of this store.
        bool const whole = !m_options.merge || !loaded || !target.is_loaded();

        int finished = begun;
        Result saved = write(target, whole, finished);
        lock.release();  // a watch that hears what is taken over may save
        turn.release();
        if (!saved || !m_options.merge || WatchCall::is_under_way(table())) return saved;
        bool is_newest = false;
        locked(table(), [&] {
            is_newest = m_generation == finished;
            // Without memory for this, the next save or reload finds the difference.
            if (is_newest) (void)take_over(target.table(), differing_keys(target.table()));
        });
        if (!is_newest) (void)reload(true, [](std::vector<std::string> const&, Table) {});
        return saved;
    }

    /**
     * Takes over what others have changed in the file, but for the keys that were changed here and not saved. Within
     * the function of a watch it does nothing, because it would undo what the function has changed.
     * `report(keys, source)` is called before, with both mutexes held.
     */
    template <typename Report>
    Result reload(bool merge, Report&& report) {
        if (WatchCall::is_under_way(table()))
            return Result(Reason::busy, m_file, "not reloaded: a function of on_change is running; reload after it");
        for (;;) {
            int const begun = generation();
            BasicFileTicket<Lazy> source(m_file);
            if (Result loaded = source.load(); !loaded) return loaded;
            if (!source.is_loaded()) return {};
            Status taken;
            bool is_newest = false;
            locked(table(), [&] {
                is_newest = m_generation == begun;
                if (!is_newest) return;
                std::vector<std::string> const keys = differing_keys(source.table());
                report(keys, source.table());
                if (merge) taken = take_over(source.table(), keys);
            });
            if (is_newest) return taken ? Result() : Result(taken, m_file);
        }
    }

 private:
    using Batch = BasicBatch<Lazy>;
    using Journal = BasicJournal<Lazy>;

    /** Saves the ticket itself, for a store on a table. */
    Result save_ticket() {
        // After a save that the disk refused, the ticket counts as saved; any attempt to change it ends that.
        if (was_tried_on_disk(table())) table()->SetParameter(table()->pTicket, "", PARAM_NONE, nullptr, SCALAR_INDEX);
        return save_table(table(), "ticket");
    }

    void load() {
        BasicFileTicket<Lazy> source(m_file);
        m_loaded = source.load();
        m_known = keys_of(source.table());
        Batch batch;
        for (std::string const& key : m_known) batch.copy(source.table(), key);
        std::vector<std::string> failed;
        if (!batch.empty() && !batch.store(table(), failed))
            m_loaded = Result(Reason::no_memory, m_file, "not loaded as a whole: memory is short");
    }

    /**
     * What a load compares to know that the values it read are still the newest: a save or a take-over of another
     * thread, or of a watch, has come between where the number has changed.
     */
    int generation() const {
        int generation = 0;
        locked(table(), [&] { generation = m_generation; });
        return generation;
    }

    /**
     * Saves the journal, or all of the store, into a file that was just loaded. `finished`, the generation of that
     * load, becomes the one of this save, unless another has come between.
     */
    Result write(BasicFileTicket<Lazy>& target, bool whole, int& finished) {
        Batch batch;
        typename Journal::Saving saving{};
        Result saved;
        locked(table(), [&] {
            saved = fill(batch, whole || m_journal.has_everything());
            if (saved) saving = m_journal.begin();
        });
        if (!saved) return saved;
        try {
            saved = target.save(batch, whole);
        } catch (...) {
            locked(table(), [&] { m_journal.fail(saving); });
            throw;
        }
        locked(table(), [&] {
            if (!saved) return m_journal.fail(saving);
            m_journal.finish(saving);
            if (m_generation++ == finished) finished = m_generation;
            if (!m_options.merge) m_known = keys_of(table());
        });
        return saved;
    }

    static void observe(void* context, char const* const* keys) {
        auto& self = *static_cast<BasicState*>(context);
        try {
            if (keys != nullptr) {
                for (; *keys != nullptr; ++keys)
                    if (!self.is_taken_over(*keys)) self.m_journal.add(*keys);
            } else {
                // Those of the journal because a save that is under way writes them.
                for (std::string const& key : self.m_journal.keys()) self.m_journal.add(key.c_str());
                for (std::string const& key : self.m_known) self.m_journal.add(key.c_str());
                for (std::string const& key : keys_of(self.table())) self.m_journal.add(key.c_str());
            }
        } catch (...) {
            self.m_journal.add_everything();
        }
    }

    /** Whether a change is a take-over's own: a watch that hears one may change the same keys, or others. */
    bool is_taken_over(char const* key) const {
        return m_source != nullptr && is_same_value({table(), key}, {m_source, key});
    }

    /**
     * Adds what is to be written: everything, or the keys of the journal. Refuses an infinite number: with one no file
     * ticket can be saved, and its end would end the process.
     */
    Result fill(Batch& batch, bool everything) const {
        for (std::string const& key : everything ? keys_of(table()) : m_journal.keys()) batch.copy(table(), key);
        if (std::string const* const key = batch.infinite_key())
            return Result(Reason::not_kept, m_file + ": " + *key, "not saved: no file keeps an infinite number");
        return {};
    }

    /** The keys that differ, but for those that were changed here and not saved: first the file's, then the store's. */
    std::vector<std::string> differing_keys(Table source) const {
        std::vector<std::string> keys;
        if (m_journal.has_everything()) return keys;
        auto const is_own = [&](std::string const& key) { return m_journal.contains(key.c_str()); };
        for (std::string const& key : keys_of(source))
            if (!is_own(key) && !is_same_value({table(), key.c_str()}, {source, key.c_str()})) keys.push_back(key);
        for (std::string const& key : keys_of(table()))
            if (!is_own(key) && Slot{source, key.c_str()}.type() == PARAM_NONE) keys.push_back(key);
        return keys;
    }

    Status take_over(Table source, std::vector<std::string> const& keys) {
        m_known = keys_of(source);
        Batch batch;
        for (std::string const& key : keys) batch.copy(source, key);
        if (batch.empty()) return {};
        std::vector<std::string> failed;
        Status taken;
        ++m_generation;
        Table const outer = m_source;  // not null within an observer that hears a take-over
        m_source = source;
        try {
            taken = batch.store(table(), failed);
        } catch (...) {
            m_source = outer;
            throw;
        }
        m_source = outer;
        return taken;
    }

    SharedTicket m_ticket;
    std::string const m_file;
    StoreOptions const m_options;
    Result m_loaded;
    std::uint64_t m_observer = 0;
    bool m_saving = false;  // changed by atomic built-in functions
    // With the ticket's mutex held:
    Journal m_journal;
    std::vector<std::string> m_known;  // the keys of the file when it was last loaded or saved
    Table m_source = nullptr;          // what is being taken over
    int m_generation = 0;              // the number of saves and take-overs
};
using State = BasicState<void>;

}  // namespace detail
}  // namespace ticket

#endif
