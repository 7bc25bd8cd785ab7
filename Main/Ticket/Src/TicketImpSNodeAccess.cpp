// Converting access to a ticket's parameters: the typed getters, and the get and set operations that carry a type
// number and an untyped pointer, one at a time or in batches.
#include <climits>
#include <cmath>
#include <cstdint>
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

// `round` has no say about NaN: each type has a value of its own for it.
template <typename T>
bool ReadRounded(ENTRY const* entry, T& value, T notANumber, T (*round)(double)) {
    double number = 0;
    bool const found = ToNumber(entry, number);
    // Most numbers are integers that fit, and need no call.
    if (number >= static_cast<double>(std::numeric_limits<T>::min()) &&
        number < static_cast<double>(std::numeric_limits<T>::max())) {
        value = static_cast<T>(number);
        if (static_cast<double>(value) == number) return found;
    }
    value = std::isnan(number) ? notANumber : round(number);
    return found;
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
bool LoadAs(void const* source, ENTRY& entry) {
    if (!source) return false;
    entry = ToEntry(LoadValue<T>(source));
    return true;
}

// Reads the value of a set. False: refused, whatever the index. A deletion has nothing to read.
bool Load(PARAM_TYPE type, void const* source, ENTRY& entry) {
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

// Whether a value that is stored at `buffer` may change the text or the NUL behind it.
bool MayOverwrite(void const* buffer, std::string_view text) {
    constexpr std::size_t LARGEST = sizeof(BIN_STRING);
    // How far behind the first place from where it would reach the text; anything else is a number larger than these.
    auto const place =
        reinterpret_cast<std::uintptr_t>(buffer) - reinterpret_cast<std::uintptr_t>(text.data()) + LARGEST - 1;
    return place < text.size() + LARGEST;
}

// One record of a batch, read but not applied.
struct CHANGE {
    std::size_t keyBegin;  // in the batch's own copy of the keys
    std::size_t keyLength;
    ENTRY value;
    bool readable;
};

// Copies the keys as well as the values: one record may delete the text that names the next. All results become false.
std::vector<CHANGE> ReadBatch(SETMULTIPAR* records, std::string& keys) {
    ClearResults(records);
    std::size_t count = 0;
    while (IsRecord(records[count])) ++count;
    std::vector<CHANGE> changes;
    changes.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        SETMULTIPAR const& record = records[i];
        CHANGE change{keys.size(), 0, ENTRY(), false};
        if (i > 0 && record.key == records[i - 1].key) {  // the elements of one vector share their key
            change.keyBegin = changes[i - 1].keyBegin;
        } else {
            keys += record.key;
        }
        change.keyLength = keys.size() - change.keyBegin;
        change.readable = Attempt([&] { return Load(record.type, record.value, change.value); });
        changes.push_back(std::move(change));
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

template <typename T>
bool clTICKETNODE::ReadInto(clENTRY const* entry, void* buffer) {
    T value;
    bool const found = Read(entry, value);
    StoreValue(buffer, value);
    return found;
}

bool clTICKETNODE::ReadStable(clENTRY const* entry, void* buffer, TICKET_TEXTS& texts) {
    char const* text = nullptr;
    std::memcpy(buffer, &text, sizeof text);  // in case memory is short
    if (!entry || entry->Tag() != ENTRY_STRING) return false;
    text = entry->StableText(texts);
    std::memcpy(buffer, &text, sizeof text);
    return true;
}

// Part of both its callers, which have no other call to make for most values.
[[gnu::always_inline]] inline bool clTICKETNODE::ReadAs(clENTRY const* entry, PARAM_TYPE type, void* value, int index,
                                                        TICKET_TEXTS* texts) {
    if (index != SCALAR_INDEX) entry = Element(entry, index);
    if (!value) return entry != nullptr;
    switch (type) {
        case PARAM_NONE:
            return ReadInto<PARAM_TYPE>(entry, value);
        case PARAM_POINTER:
            return index == SCALAR_INDEX && ReadInto<void*>(entry, value);
        case PARAM_INT:
            return ReadInto<int>(entry, value);
        case PARAM_DOUBLE:
            return ReadInto<double>(entry, value);
        case PARAM_STRING:
            return texts ? ReadStable(entry, value, *texts) : ReadInto<char const*>(entry, value);
        case PARAM_BINSTR:
            return ReadInto<BIN_STRING>(entry, value);
        case PARAM_VECTOR: {
            if (index != SCALAR_INDEX) return false;
            uint64_t count = 0;
            bool const found = Count(entry, count);
            StoreValue(value, count);
            return found;
        }
        case PARAM_INT64:
            return ReadInto<long long>(entry, value);
        case PARAM_UNSIGNED:
            return ReadInto<unsigned int>(entry, value);
        case PARAM_UINT64:
            return ReadInto<unsigned long long>(entry, value);
        default:
            return false;
    }
}

bool clTICKETNODE::GetParameter(char const* key, PARAM_TYPE type, void* value, int index, TICKET_TEXTS* texts) const {
    return ReadAs(key ? m_map.Find(key) : nullptr, type, value, index, texts);
}

// A deletion with any negative index but SCALAR_INDEX finds no element and so fails without converting anything.
bool clTICKETNODE::Apply(std::string_view key, clENTRY*& place, PARAM_TYPE type, clENTRY&& value, int index) {
    if (type != PARAM_NONE) return Put(key, place, std::move(value), index);
    place = nullptr;
    return index == SCALAR_INDEX ? Del(key) : Del(key, index);
}

bool clTICKETNODE::SetParameter(char const* key, PARAM_TYPE type, void const* value, int index) {
    if (!key) return false;
    return Attempt([&] {
        clENTRY entry;
        clENTRY* place = nullptr;
        return Load(type, value, entry) && Apply(key, place, type, std::move(entry), index);
    });
}

bool clTICKETNODE::GetMultiParameter(GETMULTIPAR* records, TICKET_TEXTS* texts) const {
    if (!records) return false;
    GETMULTIPAR const* prepared = m_map.MayMissCaches() ? records : nullptr;  // the records before this one
    std::string_view key;
    clENTRY const* entry = nullptr;
    for (; IsRecord(*records); ++records) {
        if (records == prepared) prepared = PrepareLookups(records);
        // The elements of one vector share their key, unless the record before has written over it.
        if (records->key != key.data() || MayOverwrite(records[-1].value, key)) {
            key = records->key;
            entry = m_map.Find(key);
        }
        records->result = ReadAs(entry, records->type, records->value, records->index, texts);
    }
    return true;
}

// The keys are hashed again when it is their turn: a record may write to the text of a later one's key.
GETMULTIPAR const* clTICKETNODE::PrepareLookups(GETMULTIPAR const* records) const {
    constexpr std::size_t GROUP = 16;
    uint32_t hints[GROUP];
    std::size_t count = 0;
    for (char const* last = nullptr; count < GROUP && IsRecord(*records); ++records) {
        if (records->key != last) hints[count++] = m_map.Prepare(records->key);
        last = records->key;
    }
    for (std::size_t i = 0; i < count; ++i) m_map.Prefetch(hints[i]);
    return records;
}

// True also when memory is short, even for the copies: each record's result tells whether it was stored.
bool clTICKETNODE::SetMultiParameter(SETMULTIPAR* records) {
    if (!records) return false;
    Attempt([&] {
        std::string keys;
        std::string_view last;
        clENTRY* place = nullptr;
        for (CHANGE& change : ReadBatch(records, keys)) {
            std::string_view const key(keys.data() + change.keyBegin, change.keyLength);
            if (key.data() != last.data()) place = nullptr;
            last = key;
            records->result = change.readable && Attempt([&, record = records] {
                                  return Apply(key, place, record->type, std::move(change.value), record->index);
                              });
            ++records;
        }
        return true;
    });
    return true;
}
