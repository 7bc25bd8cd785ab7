// The container of a ticket's parameters, compared with a standard map, also when memory runs out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <new>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Store/ParameterMap.h"
#include "support/FailingAllocations.h"

namespace {

// Counts its living copies, so that a leaked or doubly destroyed value shows.
class VALUE {
 public:
    VALUE() { ++s_living; }
    explicit VALUE(int number) : m_number(number), m_tag(1) { ++s_living; }
    VALUE(VALUE const& other) : m_number(other.m_number), m_tag(other.m_tag) { ++s_living; }
    VALUE& operator=(VALUE const&) = default;
    ~VALUE() { --s_living; }
    int Number() const { return m_tag ? m_number : -1; }
    static int Living() { return s_living; }

 private:
    static int s_living;
    alignas(8) int m_number = 0;
    unsigned char m_tag = 0;  // followed by padding, as in a ticket's value
};
int VALUE::s_living = 0;

// Whether `action` runs out of memory when only its first `granted` allocations succeed.
template <typename ACTION>
bool IsOutOfMemory(int granted, ACTION const& action) {
    try {
        allocations::With(granted, action);
        return false;
    } catch (std::bad_alloc const&) {
        return true;
    }
}

using MAP = PARAMETER_MAP<VALUE>;
using MODEL = std::map<std::string, int>;

std::vector<std::pair<std::string, int>> Content(MAP const& map) {
    std::vector<std::pair<std::string, int>> content;
    for (auto position = map.First(); position; position = map.Next(position))
        content.emplace_back(position.Key(), position.Value().Number());
    return content;
}

std::vector<std::pair<std::string, int>> Content(MODEL const& model) {
    return {model.begin(), model.end()};
}

std::string KeyNumber(int number) {
    return "Group" + std::to_string(number / 100) + "/Key" + std::to_string(number % 100);
}

std::vector<int> Numbers(int count) {
    std::vector<int> numbers;
    for (int i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
}

std::vector<int> ShuffledNumbers(int count) {
    auto numbers = Numbers(count);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(3));
    return numbers;
}

// A key from a small set with very different lengths, all byte values, and keys that are prefixes of others.
std::string RandomKey(std::mt19937& random) {
    static constexpr std::size_t LENGTHS[] = {0, 1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 25, 31, 33, 64, 1000, 1100, 5000};
    std::size_t const length = LENGTHS[random() % std::size(LENGTHS)];
    std::string key(length, static_cast<char>(random() % 4 * 85));
    for (auto i = random() % 3; i > 0 && length > 0; --i) key[random() % length] = static_cast<char>(random() % 4);
    return key;
}

TEST(ParameterMap, TellsKeysOfEveryLengthApartByEachOfTheirBytes) {
    for (std::size_t length = 0; length <= 40; ++length) {
        PARAMETER_MAP<VALUE> map;
        std::string key(length, 'k');
        map.FindOrInsert(key) = VALUE(-2);
        for (std::size_t i = 0; i < length; ++i) {
            key[i] = 'x';
            EXPECT_EQ(map.Find(key), nullptr) << length << " " << i;
            map.FindOrInsert(key) = VALUE(static_cast<int>(i));
            key[i] = 'k';
        }
        for (std::size_t i = 0; i < length; ++i) {
            key[i] = 'x';
            ASSERT_NE(map.Find(key), nullptr);
            EXPECT_EQ(map.Find(key)->Number(), static_cast<int>(i));
            key[i] = 'k';
        }
        EXPECT_EQ(map.Find(key)->Number(), -2);
        EXPECT_EQ(map.Find(key + '\0'), nullptr);
    }
}

TEST(ParameterMap, BehavesAsAnOrderedMapUnderRandomOperations) {
    std::mt19937 random(11);
    MAP map;
    MODEL model;
    for (int step = 0; step < 20000; ++step) {
        std::string const key = RandomKey(random);
        switch (random() % 8) {
            case 0:
            case 1:
            case 2:
            case 3:
                map.FindOrInsert(key) = VALUE(step);
                model[key] = step;
                break;
            case 4:
            case 5:
                ASSERT_EQ(map.Erase(key), model.erase(key) == 1);
                break;
            case 6: {
                auto const found = model.find(key);
                VALUE const* const value = map.Find(key);
                ASSERT_EQ(value != nullptr, found != model.end());
                if (value) {
                    ASSERT_EQ(value->Number(), found->second);
                }
                break;
            }
            default: {
                auto const next = model.upper_bound(key);
                auto const position = map.After(key);
                ASSERT_EQ(static_cast<bool>(position), next != model.end());
                if (position) {
                    ASSERT_EQ(position.Key(), next->first);
                }
            }
        }
        if (random() % 5000 == 0) {
            map.Clear();
            model.clear();
        }
        if (step % 500 == 0) {
            ASSERT_EQ(Content(map), Content(model));
        }
    }
    EXPECT_EQ(Content(map), Content(model));
    EXPECT_EQ(VALUE::Living(), static_cast<int>(model.size()));
}

TEST(ParameterMap, IsInOrderWhateverOrderKeysComeAndGoIn) {
    constexpr int COUNT = 3000;  // several pages of the index
    auto const ascending = Numbers(COUNT);
    std::vector<int> const descending(ascending.rbegin(), ascending.rend());
    auto const shuffled = ShuffledNumbers(COUNT);
    for (auto const* const coming : {&ascending, &descending, &shuffled}) {
        for (auto const* const going : {&ascending, &descending, &shuffled}) {
            MAP map;
            MODEL model;
            for (int const number : *coming) {
                map.FindOrInsert(KeyNumber(number)) = VALUE(number);
                model[KeyNumber(number)] = number;
            }
            ASSERT_EQ(Content(map), Content(model));
            for (std::size_t i = 0; i < going->size(); ++i) {
                ASSERT_TRUE(map.Erase(KeyNumber((*going)[i])));
                model.erase(KeyNumber((*going)[i]));
                if (i % 250 == 0) {
                    ASSERT_EQ(Content(map), Content(model));
                }
            }
            EXPECT_FALSE(map.First());
        }
    }
}

TEST(ParameterMap, KnowsEachOfTheKeysThatJustCameInOrder) {
    auto const filled = [](int count) {
        MAP map;
        for (int number = 0; number < count; ++number)
            map.FindOrInsert("Key" + std::to_string(100 + number)) = VALUE(number);
        return map;
    };
    for (int count = 1; count < 50; ++count) {
        SCOPED_TRACE(count);
        for (int number = 0; number < count; ++number) {
            std::string const key = "Key" + std::to_string(100 + number);
            MAP found = filled(count);
            ASSERT_NE(found.Find(key), nullptr);
            EXPECT_EQ(found.Find(key)->Number(), number);

            MAP set = filled(count);
            set.FindOrInsert(key) = VALUE(-number);
            EXPECT_EQ(Content(set).size(), static_cast<std::size_t>(count));
            EXPECT_EQ(set.Find(key)->Number(), -number);

            MAP erased = filled(count);
            EXPECT_TRUE(erased.Erase(key));
            EXPECT_FALSE(erased.Erase(key));
            EXPECT_EQ(Content(erased).size(), static_cast<std::size_t>(count - 1));
        }
        MAP cleared = filled(count);
        cleared.Clear();
        EXPECT_EQ(cleared.Find("Key100"), nullptr);
        cleared = filled(count);
        cleared.FindOrInsert("Before") = VALUE(7);
        EXPECT_EQ(Content(cleared).front(), (std::pair<std::string, int>("Before", 7)));
        EXPECT_EQ(cleared.Find("Key100")->Number(), 0);
    }
}

TEST(ParameterMap, FindsNothingWhenEmpty) {
    MAP const map;
    EXPECT_EQ(map.Find(""), nullptr);
    EXPECT_EQ(map.Find("a"), nullptr);
    EXPECT_FALSE(map.First());
    EXPECT_FALSE(map.After(""));
    EXPECT_FALSE(MAP().Erase("a"));
}

TEST(ParameterMap, OrdersKeysByUnsignedBytesAndShorterFirst) {
    MAP map;
    std::vector<std::string> const ordered = {"",
                                              std::string(1, '\0'),
                                              std::string(2, '\0'),
                                              "a",
                                              std::string("a\0b", 3),
                                              "aa",
                                              "b",
                                              "\x7f",
                                              "\x80",
                                              "\xff",
                                              "\xff\xff"};
    for (auto key = ordered.rbegin(); key != ordered.rend(); ++key) map.FindOrInsert(*key);
    std::vector<std::string> walked;
    for (auto const& [key, number] : Content(map)) walked.push_back(key);
    EXPECT_EQ(walked, ordered);
}

TEST(ParameterMap, EndsEveryKeyWithANul) {
    MAP map;
    for (std::size_t length = 0; length < 3000; ++length) map.FindOrInsert(std::string(length, 'k'));
    for (auto position = map.First(); position; position = map.Next(position))
        EXPECT_EQ(position.Key().data()[position.Key().size()], '\0');
}

TEST(ParameterMap, ValuesAndKeysStayWhereTheyAreUntilTheirKeyIsErased) {
    constexpr int COUNT = 5000;
    MAP map;
    std::map<std::string, std::pair<VALUE const*, char const*>> places;
    for (int const number : ShuffledNumbers(COUNT)) {
        VALUE const* const value = &map.FindOrInsert(KeyNumber(number));
        places[KeyNumber(number)].first = value;
    }
    for (auto position = map.First(); position; position = map.Next(position))
        places[std::string(position.Key())].second = position.Key().data();
    for (int number = 0; number < COUNT; number += 2) {
        map.Erase(KeyNumber(number));
        map.FindOrInsert("another " + KeyNumber(number));
    }
    for (int number = 1; number < COUNT; number += 2) {
        auto const& [value, text] = places[KeyNumber(number)];
        ASSERT_EQ(map.Find(KeyNumber(number)), value);
        ASSERT_EQ(text, KeyNumber(number));
    }
}

TEST(ParameterMap, HoldsKeysOfAMegabyte) {
    constexpr std::size_t LENGTH = 1 << 20;
    std::size_t const before = allocations::t_heldBytes;
    MAP map;
    std::string key(LENGTH, 'x');
    for (char c = 'a'; c <= 'z'; ++c) {
        key.back() = c;
        map.FindOrInsert(key) = VALUE(c);
    }
    for (char c = 'a'; c <= 'z'; ++c) {
        key.back() = c;
        ASSERT_EQ(map.Find(key)->Number(), c);
        if (c % 2) {
            ASSERT_TRUE(map.Erase(key));
        }
    }
    EXPECT_LT(allocations::t_heldBytes - before, 15 * LENGTH);  // the memory of large keys is freed at once
    for (char c = 'a'; c <= 'z'; ++c) {
        key.back() = c;
        map.FindOrInsert(key) = VALUE(-c);
    }
    std::size_t walked = 0;
    for (auto position = map.First(); position; position = map.Next(position)) {
        ASSERT_EQ(position.Key().size(), LENGTH);
        ASSERT_EQ(position.Key().back(), static_cast<char>('a' + walked));
        ++walked;
    }
    EXPECT_EQ(walked, 26u);
}

TEST(ParameterMap, HoldsAQuarterOfAMillionKeys) {
    constexpr int COUNT = 250000;
    auto const name = [](int number) { return "a name of some length " + KeyNumber(number); };
    MAP map;
    VALUE const* const first = &map.FindOrInsert(name(0));
    for (int number = 0; number < COUNT; ++number) map.FindOrInsert(name(number)) = VALUE(number);
    for (int number = 0; number < COUNT; ++number) ASSERT_EQ(map.Find(name(number))->Number(), number);
    EXPECT_EQ(map.Find(name(0)), first);
    for (int number = 0; number < COUNT; number += 3) ASSERT_TRUE(map.Erase(name(number)));
    for (int number = 0; number < COUNT; number += 6) map.FindOrInsert(name(number)) = VALUE(-number);
    int count = 0;
    std::string last;
    for (auto position = map.First(); position; position = map.Next(position), ++count) {
        ASSERT_GT(position.Key(), last);
        last = position.Key();
    }
    EXPECT_EQ(count, COUNT - (COUNT + 2) / 3 + (COUNT + 5) / 6);
    MAP moved(std::move(map));
    EXPECT_EQ(moved.Find(name(1))->Number(), 1);
    EXPECT_EQ(VALUE::Living(), count);
    moved.Clear();
    EXPECT_EQ(VALUE::Living(), 0);
}

TEST(ParameterMap, HoldsKeysOfTheSizeOfAChunkAmongOthers) {
    constexpr std::size_t LARGEST = 65536;
    for (std::size_t length = LARGEST - 40; length <= LARGEST; ++length) {
        MAP map;
        for (int number = 0; number < 4300; ++number) map.FindOrInsert(std::string(900, 'x') + KeyNumber(number));
        auto const name = [&](int number) {
            return std::string(length - KeyNumber(number).size(), 'l') + KeyNumber(number);
        };
        for (int number = 0; number < 300; ++number) {
            map.FindOrInsert(std::string(900, 'y') + KeyNumber(number));
            if (number % 8 == 0) map.FindOrInsert(name(number)) = VALUE(number);
        }
        for (int number = 0; number < 300; number += 16) ASSERT_TRUE(map.Erase(name(number)));
        for (int number = 8; number < 300; number += 16) ASSERT_EQ(map.Find(name(number))->Number(), number);
        int count = 0;
        for (auto position = map.First(); position; position = map.Next(position)) ++count;
        ASSERT_EQ(count, 4300 + 300 + 19);
    }
}

TEST(ParameterMap, ErasesByAViewOfTheErasedKey) {
    MAP map;
    for (int number = 0; number < 10; ++number) map.FindOrInsert(KeyNumber(number));
    for (int left = 10; left > 0; --left) EXPECT_TRUE(map.Erase(map.First().Key()));
    EXPECT_FALSE(map.First());
}

TEST(ParameterMap, InsertsByAViewOfAStoredKey) {
    MAP map;
    map.FindOrInsert("abcdefgh");
    std::string_view const stored = map.First().Key();
    for (std::size_t length = 0; length < stored.size(); ++length) map.FindOrInsert(stored.substr(0, length));
    EXPECT_EQ(Content(map).size(), 9u);
    EXPECT_EQ(map.After("abc").Key(), "abcd");
}

TEST(ParameterMap, GoesOnAfterAKeyThatIsGone) {
    MAP map;
    for (int number = 0; number < 1000; ++number) map.FindOrInsert(KeyNumber(number));
    std::set<std::string> walked;
    for (auto position = map.First(); position;) {
        std::string const key(position.Key());
        ASSERT_TRUE(walked.insert(key).second);
        map.Erase(key);
        map.FindOrInsert(key + "/later");  // is the next one
        position = map.After(key);
        if (position.Key() == key + "/later") position = map.After(position.Key());
    }
    EXPECT_EQ(walked.size(), 1000u);
    EXPECT_EQ(Content(map).size(), 1000u);
}

TEST(ParameterMap, CopiesDeeply) {
    MAP map;
    for (int const number : ShuffledNumbers(1000)) map.FindOrInsert(KeyNumber(number)) = VALUE(number);
    MAP copy(map);
    EXPECT_EQ(Content(copy), Content(map));
    map.Clear();
    EXPECT_EQ(Content(copy).size(), 1000u);
    for (int const number : Numbers(1000)) ASSERT_EQ(copy.Find(KeyNumber(number))->Number(), number);
}

TEST(ParameterMap, MovesItsContentWithoutMovingValues) {
    MAP map;
    for (int number = 0; number < 1000; ++number) map.FindOrInsert(KeyNumber(number)) = VALUE(number);
    auto const content = Content(map);
    VALUE const* const value = map.Find(KeyNumber(7));
    MAP moved(std::move(map));
    EXPECT_FALSE(map.First());
    EXPECT_EQ(Content(moved), content);
    EXPECT_EQ(moved.Find(KeyNumber(7)), value);
    map.FindOrInsert("again") = VALUE(1);
    moved.Erase(KeyNumber(7));
    std::swap(map, moved);
    EXPECT_EQ(Content(moved).size(), 1u);
    EXPECT_EQ(Content(map).size(), 999u);
    moved = MAP();
    EXPECT_FALSE(moved.First());
    EXPECT_EQ(VALUE::Living(), 999);
}

TEST(ParameterMap, LooksUpWithoutAllocating) {
    MAP map;
    for (int number = 0; number < 1000; ++number) map.FindOrInsert(KeyNumber(number));
    std::string const present = KeyNumber(500);
    std::string const absent(100, 'x');
    allocations::With(0, [&] {
        EXPECT_NE(map.Find(present), nullptr);
        EXPECT_EQ(map.Find(absent), nullptr);
        map.FindOrInsert(present);
        EXPECT_TRUE(map.After(present));
        for (auto position = map.First(); position; position = map.Next(position)) {
        }
    });
}

TEST(ParameterMap, UsesTheRoomOfErasedKeysAgain) {
    MAP map;
    auto const numbers = ShuffledNumbers(10000);
    for (int const number : numbers) map.FindOrInsert(KeyNumber(number));
    std::size_t const filled = allocations::t_heldBytes;
    for (int round = 0; round < 10; ++round) {
        for (int const number : numbers) {
            if (number % 10 != round) map.Erase(KeyNumber(number));
        }
        for (int const number : numbers) map.FindOrInsert(KeyNumber(number));
    }
    EXPECT_LT(allocations::t_heldBytes, filled + filled / 4);  // pages of the index may be less full than before
}

TEST(ParameterMap, GivesAllMemoryBackWhenItBecomesEmpty) {
    MAP map;
    std::size_t const before = allocations::t_heldBytes;
    for (int number = 0; number < 1000; ++number) map.FindOrInsert(KeyNumber(number));
    for (int number = 0; number < 1000; ++number) map.Erase(KeyNumber(number));
    EXPECT_EQ(allocations::t_heldBytes, before);
    for (int number = 0; number < 1000; ++number) map.FindOrInsert(KeyNumber(number));
    map.Clear();
    EXPECT_EQ(allocations::t_heldBytes, before);
    EXPECT_EQ(VALUE::Living(), 0);
}

TEST(ParameterMap, IsUnchangedWhenMemoryEndsDuringAnInsertion) {
    std::vector<std::string> keys;
    for (int const number : ShuffledNumbers(2000)) keys.push_back(KeyNumber(number));
    keys.insert(keys.begin() + 1000, std::string(5000, 'x'));
    MAP map;
    int failures = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        for (int allowed = 0;; ++allowed) {
            bool const failed = IsOutOfMemory(allowed, [&] { map.FindOrInsert(keys[i]) = VALUE(static_cast<int>(i)); });
            if (!failed) break;
            ++failures;
            ASSERT_EQ(map.Find(keys[i]), nullptr);
            ASSERT_EQ(VALUE::Living(), static_cast<int>(i));
        }
    }
    EXPECT_GT(failures, 10);
    EXPECT_EQ(Content(map).size(), keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) ASSERT_EQ(map.Find(keys[i])->Number(), static_cast<int>(i));
}

