#include "TicketRules.h"

#include <algorithm>
#include <climits>
#include <cstring>

using ticket_model::BYTES;
using ticket_model::SCALAR;

namespace {

constexpr std::int64_t EXACT = std::int64_t{1} << 53;

SCALAR Signed(std::int64_t value) {
    if (value >= -EXACT && value <= EXACT) return static_cast<double>(value);
    return value;
}

SCALAR Unsigned(std::uint64_t value) {
    if (value <= INT64_MAX) return Signed(static_cast<std::int64_t>(value));
    return value;
}

SCALAR Real(double value) {
    return std::isnan(value) ? MathLib::NOT_A_DOUBLE_NUMBER : value;
}

template <typename NUMBER>
std::string BytesOf(NUMBER number) {
    return std::string(reinterpret_cast<char const*>(&number), sizeof number);
}

// The value in the form in which a walk reports it.
VALUE Reported(std::string const& key, SCALAR const& value, int index) {
    if (auto const* number = std::get_if<double>(&value)) {
        if (!std::isfinite(*number) || std::floor(*number) != *number)
            return {key, PARAM_DOUBLE, BytesOf(*number), index};
        bool const fits = *number >= INT_MIN && *number <= INT_MAX;
        return {key, PARAM_INT, BytesOf(fits ? static_cast<int>(*number) : INT_MIN), index};
    }
    PARAM_TYPE const type = ticket_model::TypeOf(value);
    if (auto const* integer = std::get_if<std::int64_t>(&value)) return {key, type, BytesOf(*integer), index};
    if (auto const* integer = std::get_if<std::uint64_t>(&value)) return {key, type, BytesOf(*integer), index};
    if (auto const* pointer = std::get_if<void*>(&value)) return {key, type, BytesOf(*pointer), index};
    if (auto const* text = std::get_if<std::string>(&value)) return {key, type, *text, index};
    return {key, type, std::get<BYTES>(value).bytes, index};
}

bool IsWritable(std::string const& key) {
    return !key.empty() && key.back() != '/';
}

bool IsInfinite(VALUE const& value) {
    double number = 0;
    if (value.type == PARAM_DOUBLE) std::memcpy(&number, value.content.data(), sizeof number);
    return std::isinf(number);
}

}  // namespace

REQUEST::REQUEST(ARGUMENT const& argument) {
    PARAM_TYPE const type = argument.Type();
    bool const mayBeNull = type == PARAM_NONE || type == PARAM_STRING || type == PARAM_POINTER;
    isRefused = type == PARAM_VECTOR || type > PARAM_UINT64 || (argument.IsNull() && !mayBeNull) ||
                (type == PARAM_NONE && !argument.IsNull());
    if (isRefused) return;
    switch (type) {
        case PARAM_INT:
            value = static_cast<double>(argument.As<std::int32_t>());
            break;
        case PARAM_UNSIGNED:
            value = static_cast<double>(argument.As<std::uint32_t>());
            break;
        case PARAM_DOUBLE:
            value = Real(argument.As<double>());
            break;
        case PARAM_INT64:
            value = Signed(argument.As<std::int64_t>());
            break;
        case PARAM_UINT64:
            value = Unsigned(argument.As<std::uint64_t>());
            break;
        case PARAM_STRING:
            value = argument.IsNull() ? std::string() : argument.Content();
            break;
        case PARAM_BINSTR:
            value = BYTES{argument.Content()};
            break;
        case PARAM_POINTER:
            value = const_cast<void*>(argument.Pointer());
            break;
        default:
            break;
    }
}

REQUEST::REQUEST(VALUE const& walked) {
    if (walked.type == PARAM_POINTER) {
        void* pointer;
        std::memcpy(&pointer, walked.content.data(), sizeof pointer);
        value = pointer;
    } else {
        value = REQUEST(ARGUMENT(walked.type, walked.content)).value;
    }
}

VALUES TICKET_RULES::LoadedFrom(VALUES const& file) {
    TICKET_RULES rules(true);
    rules.m_fileValues = file;
    rules.Load();
    return rules.Everything();
}

// ---- The table

bool TICKET_RULES::Set(std::string const* key, REQUEST const& request, int index) try {
    MakeReady(m_partial && IsNotPartial(key));
    MarkDirty();
    if (!key || !Apply(*key, request, index)) return false;
    Notify({*key});
    RunQueue();
    return true;
} catch (STOPPED) {
    return false;
}

