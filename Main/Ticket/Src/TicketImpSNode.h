// A ticket's parameters: the ordered map from key to typed value, its entry-level operations, the converting access
// that the tables offer, and the walks.
//
// No locking: a node belongs to one ticket, which calls it with its mutex held. No operation throws on bad input;
// exhausted memory throws std::bad_alloc (GetParameter and SetParameter catch it and fail).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"
#include "ParameterMap.h"

class clTICKETNODE {
 public:
    // What a stored value is; internal, see TypeOf for the PARAM_TYPE that stands for it outside.
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

    // One stored value: a tag and a 64-bit payload. Owns text, bytes and elements; copies deeply.
    class clENTRY {
     public:
        using VECTOR = std::vector<clENTRY>;

        clENTRY() noexcept = default;
        explicit clENTRY(double value) noexcept;              // stored as given, infinities and NaN too
        explicit clENTRY(int value) noexcept;                 // ENTRY_NUMBER
        explicit clENTRY(unsigned int value) noexcept;        // ENTRY_NUMBER
        explicit clENTRY(long long value) noexcept;           // ENTRY_NUMBER within +-2^53
        explicit clENTRY(unsigned long long value) noexcept;  // ENTRY_NUMBER up to 2^53, ENTRY_INT64 below 2^63
        explicit clENTRY(std::string text);                   // ENTRY_STRING
        explicit clENTRY(BIN_STRING const& bytes);            // ENTRY_BINARY; null data is empty whatever the length
        explicit clENTRY(void* pointer) noexcept;             // ENTRY_POINTER
        explicit clENTRY(VECTOR elements);
        clENTRY(clENTRY const& source);
        clENTRY(clENTRY&& source) noexcept;
        clENTRY& operator=(clENTRY const& source);
        clENTRY& operator=(clENTRY&& source) noexcept;
        ~clENTRY();

        TAG Tag() const noexcept { return m_tag; }
        // The PARAM_TYPE that stands for this entry; false and PARAM_NONE for ENTRY_EMPTY.
        bool TypeOf(PARAM_TYPE& type) const noexcept;
        double Number() const noexcept { return m_payload.number; }
        std::string const& Text() const noexcept { return *m_payload.text; }  // ENTRY_STRING and ENTRY_BINARY
        void* Pointer() const noexcept { return m_payload.pointer; }
        VECTOR const& Elements() const noexcept { return *m_payload.elements; }
        VECTOR& Elements() noexcept { return *m_payload.elements; }
        long long Int64() const noexcept { return m_payload.int64; }
        unsigned long long Uint64() const noexcept { return m_payload.uint64; }

        static void _swap(clENTRY& a, clENTRY& b) noexcept;

     private:
        friend class clTICKETNODE;
        void _construct(clENTRY const& source);
        void _destruct() noexcept;

        union PAYLOAD {
            double number;
            long long int64;
            unsigned long long uint64;
            void* pointer;
            std::string* text;
            VECTOR* elements;
        } m_payload{};
        TAG m_tag = ENTRY_EMPTY;
    };

    // Entry level. An index is an element position; on a scalar only 0 is the scalar itself.
    bool SetEntry(std::string_view key, clENTRY const& entry);
    bool SetEntry(std::string_view key, int index, clENTRY const& entry);  // replaces, or appends at the end
    clENTRY::VECTOR* SetVector(std::string_view key);  // makes the key a vector; a scalar becomes its only element
    bool AddEntry(std::string_view key, clENTRY const& entry);
    bool Del(std::string_view key);
    bool Del(std::string_view key, int index);
    clENTRY const* GetEntry(std::string_view key) const;
    clENTRY const* GetEntry(std::string_view key, int index) const;
    bool GetType(std::string_view key, int& type) const;
    bool GetType(std::string_view key, int index, int& type) const;

    bool Set(std::string_view key, unsigned long long value);
    bool Set(std::string_view key, std::string value);
    bool Set(std::string_view key, int index, double value);
    bool Set(std::string_view key, int index, std::string value);

    // Typed getters. A failure writes 0, null or {null, 0} and returns false. Get refuses vectors.
    bool Get(std::string_view key, double& value) const;
    bool Get(std::string_view key, int& value) const;
    bool Get(std::string_view key, unsigned int& value) const;
    bool Get(std::string_view key, long long& value) const;
    bool Get(std::string_view key, unsigned long long& value) const;
    bool Get(std::string_view key, char const*& value) const;
    bool Get(std::string_view key, BIN_STRING& value) const;
    bool Get(std::string_view key, void*& value) const;
    bool GetV(std::string_view key, int index, double& value) const;
    bool GetV(std::string_view key, int index, int& value) const;
    bool GetV(std::string_view key, int index, unsigned int& value) const;
    bool GetV(std::string_view key, int index, long long& value) const;
    bool GetV(std::string_view key, int index, unsigned long long& value) const;
    bool GetV(std::string_view key, int index, char const*& value) const;
    bool GetV(std::string_view key, int index, BIN_STRING& value) const;
    bool GetV(std::string_view key, unsigned long& count) const;  // elements; 1 for any scalar

    // Converting access, as the table entries of the same names offer it.
    bool GetParameter(char const* key, PARAM_TYPE type, void* value, int index) const;
    bool SetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    bool GetMultiParameter(GETMULTIPAR* records) const;
    bool SetMultiParameter(SETMULTIPAR* records);  // reads every value before it changes anything

    // Walks in key order; see STICKET_ACCESS::WalkParameter for the levels. The callback may change this node: the walk
    // goes on with the next key after the last one. False when the callback ended the walk. `prefix` is ignored.
    bool Walk(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);
    // The same over a copy taken first; pointers handed out die with the copy.
    bool WalkSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);
    // As above; false only for a null callback.
    bool WalkParameter(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);
    bool WalkParameterSorted(STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);

    // Scalar values, each element of each vector counted, vectors themselves not.
    unsigned long Size();
    bool NonEmpty();  // whether Size is above 0; stops at the first value
    void Clear();

 private:
    PARAMETER_MAP<clENTRY> m_map;
    uint64_t m_changes = 0;  // counts modifications, so that a walk notices them
};
