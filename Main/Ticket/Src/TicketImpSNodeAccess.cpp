// Converting access to a ticket's parameters: the typed getters, and the get and set operations that carry a type
// number and an untyped pointer, one at a time or in batches.
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "Common/Src/Attempt.h"
#include "Common/Src/BatchRecords.h"
#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/MathLib.h"
#include "TicketImpSNode.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;

bool ToNumber(ENTRY const* entry, double& number) {
    if (!entry) return false;
    if (entry->Tag() == clTICKETNODE::ENTRY_NUMBER) {
        number = entry->Number();
        return true;
    }
    switch (entry->Tag()) {
        case clTICKETNODE::ENTRY_NUMBER:
            number = entry->Number();
            return true;
        case clTICKETNODE::ENTRY_INT64:
            number = static_cast<double>(entry->Int64());
            return true;
        case clTICKETNODE::ENTRY_UINT64:
            number = MathLib::U64ToDouble(entry->Uint64());
            return true;
        default:
            return false;
    }
}

// NaN bypasses `round`: each type has a value of its own for it.
template <typename T>
bool ReadRounded(ENTRY const* entry, T& value, T notANumber, T (*round)(double)) {
    double number = 0;
    bool const found = ToNumber(entry, number);
    value = std::isnan(number) ? notANumber : round(number);
    return found;
}

// Most numbers are integers of the type that is asked for, and need no call.
template <typename T>
bool ReadExact(ENTRY const* entry, void* buffer) {
    if (!entry || entry->Tag() != clTICKETNODE::ENTRY_NUMBER) return false;
    double const number = entry->Number();
    if (!(number >= static_cast<double>(std::numeric_limits<T>::min()) &&
          number < static_cast<double>(std::numeric_limits<T>::max())))
        return false;
    auto const value = static_cast<T>(number);
    if (static_cast<double>(value) != number) return false;
    StoreValue(buffer, value);
    return true;
}

// 64-bit integers hand out their bits whatever their sign.
template <typename T>
bool ReadWide(ENTRY const* entry, T& value, T notANumber, T (*round)(double)) {
    if (entry && entry->Tag() == clTICKETNODE::ENTRY_INT64) {
        value = static_cast<T>(entry->Int64());
        return true;
    }
    if (entry && entry->Tag() == clTICKETNODE::ENTRY_UINT64) {
        value = static_cast<T>(entry->Uint64());
        return true;
    }
    return ReadRounded(entry, value, notANumber, round);
}

template <typename T>
ENTRY ToEntry(T const& value) {
    return ENTRY(value);
}

ENTRY ToEntry(double value) {
    return ENTRY(std::isnan(value) ? MathLib::NOT_A_DOUBLE_NUMBER : value);
}

template <typename T>
[[gnu::always_inline]] inline bool LoadAs(void const* source, ENTRY& entry) {
    if (!source) return false;
    entry = ToEntry(LoadValue<T>(source));
    return true;
}

// Reads the value of a set. False: refused, whatever the index. A deletion has nothing to read. Inlined with LoadAs,
// because its caller knows that `entry` is empty and has nothing to free.
[[gnu::always_inline]] inline bool Load(PARAM_TYPE type, void const* source, ENTRY& entry) {
    switch (type) {
        case PARAM_NONE:
            return !source;
        case PARAM_POINTER:
            entry = ENTRY(const_cast<void*>(source));
            return true;
        case PARAM_INT:
            return LoadAs<int>(source, entry);
        case PARAM_DOUBLE:
            return LoadAs<double>(source, entry);
        case PARAM_STRING:
            entry = ENTRY(std::string_view(source ? static_cast<char const*>(source) : ""));
            return true;
        case PARAM_BINSTR:
            return LoadAs<BIN_STRING>(source, entry);
        case PARAM_INT64:
            return LoadAs<long long>(source, entry);
        case PARAM_UNSIGNED:
            return LoadAs<unsigned int>(source, entry);
        case PARAM_UINT64:
            return LoadAs<unsigned long long>(source, entry);
        default:
            return false;
    }
}

// One record of a batch, read but not applied.
struct CHANGE {
    std::string_view key;
    ENTRY value;
    bool readable;
};

// The keys of a batch that deletes something: a deletion may free the text that names a later record. All other changes
// leave the old values to the batch until its end.
std::string CopyKeys(SETMULTIPAR const* records, std::size_t count) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i) length += std::strlen(records[i].key);
    std::string keys;
    keys.reserve(length);
    for (std::size_t i = 0; i < count; ++i) keys += records[i].key;
    return keys;
}

