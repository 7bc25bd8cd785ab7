// Makes, copies and checks arrays of batch records, by the C allocator: hosts written in C release them.
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "ConfigurationControl/MultiPar.h"

namespace {

// Makes records for the elements 0 to count - 1 of `key`. Null if memory is short or the last index exceeds an int.
template <typename RECORD>
RECORD* NewMultipar(unsigned long count, char const* key, PARAM_TYPE type) {
    if (count > static_cast<unsigned long>(INT_MAX)) return nullptr;
    auto* const records = static_cast<RECORD*>(std::calloc(count + 1, sizeof(RECORD)));
    if (!records) return nullptr;
    for (unsigned long i = 0; i < count; ++i) {
        records[i].key = key;
        records[i].type = type;
        records[i].index = static_cast<int>(i);
    }
    return records;
}

template <typename RECORD>
bool AllOk(RECORD const* records) {
    if (!records) return false;
    for (; records->key; ++records) {
        if (!records->result) return false;
    }
    return true;
}

template <typename RECORD>
bool AnyOk(RECORD const* records) {
    if (!records) return false;
    for (; records->key; ++records) {
        if (records->result) return true;
    }
    return false;
}

}  // namespace

GETMULTIPAR* NewGetMultipar(unsigned long count, char const* key, PARAM_TYPE type) {
    return NewMultipar<GETMULTIPAR>(count, key, type);
}

SETMULTIPAR* NewSetMultipar(unsigned long count, char const* key, PARAM_TYPE type) {
    auto* const records = NewMultipar<SETMULTIPAR>(count, key, type);
    if (records && count > 0) records[0].index = SCALAR_INDEX;
    return records;
}

bool AllMultiParameterOk(GETMULTIPAR const* records) {
    return AllOk(records);
}
bool AllMultiParameterOk(SETMULTIPAR const* records) {
    return AllOk(records);
}
bool AnyMultiParameterOk(GETMULTIPAR const* records) {
    return AnyOk(records);
}
bool AnyMultiParameterOk(SETMULTIPAR const* records) {
    return AnyOk(records);
}

void MultiParameterResultCpy(SETMULTIPAR* destination, SETMULTIPAR const* source) {
    if (!destination || !source) return;
    for (; destination->key && source->key; ++destination, ++source) destination->result = source->result;
}

SETMULTIPAR* MultiParameterDup(SETMULTIPAR const* records) {
    if (!records) return nullptr;
    std::size_t count = 1;  // the terminator
    while (records[count - 1].key) ++count;
    auto* const copy = static_cast<SETMULTIPAR*>(std::malloc(count * sizeof(SETMULTIPAR)));
    if (copy) std::memcpy(copy, records, count * sizeof(SETMULTIPAR));
    return copy;
}
