// A ticket's parameters: the ordered map from key to typed value, its entry-level operations, the converting access
// that the tables offer, and the walks.
//
// No locking: a node belongs to one ticket, which calls it with its mutex held. No operation throws on bad input;
// exhausted memory throws std::bad_alloc and leaves the node as it was (SetParameter and SetMultiParameter catch it).
// Arguments may point into the node itself: a key or text that was read from it, an element of a replaced vector.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"
#include "Store/ParameterMap.h"
#include "Store/TicketText.h"

class clTICKETNODE {
 public:
    // The kind of a stored value. Internal: TypeOf gives the PARAM_TYPE that hosts see.
    enum TAG : unsigned char {
        ENTRY_EMPTY = 0,    // exists, has no value
        ENTRY_NUMBER = 1,   // double; also every integer that a double holds exactly
        ENTRY_STRING = 2,   // text
        ENTRY_BINARY = 3,   // bytes
        ENTRY_POINTER = 4,  // opaque, not owned
        ENTRY_VECTOR = 5,   // vector of entries
        ENTRY_INT64 = 6,
        ENTRY_UINT64 = 7
    };

    // One stored value: a tag and a 64-bit payload. Owns text, bytes and elements; copies deeply. The characters of a
    // text stay where they are when the entry is moved.
    class clENTRY {
     public:
        using VECTOR = std::vector<clENTRY>;

        clENTRY() noexcept = default;
        explicit clENTRY(double value) noexcept : m_tag(ENTRY_NUMBER) {  // stored as given, infinities and NaN too
            m_payload.number = value;
        }
        explicit clENTRY(int value) noexcept : clENTRY(static_cast<double>(value)) {}
        explicit clENTRY(unsigned int value) noexcept : clENTRY(static_cast<double>(value)) {}
        explicit clENTRY(long long value) noexcept;           // ENTRY_NUMBER within +-2^53
        explicit clENTRY(unsigned long long value) noexcept;  // ENTRY_NUMBER up to 2^53, ENTRY_INT64 below 2^63
        explicit clENTRY(std::string_view text);              // ENTRY_STRING
        explicit clENTRY(BIN_STRING const& bytes);            // ENTRY_BINARY; null data is empty whatever the length
        explicit clENTRY(void* pointer) noexcept;             // ENTRY_POINTER
        explicit clENTRY(VECTOR elements);
        clENTRY(clENTRY const& source);
        clENTRY(clENTRY&& source) noexcept
            : m_payload(source.m_payload), m_tag(source.m_tag), m_isKept(source.m_isKept) {
            source.m_tag = ENTRY_EMPTY;
            source.m_isKept = false;
        }
        // `source` may be this entry or one of its elements.
        clENTRY& operator=(clENTRY const& source);
        clENTRY& operator=(clENTRY&& source) noexcept {
            clENTRY moved(std::move(source));
            _swap(*this, moved);
            return *this;
        }
        ~clENTRY() {
            if (OwnsPayload()) _destruct();
        }

        TAG Tag() const noexcept { return m_tag; }
        // The PARAM_TYPE that stands for this entry; false and PARAM_NONE for ENTRY_EMPTY.
        bool TypeOf(PARAM_TYPE& type) const noexcept;
        // The payload; each only for the tags it belongs to. The references live as long as the payload.
        double const& Number() const noexcept { return m_payload.number; }
        std::string_view Text() const noexcept { return m_payload.text->View(); }  // ENTRY_STRING and ENTRY_BINARY
        // The characters of an ENTRY_STRING, kept by its ticket beyond this entry. Throws std::bad_alloc.
        char const* StableText(TICKET_TEXTS& texts) const {
            if (m_isKept) return m_payload.text->Characters();
            char const* const stable = texts.Stable(*m_payload.text);
            m_isKept = stable == m_payload.text->Characters();
            return stable;
        }
        void* Pointer() const noexcept { return m_payload.pointer; }
        VECTOR const& Elements() const noexcept { return *m_payload.elements; }
        VECTOR& Elements() noexcept { return *m_payload.elements; }
        int64_t const& Int64() const noexcept { return m_payload.int64; }
        uint64_t const& Uint64() const noexcept { return m_payload.uint64; }

        // Asks the processor for the characters of a text.
        void Prefetch() const noexcept {
            if (OwnsPayload()) KEY_INDEX::Fetch(m_payload.pointer);
        }

