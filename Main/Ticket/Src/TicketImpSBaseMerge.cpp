// Merging one ticket into another. The parameters are first collected into storage of the merge's own, so that the
// source may change, or be the target itself, while the target is written.
#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <stdexcept>
#include <vector>

#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/PartialMode.h"
#include "TicketImpSBase.h"

namespace {

// The selected parameters of a ticket as a batch, with copies of all that the records point to. A SETMULTIPAR_LIST
// would do the same, but looks up every key and number among those that it has, which takes twice as many instructions.
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

    // The batch; null when nothing was collected.
    SETMULTIPAR* Table() {
        if (m_records.empty()) return nullptr;
        m_records.push_back({});
        return m_records.data();
    }

 private:
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

    void Add(char const* key, PARAM_TYPE type, void const* value, int index) {
        if (type == PARAM_NONE || type == PARAM_VECTOR || type > PARAM_UINT64) return;
        bool const isNextElement = index > 0 && !m_records.empty() && std::strcmp(m_records.back().key, key) == 0;
        char const* const name = isNextElement ? m_records.back().key : CopyText(key);
        // Setting the first element would keep the target's others; setting the whole value replaces the vector.
        m_records.push_back({name, type, Copy(type, value), index == 0 ? SCALAR_INDEX : index, false});
    }

    void const* Copy(PARAM_TYPE type, void const* value) {
        if (!value || type == PARAM_POINTER) return value;
        switch (type) {
            case PARAM_INT:
            case PARAM_UNSIGNED:
                return CopyBytes(value, sizeof(int32_t), alignof(int32_t));
            case PARAM_STRING:
                return CopyText(static_cast<char const*>(value));
            case PARAM_BINSTR: {
                auto bytes = LoadValue<BIN_STRING>(value);
                bytes.data = bytes.data ? CopyBytes(bytes.data, bytes.length, 1) : nullptr;
                return CopyBytes(&bytes, sizeof bytes, alignof(BIN_STRING));
            }
            default:
                return CopyBytes(value, sizeof(int64_t), alignof(int64_t));
        }
    }

    char const* CopyText(char const* text) {
        return static_cast<char const*>(CopyBytes(text, std::strlen(text) + 1, 1));
    }

    void const* CopyBytes(void const* bytes, std::size_t size, std::size_t alignment) {
        if (size > PTRDIFF_MAX) throw std::length_error("a value longer than memory");
        void* const copy = m_memory.allocate(size, alignment);
        if (size > 0) std::memcpy(copy, bytes, size);
        return copy;
    }

    bool m_everything;
    bool m_failed = false;
    PARTIAL_MODE m_selection;
    std::pmr::monotonic_buffer_resource m_memory{std::pmr::new_delete_resource()};
    std::vector<SETMULTIPAR> m_records;
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
