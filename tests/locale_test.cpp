// A file with values of every kind, written and read under the locales of a host: the same bytes under each. The golden
// file is also what a build with the other kind of plain char must write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/FileTickets.h"
#include "support/HostileLocale.h"

// The C library keeps its copy of LOCPATH whenever it opens a locale by name; that is no leak of ours.
extern "C" __attribute__((visibility("default"))) char const* __lsan_default_suppressions();
extern "C" char const* __lsan_default_suppressions() {
    return "leak:argz_add_sep";
}

namespace {

using namespace tickets;

constexpr char GROUPING[] = "grouping";  // the one that is made on the spot: decimal comma, grouped digits

// Keeps a locale of the host for both languages, by the name that the system knows.
class NamedLocale {
 public:
    explicit NamedLocale(std::string const& name) : m_previous(std::locale::global(std::locale(name))) {}
    ~NamedLocale() { std::locale::global(m_previous); }
    NamedLocale(NamedLocale const&) = delete;
    NamedLocale& operator=(NamedLocale const&) = delete;

 private:
    std::locale m_previous;
};

template <typename VALUE>
void Put(STICKET_ACCESS const* ticket, char const* key, PARAM_TYPE type, VALUE const& value, int index = SCALAR_INDEX) {
    EXPECT_EQ(ticket->SetParameter(ticket->pTicket, key, type, &value, index), 1) << key;
}

void FillWithEveryKind(STICKET_ACCESS const* ticket) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    Put(ticket, "Bytes/All", PARAM_BINSTR, BIN_STRING{all.data(), all.size()});
    Set(ticket, "Text/All", all.c_str() + 1);
    Set(ticket, "Text/I", "I \xC4\xB0 i \xC4\xB1");
    Set(ticket, "Text/Number", "1.234.567,89");
    for (double const number : {1234567.5, -0.5, 1e-300, 123456.75, 5e-324, 0.1})
        Set(ticket, "Number", number, APPEND_INDEX);
    Put(ticket, "Number", PARAM_DOUBLE, std::numeric_limits<double>::quiet_NaN(), APPEND_INDEX);
    for (int const number : {0, 1234567, -1234567, 2147483647}) Set(ticket, "Integer", number, APPEND_INDEX);
    Put(ticket, "Integer64", PARAM_INT64, int64_t{-9007199254740993});
    Put(ticket, "Unsigned64", PARAM_UINT64, uint64_t{18446744073709551615U});
    // Names in the order of their bytes, which go up to 255.
    for (char const* const name : {"a", "Z", "i", "I", "\xC3\x84", "\xC4\xB1", "\xE2\x82\xAC"})
        Set(ticket, (std::string("Names/") + name + "/v").c_str(), 1);
}

std::string Golden(char const* name) {
    return FileContent(std::string(TEST_DATA) + "/golden/" + name);
}

class Locales : public testing::TestWithParam<char const*> {
 protected:
    void SetUp() override {
        if (GetParam() == std::string(GROUPING)) {
            m_grouping = std::make_unique<HostileLocale>();
            return;
        }
        try {
            m_named = std::make_unique<NamedLocale>(GetParam());
        } catch (std::runtime_error const&) {
            GTEST_SKIP() << "this system has no locale " << GetParam();
        }
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");

 private:
    std::unique_ptr<HostileLocale> m_grouping;
    std::unique_ptr<NamedLocale> m_named;
};

}  // namespace

TEST_P(Locales, WriteTheSameFile) {
    OWNER const ticket(m_file.c_str());
    FillWithEveryKind(ticket);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Golden("every_kind.xml"));
}

TEST_P(Locales, ReadTheSameValues) {
    files::Write(m_file, Golden("every_kind.xml"));
    OWNER const expected;
    FillWithEveryKind(expected);
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(Count(ticket), Count(expected));
    struct COMPARE {
        STICKET_ACCESS const* other;
        static bool Take(void* compare, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto const* const other = static_cast<COMPARE*>(compare)->other;
            BIN_STRING bytes{};
            double number = 0;
            switch (type) {
                case PARAM_STRING:
                    EXPECT_EQ(GetText(other, key, index), static_cast<char const*>(value)) << key;
                    break;
                case PARAM_BINSTR:
                    EXPECT_EQ(other->GetParameter(other->pTicket, key, type, &bytes, index), 1) << key;
                    EXPECT_EQ(std::string(static_cast<char const*>(bytes.data), bytes.length), ValueText(type, value))
                        << key;
                    break;
                case PARAM_DOUBLE:
                    EXPECT_EQ(other->GetParameter(other->pTicket, key, type, &number, index), 1) << key;
                    EXPECT_EQ(std::memcmp(&number, value, sizeof number), 0) << key << ' ' << index;
                    break;
                default: {
                    int64_t integer = 0;
                    EXPECT_EQ(other->GetParameter(other->pTicket, key, PARAM_INT64, &integer, index), 1) << key;
                    EXPECT_EQ(std::to_string(integer),
                              std::to_string(type == PARAM_INT ? *static_cast<int const*>(value)
                                                               : *static_cast<int64_t const*>(value)))
                        << key;
                }
            }
            return true;
        }
    } compare{ticket};
    EXPECT_EQ(expected->WalkParameter(expected->pTicket, &COMPARE::Take, &compare, "", WALK_EVERYTHING), 1);
}

INSTANTIATE_TEST_SUITE_P(, Locales, testing::Values("C", GROUPING, "de_DE.UTF-8", "fr_FR.UTF-8", "tr_TR.UTF-8"),
                         [](auto const& locale) { return std::string(locale.param).substr(0, 2) + "Locale"; });
