// Every operation that allocates, with each of its allocations failing once, and with all failing from there on.
// Nothing crashes, no exception leaves a ticket's table, each value is the old or the new one, nothing leaks, and the
// operation succeeds once memory is available again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/ConfigurationCtrl.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/SysLib.h"
#include "ConfigurationControl/TicketAccess.h"
#include "support/FailingAllocations.h"
#include "support/Figures.h"
#include "support/FileTickets.h"

namespace {

using namespace tickets;

char const LONG_KEY[] = "a_key/that_is_too_long/for_the_small/buffer_of_a_string";
char const LONG_TEXT[] = "a text that is too long for the small buffer of a string";
char const OTHER_TEXT[] = "another text that is too long for the small buffer of a string";

// The objects that a scenario works on, created for each attempt.
struct WORLD {
    explicit WORLD(std::string const& where, std::string const& content, STICKET_WHOAMI const& whoAmI)
        : directory(where), size(content.size()), open(new OPEN_TICKET), memory(open->GetInterface()) {
        for (auto const& entry : std::filesystem::directory_iterator(directory)) std::filesystem::remove_all(entry);
        if (!content.empty()) files::Write(path, content);
        file = STICKET::CCreate(path.c_str(), whoAmI);
        for (STICKET_ACCESS const* ticket : {memory, other}) Fill(ticket);
    }
    ~WORLD() {
        for (STICKET_ACCESS const* ticket : {memory, other, file}) STICKET::Destroy(ticket);
        std::free(records);
        delete list;
    }
    WORLD(WORLD const&) = delete;
    WORLD& operator=(WORLD const&) = delete;

    static void Fill(STICKET_ACCESS const* ticket) {
        Set(ticket, "text", LONG_TEXT);
        Set(ticket, "number", 0.5);
        for (int i = 0; i < 3; ++i) Set(ticket, "vector", i, APPEND_INDEX);
        Set(ticket, "texts", LONG_TEXT, APPEND_INDEX);
        Set(ticket, "texts", OTHER_TEXT, APPEND_INDEX);
        BIN_STRING const bytes{LONG_TEXT, sizeof LONG_TEXT};
        ticket->SetParameter(ticket->pTicket, "bytes", PARAM_BINSTR, &bytes, SCALAR_INDEX);
        int64_t const large = INT64_MAX;
        ticket->SetParameter(ticket->pTicket, "large", PARAM_INT64, &large, SCALAR_INDEX);
    }

    std::string const directory;
    std::string const path = directory + "/t.xml";
    std::size_t const size;  // of the file
    OPEN_TICKET* const open;
    STICKET_ACCESS const* const memory;  // of `open`
    STICKET_ACCESS const* const other = STICKET::Create(nullptr);
    STICKET_ACCESS const* file;
    CConfigurationControl service;

    // Arguments and results of scenarios.
    std::string text = LONG_TEXT;
    std::vector<std::string> texts{LONG_TEXT, "short", OTHER_TEXT};
    std::vector<int> numbers{1, 2, 3};
    PARTIAL_MODE mode;
    SETMULTIPAR* records = nullptr;
    SETMULTIPAR_LIST* list = new SETMULTIPAR_LIST(true);
};

// All values by ticket and key, and the bytes of the files. While the service has a ticket, the file is read through
// it.
using VALUES = std::map<std::string, std::string>;

void AddValues(VALUES& values, char const* name, STICKET_ACCESS const* ticket) {
    for (std::string const& line : Contents(ticket))
        values[std::string(name) + line.substr(0, line.find_first_of(" ["))] += line + "\n";
}

VALUES FilesOf(WORLD const& world) {
    VALUES files;
    for (auto const& file : std::filesystem::directory_iterator(world.directory))
        if (file.is_regular_file()) files["file " + file.path().string()] = "holds " + FileContent(file.path());
    return files;
}

VALUES ValuesOf(WORLD& world) {
    VALUES values = FilesOf(world);
    AddValues(values, "memory: ", world.memory);
    AddValues(values, "other: ", world.other);
    STICKET_ACCESS const* const ticket = world.service.GetConfigInstance(false);
    AddValues(values, "file: ", ticket ? ticket : world.file);
    return values;
}

std::string Value(VALUES const& values, std::string const& key) {
    auto const found = values.find(key);
    return found == values.end() ? "" : found->second;
}

struct SCENARIO {
    char const* name;
    std::function<bool(WORLD&)> run;  // returns whether it succeeded
    std::function<void(WORLD&)> prepare{};
    enum TRAITS {
        USUAL = 0,
        THROWS = 1,        // a C++ function, which may throw std::bad_alloc
        LAST_SAVE = 2,     // a failed save loses the changes: the old file stays, no second attempt
        LARGE_FILE = 4,    // with a file so large that the allocator maps memory for it
        ODD_FILE = 8,      // with a file that needs every reader and writer
        BROKEN_FILE = 16,  // with a file that cannot be parsed
        CONVERTING = 32,   // with a text conversion
        PIECEMEAL = 64     // a value is made of records: as long as the call fails some may be new and some old
    };
    int traits = USUAL;

