// Hears when another program changes the settings file, in the event loop of Qt. Without a second program, it plays
// one.
#include <ConfigurationControl/Store/FileWatch.h>

#include <QCoreApplication>
#include <QSocketNotifier>
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
    QCoreApplication application(count, arguments);
    ticket::Store store(arguments[1]);
    //! [qt]
    ticket::FileWatch watch(store, [&](ticket::Event const& event) {
        std::printf("%s has changed, the zoom is %d\n", event.key.c_str(), store.get("View/Zoom", 1));
        QCoreApplication::quit();
    });
    QSocketNotifier notifier(watch.fd(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        if (auto result = watch.dispatch(); !result) std::printf("%s\n", result.message().c_str());
    });
    //! [qt]
    PlayAnotherProgram(arguments[1]);
    return QCoreApplication::exec();
}
