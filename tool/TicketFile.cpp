// Reads and writes tickets through their function table. Values are read one by one, because a walk reports whole
// numbers beyond 32 bits cut to 32 bits.
#include "TicketFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <utility>

#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/TicketServices.h"
#include "Progress.h"
#include "Text.h"
#include "XmlText.h"

namespace {

constexpr double LARGEST_EXACT = 9007199254740992.0;  // 2^53
constexpr int LOAD_ATTEMPTS = 3;

struct KEYS {
    PARTIAL_MODE selection;
    bool everything;
    std::vector<std::string> found;

    static bool Take(void* context, char const* key, PARAM_TYPE /*type*/, void const* /*value*/, int /*index*/) {
        auto& keys = *static_cast<KEYS*>(context);
        if (keys.everything || keys.selection.Selects(key)) keys.found.emplace_back(key);
        return true;
    }
};

// A number as the narrowest type that holds it: whole numbers as integers, which have no -0.
VALUE Narrowed(double number) {
    bool const isNegativeZero = number == 0 && std::signbit(number);
    if (isNegativeZero || std::trunc(number) != number || std::fabs(number) > LARGEST_EXACT) return number;
    if (number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max()) {
        return static_cast<int32_t>(number);
    }
    return static_cast<int64_t>(number);
}

template <typename T>
std::optional<T> GetAs(STICKET_ACCESS const* table, std::string const& key, PARAM_TYPE type, int index) {
    T value{};
    if (table->GetParameter(table->pTicket, key.c_str(), type, &value, index) == 0) return std::nullopt;
    return value;
}

std::string_view View(BIN_STRING const& bytes) {
    if (bytes.data == nullptr) return {};
    return {static_cast<char const*>(bytes.data), bytes.length};
}

std::string ToString(BIN_STRING const& bytes) {
    return std::string(View(bytes));
}

// Bit by bit, except that a file spells every NaN alike.
bool SameNumber(double a, double b) {
    return (a == b || (std::isnan(a) && std::isnan(b))) && std::signbit(a) == std::signbit(b);
}

void Check(int result, char const* what, std::string const& key) {
    if (result == 0) throw FAILURE(std::string("the library refused to ") + what + " " + Quoted(key));
}

// Why the last save of a ticket failed; empty if it did not.
std::string WhyNotSaved(STICKET_ACCESS const* table, std::string const& path) {
    TICKET_SAVE_OUTCOME outcome{sizeof outcome, TICKET_SAVE_OK, 0, 0};
    TicketGetSaveOutcome(table, &outcome);
    std::string const reason = std::strerror(outcome.nError);
    switch (outcome.nStep) {
        case TICKET_SAVE_OK:
            return {};
        case TICKET_SAVE_CONTENT_NESTING:
            return "nested too deep";
        case TICKET_SAVE_MEMORY:
            return "memory is short";
        case TICKET_SAVE_OPEN:
            return path + ".tmp cannot be made: " + reason;
        case TICKET_SAVE_KEEP:
            return "the unreadable file cannot be kept: " + reason;
        case TICKET_SAVE_REMOVE:
            return "it cannot be deleted: " + reason;
        default:
            return outcome.nError == 0 ? "the library refused it" : reason;
    }
}

bool Exists(std::string const& path) {
    return access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

void RequirePlaceFor(std::string const& path) {
    auto const directory = std::filesystem::path(path).parent_path();
    if (!directory.empty() && !std::filesystem::is_directory(directory)) throw FAILURE(path + ": no such directory");
}

// Whether a program can load the file, and the reason if not.
void RequireReadable(std::string const& path) {
    RequireRegularFile(path);
    if (access(path.c_str(), R_OK) != 0) throw FAILURE(path + ": cannot be read: " + std::strerror(errno));
}

// Tickets with changes that nobody wants saved. To destroy one would save it. Never freed, so that leak checkers still
// find the tickets when the process ends.
std::vector<STICKET_ACCESS const*>& Abandoned() {
    static auto& abandoned = *new std::vector<STICKET_ACCESS const*>;
    return abandoned;
}

}  // namespace

TICKET::TICKET(std::string const& path, MISSING missing) : m_path(path) {
    if (path.empty()) throw FAILURE("the name of a ticket file is empty");
    if (path == "-") throw FAILURE("- is standard input, and this needs a file; ./- is one of that name");
    if (missing == MISSING::IS_EMPTY && !Exists(path)) {
        RequirePlaceFor(path);
        m_table = hSTicketInstance->Create(path.c_str());
        if (m_table == nullptr) throw FAILURE(path + ": cannot make a ticket");
    } else {
        Load(path);
    }
}

TICKET::TICKET(INPUT const& input) : m_path(input.Name()) {
    if (m_path.empty()) throw FAILURE("the name of a ticket file is empty");
    Load(input.Path());
}

void TICKET::Load(std::string const& path) {
    RequireReadable(path);
    for (int attempt = 0; attempt < LOAD_ATTEMPTS; ++attempt) {
        m_table = hSTicketInstance->Create(path.c_str());
        if (m_table == nullptr) throw FAILURE(m_path + ": cannot make a ticket");
        try {
            if (!IsEmpty() || IsWhatWasLoaded(path)) return;
        } catch (...) {
            hSTicketInstance->Destroy(m_table);
            throw;
        }
        hSTicketInstance->Destroy(m_table);
    }
    throw FAILURE(m_path + ": is replaced again and again while it is read");
}

TICKET::~TICKET() {
    if (m_isChanged) {
        Abandoned().push_back(m_table);
    } else {
        hSTicketInstance->Destroy(m_table);
    }
}

// For a ticket without values. Throws UNLOADABLE_FILE if the file cannot be loaded; returns false if it was replaced
// meanwhile.
bool TICKET::IsWhatWasLoaded(std::string const& path) {
    auto const parsed = ParseTicketText(m_path, ReadTicketText(path));
    TICKET_LOAD_OUTCOME outcome{sizeof outcome, TICKET_LOAD_NOT_YET, 0, 0, 0};
    TicketGetLoadOutcome(m_table, &outcome);
    if (outcome.nState == TICKET_LOAD_TOO_DEEP) {
        throw UNLOADABLE_FILE(m_path + ": is not loaded: nested so deep that its keys would fill the memory");
    }
    m_isForeign = !parsed->Document().find_node(IsContent).empty();
    return outcome.nState == TICKET_LOAD_LOADED || outcome.nState == TICKET_LOAD_CUT_AT_NUL;
}

std::vector<std::string> TICKET::Keys(std::vector<std::string> const& selectors) const {
    KEYS keys{{}, selectors.empty(), {}};
    keys.selection.set(KeyList(selectors).data());
    Check(m_table->WalkParameter(m_table->pTicket, KEYS::Take, &keys, "", WALK_KEYS), "list", m_path);
    return std::move(keys.found);
}

PARAMETERS TICKET::Read(std::vector<std::string> const& selectors) const {
    PARAMETERS parameters;
    for (auto& key : Keys(selectors)) {
        if (auto parameter = Read(key)) {
            parameters.emplace_hint(parameters.end(), std::move(key), std::move(*parameter));
        }
    }
    return parameters;
}

bool TICKET::Has(std::string const& key, int index) const {
    return m_table->GetParameter(m_table->pTicket, key.c_str(), PARAM_NONE, nullptr, index) != 0;
}

std::optional<PARAMETER> TICKET::Read(std::string const& key) const {
    auto const count = GetAs<uint64_t>(m_table, key, PARAM_VECTOR, SCALAR_INDEX).value_or(0);
    PARAMETER parameter;
    for (uint64_t i = 0; i < count; ++i) {
        if (auto value = ReadElement(key, static_cast<int>(i))) parameter.push_back(std::move(*value));
    }
    if (parameter.empty()) return std::nullopt;
    return parameter;
}

std::optional<VALUE> TICKET::ReadElement(std::string const& key, int index) const {
    switch (GetAs<PARAM_TYPE>(m_table, key, PARAM_NONE, index).value_or(PARAM_NONE)) {
        case PARAM_DOUBLE:
            return Narrowed(GetAs<double>(m_table, key, PARAM_DOUBLE, index).value_or(0));
        case PARAM_INT64:
            return Get(key, PARAM_INT64, index);
        case PARAM_UINT64:
            return Get(key, PARAM_UINT64, index);
        case PARAM_STRING:  // read as bytes, of which the ticket keeps no copy for its
                            // whole life
            return ToString(GetAs<BIN_STRING>(m_table, key, PARAM_BINSTR, index).value_or(BIN_STRING{}));
        case PARAM_BINSTR:
            return Get(key, PARAM_BINSTR, index);
        default:
            return std::nullopt;  // opaque pointers never come from a file
    }
}

bool TICKET::Holds(std::string const& key, int index, PARAM_TYPE type, void const* value) const {
    auto const own = GetAs<PARAM_TYPE>(m_table, key, PARAM_NONE, index);
    auto const number = [&](double expected) {
        auto const held = GetAs<double>(m_table, key, PARAM_DOUBLE, index);
        return own == PARAM_DOUBLE && held && SameNumber(*held, expected);
    };
    auto const bytes = [&](std::string_view expected) {
        auto const held = GetAs<BIN_STRING>(m_table, key, PARAM_BINSTR, index);
        return own == type && held && View(*held) == expected;
    };
    switch (type) {
        case PARAM_INT:
            return number(*static_cast<int32_t const*>(value));
        case PARAM_DOUBLE:
            return number(*static_cast<double const*>(value));
        case PARAM_INT64:
            return own == type && GetAs<int64_t>(m_table, key, type, index) == *static_cast<int64_t const*>(value);
        case PARAM_UINT64:
            return own == type && GetAs<uint64_t>(m_table, key, type, index) == *static_cast<uint64_t const*>(value);
        case PARAM_STRING:
            return bytes(static_cast<char const*>(value));
        case PARAM_BINSTR:
            return bytes(View(*static_cast<BIN_STRING const*>(value)));
        default:
            return false;
    }
}

std::optional<VALUE> TICKET::Get(std::string const& key, PARAM_TYPE type, int index) const {
    auto const* const table = m_table;
    switch (type) {
        case PARAM_INT:
            return GetAs<int32_t>(table, key, type, index);
        case PARAM_UNSIGNED:
            return GetAs<uint32_t>(table, key, type, index);
        case PARAM_INT64:
            return GetAs<int64_t>(table, key, type, index);
        case PARAM_UINT64:
            return GetAs<uint64_t>(table, key, type, index);
        case PARAM_DOUBLE:
            return GetAs<double>(table, key, type, index);
        case PARAM_STRING:
            if (auto const text = GetAs<char const*>(table, key, type, index)) return std::string(*text);
            return std::nullopt;
        case PARAM_BINSTR:
            if (auto const bytes = GetAs<BIN_STRING>(table, key, type, index)) return BYTES{ToString(*bytes)};
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

void TICKET::Set(std::string const& key, VALUE const& value, int index) {
    m_isChanged = true;
    auto const set = [&](void const* pointer) {
        Check(m_table->SetParameter(m_table->pTicket, key.c_str(), TypeOf(value), pointer, index), "set", key);
    };
    if (key.find('\0') != std::string::npos) throw FAILURE(Quoted(key) + ": a key cannot hold a NUL byte");
    // An infinite number would stop every later save of this ticket, the one at its end included.
    if (auto const* number = std::get_if<double>(&value); number != nullptr && std::isinf(*number)) {
        throw FAILURE(Quoted(key) + ": a ticket file cannot hold an infinite number");
    }
    if (auto const* text = std::get_if<std::string>(&value)) {
        if (text->find('\0') != std::string::npos) throw FAILURE(Quoted(key) + ": a string cannot hold a NUL byte");
        set(text->c_str());
    } else if (auto const* bytes = std::get_if<BYTES>(&value)) {
        BIN_STRING const view{bytes->data.data(), bytes->data.size()};
        set(&view);
    } else {
        std::visit([&](auto const& number) { set(&number); }, value);
    }
}

void TICKET::Set(std::string const& key, PARAMETER const& parameter) {
    int index = SCALAR_INDEX;
    for (auto const& value : parameter) Set(key, value, std::exchange(index, APPEND_INDEX));
}

void TICKET::Delete(std::string const& key, int index) {
    m_isChanged = true;
    Check(m_table->SetParameter(m_table->pTicket, key.c_str(), PARAM_NONE, nullptr, index), "delete", key);
}

void TICKET::Merge(TICKET const& from, std::vector<std::string> const& selectors, bool clear) {
    m_isChanged = true;
    auto const keys = KeyList(selectors);
    auto const source = from.Keys(selectors);
    bool const merged = m_table->MergeTicket(m_table->pTicket, from.m_table, keys.data(), clear) != 0;
    if (!merged && !source.empty()) throw FAILURE(m_path + ": the library refused to merge");
    // A merge cuts whole numbers to 32 bits; whether the file can hold them is for the rehearsal to tell.
    for (auto const& key : source) {
        auto const parameter = from.Read(key);
        auto const arrived = Read(key);
        if (parameter && (!arrived || !SameParameter(*arrived, *parameter))) Set(key, *parameter);
    }
}

void TICKET::Clear() {
    m_isChanged = true;
    m_table->Operation(m_table->pTicket, STICKET_OP_CLEAR, nullptr);
}

void TICKET::Save() {
    m_isChanged = true;
    // Even a refused set makes a ticket dirty, so that the save really writes.
    m_table->SetParameter(m_table->pTicket, nullptr, PARAM_STRING, nullptr, SCALAR_INDEX);
    bool const isTried = m_table->Operation(m_table->pTicket, STICKET_OP_SAVE, nullptr) != 0;
    auto const reason = WhyNotSaved(m_table, m_path);
    if (!isTried) throw FAILURE(m_path + ": cannot be written: " + reason);
    m_isChanged = false;
    if (!reason.empty()) throw FAILURE(m_path + ": cannot be written: " + reason);
}

// Ends at the first value; the operation that counts them passes over all.
bool TICKET::IsEmpty() const {
    bool isEmpty = true;
    auto const find = [](void* context, char const*, PARAM_TYPE, void const*, int) {
        *static_cast<bool*>(context) = false;
        return false;
    };
    m_table->WalkParameter(m_table->pTicket, find, &isEmpty, "", WALK_EVERYTHING);
    return isEmpty;
}

TICKET Loaded(INPUT const& input) {
    PROGRESS progress(input.Name(), 1);
    progress.Next("loading");
    return TICKET(input);
}

std::vector<char const*> KeyList(std::vector<std::string> const& selectors) {
    std::vector<char const*> list;
    for (auto const& selector : selectors) {
        if (selector.empty()) throw FAILURE("a selector is empty");
        list.push_back(selector.c_str());
    }
    // Wide prefixes before the narrower ones that they cover: then a selection takes all that any of them names.
    std::sort(list.begin(), list.end(), [](char const* a, char const* b) { return std::strcmp(a, b) < 0; });
    list.push_back(nullptr);
    return list;
}