    friend std::ostream& operator<<(std::ostream& stream, SCENARIO const& scenario) { return stream << scenario.name; }
};

class CONVERSION : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override { return text + " and what the file's character set adds"; }
    std::string FromFile(std::string const& text, int) override { return text.substr(0, text.find(" and")); }
};

// Makes allocations of the XML library fail even where malloc cannot be replaced.
void* TakeForDocument(std::size_t size) {
    return allocations::IsGranted() ? std::malloc(size) : nullptr;
}

class ExhaustedMemory : public testing::TestWithParam<SCENARIO> {
 protected:
    enum OUTCOME { DONE, REFUSED, THROWN };

    static void SetUpTestSuite() { pugi::set_memory_management_functions(&TakeForDocument, &std::free); }

    bool Is(SCENARIO::TRAITS trait) const { return (GetParam().traits & trait) != 0; }

    std::string Content() const {
        if (Is(SCENARIO::BROKEN_FILE)) return "<ticket><a type=\"int\">1</ticket>";
        if (Is(SCENARIO::ODD_FILE))
            return Document({"<a type=\"string\">with  \\007 &amp; <![CDATA[more]]></a>",
                             "<b type=\"binstr\">\\001</b>", "<deep><er><still type=\"double\">0.5</still></er></deep>",
                             "<a type=\"int64\">7</a>"});
        bool const isLarge = Is(SCENARIO::LARGE_FILE);
        std::string const text = LONG_TEXT + std::string(isLarge ? 3000 : 0, 'x');
        std::string lines;
        for (int i = 100000; i < (isLarge ? 100200 : 100005); ++i) {
            std::string const name = "key" + std::to_string(i);
            lines += "\t<" + name + " type=\"string\">" + text + "</" + name + ">\n";
        }
        std::string document = Document({});
        return document.insert(document.find("</ticket>"), lines);
    }

    std::unique_ptr<WORLD> NewWorld() {
        STICKET_WHOAMI whoAmI = NOBODY;
        if (Is(SCENARIO::CONVERTING)) whoAmI.pContext = static_cast<STICKET_STRING_CONVERSION*>(&m_conversion);
        auto world = std::make_unique<WORLD>(m_scratch.Path(), m_content, whoAmI);
        if (GetParam().prepare) GetParam().prepare(*world);
        return world;
    }

    static OUTCOME Attempt(WORLD& world) {
        try {
            return GetParam().run(world) ? DONE : REFUSED;
        } catch (std::bad_alloc const&) {
            return THROWN;
        }
    }

    // One attempt in which an allocation fails; false if the operation makes fewer allocations.
    bool AttemptFails(int granted, int failures) {
        auto const world = NewWorld();
        OUTCOME const outcome = allocations::With(
            granted, [&] { return Attempt(*world); }, failures);
        if (allocations::t_failed == 0) return false;
        m_failed += allocations::t_failed;
        ++m_attempts;
        EXPECT_TRUE(outcome != THROWN || Is(SCENARIO::THROWS)) << "thrown through a table";
        if (outcome != DONE && Is(SCENARIO::LAST_SAVE)) {
            VALUES const files = FilesOf(*world);
            EXPECT_FALSE(files.empty());
            EXPECT_TRUE(std::includes(m_before.begin(), m_before.end(), files.begin(), files.end()));
            return true;
        }
        VALUES const found = ValuesOf(*world);
        bool const isAsExpected = found == m_after || (found == m_before && outcome != DONE);
        if (!isAsExpected) ExpectOldOrNew(found, outcome);
        if (outcome != DONE) {
            EXPECT_EQ(Attempt(*world), DONE) << "when memory is back";
            VALUES const files = FilesOf(*world);
            EXPECT_TRUE(std::includes(m_after.begin(), m_after.end(), files.begin(), files.end()));
            EXPECT_TRUE(found != m_before || ValuesOf(*world) == m_after);
        }
        return true;
    }

