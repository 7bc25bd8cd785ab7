// A reference model of a ticket's advisory locks.
#pragma once

#include <iterator>
#include <map>
#include <optional>

class LOCK_RULES {
 public:
    // The result of a request; updates `owner`. No owner: the host passes a null pointer.
    bool Request(int number, std::optional<int>* owner, bool isLock) {
        if (!*owner) return false;
        if (number == EVERY) return !isLock && ReleaseAll(&**owner);
        return number >= 0 && number < NUMBER && One(number, &**owner, isLock);
    }

 private:
    static constexpr int NUMBER = 20;
    static constexpr int NOBODY = -1;
    static constexpr int EVERY = -2;
    struct LOCK {
        int owner;
        unsigned int count;
    };

    bool ReleaseAll(int* owner) {
        if (*owner == EVERY) {
            m_held.clear();
            return true;
        }
        // Free locks count as released by their owner, nobody.
        bool released = *owner == NOBODY && m_held.size() < NUMBER;
        for (auto at = m_held.begin(); at != m_held.end();) {
            bool const isHis = at->second.owner == *owner;
            released = released || isHis;
            at = isHis ? m_held.erase(at) : std::next(at);
        }
        if (m_held.empty()) *owner = NOBODY;
        return released;
    }

    bool One(int number, int* owner, bool isLock) {
        if (*owner == EVERY) return !isLock && (m_held.erase(number), true);
        auto const held = m_held.find(number);
        if (held != m_held.end() && held->second.owner != *owner) {
            *owner = held->second.owner;
            return false;
        }
        if (isLock) {
            // A lock taken for nobody stays free.
            if (*owner != NOBODY) ++m_held.insert({number, {*owner, 0}}).first->second.count;
            return true;
        }
        if (held != m_held.end() && --held->second.count > 0) return true;
        m_held.erase(number);
        *owner = NOBODY;
        return true;
    }

    std::map<int, LOCK> m_held;
};
