// Performs the operations that the input encodes on a memory ticket, a file ticket and their reference models. After
// each operation the results must be equal, and the file must be the one that the model predicts.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../support/FileTickets.h"
#include "../support/Tickets.h"
#include "FuzzArgument.h"
#include "FuzzInput.h"
#include "TicketRules.h"

namespace {

constexpr int MOST_STEPS = 100;
constexpr char UNTOUCHED = 0x5a;

// A ticket of either kind with its reference model.
class PAIR {
 public:
    PAIR(bool isFile, std::string const& file) : m_rules(isFile), m_isFile(isFile), m_file(file) { Create(); }
    ~PAIR() { Destroy(); }
    PAIR(PAIR const&) = delete;
    PAIR& operator=(PAIR const&) = delete;

    STICKET_ACCESS const* operator->() const { return m_access; }
    STICKET_ACCESS const* Access() const { return m_access; }
    STICKET* Ticket() const { return m_access->pTicket; }
    TICKET_RULES& Rules() { return m_rules; }

    void Reopen() {
        Destroy();
        Create();
    }
    void Pass(int seconds) {
        if (m_isFile) FileTicket().Pass(seconds);
        m_rules.Pass(seconds);
    }
    // A file ticket's test double takes exact keys only.
    void Register(int number, std::string const& key) {
        if (m_isFile && (key.empty() || key.back() == '*')) return;
        char const* const name = key.c_str();
        if (m_isFile)
            FileTicket().Register(number, name);
        else
            static_cast<tickets::OPEN_TICKET*>(Ticket())->Register(number, {name});
        m_rules.Register(number, {key});
    }
    void Queue(int number) {
        m_calls.push_back({this, number});
        MUST_HOLD(m_access->QueueAfterNotification(Ticket(), &CALL::Run, &m_calls.back()));
        m_rules.Queue(number);
    }
    // Remembers a text that was read: a file ticket keeps it unchanged as long as it lives.
    void Keep(char const* text) {
        if (m_isFile) m_texts.emplace_back(text, text);
    }

    void Check() {
        MUST_HOLD(m_called == m_rules.Calls());
        if (m_isFile) MustBeSame(FileContent(m_file), m_rules.FileText(), "file");
        for (auto const& [text, content] : m_texts) MustBeSame(text, content, "text read before");
        for (int number = 0; number < 4; ++number) MUST_HOLD(IsRegistered(number) == m_rules.IsRegistered(number));
    }

 private:
    struct CALL {
        PAIR* pair;
        int number;

        static void Run(void* call) {
            auto const [pair, number] = *static_cast<CALL*>(call);
            pair->m_called.push_back(number);
            switch (TICKET_RULES::ActionOf(number)) {
                case TICKET_RULES::ACT_SET:
                    tickets::Set(pair->m_access, "q", std::to_string(number).c_str(), APPEND_INDEX);
                    return;
                case TICKET_RULES::ACT_QUEUE:
                    pair->m_calls.push_back({pair, number + 100});
                    pair->m_access->QueueAfterNotification(pair->Ticket(), &Run, &pair->m_calls.back());
                    return;
                case TICKET_RULES::ACT_THROW:
                    throw number;
                case TICKET_RULES::ACT_NOTHING:
                    return;
            }
        }
    };

    tickets::OPEN_FILE_TICKET& FileTicket() { return *static_cast<tickets::OPEN_FILE_TICKET*>(Ticket()); }

    bool IsRegistered(int number) {
        if (m_isFile) return FileTicket().IsRegistered(number);
        return static_cast<tickets::OPEN_TICKET*>(Ticket())->GetNotification(number) != nullptr;
    }

    void Create() {
        if (m_isFile)
            m_access = (new tickets::OPEN_FILE_TICKET(m_file))->GetInterface();
        else
            m_access = (new tickets::OPEN_TICKET)->GetInterface();
    }

    void Destroy() {
        // The destructor's save would end the process.
        if (m_isFile && !m_rules.CanBeSaved()) {
            MUST_HOLD(tickets::Operate(m_access, STICKET_OP_CLEAR) == m_rules.Operation(STICKET_OP_CLEAR, nullptr));
        }
        Check();
        STICKET::Destroy(m_access);
        m_texts.clear();
        m_rules.Destroy();
        if (m_isFile) MustBeSame(FileContent(m_file), m_rules.FileText(), "file of a destroyed ticket");
    }

