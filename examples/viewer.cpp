// The preferences of a small viewer: window, recent files, theme, a preset as bytes.
#include <ConfigurationControl/Store.h>

#include <cstdio>

enum class Theme { light, dark };
template <>
inline constexpr auto ticket::names<Theme> = ticket::names_of<Theme>({{Theme::light, "light"}, {Theme::dark, "dark"}});

inline constexpr auto Width = ticket::Key<int>{"Window/Width", 800}.range(100, 10000).help("pixels");
inline constexpr auto Height = ticket::Key<int>{"Window/Height", 600}.range(100, 10000).help("pixels");
inline constexpr ticket::Key<std::vector<std::string>> Recent{"Recent"};
inline constexpr ticket::Key<Theme> View{"View/Theme", Theme::light};
inline constexpr auto Preset = ticket::Key<ticket::Bytes>{"Preset"}.wide();

int main(int, char** arguments) {
    ticket::Store settings(arguments[1]);
    if (auto loaded = settings.loaded(); !loaded) std::fprintf(stderr, "%s\n", loaded.message().c_str());

    auto const watch = settings.on_change(
        "View/*", [&](ticket::Event const& event) { std::printf("%s has changed: redraw\n", event.key.c_str()); });

    auto const [width, height] = settings.get(Width, Height);
    std::vector<std::string> recent = settings.get(Recent);
    std::printf("window %d x %d, %zu recent files\n", width, height, recent.size());

    recent.insert(recent.begin(), "cover.pdf");
    settings.set(Recent, recent);
    settings.set(View, Theme::dark);
    settings.set(Preset, ticket::Bytes(16, std::byte{0x20}));
    settings.change([&](ticket::Change& change) {
        change.set(Width, 1024);
        change.set(Height, 768);
    });
    auto const saved = settings.save();
    if (!saved) std::fprintf(stderr, "%s\n", saved.message().c_str());  // "viewer.xml: No space left on device"
    return saved ? 0 : 1;
}
