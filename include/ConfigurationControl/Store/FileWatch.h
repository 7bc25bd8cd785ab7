/** @file
 * Hears when another program, or an editor, changes the file of a ticket::Store. C++17, Linux (inotify).
 */
#ifndef CONFIGURATIONCONTROL_STORE_FILEWATCH_H
#define CONFIGURATIONCONTROL_STORE_FILEWATCH_H

#if !defined(__cplusplus) || __cplusplus < 201703L
#error \
    "ConfigurationControl/Store/FileWatch.h needs C++17; in C, include TicketRecords.h, TicketServices.h and MultiParListC.h"
#endif

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store.h"

namespace ticket {

/** How a FileWatch works. */
struct FileWatchOptions {
    bool merge = true; /**< take over what differs; otherwise only tell it, each difference once */
};

/**
 * Watches the file of a store for the event loop of a host:
 *
 *     ticket::FileWatch watch(store, [](ticket::Event const& event) { redraw(event.key); });
 *     watch.dispatch();  // once, for what has changed since the store has read the file
 *     // and when watch.fd() is readable:
 *     watch.dispatch();
 *
 * The function is called by dispatch(), on its thread and without a lock, for each key whose value in the file differs
 * from the store's: `before` is the store's value, `after` the file's. Keys that the store has changed and not saved
 * are left out, and so are the store's own saves, which leave no difference. A file that is missing, empty or
 * unreadable changes nothing; one that is deleted and made again is watched on. What a save of the store takes over is
 * not told here, because it leaves no difference: Store::on_change tells it. If the file is a symbolic link, a
 * change of the link is noticed, not one of its target in another directory.
 *
 * With two watches of one store, the one that dispatches first tells a difference, because it merges it.
 *
 * One thread at a time uses a FileWatch. The function may call dispatch() and use the store, but must not destroy the
 * FileWatch. The store must outlive it, but may be moved.
 */
template <typename Function>
class FileWatch {
 public:
    /** Begins to watch. fd() is -1 if that failed, and dispatch() returns why: Result::error. */
    template <typename Lazy>
    FileWatch(BasicStore<Lazy>& store, Function function, FileWatchOptions options = {})
        : m_state(store.m_state), m_function(std::move(function)), m_options(options) {
        static_assert(std::is_invocable_v<Function&, Event const&>,
                      "ticket::FileWatch: the function takes a ticket::Event const&");
        if (m_state == nullptr || m_state->file().empty()) return;
        m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        // The directory, because a save replaces the file by another one.
        if (m_fd < 0 || inotify_add_watch(m_fd, detail::directory_of(m_state->file()).c_str(),
                                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_MOVE_SELF | IN_ONLYDIR) < 0)
            m_error = errno;
        if (m_error != 0 && m_fd >= 0) close(std::exchange(m_fd, -1));
    }
    ~FileWatch() {
        if (m_fd >= 0) close(m_fd);
    }
    FileWatch(FileWatch const&) = delete;
    FileWatch& operator=(FileWatch const&) = delete;

    /** Whether it watches. */
    explicit operator bool() const noexcept { return m_fd >= 0; }
    /** The file descriptor to poll for input; -1 if it does not watch. */
    int fd() const noexcept { return m_fd; }

    /**
     * Handles what has happened; never waits. Call it once at the beginning and when fd() is readable.
     * Reason::unreadable if the file was changed and could not be read; Reason::system if there is nothing to watch any
     * more, because the directory was deleted or renamed.
     *
     * Throws what the function throws, and std::bad_alloc. After an exception, and after Reason::no_memory, call it
     * again although fd() is not readable: it tells the events that were not told yet. So do after Reason::busy, which
     * it returns within a function of on_change.
     */
    Result dispatch() {
        if (m_fd < 0) return Result(Reason::system, {}, "not watching", m_error);
        drain();
        Result const result = m_changed ? compare() : Result();
        while (m_begun < m_events.size()) {
            Event const event = std::move(m_events[m_begun++]);  // the function may call dispatch()
            m_function(event);
        }
        m_events.clear();
        m_begun = 0;
        if (m_gone) return Result(Reason::system, m_state->file(), "not watched any more", ENOENT);
        return result;
    }

 private:
    /** Notes what has happened in the directory. */
    void drain() {
        std::string const& file = m_state->file();
        std::size_t const slash = file.rfind('/');
        char const* const name = file.c_str() + (slash == std::string::npos ? 0 : slash + 1);
        alignas(inotify_event) char buffer[4096];
        for (ssize_t size; (size = read(m_fd, buffer, sizeof buffer)) > 0;) {
            for (char const* at = buffer; at < buffer + size;) {
                inotify_event event;
                std::memcpy(&event, at, sizeof event);
                char const* const changedName = at + sizeof event;
                m_gone = m_gone || (event.mask & (IN_IGNORED | IN_MOVE_SELF)) != 0;
                m_changed = m_changed || (event.mask & IN_Q_OVERFLOW) != 0 ||
                            (event.len != 0 && std::strcmp(changedName, name) == 0);
                at += sizeof event + event.len;
            }
        }
    }

    /** Merges the file, and adds what differs to the events that are to be told. */
    Result compare() {
        std::vector<Event> events, all;
        Result result =
            m_state->reload(m_options.merge, [&](std::vector<std::string> const& keys, detail::Table source) {
                for (Event& event : differences(keys, source)) {
                    if (!m_options.merge) all.push_back(event);
                    if (!was_told(event)) events.push_back(std::move(event));
                }
                m_events.reserve(m_events.size() + events.size());  // so that nothing fails once the file is merged
            });
        if (result.reason() == Reason::no_memory || result.reason() == Reason::busy) return result;
        m_changed = false;
        for (Event& event : events) m_events.push_back(std::move(event));
        if (result) m_told = std::move(all);
        return result;
    }

    std::vector<Event> differences(std::vector<std::string> const& keys, detail::Table source) const {
        std::vector<Event> events;
        for (std::string const& key : keys)
            events.push_back(
                {key, detail::read_value(m_state->table(), key.c_str()), detail::read_value(source, key.c_str())});
        return events;
    }

    bool was_told(Event const& event) const {
        for (Event const& told : m_told)
            if (told.key == event.key && detail::is_same(told.after, event.after)) return true;
        return false;
    }

    detail::State* m_state;
    Function m_function;
    FileWatchOptions m_options;
    int m_fd = -1;
    int m_error = 0;              // why it does not watch
    bool m_changed = true;        // the file may differ from the store, which has read it some time before
    bool m_gone = false;          // the directory was deleted or renamed
    std::vector<Event> m_events;  // to be told, from m_begun on
    std::size_t m_begun = 0;
    std::vector<Event> m_told;  // without merge: what the last comparison found
};

}  // namespace ticket

#endif
