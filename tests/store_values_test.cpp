// The typed store in memory: the value of each type after it was set and read again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/StoreTypes.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using ticket::Bytes;
using ticket::Reason;
using ticket::Store;

template <typename T>
void ComesBack(T const& value) {
    Store store;
    EXPECT_TRUE(store.set("Key", value));
    EXPECT_EQ(store.get<T>("Key"), value);
}

Bytes BytesOf(std::string const& text) {
    return ticket::detail::as_bytes(text);
}

template <typename T>
Reason WhyNot(Store const& store, char const* key) {
    return store.read<T>(key).result().reason();
}

}  // namespace

TEST(StoreValues, NumbersOfEveryTypeComeBack) {
    ComesBack(true);
    ComesBack('x');
    ComesBack(std::numeric_limits<signed char>::min());
    ComesBack(std::numeric_limits<unsigned char>::max());
    ComesBack(std::numeric_limits<short>::min());
    ComesBack(std::numeric_limits<unsigned short>::max());
    ComesBack(std::numeric_limits<int>::min());
    ComesBack(std::numeric_limits<int>::max());
    ComesBack(std::numeric_limits<unsigned int>::max());
    ComesBack(std::numeric_limits<long>::min());
    ComesBack(std::numeric_limits<long long>::max());
    ComesBack(std::numeric_limits<unsigned long long>::max());
    ComesBack((std::int64_t{1} << 53) + 1);
    ComesBack(-(std::int64_t{1} << 53) - 1);
    ComesBack(0.1f);
    ComesBack(std::numeric_limits<float>::infinity());
    ComesBack(0.1);
    ComesBack(std::numeric_limits<double>::denorm_min());
    ComesBack(-std::numeric_limits<double>::infinity());
}

TEST(StoreValues, TextsBytesTimesAndPathsComeBack) {
    ComesBack(std::string(" a\tb  "));
    ComesBack(std::string());
    ComesBack(BytesOf(std::string("\0\xFF x", 4)));
    ComesBack(Bytes());
    ComesBack(std::filesystem::path("/tmp/a b"));
    ComesBack(1500ms);
    ComesBack(-1ns);
    ComesBack(std::chrono::hours(-3));
    ComesBack(std::chrono::nanoseconds::max());
    ComesBack(std::chrono::hours::min());
    ComesBack(std::chrono::system_clock::now());
    ComesBack(std::chrono::system_clock::time_point::min());
}

TEST(StoreValues, TypesOfTheHostComeBack) {
    ComesBack(Theme::dark);
    ComesBack(Unit::inch);
    ComesBack(Point{-1, 2});
    ComesBack(Window{{3, 4}, "a", 1.5});
    ComesBack(Window{{3, 4}, "a", std::nullopt});
    ComesBack(Colour{255});
}

TEST(StoreValues, ContainersComeBackAlsoEmptyOrWithOneElement) {
    ComesBack(std::vector<int>{1, 2, 3});
    ComesBack(std::vector<int>{1});
    ComesBack(std::vector<int>());
    ComesBack(std::vector<bool>{true, false});
    ComesBack(std::vector<std::string>{"a", "", "b"});
    ComesBack(std::vector<std::string>{""});
    ComesBack(std::vector<std::string>());
    ComesBack(std::vector<Bytes>());
    ComesBack(std::vector<Bytes>{Bytes()});
    ComesBack(std::vector<Bytes>{BytesOf("a"), Bytes()});
    ComesBack(std::vector<Theme>{Theme::dark, Theme::light});
    ComesBack(std::vector<Colour>{{1}, {2}});
    ComesBack(std::vector<std::chrono::milliseconds>{1ms, 2ms});
    ComesBack(std::array<double, 3>{95.05, 100, 108.88});
    ComesBack(std::array<int, 1>{1});
    ComesBack(std::array<int, 0>{});
}

