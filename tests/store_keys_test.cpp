// Declared keys of the typed store, changes of several as one, and schemas.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "ConfigurationControl/Store/Schema.h"
#include "support/StoreTypes.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using ticket::Key;
using ticket::Reason;
using ticket::Store;

constexpr int SIZES[] = {10, 12, 16};
constexpr std::string_view PAPERS[] = {"matt", "gloss"};

constexpr Key<int> Width = Key<int>{"Window/Width", 800}.range(100, 10000).help("pixels");
constexpr Key<int> Height{"Window/Height", 600};
constexpr Key<int> Size = Key<int>{"View/Size", 12}.choices(SIZES);
constexpr Key<std::string> Paper = Key<std::string>{"Job/Paper", "matt"}.choices(PAPERS).help("\"paper\"");
constexpr Key<Theme> TheTheme{"View/Theme", Theme::light};
constexpr Key<std::vector<std::string>> Recent{"Recent"};
constexpr Key<std::int64_t> Total = Key<std::int64_t>{"Total", 7}.wide();
constexpr Key<std::chrono::milliseconds> Delay = Key<std::chrono::milliseconds>{"Delay", 1500ms}.range(0ms, 10s);
constexpr Key<Window> TheWindow{"Main"};
constexpr Key<Colour> TheColour{"Colour", Colour{3}};
constexpr Key<double> Zoom = Key<double>{"Zoom", 0.5}.range(0.1, 10);
constexpr Key<std::string> Title{"Title", "Untitled"};
constexpr Key<std::int8_t> Small{"Small", 1};
constexpr Key<float> Scale{"Scale", 1};
constexpr Key<std::optional<int>> Maybe{"Maybe"};
constexpr Key<ticket::Bytes> Preset = Key<ticket::Bytes>{"Preset"}.wide();

// Kept as a number, and without a value of its own to begin with.
struct Serial {
    int number;
    constexpr explicit Serial(int of) : number(of) {}
};

}  // namespace

template <>
struct ticket::Codec<Serial> {
    using Stored = int;
    static int encode(Serial const& serial) { return serial.number; }
    static std::optional<Serial> decode(int number) { return Serial(number); }
};

TEST(StoreKeys, AKeyIsReadWithItsTypeAndFallback) {
    Store store;
    EXPECT_EQ(store.get(Width), 800);
    EXPECT_EQ(store.get(Width, 640), 640);
    EXPECT_EQ(store.get(Paper), "matt");
    EXPECT_EQ(store.get(TheTheme), Theme::light);
    EXPECT_THAT(store.get(Recent), ElementsAre());
    EXPECT_EQ(store.get(Delay), 1500ms);
    EXPECT_EQ(store.get(TheColour), Colour{3});
    EXPECT_EQ(store.get(TheWindow), Window());
    EXPECT_EQ(store.read(Width).result().reason(), Reason::missing);
    EXPECT_TRUE(store.set(Recent, {"a", "b"}));
    EXPECT_TRUE(store.set(Paper, "gloss"));
    EXPECT_TRUE(store.set(TheWindow, Window{{1, 2}, "t", 1.5}));
    EXPECT_THAT(store.get(Recent), ElementsAre("a", "b"));
    EXPECT_EQ(store.get(Paper), "gloss");
    EXPECT_EQ(store.get(TheWindow), (Window{{1, 2}, "t", 1.5}));
    EXPECT_TRUE(store.erase(TheWindow));
    EXPECT_TRUE(store.entries("Main").empty());
}

TEST(StoreKeys, ATypeWithoutADefaultConstructorCanBeDeclared) {
    constexpr Key<Serial> key{"Serial", Serial(4)};
    Store store;
    EXPECT_EQ(store.get(key).number, 4);
    EXPECT_TRUE(store.set(key, Serial(5)));
    EXPECT_EQ(store.get(key).number, 5);
}

TEST(StoreKeys, AValueOfAnotherTypeIsConvertedOnlyIfNothingOfItIsLost) {
    Store store;
    EXPECT_TRUE(store.set(Width, 900L));
    EXPECT_EQ(store.get(Width), 900);
    EXPECT_EQ(store.set(Width, 5000000000).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Small, 300).message(), "Small: the number does not fit the type of the key");
    EXPECT_EQ(store.set(Small, 4294967295u).reason(), Reason::out_of_range);
    EXPECT_TRUE(store.set(Small, -128));
    EXPECT_EQ(store.get(Small), -128);
    EXPECT_TRUE(store.set(Zoom, 2));
    EXPECT_EQ(store.get(Zoom), 2.0);
    EXPECT_TRUE(store.set(Scale, 0.1));
    EXPECT_EQ(store.get(Scale), 0.1f);
    EXPECT_EQ(store.set(Scale, 1e300).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Scale, 16777217).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Maybe, 5000000000).reason(), Reason::out_of_range);
    EXPECT_TRUE(store.set(Maybe, 5));
    EXPECT_EQ(store.get(Maybe), 5);
    EXPECT_TRUE(store.set(Maybe, std::nullopt));
    EXPECT_FALSE(store.contains("Maybe"));
    EXPECT_TRUE(store.set(Delay, 2s));
    EXPECT_EQ(store.get(Delay), 2000ms);
    EXPECT_TRUE(store.set(Title, std::string_view("View")));
    EXPECT_EQ(store.get(Title), "View");
    EXPECT_TRUE(store.set(Title, static_cast<char const*>(nullptr)));
    EXPECT_EQ(store.get(Title), "");
    ticket::ChangeResult const changed = store.change([](ticket::Change& c) { c.set(Small, 300); });
    EXPECT_EQ(changed.message(), "Small: the number does not fit the type of the key");
    EXPECT_TRUE(store.change([](ticket::Change& c) { c.set(Small, 5L); }));
    EXPECT_EQ(store.get(Small), 5);
}