TEST(ParameterOrder, IsEmptyWhenItsOnlyEntryIsErased) {
    PARAMETER_ORDER order;
    order.Insert(order.First(), 1);
    EXPECT_FALSE(order.Empty());
    order.Erase(order.First());
    EXPECT_TRUE(order.Empty());
    EXPECT_TRUE(order.AtEnd(order.First()));
}

KEY_HASH::SECRET Secret(unsigned seed) {
    std::mt19937_64 random(seed);
    return {random(), random(), random()};
}

TEST(KeyHash, TellsKeysApartThatDifferInOneBitOrInLength) {
    auto const secret = Secret(1);
    for (std::size_t length = 1; length < 70; ++length) {
        std::string key(length, 'a');
        uint64_t const hash = KEY_HASH::Hash(key, secret);
        for (std::size_t bit = 0; bit < 8 * length; ++bit) {
            key[bit / 8] = static_cast<char>(key[bit / 8] ^ 1 << bit % 8);
            ASSERT_NE(KEY_HASH::Hash(key, secret), hash) << "length " << length << " bit " << bit;
            key[bit / 8] = 'a';
        }
    }
    std::set<uint64_t> zeros;
    for (std::size_t length = 0; length < 100; ++length)
        zeros.insert(KEY_HASH::Hash(std::string(length, '\0'), secret));
    EXPECT_EQ(zeros.size(), 100u);
}

