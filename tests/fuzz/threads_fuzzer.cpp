// Three threads perform the calls that the input encodes, each a third of it, on two tickets in memory or on files. In
// the ticket `kept` each thread knows the values of its own keys, and all check what must hold in any order of calls.
// The ticket `wild` may hold anything. scripts/fuzz builds this with ThreadSanitizer.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "../support/Files.h"
#include "../support/Tickets.h"
#include "FuzzArgument.h"
#include "FuzzInput.h"

namespace {

using namespace tickets;

constexpr int THREADS = 3;
constexpr int MOST_CALLS = 60;        // of each thread
constexpr int OF_ONE_THREAD = 10000;  // the numbers of thread n begin at n times this
constexpr int LOCK = 7;
constexpr char const* LOG = "log";  // a vector to which all append

struct SHARED {
    STICKET_ACCESS const* kept;
    STICKET_ACCESS const* wild;
    bool keptIsFile;
    std::atomic<int> waiting{THREADS};
    std::atomic<int> queued{0};
    std::atomic<int> called{0};
    int guarded = 0;  // changed only by the holder of the advisory lock
};

// A walk of `kept`: keys come in order, and both halves of the pair are of one batch.
struct WALK {
    std::string lastKey;
    int first = 0;
    std::function<void()> change;  // called once, at the first value

    static bool Take(void* context, char const* key, PARAM_TYPE, void const* value, int) {
        auto& self = *static_cast<WALK*>(context);
        MUST_HOLD(self.lastKey <= key);
        self.lastKey = key;
        if (self.lastKey == "pair/a") self.first = *static_cast<int const*>(value);
        if (self.lastKey == "pair/b") MUST_HOLD(self.first == *static_cast<int const*>(value));
        if (self.change) std::exchange(self.change, nullptr)();
        return true;
    }
};

class CALLER {
 public:
    CALLER(SHARED& shared, int thread, INPUT input) : m_shared(shared), m_thread(thread), m_input(input) {}

    void Run() {
        --m_shared.waiting;
        while (m_shared.waiting > 0) std::this_thread::yield();
        for (int calls = 0; calls < MOST_CALLS && !m_input.IsEmpty(); ++calls) Call();
    }

    // Checks the ticket as it is at the end, or after a save and a load.
    void CheckOwn(STICKET_ACCESS const* kept) const {
        for (auto const& [key, content] : m_texts) MUST_HOLD(GetText(kept, key.c_str()) == content);
        for (auto const& [key, numbers] : m_numbers) {
            uint64_t count = 0;
            kept->GetParameter(kept->pTicket, key.c_str(), PARAM_VECTOR, &count, SCALAR_INDEX);
            MUST_HOLD(count == numbers.size());
            for (std::size_t i = 0; i < numbers.size(); ++i)
                MUST_HOLD(GetInt(kept, key.c_str(), static_cast<int>(i)) == numbers[i]);
        }
    }
    void CheckLent() const {
        for (auto const& [text, content] : m_lent) MUST_HOLD(text == content);
    }
    int Logged() const { return m_logged; }

 private:
    std::string OwnKey(char const* kind) {
        return "thread" + std::to_string(m_thread) + "/" + kind + std::to_string(m_input.Below(4));
    }
    int NextNumber() { return m_thread * OF_ONE_THREAD + ++m_lastNumber; }

    void Call() {
        switch (m_input.Below(16)) {
            case 0:
            case 1:
                return SetText();
            case 2:
            case 3:
                return AppendNumber();
            case 4:
                return Remove();
            case 5:
            case 6:
                return CheckText();
            case 7:
                return Log();
            case 8:
                return SetPair();
            case 9:
                return GetPair();
            case 10:
                return Walk();
            case 11:
                return Operate();
            case 12:
                return Merge();
            case 13:
                return Guard();
            default:
                return UseWild();
        }
    }

    void SetText() {
        std::string const key = OwnKey("text");
        std::string text = "<" + m_input.Text() + ">";     // spaces at the ends would be lost in a file,
        std::replace(text.begin(), text.end(), '&', '+');  // and &#10; would come back as a line feed
        MUST_HOLD(Set(m_shared.kept, key.c_str(), text.c_str()));
        m_texts[key] = text;
    }

    void AppendNumber() {
        std::string const key = OwnKey("numbers");
        int const number = NextNumber();
        MUST_HOLD(Set(m_shared.kept, key.c_str(), number, APPEND_INDEX));
        m_numbers[key].push_back(number);
    }