std::string TICKET_RULES::Get(std::string const* key, PARAM_TYPE type, int index, bool isTest) try {
    MakeReady(m_partial && IsNotPartial(key));
    m_lastAccess = m_now;
    if (!key) return isTest ? "0" : MODEL().Get("", type, index);  // like a key that does not exist
    if (isTest) return m_parameters.Exists(*key, index) ? "1" : "0";
    return m_parameters.Get(*key, type, index);
} catch (STOPPED) {
    return "0";
}

bool TICKET_RULES::SetBatch(std::vector<RECORD>* records) try {
    MakeReady(true);
    MarkDirty();
    if (!records) return false;
    std::vector<std::string> changed;
    for (RECORD& record : *records) {
        if (record.key.empty()) break;
        record.result = Apply(record.key, record.request, record.index);
        if (record.result) changed.push_back(record.key);
    }
    Notify(changed);
    RunQueue();
    return true;
} catch (STOPPED) {
    return false;
}

std::optional<std::vector<std::string>> TICKET_RULES::GetBatch(std::vector<QUESTION> const& questions) try {
    bool needsAll = false;
    for (QUESTION const& question : questions) {
        if (question.key.empty()) break;
        needsAll = needsAll || IsNotPartial(&question.key);
    }
    MakeReady(m_partial && needsAll);
    m_lastAccess = m_now;
    std::vector<std::string> answers;
    for (auto const& [key, type, index] : questions) {
        if (key.empty()) break;
        answers.push_back(m_parameters.Get(key, type, index));
    }
    return answers;
} catch (STOPPED) {
    return std::nullopt;
}

std::optional<std::vector<std::string>> TICKET_RULES::Walk(int level) try {
    MakeReady(true);
    m_lastAccess = m_now;
    return m_parameters.Walk(level);
} catch (STOPPED) {
    return std::nullopt;
}

// After a change the walk searches the next key, or the next element of the same vector. It does not report elements
// that were added to the vector.
std::optional<VALUES> TICKET_RULES::WalkChanging(std::size_t at, std::function<void()> const& change) try {
    MakeReady(true);
    m_lastAccess = m_now;
    auto const& parameters = m_parameters.Parameters();
    VALUES seen;
    auto const report = [&](VALUE const& value) {
        seen.push_back(value);
        if (seen.size() == at + 1) change();
    };
    for (auto next = parameters.begin(); next != parameters.end();) {
        std::string const key = next->first;
        if (next->second.isVector) {
            std::size_t const size = next->second.values.size();
            for (std::size_t i = 0; i < size; ++i) {
                auto const found = parameters.find(key);
                if (found == parameters.end() || !found->second.isVector || i >= found->second.values.size()) break;
                report(Reported(key, found->second.values[i], static_cast<int>(i)));
            }
        } else {
            report(Reported(key, next->second.values[0], SCALAR_INDEX));
        }
        next = parameters.upper_bound(key);
    }
    return seen;
} catch (STOPPED) {
    return std::nullopt;
}

bool TICKET_RULES::Operation(STICKET_OP code, int const* seconds) try {
    if (!Operate(code, seconds)) return false;
    if (code == STICKET_OP_CLEAR || code == STICKET_OP_INCREMENT) m_registrations.clear();
    RunQueue();
    return true;
} catch (STOPPED) {
    return false;
}

bool TICKET_RULES::ChangePartialKeys(TEXTS const* keys) try {
    if (m_isFile) {
        auto changed = m_partialKeys;
        if (!keys) {
            changed.clear();
        } else if (!keys->empty() && keys->front().empty()) {
            // The first string only chooses the action, so "" stays a partial key if it is one.
            for (std::size_t i = 1; i < keys->size(); ++i) changed.erase((*keys)[i]);
        } else {
            changed.insert(keys->begin(), keys->end());
        }
        ReleaseTo(!changed.empty());
        m_partialKeys = changed;
    }
    RunQueue();
    return true;
} catch (STOPPED) {
    return false;
}

std::optional<std::size_t> TICKET_RULES::Count(bool load) try {
    if (load) {
        MakeReady(true);
        m_lastAccess = m_now;
    }
    std::size_t const size = m_parameters.Size();
    RunQueue();
    return size;
} catch (STOPPED) {
    return std::nullopt;
}

