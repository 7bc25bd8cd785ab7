// Hears when another program changes the settings file, in the main loop of GLib. Without a second program, it plays
// one.
#include <ConfigurationControl/Store/FileWatch.h>
#include <glib-unix.h>

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
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    //! [glib]
    ticket::FileWatch watch(store, [&](ticket::Event const& event) {
        std::printf("%s has changed, the zoom is %d\n", event.key.c_str(), store.get("View/Zoom", 1));
        g_main_loop_quit(loop);
    });
    auto const dispatch = [](gint, GIOCondition, gpointer data) -> gboolean {
        bool const done = static_cast<bool>(static_cast<decltype(watch)*>(data)->dispatch());
        return done ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    guint const source = g_unix_fd_add(watch.fd(), G_IO_IN, dispatch, &watch);
    //! [glib]
    PlayAnotherProgram(arguments[1]);
    g_main_loop_run(loop);
    g_source_remove(source);
    g_main_loop_unref(loop);
}
