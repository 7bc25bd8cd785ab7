// The ticket with an XML file: loaded at the first access, saved on request, on release and on destruction.
//
// The tree in memory is absent, whole or partial. A partial one holds only a set of exact keys and is replaced by the
// whole one at the first access to any other. CAUTION: saving a partial tree writes only what is in memory.
#pragma once

#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "Disk/Replacement.h"
#include "TicketImpSBase.h"

// The result of a load.
enum class LOAD_STATE {
    NOT_YET,           // nothing was loaded
    LOADED,            // the whole file was loaded
    NO_FILE,           // the file does not exist
    UNREADABLE,        // the file cannot be opened or read
    NO_DOCUMENT,       // the file does not parse as XML
    CUT_AT_NUL,        // the file may hold values that were not read, for instance after a NUL
    TOO_DEEP,          // the keys are too long together; see Format/KeyLimit.h
    CONVERSION_FAILED  // the text conversion threw for a value
};

struct LOAD_OUTCOME {
    LOAD_STATE state = LOAD_STATE::NOT_YET;
    int error = 0;           // errno of a missing or unreadable file
    std::size_t line = 0;    // where parsing failed, counted from 1
    std::size_t column = 0;  // in bytes
};

class STICKET_FILE : public STICKET {
 public:
    STICKET_FILE(std::string const& fileName, STICKET_WHOAMI const& whoAmI);
    // Saves if dirty. An exception out of that save (an infinite number, a failing text conversion) ends the process;
    // exhausted memory leaves the old file.
    ~STICKET_FILE() override;

    STICKET_ACCESS const* GetInterface() const override { return &m_access; }

    // The results of the last load and save; deleting the file of an empty ticket is a save. Call with the mutex held.
    LOAD_OUTCOME const& LastLoad() const { return m_lastLoad; }
    TICKETFILE::SAVE_OUTCOME const& LastSave() const { return m_lastSave; }

    // The table entries; see STICKET_ACCESS.
    static int GetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index);
    static int GetMultiParameter(STICKET* ticket, GETMULTIPAR* records);
    static int WalkParameter(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix,
                             int level);
    static int SetParameter(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index);
    static int SetMultiParameter(STICKET* ticket, SETMULTIPAR* records);
    static int Operation(STICKET* ticket, STICKET_OP code, void* data);
    static int Lock(STICKET* ticket, int number, int* owner, bool lock);

 protected:
    // All of this runs under the mutex.

    // What the loader calls for each stored value: skips the keys that a partial tree does not keep, converts text.
    // Changes neither the dirty flag nor registrations. `context` is a STICKET_FILE.
    static int LocalSetParameter(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index);
    // The same for a value with the key of the call before.
    static int LocalSetLater(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index);

    bool Operation(STICKET_OP code, void* data);

    // Reads the file into the empty tree. The ticket then counts as loaded, even if the file is missing or unreadable.
    // Out of memory, it throws std::bad_alloc and stays unloaded.
    void Load();
    // Writes the tree to the file, or deletes the file when there is no value to write, and clears the dirty flag
    // even if the write failed. If the writer throws, the file and the flag stay unchanged.
    void Save();
    // Saves if dirty and drops the tree; `partial`: whether the next load is partial. Returns the dropped parameters,
    // for a caller whose arguments may point into them.
    clTICKETNODE ReleaseTo(bool partial);
    // Not one of the partial keys; true for null.
    bool KeyNotPartial(char const* key) const;

    // Loads the file unless it is loaded. `everything`: drops a partial tree first and returns it, as ReleaseTo does.
    using DROPPED = std::unique_ptr<clTICKETNODE const>;
    DROPPED MakeReady(bool everything) { return m_loaded && !(m_partial && everything) ? nullptr : Reload(everything); }
    DROPPED Reload(bool everything);

    // The time in seconds. Tests put their own clock here.
    virtual std::time_t Now() const { return std::time(nullptr); }

 private:
    // Does what both functions above do.
    template <bool IS_LATER>
    static int StoreRead(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index);
    bool ReadFile(bool stores);
    static bool IsPartialKey(void* context, std::string_view key);
    static void DropRead(void* context);
    void LookAtFile();
    TICKETFILE::SAVE_OUTCOME WriteOrDelete(TICKETFILE::OLD old) const;
    void WriteTo(TICKETFILE::REPLACEMENT& file) const;
    bool Walk(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);
    bool AnyNotPartial(GETMULTIPAR const* records) const;
    void MarkDirty();
    void SaveWhatCanBe();
    void ChangePartialKeys(char const* const* keys);
    bool IsOver(std::time_t since, void const* seconds) const;

    STICKET_ACCESS const m_access;
    TICKETLOCKS m_locks;
    std::string const m_fileName;  // as given, for messages
    std::string const m_path;      // the same from the root: the working directory may change
    std::set<std::string, std::less<>> m_partialKeys;
    TICKET_TEXTS m_texts;  // every text that was read: clients keep the pointers for as long as the ticket lives
    bool m_partial = false;
    bool m_loaded = false;
    bool m_dirty = false;
    std::time_t m_lastAccess;
    std::time_t m_dirtySince;
    bool m_misread = false;                         // the file holds something that never reached the tree
    bool m_unread = false;                          // cleared without a load: the next save finds out about m_misread
    std::optional<TICKETFILE::FILE_ID> m_fileRead;  // the file that was read, if it is known
    bool m_starved = false;                         // the load under way ran out of memory
    clTICKETNODE::LAST m_vector;                    // of the load under way: the vector of the last value
    LOAD_OUTCOME m_lastLoad;
    TICKETFILE::SAVE_OUTCOME m_lastSave;
};