    void ExpectOldOrNew(VALUES const& found, OUTCOME outcome) const {
        for (VALUES const* all :
             {static_cast<VALUES const*>(&m_before), static_cast<VALUES const*>(&m_after), &found}) {
            for (auto const& known : *all) {
                std::string const value = Value(found, known.first);
                bool const isOld = value == Value(m_before, known.first) || Is(SCENARIO::PIECEMEAL);
                EXPECT_TRUE((isOld && outcome != DONE) || value == Value(m_after, known.first))
                    << known.first << ": " << value.substr(0, 500);
            }
        }
    }

    SCRATCH_DIRECTORY m_scratch;
    CONVERSION m_conversion;
    std::string const m_content = Content();
    VALUES m_before;
    VALUES m_after;
    int m_attempts = 0;
    int m_failed = 0;
};

TEST_P(ExhaustedMemory, IsSurvivedAndLeavesOldOrNewValues) {
    {
        auto const world = NewWorld();
        m_before = ValuesOf(*world);
    }
    {
        auto const world = NewWorld();
        ASSERT_EQ(Attempt(*world), DONE);
        m_after = ValuesOf(*world);
    }
    bool const isSlow = SANITIZED && Is(SCENARIO::LARGE_FILE);
    // As many fail one by one, and then a sample of the later ones.
    int const each = isSlow ? 10 : Is(SCENARIO::LARGE_FILE) ? 40 : 1000;
    int const sample = isSlow ? 3 : 10;
    for (int const failures : {1, allocations::UNLIMITED}) {
        bool done = false;
        for (int granted = 0; !done && !HasFailure(); granted += granted < each ? 1 : granted / sample) {
            long const held = allocations::t_held;
            {
                SCOPED_TRACE("allocation " + std::to_string(granted) + (failures == 1 ? "" : " and all that follow"));
                done = !AttemptFails(granted, failures);
            }
            EXPECT_TRUE(granted == 0 || allocations::t_held == held) << "leaked at allocation " << granted;
        }
    }
    Figure(std::string("attempts, ") + GetParam().name, m_attempts);
    Figure(std::string("failed allocations, ") + GetParam().name, m_failed);
}

// The scenarios

