// Every file that a save writes can be loaded: a save refuses a ticket whose file a load would refuse.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketServices.h"
#include "Format/KeyLimit.h"
#include "Format/StreamWriter.h"
#include "Format/TreeWriter.h"
#include "support/FileText.h"
#include "support/FileTickets.h"
#include "support/Repeated.h"

// Skip the flush: no test here is about power loss.
extern "C" int fsync(int /*file*/) {
    return 0;
}

namespace {

using namespace tickets;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr std::size_t LIMIT = TICKET_FORMAT::LONGEST_KEYS;

// Keys of the same length below one path, with as many values each.
struct SHAPE {
    std::string path;  // ends in "/"
    std::size_t keys;
    std::size_t values;
};

std::string Numbered(std::size_t number) {
    std::string digits = std::to_string(number);
    return "k" + std::string(8 - digits.size(), '0') + digits;
}

template <typename WRITER>
void Fill(WRITER& writer, SHAPE const& shape) {
    int32_t const value = 1;
    std::string key = shape.path;
    for (std::size_t i = 0; i < shape.keys; ++i) {
        key.replace(shape.path.size(), std::string::npos, Numbered(i));
        for (std::size_t j = 0; j < shape.values; ++j)
            ASSERT_TRUE(WRITER::SaveOne(&writer, key.c_str(), PARAM_INT, &value, 0));
    }
}

// The text of a file with these keys; nothing if the writer refuses.
std::optional<std::string> WrittenAtOnce(SHAPE const& shape) {
    STREAM_WRITER stream(nullptr);
    Fill(stream, shape);
    EXPECT_FALSE(stream.IsRefused());
    try {
        return std::string(stream.Finish().View());
    } catch (std::bad_alloc const&) {
        return std::nullopt;
    }
}

std::optional<std::string> WrittenFromATree(SHAPE const& shape) {
    TREE_WRITER tree(nullptr, nullptr);
    Fill(tree, shape);
    try {
        return std::string(tree.Serialise().View());
    } catch (std::bad_alloc const&) {
        return std::nullopt;
    }
}

int CountOne(void* count, std::string_view /*key*/, PARAM_TYPE /*type*/, void const* /*value*/, int /*index*/) {
    ++*static_cast<std::size_t*>(count);
    return 1;
}

// How many values the text sets; nothing if a load refuses it.
std::optional<std::size_t> Loaded(std::string const& text) {
    std::size_t count = 0;
    if (!FileText::Read(text, &CountOne, &count)) return std::nullopt;
    return count;
}

void ExpectWrittenAsItLoads(SHAPE const& shape, bool isWritten) {
    auto const text = WrittenAtOnce(shape);
    ASSERT_EQ(text.has_value(), isWritten);
    ASSERT_EQ(WrittenFromATree(shape), text);
    if (text) {
        ASSERT_EQ(Loaded(*text), shape.keys * shape.values);
    }
}

class WhatIsSaved : public testing::Test {
 protected:
    std::size_t LoadedCount() {
        OWNER const ticket(m_file.c_str());
        return Count(ticket);
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST_F(WhatIsSaved, LoadsForALongVectorBelowALongComponent) {
    struct CASE {
        std::size_t length;
        int elements;
    };
    for (auto const& [length, elements] : {CASE{65000, 4200}, CASE{1000, 270000}}) {
        std::filesystem::remove(m_file);
        {
            OWNER const ticket(m_file.c_str());
            std::string const key = std::string(length, 'k') + "/v";
            for (int i = 0; i < elements; ++i) Set(ticket, key.c_str(), i, APPEND_INDEX);
        }
        EXPECT_EQ(LoadedCount(), static_cast<std::size_t>(elements)) << length;
    }
}

TEST_F(WhatIsSaved, IsNothingAndTheOldFileStaysWhereALoadWouldRefuseTheKeys) {
    std::string const before = Document({"<a type=\"int\">1</a>"});
    Write(m_file, before);
    {
        OWNER const ticket(m_file.c_str());
        std::string const path = std::string(65000, 'k') + "/";
        for (std::size_t i = 0; i < 4200; ++i) Set(ticket, (path + Numbered(i)).c_str(), 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 0);
        TICKET_SAVE_OUTCOME outcome{sizeof outcome, 0, 0, 0};
        EXPECT_EQ(TicketGetSaveOutcome(ticket, &outcome), 1);
        EXPECT_EQ(outcome.nStep, static_cast<uint32_t>(TICKET_SAVE_CONTENT_NESTING));
        EXPECT_EQ(FileContent(m_file), before);
        EXPECT_EQ(Count(ticket), 4201U);
    }  // the end of the ticket tries again
    EXPECT_EQ(FileContent(m_file), before);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST(KeyLimit, IsTheSameForBothWritersAndForTheReader) {
    constexpr std::size_t EXACT = 16384;  // of such keys the last allowed one reaches the limit to the byte
    for (std::size_t const length : {std::size_t{9991}, std::size_t{65521}, EXACT - Numbered(0).size()}) {
        std::string const path = std::string(length - 1, 'p') + "/";
        std::size_t const most = LIMIT / (length + Numbered(0).size());
        ExpectWrittenAsItLoads({path, most, 1}, true);
        ExpectWrittenAsItLoads({path, most + 1, 1}, false);
        ExpectWrittenAsItLoads({path, most / 2, 3}, true);
    }
}

TEST(KeyLimit, DoesNotCountElementsThatKeysLeaveOut) {
    std::string const part(5000, 'p');
    std::string const path = part + "/ticket/ticket/" + part + "/ticket/";
    std::size_t const most = LIMIT / (2 * (part.size() + 1) + Numbered(0).size());
    ExpectWrittenAsItLoads({path, most, 1}, true);
    ExpectWrittenAsItLoads({path, most + 1, 1}, false);
}

TEST(KeyLimit, CountsWhatKeysGainByWritingThem) {
    std::string const part(9990, 'p');  // only the tree writer writes an empty component, as "anonymous"
    std::size_t const most = LIMIT / (part.size() + 1 + 10 + Numbered(0).size());
    for (std::size_t const keys : {most, most + 1}) {
        // Each key gets an element of its own.
        auto const text = WrittenFromATree({part + "//", keys, 1});
        ASSERT_EQ(text.has_value(), keys == most);
        if (text) {
            EXPECT_EQ(Loaded(*text), keys);
        }
    }
}

TEST(KeyLimit, IsTheSameForRandomShapesNearIt) {
    std::mt19937 random(1);
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        SHAPE shape{"", 0, 1 + random() % 3};
        std::size_t length = 0;
        for (auto components = 1 + random() % 4; components > 0; --components) {
            bool const isLeftOut = random() % 4 == 0;
            std::string const component = isLeftOut ? "ticket" : std::string(5000 + random() % 20000, 'c');
            shape.path += component + "/";
            if (!isLeftOut) length += component.size() + 1;
        }
        if (length == 0) continue;
        std::size_t const most = LIMIT / (length + Numbered(0).size());
        shape.keys = most - 3 + random() % 7;
        ExpectWrittenAsItLoads(shape, shape.keys <= most);
    }
}

namespace {

unsigned int Rounds() {
    char const* const rounds = std::getenv("ROUNDS");
    return rounds != nullptr ? static_cast<unsigned int>(std::strtoul(rounds, nullptr, 10)) : 300;
}

std::string RandomKey(std::mt19937& random, std::vector<std::string> const& used) {
    std::string key;
    if (!used.empty() && random() % 3 == 0) key = used[random() % used.size()] + "/";
    for (auto more = random() % 4; more > 0; --more) key += std::string(1 + random() % 3, "ab-"[random() % 3]) + "/";
    if (random() % 30 == 0) key += Repeated("d/", 200);
    if (random() % 30 == 0) key += std::string(20000, 'l') + "/";
    return key + "k" + std::to_string(random() % 20);
}

// Sets a random value that a save and a load do not change.
void SetRandomValue(std::mt19937& random, STICKET_ACCESS const* ticket, std::string const& key, int index) {
    auto const set = [&](PARAM_TYPE type, void const* value) {
        ASSERT_EQ(ticket->SetParameter(ticket->pTicket, key.c_str(), type, value, index), 1) << key;
    };
    int const whole = static_cast<int>(random());
    double const fraction =
        std::ldexp(1 + 2 * static_cast<double>(random() >> 8), -static_cast<int>(random() % 90) - 1);
    int64_t const large = -9007199254740993 - whole % 1000;
    uint64_t const largest = UINT64_MAX - random() % 1000;
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    BIN_STRING const binary{bytes.data(), bytes.size()};
    std::string const text =
        random() % 50 == 0 ? Repeated("a\xFF <\\  ", 20000) + "." : "x" + bytes.substr(0, bytes.find('\0')) + "x";
    switch (random() % 6) {
        case 0:
            return set(PARAM_INT, &whole);
        case 1:
            return set(PARAM_DOUBLE, &fraction);
        case 2:
            return set(PARAM_INT64, &large);
        case 3:
            return set(PARAM_UINT64, &largest);
        case 4:
            return bytes.empty() || (bytes.front() != ' ' && bytes.back() != ' ') ? set(PARAM_BINSTR, &binary) : void();
        default:
            return set(PARAM_STRING, text.c_str());
    }
}

}  // namespace

// Shapes: values of all types, vectors of two to 40 elements, values with others below them, deep and long keys.
TEST_F(WhatIsSaved, LoadsAsItWasForRandomTicketsOfAllTypesAndShapes) {
    for (unsigned int round = 0; round < Rounds(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        std::mt19937 random(round);
        std::filesystem::remove(m_file);
        LINES held;
        {
            OWNER const ticket(m_file.c_str());
            std::vector<std::string> used;
            for (auto left = 1 + random() % 30; left > 0; --left) {
                std::string const key = RandomKey(random, used);
                used.push_back(key);
                SetRandomValue(random, ticket, key, SCALAR_INDEX);
                if (random() % 4 != 0) continue;
                Set(ticket, key.c_str(), 1, SCALAR_INDEX);
                for (auto more = 1 + random() % 40; more > 0; --more) SetRandomValue(random, ticket, key, APPEND_INDEX);
            }
            held = Contents(ticket);
        }
        OWNER const ticket(m_file.c_str());
        ASSERT_THAT(Contents(ticket), ElementsAreArray(held));
    }
}