TEST(KeyHash, SpreadsSimilarKeysEvenly) {
    constexpr int COUNT = 100000;
    std::vector<std::string (*)(int)> const kinds = {
        [](int number) { return KeyNumber(number); },
        [](int number) { return std::to_string(number); },
        [](int number) { return std::string(reinterpret_cast<char const*>(&number), sizeof number); },
        [](int number) { return "a long name that comes before each number " + std::to_string(number); },
        [](int number) { return std::to_string(number) + " is followed by a long name that is the same"; },
    };
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        SCOPED_TRACE(kind);
        auto const secret = Secret(static_cast<unsigned>(kind));
        std::set<uint32_t> distinct;
        std::vector<int> buckets(1024);
        for (int number = 0; number < COUNT; ++number) {
            auto const hash = static_cast<uint32_t>(KEY_HASH::Hash(kinds[kind](number), secret) >> 33);
            distinct.insert(hash);
            ++buckets[hash >> 21];
        }
        EXPECT_GT(distinct.size(), COUNT - 20u);  // about two pairs collide by chance
        EXPECT_GT(*std::min_element(buckets.begin(), buckets.end()), 40);
        EXPECT_LT(*std::max_element(buckets.begin(), buckets.end()), 170);  // 98 +- 7 standard deviations
    }
}