// All results become false. `keys` holds the copied keys, if there are any.
std::vector<CHANGE> ReadBatch(SETMULTIPAR* records, std::string& keys) {
    std::size_t count = 0;
    bool deletes = false;
    for (; IsRecord(records[count]); ++count) {
        records[count].result = false;
        deletes = deletes || records[count].type == PARAM_NONE;
    }
    if (deletes) keys = CopyKeys(records, count);
    char const* copy = keys.data();
    std::vector<CHANGE> changes;
    changes.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        SETMULTIPAR const& record = records[i];
        // The elements of one vector share their key.
        bool const isSame = i > 0 && record.key == records[i - 1].key;
        std::string_view key = isSame ? changes[i - 1].key : std::string_view(record.key);
        if (deletes) {
            key = {copy, key.size()};
            copy += key.size();
        }
        CHANGE& change = changes.emplace_back(CHANGE{key, ENTRY(), false});
        change.readable = Attempt([&] { return Load(record.type, record.value, change.value); });
    }
    return changes;
}

}  // namespace

bool clTICKETNODE::Read(clENTRY const* entry, double& value) {
    value = 0;
    return ToNumber(entry, value);
}

bool clTICKETNODE::Read(clENTRY const* entry, int& value) {
    return ReadRounded(entry, value, INT_MIN, MathLib::RoundToInt);
}

bool clTICKETNODE::Read(clENTRY const* entry, unsigned int& value) {
    return ReadRounded(entry, value, UINT_MAX, MathLib::RoundToUnsigned);
}

bool clTICKETNODE::Read(clENTRY const* entry, long long& value) {
    return ReadWide(entry, value, LLONG_MAX, MathLib::RoundToI64);
}

bool clTICKETNODE::Read(clENTRY const* entry, unsigned long long& value) {
    return ReadWide(entry, value, ULLONG_MAX, MathLib::RoundToU64);
}

bool clTICKETNODE::Read(clENTRY const* entry, char const*& value) {
    bool const found = entry && entry->Tag() == ENTRY_STRING;
    value = found ? entry->Text().data() : nullptr;
    return found;
}

bool clTICKETNODE::Read(clENTRY const* entry, BIN_STRING& value) {
    bool const found = entry && (entry->Tag() == ENTRY_STRING || entry->Tag() == ENTRY_BINARY);
    value = found ? BIN_STRING{entry->Text().data(), entry->Text().size()} : BIN_STRING{nullptr, 0};
    return found;
}

bool clTICKETNODE::Read(clENTRY const* entry, void*& value) {
    bool const found = entry && entry->Tag() == ENTRY_POINTER;
    value = found ? entry->Pointer() : nullptr;
    return found;
}

bool clTICKETNODE::Read(clENTRY const* entry, PARAM_TYPE& type) {
    type = PARAM_NONE;
    return entry && entry->TypeOf(type);
}

bool clTICKETNODE::Count(clENTRY const* entry, uint64_t& count) {
    count = !entry ? 0 : entry->Tag() == ENTRY_VECTOR ? entry->Elements().size() : 1;
    return entry != nullptr;
}

bool clTICKETNODE::GetV(std::string_view key, unsigned long& count) const {
    return Count(GetEntry(key), count);
}

// Not inlined, so that its callers can end in a jump here.
template <typename T>
[[gnu::noinline]] bool clTICKETNODE::ReadInto(clENTRY const* entry, void* buffer) {
    T value;
    bool const found = Read(entry, value);
    StoreValue(buffer, value);
    return found;
}

template <typename T>
[[gnu::noinline]] bool clTICKETNODE::ReadInteger(clENTRY const* entry, void* buffer) {
    return ReadExact<T>(entry, buffer) || ReadInto<T>(entry, buffer);
}

bool clTICKETNODE::ReadStable(clENTRY const* entry, void* buffer, TICKET_TEXTS& texts) {
    char const* text = nullptr;
    std::memcpy(buffer, &text, sizeof text);  // in case memory is short
    if (!entry || entry->Tag() != ENTRY_STRING) return false;
    text = entry->StableText(texts);
    std::memcpy(buffer, &text, sizeof text);
    return true;
}

// Not inlined, like ReadInto: ReadAs then ends in a jump whatever the type, and keeps no registers.
[[gnu::noinline]] bool clTICKETNODE::ReadCount(clENTRY const* entry, void* buffer) {
    uint64_t count = 0;
    bool const found = Count(entry, count);
    StoreValue(buffer, count);
    return found;
}

// An element is neither a pointer nor a vector.
[[gnu::noinline]] bool clTICKETNODE::ReadElement(clENTRY const* entry, PARAM_TYPE type, void* value, int index,
                                                 TICKET_TEXTS* texts) {
    if (value && (type == PARAM_POINTER || type == PARAM_VECTOR)) return false;
    return ReadAs(Element(entry, index), type, value, SCALAR_INDEX, texts);
}

