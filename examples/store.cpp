// The typed store, feature by feature: the regions that docs/store-guide.md quotes.
#include <ConfigurationControl/Store.h>
#include <ConfigurationControl/Store/Schema.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

void FirstSteps(char const* file) {
    //! [first]
    ticket::Store store(file);

    store.set("Window/Width", 1024);
    store.set("Window/Title", "Proofs");
    store.set("Recent", {"cover.pdf", "inside.pdf"});
    store.set("Autosave", 90s);

    int const width = store.get("Window/Width", 800);  // the fallback gives the type
    std::string const title = store.get("Window/Title", "Untitled");
    std::optional<std::chrono::minutes> const autosave = store.get<std::chrono::minutes>("Autosave");
    std::printf("%d %s, %zu recent, autosave %s\n", width, title.c_str(), store.get("Recent", {""}).size(),
                autosave ? "in whole minutes" : "is no whole number of minutes");

    if (auto saved = store.save(); !saved) std::printf("%s\n", saved.message().c_str());
    //! [first]
}

//! [keys]
constexpr int SIZES[] = {10, 12, 16};

inline constexpr auto Width = ticket::Key<int>{"Window/Width", 800}.range(100, 10000).help("pixels");
inline constexpr auto Size = ticket::Key<int>{"View/Size", 12}.choices(SIZES).help("points");
inline constexpr ticket::Key<std::string> Title{"Window/Title", "Untitled"};
inline constexpr auto BytesWritten = ticket::Key<std::int64_t>{"BytesWritten", 0}.wide();
//! [keys]

void UseKeys(ticket::Store& store) {
    //! [use]
    auto const [width, title] = store.get(Width, Title);  // read together
    std::printf("%d %s\n", width, title.c_str());

    ticket::Result const set = store.set(Width, 5);
    std::printf("%s\n", set.message().c_str());

    store.set(BytesWritten, 5000000000);  // wide: decimal text, because a file keeps no such number
    ticket::Result const plain = store.set("Total", 5000000000);
    std::printf("%s\n", plain.message().c_str());
    //! [use]
}

void Schemas(ticket::Store& store) {
    //! [schema]
    ticket::Schema const schema(Width, Size, Title, BytesWritten);
    store.set("View/Size", 13);  // as an edit of the file by hand might
    for (ticket::Result const& deviation : schema.check(store)) std::printf("%s\n", deviation.message().c_str());
    std::printf("%s", schema.json().c_str());
    //! [schema]
}

}  // namespace

//! [types]
enum class Paper { matt, gloss };
template <>
inline constexpr auto ticket::names<Paper> = ticket::names_of<Paper>({{Paper::matt, "matt"}, {Paper::gloss, "gloss"}});

struct Margins {
    double left = 5;
    double right = 5;
};
template <>
inline constexpr auto ticket::members<Margins> = ticket::members_of(ticket::Member{"Left", &Margins::left},
                                                                    ticket::Member{"Right", &Margins::right});

struct Colour {
    unsigned int rgb = 0;
};
template <>
struct ticket::Codec<Colour> {
    using Stored = std::uint32_t;
    static std::uint32_t encode(Colour const& colour) { return colour.rgb; }
    static std::optional<Colour> decode(std::uint32_t rgb) {
        if (rgb > 0xFFFFFF) return std::nullopt;
        return Colour{rgb};
    }
};
//! [types]

namespace {

void UseTypes(ticket::Store& store) {
    //! [host]
    store.set("Job/Paper", Paper::gloss);        // the text "gloss"; without the table of names, the number 1
    store.set("Job/Margins", Margins{7.5, 10});  // the keys Job/Margins/Left and Job/Margins/Right
    store.set("Job/Paint", Colour{0x00FF00});
    Margins const margins = store.get("Job/Margins", Margins{});
    std::printf("%s, %.1f, %06x\n", store.get("Job/Paper", Paper::matt) == Paper::gloss ? "gloss" : "matt",
                margins.left, store.get("Job/Paint", Colour{}).rgb);
    //! [host]
}

void Changes(ticket::Store& store) {
    //! [change]
    ticket::ChangeResult const changed = store.change([&](ticket::Change& change) {
        change.set(Width, store.get(Width) + 100);
        change.erase("Job/*");
    });
    if (!changed) std::printf("%s\n", changed.message().c_str());
    //! [change]
}

void Walk(ticket::Store const& store) {
    //! [entries]
    for (auto const& [key, value] : store.entries("Window/")) {
        if (auto const* number = std::get_if<std::int64_t>(&value))
            std::printf("%s is %lld\n", key.c_str(), static_cast<long long>(*number));
        else if (auto const* text = std::get_if<std::string>(&value))
            std::printf("%s is %s\n", key.c_str(), text->c_str());
    }
    //! [entries]
}

void Reasons(ticket::Store const& store) {
    //! [reasons]
    auto const number = store.read<int>("Window/Title");
    if (!number) std::printf("%s\n", number.result().message().c_str());
    std::printf("%d\n", store.get<int>("Autosave").value_or(-1));                     // a text: not there
    std::printf("%d\n", store.get("Window/Width", std::int8_t{0}, ticket::nearest));  // cut to the range
    //! [reasons]
}

void Watches(ticket::Store& store) {
    //! [watch]
    auto const watch = store.on_change("Window/*", [](ticket::Event const& event) {
        auto const* before = event.before ? std::get_if<std::string>(&*event.before) : nullptr;
        auto const* after = event.after ? std::get_if<std::string>(&*event.after) : nullptr;
        std::printf("%s: %s -> %s\n", event.key.c_str(), before ? before->c_str() : "nothing",
                    after ? after->c_str() : "nothing");
    });
    store.set(Title, "Covers");
    store.erase(Title);
    //! [watch]
}

void TwoPrograms(char const* file) {
    //! [merge]
    ticket::Store viewer(file), editor(file);  // as two programs might have them
    viewer.set("Viewer/Zoom", 2);
    editor.set("Editor/Font", "mono");
    bool const saved = viewer.save() && editor.save();
    std::printf("%s: the editor sees the viewer's zoom %d\n", saved ? "saved" : "not saved",
                editor.get("Viewer/Zoom", 1));
    //! [merge]
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 1;
    FirstSteps(arguments[1]);
    ticket::Store store(arguments[1]);
    UseKeys(store);
    Schemas(store);
    UseTypes(store);
    Changes(store);
    Walk(store);
    Reasons(store);
    Watches(store);
    TwoPrograms(arguments[1]);
}