bool TICKET_RULES::Merge(TICKET_RULES& source, TEXTS const* keys, bool clear) {
    if (!source.Walk(WALK_EVERYTHING)) return false;
    SELECTION selection;
    bool const isAll = !keys || keys->empty();
    if (!isAll) selection.Set(*keys);
    std::vector<RECORD> records;
    for (VALUE const& value : source.Everything()) {
        if (!isAll && !selection.Selects(value.key)) continue;
        records.push_back({value.key, REQUEST(value), value.index == 0 ? SCALAR_INDEX : value.index});
    }
    if (clear && !Operation(STICKET_OP_CLEAR, nullptr)) return false;
    bool const isNothing = records.empty();
    for (; !records.empty() && records.front().key.empty(); records.erase(records.begin()))
        Set(&records.front().key, records.front().request, records.front().index);
    return SetBatch(isNothing ? nullptr : &records);
}

// ---- Notifications, the queue, saving and loading

bool TICKET_RULES::Apply(std::string const& key, REQUEST const& request, int index) {
    return !request.isRefused && m_parameters.Set(key, request.value, index);
}

void TICKET_RULES::Notify(std::vector<std::string> const& keys) {
    for (auto at = m_registrations.begin(); at != m_registrations.end();) {
        bool const matches = std::any_of(keys.begin(), keys.end(), [&](std::string const& key) {
            return at->second.IsEmpty() || at->second.Selects(key);
        });
        at = matches ? m_registrations.erase(at) : std::next(at);
    }
}

void TICKET_RULES::RunQueue() {
    while (!m_queue.empty()) {
        int const call = m_queue.front();
        m_queue.pop_front();
        m_calls.push_back(call);
        std::string const key = "q";
        if (ActionOf(call) == ACT_SET) Set(&key, REQUEST(std::to_string(call)), APPEND_INDEX);
        if (ActionOf(call) == ACT_QUEUE) Queue(call + 100);
    }
}

bool TICKET_RULES::Operate(STICKET_OP code, int const* seconds) {
    switch (code) {
        case STICKET_OP_SAVE:
            if (m_isFile && m_dirty && (!seconds || m_now - m_dirtySince > *seconds)) Save();
            return true;
        case STICKET_OP_RELEASE:
            if (m_isFile && (!seconds || (m_loaded && m_now - m_lastAccess > *seconds)))
                ReleaseTo(!m_partialKeys.empty());
            return true;
        case STICKET_OP_CLEAR:
            m_partial = false;
            m_loaded = true;
            MarkDirty();
            m_parameters.Clear();
            return true;
        case STICKET_OP_FLUSH_NOTIFICATION:
            MakeReady(true);
            return false;
        default:
            return code == STICKET_OP_INCREMENT;
    }
}

VALUES TICKET_RULES::Everything() const {
    VALUES values;
    for (auto const& [key, parameter] : m_parameters.Parameters()) {
        int index = parameter.isVector ? 0 : SCALAR_INDEX;
        for (SCALAR const& value : parameter.values) values.push_back(Reported(key, value, index++));
    }
    return values;
}

bool TICKET_RULES::CanBeSaved() const {
    VALUES const values = Everything();
    return std::none_of(values.begin(), values.end(),
                        [](VALUE const& value) { return IsWritable(value.key) && IsInfinite(value); });
}

void TICKET_RULES::Save() {
    if (!CanBeSaved()) throw STOPPED();
    VALUES const values = Everything();
    FILE_MODEL const file(values);
    m_fileText = values.empty() ? "" : file.Text();
    m_fileValues = file.Reloaded();
    m_dirty = false;
}

void TICKET_RULES::Load() {
    for (VALUE const& value : m_fileValues) {
        if (m_partial && IsNotPartial(&value.key)) continue;
        m_parameters.Set(value.key, REQUEST(value).value, APPEND_INDEX);
    }
    m_loaded = true;
    m_lastAccess = m_now;
}

void TICKET_RULES::ReleaseTo(bool partial) {
    if (m_dirty) Save();
    m_parameters.Clear();
    m_loaded = false;
    m_partial = partial;
}

void TICKET_RULES::MakeReady(bool everything) {
    if (!m_isFile) return;
    if (m_partial && everything) ReleaseTo(false);
    if (!m_loaded) Load();
}

void TICKET_RULES::MarkDirty() {
    m_lastAccess = m_now;
    if (!m_dirty) m_dirtySince = m_now;
    m_dirty = m_isFile;
}

// Drops the parameters; keeps the file and the record of calls.
void TICKET_RULES::Destroy() {
    if (m_dirty) Save();
    m_parameters.Clear();
    m_registrations.clear();
    m_locks = {};
    m_queue.clear();
    m_partialKeys.clear();
    m_partial = m_loaded = false;
    m_lastAccess = m_dirtySince = m_now;
}
