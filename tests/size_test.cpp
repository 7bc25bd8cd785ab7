// Very large input: deep, wide and long files, keys and values, some made to do harm. Each case runs in its own process
// with a limit of time and memory, mostly on a thread with a small stack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "support/FileTickets.h"
#include "support/Processes.h"
#include "support/Repeated.h"
#include "support/Sanitizers.h"
#include "support/SmallStack.h"

namespace {

using namespace tickets;

constexpr rlim_t MOST_SECONDS = SANITIZED ? 100 : 30;  // processor time of a case
constexpr int SHARE = SANITIZED ? 10 : 1;              // under a sanitizer a tenth of the size is enough

// "a/a/…/a"
std::string DeepKey(std::size_t components) {
    return Repeated("a/", components - 1) + "a";
}

std::string Numbered(char const* name, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%07d", number);
    return name + std::string(digits);
}

std::size_t Lines(std::string const& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool Saves(STICKET_ACCESS const* ticket) {
    return Operate(ticket, STICKET_OP_SAVE) == 1;
}

// Ends a case with false if the condition does not hold.
#define REQUIRE(condition)                                         \
    do {                                                           \
        if (!(condition)) {                                        \
            std::printf("%d: not so: %s\n", __LINE__, #condition); \
            std::fflush(stdout);                                   \
            return false;                                          \
        }                                                          \
    } while (false)

bool NestedTyped(std::string const& file) {
    constexpr std::size_t LEVELS = 10000;
    files::Write(file, "<ticket>" + Repeated("<a type=\"int\">1", LEVELS) + Repeated("</a>", LEVELS) + "</ticket>");
    {
        OWNER const ticket(file.c_str());
        REQUIRE(Count(ticket) == LEVELS);
        REQUIRE(GetInt(ticket, DeepKey(LEVELS).c_str()) == 1);
        Set(ticket, DeepKey(LEVELS).c_str(), 2);
        REQUIRE(Saves(ticket));
    }
    OWNER const ticket(file.c_str());
    REQUIRE(Count(ticket) == LEVELS);
    REQUIRE(GetInt(ticket, DeepKey(LEVELS).c_str()) == 2);
    return true;
}

// Saving it would write a terabyte of indentation: the save is refused and the file stays, also when the ticket is
// destroyed.
bool NestedUntyped(std::string const& file) {
    constexpr std::size_t LEVELS = 1000000;
    std::string const text = "<ticket>" + Repeated("<a>", LEVELS) + "<b type=\"int\">42</b>" +
                             Repeated("</a>", LEVELS) + "<c type=\"int\">43</c></ticket>";
    files::Write(file, text);
    {
        OWNER const ticket(file.c_str());
        REQUIRE(GetInt(ticket, (Repeated("a/", LEVELS) + "b").c_str()) == 42);
        REQUIRE(GetInt(ticket, "c") == 43);
        REQUIRE(Count(ticket) == 2);
        REQUIRE(Set(ticket, "c", 44) == 1);
        REQUIRE(!Saves(ticket));
        REQUIRE(GetInt(ticket, "c") == 44);
    }
    REQUIRE(FileContent(file) == text);
    return true;
}

bool KeyOfManyComponents(std::string const& file) {
    std::string const key = DeepKey(100000);
    for (char const* const other : {"b", "Wild*card/b"}) {  // the stream writer, then the tree writer
        OWNER const ticket(file.c_str());
        REQUIRE(Set(ticket, key.c_str(), 42) == 1);
        REQUIRE(GetInt(ticket, key.c_str()) == 42);
        REQUIRE(Set(ticket, other, 1) == 1);
        REQUIRE(Contents(ticket).size() == 2);
        REQUIRE(!Saves(ticket));
        REQUIRE(!files::Exists(file));
        REQUIRE(Delete(ticket, key.c_str()) == 1);
        REQUIRE(Saves(ticket));
        REQUIRE(Set(ticket, key.c_str(), 42) == 1);
        std::filesystem::remove(file);
    }
    return true;
}

bool KeyOfManyComponentsSaved(std::string const& file) {
    std::string const key = DeepKey(3000);
    {
        OWNER const ticket(file.c_str());
        Set(ticket, key.c_str(), 42);
        REQUIRE(Saves(ticket));
    }
    OWNER const ticket(file.c_str());
    REQUIRE(GetInt(ticket, key.c_str()) == 42);
    REQUIRE(Count(ticket) == 1);
    return true;
}

bool EntityBomb(std::string const& file) {
    std::string text = "<?xml version=\"1.0\"?><!DOCTYPE ticket [<!ENTITY e0 \"laughter\">";
    for (int level = 1; level < 100000; ++level) {
        std::string const outer = "e" + std::to_string(level);
        text += "<!ENTITY " + outer + " \"" + Repeated("&e" + std::to_string(level - 1) + ";", 10) + "\">";
    }
    files::Write(file, text + "]><ticket><a type=\"string\">&e99999;</a><b type=\"int\">1</b></ticket>");
    OWNER const ticket(file.c_str());
    REQUIRE(GetText(ticket, "a") == "&e99999;");
    REQUIRE(GetInt(ticket, "b") == 1);
    return true;
}

bool NestedDeclarations(std::string const& file) {
    constexpr std::size_t LEVELS = 1000000;
    files::Write(file, "<!DOCTYPE ticket " + Repeated("<![IGNORE[", LEVELS) + Repeated("]]>", LEVELS) +
                           Repeated("<!x ", LEVELS) + Repeated(">", LEVELS) +
                           "><ticket><a type=\"int\">1</a></ticket>");
    OWNER const ticket(file.c_str());
    REQUIRE(GetInt(ticket, "a") == 1);
    return true;
}

bool TwelveStars(std::string const& file) {
    OWNER const ticket(file.c_str());
    for (int i = 0; i < 100000; ++i) Set(ticket, (Numbered("!aaaa", i) + "/v").c_str(), i);  // before all patterns
    Set(ticket, (std::string(1000000, '!') + "/v").c_str(), 1);
    for (char const* const pattern :
         {"*a*a*a*a*a*a*a*a*a*a*a*z", "*!*!*!*!*!*!*!*!*!*!*!*z", "*a*a*a*a*0*0*0*0*0*0*9*"})
        Set(ticket, (std::string(pattern) + "/w").c_str(), 1);
    REQUIRE(Saves(ticket));
    std::string const text = FileContent(file);
    REQUIRE(Lines(text) == 3 + 3 * 100001 + 2 * 3 + 1);  // the last one finds an element
    REQUIRE(text.find("<!aaaa0000009>\n\t\t<v type=\"int\">9</v>\n\t\t<w type") != std::string::npos);
    return true;
}

bool ManyPatterns(std::string const& file) {
    constexpr int EACH = 50000;
    OWNER const ticket(file.c_str());
    for (int i = 0; i < EACH; ++i) {
        Set(ticket, (Numbered("front*", i) + "/v").c_str(), i);
        Set(ticket, (Numbered("", i) + "*?*back/v").c_str(), i);
        Set(ticket, (Numbered("one*of/", i)).c_str(), i);
        Set(ticket, (Numbered("list[", i) + "]/v").c_str(), i);
    }
    REQUIRE(Saves(ticket));
    std::string const text = FileContent(file);
    REQUIRE(std::count(text.begin(), text.end(), '=') == 2 + 4 * EACH);
    return true;
}

bool LargeFile(std::string const& file) {
    constexpr int KEYS = 1050000 / SHARE;
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n";
    for (int i = 0; i < KEYS; ++i) {
        std::string const name = Numbered("key", i);
        text += "\t<" + name + " type=\"string\">the text of key " + Numbered("", i) + "</" + name + ">\n";
    }
    text += "</ticket>\n";
    REQUIRE(text.size() > 64000000 / SHARE);
    files::Write(file, text);
    OWNER const ticket(file.c_str());
    REQUIRE(Count(ticket) == KEYS);
    REQUIRE(GetText(ticket, "key0099999") == "the text of key 0099999");
    REQUIRE(Set(ticket, "key0000007", "the text of key 0000007") == 1);
    std::filesystem::remove(file);
    REQUIRE(Saves(ticket));
    REQUIRE(FileContent(file) == text);
    return true;
}

// Bytes after a NUL behind the document are not read, whether or not the names are valid in XML.
bool NulInALargeFile(std::string const& file) {
    for (std::string const name : {"a", "HP 4000"}) {
        files::Write(file, Document({("<" + name + " type=\"int\">42</" + name + ">").c_str()}));
        std::filesystem::resize_file(file, std::uintmax_t{1} << 30);
        OWNER const ticket(file.c_str());
        REQUIRE(GetInt(ticket, name.c_str()) == 42);
        REQUIRE(Count(ticket) == 1);
    }
    return true;
}

bool MillionKeys(std::string const& file) {
    constexpr int KEYS = 1000000 / SHARE;
    auto const key = [](int number) { return "c" + std::to_string(number / 10) + "/" + Numbered("k", number); };
    {
        OWNER const ticket(file.c_str());
        for (int i = 0; i < KEYS; ++i) Set(ticket, key(static_cast<int>(i * 7919L % KEYS)).c_str(), i);
        REQUIRE(Count(ticket) == KEYS);
        for (int i = 0; i < KEYS; ++i) REQUIRE(GetInt(ticket, key(static_cast<int>(i * 7919L % KEYS)).c_str()) == i);
    }
    OWNER const ticket(file.c_str());
    REQUIRE(Count(ticket) == KEYS);
    for (int i = 0; i < KEYS; ++i) REQUIRE(Delete(ticket, key(i).c_str()) == 1);
    REQUIRE(Count(ticket) == 0);
    REQUIRE(Saves(ticket));
    REQUIRE(!files::Exists(file));
    return true;
}

bool LongKeys(std::string const& file) {
    constexpr int KEYS = 1000 / SHARE;
    std::string const start(65536 - 9, 'k');
    auto const key = [&](int number) { return start + Numbered("", number) + "/v"; };
    {
        OWNER const ticket(file.c_str());
        for (int i = 0; i < KEYS; ++i) REQUIRE(Set(ticket, key(i).c_str(), i) == 1);
        for (int i = 0; i < KEYS; ++i) REQUIRE(GetInt(ticket, key(i).c_str()) == i);
    }
    OWNER const ticket(file.c_str());
    REQUIRE(Count(ticket) == KEYS);
    for (int i = 0; i < KEYS; ++i) REQUIRE(GetInt(ticket, key(i).c_str()) == i);
    return true;
}

// More keys than a process may map if each key had its own mapping.
bool ManyKeysOfAKilobyte(std::string const& /*file*/) {
    constexpr int KEYS = 540000 / SHARE;
    std::string const start(1003, 'x');
    OWNER const ticket;
    for (int i = 0; i < KEYS; ++i) REQUIRE(Set(ticket, Numbered(start.c_str(), i).c_str(), i) == 1);
    REQUIRE(Count(ticket) == KEYS);
    REQUIRE(GetInt(ticket, Numbered(start.c_str(), KEYS / 2).c_str()) == KEYS / 2);
    return true;
}

bool LongValues(std::string const& file) {
    constexpr std::size_t SIZE = (16 << 20) / SHARE;
    std::string const text = Repeated("<\\ \x01 caf\xC3\xA9>", SIZE / 11);
    std::string const bytes(SIZE, '\xFF');
    BIN_STRING const value{bytes.data(), bytes.size()};
    {
        OWNER const ticket(file.c_str());
        REQUIRE(Set(ticket, "text", text.c_str()) == 1);
        REQUIRE(ticket->SetParameter(ticket->pTicket, "bytes", PARAM_BINSTR, &value, SCALAR_INDEX) == 1);
    }
    OWNER const ticket(file.c_str());
    REQUIRE(GetText(ticket, "text") == text);
    BIN_STRING read{};
    REQUIRE(ticket->GetParameter(ticket->pTicket, "bytes", PARAM_BINSTR, &read, SCALAR_INDEX) == 1);
    REQUIRE(std::string_view(static_cast<char const*>(read.data), read.length) == bytes);
    return true;
}

bool LongTextsOfNumbers(std::string const& file) {
    constexpr std::size_t SIZE = (16 << 20) / SHARE;
    std::string const digits(SIZE, '7');
    std::string text = "<ticket>";
    for (auto const& [type, start] : {std::pair("int", ""), std::pair("int", "-"), std::pair("int64", "+"),
                                      std::pair("uint64", ""), std::pair("double", "0.")})
        text += "<n type=\"" + std::string(type) + "\">" + start + digits + "</n>";
    files::Write(file, text + "<spaces type=\"string\">a" + std::string(SIZE, ' ') + "b</spaces></ticket>");
    OWNER const ticket(file.c_str());
    REQUIRE(GetInt(ticket, "n", 0) == 2147483647);
    REQUIRE(GetInt(ticket, "n", 1) == -2147483647 - 1);
    REQUIRE(GetInt(ticket, "n", 4) == 1);
    REQUIRE(GetText(ticket, "spaces") == "a b");
    REQUIRE(Count(ticket) == 6);
    return true;
}

bool LongVector(std::string const& file) {
    constexpr int ELEMENTS = 1000000 / SHARE;
    {
        OWNER const ticket(file.c_str());
        for (int i = 0; i < ELEMENTS; ++i) Set(ticket, "v", i, APPEND_INDEX);
    }
    OWNER const ticket(file.c_str());
    uint64_t count = 0;
    REQUIRE(ticket->GetParameter(ticket->pTicket, "v", PARAM_VECTOR, &count, SCALAR_INDEX) == 1);
    REQUIRE(count == ELEMENTS);
    for (int i = 0; i < ELEMENTS; ++i) REQUIRE(GetInt(ticket, "v", i) == i);
    return true;
}

struct CASE {
    char const* name;
    bool (*run)(std::string const& file);
    long mostMegabytes;
};

void PrintTo(CASE const& c, std::ostream* stream) {
    *stream << c.name;
}

class Size : public testing::TestWithParam<CASE> {};

}  // namespace

TEST_P(Size, IsServedRightWithinItsTimeAndMemoryOnASmallStack) {
    if (THREAD_SANITIZED) GTEST_SKIP() << "one thread only";
    SCRATCH_DIRECTORY const scratch;
    CASE const& tested = GetParam();
    pid_t const child = Spawn([&] {
        rlimit const limit{MOST_SECONDS, MOST_SECONDS};
        setrlimit(RLIMIT_CPU, &limit);
        bool right = false;
        RunOnSmallStack([&] { right = tested.run(scratch.Path("t.xml")); });
        return right;
    });
    int status = -1;
    rusage used{};
    ASSERT_EQ(wait4(child, &status, 0, &used), child);
    EXPECT_EQ(status, 0);
    long const megabytes = used.ru_maxrss / 1024;
    std::printf("%s: %.2f s of the processor, %ld MB at most\n", tested.name,
                static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                    static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6,
                megabytes);
    EXPECT_TRUE(SANITIZED || megabytes <= tested.mostMegabytes) << megabytes;
}

INSTANTIATE_TEST_SUITE_P(
    , Size,
    testing::Values(CASE{"TenThousandNestedTypedElements", &NestedTyped, 600},
                    CASE{"MillionNestedUntypedElements", &NestedUntyped, 1300},
                    CASE{"KeyOfAHundredThousandComponents", &KeyOfManyComponents, 1300},
                    CASE{"KeyOfThreeThousandComponentsSaved", &KeyOfManyComponentsSaved, 100},
                    CASE{"EntityBomb", &EntityBomb, 200}, CASE{"NestedDeclarations", &NestedDeclarations, 200},
                    CASE{"ComponentOfTwelveStars", &TwelveStars, 200},
                    CASE{"ManyComponentsWithWildcards", &ManyPatterns, 300}, CASE{"FileOf64Megabytes", &LargeFile, 900},
                    CASE{"NulInAFileOfAGigabyte", &NulInALargeFile, 50}, CASE{"MillionKeys", &MillionKeys, 500},
                    CASE{"KeysOf64Kilobytes", &LongKeys, 400}, CASE{"ManyKeysOfAKilobyte", &ManyKeysOfAKilobyte, 900},
                    CASE{"ValuesOf16Megabytes", &LongValues, 500},
                    CASE{"NumbersOf16Megabytes", &LongTextsOfNumbers, 600},
                    CASE{"VectorOfAMillionElements", &LongVector, 400}),
    [](auto const& one) { return one.param.name; });
