// Compares batch lists, through classes and through plain functions, and selections of keys with a plain list of their
// elements.
#include "helpers_fuzzer_lists.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "../support/Tickets.h"
#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"
#include "FuzzArgument.h"
#include "FuzzSelection.h"

namespace {

bool IsCopied(PARAM_TYPE type) {
    return type != PARAM_NONE && type != PARAM_POINTER && type != PARAM_VECTOR && type <= PARAM_UINT64;
}

// ---- Selections

void MustAgree(PARTIAL_MODE const& mode, SELECTION const& selection) {
    PARTIAL_TABLE const table(mode);
    std::set<std::string> const expected = selection.Table();
    MUST_HOLD((table.Table() == nullptr) == expected.empty() && mode.empty() == selection.IsEmpty());
    auto const* entry = table.Table();
    for (std::string const& text : expected) {
        MUST_HOLD(*entry != nullptr);
        MustBeSame(*entry++, text, "entry of the table");
    }
    if (entry != nullptr) MUST_HOLD(*entry == nullptr);
}

// ---- Batch lists

struct ROW {
    std::optional<std::string> key;
    PARAM_TYPE type;
    void const* pointer;  // as given
    std::string content;  // of copied values
    int index;
};

std::string Spelled(std::optional<std::string> const& key, PARAM_TYPE type, bool isNull, std::string const& content,
                    int index) {
    return key.value_or("(null)") + "[" + std::to_string(index) + "] " + std::to_string(type) + " " +
           (isNull ? "(null)" : content);
}

// The bytes of a double after a list has copied it.
std::string WithOneNan(std::string const& content) {
    double number;
    std::memcpy(&number, content.data(), sizeof number);
    if (number - number == 0) return content;
    return std::string(reinterpret_cast<char const*>(&MathLib::NOT_A_DOUBLE_NUMBER), sizeof number);
}

std::string Spelled(ROW const& row) {
    std::string content = row.content;
    if (row.type == PARAM_DOUBLE && row.pointer != nullptr) content = WithOneNan(content);
    if (!IsCopied(row.type)) content = std::to_string(reinterpret_cast<std::uintptr_t>(row.pointer));
    return Spelled(row.key, row.type, row.pointer == nullptr, content, row.index);
}

std::string Spelled(SETMULTIPAR const& record, bool mayBorrow = false) {
    std::string content;
    if (!IsCopied(record.type))
        content = std::to_string(reinterpret_cast<std::uintptr_t>(record.value));
    else if (record.value != nullptr)
        content = ARGUMENT::ContentOf(record.type, record.value);
    if (mayBorrow && record.type == PARAM_DOUBLE && record.value != nullptr) content = WithOneNan(content);
    return Spelled(record.key != nullptr ? std::optional<std::string>(record.key) : std::nullopt, record.type,
                   record.value == nullptr, content, record.index);
}

class LISTS {
 public:
    explicit LISTS(bool copyAll) : m_list(copyAll), m_plain(MultiParListCreate()) { FillTicket(); }
    ~LISTS() {
        MultiParListDestroy(&m_plain);
        MUST_HOLD(m_plain == nullptr);
        MultiParListDestroy(&m_plain);
    }
    LISTS(LISTS const&) = delete;
    LISTS& operator=(LISTS const&) = delete;

    void Step(INPUT& input) {
        switch (input.Below(7)) {
            case 0:
            case 1:
                return Add(input);
            case 2:
                return AddVector(input);
            case 3:
                return Clear();
            case 4: {
                std::string const key = input.Text();
                auto const isKey = [&](ROW const& row) { return row.key == key; };
                MUST_HOLD(m_list.ParameterExists(key.c_str()) == std::any_of(m_rows.begin(), m_rows.end(), isKey));
                MUST_HOLD(!m_list.ParameterExists(nullptr));
                return;
            }
            case 5:
                return Merge(input);
            default:
                return Compare(input.Flag());
        }
    }

