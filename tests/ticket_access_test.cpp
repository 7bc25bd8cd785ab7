// The typed accessors: the batches that they build, and the values that real tickets return.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "ConfigurationControl/Ticket.h"
#include "ConfigurationControl/TicketAccess.h"
#include "support/FakeTicket.h"
#include "support/Records.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A memory ticket with its reading and its modifying accessor.
class TypedAccess : public testing::Test {
 protected:
    ~TypedAccess() override { STICKET::Destroy(m_ticket); }

    bool Set(char const* key, PARAM_TYPE type, void const* value, int index = APPEND_INDEX) {
        return m_ticket->SetParameter(m_ticket->pTicket, key, type, value, index) != 0;
    }
    bool Exists(char const* key) {
        return m_ticket->GetParameter(m_ticket->pTicket, key, PARAM_NONE, nullptr, SCALAR_INDEX) != 0;
    }
    uint64_t Count(char const* key) {
        uint64_t count = 0;
        m_ticket->GetParameter(m_ticket->pTicket, key, PARAM_VECTOR, &count, SCALAR_INDEX);
        return count;
    }
    PARAM_TYPE Type(char const* key) {
        PARAM_TYPE type = PARAM_NONE;
        m_ticket->GetParameter(m_ticket->pTicket, key, PARAM_NONE, &type, SCALAR_INDEX);
        return type;
    }
    // Makes a key that exists as a vector without elements.
    void MakeEmptyVector(char const* key) {
        int const value = 1;
        Set(key, PARAM_INT, &value, 5);
        ASSERT_TRUE(Exists(key));
        ASSERT_EQ(Count(key), 0u);
    }

    STICKET_ACCESS const* m_ticket = STICKET::Create(nullptr);
    STICKET_READ m_read{*m_ticket};
    STICKET_MODIFY m_modify{*m_ticket};
};

// A container that was written is read unchanged.

template <typename T>
struct SAMPLE;
template <>
struct SAMPLE<int> {
    static std::vector<int> Values() { return {std::numeric_limits<int>::min(), -1, std::numeric_limits<int>::max()}; }
};
template <>
struct SAMPLE<unsigned int> {
    static std::vector<unsigned int> Values() { return {0, 1, std::numeric_limits<unsigned int>::max()}; }
};
template <>
struct SAMPLE<long long> {
    static std::vector<long long> Values() {
        return {std::numeric_limits<long long>::min(), 9007199254740993, std::numeric_limits<long long>::max()};
    }
};
template <>
struct SAMPLE<unsigned long long> {
    static std::vector<unsigned long long> Values() {
        return {0, 9007199254740993, std::numeric_limits<unsigned long long>::max()};
    }
};
template <>
struct SAMPLE<double> {
    static std::vector<double> Values() { return {-0.25, 1e300, std::numeric_limits<double>::infinity()}; }
};
template <>
struct SAMPLE<bool> {
    static std::vector<bool> Values() { return {true, false, true}; }
};
template <>
struct SAMPLE<std::string> {
    static std::vector<std::string> Values() { return {"", "a", "a text that is too long for a small string"}; }
};

template <typename T>
class TypedContainers : public TypedAccess {};
using CONTAINER_TYPES = testing::Types<int, unsigned int, long long, unsigned long long, double, bool, std::string>;
TYPED_TEST_SUITE(TypedContainers, CONTAINER_TYPES, );

TYPED_TEST(TypedContainers, VectorsComeBackAsTheyWereWritten) {
    auto const written = SAMPLE<TypeParam>::Values();
    std::vector<TypeParam> read(17);
    EXPECT_TRUE(this->m_modify.SetVectorParameter("k", written));
    EXPECT_TRUE(this->m_read.GetVectorParameter("k", read));
    EXPECT_EQ(read, written);
    EXPECT_EQ(this->Count("k"), 3u);
}

