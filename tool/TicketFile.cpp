// Reads and writes tickets through their function table. Integral numbers beyond 32 bits are read again as doubles,
// because a walk reports them cut to 32 bits.
#include "TicketFile.h"

#include <cmath>
#include <limits>

#include "ConfigurationControl/PartialMode.h"

namespace {

// What a walk's callback needs: where to put parameters, which to take, and where to read numbers again.
struct COLLECTION {
    Parameters parameters;
    std::vector<std::string> wideNumbers;  // keys that hold an integral number beyond 32 bits
    PARTIAL_MODE selection;
};

bool Collect(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
    auto& collection = *static_cast<COLLECTION*>(context);
    if (!collection.selection.empty() && !collection.selection.Selects(key)) return true;
    auto& parameter = collection.parameters[key];
    parameter.isVector = index >= 0;
    auto& values = parameter.values;
    switch (type) {
        case PARAM_INT:
            values.emplace_back(*static_cast<int32_t const*>(value));
            break;
        case PARAM_DOUBLE:
            values.emplace_back(*static_cast<double const*>(value));
            break;
        case PARAM_STRING:
            values.emplace_back(std::string(static_cast<char const*>(value)));
            break;
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            auto const* const data = static_cast<char const*>(bytes.data);
            values.emplace_back(Bytes{data == nullptr ? std::string() : std::string(data, bytes.length)});
            break;
        }
        case PARAM_INT64:
            values.emplace_back(*static_cast<int64_t const*>(value));
            break;
        case PARAM_UINT64:
            values.emplace_back(*static_cast<uint64_t const*>(value));
            break;
        default:
            values.emplace_back(std::string());
            break;  // pointers never come from a file
    }
    if (type == PARAM_INT && *static_cast<int32_t const*>(value) == std::numeric_limits<int32_t>::min()) {
        collection.wideNumbers.emplace_back(key);
    }
    return true;
}

// The number itself: an int64 where that is exact, else a double.
Value WideNumber(double number) {
    if (number >= std::numeric_limits<int32_t>::min() && number <= std::numeric_limits<int32_t>::max()) {
        return static_cast<int32_t>(number);
    }
    if (std::fabs(number) <= 9007199254740992.0) return static_cast<int64_t>(number);
    return number;
}

template <typename T>
std::optional<Value> GetAs(STICKET_ACCESS const* table, std::string const& key, PARAM_TYPE type, int index) {
    T value{};
    if (table->GetParameter(table->pTicket, key.c_str(), type, &value, index) == 0) return std::nullopt;
    return Value(value);
}

void Check(int result, char const* what, std::string const& key) {
    if (result == 0) throw Failure(std::string("the library refused to ") + what + " '" + key + "'");
}

}  // namespace

TicketFile::TicketFile(std::string const& path) : m_table(hSTicketInstance->Create(path.c_str())) {
    if (m_table == nullptr) throw Failure(path + ": cannot make a ticket");
}

TicketFile::~TicketFile() {
    hSTicketInstance->Destroy(m_table);
}

Parameters TicketFile::Read(std::vector<std::string> const& selectors) const {
    COLLECTION collection;
    if (!selectors.empty()) collection.selection.set(KeyList(selectors).data());
    m_table->WalkParameter(m_table->pTicket, Collect, &collection, "", WALK_EVERYTHING);
    for (auto const& key : collection.wideNumbers) {
        auto& parameter = collection.parameters[key];
        for (std::size_t i = 0; i < parameter.values.size(); ++i) {
            if (TypeOf(parameter.values[i]) != PARAM_INT) continue;
            auto const number = Get(key, PARAM_DOUBLE, static_cast<int>(i));
            if (number) parameter.values[i] = WideNumber(std::get<double>(*number));
        }
    }
    return std::move(collection.parameters);
}

bool TicketFile::Has(std::string const& key, int index) const {
    return m_table->GetParameter(m_table->pTicket, key.c_str(), PARAM_NONE, nullptr, index) != 0;
}

std::optional<Parameter> TicketFile::Read(std::string const& key) const {
    auto parameters = Read();
    auto const found = parameters.find(key);
    if (found == parameters.end()) return std::nullopt;
    return std::move(found->second);
}

std::optional<Value> TicketFile::Get(std::string const& key, PARAM_TYPE type, int index) const {
    switch (type) {
        case PARAM_INT:
            return GetAs<int32_t>(m_table, key, type, index);
        case PARAM_UNSIGNED:
            return GetAs<uint32_t>(m_table, key, type, index);
        case PARAM_INT64:
            return GetAs<int64_t>(m_table, key, type, index);
        case PARAM_UINT64:
            return GetAs<uint64_t>(m_table, key, type, index);
        case PARAM_DOUBLE:
            return GetAs<double>(m_table, key, type, index);
        case PARAM_STRING: {
            char const* text = nullptr;
            if (m_table->GetParameter(m_table->pTicket, key.c_str(), type, &text, index) == 0) return std::nullopt;
            return Value(std::string(text));
        }
        case PARAM_BINSTR: {
            BIN_STRING bytes{};
            if (m_table->GetParameter(m_table->pTicket, key.c_str(), type, &bytes, index) == 0) return std::nullopt;
            return Value(Bytes{std::string(static_cast<char const*>(bytes.data), bytes.length)});
        }
        default:
            return std::nullopt;
    }
}

void TicketFile::Set(std::string const& key, Value const& value, int index) {
    auto const set = [&](void const* pointer) {
        Check(m_table->SetParameter(m_table->pTicket, key.c_str(), TypeOf(value), pointer, index), "set", key);
    };
    // An infinite number would stop every later save of this ticket, the one of its destructor included.
    if (auto const* number = std::get_if<double>(&value); number != nullptr && std::isinf(*number)) {
        throw Failure("'" + key + "': a ticket file cannot hold an infinite number");
    }
    if (auto const* text = std::get_if<std::string>(&value)) {
        if (text->find('\0') != std::string::npos) throw Failure("'" + key + "': a string cannot hold a NUL byte");
        set(text->c_str());
    } else if (auto const* bytes = std::get_if<Bytes>(&value)) {
        BIN_STRING const view{bytes->data.data(), bytes->data.size()};
        set(&view);
    } else {
        std::visit([&](auto const& number) { set(&number); }, value);
    }
}

void TicketFile::Set(std::string const& key, Parameter const& parameter) {
    Delete(key, SCALAR_INDEX);
    for (std::size_t i = 0; i < parameter.values.size(); ++i) {
        Set(key, parameter.values[i], parameter.isVector ? static_cast<int>(i) : SCALAR_INDEX);
    }
}

void TicketFile::Delete(std::string const& key, int index) {
    if (index == SCALAR_INDEX && !Has(key)) return;
    Check(m_table->SetParameter(m_table->pTicket, key.c_str(), PARAM_NONE, nullptr, index), "delete", key);
}

void TicketFile::Clear() {
    m_table->Operation(m_table->pTicket, STICKET_OP_CLEAR, nullptr);
}

void TicketFile::Save() {
    if (m_table->Operation(m_table->pTicket, STICKET_OP_SAVE, nullptr) == 0)
        throw Failure("the library refused to save");
}

std::vector<char const*> KeyList(std::vector<std::string> const& selectors) {
    std::vector<char const*> list;
    for (auto const& selector : selectors) list.push_back(selector.c_str());
    list.push_back(nullptr);
    return list;
}