    void Compare(bool sort) {
        if (sort) {
            std::stable_sort(m_rows.begin(), m_rows.end(),
                             [](ROW const& a, ROW const& b) { return a.key && (!b.key || *a.key < *b.key); });
        }
        MUST_HOLD(m_list.Size() == m_rows.size() && MultiParListSize(m_plain) == m_rows.size());
        SETMULTIPAR* const table = m_list.Table(sort);
        CompareTable(table, true);
        CompareTable(MultiParListTable(m_plain, sort ? 256 + 1 : 256), false);
        MUST_HOLD(m_list.Table(sort) == table);
        UseAsBatch(table);
    }

 private:
    void FillTicket() {
        tickets::Set(m_ticket, "a", 1);
        tickets::Set(m_ticket, "a/b", "two", APPEND_INDEX);
        tickets::Set(m_ticket, "a/b", 0.5, APPEND_INDEX);
        tickets::Set(m_ticket, "b", "three");
        BIN_STRING const bytes{"\0\xFF", 2};
        m_ticket->SetParameter(m_ticket->pTicket, "c", PARAM_BINSTR, &bytes, SCALAR_INDEX);
        std::uint64_t const large = UINT64_MAX;
        m_ticket->SetParameter(m_ticket->pTicket, "d", PARAM_UINT64, &large, SCALAR_INDEX);
        m_ticket->SetParameter(m_ticket->pTicket, "p", PARAM_POINTER, this, SCALAR_INDEX);
        m_ticket->SetParameter(m_ticket->pTicket, "v", PARAM_INT, &large, 1);  // fails, but leaves an empty vector
    }

    void Append(std::optional<std::string> const& key, PARAM_TYPE type, void const* value, int index) {
        std::string const content =
            IsCopied(type) && value != nullptr ? ARGUMENT::ContentOf(type, value) : std::string();
        m_rows.push_back({key, type, value, content, index});
    }

    void Add(INPUT& input) {
        std::string const text = input.Text();
        char const* const key = input.Below(16) == 0 ? nullptr : text.c_str();
        int const index = static_cast<int>(input.Below(6)) - 3;
        bool const isWalked = input.Flag();
        ARGUMENT const& argument = m_arguments.emplace_back(input);
        if (isWalked)
            m_list.ySetParameter(key, argument.Type(), argument.Pointer(), index);
        else
            m_list.xSetParameter(key, argument.Type(), argument.Pointer(), index);
        int const kept = isWalked && index == 0 ? SCALAR_INDEX : index;
        MUST_HOLD(MultiParListSetParameter(m_plain, key, argument.Type(), argument.Pointer(), kept));
        Append(key != nullptr ? std::optional<std::string>(text) : std::nullopt, argument.Type(), argument.Pointer(),
               kept);
    }

    void AddVector(INPUT& input) {
        std::string const key = input.Text();
        TEXTS values = Texts(input, 3);
        bool const areFiles = input.Flag();
        if (areFiles)
            m_list.SetFilenameVectorParameter(key.c_str(), values);
        else
            m_list.SetVectorParameter(key.c_str(), values);
        Append(key, PARAM_NONE, nullptr, SCALAR_INDEX);
        MUST_HOLD(MultiParListSetParameter(m_plain, key.c_str(), PARAM_NONE, nullptr, SCALAR_INDEX));
        for (std::string& value : values) {
            if (areFiles) std::replace(value.begin(), value.end(), '\\', '/');
            MUST_HOLD(MultiParListSetParameter(m_plain, key.c_str(), PARAM_STRING, value.c_str(), APPEND_INDEX));
            Append(key, PARAM_STRING, value.c_str(), APPEND_INDEX);
        }
    }

    void Clear() {
        m_list.Clear();
        MultiParListDestroy(&m_plain);
        m_plain = MultiParListCreate();
        m_rows.clear();
        MUST_HOLD(m_list.Table(true) == nullptr && MultiParListTable(m_plain, 1) == nullptr);
    }

    void Merge(INPUT& input) {
        TEXTS const keys = Texts(input, 3);
        SELECTION selection;
        selection.Set(keys);
        std::size_t const how = input.Below(4);
        PARTIAL_MODE mode;
        mode.set(Array(keys).data());
        // An empty mode selects everything; a list of strings that select nothing does not.
        bool const isAll = how == 3 || (how == 1 ? selection.IsEmpty() : how == 0 && keys.empty());
        std::size_t const before = m_rows.size();
        WALK walk{*this, selection, isAll};
        m_ticket->WalkParameter(m_ticket->pTicket, &WALK::Take, &walk, "", WALK_EVERYTHING);
        MUST_HOLD(!isAll || m_rows.size() == before + 7);
        if (how == 0) m_list.Merge(m_ticket, Array(keys).data());
        if (how == 1) m_list.Merge(m_ticket, mode);
        if (how == 2) m_list.MergeIf(m_ticket, [&](char const* key) { return selection.Selects(key); });
        if (how == 3) m_list.Merge(m_ticket, nullptr);
    }