TYPED_TEST(TypedContainers, AShorterVectorReplacesALongerOne) {
    for (int i = 0; i < 5; ++i) this->Set("k", PARAM_STRING, "old");
    EXPECT_TRUE(this->m_modify.SetVectorParameter("k", SAMPLE<TypeParam>::Values()));
    EXPECT_EQ(this->Count("k"), 3u);
}

TYPED_TEST(TypedContainers, AVectorOfOneIsAScalarAndReadsBackAsOne) {
    std::vector<TypeParam> const written{SAMPLE<TypeParam>::Values().back()};
    std::vector<TypeParam> read;
    EXPECT_TRUE(this->m_modify.SetVectorParameter("k", written));
    EXPECT_NE(this->Type("k"), PARAM_VECTOR);
    EXPECT_TRUE(this->m_read.GetVectorParameter("k", read));
    EXPECT_EQ(read, written);
}

TYPED_TEST(TypedContainers, AnEmptyVectorRemovesTheKeyAndReturnsTrue) {
    this->m_modify.SetVectorParameter("k", SAMPLE<TypeParam>::Values());
    EXPECT_TRUE(this->m_modify.SetVectorParameter("k", std::vector<TypeParam>()));
    EXPECT_FALSE(this->Exists("k"));
    EXPECT_TRUE(this->m_modify.SetVectorParameter("k", std::vector<TypeParam>())) << "also when it is not there";
}

TYPED_TEST(TypedContainers, AKeyWithoutElementsLeavesTheCallersVector) {
    auto const before = SAMPLE<TypeParam>::Values();
    auto read = before;
    EXPECT_FALSE(this->m_read.GetVectorParameter("absent", read));
    EXPECT_FALSE(this->m_read.GetVectorParameter(nullptr, read));
    this->MakeEmptyVector("empty");
    EXPECT_FALSE(this->m_read.GetVectorParameter("empty", read));
    EXPECT_EQ(read, before);
}

TYPED_TEST(TypedContainers, ElementsOfWhichNoneCanBeReadGiveAnEmptyVector) {
    BIN_STRING const bytes{"b", 1};
    for (int i = 0; i < 3; ++i) this->Set("k", PARAM_BINSTR, &bytes);
    auto read = SAMPLE<TypeParam>::Values();
    EXPECT_FALSE(this->m_read.GetVectorParameter("k", read));
    EXPECT_THAT(read, IsEmpty());
}

TYPED_TEST(TypedContainers, AWrittenVectorNeedsAKey) {
    EXPECT_FALSE(this->m_modify.SetVectorParameter(nullptr, SAMPLE<TypeParam>::Values()));
    EXPECT_FALSE(this->m_modify.SetVectorParameter("", SAMPLE<TypeParam>::Values()))
        << "an empty key ends a batch before its first record";
    EXPECT_TRUE(this->m_modify.SetVectorParameter(nullptr, std::vector<TypeParam>())) << "nothing to remove";
}

template <typename T>
class TypedArrays : public TypedAccess {};
using ARRAY_TYPES = testing::Types<int, unsigned int, long long, unsigned long long, double, bool>;
TYPED_TEST_SUITE(TypedArrays, ARRAY_TYPES, );

TYPED_TEST(TypedArrays, ArraysComeBackAsTheyWereWritten) {
    auto const sample = SAMPLE<TypeParam>::Values();
    TypeParam const written[] = {sample[0], sample[1], sample[2]};
    TypeParam read[4] = {};
    EXPECT_TRUE(this->m_modify.SetArrayParameter("k", written, 3));
    EXPECT_TRUE(this->m_read.GetArrayParameter("k", read, 3));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(read[i], written[i]);
    EXPECT_EQ(read[3], TypeParam());
    EXPECT_TRUE(this->m_read.GetArrayParameter("k", read, 1)) << "fewer than there are";
    EXPECT_FALSE(this->m_read.GetArrayParameter("k", read, 4)) << "more than there are";
    EXPECT_EQ(read[0], written[0]);
}

