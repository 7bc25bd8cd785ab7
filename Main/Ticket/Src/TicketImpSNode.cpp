// The stored values of a ticket and the operations that deal in whole entries: replace, append, make a vector, delete.
//
// Every operation builds what it stores before it touches the map: an exception changes nothing, and arguments may
// point into what is replaced.
#include "TicketImpSNode.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "ConfigurationControl/MathLib.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;

// Every integer up to this one is exact as a double.
constexpr long long EXACT = 1LL << 53;

std::string_view Characters(BIN_STRING const& bytes) {
    if (!bytes.data) return {};
    return {static_cast<char const*>(bytes.data), bytes.length};
}

// An empty vector with space for two elements: its maker is about to add to it, and must not fail then.
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

// The elements after the erased one are moved bytewise, which takes less than an instruction each instead of 23: an
// entry owns what it points to, and nothing points to an entry.
void EraseElement(ENTRY::VECTOR& elements, std::size_t position) {
    ENTRY erased;
    ENTRY::_swap(erased, elements[position]);
    ENTRY* const gap = &elements[position];
    std::memmove(static_cast<void*>(gap), gap + 1, (elements.size() - position - 1) * sizeof(ENTRY));
    new (&elements.back()) ENTRY();  // whose bytes now belong to its neighbour
    elements.pop_back();
}

bool ReportType(ENTRY const* entry, int& type) {
    PARAM_TYPE found = PARAM_NONE;
    bool const known = entry && entry->TypeOf(found);
    type = static_cast<int>(found);
    return known;
}

}  // namespace

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

clTICKETNODE::clENTRY::clENTRY(std::string_view text) {
    m_payload.text = TICKET_TEXT::Make(text);
    m_tag = ENTRY_STRING;
}

clTICKETNODE::clENTRY::clENTRY(BIN_STRING const& bytes) : clENTRY(Characters(bytes)) {
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

clTICKETNODE::clENTRY& clTICKETNODE::clENTRY::operator=(clENTRY const& source) {
    if (this != &source) {
        clENTRY copy(source);
        _swap(*this, copy);
    }
    return *this;
}

[[gnu::noinline]] bool clTICKETNODE::clENTRY::HasTextOf(clENTRY const& other) const noexcept {
    return m_tag == ENTRY_STRING && other.m_tag == ENTRY_STRING && Text() == other.Text();
}

bool clTICKETNODE::clENTRY::TypeOf(PARAM_TYPE& type) const noexcept {
    static constexpr PARAM_TYPE TYPES[] = {PARAM_NONE,    PARAM_DOUBLE, PARAM_STRING, PARAM_BINSTR,
                                           PARAM_POINTER, PARAM_VECTOR, PARAM_INT64,  PARAM_UINT64};
    type = TYPES[m_tag];
    return type != PARAM_NONE;
}

void clTICKETNODE::clENTRY::_construct(clENTRY const& source) {
    switch (source.m_tag) {
        case ENTRY_EMPTY:
            break;
        case ENTRY_STRING:
        case ENTRY_BINARY:
            m_payload.text = TICKET_TEXT::Make(source.Text());
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
        TICKET_TEXT::Release(m_payload.text);
    } else if (m_tag == ENTRY_VECTOR) {
        while (!m_payload.elements->empty()) m_payload.elements->pop_back();
        delete m_payload.elements;
    }
    m_tag = ENTRY_EMPTY;
    m_isKept = false;
}

bool clTICKETNODE::PutElement(std::string_view key, clENTRY*& found, clENTRY&& value, int index) {
    if (!found) found = &VectorEntry(key);
    ++m_changes;
    clENTRY::VECTOR& elements = MakeVector(*found);
    // A negative index is beyond every end.
    std::size_t const position = index == APPEND_INDEX ? elements.size() : static_cast<std::size_t>(index);
    if (position > elements.size()) return false;
    if (position == elements.size()) {
        elements.push_back(std::move(value));
    } else {
        elements[position].Replace(value);
    }
    return true;
}

bool clTICKETNODE::SetEntry(std::string_view key, clENTRY entry) {
    clENTRY* found = nullptr;
    return Put(key, found, std::move(entry), SCALAR_INDEX);
}

bool clTICKETNODE::SetEntry(std::string_view key, int index, clENTRY entry) {
    clENTRY* found = &VectorEntry(key);
    return index >= 0 && Put(key, found, std::move(entry), index);
}

bool clTICKETNODE::AddEntry(std::string_view key, clENTRY entry) {
    clENTRY* found = nullptr;
    return Put(key, found, std::move(entry), APPEND_INDEX);
}

clTICKETNODE::clENTRY::VECTOR* clTICKETNODE::SetVector(std::string_view key) {
    return &VectorEntry(key).Elements();
}

clTICKETNODE::clENTRY& clTICKETNODE::VectorEntry(std::string_view key) {
    ++m_changes;
    if (clENTRY* const found = m_map.Find(key)) {
        MakeVector(*found);
        return *found;
    }
    clENTRY vector = NewVector();  // first, so that no key without a value is left when memory is short
    clENTRY& entry = m_map.FindOrInsert(key);
    clENTRY::_swap(entry, vector);
    return entry;
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
    EraseElement(entry->Elements(), static_cast<std::size_t>(index));
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

bool clTICKETNODE::Set(std::string_view key, std::string_view value) {
    return SetEntry(key, clENTRY(value));
}

bool clTICKETNODE::Set(std::string_view key, int index, double value) {
    return SetEntry(key, index, clENTRY(value));
}

bool clTICKETNODE::Set(std::string_view key, int index, std::string_view value) {
    return SetEntry(key, index, clENTRY(value));
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
