// The file ticket: its table entries, and when its tree is loaded, dropped and saved. Format/ knows the text of the
// file, Disk/ how the file is replaced.
#include "TicketImpSFile.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/StringConversion.h"
#include "Disk/FileNames.h"
#include "Disk/FileReader.h"
#include "Format/Numbers.h"
#include "Format/Reader.h"
#include "Format/Writer.h"

namespace {

constexpr std::size_t USUAL_LINE = 48;  // bytes of the file for a parameter
// Caps the reservation: a larger file may hold few, long values.
constexpr std::size_t LARGEST_USUAL_FILE = std::size_t{64} << 10;

bool IsNoKey(void*, std::string_view) {
    return false;
}

LOAD_STATE StateOf(READING reading) {
    switch (reading) {
        case READING::DONE:
            return LOAD_STATE::LOADED;
        case READING::IN_PART:
            return LOAD_STATE::CUT_AT_NUL;
        case READING::OUT_OF_PROPORTION:
            return LOAD_STATE::TOO_DEEP;
        case READING::UNREADABLE:
            return LOAD_STATE::UNREADABLE;
        case READING::NO_DOCUMENT:
            break;
    }
    return LOAD_STATE::NO_DOCUMENT;
}

}  // namespace

STICKET_ACCESS const* STICKET::PCreate(std::string const& fileName, STICKET_WHOAMI const& whoAmI) {
    return (new STICKET_FILE(fileName, whoAmI))->GetInterface();
}

// c_str() cuts the name at its first NUL, as system calls do, so that ".tmp" is not appended after the NUL.
STICKET_FILE::STICKET_FILE(std::string const& fileName, STICKET_WHOAMI const& whoAmI)
    : STICKET(whoAmI),
      m_access(FRAME::Table(*this)),
      m_fileName(fileName.c_str()),
      m_path(TICKETFILE::AbsoluteName(m_fileName)),
      m_lastAccess(std::time(nullptr)),
      m_dirtySince(m_lastAccess) {}

STICKET_FILE::~STICKET_FILE() {
    if (m_dirty) {
        std::optional<SysLib::MUTEX_LOCK> lock;
        if (m_whoAmI.pMutex) lock.emplace(*m_whoAmI.pMutex);
        SaveWhatCanBe();
    }
    m_state->parameters.Clear();  // before m_texts, which keeps some of their texts
}

// Table entries