TEST(StoreKeys, AnEnumeratorOrAnOptionalIsConvertedOnlyIfNothingOfItIsLost) {
    enum Sizes : unsigned int { LARGE = 300 };
    Store store;
    EXPECT_EQ(store.set(Small, LARGE).reason(), Reason::out_of_range);
    EXPECT_TRUE(store.set(Height, LARGE));
    EXPECT_EQ(store.get(Height), 300);
    EXPECT_EQ(store.set(Maybe, std::optional<std::int64_t>(5000000000)).reason(), Reason::out_of_range);
    EXPECT_TRUE(store.set(Maybe, std::optional<std::int64_t>(5)));
    EXPECT_EQ(store.get(Maybe), 5);
    EXPECT_TRUE(store.set(Maybe, std::optional<std::int64_t>()));
    EXPECT_FALSE(store.contains(Maybe));
    EXPECT_TRUE(store.set(Key<std::optional<bool>>{"Flag"}, true));
}

TEST(StoreKeys, AFallbackOfAnotherTypeIsCutToTheRangeOfTheType) {
    Store const store;
    EXPECT_EQ(store.get(Small, 5L), 5);
    EXPECT_EQ(store.get(Small, 300), 127);
    EXPECT_EQ(store.get(Small, -300), -128);
    EXPECT_EQ(store.get(Scale, 1e300), std::numeric_limits<float>::max());
    EXPECT_EQ(store.get(Zoom, 2), 2.0);
    EXPECT_EQ(store.get(Key<std::optional<std::int8_t>>{"None"}, 300), 127);
    EXPECT_EQ(store.get(Title, "View"), "View");
    EXPECT_EQ(store.get(Delay, 2s), 2000ms);
}

TEST(StoreKeys, ADeclarationWithANumberThatDoesNotFitThrowsWhereItIsNoConstant) {
    EXPECT_THROW(Key<unsigned int>("Key", -1), ticket::Error);
    EXPECT_THROW((void)Key<int>("Key", 1).range(0, 5000000000), ticket::Error);
    EXPECT_THROW((void)Key<double>("Key", 1).range(std::numeric_limits<double>::quiet_NaN(), 2), ticket::Error);
    EXPECT_THROW(Key<int>(nullptr), ticket::Error);
    EXPECT_EQ(Key<std::int64_t>("Key", 1).range(0, 9L).limits().high, 9);
}

TEST(StoreKeys, ADeclaredKeyIsContainedIfAMemberOfItIs) {
    Store store;
    EXPECT_FALSE(store.contains(Width));
    EXPECT_FALSE(store.contains(TheWindow));
    store.set(Width, 900);
    store.set(TheWindow, Window());
    EXPECT_TRUE(store.contains(Width));
    EXPECT_TRUE(store.contains(TheWindow));
}

TEST(StoreKeys, ErasingADeclaredKeyTellsWhetherItWasThere) {
    Store store;
    store.set(Width, 900);
    EXPECT_TRUE(store.erase(Width));
    EXPECT_EQ(store.erase(Width).reason(), Reason::missing);
    EXPECT_EQ(store.erase(TheWindow).reason(), Reason::missing);
    EXPECT_TRUE(store.change([](ticket::Change& c) { EXPECT_EQ(c.erase(Width), 0u); }));
}

TEST(StoreKeys, SeveralAreReadTogether) {
    Store store;
    store.set(Width, 900);
    auto const [width, height, paper] = store.get(Width, Height, Paper);
    EXPECT_EQ(width, 900);
    EXPECT_EQ(height, 600);
    EXPECT_EQ(paper, "matt");
}

TEST(StoreKeys, AValueOutsideRangeOrChoicesIsNeitherSetNorRead) {
    Store store;
    EXPECT_EQ(store.set(Width, 99).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Size, 11).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Paper, "silk").reason(), Reason::out_of_range);
    EXPECT_EQ(store.set(Zoom, std::numeric_limits<double>::quiet_NaN()).reason(), Reason::out_of_range);
    EXPECT_TRUE(store.entries().empty());
    EXPECT_TRUE(store.set(Width, 100));
    EXPECT_TRUE(store.set(Width, 10000));
    EXPECT_TRUE(store.set(Size, 16));
    store.set("Window/Width", 5);
    store.set("Job/Paper", "silk");
    EXPECT_EQ(store.get(Width), 800);
    EXPECT_EQ(store.get(Width, 700), 700);
    EXPECT_EQ(store.get(Paper), "matt");
    EXPECT_EQ(store.read(Width).result().reason(), Reason::out_of_range);
}