    struct WALK {
        LISTS& self;
        SELECTION const& selection;
        bool isAll;

        static bool Take(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto const& [self, selection, isAll] = *static_cast<WALK*>(context);
            if (!isAll && !selection.Selects(key)) return true;
            self.Append(key, type, value, index == 0 ? SCALAR_INDEX : index);
            MUST_HOLD(MultiParListSetParameter(self.m_plain, key, type, value, index == 0 ? SCALAR_INDEX : index));
            return true;
        }
    };

    void CompareTable(SETMULTIPAR const* table, bool mayBorrow) const {
        MUST_HOLD((table == nullptr) == m_rows.empty());
        for (ROW const& row : m_rows) MustBeSame(Spelled(*table++, mayBorrow), Spelled(row), "record");
        if (table == nullptr) return;
        SETMULTIPAR const zero{};
        MUST_HOLD(std::memcmp(table, &zero, sizeof zero) == 0);
    }

    // Sets and copies the collected records.
    void UseAsBatch(SETMULTIPAR* table) {
        tickets::OWNER const target;
        MUST_HOLD(target->SetMultiParameter(target->pTicket, table) == (table != nullptr));
        SETMULTIPAR* const copy = MultiParameterDup(table);
        MUST_HOLD((copy == nullptr) == (table == nullptr));
        MUST_HOLD(AllMultiParameterOk(copy) == AllMultiParameterOk(table));
        MUST_HOLD(AnyMultiParameterOk(copy) == AnyMultiParameterOk(table));
        MultiParameterResultCpy(copy, table);
        for (std::size_t i = 0; copy != nullptr && copy[i].key != nullptr; ++i) {
            MustBeSame(Spelled(copy[i]), Spelled(table[i]), "duplicate");
            MUST_HOLD(copy[i].result == table[i].result);
        }
        for (std::size_t i = 0; i < m_rows.size(); ++i) table[i].result = false;
        std::free(copy);
    }

    tickets::OWNER const m_ticket;
    SETMULTIPAR_LIST m_list;
    SETMULTIPAR_LIST* m_plain;
    std::vector<ROW> m_rows;
    std::deque<ARGUMENT> m_arguments;
};

}  // namespace

void CheckBatchList(INPUT& input) {
    LISTS lists(input.Flag());
    for (int steps = 0; steps < 40 && !input.IsEmpty(); ++steps) lists.Step(input);
    lists.Compare(true);
}

void CheckPartialMode(INPUT& input) {
    PARTIAL_MODE mode;
    SELECTION selection;
    for (int steps = 0; steps < 40 && !input.IsEmpty(); ++steps) {
        std::size_t const what = input.Below(8);
        TEXTS const list = Texts(input, 4);
        std::string const text = list.empty() ? "" : list.front();
        if (what == 0) {
            mode.set(nullptr);
            selection.Clear();
        } else if (what < 4) {
            mode.set(Array(list).data());
            selection.Set(list);
        } else if (what == 4) {
            mode.erase(text);
            selection.Erase(text);
        } else if (what == 5) {
            mode.prefixes.insert(text);
            selection.InsertPrefix(text);
        } else if (what == 6) {
            MUST_HOLD(mode.prefixes.erase(text) == selection.ErasePrefix(text));
        }
        MustAgree(mode, selection);
        auto const found = mode.prefixes.find(text);
        MUST_HOLD((found != mode.prefixes.end()) == selection.Found(text).has_value());
        if (found != mode.prefixes.end()) MustBeSame(*found, *selection.Found(text), "equivalent prefix");
        MUST_HOLD(mode.prefixes.Covers(text) == selection.Covers(text));
        MUST_HOLD(mode.Selects(text.c_str()) == selection.Selects(text) && !mode.Selects(nullptr));
    }
}
