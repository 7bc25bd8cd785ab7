// Splitting text at delimiters.
#include <gtest/gtest.h>

#include "ConfigurationControl/ConfigurationCtrl.h"

namespace {

using TOKENS = std::vector<std::string>;

TEST(Tokenize, SplitsAtRunsOfDelimiters) {
    struct {
        char const* text;
        char const* delimiters;
        TOKENS tokens;
    } const cases[] = {
        {"a/b", "/", {"a", "b"}},
        {"/a//b/", "/", {"", "a", "b"}},
        {"", "/", {""}},
        {"/", "/", {""}},
        {"///", "/", {""}},
        {"a", "/", {"a"}},
        {"a///", "/", {"a"}},
        {"a,b;c", ",;", {"a", "b", "c"}},
        {"a,;,b", ",;", {"a", "b"}},
        {"a/b", "", {"a/b"}},
        {"", "", {""}},
    };
    for (auto const& [text, delimiters, expected] : cases) {
        TOKENS tokens;
        CConfigurationControl::Tokenize(text, tokens, delimiters);
        EXPECT_EQ(tokens, expected) << "\"" << text << "\" at \"" << delimiters << "\"";
    }
}

TEST(Tokenize, AppendsToWhatTheVectorHolds) {
    TOKENS tokens{"before"};
    CConfigurationControl::Tokenize("a/b", tokens, "/");
    EXPECT_EQ(tokens, (TOKENS{"before", "a", "b"}));
}

TEST(Tokenize, TakesItsArgumentsFromTheVectorItFills) {
    TOKENS tokens{"first/second/third/a-component-too-long-to-be-stored-inside-the-string-object", "/"};
    tokens.shrink_to_fit();
    CConfigurationControl::Tokenize(tokens[0], tokens, tokens[1]);
    EXPECT_EQ(TOKENS(tokens.begin() + 2, tokens.end()),
              (TOKENS{"first", "second", "third", "a-component-too-long-to-be-stored-inside-the-string-object"}));
}

TEST(Tokenize, KeepsNulBytesOfTheText) {
    TOKENS tokens;
    CConfigurationControl::Tokenize(std::string("a\0b/c", 5), tokens, "/");
    EXPECT_EQ(tokens, (TOKENS{std::string("a\0b", 3), "c"}));
}

}  // namespace
