// The caches that keep one stable copy of each distinct value.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "ConfigurationControl/ValueCaches.h"

namespace {

std::string Bytes(BIN_STRING const& bytes) {
    return {static_cast<char const*>(bytes.data), bytes.length};
}

TEST(ValueCache, EqualValuesShareOneCopy) {
    VALCACHE<int> cache;
    int const* const first = cache.Add(7);
    EXPECT_EQ(cache.Add(7), first);
    EXPECT_NE(cache.Add(8), first);
    EXPECT_EQ(*first, 7);
}

TEST(ValueCache, CopiesStayWhereTheyAreWhileTheCacheGrows) {
    VALCACHE<unsigned long long> cache;
    unsigned long long const* const first = cache.Add(500);
    for (unsigned long long value = 0; value < 1000; ++value) cache.Add(value);
    EXPECT_EQ(cache.Add(500), first);
    EXPECT_EQ(*first, 500u);
}

TEST(ValueCache, DoublesKeepTheSignOfZeroAndMayBeNan) {
    VALCACHE<double> cache;
    EXPECT_FALSE(std::signbit(*cache.Add(0.0)));
    EXPECT_TRUE(std::signbit(*cache.Add(-0.0)));
    double const* const nan = cache.Add(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(*nan));
    EXPECT_EQ(*cache.Add(1.5), 1.5);
    EXPECT_EQ(cache.Add(std::numeric_limits<double>::quiet_NaN()), nan);
    EXPECT_EQ(*cache.Add(-std::numeric_limits<double>::infinity()), -std::numeric_limits<double>::infinity());
}

TEST(StringCache, ReplacesThePointerByTheOneStoredCopy) {
    STRINGCACHE cache;
    std::string text = "value";
    char const* first = text.c_str();
    EXPECT_EQ(cache(first), 1);
    EXPECT_NE(first, text.c_str());
    text = "other";
    EXPECT_STREQ(first, "value");

    char const* second = "value";
    EXPECT_EQ(cache(second), 1);
    EXPECT_EQ(second, first);
    EXPECT_EQ(cache(second), 1) << "a pointer of its own is left as it is";
    EXPECT_EQ(second, first);
}

TEST(StringCache, LeavesANullPointerAlone) {
    STRINGCACHE cache;
    char const* text = nullptr;
    EXPECT_EQ(cache(text), 0);
    EXPECT_EQ(text, nullptr);
    EXPECT_FALSE(cache.find(nullptr));
}

TEST(StringCache, KeepsOneCopyInWhateverOrderTextsCome) {
    STRINGCACHE cache;
    std::vector<char const*> stored;
    char const* const texts[] = {"m", "z", "a", "mm", "", "m", "z", "zz", "zz", "a", "mm", "", "y", "b"};
    for (char const* text : texts) {
        cache(text);
        stored.push_back(text);
    }
    for (std::size_t i = 0; i < stored.size(); ++i) {
        EXPECT_STREQ(stored[i], texts[i]);
        for (std::size_t other = 0; other < i; ++other)
            EXPECT_EQ(stored[i] == stored[other], std::string(texts[i]) == texts[other]) << texts[i];
    }
}

TEST(StringCache, FindsExactTextsUntilCleared) {
    STRINGCACHE cache;
    char const* text = "Log/Level";
    cache(text);
    EXPECT_TRUE(cache.find("Log/Level"));
    EXPECT_FALSE(cache.find("Log/"));
    EXPECT_FALSE(cache.find("Log/Levels"));
    EXPECT_FALSE(cache.find(""));
    char const* empty = "";
    cache(empty);
    EXPECT_TRUE(cache.find(""));
    cache.clear();
    EXPECT_FALSE(cache.find("Log/Level"));
}

TEST(BinaryCache, CopiesBytesWithTheirZeros) {
    BIN_STRING_CACHE cache;
    char data[] = {'a', '\0', 'b'};
    BIN_STRING const* const stored = cache.Add({data, sizeof data});
    data[0] = 'x';
    EXPECT_EQ(Bytes(*stored), std::string("a\0b", 3));
    EXPECT_NE(stored->data, data);
}

TEST(BinaryCache, SharesEqualBytesAndTellsLengthsApart) {
    BIN_STRING_CACHE cache;
    BIN_STRING const* const two = cache.Add({"ab", 2});
    BIN_STRING const* const three = cache.Add({"ab\0", 3});
    BIN_STRING const* const high = cache.Add({"\xFF", 1});
    EXPECT_NE(two, three);
    EXPECT_EQ(cache.Add({std::string("ab").c_str(), 2}), two);
    EXPECT_EQ(cache.Add({"ab\0", 3}), three);
    EXPECT_EQ(cache.Add({"\xFF", 1}), high);
    EXPECT_EQ(cache.Add(*two), two) << "its own bytes may be added again";
}

TEST(BinaryCache, NullDataIsTheEmptyByteStringWhateverTheLength) {
    BIN_STRING_CACHE cache;
    BIN_STRING const* const stored = cache.Add({nullptr, 12});
    EXPECT_EQ(stored->length, 0u);
    EXPECT_EQ(cache.Add({"", 0}), stored);
    EXPECT_EQ(cache.Add({nullptr, std::numeric_limits<uint64_t>::max()}), stored);
}

}  // namespace
