// The ordered container beneath a ticket: key to value, in ascending byte order.
//
// It is a class of its own so that its data structure can change without touching the typed operations above it.
// Lookups take views and allocate nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

template <typename VALUE>
class PARAMETER_MAP {
 public:
    struct POSITION {
        std::string_view key;  // valid until the parameter is erased
        VALUE* value;          // null at the end
        explicit operator bool() const { return value != nullptr; }
    };

    VALUE* Find(std::string_view key) {
        auto const found = m_values.find(key);
        return found == m_values.end() ? nullptr : &found->second;
    }
    VALUE const* Find(std::string_view key) const { return const_cast<PARAMETER_MAP*>(this)->Find(key); }

    // The value of `key`, default-made if it is new.
    VALUE& FindOrInsert(std::string_view key) {
        auto const place = m_values.lower_bound(key);
        if (place != m_values.end() && place->first == key) return place->second;
        return m_values.emplace_hint(place, std::string(key), VALUE())->second;
    }

    bool Erase(std::string_view key) {
        auto const found = m_values.find(key);
        if (found == m_values.end()) return false;
        m_values.erase(found);
        return true;
    }

    void Clear() { m_values.clear(); }
    bool Empty() const { return m_values.empty(); }

    POSITION First() { return At(m_values.begin()); }
    // The first parameter whose key is greater than `key`.
    POSITION After(std::string_view key) { return At(m_values.upper_bound(key)); }

 private:
    using VALUES = std::map<std::string, VALUE, std::less<>>;
    POSITION At(typename VALUES::iterator place) {
        if (place == m_values.end()) return {{}, nullptr};
        return {place->first, &place->second};
    }

    VALUES m_values;
};
