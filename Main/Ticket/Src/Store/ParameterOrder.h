// The order of a map's parameters: their ids in ascending order of their keys, in pages.
//
// Pages are small enough to shift ids within one (255 ids, 1 KiB), and large enough that the list of pages stays short.
// Ids that arrive in order, as they do from a saved file, fill page after page.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class PARAMETER_ORDER {
 public:
    using ID = uint32_t;

    // The position of an id; valid until the next change.
    struct CURSOR {
        std::size_t page;
        std::size_t index;
    };

    bool Empty() const { return m_pages.empty(); }
    bool AtEnd(CURSOR cursor) const { return cursor.page == m_pages.size(); }
    ID operator[](CURSOR cursor) const { return m_pages[cursor.page]->ids[cursor.index]; }

    CURSOR First() const { return {0, 0}; }
    // The order must not be empty.
    ID Last() const { return m_pages.back()->Last(); }
    CURSOR Next(CURSOR cursor) const {
        return cursor.index + 1 < m_pages[cursor.page]->count ? CURSOR{cursor.page, cursor.index + 1}
                                                              : CURSOR{cursor.page + 1, 0};
    }

    // The id that stands `steps` ids further on the same page; 0 if the page ends before.
    ID Ahead(CURSOR cursor, std::size_t steps) const {
        PAGE const& page = *m_pages[cursor.page];
        return cursor.index + steps < page.count ? page.ids[cursor.index + steps] : 0;
    }

    // The first position for whose id `isBefore` does not hold. It must hold for the ids of all earlier positions.
    template <typename IS_BEFORE>
    CURSOR PartitionPoint(IS_BEFORE isBefore) const {
        if (Empty() || isBefore(m_pages.back()->Last())) return {m_pages.size(), 0};
        auto const page = std::partition_point(m_pages.begin(), m_pages.end(),
                                               [&](auto const& one) { return isBefore(one->Last()); });
        auto const& ids = (*page)->ids;
        auto const id = std::partition_point(ids, ids + (*page)->count, isBefore);
        return {static_cast<std::size_t>(page - m_pages.begin()), static_cast<std::size_t>(id - ids)};
    }

    template <typename ACTION>
    void ForEach(ACTION const& action) const {
        for (auto const& page : m_pages) std::for_each(page->ids, page->ids + page->count, action);
    }

    // Adds an id at the end. Throws std::bad_alloc and then has changed nothing.
    void Append(ID id) {
        if (Empty() || m_pages.back()->count == PAGE::CAPACITY) AddPage(m_pages.size());
        PAGE& page = *m_pages.back();
        page.ids[page.count++] = id;
    }

    // Inserts an id in front of a position. Throws std::bad_alloc and then has changed nothing.
    void Insert(CURSOR cursor, ID id) {
        if (AtEnd(cursor)) return Append(id);
        cursor = MakeRoom(cursor);
        PAGE& page = *m_pages[cursor.page];
        std::copy_backward(page.ids + cursor.index, page.ids + page.count, page.ids + page.count + 1);
        page.ids[cursor.index] = id;
        ++page.count;
    }

    void Erase(CURSOR cursor) noexcept {
        PAGE& page = *m_pages[cursor.page];
        std::copy(page.ids + cursor.index + 1, page.ids + page.count, page.ids + cursor.index);
        --page.count;
        if (m_pages.size() > 1)
            MergeNext(cursor.page + 1 < m_pages.size() ? cursor.page : cursor.page - 1);
        else if (page.count == 0)
            m_pages.clear();
    }

    void Clear() noexcept { *this = PARAMETER_ORDER(); }

 private:
    struct PAGE {
        static constexpr std::size_t CAPACITY = 255;
        uint32_t count;
        ID ids[CAPACITY];
        ID Last() const { return ids[count - 1]; }
    };

    // Splits the page of a position if it is full, and returns where the position is now. Not for the end.
    CURSOR MakeRoom(CURSOR cursor) {
        if (m_pages[cursor.page]->count < PAGE::CAPACITY) return cursor;
        PAGE& upper = AddPage(cursor.page + 1);
        PAGE& lower = *m_pages[cursor.page];
        upper.count = lower.count / 2;
        lower.count -= upper.count;
        std::copy_n(lower.ids + lower.count, upper.count, upper.ids);
        return cursor.index <= lower.count ? cursor : CURSOR{cursor.page + 1, cursor.index - lower.count};
    }

    PAGE& AddPage(std::size_t at) {
        auto page = std::make_unique<PAGE>();
        return **m_pages.insert(m_pages.begin() + static_cast<std::ptrdiff_t>(at), std::move(page));
    }

    // Joins a page with its successor when one is empty or both together are at most half full.
    void MergeNext(std::size_t at) noexcept {
        PAGE& page = *m_pages[at];
        PAGE const& next = *m_pages[at + 1];
        std::size_t const both = page.count + next.count;
        if (page.count > 0 && next.count > 0 && both > PAGE::CAPACITY / 2) return;
        std::copy_n(next.ids, next.count, page.ids + page.count);
        page.count = static_cast<uint32_t>(both);
        m_pages.erase(m_pages.begin() + static_cast<std::ptrdiff_t>(at) + 1);
    }

    std::vector<std::unique_ptr<PAGE>> m_pages;
};