TEST(StoreValues, AnEmptyListIsThereAndTakesThePlaceOfALongerOne) {
    Store store;
    store.set("Recent", {"a", "b"});
    store.set("Recent", std::vector<std::string>());
    EXPECT_TRUE(store.contains("Recent"));
    EXPECT_THAT(store.get("Recent", {"fallback"}), ElementsAre());
    EXPECT_EQ(WhyNot<std::vector<Bytes>>(store, "Recent"), Reason::none) << "one empty byte string";
}

TEST(StoreValues, ABracedListIsAVectorOfItsElements) {
    Store store;
    store.set("Texts", {"a", "b"});
    store.set("Numbers", {1, 2, 3});
    EXPECT_THAT(store.get("Texts", {"x"}), ElementsAre("a", "b"));
    EXPECT_THAT(store.get("Numbers", {0}), ElementsAre(1, 2, 3));
    EXPECT_THAT(store.get("None", {"x", "y"}), ElementsAre("x", "y"));
}

TEST(StoreValues, TheFallbackGivesTheTypeAndIsReadWhereNothingFits) {
    Store store;
    store.set("Text", "text");
    store.set("Number", 5);
    EXPECT_EQ(store.get("None", 800), 800);
    EXPECT_EQ(store.get("Text", 800), 800);
    EXPECT_EQ(store.get("Number", "text"), "text");
    EXPECT_EQ(store.get("Number", std::string_view("text")), "text");
    EXPECT_EQ(store.get("Number", static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(store.get<double>("Number", 1), 5.0);
    EXPECT_EQ(store.get("None", std::optional<int>(3)), 3);
    EXPECT_EQ(store.get("Number", std::optional<int>()), 5);
    static_assert(std::is_same_v<decltype(store.get("Text", "x")), std::string>);
}

TEST(StoreValues, ANamedTypeTakesAFallbackAndAValueOfAnother) {
    Store store;
    EXPECT_EQ(store.get<std::uint8_t>("None", 300), 255);
    EXPECT_EQ(store.get<std::int8_t>("None", -300, ticket::nearest), -128);
    EXPECT_EQ(store.get<double>("None", 1), 1.0);
    EXPECT_EQ(store.get<std::string>("None", "x"), "x");
    EXPECT_EQ(store.get<Window>("None", {{1, 2}, "t", 1.5}), (Window{{1, 2}, "t", 1.5}));
    EXPECT_EQ(store.set<std::int8_t>("Key", 300).reason(), Reason::out_of_range);
    EXPECT_FALSE(store.change([](ticket::Change& change) { change.set<std::int8_t>("Key", 300); }));
    EXPECT_FALSE(store.contains("Key"));
    EXPECT_TRUE(store.set<double>("Key", 5));
    EXPECT_EQ(store.get("Key", 0.0), 5.0);
    EXPECT_TRUE(store.change([](ticket::Change& change) { change.set<std::string>("Key", "text"); }));
    EXPECT_EQ(store.get("Key", ""), "text");
}

TEST(StoreValues, AnArrayOfCharactersIsATextAlsoWithoutANul) {
    char const bytes[] = {'a', 'b', 'c'};
    char const buffer[8] = "ab";
    Store store;
    EXPECT_TRUE(store.set("Key", bytes));
    EXPECT_EQ(store.get("Key", ""), "abc");
    EXPECT_TRUE(store.set(ticket::Key<std::string>{"Key", ""}, buffer));
    EXPECT_EQ(store.get("Key", ""), "ab");
    EXPECT_EQ(store.get("None", bytes), "abc");
    EXPECT_EQ(store.get(ticket::Key<std::string>{"None", ""}, bytes), "abc");
}

TEST(StoreValues, ANullTextSelectsNothingButAsAPrefixEverything) {
    char const* const none = nullptr;
    Store store;
    store.set("Key", 1);
    EXPECT_EQ(store.erase(none).reason(), Reason::missing);
    EXPECT_EQ(store.entries(none).size(), 1u);
    EXPECT_TRUE(store.on_change(none, [](ticket::Event const&) {}));
}

TEST(StoreValues, ALoopMayRunOverWhatAReadReturns) {
    Store store;
    store.set("List", {1, 2, 3});
    int sum = 0;
    for (int const number : store.read<std::vector<int>>("List").value()) sum += number;
    for (int const number : *store.read<std::vector<int>>("List")) sum += number;
    EXPECT_EQ(sum, 12);
}

TEST(StoreValues, AStoreIsAMemberOfAnAggregate) {
    struct Application {
        Store store;
        int windows;
    };
    Application application{};
    EXPECT_TRUE(application.store.set("Key", 1));
}

TEST(StoreValues, AReadTellsWhyThereIsNoValue) {
    Store store;
    store.set("Text", "text");
    store.set("Big", 300);
    store.set("Part", 7.5);
    store.set("NaN", std::numeric_limits<double>::quiet_NaN());
    store.set("Huge", std::numeric_limits<std::uint64_t>::max());
    store.set("Wide", 9007199254740993);
    store.set("Numbers", {1, 2});
    EXPECT_EQ(WhyNot<int>(store, "None"), Reason::missing);
    EXPECT_EQ(WhyNot<std::string>(store, "None"), Reason::missing);
    EXPECT_EQ(WhyNot<int>(store, "Text"), Reason::wrong_type);
    EXPECT_EQ(WhyNot<std::string>(store, "Big"), Reason::wrong_type);
    EXPECT_EQ(WhyNot<int>(store, "Numbers"), Reason::wrong_type);
    EXPECT_EQ(WhyNot<std::int8_t>(store, "Big"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<bool>(store, "Big"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<int>(store, "Part"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<int>(store, "NaN"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<std::int64_t>(store, "Huge"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<double>(store, "Wide"), Reason::out_of_range);
    EXPECT_EQ((WhyNot<std::array<int, 3>>(store, "Numbers")), Reason::out_of_range);
    EXPECT_EQ(WhyNot<Theme>(store, "Text"), Reason::out_of_range);
    EXPECT_EQ(WhyNot<Colour>(store, "Text"), Reason::out_of_range);
    EXPECT_EQ(store.read<int>("None").result().message(), "None: missing");
    EXPECT_EQ(store.read<std::int8_t>("Big").result().message(), "Big: the stored number does not fit the type");
}

TEST(StoreValues, NarrowingIsDoneWhereItIsAskedFor) {
    Store store;
    store.set("Big", 300);
    store.set("Part", 7.5);
    store.set("Below", -7.5);
    store.set("Huge", std::numeric_limits<std::uint64_t>::max());
    store.set("Infinity", std::numeric_limits<double>::infinity());
    EXPECT_EQ(store.get("Big", std::int8_t{1}, ticket::nearest), 127);
    EXPECT_EQ(store.get<int>("Part", ticket::nearest), 8);
    EXPECT_EQ(store.get<int>("Below", ticket::nearest), -8);
    EXPECT_EQ(store.get<unsigned>("Below", ticket::nearest), 0u);
    EXPECT_EQ(store.get<std::int64_t>("Huge", ticket::nearest), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(store.get<std::uint64_t>("Infinity", ticket::nearest), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(store.get<float>("Infinity"), std::numeric_limits<float>::infinity());
    store.set("Time", 1500ms);
    EXPECT_EQ(store.get<std::chrono::seconds>("Time"), std::nullopt);
    EXPECT_EQ(store.get("Time", 0s, ticket::nearest), 2s);
    EXPECT_EQ(store.get("Time", 1min, ticket::nearest), 0min);
    store.set("Time", -89999ms);
    EXPECT_EQ(store.get("Time", 0min, ticket::nearest), -1min);
    EXPECT_EQ(store.get("Time", 0s, ticket::nearest), -90s);
    EXPECT_EQ(store.get("Time", std::chrono::hours(1), ticket::nearest), std::chrono::hours(0));
    using Byte = std::chrono::duration<std::int8_t>;
    store.set("Time", 300s);
    EXPECT_EQ(store.get<Byte>("Time"), std::nullopt);
    EXPECT_EQ(store.get("Time", Byte(0), ticket::nearest), Byte(127));
    store.set("Time", 1500ms);
    EXPECT_EQ(store.get<std::chrono::microseconds>("Time"), 1500000us);
}

// Reads every stored number as every type: the result equals the stored number, or it gives a reason.
template <typename T, typename U>
void ReadsExactlyOrNot(T stored) {
    Store store;
    store.set("Key", stored);
    auto const read = store.read<U>("Key");
    auto const exact = static_cast<U>(stored);
    bool const fits = static_cast<long double>(exact) == static_cast<long double>(stored);
    EXPECT_EQ(static_cast<bool>(read), fits) << +stored;
    if (read && fits) {
        EXPECT_EQ(*read, exact) << +stored;
    }
}

TEST(StoreValues, AnIntegerIsReadAsAnotherTypeOnlyIfItFits) {
    for (int shift = 0; shift < 64; ++shift) {
        for (int const offset : {-2, -1, 0, 1}) {
            std::uint64_t const bits = (std::uint64_t{1} << shift) + static_cast<std::uint64_t>(offset);
            auto const number = static_cast<std::int64_t>(bits);
            ReadsExactlyOrNot<std::int64_t, std::int8_t>(number);
            ReadsExactlyOrNot<std::int64_t, std::uint32_t>(number);
            ReadsExactlyOrNot<std::int64_t, std::int32_t>(-(number / 2));
            ReadsExactlyOrNot<std::uint64_t, std::int64_t>(bits);
            ReadsExactlyOrNot<std::int64_t, std::uint64_t>(number);
            ReadsExactlyOrNot<std::uint64_t, double>(bits);
            ReadsExactlyOrNot<std::int64_t, double>(number);
        }
    }
}

TEST(StoreValues, TimesAreDecimalSecondsWhateverTheirUnit) {
    Store store;
    store.set("Half", 1500ms);
    store.set("Below", -1us);
    store.set("Day", std::chrono::hours(24));
    EXPECT_EQ(store.get("Half", ""), "1.5");
    EXPECT_EQ(store.get("Below", ""), "-0.000001");
    EXPECT_EQ(store.get("Day", ""), "86400");
    EXPECT_EQ(store.get<std::chrono::nanoseconds>("Below"), -1000ns);
    for (char const* text : {"", "x", "1.", "1.-5", "1e3", "--1", "1.0000000000000000001", " 1", "1 "}) {
        store.set("Text", text);
        EXPECT_EQ(store.get<std::chrono::nanoseconds>("Text"), std::nullopt) << text;
    }
    store.set("Text", "1.5000000000000000000000");
    EXPECT_EQ(store.get<std::chrono::milliseconds>("Text"), 1500ms);
}

TEST(StoreValues, MembersThatAreMissingKeepTheFallback) {
    Store store;
    store.set("Window/Place/X", 7);
    EXPECT_EQ(store.get("Window", Window{{1, 2}, "a", 2.5}), (Window{{7, 2}, "a", 2.5}));
    EXPECT_EQ(store.get<Window>("Window"), (Window{{7, 0}, "none", std::nullopt}));
    EXPECT_EQ(store.get<Window>("Other"), std::nullopt);
    store.set("Window/Title", 5);
    EXPECT_EQ(WhyNot<Window>(store, "Window"), Reason::wrong_type);
}

TEST(StoreValues, AnEmptyOptionalErases) {
    Store store;
    store.set("Key", std::optional<int>(1));
    EXPECT_EQ(store.get<int>("Key"), 1);
    EXPECT_TRUE(store.set("Key", std::optional<int>()));
    EXPECT_FALSE(store.contains("Key"));
    store.set("Window", Window{{1, 2}, "a", 1.5});
    EXPECT_TRUE(store.set("Window", std::optional<Window>()));
    EXPECT_TRUE(store.entries().empty());
}

TEST(StoreValues, ATextWithANulIsRefusedAndTheOldOneStays) {
    Store store;
    store.set("Key", "old");
    ticket::Result const set = store.set("Key", std::string("a\0b", 3));
    EXPECT_EQ(set.reason(), Reason::not_kept);
    EXPECT_THAT(set.message(), HasSubstr("Key: a text ends at its first NUL"));
    EXPECT_EQ(store.get("Key", ""), "old");
    EXPECT_EQ(store.set("List", std::vector<std::string>{"a", std::string(1, '\0')}).reason(), Reason::not_kept);
    EXPECT_FALSE(store.contains("List"));
    EXPECT_EQ(store.set("Enum", Theme::unnamed).reason(), Reason::out_of_range);
    EXPECT_EQ(store.set("", 1).reason(), Reason::not_kept);
    EXPECT_EQ(store.set(std::string("a\0b", 3), 1).reason(), Reason::not_kept);
}

TEST(StoreValues, EntriesAreCopiesOfEveryTypeInKeyOrder) {
    Store store;
    store.set("A/Text", "t");
    store.set("A/Wide", 5000000000);
    store.set("A/Huge", std::numeric_limits<std::uint64_t>::max());
    store.set("A/Part", 0.5);
    store.set("A/Bytes", BytesOf("b"));
    store.set("A/List", std::vector<std::string>{"x", "y"});
    store.set("B", 1);
    store.set("A", 1);
    std::vector<std::string> keys;
    std::map<std::string, ticket::Value> values;
    for (auto const& [key, value] : store.entries("A/")) {
        keys.push_back(key);
        values[key] = value;
    }
    EXPECT_THAT(keys, ElementsAre("A/Bytes", "A/Huge", "A/List", "A/Part", "A/Text", "A/Wide"));
    EXPECT_EQ(values["A/Text"], ticket::Value(std::string("t")));
    EXPECT_EQ(values["A/Wide"], ticket::Value(std::int64_t{5000000000}));
    EXPECT_EQ(values["A/Huge"], ticket::Value(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(values["A/Part"], ticket::Value(0.5));
    EXPECT_EQ(values["A/Bytes"], ticket::Value(BytesOf("b")));
    EXPECT_EQ(values["A/List"], ticket::Value(ticket::List{std::string("x"), std::string("y")}));
    EXPECT_EQ(store.entries().size(), 8u);
    EXPECT_EQ(store.entries("A/*").size(), 6u);
}

TEST(StoreValues, KeysAreTakenAsTextOfEveryKind) {
    Store store;
    std::string const name = "Key";
    store.set(name, 1);
    EXPECT_EQ(store.get(std::string_view("Key and more").substr(0, 3), 0), 1);
    EXPECT_EQ(store.get("Key", 0), 1);
}

TEST(StoreValues, AViewIsBorrowedAndAReadOfBytesTakesATextToo) {
    Store store;
    store.set("Text", "text");
    EXPECT_EQ(store.borrow_text("Text"), "text");
    EXPECT_EQ(store.borrow_bytes("Text"), "text");
    EXPECT_EQ(store.borrow_text("None"), std::nullopt);
    EXPECT_EQ(store.get<Bytes>("Text"), BytesOf("text"));
}

TEST(StoreValues, AStoreThatWasMovedFromHoldsAndTakesNothing) {
    Store store;
    store.set("Key", 1);
    Store other = std::move(store);
    EXPECT_EQ(other.get("Key", 0), 1);
    EXPECT_EQ(store.get("Key", 7), 7);  // NOLINT: what a move leaves behind is part of the contract
    EXPECT_EQ(store.get("Key", "x"), "x");
    EXPECT_EQ(store.set("Key", 1).reason(), Reason::no_ticket);
    EXPECT_EQ(store.change([](ticket::Change& c) { c.set("Key", 1); }).reason(), Reason::no_ticket);
    EXPECT_EQ(store.erase("Key").reason(), Reason::no_ticket);
    EXPECT_EQ(store.save().reason(), Reason::no_ticket);
    EXPECT_TRUE(store.entries().empty());
    EXPECT_FALSE(store.contains("Key"));
    store = std::move(other);
    EXPECT_EQ(store.get("Key", 0), 1);
}

TEST(StoreValues, ExceptionsAreThrownWhereTheyAreAskedFor) {
    Store::Options options;
    options.throws = true;
    Store store(options);
    EXPECT_THROW(store.set("", 1), ticket::Error);
    EXPECT_THROW(store.erase("None"), ticket::Error);
    EXPECT_THROW(store.change([](ticket::Change& c) { c.set("", 1); }), ticket::Error);
    Store quiet;
    EXPECT_THROW(quiet.set("", 1).or_throw(), ticket::Error);
    EXPECT_THROW(quiet.read<int>("None").value(), ticket::Error);
    try {
        quiet.read<int>("None").value();
    } catch (ticket::Error const& error) {
        EXPECT_EQ(error.reason(), Reason::missing);
        EXPECT_STREQ(error.what(), "None: missing");
    }
}

TEST(StoreValues, WideValuesAreTextThatReadsBackExactly) {
    Store store;
    for (double const value : {0.1, -0.0, 3e9, 5e-324, 1.7976931348623157e308, std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()}) {
        store.set("Double", ticket::Wide{value});
        auto const read = store.get<ticket::Wide<double>>("Double");
        ASSERT_TRUE(read);
        EXPECT_EQ(read->value, value);
        EXPECT_EQ(std::signbit(read->value), std::signbit(value));
    }
    store.set("Count", ticket::Wide{std::int64_t{5000000000}});
    EXPECT_EQ(store.get("Count", ""), "5000000000");
    store.set("Text", ticket::Wide{std::string(" 100% & \x01", 9)});
    EXPECT_EQ(store.get("Text", ""), "%20100%25%20%26%20%01");
    EXPECT_EQ(store.get<ticket::Wide<std::string>>("Text")->value, std::string(" 100% & \x01", 9));
    for (char const* text : {"", "-", "1 ", " 1", "1.5", "0x10", "9223372036854775808"}) {
        store.set("Bad", text);
        EXPECT_FALSE(store.get<ticket::Wide<std::int64_t>>("Bad")) << text;
    }
    for (char const* text : {"", "-", "1 ", "+1", "0x1p3", "infinity", "nan(1)", "1e"}) {
        store.set("Bad", text);
        EXPECT_FALSE(store.get<ticket::Wide<double>>("Bad")) << text;
    }
    store.set("Bad", "100%");
    EXPECT_FALSE(store.get<ticket::Wide<std::string>>("Bad"));
    store.set("Plain", 7);
    EXPECT_EQ(store.get<ticket::Wide<int>>("Plain")->value, 7) << "written before the key was wide";
}

TEST(StoreValues, AKeyWithANulNamesNoOtherKey) {
    Store store;
    store.set("Window", "text");
    std::string const key("Window\0x", 8);
    EXPECT_EQ(store.get(key, ""), "");
    EXPECT_FALSE(store.borrow_text(key));
    EXPECT_EQ(store.erase(key).reason(), ticket::Reason::missing);
    EXPECT_TRUE(store.contains("Window"));
}

TEST(StoreValues, AStoredTextBeyondTheRangeOfATimeOrAFloatIsRefused) {
    Store store;
    store.set("Time", "170141183460469231731687303715884105.999");
    EXPECT_EQ(store.read<std::chrono::milliseconds>("Time").result().reason(), ticket::Reason::out_of_range);
    for (char const* text : {"1e300", "-1e300"}) {
        store.set("Float", text);
        EXPECT_EQ(store.read(ticket::Key<float>("Float").wide()).result().reason(), ticket::Reason::out_of_range);
    }
    store.set("Float", "inf");
    EXPECT_TRUE(store.read(ticket::Key<float>("Float").wide()));
}
