#include "Listing.h"

#include <iostream>

#include "Text.h"

LISTING::LISTING(ARGUMENTS const& arguments, std::string const& file)
    : m_schema(arguments, file),
      m_hidesSecrets(!arguments.Has("--show-secrets") && (arguments.Has("--redact") || OUTPUT::IsForPeople())),
      m_end(arguments.Has("-z") ? '\0' : '\n') {}

bool LISTING::Hides(std::string const& key) const {
    return m_hidesSecrets && m_schema.IsSecret(key);
}

void LISTING::Print(std::string const& key, PARAMETER const& parameter, char const* mark, COLOUR colour) const {
    bool const isHidden = Hides(key);
    for (std::size_t i = 0; i < parameter.size(); ++i) {
        auto const& value = parameter[i];
        auto line = mark + (m_end == '\0' ? key : Printable(key));
        if (parameter.size() > 1) line += "[" + std::to_string(i) + "]";
        line += std::string("\t") + TypeName(value) + "\t";
        line += isHidden ? HIDDEN_VALUE : OneLine(value);
        std::cout << COLOURED{line, colour} << m_end;
    }
}

void LISTING::PrintKey(std::string const& key) const {
    std::cout << (OUTPUT::IsForPeople() ? Printable(key) : key) << m_end;
}

bool LISTING::PrintDifferences(TICKET const* before, TICKET const* after,
                               std::vector<std::string> const& selectors) const {
    auto const keysOf = [&](TICKET const* ticket) {
        return ticket == nullptr ? std::vector<std::string>() : ticket->Keys(selectors);
    };
    auto const old = keysOf(before);
    auto const now = keysOf(after);
    bool differs = false;
    auto left = old.begin();
    auto right = now.begin();
    while (left != old.end() || right != now.end()) {
        bool const takeLeft = right == now.end() || (left != old.end() && *left <= *right);
        bool const takeRight = left == old.end() || (right != now.end() && *right <= *left);
        auto const a = takeLeft ? before->Read(*left) : std::nullopt;
        auto const b = takeRight ? after->Read(*right) : std::nullopt;
        bool const isSame = a && b ? SameParameter(*a, *b) : !a && !b;
        if (!isSame) {
            differs = true;
            if (a) Print(*left, *a, "- ", COLOUR::RED);
            if (b) Print(*right, *b, "+ ", COLOUR::GREEN);
        }
        if (takeLeft) ++left;
        if (takeRight) ++right;
    }
    return differs;
}
