// How numbers are spelled in a ticket file, and that they are read back as a stream with the classic locale reads them.
#include "Format/Numbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <utility>

#include "support/ClassicLocale.h"
#include "support/HostileLocale.h"
#include "support/RecordedOddities.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr double INFINITE = std::numeric_limits<double>::infinity();

std::string Spell(double value, int32_t limit = BestDouble::FILE_LIMIT) {
    return NumberText(BestDouble{value, limit});
}

// With a rounding mode of the host's choice.
std::string SpellInMode(int mode, double value) {
    int const before = std::fegetround();
    std::fesetround(mode);
    std::string text = Spell(value);
    std::fesetround(before);
    return text;
}

template <typename NUMBER>
std::vector<std::string> OdditiesOf(std::string_view text) {
    RECORDED_ODDITIES oddities;
    ParseNumber<NUMBER>(text, &oddities);
    return oddities.Told();
}

uint64_t Bits(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double RandomDouble(std::mt19937_64& random) {
    uint64_t const bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The significant digits without trailing zeros, and the exponent of the first digit: a spelling without its format.
std::pair<std::string, int> DigitsOf(std::string const& text) {
    std::size_t const end = std::min(text.find('e'), text.size());
    int const exponent = end < text.size() ? std::stoi(text.substr(end + 1)) : 0;
    std::string digits = text.substr(0, text.find('.')) + text.substr(text.find('.') + 1, end - text.find('.') - 1);
    digits.resize(digits.find_last_not_of('0') + 1);
    return {digits, exponent + static_cast<int>(text.find('.')) - 1};
}

// printf of the C library is the reference.
void ExpectDigitsOfPrintf(double value) {
    char text[32];
    {
        CLASSIC_LOCALE const classic;
        std::snprintf(text, sizeof text, "%.16e", value);
    }
    ASSERT_EQ(DigitsOf(Spell(value)), DigitsOf(text)) << text;
    ASSERT_EQ(Spell(-value), '-' + Spell(value));
}

template <typename NUMBER>
NUMBER ReadByStream(std::string const& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    NUMBER value{};
    stream >> value;
    return value;
}

// The C++ stream is the reference.
void ExpectReadAsByStream(std::string const& text) {
    EXPECT_EQ(ParseNumber<int32_t>(text), ReadByStream<int32_t>(text)) << '"' << text << '"';
    EXPECT_EQ(ParseNumber<int64_t>(text), ReadByStream<int64_t>(text)) << '"' << text << '"';
    EXPECT_EQ(ParseNumber<uint64_t>(text), ReadByStream<uint64_t>(text)) << '"' << text << '"';
    EXPECT_EQ(Bits(ParseNumber<double>(text)), Bits(ReadByStream<double>(text))) << '"' << text << '"';
}

std::string RandomSpelling(std::mt19937& random) {
    static std::string const ALPHABET = "0123456789012345678901234567890123456789--++..eE,xnaif ";
    std::string text(random() % 24, '\0');
    for (char& letter : text) letter = ALPHABET[random() % ALPHABET.size()];
    return text;
}

}  // namespace

TEST(BestDouble, PutsExponentsInSteps) {
    struct {
        double value;
        char const* text;
    } const examples[] = {
        {1.0, "1."},
        {100.0, "100."},
        {-2.5, "-2.5"},
        {123456.0, "123456."},
        {1000000.0, "1.e+06"},
        {1234567.0, "1.234567e+06"},
        {12345678.0, "12.345678e+006"},
        {123456789.0, "123.456789e+006"},
        {0.5, "500.e-003"},
        {-0.5, "-500.e-003"},
        {0.01, "10.e-003"},
        {0.001, "1.e-03"},
        {0.0001, "100.e-006"},
        {0.1, "100.00000000000001e-003"},
        {1e22, "10.e+021"},
        {1e100, "10.e+099"},
        {1e-300, "1.e-300"},
        {3.14159, "3.1415899999999999"},
        {std::numeric_limits<double>::max(), "179.76931348623157e+306"},
        {std::numeric_limits<double>::min(), "22.250738585072014e-309"},
    };
    for (auto const& [value, text] : examples) {
        EXPECT_EQ(Spell(value), text);
    }
}

TEST(BestDouble, LeavesZerosAndSubnormalsInScientificNotation) {
    EXPECT_EQ(Spell(0.0), "0.0000000000000000e+00");
    EXPECT_EQ(Spell(-0.0), "-0.0000000000000000e+00");
    EXPECT_EQ(Spell(std::numeric_limits<double>::denorm_min()), "4.9406564584124654e-324");
    EXPECT_EQ(Spell(-2.2250738585072009e-308), "-2.2250738585072009e-308");
}

TEST(BestDouble, SpellsEveryNanAlike) {
    EXPECT_EQ(Spell(std::numeric_limits<double>::quiet_NaN()), "1.#QNAN");
    EXPECT_EQ(Spell(-std::numeric_limits<double>::signaling_NaN()), "1.#QNAN");
}

TEST(BestDouble, RefusesInfinities) {
    for (double const value : {INFINITE, -INFINITE}) {
        try {
            Spell(value);
            FAIL() << "nothing was thrown";
        } catch (char const* message) {
            EXPECT_STREQ(message, "operator<< (std::ostream& os, const BestDouble& bd): missing '.'");
        }
    }
}

TEST(BestDouble, TheLimitSaysHowFarThePointMayMove) {
    EXPECT_EQ(Spell(1.5, 0), "1.5");
    EXPECT_EQ(Spell(15.0, 0), "15.e+000");
    EXPECT_EQ(Spell(1000.0, 0), "1.e+03");
    EXPECT_EQ(Spell(12.5, -1), "12.5e+000");
    EXPECT_EQ(Spell(1.5, -1), "1.5e+00");
    EXPECT_EQ(Spell(1e6, 6), "1000000.");
    EXPECT_EQ(Spell(0.5, 400), "500.e-003");
}

TEST(BestDouble, ALimitBeyondTheDigitsPadsWithZeros) {
    EXPECT_EQ(Spell(1e16, 17), "10000000000000000.");
    EXPECT_EQ(Spell(1e17, 17), "100000000000000000.");
    EXPECT_EQ(Spell(1e22, 22), "10000000000000000000000.");
    std::string const largest = Spell(std::numeric_limits<double>::max(), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(largest, "17976931348623157" + std::string(292, '0') + ".");
}

TEST(BestDouble, GoesToAStreamWhateverItsFormat) {
    HostileLocale const locale;
    std::ostringstream stream;
    stream << std::hex << std::showpos << std::uppercase << std::fixed << std::setprecision(2);
    EXPECT_EQ(&(stream << BestDouble{1234567.0, 5}), &stream);
    EXPECT_EQ(stream.str(), "1.234567e+06");
}

TEST(BestDouble, KeepsEveryBitAndItsShape) {
    std::mt19937_64 random(1);
    for (int round = 0; round < 10000; ++round) {
        double const value = round % 2 ? RandomDouble(random) : std::ldexp(RandomDouble(random), -1000);
        if (!std::isfinite(value)) continue;
        std::string const text = Spell(value);
        ASSERT_EQ(Bits(ParseNumber<double>(text)), Bits(value)) << text;
        if (std::abs(value) < std::numeric_limits<double>::min()) continue;
        ASSERT_THAT(text, MatchesRegex("-?[1-9][0-9]*[.]([0-9]*[1-9])?(e[-+][0-9][0-9][0-9]?)?"));
        auto const mark = text.find('e');
        if (mark != std::string::npos) {
            ASSERT_EQ(std::stoi(text.substr(mark + 1)) % 3, 0) << text;
        }
    }
}

TEST(BestDouble, RoundsAsTheCLibraryDoes) {
    std::mt19937_64 random(2);
    for (int round = 0; round < 100000; ++round)
        ExpectDigitsOfPrintf(
            std::ldexp(1 + static_cast<double>(random() >> 11), static_cast<int>(random() % 200) - 150));
    // Around powers of ten, where the number of digits changes.
    for (double power = 1e-15; power < 1e20; power *= 10)
        for (double value : {power, std::nextafter(power, 0), std::nextafter(power, INFINITE)})
            ExpectDigitsOfPrintf(value);
    // Halfway between two numbers of 17 digits: the even one is written.
    for (int places = 8; places < 25; ++places)
        for (int round = 0; round < 1000; ++round)
            ExpectDigitsOfPrintf(std::ldexp(static_cast<double>(2 * (random() >> 20) + 1), -places));
    for (int round = 0; round < 10000; ++round)  // 18 digits, the last of them 5
        ExpectDigitsOfPrintf(std::ldexp(static_cast<double>(2 * (random() % (4 << 17)) + (1 << 17) + 1), -17));
}

TEST(FileIntegers, AreDecimal) {
    EXPECT_EQ(NumberText(int32_t{0}), "0");
    EXPECT_EQ(NumberText(std::numeric_limits<int32_t>::min()), "-2147483648");
    EXPECT_EQ(NumberText(std::numeric_limits<int32_t>::max()), "2147483647");
    EXPECT_EQ(NumberText(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(NumberText(std::numeric_limits<uint64_t>::max()), "18446744073709551615");
}

TEST(ParseNumber, ReadsPlainIntegers) {
    EXPECT_EQ(ParseNumber<int32_t>("42"), 42);
    EXPECT_EQ(ParseNumber<int32_t>("-2147483648"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(ParseNumber<int64_t>("9007199254740993"), 9007199254740993);
    EXPECT_EQ(ParseNumber<uint64_t>("18446744073709551615"), std::numeric_limits<uint64_t>::max());
}

TEST(ParseNumber, ReadsDigitsWithZerosInFrontAndAsManyAsFit) {
    EXPECT_EQ(ParseNumber<int32_t>("0"), 0);
    EXPECT_EQ(ParseNumber<int32_t>("000000042"), 42);
    EXPECT_EQ(ParseNumber<int32_t>("0000000042"), 42);
    EXPECT_EQ(ParseNumber<int32_t>("999999999"), 999999999);
    EXPECT_EQ(ParseNumber<int32_t>("2147483647"), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(ParseNumber<uint64_t>("123456789"), 123456789u);
    EXPECT_EQ(ParseNumber<int32_t>("12/"), 12);
    EXPECT_EQ(ParseNumber<int32_t>("12:"), 12);
}

TEST(ParseNumber, ClampsWhatIsOutOfRange) {
    EXPECT_EQ(ParseNumber<int32_t>("99999999999"), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(ParseNumber<int32_t>("-99999999999999999999"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(ParseNumber<int64_t>("9223372036854775808"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(ParseNumber<uint64_t>("18446744073709551616"), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(ParseNumber<double>("1e400"), std::numeric_limits<double>::max());
    EXPECT_EQ(ParseNumber<double>("-1e400"), -std::numeric_limits<double>::max());
    EXPECT_EQ(ParseNumber<double>("1e-400"), 0.0);
}

TEST(ParseNumber, WrapsANegativeUnsignedNumber) {
    EXPECT_EQ(ParseNumber<uint64_t>("-1"), std::numeric_limits<uint64_t>::max());
}

TEST(ParseNumber, StopsWhereTheNumberEnds) {
    EXPECT_EQ(ParseNumber<int32_t>("1e5"), 1);
    EXPECT_EQ(ParseNumber<int32_t>("0x10"), 0);
    EXPECT_EQ(ParseNumber<int32_t>("12 34"), 12);
    EXPECT_EQ(ParseNumber<double>("1,5"), 1.0);
    EXPECT_EQ(ParseNumber<double>("2.5mm"), 2.5);
}

TEST(ParseNumber, GivesZeroWithoutANumber) {
    for (char const* text : {"", " ", "-", "abc", "nan", "inf", "--1", "\\"}) {
        EXPECT_EQ(ParseNumber<int32_t>(text), 0) << text;
        EXPECT_EQ(ParseNumber<uint64_t>(text), 0U) << text;
        EXPECT_EQ(ParseNumber<double>(text), 0.0) << text;
    }
}

TEST(ParseNumber, ReadsTheFormsThatTheWriterProduces) {
    EXPECT_EQ(ParseNumber<double>("1."), 1.0);
    EXPECT_EQ(ParseNumber<double>("500.e-003"), 0.5);
    EXPECT_EQ(ParseNumber<double>("12.345678e+006"), 12345678.0);
    EXPECT_EQ(ParseNumber<double>("0.0000000000000000e+00"), 0.0);
    EXPECT_TRUE(std::signbit(ParseNumber<double>("-0.0000000000000000e+00")));
}

TEST(ParseNumber, AgreesWithAStreamOnOddSpellings) {
    for (char const* text :
         {"",
          " 42",
          "+7",
          "-",
          "+",
          "1e5",
          "0x10",
          "0x",
          "007",
          "-007",
          "1e400",
          "-1e400",
          "1e-400",
          "nan",
          "inf",
          "-inf",
          "NAN",
          "infinity",
          "1.5e",
          "1.5e+",
          ".",
          "1.",
          ".5",
          "-.5",
          "+.5",
          "1,5",
          "1.000,5",
          "1_000",
          "--1",
          "+-1",
          "1e+5",
          "1E5",
          "1e5.5",
          "1.2.3",
          "0x1p3",
          "\t42",
          "\n-1",
          "4 2",
          "-0",
          "-0.0",
          "1.#INF",
          "2147483648",
          "-2147483649",
          "9223372036854775807",
          "9223372036854775808",
          "-9223372036854775808",
          "-9223372036854775809",
          "18446744073709551615",
          "18446744073709551616",
          "-18446744073709551615",
          "-18446744073709551616",
          "4.9e-324",
          "2e-324",
          "2.2250738585072011e-308",
          "179769313486231580793728971405303415079934132710037826936173778980444968292764750946649017977587207096330"
          "286416692887910946555547851940402630657488671505820681908902000708383676273854845817711531764475730270069"
          "855571366959622842914819860834936475292719074168444365510704342711559699508093042880",
          "0.00000000000000000000000000000000000000000000000000000000000000000000000000001",
          "1e99999999999999999999",
          "1e-99999999999999999999",
          "00000000000000000000000000000000000000000000012"})
        ExpectReadAsByStream(text);
}

TEST(ParseNumber, AgreesWithAStreamOnRandomSpellingsUnderAnyLocale) {
    HostileLocale const locale;
    std::mt19937 random(2);
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round)
        ExpectReadAsByStream(RandomSpelling(random));
}

TEST(FileNumbers, DoNotDependOnTheHostsLocale) {
    HostileLocale const locale;
    EXPECT_EQ(NumberText(int32_t{1234567}), "1234567");
    EXPECT_EQ(NumberText(int64_t{-9007199254740993}), "-9007199254740993");
    EXPECT_EQ(NumberText(uint64_t{18446744073709551615U}), "18446744073709551615");
    EXPECT_EQ(Spell(1234567.5), "1.2345675e+06");
    EXPECT_EQ(ParseNumber<double>("2.5"), 2.5);
    EXPECT_EQ(ParseNumber<double>(" +2.5x"), 2.5);
    EXPECT_EQ(ParseNumber<int32_t>("1.234"), 1);
    EXPECT_EQ(ParseNumber<int32_t>(" +1234567"), 1234567);
}

TEST(FileNumbers, AreWrittenAlikeInEveryRoundingMode) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 10000; ++round) {
        double const value =
            round % 2 ? RandomDouble(random) : static_cast<double>(random() % 1000000007) / (1 + round);
        if (!std::isfinite(value)) continue;
        std::string const text = Spell(value);
        for (int const mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            ASSERT_EQ(SpellInMode(mode, value), text) << "mode " << mode;
        }
    }
}

TEST(ParseNumber, ReadsTheWordForNotANumberAsADoubleOnly) {
    EXPECT_EQ(Bits(ParseNumber<double>("1.#QNAN")), 0x7FF8000000000000U);
    EXPECT_EQ(ParseNumber<double>("1.#QNAN "), 1.0);
    EXPECT_EQ(ParseNumber<double>("-1.#QNAN"), -1.0);
    EXPECT_EQ(ParseNumber<int32_t>("1.#QNAN"), 1);
}

TEST(ParseNumber, TellsWhatIsNoNumberOrNoPartOfIt) {
    EXPECT_THAT(OdditiesOf<int32_t>("twelve"), ElementsAre("not a number 0+6"));
    EXPECT_THAT(OdditiesOf<int32_t>(""), ElementsAre("not a number 0+0"));
    EXPECT_THAT(OdditiesOf<double>("1e"), ElementsAre("not a number 0+2"));
    EXPECT_THAT(OdditiesOf<int32_t>("12 pages"), ElementsAre("behind number 2+6"));
    EXPECT_THAT(OdditiesOf<int32_t>("0x10"), ElementsAre("behind number 1+3"));
    EXPECT_THAT(OdditiesOf<double>("1,5"), ElementsAre("behind number 1+2"));
}

TEST(ParseNumber, TellsWhatTheTypeCannotHold) {
    EXPECT_THAT(OdditiesOf<int32_t>("2147483648"), ElementsAre("out of range 0+10"));
    EXPECT_THAT(OdditiesOf<uint64_t>("18446744073709551616"), ElementsAre("out of range 0+20"));
    EXPECT_THAT(OdditiesOf<double>("1e999"), ElementsAre("out of range 0+5"));
    EXPECT_THAT(OdditiesOf<uint64_t>("-1"), ElementsAre("negative wraps 0+2"));
    EXPECT_THAT(OdditiesOf<uint64_t>("-1x"), ElementsAre("negative wraps 0+3", "behind number 2+1"));
}

TEST(ParseNumber, TellsNothingOfNumbersThatAreReadWhole) {
    for (char const* text : {"0", "-0", "+5", " 7", "007", "2147483647"})
        EXPECT_THAT(OdditiesOf<int32_t>(text), IsEmpty()) << text;
    for (char const* text : {"1.", "500.e-003", "1e-400", "1.#QNAN", "+.5"})
        EXPECT_THAT(OdditiesOf<double>(text), IsEmpty()) << text;
    EXPECT_THAT(OdditiesOf<uint64_t>("-"), ElementsAre("not a number 0+1"));
    EXPECT_THAT(OdditiesOf<uint64_t>("18446744073709551615"), IsEmpty());
}