    void Remove() {
        std::string const key = OwnKey(m_input.Flag() ? "text" : "numbers");
        MUST_HOLD((Delete(m_shared.kept, key.c_str()) != 0) == (m_texts.erase(key) + m_numbers.erase(key) > 0));
    }

    void CheckText() {
        std::string const key = OwnKey("text");
        char const* text = nullptr;
        bool const found =
            m_shared.kept->GetParameter(m_shared.kept->pTicket, key.c_str(), PARAM_STRING, &text, SCALAR_INDEX);
        auto const expected = m_texts.find(key);
        MUST_HOLD(found == (expected != m_texts.end()));
        if (!found) return;
        MUST_HOLD(text == expected->second);
        if (m_shared.keptIsFile) m_lent.emplace_back(text, text);
    }

    void Log() {
        ++m_logged;
        MUST_HOLD(Set(m_shared.kept, LOG, m_thread * OF_ONE_THREAD + m_logged, APPEND_INDEX));
    }

    void SetPair() {
        int const number = NextNumber();
        SETMULTIPAR batch[] = {{"pair/a", PARAM_INT, &number, SCALAR_INDEX, false},
                               {"pair/b", PARAM_INT, &number, SCALAR_INDEX, false},
                               {}};
        MUST_HOLD(m_shared.kept->SetMultiParameter(m_shared.kept->pTicket, batch) && batch[0].result &&
                  batch[1].result);
    }

    void GetPair() {
        int numbers[2] = {};
        GETMULTIPAR batch[] = {{"pair/a", PARAM_INT, &numbers[0], SCALAR_INDEX, false},
                               {"pair/b", PARAM_INT, &numbers[1], SCALAR_INDEX, false},
                               {}};
        MUST_HOLD(m_shared.kept->GetMultiParameter(m_shared.kept->pTicket, batch));
        MUST_HOLD(batch[0].result == batch[1].result && numbers[0] == numbers[1]);
    }

    void Walk() {
        WALK walk;
        if (m_input.Flag()) walk.change = [this] { SetText(); };
        STICKET_ACCESS const* const kept = m_shared.kept;
        MUST_HOLD(kept->WalkParameter(kept->pTicket, &WALK::Take, &walk, "", WALK_EVERYTHING));
    }

    void Operate() {
        constexpr STICKET_OP CODES[] = {STICKET_OP_SAVE, STICKET_OP_RELEASE, STICKET_OP_COUNT, STICKET_OP_COUNT_LOADED};
        unsigned int number = 0;
        STICKET_OP const code = CODES[m_input.Below(std::size(CODES))];
        bool const counts = code == STICKET_OP_COUNT || code == STICKET_OP_COUNT_LOADED;
        MUST_HOLD(tickets::Operate(m_shared.kept, code, counts ? &number : nullptr));
        if (code == STICKET_OP_COUNT) MUST_HOLD(number >= m_texts.size());
    }

    // Copies everything from `kept` to `wild`, but back only keys that no thread owns.
    void Merge() {
        STICKET_ACCESS const* const kept = m_shared.kept;
        STICKET_ACCESS const* const wild = m_shared.wild;
        char const* const back[] = {"wild/*", nullptr};
        if (m_input.Flag())
            kept->MergeTicket(kept->pTicket, wild, back, false);
        else
            wild->MergeTicket(wild->pTicket, kept, nullptr, m_input.Flag());
    }

    void Guard() {
        STICKET_ACCESS const* const kept = m_shared.kept;
        int owner = m_thread;
        if (kept->Lock(kept->pTicket, LOCK, &owner, true)) {
            ++m_shared.guarded;
            owner = m_thread;
            MUST_HOLD(kept->Lock(kept->pTicket, LOCK, &owner, false));
        } else {
            MUST_HOLD(owner != m_thread);
        }
        ++m_shared.queued;
        MUST_HOLD(kept->QueueAfterNotification(kept->pTicket, &CountCall, &m_shared));
    }
    static void CountCall(void* shared) { ++static_cast<SHARED*>(shared)->called; }

