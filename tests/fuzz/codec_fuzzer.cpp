// Compares the text and number codecs of a ticket file with simple references, first with the input as a text, then as
// the bits of numbers.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

#include "ConfigurationControl/MathLib.h"
#include "Format/Escapes.h"
#include "Format/Numbers.h"
#include "FuzzInput.h"
#include "FuzzText.h"

namespace {

using TICKET_FORMAT::ODDITY;
using TICKET_FORMAT::ODDITY_LISTENER;

constexpr int LARGEST_LIMIT = 16;
constexpr int MOST_NUMBERS = 16;

// ---- Texts

std::string Escape(unsigned char byte) {
    switch (byte) {
        case '\t':
            return "\\t";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\\':
            return "\\\\";
        default:
            break;
    }
    char text[8];
    std::snprintf(text, sizeof text, "\\x%02X", byte);
    return text;
}

std::string Encoded(std::string const& in) {
    std::string out;
    bool afterPlainSpace = false;
    for (char const c : in) {
        auto const byte = static_cast<unsigned char>(c);
        bool const isEscaped = byte < 0x20 || byte >= 0x7F || byte == '<' || byte == '>' || byte == '\\' ||
                               (byte == ' ' && afterPlainSpace);
        out += isEscaped ? Escape(byte) : std::string(1, c);
        afterPlainSpace = byte == ' ' && !isEscaped;
    }
    return out;
}

int Digit(char byte) {
    std::size_t const at = std::string("0123456789ABCDEF").find(byte);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

std::string Decoded(std::string const& in) {
    enum { PLAIN, ESCAPE, FIRST_DIGIT, SECOND_DIGIT } state = PLAIN;
    std::string out;
    char first = 0;
    if (in == "\\") return out;
    for (char const byte : in) {
        switch (state) {
            case PLAIN:
                byte == '\\' ? static_cast<void>(state = ESCAPE) : out.push_back(byte);
                continue;
            case ESCAPE:
                state = byte == 'x' ? FIRST_DIGIT : PLAIN;
                if (byte == '\\')
                    out += '\\';
                else if (byte == 'n')
                    out += '\n';
                else if (byte == 'r')
                    out += '\r';
                else if (byte == 't')
                    out += '\t';
                else if (byte != 'x')
                    out += std::string("\\") + byte;
                continue;
            case FIRST_DIGIT:
                first = byte;
                state = Digit(byte) >= 0 ? SECOND_DIGIT : PLAIN;
                if (state == PLAIN) out += std::string("\\x") + byte;
                continue;
            case SECOND_DIGIT:
                state = PLAIN;
                if (Digit(byte) >= 0)
                    out += static_cast<char>(Digit(first) * 16 + Digit(byte));
                else
                    out += std::string("\\x") + first + byte;
                continue;
        }
    }
    return out;
}

// The text after a save and a load: a single space at either end is lost.
std::string Reloaded(std::string const& text) {
    std::size_t const last = text.find_last_not_of(' ');
    std::size_t const ending = text.size() - (last == std::string::npos ? 0 : last + 1);
    bool const losesFirst = !text.empty() && text.front() == ' ';
    bool const losesLast = ending % 2 == 1 && text.size() > (losesFirst ? 1 : 0);
    return text.substr(losesFirst ? 1 : 0, text.size() - (losesFirst ? 1 : 0) - (losesLast ? 1 : 0));
}

// Counts the reported oddities, which must lie inside the text in ascending order.
class LISTENER final : public ODDITY_LISTENER {
 public:
    explicit LISTENER(std::string const& text) : m_size(text.size()) {}
    void Tell(ODDITY oddity, std::size_t offset, std::size_t length) override {
        bool const isAboutAll = oddity == ODDITY::NOT_A_NUMBER || oddity == ODDITY::OUT_OF_RANGE;
        MUST_HOLD(length > 0 || isAboutAll);
        MUST_HOLD(offset >= m_next && offset <= m_size && length <= m_size - offset);
        if (oddity != ODDITY::NEGATIVE_WRAPS) m_next = offset + length;
        ++m_count;
    }
    int Count() const { return m_count; }

 private:
    std::size_t m_size;
    std::size_t m_next = 0;
    int m_count = 0;
};

// If the decoder reports no oddity, each backslash was an escape: encoding and decoding again gives the same bytes.
void CheckOddities(std::string const& bytes) {
    LISTENER ofEscapes(bytes);
    std::string decoded;
    DecodeTo(decoded, bytes, &ofEscapes);
    MustBeSame(decoded, Decoded(bytes), "decoded and told");
    auto const backslashes = std::count(bytes.begin(), bytes.end(), '\\');
    MUST_HOLD(ofEscapes.Count() <= backslashes);
    bool const isShorter = decoded.size() < bytes.size();
    MUST_HOLD(bytes == "\\" || ofEscapes.Count() > 0 || isShorter == (backslashes > 0));

    std::string scratch;
    LISTENER ofSpace(bytes);
    std::string const normal(NormaliseSpace(bytes, scratch, &ofSpace));
    MUST_HOLD((ofSpace.Count() > 0) == (normal != bytes));
}

void CheckTexts(std::string const& bytes) {
    MustBeSame(EncodeString(bytes), Encoded(bytes), "encoded");
    MustBeSame(DecodeString(bytes), Decoded(bytes), "decoded");
    MustBeSame(DecodeString(EncodeString(bytes)), bytes, "encoded and decoded");
    std::string appended = "before";
    DecodeTo(appended, bytes);
    MustBeSame(appended, "before" + Decoded(bytes), "appended");

    CheckOddities(bytes);

    std::string const text = bytes.c_str();
    std::string scratch = "used before";
    MustBeSame(std::string(NormaliseSpace(text, scratch)), Normalised(text), "normalised");
    MustBeSame(DecodeString(std::string(NormaliseSpace(EncodeString(bytes), scratch))), Reloaded(bytes), "reloaded");
    bool const isUnchanged = Normalised(text) == text && text.find('\\') == std::string::npos;
    MUST_HOLD(PlainLength(text.c_str()) == (isUnchanged ? text.size() : std::string::npos));
}

// ---- Numbers

template <typename NUMBER>
std::string Bits(NUMBER number) {
    return std::string(reinterpret_cast<char const*>(&number), sizeof number);
}

template <typename NUMBER>
NUMBER Extracted(std::string const& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    NUMBER number{};
    stream >> number;
    return number;
}

template <typename INTEGER>
std::string Printed(INTEGER number) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << number;
    return stream.str();
}

// Formats a finite number by the documented steps, applied to its text.
std::string Formatted(double value, int limit) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(16);
    stream << std::scientific << value;
    std::string text = stream.str();
    if (std::abs(value) < 2.2250738585072014e-308) return text;

