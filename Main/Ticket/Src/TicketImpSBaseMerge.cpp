// Merging one ticket into another. The parameters are first collected into storage of the merge's own, so that the
// source may change, or be the target itself, while the target is written.
#include <deque>
#include <string>

#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/MultiParList.h"
#include "TicketImpSBase.h"

namespace {

// The selected parameters of a ticket, with copies of all that they point to.
class COLLECTION {
 public:
    explicit COLLECTION(char const* const* keys) : m_everything(!keys || !*keys) {
        if (!m_everything) m_selection.set(keys);
    }

    // False when the source could not be walked to its end.
    bool CollectFrom(STICKET_ACCESS const& source) {
        bool const walked = source.WalkParameter(source.pTicket, &Collect, this, "", WALK_EVERYTHING);
        return walked && !m_failed;
    }

    SETMULTIPAR* Table() { return m_list.Table(false); }

 private:
    union NUMBER {
        double real;
        int64_t int64;
        uint64_t uint64;
        uint32_t uint32;
    };

    // Nothing may be thrown through the walked entry, which could belong to another module.
    static bool Collect(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
        auto& self = *static_cast<COLLECTION*>(context);
        try {
            if (key && (self.m_everything || self.m_selection.Selects(key))) self.Add(key, type, value, index);
            return true;
        } catch (...) {
            PassCancellation();
            self.m_failed = true;
            return false;
        }
    }

    // The list copies keys, 32-bit integers and byte strings. Doubles are copied here like the rest, because the list's
    // own copy would turn an infinity into NaN.
    void Add(char const* key, PARAM_TYPE type, void const* value, int index) {
        switch (type) {
            case PARAM_DOUBLE:
                value = Keep(&NUMBER::real, value);
                break;
            case PARAM_INT64:
                value = Keep(&NUMBER::int64, value);
                break;
            case PARAM_UNSIGNED:
                value = Keep(&NUMBER::uint32, value);
                break;
            case PARAM_UINT64:
                value = Keep(&NUMBER::uint64, value);
                break;
            case PARAM_STRING:
                if (value) value = m_texts.emplace_back(static_cast<char const*>(value)).c_str();
                break;
            case PARAM_POINTER:
            case PARAM_INT:
            case PARAM_BINSTR:
                break;
            default:
                return;
        }
        m_list.ySetParameter(key, type, value, index);
    }

    template <typename T>
    void const* Keep(T NUMBER::*member, void const* value) {
        if (!value) return nullptr;
        T& copy = m_numbers.emplace_back().*member;
        copy = LoadValue<T>(value);
        return &copy;
    }

    bool m_everything;
    bool m_failed = false;
    PARTIAL_MODE m_selection;
    std::deque<NUMBER> m_numbers;
    std::deque<std::string> m_texts;
    SETMULTIPAR_LIST m_list{false};
};

int Merge(STICKET_ACCESS const& target, STICKET_ACCESS const& source, char const* const* keys, bool clear) {
    COLLECTION collection(keys);
    if (!collection.CollectFrom(source)) return 0;
    SETMULTIPAR* records = collection.Table();
    if (clear && !target.Operation(target.pTicket, STICKET_OP_CLEAR, nullptr)) return 0;
    // An empty key would end the batch, and it sorts before all others; so a parameter of that name is set by itself.
    for (; records && records->key && !*records->key; ++records) {
        target.SetParameter(target.pTicket, records->key, records->type, records->value, records->index);
    }
    return target.SetMultiParameter(target.pTicket, records);
}

}  // namespace

int STICKET::MergeTicket(STICKET* target, STICKET_ACCESS const* source, char const* const* keys, bool clear) {
    if (!target || !source) return 0;
    try {
        return Merge(*target->GetInterface(), *source, keys, clear);
    } catch (...) {
        PassCancellation();
        return 0;
    }
}