TEST(KeyHash, DependsOnEachOfItsSecretWords) {
    auto const secret = Secret(1);
    for (std::string const& key : {std::string(), std::string("key"), std::string(33, 'k')}) {
        auto const hash = KEY_HASH::Hash(key, secret);
        for (uint64_t KEY_HASH::SECRET::*const word : {&KEY_HASH::SECRET::left, &KEY_HASH::SECRET::right}) {
            auto other = secret;
            other.*word ^= 1;
            EXPECT_NE(KEY_HASH::Hash(key, other), hash);
        }
    }
    auto other = secret;
    other.secondLeft ^= 1;
    EXPECT_NE(KEY_HASH::Hash(std::string(33, 'k'), other), KEY_HASH::Hash(std::string(33, 'k'), secret));
}

TEST(KeyHash, TakesASecretOfItsOwnForTheProcessAndForEachCallOtherwise) {
    EXPECT_EQ(&KEY_HASH::ProcessSecret(), &KEY_HASH::ProcessSecret());
    EXPECT_NE(KEY_HASH::NewSecret().left, KEY_HASH::NewSecret().left);
    EXPECT_NE(KEY_HASH::NewSecret().right, KEY_HASH::ProcessSecret().right);
}

// An index of keys with chosen hashes, as an attacker who knew the secret could make them.
class CHOSEN_HASHES {
 public:
    explicit CHOSEN_HASHES(void (KEY_INDEX::*insert)(uint32_t, KEY_INDEX::ID) = &KEY_INDEX::Insert)
        : m_insert(insert) {}

