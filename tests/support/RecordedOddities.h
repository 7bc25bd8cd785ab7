// Records the oddities that a decoder reports, each as "KIND OFFSET+LENGTH".
#pragma once

#include <string>
#include <vector>

#include "Format/Oddities.h"

class RECORDED_ODDITIES final : public TICKET_FORMAT::ODDITY_LISTENER {
 public:
    void Tell(TICKET_FORMAT::ODDITY oddity, std::size_t offset, std::size_t length) override {
        m_told.push_back(NameOf(oddity) + ' ' + std::to_string(offset) + '+' + std::to_string(length));
    }
    std::vector<std::string> const& Told() const { return m_told; }

 private:
    static std::string NameOf(TICKET_FORMAT::ODDITY oddity) {
        using TICKET_FORMAT::ODDITY;
        switch (oddity) {
            case ODDITY::WHITE_SPACE:
                return "white space";
            case ODDITY::UNKNOWN_ESCAPE:
                return "unknown escape";
            case ODDITY::UNFINISHED_ESCAPE:
                return "unfinished escape";
            case ODDITY::NOT_A_NUMBER:
                return "not a number";
            case ODDITY::OUT_OF_RANGE:
                return "out of range";
            case ODDITY::NEGATIVE_WRAPS:
                return "negative wraps";
            case ODDITY::BEHIND_NUMBER:
                return "behind number";
        }
        return "?";
    }

    std::vector<std::string> m_told;
};
