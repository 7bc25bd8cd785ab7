// Candidate: the arena and the index of the order that are in use, without the hash table beside them.
#pragma once

#include <cstdint>
#include <string_view>

#include "Store/ParameterArena.h"
#include "Store/ParameterOrder.h"

template <typename VALUE>
class SORTED_PARAMETER_MAP {
 public:
    class POSITION {
     public:
        explicit operator bool() const { return m_entry != nullptr; }
        std::string_view Key() const { return m_entry->Key(); }
        VALUE const& Value() const { return *m_entry; }

     private:
        friend class SORTED_PARAMETER_MAP;
        POSITION(PARAMETER_ORDER::PLACE place, KEYED_VALUE<VALUE> const* entry) : m_place(place), m_entry(entry) {}
        PARAMETER_ORDER::PLACE m_place;
        KEYED_VALUE<VALUE> const* m_entry;
    };

    SORTED_PARAMETER_MAP() = default;
    SORTED_PARAMETER_MAP(SORTED_PARAMETER_MAP const&) = delete;
    SORTED_PARAMETER_MAP& operator=(SORTED_PARAMETER_MAP const&) = delete;
    ~SORTED_PARAMETER_MAP() {
        for (auto place = m_order.First(); !m_order.AtEnd(place); place = m_order.Next(place))
            m_arena.Free(m_order[place]);
    }

    VALUE const* Find(std::string_view key) const {
        auto const place = LowerBound(key);
        return Is(place, key) ? &m_arena[m_order[place]] : nullptr;
    }
    VALUE& FindOrInsert(std::string_view key) {
        auto const place = LowerBound(key);
        if (Is(place, key)) return m_arena[m_order[place]];
        uint32_t const id = m_arena.Make(key);
        m_order.Insert(place, id);
        return m_arena[id];
    }

    POSITION First() const { return At(m_order.First()); }
    POSITION Next(POSITION const& position) const { return At(m_order.Next(position.m_place)); }

 private:
    PARAMETER_ORDER::PLACE LowerBound(std::string_view key) const {
        return m_order.PartitionPoint([&](uint32_t id) { return m_arena[id].Key() < key; });
    }
    bool Is(PARAMETER_ORDER::PLACE place, std::string_view key) const {
        return !m_order.AtEnd(place) && m_arena[m_order[place]].Key() == key;
    }
    POSITION At(PARAMETER_ORDER::PLACE place) const {
        return {place, m_order.AtEnd(place) ? nullptr : &m_arena[m_order[place]]};
    }

    PARAMETER_ARENA<VALUE> m_arena;
    PARAMETER_ORDER m_order;
};