    void Insert(uint32_t hash) {
        m_keys.push_back(KeyNumber(static_cast<int>(m_keys.size())));
        bool const changed = m_index.Reserve(1, [this](KEY_INDEX::ID id) { return KeyOf(id); });
        if (changed) m_isRekeyed = true;
        auto const id = static_cast<KEY_INDEX::ID>(m_keys.size());
        (m_index.*m_insert)(m_isRekeyed ? m_index.Hash(m_keys.back()) : hash, id);
        if (!m_isRekeyed) m_chosen.push_back(hash);
    }
    // The number of keys that a search for this hash compares.
    std::size_t KeysWith(uint32_t hash) const {
        std::size_t count = 0;
        m_index.Find(hash, [&](KEY_INDEX::ID) {
            ++count;
            return false;
        });
        return count;
    }
    bool FindsAll() const {
        for (KEY_INDEX::ID id = 1; id <= m_keys.size(); ++id) {
            auto const hash = m_isRekeyed ? m_index.Hash(m_keys[id - 1]) : m_chosen[id - 1];
            if (!m_index.Find(hash, [id](KEY_INDEX::ID other) { return other == id; })) return false;
        }
        return m_index.Count() == m_keys.size();
    }
    bool IsRekeyed() const { return m_isRekeyed; }

