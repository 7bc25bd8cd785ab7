// The batch list: assignments collected one by one or from a ticket, with copies of what they point to, handed out as
// one array; and its form for callers in plain C.
#include <algorithm>
#include <cstring>
#include <exception>

#include "Common/Src/Cancellation.h"
#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/TicketAccess.h"

namespace {

bool IsSettable(PARAM_TYPE type) {
    return type != PARAM_NONE && type != PARAM_VECTOR && type <= PARAM_UINT64;
}

bool KeyLess(SETMULTIPAR const& a, SETMULTIPAR const& b) {
    if (a.key == b.key) return false;
    if (!a.key || !b.key) return a.key != nullptr;
    return std::strcmp(a.key, b.key) < 0;
}

// Reserves space for `count` more records, at least doubling the capacity.
void MakeRoom(std::vector<SETMULTIPAR>& records, std::size_t count) {
    std::size_t const needed = records.size() + count;
    if (needed > records.capacity()) records.reserve(std::max({needed, 2 * records.capacity(), std::size_t{8}}));
}

// A walk whose callback may throw. The walked table would swallow the exception, so it is kept aside, the walk stopped,
// and the exception thrown again when the walk has returned.
class COLLECTOR {
 public:
    COLLECTOR(STICKET_WALK_CALLBACK action, void* context) : m_action(action), m_context(context) {}

    void Walk(STICKET_ACCESS const* ticket) {
        if (ticket) ticket->WalkParameter(ticket->pTicket, &COLLECTOR::Step, this, "", WALK_EVERYTHING);
    }
    void Rethrow() const {
        if (m_failure) std::rethrow_exception(m_failure);
    }

 private:
    static bool Step(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
        auto& self = *static_cast<COLLECTOR*>(context);
        try {
            return self.m_action(self.m_context, key, type, value, index);
        } catch (...) {
            PassCancellation();
            self.m_failure = std::current_exception();
            return false;
        }
    }

    STICKET_WALK_CALLBACK m_action;
    void* m_context;
    std::exception_ptr m_failure;
};

void Collect(STICKET_ACCESS const* ticket, STICKET_WALK_CALLBACK action, void* context) {
    COLLECTOR collector(action, context);
    collector.Walk(ticket);
    collector.Rethrow();
}

struct FILTER_ACTION {
    SETMULTIPAR_LIST& list;
    std::function<bool(char const*)> const& filter;

    static bool CollectAction(void* action, char const* key, PARAM_TYPE type, void const* value, int index) {
        auto const& self = *static_cast<FILTER_ACTION*>(action);
        if (IsSettable(type) && self.filter(key)) self.list.ySetParameter(key, type, value, index);
        return true;
    }
};

}  // namespace

SETMULTIPAR_LIST::SETMULTIPAR_LIST(STICKET_ACCESS const* ticket, char const* const* keys, bool copyAll)
    : m_copyAll(copyAll) {
    Merge(ticket, keys);
}

SETMULTIPAR_LIST::SETMULTIPAR_LIST(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode, bool copyAll)
    : m_copyAll(copyAll) {
    Merge(ticket, mode);
}

SETMULTIPAR_LIST::~SETMULTIPAR_LIST() = default;

bool SETMULTIPAR_LIST::xSetParameter(char const* key, PARAM_TYPE type, void const* value, int index) {
    return Append(key, type, Stored(type, value), index);
}

bool SETMULTIPAR_LIST::ySetParameter(char const* key, PARAM_TYPE type, void const* value, int index) {
    // Setting a vector's first element would keep the target's other elements; setting the whole value starts it anew.
    if (index == 0) index = SCALAR_INDEX;
    // A walk passes values of these two types as temporaries.
    bool const copied = m_copyAll || type == PARAM_INT || type == PARAM_BINSTR;
    return Append(key, type, copied ? Stored(type, value) : value, index);
}

bool SETMULTIPAR_LIST::SetVectorParameter(char const* key, std::vector<std::string> const& values) {
    // Allocates everything before the first record: a deletion with half of the elements would lose the others.
    std::vector<void const*> stored;
    stored.reserve(values.size());
    for (std::string const& value : values) stored.push_back(Stored(PARAM_STRING, value.c_str()));
    MakeRoom(m_records, 1 + stored.size());
    Append(key, PARAM_NONE, nullptr, SCALAR_INDEX);
    for (void const* value : stored) Append(key, PARAM_STRING, value, APPEND_INDEX);
    return true;
}

bool SETMULTIPAR_LIST::SetFilenameVectorParameter(char const* key, std::vector<std::string> const& fileNames) {
    std::vector<std::string> converted;
    FilenamesToTicket(converted, fileNames);
    return SetVectorParameter(key, converted);
}

void const* SETMULTIPAR_LIST::Stored(PARAM_TYPE type, void const* value) {
    if (!value) return nullptr;
    switch (type) {
        case PARAM_INT:
            return m_ints.Add(LoadValue<int>(value));
        case PARAM_DOUBLE: {
            double const number = LoadValue<double>(value);
            return MathLib::IsNotANumber(number) ? &MathLib::NOT_A_DOUBLE_NUMBER : m_doubles.Add(number);
        }
        case PARAM_STRING: {
            auto text = static_cast<char const*>(value);
            m_strings(text);
            return text;
        }
        case PARAM_BINSTR:
            return m_binaries.Add(LoadValue<BIN_STRING>(value));
        case PARAM_INT64:
            return m_int64s.Add(LoadValue<long long>(value));
        case PARAM_UNSIGNED:
            return m_unsigneds.Add(LoadValue<unsigned int>(value));
        case PARAM_UINT64:
            return m_uint64s.Add(LoadValue<unsigned long long>(value));
        default:
            return value;
    }
}