int STICKET_FILE::GetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index) {
    return FRAME::Run<STICKET_FILE>(
        ticket,
        [&](STICKET_FILE& self) {
            DROPPED const dropped = self.MakeReady(self.m_partial && self.KeyNotPartial(key));
            self.m_lastAccess = self.Now();
            return self.m_state->parameters.GetParameter(key, type, value, index, &self.m_texts);
        },
        [](int a, int b) { Log(0, "STICKET_FILE::GetParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_FILE::GetMultiParameter(STICKET* ticket, GETMULTIPAR* records) {
    return FRAME::GetBatch<STICKET_FILE>(
        ticket, records,
        [&](STICKET_FILE& self) {
            DROPPED const dropped = self.MakeReady(self.m_partial && self.AnyNotPartial(records));
            self.m_lastAccess = self.Now();
            return self.m_state->parameters.GetMultiParameter(records, &self.m_texts);
        },
        [](int a, int b) { Log(0, "STICKET_FILE::GetMultiParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_FILE::WalkParameter(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix,
                                int level) {
    return FRAME::Run<STICKET_FILE>(
        ticket,
        [&](STICKET_FILE& self) {
            self.MakeReady(true);
            self.m_lastAccess = self.Now();
            return self.Walk(callback, context, prefix, level);
        },
        [](int a, int b) { Log(0, "STICKET_FILE::WalkParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_FILE::SetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index) {
    return FRAME::Set<STICKET_FILE>(
        ticket, key, type, value, index,
        [&](STICKET_FILE& self) {
            DROPPED const dropped = self.MakeReady(self.m_partial && self.KeyNotPartial(key));
            self.MarkDirty();
            return self.m_state->parameters.SetParameter(key, type, value, index);
        },
        [](int a, int b) { Log(0, "STICKET_FILE::SetParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_FILE::SetMultiParameter(STICKET* ticket, SETMULTIPAR* records) {
    return FRAME::SetBatch<STICKET_FILE>(
        ticket, records,
        [&](STICKET_FILE& self) {
            DROPPED const dropped = self.MakeReady(true);
            self.MarkDirty();
            return self.m_state->parameters.SetMultiParameter(records);
        },
        [](int a, int b) { Log(0, "STICKET_FILE::SetMultiParameter(%d, %d) catch(...)", a, b); });
}

int STICKET_FILE::Operation(STICKET* ticket, STICKET_OP code, void* data) {
    return FRAME::Operate<STICKET_FILE>(
        ticket, code, data, [&](STICKET_FILE& self) { return self.Operation(code, data); },
        [&](int a, int b) { Log(0, "STICKET_FILE::Operation(%d, %d, %d) catch(...)", a, b, static_cast<int>(code)); });
}

int STICKET_FILE::Lock(STICKET* ticket, int number, int* owner, bool lock) {
    return FRAME::Run<STICKET_FILE>(
        ticket, [&](STICKET_FILE& self) { return self.m_locks(number, owner, lock); },
        [&](int a, int b) { Log(0, "STICKET_FILE::Lock(%d, %d, %d) catch(...)", a, b, number); });
}

// A callback that drops the tree does not end the walk: what comes next is loaded again.
bool STICKET_FILE::Walk(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) {
    struct STEP {
        STICKET_FILE& self;
        STICKET_WALK_CALLBACK callback;
        void* context;

        static bool Take(void* step, char const* key, PARAM_TYPE type, void const* value, int index) {
            auto const& [self, callback, context] = *static_cast<STEP const*>(step);
            if (!callback(context, key, type, value, index)) return false;
            if (self.m_partial || !self.m_loaded) self.MakeReady(true);
            return true;
        }
    } step{*this, callback, context};
    return m_state->parameters.WalkParameter(callback ? &STEP::Take : nullptr, &step, prefix, level);
}

// Loading and dropping

bool STICKET_FILE::KeyNotPartial(char const* key) const {
    return !key || m_partialKeys.find(std::string_view(key)) == m_partialKeys.end();
}

bool STICKET_FILE::AnyNotPartial(GETMULTIPAR const* records) const {
    for (; records && IsRecord(*records); ++records) {
        if (KeyNotPartial(records->key)) return true;
    }
    return false;
}

STICKET_FILE::DROPPED STICKET_FILE::Reload(bool everything) {
    DROPPED dropped;
    if (m_partial && everything) dropped = std::make_unique<clTICKETNODE>(ReleaseTo(false));
    if (!m_loaded) Load();
    return dropped;
}

void STICKET_FILE::Load() {
    m_misread = false;
    m_unread = false;
    m_starved = false;
    m_loaded = true;  // now, so that a conversion that reads this ticket does not load it again
    try {
        if (!ReadFile(true)) m_misread = true;
        if (m_misread && m_lastLoad.state == LOAD_STATE::LOADED) m_lastLoad.state = LOAD_STATE::CONVERSION_FAILED;
        if (m_starved) throw std::bad_alloc();  // do not keep half of a file: the next access loads again
    } catch (...) {
        m_state->parameters.Clear();
        m_loaded = false;
        m_misread = false;
        m_lastLoad = {};
        throw;
    }
    m_lastAccess = Now();
}

// Reads the file, to store its values or only to see whether it can be read. False for a file that exists and cannot be
// read; the values stored so far are then to be discarded.
bool STICKET_FILE::ReadFile(bool stores) {
    using TICKETFILE::FILE_READER;
    FILE_READER file(m_path);
    m_fileRead = file.Id();
    bool const isMissing = file.State() == FILE_READER::MISSING;
    m_lastLoad = {isMissing ? LOAD_STATE::NO_FILE : LOAD_STATE::UNREADABLE, file.Error(), 0, 0};
    if (file.State() != FILE_READER::OPEN) return isMissing;
    if (stores && !m_partial) m_state->parameters.Reserve(std::min(file.Size(), LARGEST_USUAL_FILE) / USUAL_LINE);
    LEAF_RECEIVER const storing{&LocalSetParameter, this, m_partial ? &IsPartialKey : nullptr, &DropRead,
                                &LocalSetLater};
    LEAF_RECEIVER const looking{&LocalSetParameter, this, &IsNoKey, nullptr};
    READ_RESULT const result = ReadTicket(file, stores ? storing : looking);
    m_lastLoad = {StateOf(result.reading), file.Error(), result.line, result.column};
    if (result.reading == READING::IN_PART) m_misread = true;
    return result.IsRead();
}

bool STICKET_FILE::IsPartialKey(void* context, std::string_view key) {
    auto const& keys = static_cast<STICKET_FILE const*>(context)->m_partialKeys;
    return keys.find(key) != keys.end();
}

void STICKET_FILE::DropRead(void* context) {
    auto& self = *static_cast<STICKET_FILE*>(context);
    self.m_state->parameters.Clear();
    self.m_misread = false;
    self.m_starved = false;
}

// For a ticket that was cleared before a load: checks whether its file can be read. Does not change the tree.
void STICKET_FILE::LookAtFile() {
    LOAD_OUTCOME const lastLoad = m_lastLoad;
    m_misread = false;
    if (!ReadFile(false)) m_misread = true;
    m_lastLoad = lastLoad;
    m_unread = false;
}

template <bool IS_LATER>
int STICKET_FILE::StoreRead(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index) {
    auto const ticket = static_cast<STICKET_FILE*>(context);
    int const stored = FRAME::Run<STICKET_FILE>(
        ticket,
        [&](STICKET_FILE& self) {
            if (!IS_LATER) self.m_vector.entry = nullptr;
            if (self.m_partial && !IsPartialKey(&self, key)) return true;
            clTICKETNODE& parameters = self.m_state->parameters;
            auto const store = [&](void const* content) {
                // Values of a file are refused only when out of memory.
                bool const done = IS_LATER ? parameters.AppendLater(key, self.m_vector, type, content)
                                           : parameters.SetParameter(key, type, content, index);
                if (!done) self.m_starved = true;
                return done;
            };
            auto const text = static_cast<char const*>(value);
            if (type != PARAM_STRING || !*text || !self.m_whoAmI.pContext) return store(value);
            auto& conversion = *static_cast<STICKET_STRING_CONVERSION*>(self.m_whoAmI.pContext);
            try {
                return store(conversion.FromFile(text, 0).c_str());
            } catch (std::bad_alloc const&) {
                self.m_starved = true;
                throw;
            }
        },
        [](int a, int b) { Log(0, "STICKET_FILE::LocalSetParameter(%d, %d) catch(...)", a, b); });
    if (!stored) ticket->m_misread = true;
    return stored;
}

int STICKET_FILE::LocalSetParameter(void* context, std::string_view key, PARAM_TYPE type, void const* value,
                                    int index) {
    return StoreRead<false>(context, key, type, value, index);
}

int STICKET_FILE::LocalSetLater(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index) {
    return StoreRead<true>(context, key, type, value, index);
}

clTICKETNODE STICKET_FILE::ReleaseTo(bool partial) {
    if (m_dirty) Save();
    clTICKETNODE dropped = m_state->parameters.Take();
    m_loaded = false;
    m_partial = partial;
    return dropped;
}

// Drops the tree before the keys change: a tree that cannot be saved stays, with the keys that it was loaded by.
void STICKET_FILE::ChangePartialKeys(char const* const* keys) {
    auto changed = m_partialKeys;
    if (!keys) {
        changed.clear();
    } else if (*keys && !**keys) {
        while (*++keys) changed.erase(*keys);
    } else {
        for (; *keys; ++keys) changed.insert(*keys);
    }
    ReleaseTo(!changed.empty());
    m_partialKeys.swap(changed);
}

// Changing and saving

void STICKET_FILE::MarkDirty() {
    m_lastAccess = Now();
    if (m_dirty) return;
    m_dirty = true;
    m_dirtySince = m_lastAccess;
}

void STICKET_FILE::WriteTo(TICKETFILE::REPLACEMENT& file) const {
    auto* const conversion = static_cast<STICKET_STRING_CONVERSION*>(m_whoAmI.pContext);
    auto const walk = [&](STICKET_WALK_CALLBACK callback, void* writer) {
        clTICKETNODE const& parameters = m_state->parameters;
        if (conversion == nullptr) return parameters.WalkUnchanged(callback, writer);
        // The conversion is a host's code. It must not use this ticket, but one that does may not corrupt memory.
        return parameters.Walk(callback, writer, "", WALK_EVERYTHING);
    };
    if (!WriteTicket(file, conversion, &Log, walk)) throw "STICKET_FILE::Save incomplete walk";
}

void STICKET_FILE::Save() {
    using namespace TICKETFILE;
    try {
        if (m_unread) LookAtFile();
        m_lastSave = WriteOrDelete(m_misread ? OLD::KEEP : OLD::DISCARD);
    } catch (OUT_OF_PROPORTION const&) {
        m_lastSave = {SAVE_STEP::NESTING, 0, KEPT::NOTHING};
        throw;
    } catch (std::bad_alloc const&) {
        m_lastSave = {SAVE_STEP::MEMORY, ENOMEM, KEPT::NOTHING};
        throw;
    } catch (char const* text) {
        m_lastSave = {text == INFINITE_NUMBER ? SAVE_STEP::NUMBER : SAVE_STEP::CONVERSION, 0, KEPT::NOTHING};
        throw;
    } catch (...) {
        m_lastSave = {SAVE_STEP::CONVERSION, 0, KEPT::NOTHING};
        throw;
    }
    if (m_lastSave.Succeeded()) m_misread = false;
    m_dirty = false;
}

TICKETFILE::SAVE_OUTCOME STICKET_FILE::WriteOrDelete(TICKETFILE::OLD old) const {
    using namespace TICKETFILE;
    SAVE_OUTCOME outcome;
    if (m_state->parameters.NonEmpty()) {
        REPLACEMENT file(m_path);
        WriteTo(file);
        outcome = file.Commit(old, m_fileRead);
    } else {
        outcome = Delete(m_path, old, m_fileRead);
        Log(2000, "STICKET_FILE deleted empty ticket \"%s\"", m_fileName.c_str());
    }
    if (outcome.kept == KEPT::YES) Log(2000, "STICKET_FILE kept unreadable \"%s\"", KeptName(m_fileName).c_str());
    if (outcome.kept == KEPT::NO) Log(0, "STICKET_FILE cannot keep unreadable \"%s\"", m_fileName.c_str());
    return outcome;
}

// The save by the destructor, which cannot report a failure or try again. If it runs out of memory, the old file stays,
// as after a write error: to end the process would cost the host more.
void STICKET_FILE::SaveWhatCanBe() {
    try {
        Save();
    } catch (std::bad_alloc const&) {
        Log(0, "STICKET_FILE could not be saved \"%s\"", m_fileName.c_str());
    }
}

// Operation codes

// Whether more than `seconds` (an int) have passed since `since`; null: always. Also true after the clock has been set
// back, so that a save never waits until the clock has caught up.
bool STICKET_FILE::IsOver(std::time_t since, void const* seconds) const {
    if (!seconds) return true;
    double const passed = std::difftime(Now(), since);
    return passed < 0 || passed > LoadValue<int>(seconds);
}

bool STICKET_FILE::Operation(STICKET_OP code, void* data) {
    switch (code) {
        case STICKET_OP_SAVE:
            if (m_dirty && IsOver(m_dirtySince, data)) Save();
            return true;
        case STICKET_OP_RELEASE:
            if (!data || (m_loaded && IsOver(m_lastAccess, data))) ReleaseTo(!m_partialKeys.empty());
            return true;
        case STICKET_OP_CLEAR:
            if (!m_loaded) m_unread = true;
            m_loaded = true;
            m_partial = false;
            MarkDirty();
            m_state->parameters.Clear();
            return true;
        case STICKET_OP_PARTIAL_KEYS:
            ChangePartialKeys(static_cast<char const* const*>(data));
            return true;
        case STICKET_OP_COUNT:
            MakeReady(true);
            m_lastAccess = Now();
            return CommonOperation(code, data);
        case STICKET_OP_FLUSH_NOTIFICATION:
            MakeReady(true);
            return CommonOperation(code, data);
        default:
            return CommonOperation(code, data);
    }
}