 private:
    std::string_view KeyOf(KEY_INDEX::ID id) const { return m_keys[id - 1]; }

    KEY_INDEX m_index;
    void (KEY_INDEX::*m_insert)(uint32_t, KEY_INDEX::ID);
    std::vector<std::string> m_keys;
    std::vector<uint32_t> m_chosen;
    bool m_isRekeyed = false;
};

constexpr uint32_t HIGHEST_HASH = UINT32_MAX >> 1;

TEST(KeyIndex, TakesAnotherSecretWhenTooManyKeysHaveOneHash) {
    for (auto const insert : {&KEY_INDEX::Insert, &KEY_INDEX::InsertLater}) {
        for (uint32_t const hash : {uint32_t{0}, uint32_t{0x12345678}, HIGHEST_HASH}) {
            CHOSEN_HASHES keys(insert);
            std::size_t most = 0;
            for (int count = 0; count < 2000; ++count) {
                keys.Insert(hash);
                most = std::max(most, keys.KeysWith(hash));
                ASSERT_TRUE(count % 100 != 0 || keys.FindsAll()) << count;
            }
            EXPECT_TRUE(keys.IsRekeyed());
            EXPECT_LE(most, 80u);
            EXPECT_TRUE(keys.FindsAll());
        }
    }
}

