#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utilities/StringParser.h"
#include "utilities/TextEscape.h"

using Parts = std::vector<std::string>;

TEST(StringParser, SplitsPadsAndAppends) {
    struct Case {
        const char* text;
        int n;
        Parts expected;
    };
    // n pads but never truncates.
    // clang-format off
    const Case cases[] = {{"a,,b", 0, {"a", "", "b"}}, {"a,", 0, {"a", ""}}, {",a", 0, {"", "a"}},
        {",", 0, {"", ""}}, {"a", 5, {"a", "", "", "", ""}}, {"", 0, {}}, {"", 3, {"", "", ""}},
        {"1,22,333", 2, {"1", "22", "333"}}, {"x y", 0, {"x y"}}, {"a,b", -1, {"a", "b"}}};
    // clang-format on
    for (const Case& c : cases) {
        StringParser parser(c.text, ',');
        EXPECT_EQ(parser.getComponents(c.n), c.expected) << '"' << c.text << "\" n=" << c.n;
    }
    StringParser pipes("1|2", '|');
    EXPECT_EQ(pipes.getComponents(), (Parts{"1", "2"}));

    // The list is kept between calls; padding counts only the components of the current call.
    StringParser parser("p,q", ',');
    parser.getComponents();
    Parts& twice = parser.getComponents(3);
    EXPECT_EQ(twice, (Parts{"p", "q", "p", "q", ""}));
    EXPECT_EQ(&twice, &parser.getComponents());

    NthDelimiter any(0, ','), second(2, ',');
    EXPECT_TRUE(any('x'));
    std::string answers;
    for (char c : std::string("a,b,,")) answers += second(c) ? '1' : '0';
    EXPECT_EQ(answers, "00010");  // true at the second delimiter only, never past it
    EXPECT_EQ(second.count, 3);
}

TEST(TextUtilities, TrimKeepsInnerAndHighBitCharacters) {
    // A UTF-8 no-break space or other high-bit byte at either end stays.
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {{"", ""}, {" \t\r\n\v\f", ""}, {"  a b  ", "a b"},
        {"\tx", "x"}, {"x\n", "x"}, {"\xC2\xA0name\xC2\xA0", "\xC2\xA0name\xC2\xA0"}, {" \xA0 ", "\xA0"},
        {"\x85", "\x85"}};
    // clang-format on
    for (const auto& [in, out] : cases) {
        std::string text = in;
        trimWhiteSpace(text);
        EXPECT_EQ(text, out) << '"' << in << '"';
    }
}

TEST(TextUtilities, EncodeHidesTheCharacterAndDecodeRestores) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "`"},     {"x,y", "x~1y"},   {"x~y", "x~2y"}, {"`a,b", "``a~1b"}, {"`", "``"},
        {"``", "```"}, {",~,", "~1~2~1"}, {"a`b", "a`b"},  {"~1", "~21"},      {"plain text", "plain text"}};
    for (const auto& [plain, encoded] : cases) {
        std::string text = plain;
        EXPECT_EQ(&transform_string_encode(text, ',', '~'), &text);
        EXPECT_EQ(text, encoded) << '"' << plain << '"';
        EXPECT_EQ(&transform_string_decode(text, ',', '~'), &text);
        EXPECT_EQ(text, plain) << '"' << encoded << '"';
    }
    // Escape followed by anything but '1' decodes to the escape and drops that character.
    std::string odd = "a~xb";
    EXPECT_EQ(transform_string_decode(odd, ',', '~'), "a~b");

    // Every text up to four characters over the hidden character, the escape, its digits and the backtick.
    std::vector<std::string> texts{""};
    for (size_t begin = 0, len = 0; len < 4; ++len) {
        const size_t end = texts.size();
        for (size_t i = begin; i < end; ++i)
            for (char c : std::string(",~12`a")) texts.push_back(texts[i] + c);
        begin = end;
    }
    for (const std::string& plain : texts) {
        std::string text = plain;
        transform_string_encode(text, ',', '~');
        ASSERT_EQ(text.find(','), std::string::npos) << plain;
        ASSERT_FALSE(text.empty());
        transform_string_decode(text, ',', '~');
        ASSERT_EQ(text, plain);
    }
}
