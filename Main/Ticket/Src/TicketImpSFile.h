// The ticket that an XML file backs: loaded at the first access, kept in memory, saved on request, on release and on
// destruction.
//
// The tree in memory is absent, whole or partial. A partial one holds only the keys of a set of exact keys and is
// dropped for the whole one as soon as somebody asks for anything else. CAUTION: saving a partial tree writes only what
// is in memory.
#pragma once

#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "Disk/Replacement.h"
#include "TicketImpSBase.h"

// What became of a load.
enum class LOAD_STATE {
    NOT_YET,           // nothing was loaded
    LOADED,            // all of the file
    NO_FILE,           // there is none
    UNREADABLE,        // its bytes cannot be had
    NO_DOCUMENT,       // it is no XML
    CUT_AT_NUL,        // it may hold values that were not read, behind a NUL for instance
    TOO_DEEP,          // its nesting is out of proportion
    CONVERSION_FAILED  // the text conversion threw for a value
};

struct LOAD_OUTCOME {
    LOAD_STATE state = LOAD_STATE::NOT_YET;
    int error = 0;           // errno of a missing or unreadable file
    std::size_t line = 0;    // where a file stops being a document, counted from 1
    std::size_t column = 0;  // in bytes
};

class STICKET_FILE : public STICKET {
 public:
    STICKET_FILE(std::string const& fileName, STICKET_WHOAMI const& whoAmI);
    // Saves if dirty. An exception out of that save (an infinite number, a failing text conversion) ends the process;
    // exhausted memory leaves the old file.
    ~STICKET_FILE() override;

    STICKET_ACCESS const* GetInterface() const override { return &m_access; }

    // What became of the last load and the last save, the deletion of an empty ticket's file included. Call them under
    // the mutex.
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
    static int LocalSetParameter(void* context, char const* key, PARAM_TYPE type, void const* value, int index);

    bool Operation(STICKET_OP code, void* data);

    // Reads the file into the empty tree. Whatever the file is like, the ticket is loaded afterwards; only for want of
    // memory it is not, and throws std::bad_alloc.
    void Load();
    // Writes the tree to the file, or deletes the file when there is no value to write, and clears the dirty flag
    // whether or not the disk went along. On an exception of the writer both stay as they were.
    void Save();
    // Saves if dirty and takes the tree out of memory; what is loaded next is partial or whole as told. Hands out the
    // dropped parameters, for a caller whose arguments may point into them.
    clTICKETNODE ReleaseTo(bool partial);
    // Not one of the partial keys; true for null.
    bool KeyNotPartial(char const* key) const;

    // Loads what is missing. `everything`: a partial tree is dropped first, and handed out like that of ReleaseTo.
    using DROPPED = std::unique_ptr<clTICKETNODE const>;
    DROPPED MakeReady(bool everything);

    // The time in seconds. Tests put their own clock here.
    virtual std::time_t Now() const { return std::time(nullptr); }

 private:
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
    std::optional<TICKETFILE::FILE_ID> m_fileRead;  // which one that was, as far as it is known
    bool m_starved = false;                         // the load under way ran out of memory
    LOAD_OUTCOME m_lastLoad;
    TICKETFILE::SAVE_OUTCOME m_lastSave;
};