bool SETMULTIPAR_LIST::Append(char const* key, PARAM_TYPE type, void const* value, int index) {
    // Reserve first: ParameterExists must not know a key whose record could not be added.
    MakeRoom(m_records, 1);
    m_keys(key);
    m_records.push_back({key, type, value, index, false});
    m_table.clear();
    m_sorted = false;
    return true;
}

SETMULTIPAR* SETMULTIPAR_LIST::Table(bool sort) {
    bool const sorting = sort && !m_sorted;
    if (sorting) m_table.clear();
    if (!m_table.empty()) return m_table.data();
    if (m_records.empty()) return nullptr;
    if (sorting) {
        bool const inOrder = std::is_sorted(m_records.begin(), m_records.end(), KeyLess);  // as after a walk
        if (!inOrder) std::stable_sort(m_records.begin(), m_records.end(), KeyLess);
        m_sorted = true;
    }
    m_table.reserve(m_records.size() + 1);
    m_table = m_records;
    m_table.push_back({});
    return m_table.data();
}

void SETMULTIPAR_LIST::Clear() {
    m_table.clear();
    m_records.clear();
    m_sorted = false;
    m_keys.clear();
    m_ints.clear();
    m_unsigneds.clear();
    m_int64s.clear();
    m_uint64s.clear();
    m_doubles.clear();
    m_strings.clear();
    m_binaries.clear();
}

void SETMULTIPAR_LIST::Merge(STICKET_ACCESS const* ticket, char const* const* keys) {
    if (!keys || !*keys) return Collect(ticket, &CollectAction, this);
    PARTIAL_MODE mode;
    mode.set(keys);
    // Not the other Merge, where an empty mode selects everything: here it selects nothing.
    MergeSelected(ticket, mode);
}

void SETMULTIPAR_LIST::Merge(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode) {
    if (mode.empty()) return Collect(ticket, &CollectAction, this);
    MergeSelected(ticket, mode);
}

void SETMULTIPAR_LIST::MergeSelected(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode) {
    PARTIAL_COLLECT_ACTION action{*this, mode};
    Collect(ticket, &PARTIAL_COLLECT_ACTION::CollectAction, &action);
}

void SETMULTIPAR_LIST::MergeIf(STICKET_ACCESS const* ticket, std::function<bool(char const*)> filter) {
    FILTER_ACTION action{*this, filter};
    COLLECTOR collector(&FILTER_ACTION::CollectAction, &action);
    collector.Walk(ticket);
    // Stored after the walk: the filter may itself call MergeIf of this list.
    m_filter = std::move(filter);
    collector.Rethrow();
}

bool SETMULTIPAR_LIST::CollectAction(void* list, char const* key, PARAM_TYPE type, void const* value, int index) {
    if (list && IsSettable(type)) static_cast<SETMULTIPAR_LIST*>(list)->ySetParameter(key, type, value, index);
    return true;
}

void PARTIAL_COLLECT_ACTION::SetParameter(char const* key, PARAM_TYPE type, void const* value, int index) {
    if (mode.Selects(key)) list.ySetParameter(key, type, value, index);
}

bool PARTIAL_COLLECT_ACTION::CollectAction(void* action, char const* key, PARAM_TYPE type, void const* value,
                                           int index) {
    if (action && IsSettable(type)) static_cast<PARTIAL_COLLECT_ACTION*>(action)->SetParameter(key, type, value, index);
    return true;
}

namespace {

// C callers cannot catch exceptions.
template <typename RESULT, typename FUNCTION>
RESULT Guarded(RESULT failure, FUNCTION const& function) {
    try {
        return function();
    } catch (...) {
        return failure;
    }
}

}  // namespace

SETMULTIPAR_LIST* MultiParListCreate() {
    return Guarded<SETMULTIPAR_LIST*>(nullptr, [] { return new SETMULTIPAR_LIST; });
}

void MultiParListDestroy(SETMULTIPAR_LIST** handle) {
    if (!handle) return;
    delete *handle;
    *handle = nullptr;
}

unsigned long MultiParListSize(SETMULTIPAR_LIST const* handle) {
    return handle ? handle->Size() : 0;
}

SETMULTIPAR* MultiParListTable(SETMULTIPAR_LIST* handle, int sort) {
    if (!handle) return nullptr;
    // Only the low byte counts: callers may pass a flag of one byte.
    bool const sorting = (static_cast<unsigned int>(sort) & 0xFFU) != 0;
    return Guarded<SETMULTIPAR*>(nullptr, [=] { return handle->Table(sorting); });
}

bool MultiParListSetParameter(SETMULTIPAR_LIST* handle, char const* key, PARAM_TYPE type, void const* value,
                              int index) {
    if (!handle) return false;
    return Guarded(false, [=] { return handle->xSetParameter(key, type, value, index); });
}