        // Exchanges this entry with a new value. A text that is stored again stays where it is: file tickets keep it,
        // and reading it then touches no second block.
        void Replace(clENTRY& value) noexcept {
            if (value.m_tag != ENTRY_STRING || !HasTextOf(value)) _swap(*this, value);
        }

        // Member by member: the map keeps the length of the key in the padding of an entry.
        static void _swap(clENTRY& a, clENTRY& b) noexcept {
            std::swap(a.m_payload, b.m_payload);
            std::swap(a.m_tag, b.m_tag);
            std::swap(a.m_isKept, b.m_isKept);
        }

     private:
        bool OwnsPayload() const noexcept {
            return m_tag == ENTRY_STRING || m_tag == ENTRY_BINARY || m_tag == ENTRY_VECTOR;
        }
        // Whether both are an ENTRY_STRING of the same text.
        bool HasTextOf(clENTRY const& other) const noexcept;
        void _construct(clENTRY const& source);  // this entry must be ENTRY_EMPTY
        void _destruct() noexcept;

        union PAYLOAD {
            double number;
            int64_t int64;
            uint64_t uint64;
            void* pointer;
            TICKET_TEXT* text;
            VECTOR* elements;
        } m_payload{};
        TAG m_tag = ENTRY_EMPTY;
        mutable bool m_isKept = false;  // the text is its own stable copy, as most are; saves reading it
    };

    clTICKETNODE() = default;
    clTICKETNODE(clTICKETNODE const&) = default;
    clTICKETNODE(clTICKETNODE&&) = default;
    clTICKETNODE& operator=(clTICKETNODE const&) = delete;  // walks under way would not notice the change

    // Operations on entries. An index is the position of an element; a scalar is its own element 0. Pointers are valid
    // until the next change of the node. AddEntry, SetVector and the sorted walks below have no caller in the library;
    // they complete this unit's interface, and its tests hold them.
    bool SetEntry(std::string_view key, clENTRY entry);
    bool SetEntry(std::string_view key, int index, clENTRY entry);  // makes a vector; replaces, or appends at the end
    clENTRY::VECTOR* SetVector(std::string_view key);  // makes the key a vector; a scalar becomes its only element
    bool AddEntry(std::string_view key, clENTRY entry);
    bool Del(std::string_view key);
    bool Del(std::string_view key, int index);
    clENTRY const* GetEntry(std::string_view key) const;
    clENTRY const* GetEntry(std::string_view key, int index) const;
    bool GetType(std::string_view key, int& type) const;
    bool GetType(std::string_view key, int index, int& type) const;

    bool Set(std::string_view key, unsigned long long value);
    bool Set(std::string_view key, std::string_view value);
    bool Set(std::string_view key, int index, double value);
    bool Set(std::string_view key, int index, std::string_view value);

    // Typed getters for double, int, unsigned int, long long, unsigned long long, char const*, BIN_STRING and,
    // un-indexed only, void*. A failure writes 0, null or {null, 0} and returns false. Get refuses vectors.
    template <typename T>
    bool Get(std::string_view key, T& value) const {
        return Read(GetEntry(key), value);
    }
    template <typename T>
    bool GetV(std::string_view key, int index, T& value) const {
        return Read(GetEntry(key, index), value);
    }
    bool GetV(std::string_view key, int index, void*& value) const = delete;
    bool GetV(std::string_view key, unsigned long& count) const;  // elements; 1 for any scalar

    // Converting access, as the table entries of the same names offer it. `texts`, always the same set, keeps texts
    // read as PARAM_STRING, so that they outlive their entries; only with it a read may throw (std::bad_alloc).
    bool GetParameter(char const* key, PARAM_TYPE type, void* value, int index, TICKET_TEXTS* texts = nullptr) const {
        return ReadAs(key ? m_map.Find(key) : nullptr, type, value, index, texts);
    }
    bool GetMultiParameter(GETMULTIPAR* records, TICKET_TEXTS* texts = nullptr) const;
    bool SetParameter(char const* key, PARAM_TYPE type, void const* value, int index) {
        return key && SetParameter(std::string_view(key), type, value, index);
    }
    bool SetParameter(std::string_view key, PARAM_TYPE type, void const* value, int index);
    // Where a call of AppendLater has stored; valid until the node changes.
    struct LAST {
        clENTRY* entry = nullptr;
        uint64_t changes = 0;
    };
    // As SetParameter at APPEND_INDEX. `last` is empty, or that of a call for the same key, which is then not searched.
    bool AppendLater(std::string_view key, LAST& last, PARAM_TYPE type, void const* value);
    // Reads every key and value before it changes anything. False only for null: each record's result tells whether it
    // was stored, also when memory was too short.
    bool SetMultiParameter(SETMULTIPAR* records);

