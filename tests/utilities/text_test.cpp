#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utilities/StringParser.h"
#include "utilities/TextEscape.h"

using Parts = std::vector<std::string>;

TEST(StringParser, SplitsPadsAndAppends) {
    struct Case {
        const char* text;
        char delimiter;
        int n;
        Parts expected;
    };
    const Case cases[] = {
        {"a,,b", ',', 0, {"a", "", "b"}},
        {"a,", ',', 0, {"a", ""}},
        {",a", ',', 0, {"", "a"}},
        {",", ',', 0, {"", ""}},
        {"a", ',', 5, {"a", "", "", "", ""}},
        {"", ',', 0, {}},
        {"", ',', 3, {"", "", ""}},
        {"1|22|333", '|', 2, {"1", "22", "333"}},  // n never truncates
        {"x y", ',', 0, {"x y"}},
        {"a,b", ',', -1, {"a", "b"}},
    };
    for (const Case& c : cases) {
        StringParser parser(c.text, c.delimiter);
        EXPECT_EQ(parser.getComponents(c.n), c.expected) << '"' << c.text << "\" n=" << c.n;
    }

    // The list is kept between calls; padding counts only the components of the current call.
    StringParser parser("p,q", ',');
    parser.getComponents();
    Parts& twice = parser.getComponents(3);
    EXPECT_EQ(twice, (Parts{"p", "q", "p", "q", ""}));
    EXPECT_EQ(&twice, &parser.getComponents());
}

TEST(StringParser, NthDelimiterCountsOnlyItsDelimiter) {
    NthDelimiter any(0, ',');
    EXPECT_TRUE(any('x'));
    NthDelimiter second(2, ',');
    EXPECT_FALSE(second('a'));
    EXPECT_FALSE(second(','));
    EXPECT_FALSE(second('b'));
    EXPECT_TRUE(second(','));
    EXPECT_EQ(second.count, 2);
    EXPECT_FALSE(second(','));  // past the wanted one
}

TEST(TextUtilities, TrimKeepsInnerAndHighBitCharacters) {
    struct Case {
        const char* in;
        const char* out;
    };
    const Case cases[] = {
        {"", ""},
        {" \t\r\n\v\f", ""},
        {"  a b  ", "a b"},
        {"\tx", "x"},
        {"x\n", "x"},
        {"\xC2\xA0name\xC2\xA0", "\xC2\xA0name\xC2\xA0"},  // UTF-8 no-break space at both ends stays
        {" \xA0 ", "\xA0"},
        {"\x85", "\x85"},
    };
    for (const Case& c : cases) {
        std::string text = c.in;
        trimWhiteSpace(text);
        EXPECT_EQ(text, c.out) << '"' << c.in << '"';
    }
}

TEST(TextUtilities, EncodeHidesTheCharacterAndDecodeRestores) {
    struct Case {
        const char* plain;
        const char* encoded;
    };
    const Case cases[] = {
        {"", "`"},     {"x,y", "x~1y"},   {"x~y", "x~2y"}, {"`a,b", "``a~1b"}, {"`", "``"},
        {"``", "```"}, {",~,", "~1~2~1"}, {"a`b", "a`b"},  {"~1", "~21"},      {"plain text", "plain text"},
    };
    for (const Case& c : cases) {
        std::string text = c.plain;
        std::string& same = transform_string_encode(text, ',', '~');
        EXPECT_EQ(&same, &text);
        EXPECT_EQ(text, c.encoded) << '"' << c.plain << '"';
        EXPECT_EQ(text.find(','), std::string::npos);
        EXPECT_EQ(&transform_string_decode(text, ',', '~'), &text);
        EXPECT_EQ(text, c.plain) << '"' << c.encoded << '"';
    }
    // Escape followed by anything but '1' decodes to the escape and drops that character.
    std::string odd = "a~xb";
    EXPECT_EQ(transform_string_decode(odd, ',', '~'), "a~b");
}

TEST(TextUtilities, EncodeDecodeRoundTripsEveryShortText) {
    // All texts up to four characters over an alphabet holding the hidden character, the escape, the digits
    // the escape uses and the backtick.
    const std::string alphabet = ",~12`a";
    std::vector<std::string> texts{""};
    for (size_t begin = 0, len = 0; len < 4; ++len) {
        const size_t end = texts.size();
        for (size_t i = begin; i < end; ++i)
            for (char c : alphabet) texts.push_back(texts[i] + c);
        begin = end;
    }
    ASSERT_EQ(texts.size(), 1u + 6 + 36 + 216 + 1296);
    for (const std::string& plain : texts) {
        std::string text = plain;
        transform_string_encode(text, ',', '~');
        ASSERT_EQ(text.find(','), std::string::npos) << plain;
        ASSERT_FALSE(text.empty());
        transform_string_decode(text, ',', '~');
        ASSERT_EQ(text, plain);
    }
}