TYPED_TEST(TypedArrays, ACountOfZeroReadsNothingAndWritingItRemovesTheKey) {
    TypeParam values[1] = {};
    EXPECT_TRUE(this->m_modify.SetArrayParameter("k", values, 1));
    EXPECT_FALSE(this->m_read.GetArrayParameter("k", values, 0));
    EXPECT_TRUE(this->m_modify.SetArrayParameter("k", values, 0));
    EXPECT_FALSE(this->Exists("k"));
    EXPECT_TRUE(this->m_modify.SetArrayParameter("k", static_cast<TypeParam const*>(nullptr), 0));
}

TYPED_TEST(TypedArrays, NullArraysKeysAndHugeCountsFail) {
    TypeParam values[1] = {};
    TypeParam* const none = nullptr;
    EXPECT_FALSE(this->m_read.GetArrayParameter("k", none, 1));
    EXPECT_FALSE(this->m_modify.SetArrayParameter("k", none, 1));
    EXPECT_FALSE(this->m_read.GetArrayParameter(nullptr, values, 1));
    EXPECT_FALSE(this->m_modify.SetArrayParameter(nullptr, values, 1));
    EXPECT_FALSE(this->m_read.GetArrayParameter("k", values, std::numeric_limits<unsigned long>::max()));
    EXPECT_FALSE(this->Exists("k"));
}

// Text by pointer, and pointers.

TEST_F(TypedAccess, VectorsOfTextPointersPointIntoTheTicket) {
    EXPECT_TRUE(m_modify.SetVectorParameter("k", std::vector<char const*>{"x", nullptr, "y"}));
    std::vector<char const*> read;
    EXPECT_TRUE(m_read.GetVectorParameter("k", read));
    ASSERT_EQ(read.size(), 3u);
    EXPECT_STREQ(read[0], "x");
    EXPECT_STREQ(read[1], "") << "a null text is stored as the empty one";
    EXPECT_STREQ(read[2], "y");
}

TEST_F(TypedAccess, AVectorMayBeRewrittenFromItsOwnTexts) {
    m_modify.SetVectorParameter("k", std::vector<std::string>{"a text that is too long for a small string", "y"});
    std::vector<char const*> read;
    m_read.GetVectorParameter("k", read);
    std::swap(read[0], read[1]);
    EXPECT_TRUE(m_modify.SetVectorParameter("k", read));
    std::vector<std::string> copies;
    EXPECT_TRUE(m_read.GetVectorParameter("k", copies));
    EXPECT_THAT(copies, ElementsAre("y", "a text that is too long for a small string"));
}

TEST_F(TypedAccess, ArraysOfTextPointers) {
    char const* const written[] = {"x", "y"};
    char const* read[] = {nullptr, nullptr, "untouched"};
    EXPECT_TRUE(m_modify.SetArrayParameter("k", written, 2));
    EXPECT_TRUE(m_read.GetArrayParameter("k", read, 2));
    EXPECT_STREQ(read[0], "x");
    EXPECT_STREQ(read[1], "y");
    EXPECT_STREQ(read[2], "untouched");
    EXPECT_FALSE(m_read.GetArrayParameter("k", read, 3));
    EXPECT_EQ(read[2], nullptr) << "the failure value of text";
}

TEST_F(TypedAccess, PointersAreWrittenAsTheyAre) {
    int object = 0;
    void* const written[] = {&object, nullptr};
    EXPECT_TRUE(m_modify.SetVectorParameter("k", std::vector<void*>{&object, nullptr}));
    EXPECT_EQ(Count("k"), 2u);
    EXPECT_TRUE(m_modify.SetArrayParameter("k", written, 1));
    void* read = nullptr;
    EXPECT_TRUE(m_ticket->GetParameter(m_ticket->pTicket, "k", PARAM_POINTER, &read, SCALAR_INDEX));
    EXPECT_EQ(read, &object);
}

TEST_F(TypedAccess, PointersAreNotReadableByElement) {
    int object = 0;
    m_modify.SetVectorParameter("k", std::vector<void*>{&object, &object});
    std::vector<void*> vector{&object};
    EXPECT_FALSE(m_read.GetVectorParameter("k", vector));
    EXPECT_THAT(vector, IsEmpty());
    void* array[] = {&object};
    EXPECT_FALSE(m_read.GetArrayParameter("k", array, 1));
    EXPECT_EQ(array[0], &object) << "nothing is written";
}

