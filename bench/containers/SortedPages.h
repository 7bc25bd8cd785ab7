// Candidate: the arena and the order index of the container in use, without its hash table.
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
        explicit operator bool() const { return m_value != nullptr; }
        std::string_view Key() const { return m_value->Key(); }
        VALUE const& Value() const { return *m_value; }

     private:
        friend class SORTED_PARAMETER_MAP;
        POSITION(PARAMETER_ORDER::CURSOR cursor, KEYED_VALUE<VALUE> const* value) : m_cursor(cursor), m_value(value) {}
        PARAMETER_ORDER::CURSOR m_cursor;
        KEYED_VALUE<VALUE> const* m_value;
    };

    SORTED_PARAMETER_MAP() = default;
    SORTED_PARAMETER_MAP(SORTED_PARAMETER_MAP const&) = delete;
    SORTED_PARAMETER_MAP& operator=(SORTED_PARAMETER_MAP const&) = delete;
    ~SORTED_PARAMETER_MAP() {
        for (auto cursor = m_order.First(); !m_order.AtEnd(cursor); cursor = m_order.Next(cursor))
            m_arena.Free(m_order[cursor]);
    }

    VALUE const* Find(std::string_view key) const {
        auto const cursor = LowerBound(key);
        return Is(cursor, key) ? &m_arena[m_order[cursor]] : nullptr;
    }
    VALUE& FindOrInsert(std::string_view key) {
        auto const cursor = LowerBound(key);
        if (Is(cursor, key)) return m_arena[m_order[cursor]];
        uint32_t const id = m_arena.Make(key);
        m_order.Insert(cursor, id);
        return m_arena[id];
    }

    POSITION First() const { return At(m_order.First()); }
    POSITION Next(POSITION const& position) const { return At(m_order.Next(position.m_cursor)); }

 private:
    PARAMETER_ORDER::CURSOR LowerBound(std::string_view key) const {
        return m_order.PartitionPoint([&](uint32_t id) { return m_arena[id].Key() < key; });
    }
    bool Is(PARAMETER_ORDER::CURSOR cursor, std::string_view key) const {
        return !m_order.AtEnd(cursor) && m_arena[m_order[cursor]].Key() == key;
    }
    POSITION At(PARAMETER_ORDER::CURSOR cursor) const {
        return {cursor, m_order.AtEnd(cursor) ? nullptr : &m_arena[m_order[cursor]]};
    }

    PARAMETER_ARENA<VALUE> m_arena;
    PARAMETER_ORDER m_order;
};
