// The order of a map's parameters: their ids in ascending order of their keys, in pages.
//
// Pages are small enough to shift ids within one, and large enough that the list of pages stays short. Ids that arrive
// in order, as they do from a saved file, fill page after page.
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

    // Where an id stands; valid until the next change.
    struct PLACE {
        std::size_t page;
        std::size_t index;
    };

    bool Empty() const { return m_pages.empty(); }
    bool AtEnd(PLACE place) const { return place.page == m_pages.size(); }
    ID operator[](PLACE place) const { return m_pages[place.page]->ids[place.index]; }

    PLACE First() const { return {0, 0}; }
    PLACE End() const { return {m_pages.size(), 0}; }
    // Not when empty.
    ID Last() const { return m_pages.back()->Last(); }
    PLACE Next(PLACE place) const {
        return place.index + 1 < m_pages[place.page]->count ? PLACE{place.page, place.index + 1}
                                                            : PLACE{place.page + 1, 0};
    }

    // The id that stands so many places further on the same page; 0 if none does.
    ID Ahead(PLACE place, std::size_t steps) const {
        PAGE const& page = *m_pages[place.page];
        return place.index + steps < page.count ? page.ids[place.index + steps] : 0;
    }

    // The first place for whose id `isBefore` does not hold. It must hold for the ids of all earlier places.
    template <typename IS_BEFORE>
    PLACE PartitionPoint(IS_BEFORE isBefore) const {
        if (Empty() || isBefore(m_pages.back()->Last())) return {m_pages.size(), 0};
        auto const page = std::partition_point(m_pages.begin(), m_pages.end(),
                                               [&](auto const& one) { return isBefore(one->Last()); });
        auto const& ids = (*page)->ids;
        auto const id = std::partition_point(ids, ids + (*page)->count, isBefore);
        return {static_cast<std::size_t>(page - m_pages.begin()), static_cast<std::size_t>(id - ids)};
    }

    // Puts an id before a place. Throws std::bad_alloc and then has changed nothing.
    void Insert(PLACE place, ID id) {
        place = MakeRoom(place);
        PAGE& page = *m_pages[place.page];
        std::copy_backward(page.ids + place.index, page.ids + page.count, page.ids + page.count + 1);
        page.ids[place.index] = id;
        ++page.count;
    }

    void Erase(PLACE place) noexcept {
        PAGE& page = *m_pages[place.page];
        std::copy(page.ids + place.index + 1, page.ids + page.count, page.ids + place.index);
        --page.count;
        if (m_pages.size() > 1)
            MergeNext(place.page + 1 < m_pages.size() ? place.page : place.page - 1);
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

    // The same place, in a page that is not full.
    PLACE MakeRoom(PLACE place) {
        if (AtEnd(place)) {
            if (!Empty() && m_pages.back()->count < PAGE::CAPACITY) return {place.page - 1, m_pages.back()->count};
            AddPage(place.page);
            return place;
        }
        if (m_pages[place.page]->count < PAGE::CAPACITY) return place;
        PAGE& upper = AddPage(place.page + 1);
        PAGE& lower = *m_pages[place.page];
        upper.count = lower.count / 2;
        lower.count -= upper.count;
        std::copy_n(lower.ids + lower.count, upper.count, upper.ids);
        return place.index <= lower.count ? place : PLACE{place.page + 1, place.index - lower.count};
    }

    PAGE& AddPage(std::size_t at) {
        auto page = std::make_unique<PAGE>();
        return **m_pages.insert(m_pages.begin() + static_cast<std::ptrdiff_t>(at), std::move(page));
    }

    // Joins a page with its successor when one is empty or both together are at most half full.
    bool MergeNext(std::size_t at) noexcept {
        PAGE& page = *m_pages[at];
        PAGE const& next = *m_pages[at + 1];
        std::size_t const both = page.count + next.count;
        if (page.count > 0 && next.count > 0 && both > PAGE::CAPACITY / 2) return false;
        std::copy_n(next.ids, next.count, page.ids + page.count);
        page.count = static_cast<uint32_t>(both);
        m_pages.erase(m_pages.begin() + static_cast<std::ptrdiff_t>(at) + 1);
        return true;
    }

    std::vector<std::unique_ptr<PAGE>> m_pages;
};
