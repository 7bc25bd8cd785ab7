// `ticket watch`: prints changes of a file as they are made.
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>

#include "Commands.h"
#include "Listing.h"
#include "XmlText.h"

namespace {

// Waits for changes of the files of a directory; a save puts a new file in the place of the old one.
class DIRECTORY_WATCH {
 public:
    explicit DIRECTORY_WATCH(std::string const& file) : m_events(inotify_init1(IN_CLOEXEC)) {
        auto const directory = std::filesystem::path(file).parent_path();
        auto const name = directory.empty() ? std::string(".") : directory.string();
        constexpr uint32_t CHANGES = IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_DELETE;
        if (m_events >= 0 && inotify_add_watch(m_events, name.c_str(), CHANGES) >= 0) return;
        throw FAILURE(name + ": cannot be watched: " + std::strerror(errno));
    }
    ~DIRECTORY_WATCH() { close(m_events); }
    DIRECTORY_WATCH(DIRECTORY_WATCH const&) = delete;
    DIRECTORY_WATCH& operator=(DIRECTORY_WATCH const&) = delete;

    void Wait() {
        alignas(inotify_event) char events[1 << 16];
        while (read(m_events, events, sizeof events) < 0 && errno == EINTR) continue;
    }

 private:
    int const m_events;
};

// The file as it is now; null while it cannot be read, with a complaint that is not repeated while it stays the same.
std::unique_ptr<TICKET> Look(std::string const& file, std::string& lastComplaint) {
    try {
        auto ticket = std::make_unique<TICKET>(file, MISSING::IS_EMPTY);
        lastComplaint.clear();
        return ticket;
    } catch (FAILURE const& failure) {
        if (failure.what() != lastComplaint) Complain(failure.what());
        lastComplaint = failure.what();
        return nullptr;
    }
}

}  // namespace

int Watch(ARGUMENTS const& arguments) {
    auto const file = arguments.Text("FILE");
    auto const selectors = arguments.All("SELECTOR");
    auto const count = arguments.Find("--count");
    DIRECTORY_WATCH watch(file);
    LISTING const listing(arguments, file);
    auto before = std::make_unique<TICKET>(file, MISSING::IS_EMPTY);
    std::string lastComplaint;
    for (int changes = 0; !count || changes < std::stoi(*count);) {
        watch.Wait();
        auto now = Look(file, lastComplaint);
        if (now == nullptr) continue;
        if (listing.PrintDifferences(before.get(), now.get(), selectors)) ++changes;
        std::cout.flush();
        if (!std::cout) break;
        before = std::move(now);
    }
    return SUCCESS;
}
