// Not compiled as it is: each line below is a wrong use of the typed store, and the compiler must say why. The tests
// look for the text behind "says:" in what it writes.
#include <string>
#include <vector>

#include "ConfigurationControl/Store.h"

struct Unknown {};
enum Untyped { FIRST, SECOND };

// clang-format off: a wrong use and its explanation share a line

// A function each, so that the compiler goes on after an error.
void Null(ticket::Store& store) {
    store.set("Key", nullptr);
}  // says: nullptr is no value
void Pointer(ticket::Store& store, std::string* text) {
    store.set("Key", text);
}  // says: a pointer is no setting
void LongDouble(ticket::Store& store) {
    store.set("Key", 1.5L);
}  // says: no file keeps a long double
void HugeInteger(ticket::Store& store) {
    __extension__ using Huge = __int128;
    store.set("Key", Huge{1});
}  // says: integers have at most 64 bits
void WideCharacter(ticket::Store& store) {
    store.set("Key", L'x');
}  // says: wide characters are not kept
void WideText(ticket::Store& store) {
    store.set("Key", L"text");
}  // says: wide characters are not kept
void Array(ticket::Store& store, int const (&numbers)[3]) {
    store.set("Key", numbers);
}  // says: for an array a std::array or std::vector
void Struct(ticket::Store& store) {
    store.set("Key", Unknown{});
}  // says: this type is not known
void Nested(ticket::Store& store) {
    store.set("Key", std::vector<std::vector<int>>());
}  // says: the elements of a vector
void Optionals(ticket::Store& store) {
    store.set("Key", std::optional<std::optional<int>>());
}  // says: optional of an optional
void Clock(ticket::Store& store) {
    store.set("Key", std::chrono::steady_clock::now());
}  // says: only times of std::chrono::system_clock
void Ticks(ticket::Store& store) {
    store.set("Key", std::chrono::duration<double>(1));
}  // says: needs whole ticks of a decimal unit
void NoType(ticket::Store& store) {
    store.get("Key");
}  // says: name the type, get<int>(key)
void View(ticket::Store& store) {
    store.get<std::string_view>("Key");
}  // says: borrow_text() is the view
void WideBool(ticket::Store& store) {
    store.set("Key", ticket::Wide<bool>{});
}  // says: have a wide form
void Function(ticket::Store& store) {
    (void)store.on_change("*", [] {});
}  // says: takes a ticket::Event
void Nothing(ticket::Store& store) {
    store.set("Key", std::nullopt);
}  // says: nullptr and nullopt are no values
void NumberAsKey(ticket::Store& store) {
    store.set(0, 5);
}  // says: a number or nullptr is no key
void Constant(ticket::Store& store) {
    store.get<int const>("Key");
}  // says: ticket::Store: name the type without const
void Views(ticket::Store& store) {
    store.get<std::vector<std::string_view>>("Key");
}  // says: ticket::Store: read a std::string, which is a copy
void UntypedEnumeration(ticket::Store& store) {
    store.get("Key", FIRST);
}  // says: a file may hold a number that this enumeration cannot
void NoChange(ticket::Store& store) {
    store.change([] {});
}  // says: the function of change takes a ticket::Change&
constexpr ticket::Key<char const*> TextKey{"Key", ""};  // says: declare Key<std::string>
constexpr ticket::Key<int> NoKey{"a//b", 1};            // says: no file keeps a key of this name
constexpr auto TextRange =
    ticket::Key<std::string>{"Key", ""}.range("a", "b");             // says: only numbers and durations have a range
constexpr auto EmptyRange = ticket::Key<int>{"Key", 1}.range(9, 1);  // says: the range is empty
constexpr ticket::Key<unsigned int> TooSmall("Key", -1);            // says: the number does not fit the type of the key
ticket::Key<std::string> const Temporary("Key", std::string("a"));  // says: the fallback is not copied
auto const Listed = ticket::Key<int>{"Key", 1}.choices({1, 2});     // says: the choices are not copied
constexpr ticket::Key<int const> ConstantKey{"Key", 1};             // says: name the type without const
constexpr ticket::Key<int> Number{"Key", 1};
constexpr ticket::Key<bool> Flag{"Key", true};
void Fraction(ticket::Store& store) {
    store.set(Number, 5.5);
}  // says: takes no number with a fraction
void FractionAsFallback(ticket::Store& store) {
    store.get(ticket::Key<short>{"Key", 1}, 5.5);
}  // says: T = short int; U = double|check_conversion<short, double>
void FractionForANamedType(ticket::Store& store) {
    store.get<long>("Key", 5.5);
}  // says: T = long int; U = double|check_conversion<long, double>
void FractionInAnOptional(ticket::Store& store) {
    store.set(ticket::Key<std::optional<char>>{"Key"}, std::optional<double>(5.5));
}  // says: T = char; U = double|check_conversion<char, double>
void LongInAClass(ticket::Store& store) {
    store.set(Number, std::integral_constant<long, 5>());
}  // says: this conversion may lose digits
void TextAsFallback(ticket::Store& store) {
    store.get(Number, "five");
}  // says: ticket::Store: the value is not of the type of the key
void TextForAnOptionalFlag(ticket::Store& store) {
    store.set(ticket::Key<std::optional<bool>>{"Key"}, "no");
}  // says: T = bool; U = char [3]|check_conversion<bool, char[3]>
void TextForANumber(ticket::Store& store) {
    store.set(Number, "five");
}  // says: the value is not of the type of the key
constexpr ticket::Key<std::string> Title{"Title", "Untitled"};
void NullForAText(ticket::Store& store) {
    store.set(Title, nullptr);
}  // says: nullptr is no value
void PointerForAFlag(ticket::Store& store) {
    store.set(Flag, "yes");
}  // says: takes true and false only