    // Walks in key order; see STICKET_ACCESS::WalkParameter for the levels. The callback may change this node: the walk
    // goes on with the next key after the last one, and within a vector with the next position, up to the number of
    // elements the vector had when the walk came to it. False when the callback ended the walk. `prefix` is ignored.
    bool Walk(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const;
    // Walks everything for a callback that does not change this node.
    bool WalkUnchanged(STICKET_WALK_CALLBACK callback, void* context) const;
    // As Walk over a copy taken first; pointers handed out die with the copy.
    bool WalkSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const;
    // As above; false only for a null callback.
    bool WalkParameter(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const;
    bool WalkParameterSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level) const;

    // Scalar values, each element of each vector counted, vectors themselves not.
    unsigned long Size() const;
    bool NonEmpty() const;  // whether Size is above 0; stops at the first value
    // Makes space for `more` parameters. Throws std::bad_alloc.
    void Reserve(std::size_t more) { m_map.Reserve(more); }
    void Clear();
    // As Clear, but hands the parameters out; what points at their values stays valid until the result is destroyed.
    clTICKETNODE Take();

 private:
    class WALK;

    static clENTRY const* Element(clENTRY const* entry, int index);
    static bool Count(clENTRY const* entry, uint64_t& count);
    static bool Read(clENTRY const* entry, double& value);
    static bool Read(clENTRY const* entry, int& value);
    static bool Read(clENTRY const* entry, unsigned int& value);
    static bool Read(clENTRY const* entry, long long& value);
    static bool Read(clENTRY const* entry, unsigned long long& value);
    static bool Read(clENTRY const* entry, char const*& value);
    static bool Read(clENTRY const* entry, BIN_STRING& value);
    static bool Read(clENTRY const* entry, void*& value);
    static bool Read(clENTRY const* entry, PARAM_TYPE& type);
    template <typename T>
    static bool ReadInto(clENTRY const* entry, void* buffer);
    template <typename T>
    static bool ReadInteger(clENTRY const* entry, void* buffer);
    static bool ReadStable(clENTRY const* entry, void* buffer, TICKET_TEXTS& texts);
    static bool ReadCount(clENTRY const* entry, void* buffer);
    static bool ReadElement(clENTRY const* entry, PARAM_TYPE type, void* value, int index, TICKET_TEXTS* texts);
    // The work of GetParameter. `entry`: that of the key; null if there is none.
    static bool ReadAs(clENTRY const* entry, PARAM_TYPE type, void* value, int index, TICKET_TEXTS* texts);
    // Whether `entry`, found for `key` (null: not found), is also that of the text `now`.
    static bool IsStillOf(char const* now, std::string_view key, clENTRY const* entry);
    // Reads the first records of a batch, whose lookups overlap; returns the first record that was left out.
    GETMULTIPAR* GetGroup(GETMULTIPAR* records, TICKET_TEXTS* texts) const;
    // One change. `found`: the key's entry, or null if it has yet to be searched; afterwards the same for the next
    // change of this key.
    // A deletion with any negative index but SCALAR_INDEX finds no element and so fails without converting anything.
    [[gnu::always_inline]] bool Apply(std::string_view key, clENTRY*& found, PARAM_TYPE type, clENTRY&& value,
                                      int index) {
        if (type != PARAM_NONE) return Put(key, found, std::move(value), index);
        found = nullptr;
        return index == SCALAR_INDEX ? Del(key) : Del(key, index);
    }
    // Stores at SCALAR_INDEX, at APPEND_INDEX or in an element; what does not exist is made. PutElement does what turns
    // an entry into a vector or changes one.
    bool Put(std::string_view key, clENTRY*& found, clENTRY&& value, int index) {
        if (index != SCALAR_INDEX && index != APPEND_INDEX) return PutElement(key, found, std::move(value), index);
        if (!found) found = &m_map.FindOrInsert(key);
        if (index == APPEND_INDEX && found->Tag() != ENTRY_EMPTY)
            return PutElement(key, found, std::move(value), index);
        ++m_changes;
        found->Replace(value);
        return true;
    }
    bool PutElement(std::string_view key, clENTRY*& found, clENTRY&& value, int index);
    clENTRY& VectorEntry(std::string_view key);

    PARAMETER_MAP<clENTRY> m_map;
    uint64_t m_changes = 0;  // counts modifications, so that a walk notices them
};
