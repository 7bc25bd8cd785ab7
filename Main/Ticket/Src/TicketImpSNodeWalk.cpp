// The walks over a ticket's parameters, and what is built on them: counting and the test for emptiness.
//
// A host's callback may change the node that is walked. The walk keeps its own copy of the current key and searches it
// again when the node's count of changes has moved; it looks at no entry after the callback for it. Callbacks of the
// library that change nothing get the node's own keys, which saves a tenth of a save's instructions.
#include <climits>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>

#include "ConfigurationControl/MathLib.h"
#include "TicketImpSNode.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;

// A whole double as an int; INT_MIN if it does not fit, as hosts and saved files have it.
int ToWalkedInt(double integral) {
    return INT_MIN <= integral && integral <= INT_MAX ? static_cast<int>(integral) : INT_MIN;
}

bool IsValue(PARAM_TYPE type) {
    return type != PARAM_NONE && type != PARAM_VECTOR;
}

bool CountUp(void* context, char const*, PARAM_TYPE type, void const*, int) {
    if (IsValue(type)) ++*static_cast<unsigned long*>(context);
    return true;
}

bool FindAny(void* context, char const*, PARAM_TYPE type, void const*, int) {
    if (!IsValue(type)) return true;
    *static_cast<bool*>(context) = true;
    return false;
}

}  // namespace

class clTICKETNODE::WALK {
 public:
    enum class KEYS { COPIED, BORROWED };

    WALK(clTICKETNODE const& node, STICKET_WALK_CALLBACK callback, void* context, KEYS keys)
        : m_node(node), m_callback(callback), m_context(context), m_keys(keys) {}

    bool operator()(int level) {
        PARAMETER_MAP<clENTRY> const& map = m_node.m_map;
        for (auto position = map.First(); position;) {
            uint64_t const changes = m_node.m_changes;
            if (clENTRY const* const ahead = map.Ahead(position)) ahead->Prefetch();
            m_key = position.Key();
            if (m_keys == KEYS::COPIED) m_key = m_copiedKey = m_key;
            bool const goOn = level < 1 ? Report(PARAM_NONE, nullptr, SCALAR_INDEX)
                                        : Entry(position.Value(), nullptr, SCALAR_INDEX, level);
            if (!goOn) return false;
            position = changes == m_node.m_changes ? map.Next(position) : map.After(m_key);
        }
        return true;
    }

 private:
    // The way from the current key to an element: a position in each vector, the innermost first.
    struct PATH {
        PATH const* outer;
        std::size_t position;
    };

    bool Report(PARAM_TYPE type, void const* value, int index) const {
        return m_callback(m_context, m_key.data(), type, value, index);
    }

    bool Entry(clENTRY const& entry, PATH const* path, int index, int level) const {
        if (level <= 1) {
            PARAM_TYPE type = PARAM_NONE;
            entry.TypeOf(type);
            return Report(type, nullptr, index);
        }
        switch (entry.Tag()) {
            case ENTRY_NUMBER:
                return Number(entry.Number(), index);
            case ENTRY_STRING:
                return Report(PARAM_STRING, entry.Text().data(), index);
            case ENTRY_BINARY: {
                BIN_STRING const bytes{entry.Text().data(), entry.Text().size()};
                return Report(PARAM_BINSTR, &bytes, index);
            }
            case ENTRY_POINTER:
                return Report(PARAM_POINTER, entry.Pointer(), index);
            case ENTRY_VECTOR: {
                if (level >= 4) return Elements(entry, path, level - 8);
                uint64_t const count = entry.Elements().size();
                return Report(PARAM_VECTOR, &count, index);
            }
            case ENTRY_INT64:
                return Report(PARAM_INT64, &entry.Int64(), index);
            case ENTRY_UINT64:
                return Report(PARAM_UINT64, &entry.Uint64(), index);
            case ENTRY_EMPTY:
                break;
        }
        return true;
    }

    bool Number(double const& stored, int index) const {
        if (std::isnan(stored)) return Report(PARAM_DOUBLE, &MathLib::NOT_A_DOUBLE_NUMBER, index);
        if (std::isinf(stored) || std::trunc(stored) != stored) return Report(PARAM_DOUBLE, &stored, index);
        int const integer = ToWalkedInt(stored);
        return Report(PARAM_INT, &integer, index);
    }

    // Not inlined, like Find: otherwise the recursion is copied into itself.
    [[gnu::noinline]] bool Elements(clENTRY const& entry, PATH const* outer, int level) const {
        clENTRY const* vector = &entry;
        std::size_t const count = entry.Elements().size();  // a callback that appends here must not walk for ever
        uint64_t changes = m_node.m_changes;
        for (PATH path{outer, 0}; path.position < count; ++path.position) {
            if (changes != m_node.m_changes) {
                vector = Find(outer);
                changes = m_node.m_changes;
            }
            if (!vector || vector->Tag() != ENTRY_VECTOR || path.position >= vector->Elements().size()) break;
            int const index = static_cast<int>(path.position);
            if (!Entry(vector->Elements()[path.position], &path, index, level)) return false;
        }
        return true;
    }

    // The element at the end of the path, or for null the current key's entry. Null if it is gone.
    [[gnu::noinline]] clENTRY const* Find(PATH const* path) const {
        if (!path) return m_node.m_map.Find(m_key);
        clENTRY const* const vector = Find(path->outer);
        if (!vector || vector->Tag() != ENTRY_VECTOR || path->position >= vector->Elements().size()) return nullptr;
        return &vector->Elements()[path->position];
    }

    clTICKETNODE const& m_node;
    STICKET_WALK_CALLBACK const m_callback;
    void* const m_context;
    KEYS const m_keys;
    std::string_view m_key;  // of the current entry, NUL-terminated
    std::string m_copiedKey;
};

bool clTICKETNODE::Walk(STICKET_WALK_CALLBACK callback, void* context, char const*, int level) const {
    return WALK(*this, callback, context, WALK::KEYS::COPIED)(level);
}

bool clTICKETNODE::WalkUnchanged(STICKET_WALK_CALLBACK callback, void* context) const {
    return WALK(*this, callback, context, WALK::KEYS::BORROWED)(WALK_EVERYTHING);
}

bool clTICKETNODE::WalkSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const {
    clTICKETNODE const copy(*this);
    return copy.Walk(callback, context, prefix, level);
}

bool clTICKETNODE::WalkParameter(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const {
    if (!callback) return false;
    Walk(callback, context, prefix, level);  // that a callback ended it is no failure
    return true;
}

bool clTICKETNODE::WalkParameterSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix,
                                       int level) const {
    if (!callback) return false;
    WalkSorted(callback, context, prefix, level);
    return true;
}

unsigned long clTICKETNODE::Size() const {
    unsigned long count = 0;
    WalkUnchanged(CountUp, &count);
    return count;
}

bool clTICKETNODE::NonEmpty() const {
    bool found = false;
    WalkUnchanged(FindAny, &found);
    return found;
}