    TICKET_RULES m_rules;
    bool m_isFile;
    std::string m_file;
    STICKET_ACCESS const* m_access = nullptr;
    std::deque<CALL> m_calls;
    std::vector<int> m_called;
    std::vector<std::pair<char const*, std::string>> m_texts;
};

// ---- Arguments

std::string Key(INPUT& input) {
    static char const* const KEYS[] = {
        "a",          "a/b", "a/b/c", "a/b/d", "ab",       "B",        "b/",  "/x",       "a//c", "ticket", "ticket/x",
        "x/ticket/y", "q",   "z/y",   "?/b",   "[a-c]b/e", "\xC3\xA4", "a.b", "a-1/b_:2", "*/d",  "a/b/?",  ""};
    std::size_t const number = input.Below(std::size(KEYS) + 2);
    if (number < std::size(KEYS)) return KEYS[number];
    std::string const key = input.Text();
    return IsSureKey(key) ? key : "2nd key";
}

int Index(INPUT& input) {
    std::size_t const number = input.Below(10);
    return number < 4 ? SCALAR_INDEX : static_cast<int>(number) - 6;
}

std::size_t BufferSize(PARAM_TYPE type) {
    switch (type) {
        case PARAM_NONE:
        case PARAM_INT:
        case PARAM_UNSIGNED:
            return 4;
        case PARAM_BINSTR:
            return sizeof(BIN_STRING);
        default:
            return 8;
    }
}

// ---- Steps

void Set(PAIR& pair, INPUT& input) {
    std::string const key = Key(input);
    bool const isNull = input.Below(32) == 0;
    int const index = Index(input);
    ARGUMENT const argument(input);
    int const result =
        pair->SetParameter(pair.Ticket(), isNull ? nullptr : key.c_str(), argument.Type(), argument.Pointer(), index);
    MUST_HOLD(result == pair.Rules().Set(isNull ? nullptr : &key, REQUEST(argument), index));
}

// Passes a key and a value that lie in the ticket itself.
void SetFromItself(PAIR& pair, INPUT& input) {
    std::string const from = Key(input);
    int const fromIndex = Index(input);
    int const index = Index(input);
    char const* text = nullptr;
    int const found = pair->GetParameter(pair.Ticket(), from.c_str(), PARAM_STRING, &text, fromIndex);
    std::string const answer = pair.Rules().Get(&from, PARAM_STRING, fromIndex, false);
    MUST_HOLD((found != 0) == (answer[0] == '1'));
    if (found == 0) return;
    pair.Keep(text);
    std::string const key = input.Flag() && IsSureKey(text) ? std::string(text) : from;
    std::string const value = text;
    char const* const keyPointer = key == value ? text : key.c_str();
    int const result = pair->SetParameter(pair.Ticket(), keyPointer, PARAM_STRING, text, index);
    MUST_HOLD(result == pair.Rules().Set(&key, REQUEST(value), index));
}

void Get(PAIR& pair, INPUT& input) {
    std::string const key = Key(input);
    std::size_t const form = input.Below(16);
    char const* const name = form == 0 ? nullptr : key.c_str();
    std::string const* const ruled = form == 0 ? nullptr : &key;
    auto const type = static_cast<PARAM_TYPE>(input.Below(11));
    int const index = Index(input);
    if (form == 1) {
        int const exists = pair->GetParameter(pair.Ticket(), name, type, nullptr, index);
        return MustBeSame(std::to_string(exists), pair.Rules().Get(ruled, type, index, true), "existence");
    }
    auto const ask = [&](void* value) { return pair->GetParameter(pair.Ticket(), name, type, value, index) != 0; };
    std::string const answer = ticket_model::Ask(type, ask);
    MustBeSame(answer, pair.Rules().Get(ruled, type, index, false), "read value");
    char const* text = nullptr;
    if (type == PARAM_STRING && answer[0] == '1') ask(&text);
    if (text != nullptr) pair.Keep(text);
}

void SetBatch(PAIR& pair, INPUT& input) {
    std::size_t const count = input.Below(6);
    std::deque<ARGUMENT> arguments;
    std::vector<TICKET_RULES::RECORD> expected;
    std::vector<SETMULTIPAR> records;
    for (std::size_t i = 0; i < count; ++i) {
        bool const isSame = i > 0 && input.Flag();
        std::string const key = isSame ? expected.back().key : Key(input);
        int const index = Index(input);
        ARGUMENT const& argument = arguments.emplace_back(input);
        expected.push_back({key, REQUEST(argument), index});
    }
    for (std::size_t i = 0; i < count; ++i)
        records.push_back(
            {expected[i].key.c_str(), arguments[i].Type(), arguments[i].Pointer(), expected[i].index, false});
    records.push_back({});
    bool const isNull = input.Below(32) == 1;
    int const result = pair->SetMultiParameter(pair.Ticket(), isNull ? nullptr : records.data());
    MUST_HOLD(result == pair.Rules().SetBatch(isNull ? nullptr : &expected));
    for (std::size_t i = 0; i < count; ++i) MUST_HOLD(records[i].result == expected[i].result);
}

void GetBatch(PAIR& pair, INPUT& input) {
    std::vector<TICKET_RULES::QUESTION> questions;
    std::vector<std::unique_ptr<char[]>> buffers;
    std::vector<GETMULTIPAR> records;
    for (std::size_t count = input.Below(6); count > 0; --count) {
        std::string const key = Key(input);
        auto const type = static_cast<PARAM_TYPE>(input.Below(11));
        questions.push_back({key, type, Index(input)});
        buffers.emplace_back(new char[BufferSize(type)]);
        std::memset(buffers.back().get(), UNTOUCHED, BufferSize(type));
    }
    for (std::size_t i = 0; i < questions.size(); ++i) {
        records.push_back(
            {questions[i].key.c_str(), questions[i].type, buffers[i].get(), questions[i].index, input.Flag()});
    }
    records.push_back({});
    int const result = pair->GetMultiParameter(pair.Ticket(), records.data());
    auto const expected = pair.Rules().GetBatch(questions);
    MUST_HOLD((result != 0) == expected.has_value());
    if (!expected) return;
    for (std::size_t i = 0; i < expected->size(); ++i) {
        std::string const& answer = (*expected)[i];
        char const* const buffer = buffers[i].get();
        if (answer.size() == 1) {
            MUST_HOLD(records[i].result == (answer == "1"));
            MUST_HOLD(std::string(buffer, BufferSize(questions[i].type)).find_first_not_of(UNTOUCHED) ==
                      std::string::npos);
            continue;
        }
        auto const ask = [&](auto* value) {
            std::memcpy(value, buffer, sizeof *value);
            return records[i].result;
        };
        MustBeSame(ticket_model::Ask(questions[i].type, ask), answer, "value read in a batch");
        char const* text = nullptr;
        if (questions[i].type == PARAM_STRING && ask(&text)) pair.Keep(text);
    }
}

void Walk(PAIR& pair, INPUT& input) {
    constexpr int LEVELS[] = {-1, 0, 1, 2, 3, 4, 9, 10, WALK_EVERYTHING};
    int const level = LEVELS[input.Below(std::size(LEVELS))];
    struct WALK {
        std::size_t left;
        std::vector<std::string> calls;

        static bool Take(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto& self = *static_cast<WALK*>(context);
            ticket_model::WriteDown(&self.calls, key, type, value, index);
            return --self.left > 0;
        }
    } walk{input.Flag() ? 1000000 : 1 + input.Below(4), {}};
    std::size_t const most = walk.left;
    int const result = pair->WalkParameter(pair.Ticket(), &WALK::Take, &walk, "", level);
    auto expected = pair.Rules().Walk(level);
    MUST_HOLD((result != 0) == expected.has_value());
    if (!expected) return;
    if (expected->size() > most) expected->resize(most);
    MUST_HOLD(walk.calls == *expected);
}

// A callback sets, replaces or deletes something in the middle of the walk.
void WalkAndChange(PAIR& pair, INPUT& input) {
    std::size_t const at = input.Below(6);
    std::string const key = Key(input);
    int const index = Index(input);
    ARGUMENT const argument(input);
    struct WALK {
        std::size_t at;
        std::function<void()> change;
        VALUES values;

        static bool Take(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto& self = *static_cast<WALK*>(context);
            AddValue(&self.values, key, type, value, index);
            if (self.values.size() == self.at + 1) self.change();
            return true;
        }
    };
    int result = -1;
    WALK walk{
        at,
        [&] { result = pair->SetParameter(pair.Ticket(), key.c_str(), argument.Type(), argument.Pointer(), index); },
        {}};
    int const walked = pair->WalkParameter(pair.Ticket(), &WALK::Take, &walk, "", WALK_EVERYTHING);
    auto const expected =
        pair.Rules().WalkChanging(at, [&] { MUST_HOLD(result == pair.Rules().Set(&key, REQUEST(argument), index)); });
    MUST_HOLD((walked != 0) == expected.has_value());
    if (expected) MustBeSame(Spelled(walk.values), Spelled(*expected), "walk with a change");
}

void Operate(PAIR& pair, INPUT& input) {
    constexpr STICKET_OP CODES[] = {
        STICKET_OP_SAVE,      STICKET_OP_RELEASE, STICKET_OP_SAVE,    STICKET_OP_CLEAR, STICKET_OP_FLUSH_NOTIFICATION,
        STICKET_OP_INCREMENT, STICKET_OP_RELEASE, STICKET_OP_UNUSED_8};
    STICKET_OP const code = CODES[input.Below(std::size(CODES))];
    int number = static_cast<int>(input.Below(40));
    bool const needsData = code == STICKET_OP_FLUSH_NOTIFICATION || code == STICKET_OP_INCREMENT;
    int* const data = needsData || input.Below(4) == 0 ? &number : nullptr;
    int const before = number;
    MUST_HOLD(tickets::Operate(pair.Access(), code, data) ==
              pair.Rules().Operation(code, data != nullptr ? &before : nullptr));
}

void Count(PAIR& pair, INPUT& input) {
    bool const load = input.Flag();
    unsigned int count = 0;
    int const result = tickets::Operate(pair.Access(), load ? STICKET_OP_COUNT : STICKET_OP_COUNT_LOADED, &count);
    auto const expected = pair.Rules().Count(load);
    MUST_HOLD((result != 0) == expected.has_value() && (!expected || count == *expected));
}

void ChangePartialKeys(PAIR& pair, INPUT& input) {
    TEXTS keys(input.Below(4));
    for (std::string& key : keys) key = Key(input);
    bool const isNull = input.Below(4) == 1;
    auto array = Array(keys);
    int const result = tickets::Operate(pair.Access(), STICKET_OP_PARTIAL_KEYS, isNull ? nullptr : array.data());
    MUST_HOLD(result == pair.Rules().ChangePartialKeys(isNull ? nullptr : &keys));
}

void Merge(PAIR& target, PAIR& source, INPUT& input) {
    TEXTS keys(input.Below(4));
    for (std::string& key : keys) key = Key(input) + (input.Flag() ? "*" : "");
    bool const isNull = input.Flag();
    bool const clear = input.Flag();
    auto const array = Array(keys);
    int const result = target->MergeTicket(target.Ticket(), source.Access(), isNull ? nullptr : array.data(), clear);
    MUST_HOLD(result == target.Rules().Merge(source.Rules(), isNull ? nullptr : &keys, clear));
}

void Lock(PAIR& pair, INPUT& input) {
    int const number = static_cast<int>(input.Below(26)) - 3;
    int owner = static_cast<int>(input.Below(6)) - 2;
    bool const isNull = input.Below(8) == 1;
    bool const isLock = input.Flag();
    std::optional<int> expected;
    if (!isNull) expected = owner;
    int const result = pair->Lock(pair.Ticket(), number, isNull ? nullptr : &owner, isLock);
    MUST_HOLD((result != 0) == pair.Rules().Locks().Request(number, &expected, isLock));
    MUST_HOLD(isNull || owner == *expected);
}

void Unregister(PAIR& pair, INPUT& input) {
    int const number = static_cast<int>(input.Below(8)) - 3;
    bool const enable = input.Flag();
    int const result = pair->EnDisNotification(pair.Ticket(), number, enable, nullptr);
    MUST_HOLD((result != 0) == pair.Rules().Unregister(number, enable));
}

// Rare operations share one code, so that the inputs of earlier runs keep their meaning.
void DoSomethingRare(PAIR& pair, INPUT& input) {
    auto const number = static_cast<int>(input.Below(64));
    if (number < 4) return pair.Register(number, Key(input));
    if (number < 56) return pair.Queue(number);
    return number < 62 ? Lock(pair, input) : Unregister(pair, input);
}

void Step(PAIR& pair, PAIR& other, INPUT& input) {
    switch (input.Below(16)) {
        case 0:
        case 1:
        case 2:
            return Set(pair, input);
        case 3:
            return SetFromItself(pair, input);
        case 4:
        case 5:
            return Get(pair, input);
        case 6:
            return SetBatch(pair, input);
        case 7:
            return GetBatch(pair, input);
        case 8:
            return input.Flag() ? WalkAndChange(pair, input) : Walk(pair, input);
        case 9:
            return Operate(pair, input);
        case 10:
            return Count(pair, input);
        case 11:
            return ChangePartialKeys(pair, input);
        case 12:
            return Merge(pair, input.Flag() ? other : pair, input);
        case 13:
            return pair.Pass(static_cast<int>(input.Below(40)));
        case 14:
            return DoSomethingRare(pair, input);
        default:
            return pair.Reopen();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("ticket.xml");
    INPUT input(data, size);
    {
        PAIR inFile(true, file);
        PAIR inMemory(false, file);
        for (int steps = 0; steps < MOST_STEPS && !input.IsEmpty(); ++steps) {
            bool const isFile = input.Flag();
            Step(isFile ? inFile : inMemory, isFile ? inMemory : inFile, input);
            inFile.Check();
            inMemory.Check();
        }
    }
    std::remove(file.c_str());
    std::remove((file + ".unreadable").c_str());
    return 0;
}