// Conversions.

TEST_F(TypedAccess, ElementsThatCannotBeConvertedAreLeftOutInOrder) {
    int const values[] = {10, 11, 0, 13, 14};
    for (int const& value : values) {
        if (value == 0) {
            Set("k", PARAM_STRING, "no number");
        } else {
            Set("k", PARAM_INT, &value);
        }
    }
    std::vector<int> ints;
    EXPECT_TRUE(m_read.GetVectorParameter("k", ints));
    EXPECT_THAT(ints, ElementsAre(10, 11, 13, 14));
    std::vector<bool> bools;
    EXPECT_TRUE(m_read.GetVectorParameter("k", bools));
    EXPECT_THAT(bools, ElementsAre(true, true, true, true));
    std::vector<std::string> texts;
    EXPECT_TRUE(m_read.GetVectorParameter("k", texts));
    EXPECT_THAT(texts, ElementsAre("no number"));

    int array[] = {1, 1, 1, 1, 1};
    EXPECT_FALSE(m_read.GetArrayParameter("k", array, 5));
    EXPECT_THAT(array, ElementsAre(10, 11, 0, 13, 14)) << "the failure value where it could not be read";
}

TEST_F(TypedAccess, OnlyTheFirstAndLastElementReadable) {
    int const value = 3;
    Set("k", PARAM_INT, &value);
    for (int i = 0; i < 998; ++i) Set("k", PARAM_STRING, "no number");
    Set("k", PARAM_INT, &value);
    std::vector<double> read;
    EXPECT_TRUE(m_read.GetVectorParameter("k", read));
    EXPECT_THAT(read, ElementsAre(3.0, 3.0));
}

TEST_F(TypedAccess, AnyNumberButZeroReadsAsTrue) {
    m_modify.SetVectorParameter("k", std::vector<int>{0, 1, 2, -1});
    std::vector<bool> vector;
    EXPECT_TRUE(m_read.GetVectorParameter("k", vector));
    EXPECT_THAT(vector, ElementsAre(false, true, true, true));
    bool array[4] = {};
    EXPECT_TRUE(m_read.GetArrayParameter("k", array, 4));
    EXPECT_THAT(array, ElementsAre(false, true, true, true));
}

TEST_F(TypedAccess, UnreadableElementsOfABoolArrayAreFalse) {
    int const one = 1;
    Set("k", PARAM_INT, &one);
    Set("k", PARAM_STRING, "no number");
    bool array[] = {false, true, true};
    EXPECT_FALSE(m_read.GetArrayParameter("k", array, 3));
    EXPECT_THAT(array, ElementsAre(true, false, false));
}

TEST_F(TypedAccess, BoolsAreStoredAsTheIntsZeroAndOne) {
    EXPECT_TRUE(m_modify.SetVectorParameter("k", std::vector<bool>{true, false}));
    std::vector<int> read;
    EXPECT_TRUE(m_read.GetVectorParameter("k", read));
    EXPECT_THAT(read, ElementsAre(1, 0));
    EXPECT_EQ(Type("k"), PARAM_VECTOR);
}

// Single values.

TEST_F(TypedAccess, ATextIsCopied) {
    Set("k", PARAM_STRING, "x");
    Set("k", PARAM_STRING, "y");
    std::string value = "before";
    EXPECT_TRUE(m_read.GetParameter("k", value, 1));
    EXPECT_EQ(value, "y");
    Set("k", PARAM_STRING, "z", SCALAR_INDEX);
    EXPECT_EQ(value, "y");
    EXPECT_TRUE(m_read.GetParameter("k", value, SCALAR_INDEX));
    EXPECT_EQ(value, "z");
}