    std::size_t const mark = text.find('e');
    int const exponent = std::stoi(text.substr(mark + 1));
    std::string mantissa = text.substr(0, mark);
    std::string ending = text.substr(mark);
    int shift = 0;
    if (exponent >= 0 && exponent <= limit) {
        shift = exponent;
        ending.clear();
    } else if (exponent % 3 != 0) {
        shift = exponent > 0 ? exponent % 3 : exponent % 3 + 3;
        char changed[16];
        std::snprintf(changed, sizeof changed, "e%c%03d", exponent > 0 ? '+' : '-', std::abs(exponent - shift));
        ending = changed;
    }
    std::size_t const point = mantissa.find('.');
    mantissa.erase(point, 1).insert(point + static_cast<std::size_t>(shift), ".");
    mantissa.erase(mantissa.find_last_not_of('0') + 1);
    return mantissa + ending;
}

std::string Formatted(BestDouble const& number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

template <typename INTEGER>
void CheckInteger(INTEGER number) {
    std::string const text = NumberText(number);
    MustBeSame(text, Printed(number), "integer");
    MUST_HOLD(ParseNumber<INTEGER>(text) == number);
}

void CheckDouble(double number, int limit) {
    if (std::isinf(number)) {
        bool threw = false;
        try {
            Formatted(BestDouble{number, limit});
        } catch (char const*) {
            threw = true;
        }
        MUST_HOLD(threw);
        return;
    }
    if (std::isnan(number)) return MustBeSame(Formatted(BestDouble{number, limit}), "1.#QNAN", "not a number");
    MustBeSame(Formatted(BestDouble{number, limit}), Formatted(number, limit), "double");
    MUST_HOLD(Bits(ParseNumber<double>(Formatted(number, limit))) == Bits(number));
}

template <typename NUMBER>
void CheckOdditiesOfNumber(std::string const& text) {
    LISTENER listener(text);
    NUMBER const number = ParseNumber<NUMBER>(text, &listener);
    MUST_HOLD(Bits(number) == Bits(ParseNumber<NUMBER>(text)));
    bool const isNan = std::is_same_v<NUMBER, double> && text == "1.#QNAN";
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    NUMBER read{};
    bool const isWhole = stream >> read && stream.peek() == std::istringstream::traits_type::eof();
    bool const isPositive = !std::is_unsigned_v<NUMBER> || text.find('-') == std::string::npos;
    if (isWhole && isPositive) MUST_HOLD(listener.Count() == 0);
    if (!isWhole && !isNan) MUST_HOLD(listener.Count() > 0);
}

void CheckSpelledNumber(std::string const& text) {
    MustBeSame(Bits(ParseNumber<std::int32_t>(text)), Bits(Extracted<std::int32_t>(text)), "int");
    MustBeSame(Bits(ParseNumber<std::int64_t>(text)), Bits(Extracted<std::int64_t>(text)), "int64");
    MustBeSame(Bits(ParseNumber<std::uint64_t>(text)), Bits(Extracted<std::uint64_t>(text)), "uint64");
    bool const isNan = text == "1.#QNAN";
    MustBeSame(Bits(ParseNumber<double>(text)),
               Bits(isNan ? std::numeric_limits<double>::quiet_NaN() : Extracted<double>(text)), "double");
    CheckOdditiesOfNumber<std::int32_t>(text);
    CheckOdditiesOfNumber<std::int64_t>(text);
    CheckOdditiesOfNumber<std::uint64_t>(text);
    CheckOdditiesOfNumber<double>(text);
    CheckInteger(ParseNumber<std::int32_t>(text));
    CheckInteger(ParseNumber<std::int64_t>(text));
    CheckInteger(ParseNumber<std::uint64_t>(text));
    CheckDouble(ParseNumber<double>(text), BestDouble::FILE_LIMIT);
}

// ---- Conversions

double Rounded(double value) {
    if (!(value < 0 || value > 0)) return 0;
    if (std::abs(value) > 4503599627370495.0) return value;
    return value > 0 ? std::floor(value + 0.5) : -std::floor(0.5 - value);
}

template <typename INTEGER>
INTEGER Saturated(double value, double first, double behindLast) {
    if (!(value >= first)) return std::numeric_limits<INTEGER>::min();
    return value < behindLast ? static_cast<INTEGER>(value) : std::numeric_limits<INTEGER>::max();
}

void CheckRounding(double value) {
    double const rounded = Rounded(value);
    MUST_HOLD(MathLib::Round(value) == rounded);
    MUST_HOLD(MathLib::RoundToInt(value) == Saturated<int>(rounded, -0x1p31, 0x1p31));
    MUST_HOLD(MathLib::RoundToUnsigned(value) == Saturated<unsigned int>(rounded, 0, 0x1p32));
    MUST_HOLD(MathLib::RoundToI64(value) == Saturated<long long>(rounded, -0x1p63, 0x1p63));
    MUST_HOLD(MathLib::RoundToU64(value) ==
              (std::isinf(value) ? UINT64_MAX : Saturated<unsigned long long>(rounded, 0, 0x1p64)));
    MUST_HOLD(MathLib::DoubleToU64(value) ==
              (std::isfinite(value) ? Saturated<unsigned long long>(value, 0, 0x1p64) : UINT64_MAX));
    MUST_HOLD(MathLib::IsNotANumber(value) == !std::isfinite(value));
}

// From 2^63 up, doubles are 2048 apart; ties are rounded up, and no result reaches 2^64.
void CheckUnsigned(std::uint64_t value) {
    double expected = static_cast<double>(value);
    if (value >= std::uint64_t{1} << 63) {
        std::uint64_t const steps = value / 2048 + (value % 2048 >= 1024 ? 1 : 0);
        std::uint64_t const most = (std::uint64_t{1} << 53) - 1;
        expected = static_cast<double>(steps < most ? steps : most) * 2048;
    }
    MUST_HOLD(MathLib::U64ToDouble(value) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    CheckTexts(bytes);
    CheckSpelledNumber(bytes);

    INPUT input(data, size);
    for (int i = 0; i < MOST_NUMBERS && !input.IsEmpty(); ++i) {
        auto const word = input.Number<std::uint64_t>();
        double number;
        std::memcpy(&number, &word, sizeof number);
        CheckDouble(number, BestDouble::FILE_LIMIT);
        CheckDouble(number, static_cast<int>(word % (LARGEST_LIMIT + 1)));
        CheckInteger(static_cast<std::int32_t>(word));
        CheckInteger(static_cast<std::int64_t>(word));
        CheckInteger(word);
        CheckRounding(number);
        CheckRounding(static_cast<double>(static_cast<std::int64_t>(word)) / 2);
        CheckUnsigned(word);
    }
    return 0;
}