TEST(StoreKeys, AWideKeyIsDecimalTextAndReadsWhatAPlainHostLeft) {
    Store store;
    store.set("Total", 5);
    EXPECT_EQ(store.get(Total), 5);
    EXPECT_TRUE(store.set(Total, 5000000000));
    EXPECT_EQ(store.get("Total", ""), "5000000000");
    EXPECT_EQ(store.get(Total), 5000000000);
    EXPECT_EQ(store.get("Total", 1), 1) << "a text is no number to a key that is not wide";
}

TEST(StoreChange, EverythingIsStoredTogetherAndReadsSeeWhatWasBefore) {
    Store store;
    store.set("Old/A", 1);
    store.set("Old/B", 2);
    store.set("Older", 3);
    ticket::ChangeResult const changed = store.change([&](ticket::Change& c) {
        c.set(Width, store.get(Width) + 100);
        c.set("Text", std::string("a temporary of more than a few characters"));
        c.set("List", {"a", "b"});
        c.set(Total, 9);
        EXPECT_EQ(c.erase("Old/*"), 2u);
        c.set("Old/C", 1);
        EXPECT_FALSE(store.contains("Text"));
    });
    EXPECT_TRUE(changed) << changed.message();
    EXPECT_EQ(store.get(Width), 900);
    EXPECT_EQ(store.get("Text", ""), "a temporary of more than a few characters");
    EXPECT_THAT(store.get("List", {""}), ElementsAre("a", "b"));
    EXPECT_EQ(store.get("Total", ""), "9");
    EXPECT_FALSE(store.contains("Old/A"));
    EXPECT_TRUE(store.contains("Old/C"));
    EXPECT_TRUE(store.contains("Older"));
}

TEST(StoreChange, ARefusedValueOrAnExceptionRefusesAll) {
    Store store;
    ticket::ChangeResult const changed = store.change([](ticket::Change& c) {
        c.set(Height, 1);
        c.set(Width, 5);
        c.set("", 1);
    });
    EXPECT_EQ(changed.reason(), Reason::out_of_range);
    EXPECT_EQ(changed.subject(), "Window/Width") << "the first is told";
    auto const throwing = [](ticket::Change& c) {
        c.set(Height, 1);
        throw std::runtime_error("no");
    };
    EXPECT_THROW(store.change(throwing), std::runtime_error);
    EXPECT_TRUE(store.entries().empty());
    EXPECT_TRUE(store.change([](ticket::Change&) {}));
    EXPECT_EQ(store.erase("None*").reason(), Reason::missing);
}

TEST(StoreSchema, ACheckListsWhatDeviates) {
    Store store;
    ticket::Schema const schema(Width, Paper, TheWindow, Recent);
    EXPECT_TRUE(schema.check(store).empty());
    store.set("Window/Width", "wide");
    store.set("Job/Paper", "silk");
    store.set("Main/Place/X", 1);
    store.set("Main/Place/Z", 1);
    store.set(Recent, {"a"});
    std::vector<std::string> messages;
    for (ticket::Result const& deviation : schema.check(store)) messages.push_back(deviation.message());
    EXPECT_THAT(messages,
                ElementsAre("Window/Width: wrong type", "Job/Paper: the value is not among the declared choices",
                            "Main/Place/Z: undeclared"));
}

TEST(StoreSchema, JsonTellsEveryKey) {
    EXPECT_EQ(ticket::Schema(Width, Size, Paper, TheTheme, Recent, Total, Delay, TheWindow, Zoom, Preset).json(),
              R"({
  "keys": [
    {"key": "Window/Width", "type": "int", "default": 800, "min": 100, "max": 10000, "help": "pixels"},
    {"key": "View/Size", "type": "int", "default": 12, "choices": [10, 12, 16]},
    {"key": "Job/Paper", "type": "string", "default": "matt", "choices": ["matt", "gloss"], "help": "\"paper\""},
    {"key": "View/Theme", "type": "string", "default": "light", "choices": ["light", "dark & deep"]},
    {"key": "Recent", "type": "string"},
    {"key": "Total", "type": "string", "default": "7"},
    {"key": "Delay", "type": "string", "default": "1.5", "min": "0", "max": "10"},
    {"key": "Main/Place/X", "type": "int"},
    {"key": "Main/Place/Y", "type": "int"},
    {"key": "Main/Title", "type": "string"},
    {"key": "Main/Zoom", "type": "double"},
    {"key": "Zoom", "type": "double", "default": 0.5, "min": 0.1, "max": 10},
    {"key": "Preset", "type": "string"}
  ]
}
)");
    EXPECT_EQ(ticket::Schema().json(), "{\n  \"keys\": [\n  ]\n}\n");
}