TEST_F(TypedAccess, ATextThatCannotBeReadIsEmpty) {
    int const number = 1;
    Set("number", PARAM_INT, &number);
    for (char const* key : {"absent", "number", static_cast<char const*>(nullptr)}) {
        std::string value = "before";
        EXPECT_FALSE(m_read.GetParameter(key, value, SCALAR_INDEX));
        EXPECT_EQ(value, "");
        value = "before";
        EXPECT_FALSE(m_read.GetFilenameParameterChk_C(key, value, SCALAR_INDEX));
        EXPECT_EQ(value, "");
    }
}

TEST_F(TypedAccess, TheKeyMayBeTheTextThatIsRead) {
    Set("k", PARAM_STRING, "value", SCALAR_INDEX);
    std::string value = "k";
    EXPECT_TRUE(m_read.GetParameter(value.c_str(), value, SCALAR_INDEX));
    EXPECT_EQ(value, "value");
    std::vector<std::string> values{"k"};
    EXPECT_TRUE(m_read.GetVectorParameter(values[0].c_str(), values));
    EXPECT_THAT(values, ElementsAre("value"));
}

TEST_F(TypedAccess, WhoAmITellsTheTicketsIdentity) {
    STICKET_WHOAMI identity{};
    identity.nIdA = 3;
    identity.nIdB = 4;
    STICKET_ACCESS const* ticket = STICKET::PCreate(identity);
    STICKET_OPTION_WHOAMI who{m_ticket, 0, 0};
    EXPECT_TRUE(STICKET_READ(*ticket).WhoAmI(who));
    EXPECT_EQ(who.pServer, nullptr);
    EXPECT_EQ(who.nIdA, 3);
    EXPECT_EQ(who.nIdB, 4);
    STICKET::Destroy(ticket);
}

// File names.

TEST_F(TypedAccess, FileNamesAreStoredAndReadWithForwardSlashes) {
    EXPECT_TRUE(m_modify.SetFilenameVectorParameter("k", {"a\\b\\c", "d/e", "\\"}));
    std::vector<std::string> read;
    EXPECT_TRUE(m_read.GetVectorParameter("k", read));
    EXPECT_THAT(read, ElementsAre("a/b/c", "d/e", "/"));

    m_modify.SetVectorParameter("k", std::vector<std::string>{"a\\b", "c"});
    EXPECT_TRUE(m_read.GetFilenameVectorParameter_C("k", read));
    EXPECT_THAT(read, ElementsAre("a/b", "c"));
    EXPECT_FALSE(m_read.GetFilenameVectorParameter_C("absent", read));

    std::string name;
    EXPECT_TRUE(m_read.GetFilenameParameterChk_C("k", name, 0));
    EXPECT_EQ(name, "a/b");
    EXPECT_TRUE(m_read.GetParameter("k", name, 0));
    EXPECT_EQ(name, "a\\b") << "the ticket itself is not changed by reading";
}

TEST(FileNames, EveryBackslashBecomesASlashInBothDirections) {
    EXPECT_EQ(FilenameFromTicket_C("one\\two\\three"), "one/two/three");
    EXPECT_EQ(FilenameFromTicket_C("one/two three"), "one/two three");
    for (char const* name : {"", "\\", "\\\\server\\share\\", "a/b\\c", "\x83\\x", "plain"})
        EXPECT_EQ(FilenameToTicket(name), FilenameFromTicket_C(name)) << name;
}

TEST(FileNames, ListsAreConvertedInOrderAlsoInPlace) {
    std::vector<std::string> names{"a\\b", "c", ""};
    std::vector<std::string> out{"before", "before", "before", "before"};
    FilenamesToTicket(out, names);
    EXPECT_THAT(out, ElementsAre("a/b", "c", ""));
    FilenamesToTicket(names, names);
    EXPECT_THAT(names, ElementsAre("a/b", "c", ""));
    FilenamesToTicket(names, {});
    EXPECT_THAT(names, IsEmpty());
}

// The calls of the table.

