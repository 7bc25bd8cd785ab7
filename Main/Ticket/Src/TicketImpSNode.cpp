// The stored values of a ticket and the operations that deal in whole entries: replace, append, make a vector, delete.
//
// Every operation builds what it stores before it touches the map, so that an exception changes nothing and an argument
// may point into what it replaces.
#include "TicketImpSNode.h"

#include <climits>
#include <cstddef>
#include <utility>

#include "ConfigurationControl/MathLib.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;

// Up to here every integer is exact as a double.
constexpr long long EXACT = 1LL << 53;

std::string ToText(BIN_STRING const& bytes) {
    return bytes.data ? std::string(static_cast<char const*>(bytes.data), bytes.length) : std::string();
}

// An empty vector with room for the first elements: who makes a vector is about to add to it, and must not fail then.
ENTRY NewVector() {
    ENTRY vector{ENTRY::VECTOR()};
    vector.Elements().reserve(2);
    return vector;
}

// Turns a scalar into a vector that holds it, an empty entry into an empty vector; a vector stays as it is.
ENTRY::VECTOR& MakeVector(ENTRY& entry) {
    if (entry.Tag() == clTICKETNODE::ENTRY_VECTOR) return entry.Elements();
    ENTRY vector = NewVector();
    if (entry.Tag() != clTICKETNODE::ENTRY_EMPTY) vector.Elements().push_back(std::move(entry));
    ENTRY::_swap(entry, vector);
    return entry.Elements();
}

bool ReportType(ENTRY const* entry, int& type) {
    PARAM_TYPE found = PARAM_NONE;
    bool const known = entry && entry->TypeOf(found);
    type = static_cast<int>(found);
    return known;
}

}  // namespace

clTICKETNODE::clENTRY::clENTRY(double value) noexcept : m_tag(ENTRY_NUMBER) {
    m_payload.number = value;
}

clTICKETNODE::clENTRY::clENTRY(int value) noexcept : clENTRY(static_cast<double>(value)) {}

clTICKETNODE::clENTRY::clENTRY(unsigned int value) noexcept : clENTRY(static_cast<double>(value)) {}

clTICKETNODE::clENTRY::clENTRY(long long value) noexcept {
    if (-EXACT <= value && value <= EXACT) {
        m_tag = ENTRY_NUMBER;
        m_payload.number = static_cast<double>(value);
    } else {
        m_tag = ENTRY_INT64;
        m_payload.int64 = value;
    }
}

clTICKETNODE::clENTRY::clENTRY(unsigned long long value) noexcept {
    if (value <= static_cast<unsigned long long>(EXACT)) {
        m_tag = ENTRY_NUMBER;
        m_payload.number = MathLib::U64ToDouble(value);
    } else if (value <= static_cast<unsigned long long>(LLONG_MAX)) {
        m_tag = ENTRY_INT64;
        m_payload.int64 = static_cast<long long>(value);
    } else {
        m_tag = ENTRY_UINT64;
        m_payload.uint64 = value;
    }
}

clTICKETNODE::clENTRY::clENTRY(std::string text) {
    m_payload.text = new std::string(std::move(text));
    m_tag = ENTRY_STRING;
}

clTICKETNODE::clENTRY::clENTRY(BIN_STRING const& bytes) : clENTRY(ToText(bytes)) {
    m_tag = ENTRY_BINARY;
}

clTICKETNODE::clENTRY::clENTRY(void* pointer) noexcept : m_tag(ENTRY_POINTER) {
    m_payload.pointer = pointer;
}

clTICKETNODE::clENTRY::clENTRY(VECTOR elements) {
    m_payload.elements = new VECTOR(std::move(elements));
    m_tag = ENTRY_VECTOR;
}

clTICKETNODE::clENTRY::clENTRY(clENTRY const& source) {
    _construct(source);
}

clTICKETNODE::clENTRY::clENTRY(clENTRY&& source) noexcept {
    _swap(*this, source);
}

clTICKETNODE::clENTRY& clTICKETNODE::clENTRY::operator=(clENTRY const& source) {
    if (this != &source) {
        clENTRY copy(source);
        _swap(*this, copy);
    }
    return *this;
}

clTICKETNODE::clENTRY& clTICKETNODE::clENTRY::operator=(clENTRY&& source) noexcept {
    clENTRY moved(std::move(source));
    _swap(*this, moved);
    return *this;
}

clTICKETNODE::clENTRY::~clENTRY() {
    _destruct();
}

bool clTICKETNODE::clENTRY::TypeOf(PARAM_TYPE& type) const noexcept {
    static constexpr PARAM_TYPE TYPES[] = {PARAM_NONE,    PARAM_DOUBLE, PARAM_STRING, PARAM_BINSTR,
                                           PARAM_POINTER, PARAM_VECTOR, PARAM_INT64,  PARAM_UINT64};
    type = TYPES[m_tag];
    return type != PARAM_NONE;
}

void clTICKETNODE::clENTRY::_swap(clENTRY& a, clENTRY& b) noexcept {
    std::swap(a.m_payload, b.m_payload);
    std::swap(a.m_tag, b.m_tag);
}

