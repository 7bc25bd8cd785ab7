// Candidate: the standard ordered map, one node and one string for each key.

#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>

template <typename VALUE>
class STD_PARAMETER_MAP {
    using VALUES = std::map<std::string, VALUE, std::less<>>;

 public:
    // A position in the key order, valid until the next insertion or erasure. False after the last key.
    class POSITION {
     public:
        explicit operator bool() const { return m_place != m_end; }
        std::string_view Key() const { return m_place->first; }
        VALUE const& Value() const { return m_place->second; }

     private:
        friend class STD_PARAMETER_MAP;
        POSITION(typename VALUES::const_iterator place, typename VALUES::const_iterator end)
            : m_place(place), m_end(end) {}
        typename VALUES::const_iterator m_place;
        typename VALUES::const_iterator m_end;
    };

    VALUE const* Find(std::string_view key) const {
        auto const found = m_values.find(key);
        return found == m_values.end() ? nullptr : &found->second;
    }
    VALUE* Find(std::string_view key) { return const_cast<VALUE*>(std::as_const(*this).Find(key)); }

    // The value of `key`, default-constructed if the key is new. An exception leaves the map unchanged.
    VALUE& FindOrInsert(std::string_view key) {
        auto const place = m_values.lower_bound(key);
        if (place != m_values.end() && place->first == key) return place->second;
        return m_values.emplace_hint(place, std::string(key), VALUE())->second;
    }

    // `key` may be a view of the erased key or value.
    bool Erase(std::string_view key) {
        auto const found = m_values.find(key);
        if (found == m_values.end()) return false;
        m_values.erase(found);
        return true;
    }

    void Clear() { m_values.clear(); }

    POSITION First() const { return {m_values.begin(), m_values.end()}; }
    POSITION Next(POSITION const& position) const { return {std::next(position.m_place), m_values.end()}; }
    // The first key greater than `key`, which need not be in the map.
    POSITION After(std::string_view key) const { return {m_values.upper_bound(key), m_values.end()}; }

 private:
    VALUES m_values;
};