TEST(AccessBatches, AVectorIsWrittenInOneBatchWithTheIndexesMinusOneOneTwo) {
    FAKE_TICKET ticket;
    std::vector<std::string> batch;
    ticket.onSetMulti = [&](SETMULTIPAR* records) {
        for (; records->key; ++records) {
            batch.push_back(records::Line(*records));
            records->result = true;
        }
        return 0;  // ignored: the accessor looks at the records
    };
    STICKET_MODIFY const modify(*ticket.Access());
    EXPECT_TRUE(modify.SetVectorParameter("k", std::vector<int>{7, 8, 9}));
    EXPECT_THAT(batch, ElementsAre("k[-1] 2 7", "k[1] 2 8", "k[2] 2 9"));
    batch.clear();
    EXPECT_TRUE(modify.SetVectorParameter("k", std::vector<std::string>{"x", "y"}));
    EXPECT_THAT(batch, ElementsAre("k[-1] 4 x", "k[1] 4 y"));
    EXPECT_EQ(ticket.setMultis, 2);
    EXPECT_EQ(ticket.sets, 0);
}

TEST(AccessBatches, WritingFailsWhenARecordDoes) {
    FAKE_TICKET ticket;
    STICKET_MODIFY const modify(*ticket.Access());
    EXPECT_FALSE(modify.SetVectorParameter("k", std::vector<int>{7, 8, 9})) << "no record was handled";
    ticket.onSetMulti = [](SETMULTIPAR* records) {
        records[0].result = records[1].result = true;
        return 1;
    };
    EXPECT_FALSE(modify.SetVectorParameter("k", std::vector<int>{7, 8, 9}));
    EXPECT_TRUE(modify.SetVectorParameter("k", std::vector<int>{7, 8}));
}

TEST(AccessBatches, RemovingAKeyIsASingleSetWhoseAnswerDoesNotMatter) {
    FAKE_TICKET ticket;
    ticket.onSet = [](char const* key, PARAM_TYPE type, void const* value, int index) {
        EXPECT_STREQ(key, "k");
        EXPECT_EQ(type, PARAM_NONE);
        EXPECT_EQ(value, nullptr);
        EXPECT_EQ(index, SCALAR_INDEX);
        return 0;
    };
    STICKET_MODIFY const modify(*ticket.Access());
    EXPECT_TRUE(modify.SetVectorParameter("k", std::vector<double>()));
    EXPECT_TRUE(modify.SetVectorParameter("k", std::vector<bool>()));
    EXPECT_EQ(ticket.sets, 2);
    EXPECT_EQ(ticket.setMultis, 0);
}

TEST(AccessBatches, AVectorIsReadInOneBatchAfterOneCount) {
    FAKE_TICKET ticket;
    ticket.onGet = [](char const* key, PARAM_TYPE type, void* value, int index) {
        EXPECT_STREQ(key, "k");
        EXPECT_EQ(type, PARAM_VECTOR);
        EXPECT_EQ(index, SCALAR_INDEX);
        *static_cast<uint64_t*>(value) = 3;
        return 1;
    };
    ticket.onGetMulti = [](GETMULTIPAR* records) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_STREQ(records[i].key, "k");
            EXPECT_EQ(records[i].type, PARAM_UNSIGNED);
            EXPECT_EQ(records[i].index, i);
            EXPECT_EQ(*static_cast<unsigned int*>(records[i].value), i == 0 ? 99u : 0u) << "new elements are zero";
            *static_cast<unsigned int*>(records[i].value) = static_cast<unsigned int>(i);
            records[i].result = i != 1;
        }
        EXPECT_EQ(records[3].key, nullptr);
        return 0;
    };
    std::vector<unsigned int> value{99};
    EXPECT_TRUE(STICKET_READ(*ticket.Access()).GetVectorParameter("k", value));
    EXPECT_THAT(value, ElementsAre(0u, 2u));
    EXPECT_EQ(ticket.gets, 1);
    EXPECT_EQ(ticket.getMultis, 1);
}