TEST(KeyIndex, TakesAnotherSecretWhenTooManyKeysHaveNeighbouringHashes) {
    // Descending hashes move all earlier keys; the first key moves furthest.
    for (bool const isDescending : {false, true}) {
        CHOSEN_HASHES keys;
        for (uint32_t count = 0; count < 2000; ++count)
            keys.Insert(isDescending ? HIGHEST_HASH - count : HIGHEST_HASH / 2 + count);
        EXPECT_TRUE(keys.IsRekeyed());
        EXPECT_TRUE(keys.FindsAll());
    }
}

TEST(KeyIndex, KeepsItsSecretForKeysOfNoEvilIntent) {
    std::mt19937 random(5);
    for (int const count : {10, 100, 1000, 100000}) {
        CHOSEN_HASHES keys;
        for (int i = 0; i < count; ++i) keys.Insert(static_cast<uint32_t>(random() >> 1));
        EXPECT_FALSE(keys.IsRekeyed()) << count;
        EXPECT_TRUE(keys.FindsAll());
    }
}

TEST(KeyIndex, IsUnchangedWhenThereIsNoMemoryForAnotherSecret) {
    KEY_INDEX index;
    std::vector<std::string> keys;
    auto const keyOf = [&](KEY_INDEX::ID id) -> std::string_view { return keys[id - 1]; };
    auto const holds = [&](uint32_t hash, KEY_INDEX::ID id) {
        return index.Find(hash, [id](KEY_INDEX::ID other) { return other == id; });
    };
    for (KEY_INDEX::ID id = 1;; ++id) {
        keys.push_back(KeyNumber(static_cast<int>(id)));
        bool changed = false;
        bool const failed = IsOutOfMemory(0, [&] { changed = index.Reserve(1, keyOf); });
        if (failed) {
            for (KEY_INDEX::ID known = 1; known < id; ++known) ASSERT_TRUE(holds(7, known));
            changed = index.Reserve(1, keyOf);
        }
        if (changed) break;
        index.Insert(7, id);
        ASSERT_LT(id, 100u);
    }
    for (KEY_INDEX::ID id = 1; id < keys.size(); ++id) ASSERT_TRUE(holds(index.Hash(keys[id - 1]), id));
}

}  // namespace