bool clTICKETNODE::ReadAs(clENTRY const* entry, PARAM_TYPE type, void* value, int index, TICKET_TEXTS* texts) {
    if (index != SCALAR_INDEX) return ReadElement(entry, type, value, index, texts);
    if (!value) return entry != nullptr;
    switch (type) {
        case PARAM_NONE:
            return ReadInto<PARAM_TYPE>(entry, value);
        case PARAM_POINTER:
            return ReadInto<void*>(entry, value);
        case PARAM_INT:
            return ReadInteger<int>(entry, value);
        case PARAM_DOUBLE:
            return ReadInto<double>(entry, value);
        case PARAM_STRING:
            return texts ? ReadStable(entry, value, *texts) : ReadInto<char const*>(entry, value);
        case PARAM_BINSTR:
            return ReadInto<BIN_STRING>(entry, value);
        case PARAM_VECTOR:
            return ReadCount(entry, value);
        case PARAM_INT64:
            return ReadInteger<long long>(entry, value);
        case PARAM_UNSIGNED:
            return ReadInteger<unsigned int>(entry, value);
        case PARAM_UINT64:
            return ReadInteger<unsigned long long>(entry, value);
        default:
            return false;
    }
}

bool clTICKETNODE::SetParameter(std::string_view key, PARAM_TYPE type, void const* value, int index) {
    return Attempt([&] {
        clENTRY entry;
        clENTRY* found = nullptr;
        return Load(type, value, entry) && Apply(key, found, type, std::move(entry), index);
    });
}

bool clTICKETNODE::AppendLater(std::string_view key, LAST& last, PARAM_TYPE type, void const* value) {
    return Attempt([&] {
        clENTRY entry;
        clENTRY* found = last.changes == m_changes ? last.entry : nullptr;
        bool const done = Load(type, value, entry) && Apply(key, found, type, std::move(entry), APPEND_INDEX);
        last = {found, m_changes};
        return done;
    });
}

// The buffer of a record may overlap the key of a later one, or that record. So an earlier lookup counts only if the
// entry has the key that stands there now.
[[gnu::always_inline]] inline bool clTICKETNODE::IsStillOf(char const* now, std::string_view key,
                                                           clENTRY const* entry) {
    return entry && now == key.data() && PARAMETER_MAP<clENTRY>::HasKey(*entry, key) && now[key.size()] == '\0';
}

bool clTICKETNODE::GetMultiParameter(GETMULTIPAR* records, TICKET_TEXTS* texts) const {
    if (!records) return false;
    if (m_map.MayMissCaches()) {
        while (IsRecord(*records)) records = GetGroup(records, texts);
        return true;
    }
    std::string_view key;
    clENTRY const* entry = nullptr;
    for (; IsRecord(*records); ++records) {
        // The elements of one vector share their key.
        if (!IsStillOf(records->key, key, entry)) {
            key = records->key;
            entry = m_map.Find(key);
        }
        records->result = ReadAs(entry, records->type, records->value, records->index, texts);
    }
    return true;
}

GETMULTIPAR* clTICKETNODE::GetGroup(GETMULTIPAR* records, TICKET_TEXTS* texts) const {
    constexpr std::size_t LARGEST = 16;
    std::string_view keys[LARGEST];
    uint32_t hashes[LARGEST];
    clENTRY const* entries[LARGEST];
    std::size_t count = 0;
    for (; count < LARGEST && IsRecord(records[count]); ++count) {
        bool const isSame = count > 0 && records[count].key == keys[count - 1].data();
        keys[count] = isSame ? keys[count - 1] : records[count].key;
        hashes[count] = isSame ? hashes[count - 1] : m_map.Prepare(keys[count]);
    }
    for (std::size_t i = 0; i < count; ++i) entries[i] = m_map.Candidate(hashes[i]);
    for (std::size_t i = 0; i < count; ++i, ++records) {
        clENTRY const* entry = entries[i];
        if (!IsStillOf(records->key, keys[i], entry)) {
            if (!IsRecord(*records)) break;
            entry = m_map.Find(records->key);
        }
        records->result = ReadAs(entry, records->type, records->value, records->index, texts);
    }
    return records;
}

// True also when memory is short, even for the copies: each record's result tells whether it was stored.
bool clTICKETNODE::SetMultiParameter(SETMULTIPAR* records) {
    if (!records) return false;
    Attempt([&] {
        std::string keys;
        char const* last = nullptr;
        clENTRY* found = nullptr;
        for (CHANGE& change : ReadBatch(records, keys)) {
            if (change.key.data() != last) found = nullptr;
            last = change.key.data();
            records->result = change.readable && Attempt([&, record = records] {
                                  return Apply(change.key, found, record->type, std::move(change.value), record->index);
                              });
            ++records;
        }
        return true;
    });
    return true;
}