TEST(AccessBatches, AnArrayIsReadInOneBatchWithoutACount) {
    FAKE_TICKET ticket;
    double array[] = {1, 2};
    ticket.onGetMulti = [&](GETMULTIPAR* records) {
        EXPECT_EQ(records[0].value, &array[0]);
        EXPECT_EQ(records[1].value, &array[1]);
        EXPECT_EQ(records[0].index, 0);
        EXPECT_EQ(array[1], 2) << "not cleared first";
        records[0].result = records[1].result = true;
        return 1;
    };
    EXPECT_TRUE(STICKET_READ(*ticket.Access()).GetArrayParameter("k", array, 2));
    EXPECT_EQ(ticket.gets, 0);
    EXPECT_EQ(ticket.getMultis, 1);
}

TEST(AccessBatches, ACountTooLargeForABatchReadsNothing) {
    FAKE_TICKET ticket;
    ticket.onGet = [](char const*, PARAM_TYPE, void* value, int) {
        *static_cast<uint64_t*>(value) = std::numeric_limits<uint64_t>::max();
        return 1;
    };
    std::vector<int> ints{5};
    std::vector<bool> bools{true};
    std::vector<std::string> texts{"before"};
    STICKET_READ const read(*ticket.Access());
    EXPECT_FALSE(read.GetVectorParameter("k", ints));
    EXPECT_FALSE(read.GetVectorParameter("k", bools));
    EXPECT_FALSE(read.GetVectorParameter("k", texts));
    EXPECT_THAT(ints, ElementsAre(5));
    EXPECT_THAT(bools, ElementsAre(true));
    EXPECT_THAT(texts, ElementsAre("before"));
    EXPECT_EQ(ticket.getMultis, 0);
}

TEST(AccessBatches, NullTextsOfAForeignTicketAreDropped) {
    FAKE_TICKET ticket;
    ticket.onGet = [](char const*, PARAM_TYPE type, void* value, int) {
        if (type == PARAM_VECTOR) *static_cast<uint64_t*>(value) = 2;
        return 1;
    };
    ticket.onGetMulti = [](GETMULTIPAR* records) {
        *static_cast<char const**>(records[0].value) = nullptr;
        *static_cast<char const**>(records[1].value) = "x";
        records[0].result = records[1].result = true;
        return 1;
    };
    STICKET_READ const read(*ticket.Access());
    std::vector<std::string> texts;
    EXPECT_TRUE(read.GetVectorParameter("k", texts));
    EXPECT_THAT(texts, ElementsAre("x"));
    std::string text = "before";
    EXPECT_FALSE(read.GetParameter("k", text, SCALAR_INDEX));
    EXPECT_EQ(text, "");
}

TEST(AccessBatches, WhoAmIOfATableThatFailsGivesNobody) {
    FAKE_TICKET ticket;
    ticket.onOperation = [](STICKET_OP code, void* data) {
        EXPECT_EQ(code, STICKET_OP_WHOAMI);
        *static_cast<STICKET_OPTION_WHOAMI*>(data) = {nullptr, 77, 78};
        return 0;
    };
    STICKET_OPTION_WHOAMI who{ticket.Access(), 5, 6};
    EXPECT_FALSE(STICKET_READ(*ticket.Access()).WhoAmI(who));
    EXPECT_EQ(who.pServer, nullptr);
    EXPECT_EQ(who.nIdA, -1);
    EXPECT_EQ(who.nIdB, -1);
}

// The ticket holds its mutex for a whole batch, so a reader sees the elements of one writer only.
TEST_F(TypedAccess, AReaderNeverSeesHalfOfAVectorThatAnotherThreadWrites) {
    std::vector<int> const ones(50, 1);
    std::vector<int> const twos(50, 2);
    m_modify.SetVectorParameter("k", ones);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 500; ++i) m_modify.SetVectorParameter("k", i % 2 ? ones : twos);
        done = true;
    });
    std::vector<int> read;
    bool torn = false;
    while (!done) {
        torn = !m_read.GetVectorParameter("k", read) || (read != ones && read != twos) || torn;
    }
    writer.join();
    EXPECT_FALSE(torn);
}

}  // namespace
