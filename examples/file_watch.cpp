// Hears when another program changes the settings file, in an event loop by poll. Without a second program, it plays
// one.
#include <ConfigurationControl/Store/FileWatch.h>
#include <poll.h>

#include <cstdio>

namespace {

void PlayAnotherProgram(char const* file) {
    ticket::Store other(file);
    other.set("View/Zoom", 2);
    if (auto saved = other.save(); !saved) std::fprintf(stderr, "%s\n", saved.message().c_str());
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 1;
    ticket::Store store(arguments[1]);
    //! [poll]
    ticket::FileWatch watch(store, [&](ticket::Event const& event) {
        std::printf("%s has changed, the zoom is %d\n", event.key.c_str(), store.get("View/Zoom", 1));
    });
    PlayAnotherProgram(arguments[1]);

    pollfd loop{watch.fd(), POLLIN, 0};
    if (poll(&loop, 1, 1000) > 0) {
        if (auto result = watch.dispatch(); !result) std::printf("%s\n", result.message().c_str());
    }
    //! [poll]
}
