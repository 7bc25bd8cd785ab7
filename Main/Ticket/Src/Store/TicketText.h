// The payload of a stored text or byte string, and the set of those texts that clients may keep pointers to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "Store/KeyIndex.h"

// One heap block: 16 bytes of header, the characters, a NUL. A std::string on the heap would need two for most texts.
class TICKET_TEXT {
 public:
    // A text that its entry must Release. Throws std::bad_alloc, and std::length_error for an absurd length.
    static TICKET_TEXT* Make(std::string_view characters) {
        if (characters.size() > PTRDIFF_MAX - sizeof(TICKET_TEXT) - 1)
            throw std::length_error("a text longer than memory");
        void* const room = ::operator new(sizeof(TICKET_TEXT) + characters.size() + 1);
        auto* const text = new (room) TICKET_TEXT(characters.size());
        auto* const begin = static_cast<char*>(room) + sizeof(TICKET_TEXT);
        if (!characters.empty()) std::memcpy(begin, characters.data(), characters.size());
        begin[characters.size()] = '\0';
        return text;
    }

    // Called by the entry that owns the text: frees it unless a TICKET_TEXTS keeps it.
    static void Release(TICKET_TEXT* text) noexcept {
        if (text->m_stable != text) ::operator delete(text);
    }

    TICKET_TEXT(TICKET_TEXT const&) = delete;
    TICKET_TEXT& operator=(TICKET_TEXT const&) = delete;

    char const* Characters() const { return reinterpret_cast<char const*>(this) + sizeof(TICKET_TEXT); }
    std::string_view View() const { return {Characters(), m_length}; }

 private:
    friend class TICKET_TEXTS;
    explicit TICKET_TEXT(std::size_t length) : m_length(length) {}

    std::size_t const m_length;
    TICKET_TEXT const* m_stable = nullptr;  // the text of the same characters that a TICKET_TEXTS keeps
};

// One stable text for each distinct text that a file ticket has handed out, for as long as the ticket lives. The set
// keeps the first entry's own block instead of a copy, and every text remembers its stable one: to read a text again
// costs no search. The set must outlive the entries whose texts went through it.
class TICKET_TEXTS {
 public:
    TICKET_TEXTS() = default;
    ~TICKET_TEXTS() {
        for (TICKET_TEXT* const text : m_texts) ::operator delete(text);
    }
    TICKET_TEXTS(TICKET_TEXTS const&) = delete;
    TICKET_TEXTS& operator=(TICKET_TEXTS const&) = delete;

    // The stable characters of this text. Throws std::bad_alloc.
    char const* Stable(TICKET_TEXT& text) {
        if (!text.m_stable) text.m_stable = FindOrInsert(text);
        return text.m_stable->Characters();
    }

 private:
    using ID = KEY_INDEX::ID;  // one more than the position in m_texts

    TICKET_TEXT const* FindOrInsert(TICKET_TEXT& text) {
        std::string_view const key = text.View();
        uint32_t hash = m_index.Hash(key);
        auto const keyOf = [this](ID id) { return m_texts[id - 1]->View(); };
        auto const withKey = [&](ID id) { return keyOf(id) == key ? m_texts[id - 1] : nullptr; };
        if (TICKET_TEXT const* const found = m_index.Find(hash, withKey)) return found;
        if (m_texts.size() == UINT32_MAX) throw std::bad_alloc();
        if (m_index.Reserve(1, keyOf)) hash = m_index.Hash(key);
        m_texts.push_back(&text);
        m_index.Insert(hash, static_cast<ID>(m_texts.size()));
        return &text;
    }

    std::vector<TICKET_TEXT*> m_texts;
    KEY_INDEX m_index;
};