void clTICKETNODE::clENTRY::_construct(clENTRY const& source) {
    switch (source.m_tag) {
        case ENTRY_EMPTY:
            break;
        case ENTRY_STRING:
        case ENTRY_BINARY:
            m_payload.text = new std::string(*source.m_payload.text);
            break;
        case ENTRY_VECTOR:
            m_payload.elements = new VECTOR(*source.m_payload.elements);
            break;
        case ENTRY_NUMBER:
        case ENTRY_POINTER:
        case ENTRY_INT64:
        case ENTRY_UINT64:
            m_payload = source.m_payload;
            break;
    }
    m_tag = source.m_tag;  // last: until here there is nothing to free
}

void clTICKETNODE::clENTRY::_destruct() noexcept {
    if (m_tag == ENTRY_STRING || m_tag == ENTRY_BINARY) {
        delete m_payload.text;
    } else if (m_tag == ENTRY_VECTOR) {
        while (!m_payload.elements->empty()) m_payload.elements->pop_back();
        delete m_payload.elements;
    }
    m_tag = ENTRY_EMPTY;
}

bool clTICKETNODE::SetEntry(std::string_view key, clENTRY entry) {
    clENTRY::_swap(m_map.FindOrInsert(key), entry);
    ++m_changes;
    return true;
}

bool clTICKETNODE::SetEntry(std::string_view key, int index, clENTRY entry) {
    clENTRY::VECTOR& elements = *SetVector(key);
    if (index < 0 || static_cast<std::size_t>(index) > elements.size()) return false;
    auto const position = static_cast<std::size_t>(index);
    if (position == elements.size()) {
        elements.push_back(std::move(entry));
    } else {
        clENTRY::_swap(elements[position], entry);
    }
    return true;
}

clTICKETNODE::clENTRY::VECTOR* clTICKETNODE::SetVector(std::string_view key) {
    if (clENTRY* const found = m_map.Find(key)) {
        clENTRY::VECTOR& elements = MakeVector(*found);
        ++m_changes;
        return &elements;
    }
    clENTRY vector = NewVector();  // first, so that no key without a value is left when memory is short
    clENTRY& entry = m_map.FindOrInsert(key);
    clENTRY::_swap(entry, vector);
    ++m_changes;
    return &entry.Elements();
}

bool clTICKETNODE::AddEntry(std::string_view key, clENTRY entry) {
    clENTRY& place = m_map.FindOrInsert(key);
    if (place.Tag() == ENTRY_EMPTY) {
        clENTRY::_swap(place, entry);
    } else {
        MakeVector(place).push_back(std::move(entry));
    }
    ++m_changes;
    return true;
}

bool clTICKETNODE::Del(std::string_view key) {
    if (!m_map.Erase(key)) return false;
    ++m_changes;
    return true;
}

bool clTICKETNODE::Del(std::string_view key, int index) {
    clENTRY* const entry = m_map.Find(key);
    if (!Element(entry, index)) return false;
    if (entry->Tag() != ENTRY_VECTOR) return Del(key);
    entry->Elements().erase(entry->Elements().begin() + index);
    ++m_changes;
    return true;
}

clTICKETNODE::clENTRY const* clTICKETNODE::Element(clENTRY const* entry, int index) {
    if (!entry || index < 0) return nullptr;
    if (entry->Tag() != ENTRY_VECTOR) return index == 0 ? entry : nullptr;
    clENTRY::VECTOR const& elements = entry->Elements();
    auto const position = static_cast<std::size_t>(index);
    return position < elements.size() ? &elements[position] : nullptr;
}

clTICKETNODE::clENTRY const* clTICKETNODE::GetEntry(std::string_view key) const {
    return m_map.Find(key);
}

clTICKETNODE::clENTRY const* clTICKETNODE::GetEntry(std::string_view key, int index) const {
    return Element(m_map.Find(key), index);
}

bool clTICKETNODE::GetType(std::string_view key, int& type) const {
    return ReportType(GetEntry(key), type);
}

bool clTICKETNODE::GetType(std::string_view key, int index, int& type) const {
    return ReportType(GetEntry(key, index), type);
}

bool clTICKETNODE::Set(std::string_view key, unsigned long long value) {
    return SetEntry(key, clENTRY(value));
}

bool clTICKETNODE::Set(std::string_view key, std::string value) {
    return SetEntry(key, clENTRY(std::move(value)));
}

bool clTICKETNODE::Set(std::string_view key, int index, double value) {
    return SetEntry(key, index, clENTRY(value));
}

bool clTICKETNODE::Set(std::string_view key, int index, std::string value) {
    return SetEntry(key, index, clENTRY(std::move(value)));
}

void clTICKETNODE::Clear() {
    m_map.Clear();
    ++m_changes;
}

clTICKETNODE clTICKETNODE::Take() {
    clTICKETNODE taken;
    std::swap(taken.m_map, m_map);
    ++m_changes;
    return taken;
}
