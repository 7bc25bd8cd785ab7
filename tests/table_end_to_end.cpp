// Drives a memory ticket and a file ticket as a separately built host does: the library is opened at run time, records
// are read at their offsets, and types and codes are plain numbers. No header of the library is included.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/ScratchDirectory.h"

namespace {

template <typename T>
T At(void const* record, size_t offset) {
    T value;
    std::memcpy(&value, static_cast<char const*>(record) + offset, sizeof value);
    return value;
}

template <typename T>
void Put(void* record, size_t offset, T value) {
    std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

// The library stays open: its tickets and their tables live in it.
void* Symbol(char const* name) {
    static void* const library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (!library) ADD_FAILURE() << dlerror();
    return library ? dlsym(library, name) : nullptr;
}

void const* Instance() {
    static void const* const record = Symbol("STicketInstance");
    return record;
}

// Types and operation codes, as numbers.
enum : uint32_t { NONE, POINTER, INT, DOUBLE, TEXT, BYTES, VECTOR, INT64, UNSIGNED, UINT64 };
enum : uint32_t { SAVE, RELEASE, CLEAR, KEYS, COUNT, COUNT_LOADED, FLUSH, INCREMENT, CONTEXT = 10, WHO_AM_I, INSTANCE };

using WALKED = bool (*)(void* context, char const* key, uint32_t type, void const* value, int index);

// A ticket's table and nothing else. Each member calls the entry found at its offset.
class TABLE {
 public:
    explicit TABLE(char const* name) : m_table(At<void const* (*)(char const*)>(Instance(), 16)(name)) {}
    ~TABLE() { Destroy(); }
    TABLE(TABLE const&) = delete;
    TABLE& operator=(TABLE const&) = delete;

    void const* Record() const { return m_table; }

    int Get(char const* key, uint32_t type, void* value, int index = -1) const {
        return Entry<int (*)(void*, char const*, uint32_t, void*, int)>(24)(Ticket(), key, type, value, index);
    }
    int GetBatch(void* records) const { return Entry<int (*)(void*, void*)>(32)(Ticket(), records); }
    int Walk(WALKED callback, void* context, int level) const {
        return Entry<int (*)(void*, WALKED, void*, char const*, int)>(40)(Ticket(), callback, context, "", level);
    }
    int Set(char const* key, uint32_t type, void const* value, int index = -1) const {
        return Entry<int (*)(void*, char const*, uint32_t, void const*, int)>(208)(Ticket(), key, type, value, index);
    }
    int SetBatch(void* records) const { return Entry<int (*)(void*, void*)>(216)(Ticket(), records); }
    int Merge(TABLE const& source, char const* const* keys, bool clear) const {
        return Entry<int (*)(void*, void const*, char const* const*, bool)>(224)(Ticket(), source.m_table, keys, clear);
    }
    int Operate(uint32_t code, void* data) const {
        return Entry<int (*)(void*, uint32_t, void*)>(232)(Ticket(), code, data);
    }
    int Lock(int number, int* owner, bool lock) const {
        return Entry<int (*)(void*, int, int*, bool)>(240)(Ticket(), number, owner, lock);
    }
    int EnableNotification(int number, bool enable) const {
        return Entry<int (*)(void*, int, bool, char const* const*)>(408)(Ticket(), number, enable, nullptr);
    }
    bool Queue(void (*callback)(void*), void* argument) const {
        return Entry<bool (*)(void*, void (*)(void*), void*)>(416)(Ticket(), callback, argument);
    }
    // Destroys the ticket; true if its pointer is null afterwards.
    bool Destroy() {
        At<void (*)(void const**)>(Instance(), 24)(&m_table);
        return m_table == nullptr;
    }

    template <typename T>
    T Read(char const* key, uint32_t type, int index = -1) const {
        T value{};
        EXPECT_EQ(Get(key, type, &value, index), 1) << key << " as " << type;
        return value;
    }

 private:
    template <typename FUNCTION>
    FUNCTION Entry(size_t offset) const {
        return At<FUNCTION>(m_table, offset);
    }
    void* Ticket() const { return At<void*>(m_table, 16); }

    void const* m_table;
};

struct BYTE_STRING {
    void const* data;
    uint64_t length;
};

std::string Text(BYTE_STRING const& bytes) {
    return {static_cast<char const*>(bytes.data), bytes.length};
}

// A batch of 32-byte records with an all-zero one at the end.
class BATCH {
 public:
    void Add(char const* key, uint32_t type, void const* value, int index) {
        size_t const begin = m_bytes.size() - SIZE;
        m_bytes.resize(m_bytes.size() + SIZE);
        Put(&m_bytes[begin], 0, key);
        Put(&m_bytes[begin], 8, type);
        Put(&m_bytes[begin], 16, value);
        Put(&m_bytes[begin], 24, index);
    }
    void* Records() { return m_bytes.data(); }
    bool Result(size_t number) const { return At<char>(&m_bytes[number * SIZE], 28) == 1; }

 private:
    static constexpr size_t SIZE = 32;
    std::vector<char> m_bytes = std::vector<char>(SIZE);
};

using LINES = std::vector<std::string>;

bool AddLine(void* lines, char const* key, uint32_t type, void const*, int index) {
    static_cast<LINES*>(lines)->push_back(std::string(key) + " " + std::to_string(index) + " " + std::to_string(type));
    return true;
}

LINES Walk(TABLE const& table) {
    LINES lines;
    EXPECT_EQ(table.Walk(&AddLine, &lines, 8000), 1);
    return lines;
}

TEST(InstanceRecord, IsExportedAndReachableByPointer) {
    ASSERT_NE(Instance(), nullptr);
    EXPECT_EQ(At<void const*>(Symbol("hSTicketInstance"), 0), Instance());
    EXPECT_EQ(At<uint64_t>(Instance(), 0), 192u);
    EXPECT_EQ(At<uint64_t>(Instance(), 8), 1u);
    EXPECT_EQ(At<uint64_t>(Instance(), 32), 2u);
    for (size_t offset = 40; offset < 192; offset += 8) EXPECT_EQ(At<uint64_t>(Instance(), offset), 0u) << offset;
}

TEST(Library, SaysItsVersionUnderCNames) {
    auto const* const number = static_cast<unsigned int const*>(Symbol("ConfigurationControlVersionNumber"));
    auto const* const text = static_cast<char const*>(Symbol("ConfigurationControlVersionString"));
    ASSERT_TRUE(number && text);
    EXPECT_EQ(std::to_string(*number / 10000), std::string(text, std::strcspn(text, ".")));
}

class Table : public testing::TestWithParam<bool> {
 protected:
    char const* Name() const { return GetParam() ? m_fileName.c_str() : nullptr; }

    SCRATCH_DIRECTORY m_directory;
    std::string m_fileName = m_directory.Path("ticket.xml");
    TABLE m_table{Name()};
};

TEST_P(Table, BeginsWithItsSizeAndVersionAndHasZeroInItsGaps) {
    void const* const record = m_table.Record();
    EXPECT_EQ(At<uint64_t>(record, 0), 576u);
    EXPECT_EQ(At<uint32_t>(record, 8), 2u);
    EXPECT_EQ(At<uint32_t>(record, 12), 0u);
    for (size_t offset = 16; offset < 576; offset += 8) {
        bool const used = offset < 48 || (offset >= 208 && offset < 248) || offset == 408 || offset == 416;
        EXPECT_EQ(At<uint64_t>(record, offset) != 0, used) << offset;
    }
}

TEST_P(Table, StoresAndReadsEveryType) {
    int32_t const number = -17;
    double const real = 0.1;
    BYTE_STRING const bytes{"a\0b", 3};
    int64_t const big = INT64_MIN;
    uint32_t const natural = 4000000000u;
    uint64_t const huge = UINT64_MAX;
    EXPECT_EQ(m_table.Set("pointer", POINTER, &number), 1);
    EXPECT_EQ(m_table.Set("int", INT, &number), 1);
    EXPECT_EQ(m_table.Set("double", DOUBLE, &real), 1);
    EXPECT_EQ(m_table.Set("text", TEXT, "text"), 1);
    EXPECT_EQ(m_table.Set("bytes", BYTES, &bytes), 1);
    EXPECT_EQ(m_table.Set("int64", INT64, &big), 1);
    EXPECT_EQ(m_table.Set("unsigned", UNSIGNED, &natural), 1);
    EXPECT_EQ(m_table.Set("uint64", UINT64, &huge), 1);

    EXPECT_EQ(m_table.Read<void const*>("pointer", POINTER), &number);
    EXPECT_EQ(m_table.Read<int32_t>("int", INT), number);
    EXPECT_EQ(m_table.Read<double>("double", DOUBLE), real);
    EXPECT_STREQ(m_table.Read<char const*>("text", TEXT), "text");
    EXPECT_EQ(Text(m_table.Read<BYTE_STRING>("bytes", BYTES)), std::string("a\0b", 3));
    EXPECT_EQ(m_table.Read<int64_t>("int64", INT64), big);
    EXPECT_EQ(m_table.Read<uint32_t>("unsigned", UNSIGNED), natural);
    EXPECT_EQ(m_table.Read<uint64_t>("uint64", UINT64), huge);
    EXPECT_EQ(m_table.Read<uint32_t>("uint64", NONE), UINT64);

    EXPECT_EQ(m_table.Set("vector", INT, &number, -2), 1);
    EXPECT_EQ(m_table.Set("vector", TEXT, "second", 1), 1);
    EXPECT_EQ(m_table.Read<uint64_t>("vector", VECTOR), 2u);
    EXPECT_STREQ(m_table.Read<char const*>("vector", TEXT, 1), "second");

    int32_t untouched = 5;
    EXPECT_EQ(m_table.Get("int", 12, &untouched), 0);
    EXPECT_EQ(m_table.Set("int", 12, &untouched), 0);
    EXPECT_EQ(untouched, 5);
    EXPECT_EQ(m_table.Get("absent", INT, &untouched), 0);
    EXPECT_EQ(untouched, 0);
    EXPECT_EQ(m_table.Set("int", NONE, nullptr), 1);
    EXPECT_EQ(m_table.Get("int", INT, nullptr), 0);
}

TEST_P(Table, SetsAndReadsBatches) {
    int32_t const one = 1;
    BATCH writes;
    writes.Add("a", INT, &one, -1);
    writes.Add("b", VECTOR, &one, -1);
    writes.Add("c", TEXT, "text", -1);
    EXPECT_EQ(m_table.SetBatch(writes.Records()), 1);
    EXPECT_TRUE(writes.Result(0) && !writes.Result(1) && writes.Result(2));

    int32_t number = 0;
    char const* text = nullptr;
    BATCH reads;
    reads.Add("a", INT, &number, -1);
    reads.Add("c", TEXT, &text, -1);
    reads.Add("absent", TEXT, nullptr, -1);
    EXPECT_EQ(m_table.GetBatch(reads.Records()), 1);
    EXPECT_TRUE(reads.Result(0) && reads.Result(1) && !reads.Result(2));
    EXPECT_EQ(number, 1);
    EXPECT_STREQ(text, "text");
}

TEST_P(Table, WalksInKeyOrder) {
    m_table.Set("b", TEXT, "x");
    m_table.Set("a/b", TEXT, "x", -2);
    m_table.Set("a/b", TEXT, "y", -2);
    EXPECT_EQ(Walk(m_table), (LINES{"a/b 0 4", "a/b 1 4", "b -1 4"}));
}

TEST_P(Table, MergesAnotherTicketIn) {
    TABLE source(nullptr);
    source.Set("a/b", TEXT, "new");
    source.Set("c", TEXT, "new");
    m_table.Set("z", TEXT, "old");
    char const* const keys[] = {"a/*", nullptr};
    EXPECT_EQ(m_table.Merge(source, keys, false), 1);
    EXPECT_EQ(Walk(m_table), (LINES{"a/b -1 4", "z -1 4"}));
    EXPECT_EQ(m_table.Merge(source, nullptr, true), 1);
    EXPECT_EQ(Walk(m_table), (LINES{"a/b -1 4", "c -1 4"}));
}

TEST_P(Table, PerformsOperations) {
    m_table.Set("a", TEXT, "x");
    uint32_t count = 0;
    EXPECT_EQ(m_table.Operate(COUNT, &count), 1);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(m_table.Operate(INCREMENT, &count), 1);
    EXPECT_EQ(count, 2u);
    void* slot = &slot;
    EXPECT_EQ(m_table.Operate(CONTEXT, &slot), 1);
    EXPECT_EQ(slot, nullptr);
    EXPECT_EQ(m_table.Operate(INSTANCE, &slot), 1);
    EXPECT_EQ(slot, Instance());
    unsigned char identity[16];
    EXPECT_EQ(m_table.Operate(WHO_AM_I, identity), 1);
    EXPECT_EQ(At<void*>(identity, 0), nullptr);
    EXPECT_EQ(At<int32_t>(identity, 8), -2);
    EXPECT_EQ(At<int32_t>(identity, 12), -2);
    for (uint32_t const code : {8u, 9u, 13u, UINT32_MAX}) EXPECT_EQ(m_table.Operate(code, &slot), 0) << code;
    EXPECT_EQ(m_table.Operate(CLEAR, nullptr), 1);
    EXPECT_EQ(m_table.Operate(COUNT_LOADED, &count), 1);
    EXPECT_EQ(count, 0u);
}

TEST_P(Table, LocksAndRunsDeferredCallbacks) {
    int owner = 7;
    int other = 8;
    EXPECT_EQ(m_table.Lock(0, &owner, true), 1);
    EXPECT_EQ(m_table.Lock(0, &other, true), 0);
    EXPECT_EQ(other, 7);
    EXPECT_EQ(m_table.Lock(0, &owner, false), 1);
    EXPECT_EQ(owner, -1);

    EXPECT_EQ(m_table.EnableNotification(-2, false), 1);
    EXPECT_EQ(m_table.EnableNotification(3, true), 0);

    int calls = 0;
    EXPECT_FALSE(m_table.Queue(nullptr, &calls));
    EXPECT_TRUE(m_table.Queue([](void* count) { ++*static_cast<int*>(count); }, &calls));
    EXPECT_EQ(calls, 0);
    m_table.Set("a", TEXT, "x");
    m_table.Set("a", TEXT, "y");
    EXPECT_EQ(calls, 1);
}

TEST_P(Table, IsTakenBackByTheRecord) {
    EXPECT_TRUE(m_table.Destroy());
    EXPECT_TRUE(m_table.Destroy()) << "null is accepted";
}

INSTANTIATE_TEST_SUITE_P(OfATicket, Table, testing::Bool(),
                         [](auto const& kind) { return kind.param ? "InAFile" : "InMemory"; });

// Behaviour of file tickets only.
class FileTable : public Table {};

TEST_P(FileTable, IsSavedOnRequestAndReadBackByTheNextTicket) {
    double const real = 0.1;
    int64_t const big = INT64_MAX;
    m_table.Set("Product/Name", TEXT, "a <name>");
    m_table.Set("Product/Sizes", DOUBLE, &real, -2);
    m_table.Set("Product/Sizes", INT64, &big, -2);
    EXPECT_FALSE(m_directory.Has("ticket.xml")) << "nothing is written yet";
    EXPECT_EQ(m_table.Operate(SAVE, nullptr), 1);
    EXPECT_THAT(FileContent(m_fileName), testing::HasSubstr("<Name type=\"string\">a "));

    TABLE const again(Name());
    EXPECT_STREQ(again.Read<char const*>("Product/Name", TEXT), "a <name>");
    EXPECT_EQ(again.Read<double>("Product/Sizes", DOUBLE, 0), real);
    EXPECT_EQ(again.Read<int64_t>("Product/Sizes", INT64, 1), big);
    EXPECT_EQ(Walk(again), Walk(m_table));
}

TEST_P(FileTable, IsSavedWhenItIsDestroyed) {
    m_table.Set("a", TEXT, "x");
    EXPECT_TRUE(m_table.Destroy());
    TABLE const again(Name());
    EXPECT_STREQ(again.Read<char const*>("a", TEXT), "x");
}

TEST_P(FileTable, LoadsAgainWhatItReleased) {
    m_table.Set("a", TEXT, "x");
    EXPECT_EQ(m_table.Operate(RELEASE, nullptr), 1);
    uint32_t count = 99;
    EXPECT_EQ(m_table.Operate(COUNT_LOADED, &count), 1);
    EXPECT_EQ(count, 0u);
    EXPECT_STREQ(m_table.Read<char const*>("a", TEXT), "x");
}

INSTANTIATE_TEST_SUITE_P(OfATicket, FileTable, testing::Values(true), [](auto const&) { return "InAFile"; });

}  // namespace