    void UseWild() {
        STICKET_ACCESS const* const wild = m_shared.wild;
        std::string const key = (m_input.Flag() ? "wild/" : "other/") + std::to_string(m_input.Below(4));
        switch (m_input.Below(8)) {
            case 0:
                tickets::Operate(wild, STICKET_OP_CLEAR);
                return;
            case 1:
                tickets::Operate(wild, m_input.Flag() ? STICKET_OP_SAVE : STICKET_OP_RELEASE);
                return;
            case 2: {
                char const* const keys[] = {m_input.Flag() ? key.c_str() : "", m_input.Flag() ? "wild/*" : nullptr,
                                            nullptr};
                tickets::Operate(wild, STICKET_OP_PARTIAL_KEYS,
                                 m_input.Flag() ? nullptr : const_cast<char const**>(keys));
                return;
            }
            case 3:
                Delete(wild, key.c_str());
                return;
            case 4:
                Contents(wild);
                return;
            case 5:
                Set(wild, key.c_str(), m_input.Text().c_str(), static_cast<int>(m_input.Below(5)) - 2);
                return;
            default: {
                // Any value, also infinite numbers. They must not get into `kept`, since they would stop its saves.
                std::string const other = "other/" + std::to_string(m_input.Below(4));
                ARGUMENT const argument(m_input);
                wild->SetParameter(wild->pTicket, other.c_str(), argument.Type(), argument.Pointer(),
                                   static_cast<int>(m_input.Below(5)) - 2);
            }
        }
    }

    SHARED& m_shared;
    int m_thread;
    INPUT m_input;
    int m_lastNumber = 0;
    int m_logged = 0;
    std::map<std::string, std::string> m_texts;
    std::map<std::string, std::vector<int>> m_numbers;
    // Texts that a file ticket returned, and copies of them. The ticket's pointers stay valid until it is destroyed.
    std::vector<std::pair<char const*, std::string>> m_lent;
};

// Expects every logged value, those of one thread in their order.
void CheckLog(STICKET_ACCESS const* kept, std::deque<CALLER> const& callers) {
    int last[THREADS] = {};
    uint64_t count = 0;
    kept->GetParameter(kept->pTicket, LOG, PARAM_VECTOR, &count, SCALAR_INDEX);
    for (uint64_t i = 0; i < count; ++i) {
        auto const number = GetInt(kept, LOG, static_cast<int>(i));
        MUST_HOLD(number.has_value());
        int& lastOfThread = last[*number / OF_ONE_THREAD];
        MUST_HOLD(*number % OF_ONE_THREAD == lastOfThread + 1);
        ++lastOfThread;
    }
    for (int thread = 0; thread < THREADS; ++thread)
        MUST_HOLD(last[thread] == callers[static_cast<std::size_t>(thread)].Logged());
}

void CheckEverything(STICKET_ACCESS const* kept, std::deque<CALLER> const& callers) {
    for (CALLER const& caller : callers) caller.CheckOwn(kept);
    CheckLog(kept, callers);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static SCRATCH_DIRECTORY const scratch;
    std::string const keptFile = scratch.Path("kept.xml");
    std::string const wildFile = scratch.Path("wild.xml");
    if (size == 0) return 0;
    bool const isKeptFile = data[0] % 2 == 1;
    bool const isWildFile = data[0] / 2 % 2 == 1;
    {
        OWNER const kept(isKeptFile ? keptFile.c_str() : nullptr);
        OWNER const wild(isWildFile ? wildFile.c_str() : nullptr);
        SHARED shared{kept, wild, isKeptFile};
        std::deque<CALLER> callers;
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread < THREADS; ++thread) {
            std::size_t const from = 1 + (size - 1) * thread / THREADS;
            std::size_t const to = 1 + (size - 1) * (thread + 1) / THREADS;
            callers.emplace_back(shared, static_cast<int>(thread), INPUT(data + from, to - from));
        }
        for (CALLER& caller : callers) threads.emplace_back([&caller] { caller.Run(); });
        for (std::thread& thread : threads) thread.join();
        MUST_HOLD(shared.called <= shared.queued);
        CheckEverything(kept, callers);
        for (CALLER const& caller : callers) caller.CheckLent();
        Operate(wild, STICKET_OP_CLEAR);  // an infinite number would end the process at the destructor's save
        if (isKeptFile) {
            MUST_HOLD(Operate(kept, STICKET_OP_SAVE));
            CheckEverything(OWNER(keptFile.c_str()), callers);
        }
    }
    std::remove(keptFile.c_str());
    std::remove(wildFile.c_str());
    return 0;
}