bool SetBatch(STICKET_ACCESS const* ticket) {
    double const real = 1.5;
    BIN_STRING const bytes{OTHER_TEXT, sizeof OTHER_TEXT};
    SETMULTIPAR records[] = {{LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
                             {"text", PARAM_STRING, OTHER_TEXT, SCALAR_INDEX, false},
                             {"number", PARAM_DOUBLE, &real, SCALAR_INDEX, false},
                             {"bytes", PARAM_BINSTR, &bytes, SCALAR_INDEX, false},
                             {}};
    return ticket->SetMultiParameter(ticket->pTicket, records) && AllMultiParameterOk(records);
}

bool GetBatch(STICKET_ACCESS const* ticket, char const* first, char const* second) {
    char const* texts[2] = {};
    GETMULTIPAR records[] = {{first, PARAM_STRING, &texts[0], SCALAR_INDEX, false},
                             {second, PARAM_STRING, &texts[1], SCALAR_INDEX, false},
                             {}};
    return ticket->GetMultiParameter(ticket->pTicket, records) && AllMultiParameterOk(records) && *texts[0] &&
           *texts[1];
}

bool GetOneText(STICKET_ACCESS const* ticket, char const* key) {
    char const* text = nullptr;
    return ticket->GetParameter(ticket->pTicket, key, PARAM_STRING, &text, SCALAR_INDEX) && *text;
}

bool Walk(STICKET_ACCESS const* ticket) {
    auto const visit = [](void* count, char const*, PARAM_TYPE, void const*, int) {
        ++*static_cast<int*>(count);
        return true;
    };
    int count = 0;
    return ticket->WalkParameter(ticket->pTicket, visit, &count, "", WALK_EVERYTHING) && count > 0;
}

bool SetWithinWalk(STICKET_ACCESS const* ticket) {
    struct CONTEXT {
        STICKET_ACCESS const* ticket;
        bool ok;
    } context{ticket, true};
    auto const visit = [](void* data, char const* key, PARAM_TYPE, void const*, int index) {
        auto& walk = *static_cast<CONTEXT*>(data);
        if (index == SCALAR_INDEX && *key == 't') walk.ok = Set(walk.ticket, LONG_KEY, LONG_TEXT) && walk.ok;
        return true;
    };
    return ticket->WalkParameter(ticket->pTicket, visit, &context, "", WALK_EVERYTHING) && context.ok;
}

bool Merge(STICKET_ACCESS const* target, STICKET_ACCESS const* source, bool clear, bool selected) {
    char const* const keys[] = {"te*", "bytes", "a prefix that is rather long*", nullptr};
    // After everything is collected, the answer is 1 even if some records found no memory.
    int const failed = allocations::t_failed;
    return target->MergeTicket(target->pTicket, source, selected ? keys : nullptr, clear) &&
           allocations::t_failed == failed;
}

bool IsCounted(STICKET_ACCESS const* ticket) {
    unsigned int count = 0;
    return Operate(ticket, STICKET_OP_COUNT, &count) && count > 0;
}

bool SetPartial(STICKET_ACCESS const* ticket) {
    char const* keys[] = {"key100001", "a partial key that is rather long", nullptr};
    return Operate(ticket, STICKET_OP_PARTIAL_KEYS, keys) != 0;
}

// Saves; true if the ticket reports success and the file has changed.
bool Save(WORLD& world, STICKET_OP code = STICKET_OP_SAVE) {
    return Operate(world.file, code) != 0;
}

// Whether the file has grown: the service's Flush reports nothing.
bool HasGrown(WORLD const& world) {
    struct stat found;
    return stat(world.path.c_str(), &found) == 0 && static_cast<std::size_t>(found.st_size) > world.size;
}

bool CreateAndDestroy(char const* name) {
    STICKET_ACCESS const* ticket = STICKET::Create(name);
    STICKET::Destroy(ticket);
    return true;
}

bool Free(void* memory) {
    std::free(memory);
    return memory != nullptr;
}

using W = WORLD;

void Change(W& w) {
    Set(w.file, LONG_KEY, LONG_TEXT);
}
void Watch(W& w) {
    w.open->Register(1, {"te*", LONG_KEY});
}
void Open(W& w) {
    w.service.Initialize(w.path);
}
void OpenAndChange(W& w) {
    Open(w);
    w.service.SetProductName(w.text);
}

SCENARIO const MEMORY_TICKET[] = {
    {"SetOfANewText", [](W& w) { return Set(w.memory, LONG_KEY, LONG_TEXT) != 0; }},
    {"SetOfAnOldText", [](W& w) { return Set(w.memory, "text", OTHER_TEXT) != 0; }},
    {"SetOfANewNumber", [](W& w) { return Set(w.memory, LONG_KEY, 7) != 0; }},
    {"SetOfALongText", [](W& w) { return Set(w.memory, LONG_KEY, w.text.c_str()) != 0; },
     [](W& w) { w.text.assign(3000000, 'x'); }},
    {"AppendToAScalar", [](W& w) { return Set(w.memory, "text", OTHER_TEXT, APPEND_INDEX) != 0; }},
    {"AppendToAVector", [](W& w) { return Set(w.memory, "texts", OTHER_TEXT, APPEND_INDEX) != 0; }},
    {"SetOfAnElement", [](W& w) { return Set(w.memory, "texts", OTHER_TEXT, 0) != 0; }},
    {"SetOfAnElementOfAScalar", [](W& w) { return Set(w.memory, "number", OTHER_TEXT, 1) != 0; }},
    {"SetOfBytes",
     [](W& w) {
         BIN_STRING const bytes{OTHER_TEXT, sizeof OTHER_TEXT};
         return w.memory->SetParameter(w.memory->pTicket, "bytes", PARAM_BINSTR, &bytes, SCALAR_INDEX) != 0;
     }},
    {"SetOfAWatchedKey", [](W& w) { return Set(w.memory, "text", OTHER_TEXT) != 0; }, Watch},
    {"SetOfManyKeys",
     [](W& w) {
         char key[] = "key0000";
         for (int i = 0; i < 300; ++i) {
             key[4] = static_cast<char>('0' + i / 100);
             key[5] = static_cast<char>('0' + i / 10 % 10);
             key[6] = static_cast<char>('0' + i % 10);
             if (!Set(w.memory, key, i)) return false;
         }
         return true;
     }},
    {"Batch", [](W& w) { return SetBatch(w.memory); }},
    {"BatchThatIsWatched", [](W& w) { return SetBatch(w.memory); }, Watch},
    {"FlushOfANotification",
     [](W& w) {
         int number = 1;
         Operate(w.memory, STICKET_OP_FLUSH_NOTIFICATION, &number);
         return true;
     },
     Watch},
    {"DeferredCallback",
     [](W& w) {
         return w.memory->QueueAfterNotification(
             w.memory->pTicket, [](void*) {}, nullptr);
     }},
    {"WalkThatChangesTheTicket", [](W& w) { return SetWithinWalk(w.memory); }},
    {"MergeOfEverything", [](W& w) { return Merge(w.file, w.memory, false, false); }, {}, SCENARIO::PIECEMEAL},
    {"MergeOfASelection", [](W& w) { return Merge(w.file, w.memory, false, true); }, {}, SCENARIO::PIECEMEAL},
    {"MergeIntoItself", [](W& w) { return Merge(w.memory, w.memory, false, false); },
     [](W& w) {
         Delete(w.memory, "vector");
         Delete(w.memory, "texts");
     }},
    {"CreationOfAMemoryTicket", [](W&) { return CreateAndDestroy(nullptr); }, {}, SCENARIO::THROWS},
    {"CreationOfAFileTicket", [](W& w) { return CreateAndDestroy(w.path.c_str()); }, {}, SCENARIO::THROWS},
};

SCENARIO const FILE_TICKET[] = {
    {"LoadByReading", [](W& w) { return GetOneText(w.file, "key100001"); }},
    {"LoadByABatch", [](W& w) { return GetBatch(w.file, "key100001", "key100003"); }},
    {"LoadByWalking", [](W& w) { return Walk(w.file); }},
    {"LoadByCounting", [](W& w) { return IsCounted(w.file); }},
    {"LoadByClearing", [](W& w) { return Operate(w.file, STICKET_OP_CLEAR) == 1; }},
    {"LoadBySetting", [](W& w) { return Set(w.file, LONG_KEY, LONG_TEXT) != 0; }},
    {"LoadByABatchOfChanges", [](W& w) { return SetBatch(w.file); }},
    {"LoadOfALargeFile", [](W& w) { return GetOneText(w.file, "key100001"); }, {}, SCENARIO::LARGE_FILE},
    {"LoadOfAnOddFile", [](W& w) { return IsCounted(w.file); }, {}, SCENARIO::ODD_FILE},
    {"LoadOfABrokenFile", [](W& w) { return Set(w.file, "a", 2) != 0; }, {}, SCENARIO::BROKEN_FILE},
    {"LoadWithAConversion", [](W& w) { return GetOneText(w.file, "key100001"); }, {}, SCENARIO::CONVERTING},
    {"ReadOfAText", [](W& w) { return GetOneText(w.file, "key100001"); }, [](W& w) { Count(w.file); }},
    {"ReadOfAnElement",
     [](W& w) {
         char const* text = nullptr;
         return w.file->GetParameter(w.file->pTicket, "texts", PARAM_STRING, &text, 1) && *text;
     },
     [](W& w) { WORLD::Fill(w.file); }},
    {"SaveOfAFile", [](W& w) { return Save(w); }, Change},
    {"SaveOfALargeFile", [](W& w) { return Save(w); }, Change, SCENARIO::LARGE_FILE},
    {"SaveOfAnOddFile", [](W& w) { return Save(w); },
     [](W& w) {
         Change(w);
         for (char const* key : {"d*p/x", "a/b/c", "a//b", "[a-c]/d", "b"}) Set(w.file, key, LONG_TEXT, APPEND_INDEX);
     },
     SCENARIO::ODD_FILE},
    {"SaveOverABrokenFile", [](W& w) { return Save(w); }, Change, SCENARIO::BROKEN_FILE},
    {"SaveWithAConversion", [](W& w) { return Save(w); }, Change, SCENARIO::CONVERTING},
    {"SaveOfNothing", [](W& w) { return Save(w); },
     [](W& w) {
         Count(w.file);
         Operate(w.file, STICKET_OP_CLEAR);
     }},
    {"Release", [](W& w) { return Save(w, STICKET_OP_RELEASE); }, Change},
    {"ReleaseAndReload", [](W& w) { return Save(w, STICKET_OP_RELEASE) && GetOneText(w.file, LONG_KEY); }, Change},
    {"ChoiceOfPartialKeys", [](W& w) { return SetPartial(w.file); }, Change},
    {"PartialLoad", [](W& w) { return GetOneText(w.file, "key100001"); }, [](W& w) { SetPartial(w.file); }},
    {"EndOfAPartialLoad", [](W& w) { return GetOneText(w.file, "key100003"); },
     [](W& w) {
         SetPartial(w.file);
         GetOneText(w.file, "key100001");
     }},
    {"MergeOfAFile", [](W& w) { return Merge(w.memory, w.file, false, false); }},
    {"MergeIntoAClearedFile", [](W& w) { return Merge(w.file, w.memory, true, false); }, {}, SCENARIO::PIECEMEAL},
};

SCENARIO const ACCESSORS[] = {
    {"VectorOfNumbers",
     [](W& w) { return STICKET_MODIFY(*w.memory).SetVectorParameter("vector", w.numbers); },
     {},
     SCENARIO::PIECEMEAL},
    {"VectorOfTexts",
     [](W& w) { return STICKET_MODIFY(*w.memory).SetVectorParameter(LONG_KEY, w.texts); },
     {},
     SCENARIO::PIECEMEAL},
    {"VectorOfFlags",
     [](W& w) { return STICKET_MODIFY(*w.memory).SetVectorParameter(LONG_KEY, std::vector<bool>(3, true)); },
     {},
     SCENARIO::THROWS | SCENARIO::PIECEMEAL},
    {"VectorOfFileNames",
     [](W& w) { return STICKET_MODIFY(*w.memory).SetFilenameVectorParameter(LONG_KEY, w.texts); },
     {},
     SCENARIO::PIECEMEAL},
    {"ArrayOfNumbers",
     [](W& w) {
         double const array[] = {0.5, 1.5, 2.5};
         return STICKET_MODIFY(*w.memory).SetArrayParameter(LONG_KEY, array, 3);
     },
     {},
     SCENARIO::PIECEMEAL},
    {"ReadOfAVectorOfNumbers", [](W& w) { return STICKET_READ(*w.memory).GetVectorParameter("vector", w.numbers); }},
    {"ReadOfAVectorOfTexts", [](W& w) { return STICKET_READ(*w.memory).GetVectorParameter("texts", w.texts); }},
    {"ReadOfAVectorOfFileNames",
     [](W& w) { return STICKET_READ(*w.memory).GetFilenameVectorParameter_C("texts", w.texts); }},
    {"ReadOfAnArray",
     [](W& w) {
         int array[3];
         return STICKET_READ(*w.memory).GetArrayParameter("vector", array, 3);
     }},
    {"ReadOfAString", [](W& w) { return STICKET_READ(*w.memory).GetParameter("text", w.text, SCALAR_INDEX); }},
    {"ReadOfAFileName",
     [](W& w) { return STICKET_READ(*w.memory).GetFilenameParameterChk_C("text", w.text, SCALAR_INDEX); }},
    {"FileNames",
     [](W& w) {
         FilenamesToTicket(w.texts, w.texts);
         w.text = FilenameFromTicket_C(FilenameToTicket(w.text));
         return true;
     },
     {},
     SCENARIO::THROWS},
};

SCENARIO const BATCHES[] = {
    {"ListOfATicket",
     [](W& w) { return SETMULTIPAR_LIST(w.memory, static_cast<char const* const*>(nullptr), true).Size() > 0; },
     {},
     SCENARIO::THROWS},
    {"AdditionsToAList",
     [](W& w) {
         int const number = 1;
         return w.list->xSetParameter(LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX) &&
                w.list->ySetParameter("number", PARAM_INT, &number, SCALAR_INDEX) &&
                w.list->SetVectorParameter("texts", w.texts) && w.list->SetFilenameVectorParameter("files", w.texts);
     },
     {},
     SCENARIO::THROWS},
    {"TableOfAList", [](W& w) { return w.list->Table(true) != nullptr; },
     [](W& w) { w.list->Merge(w.memory, static_cast<char const* const*>(nullptr)); }, SCENARIO::THROWS},
    {"MergeOfAList",
     [](W& w) {
         char const* const keys[] = {"te*", LONG_KEY, nullptr};
         w.list->Merge(w.memory, keys);
         w.list->MergeIf(w.memory, [](char const*) { return true; });
         return true;
     },
     {},
     SCENARIO::THROWS},
    {"PlainListFunctions",
     [](W&) {
         SETMULTIPAR_LIST* list = MultiParListCreate();
         bool const done = list && MultiParListSetParameter(list, LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX) &&
                           MultiParListTable(list, 1);
         MultiParListDestroy(&list);
         return done;
     }},
    {"ArraysOfRecords",
     [](W&) {
         bool const read = Free(NewGetMultipar(5, LONG_KEY, PARAM_INT));
         return Free(NewSetMultipar(5, LONG_KEY, PARAM_INT)) && read;
     }},
    {"CopyOfRecords",
     [](W&) {
         SETMULTIPAR const records[] = {{LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false}, {}};
         return Free(MultiParameterDup(records));
     }},
    {"Selection",
     [](W& w) {
         char const* const keys[] = {LONG_KEY, "a prefix that is rather long/*", nullptr};
         w.mode.set(keys);
         PARTIAL_TABLE const table(w.mode);
         w.mode.erase(LONG_KEY);
         return table.Table() != nullptr;
     },
     {},
     SCENARIO::THROWS},
    {"ValueCaches",
     [](W&) {
         STRINGCACHE texts;
         BIN_STRING_CACHE bytes;
         VALCACHE<double> numbers;
         char const* text = LONG_TEXT;
         return texts(text) && bytes.Add({LONG_TEXT, sizeof LONG_TEXT}) && numbers.Add(0.5);
     },
     {},
     SCENARIO::THROWS},
};

SCENARIO const HELPERS[] = {
    {"ConversionsOfCharacterSets",
     [](W& w) {
         w.text = CharSets::Utf82Win(CharSets::Win2Utf8Decomposed(CharSets::Win2Utf8(w.text)));
         return true;
     },
     {},
     SCENARIO::THROWS},
    {"CopyByMalloc",
     [](W&) { return Free(CharSets::DuplicateAndConvert(LONG_TEXT, CharSets::WIN_TO_UTF8, CharSets::ALLOC_MALLOC)); }},
    {"CopyByNew",
     [](W&) {
         delete[] CharSets::DuplicateAndConvert(LONG_TEXT, CharSets::WIN_TO_UTF8, CharSets::ALLOC_NEW);
         return true;
     },
     {},
     SCENARIO::THROWS},
    {"EscapesOfXml",
     [](W& w) {
         CharSets::ReplaceConflictingXMLDataInString(w.text);
         return true;
     },
     [](W& w) { w.text = "<a & b> \"c\" \xE4 and more than a small buffer holds"; }, SCENARIO::THROWS},
    {"FilterOfATextAndReplacement",
     [](W& w) {
         CharSets::DBCS::ReplaceAll(w.text, 'a', 'b');
         return !CharSets::FilterString(true)(w.text).empty();
     },
     {},
     SCENARIO::THROWS},
    {"ConvertedBatch",
     [](W&) {
         SETMULTIPAR const records[] = {{LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false}, {}};
         return CharSets::clCONVERT_SETMULTIPAR(records, CharSets::WIN_TO_UTF8).Table() != nullptr;
     }},
    {"NamesOfADirectory",
     [](W&) {
         std::list<std::string> names;
         SysLib::GetAllFilenames(names, "/", "");
         return names.size() > 2;
     },
     {},
     SCENARIO::THROWS},
};

// The service's functions are C++: those that take or return a text may throw.
SCENARIO const SERVICE[] = {
    {"ServiceIsInitialised", [](W& w) { return w.service.Initialize(w.path); }, {}, SCENARIO::THROWS},
    {"ServiceSetsAText",
     [](W& w) {
         w.service.SetProductName(w.text);
         return w.service.GetProductName() == w.text;
     },
     Open, SCENARIO::THROWS},
    {"ServiceSetsASecret",
     [](W& w) {
         w.service.SetLoginPassword(w.text);
         return w.service.GetLoginPassword() == w.text;
     },
     Open, SCENARIO::THROWS},
    {"ServiceSetsANumber",
     [](W& w) {
         w.service.SetLogLevel(5);
         return w.service.GetLogLevel() == 5;
     },
     Open},
    {"ServiceSetsAWindow",
     [](W& w) {
         int x = 1, y = 2, width = 3, height = 4;
         w.service.SetJEDimensions(x, y, width, height);
         w.service.GetJEDimensions(x, y, width, height);
         return x == 1 && y == 2 && width == 3 && height == 4;
     },
     Open},
    {"ServiceSetsAUnit",
     [](W& w) {
         w.service.SetLocalMeasureUnit(3);
         return w.service.GetLocalMeasureUnit() == 3 &&
                GetOneText(w.service.GetConfigInstance(false), "Locale/Measure_Values");
     },
     Open},
    {"ServiceReads", [](W& w) { return w.service.GetProductVersion() == 0 && w.service.GetLoginServer().empty(); },
     Open},
    {"ServiceFlushes", [](W& w) { return w.service.Flush(true) && HasGrown(w); }, OpenAndChange},
    {"ServiceEnds", [](W& w) { return w.service.UnInitialize() && HasGrown(w); }, OpenAndChange, SCENARIO::LAST_SAVE},
    {"ServiceLooksForItsFile", [](W& w) { return w.service.IsConfigFileAvailable(); }, Open, SCENARIO::THROWS},
    {"ServiceSplitsAText",
     [](W& w) {
         std::vector<std::string> pieces;
         CConfigurationControl::Tokenize(w.text, pieces, " ");
         return pieces.size() > 3;
     },
     {},
     SCENARIO::THROWS},
    {"ServiceMakesADirectory",
     [](W& w) {
         CConfigurationControl::CreateSubDirectory(w.path + ".directory/below");
         return files::Exists(w.path + ".directory/below");
     },
     {},
     SCENARIO::THROWS},
    {"ServiceLooksAtATime",
     [](W& w) {
         std::string path = w.path;
         long time = 0;
         return CConfigurationControl::GetModifiedFileTime(path, time) && time > 0;
     },
     {},
     SCENARIO::THROWS},
};

auto const Name = [](auto const& test) { return std::string(test.param.name); };
INSTANTIATE_TEST_SUITE_P(MemoryTicket, ExhaustedMemory, testing::ValuesIn(MEMORY_TICKET), Name);
INSTANTIATE_TEST_SUITE_P(FileTicket, ExhaustedMemory, testing::ValuesIn(FILE_TICKET), Name);
INSTANTIATE_TEST_SUITE_P(Accessors, ExhaustedMemory, testing::ValuesIn(ACCESSORS), Name);
INSTANTIATE_TEST_SUITE_P(Batches, ExhaustedMemory, testing::ValuesIn(BATCHES), Name);
INSTANTIATE_TEST_SUITE_P(Helpers, ExhaustedMemory, testing::ValuesIn(HELPERS), Name);
INSTANTIATE_TEST_SUITE_P(Service, ExhaustedMemory, testing::ValuesIn(SERVICE), Name);

}  // namespace
