// Turns a leaf of a ticket file into a key and a value, for both readers.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "ConfigurationControl/TicketRecords.h"

// Receives the values that a reader finds. All functions get `context`. Their exceptions pass through the reader.
struct LEAF_RECEIVER {
    // Stores one value; `key`, which a NUL follows, and `value` are valid during the call. `index` is APPEND_INDEX, so
    // that sibling leaves of one name become a vector. The result is ignored.
    using SET = int (*)(void* context, std::string_view key, PARAM_TYPE type, void const* value, int index);
    SET set;
    void* context;
    // False for a key whose values are neither to be decoded nor set. Null: all are wanted.
    bool (*wants)(void* context, std::string_view key) = nullptr;
    // Drops all values that were set: the text is no document, or is read again. Null: nothing to drop.
    void (*drop)(void* context) = nullptr;
    // As `set`, for a value with the key of the call before, so that a long key of a vector is searched once and not
    // for each element. Null: `set` does.
    SET setLater = nullptr;
};

// The type of that name in a file; PARAM_NONE for any other text.
PARAM_TYPE TypeNamed(std::string_view name);

// The key of the current element.
class KEY_PATH {
 public:
    // Puts the name of an element, and a NUL, after the first `parent` bytes of the path. Returns where the name ends.
    std::size_t Append(std::size_t parent, std::string_view name) {
        std::size_t const end = parent + name.size();
        if (m_text.size() <= end) m_text.resize(2 * (end + 1));
        char* const text = m_text.data();
        std::memcpy(text + parent, name.data(), name.size());
        text[end] = '\0';
        return end;
    }
    // Appends "/" to the last element. Returns the `parent` of the elements inside: where the path ends now, or the
    // same as before for an element without a name or named "ticket", which is no part of keys.
    std::size_t Enter(std::size_t parent, std::string_view name);

    char const* Text() const { return m_text.data(); }

 private:
    std::string m_text = std::string(128, '\0');
};

// Turns the text of a leaf into a value and hands it to the receiver.
class LEAF_SETTER {
 public:
    explicit LEAF_SETTER(LEAF_RECEIVER const& receiver)
        : m_receiver(receiver), m_setLater(receiver.setLater != nullptr ? receiver.setLater : receiver.set) {}

    bool IsWanted(std::string_view key) const {
        return m_receiver.wants == nullptr || m_receiver.wants(m_receiver.context, key);
    }
    // A NUL follows `key` and `text`. `isPlain`: neither decoding nor normalising would change the text.
    // `isLater`: the key is that of the call before.
    void Set(std::string_view key, PARAM_TYPE type, std::string_view text, bool isPlain, bool isLater);

 private:
    template <typename VALUE>
    void Hand(std::string_view key, PARAM_TYPE type, VALUE const& value) {
        m_set(m_receiver.context, key, type, &value, APPEND_INDEX);
    }
    template <typename NUMBER>
    void HandNumber(std::string_view key, PARAM_TYPE type, std::string_view text, bool isPlain);
    std::string_view Decoded(std::string_view text);

    LEAF_RECEIVER const& m_receiver;
    LEAF_RECEIVER::SET const m_setLater;
    LEAF_RECEIVER::SET m_set = nullptr;  // for the current value
    std::string m_space;                 // scratch
    std::string m_value;                 // scratch
};
