#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utilities/UtfConverter.h"
#include "utilities/WideText.h"

namespace {
// Independent reference encoding of one BMP code point, for checking the converters against.
std::string utf8Of(unsigned cp) {
    if (cp < 0x80) return std::string(1, static_cast<char>(cp));
    if (cp < 0x800) return {static_cast<char>(0xC0 | (cp >> 6)), static_cast<char>(0x80 | (cp & 0x3F))};
    return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)),
            static_cast<char>(0x80 | (cp & 0x3F))};
}
}  // namespace

TEST(WideText, EveryBmpCharacterRoundTrips) {
    std::wstring all;
    std::string allUtf8, narrow;
    std::vector<UTF16> allUnits;
    for (unsigned cp = 1; cp <= 0xFFFF; ++cp) {
        if (cp >= 0xD800 && cp <= 0xDFFF) continue;
        const std::wstring one(1, static_cast<wchar_t>(cp));
        std::wstring back;
        ASSERT_EQ(unicodeToUtf8(one, narrow), 0) << cp;
        ASSERT_EQ(narrow, utf8Of(cp)) << cp;
        ASSERT_EQ(utf8ToUnicode(narrow, back), 0) << cp;
        ASSERT_EQ(back, one) << cp;
        all += one;
        allUtf8 += narrow;
        allUnits.push_back(static_cast<UTF16>(cp));
    }
    // The whole range at once, through the wrappers and through the UTF-16 converters themselves.
    std::wstring back;
    ASSERT_EQ(unicodeToUtf8(all, narrow), 0);
    EXPECT_EQ(narrow, allUtf8);
    ASSERT_EQ(utf8ToUnicode(narrow, back), 0);
    EXPECT_EQ(back, all);

    std::vector<UTF16> units(allUnits.size());
    const UTF8* source = reinterpret_cast<const UTF8*>(allUtf8.data());
    UTF16* target = units.data();
    ASSERT_EQ(ConvertUTF8toUTF16(&source, source + allUtf8.size(), &target, target + units.size(),
                                 strictConversion),
              conversionOK);
    EXPECT_EQ(target, units.data() + units.size());
    EXPECT_EQ(units, allUnits);
    std::string bytes(allUtf8.size(), '\0');
    const UTF16* from = allUnits.data();
    UTF8* to = reinterpret_cast<UTF8*>(&bytes[0]);
    ASSERT_EQ(ConvertUTF16toUTF8(&from, from + allUnits.size(), &to, to + bytes.size(), strictConversion),
              conversionOK);
    EXPECT_EQ(bytes, allUtf8);
}

TEST(WideText, WrapperEdgeCases) {
    const auto w = [](std::initializer_list<unsigned> cps) {
        std::wstring s;
        for (unsigned cp : cps) s += static_cast<wchar_t>(cp);
        return s;
    };
    std::string narrow = "old";
    // Above U+FFFF only the low 16 bits are kept; a pair already split into two wide characters is joined.
    const std::pair<std::wstring, std::string> good[] = {{w({0x1F600}), "\xEF\x98\x80"},
                                                         {w({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80"},
                                                         {L"", ""},
                                                         {std::wstring(L"ab\0cd", 5), "ab"}};
    for (const auto& [wide, utf8] : good) {
        EXPECT_EQ(unicodeToUtf8(wide, narrow), 0);
        EXPECT_EQ(narrow, utf8);
    }
    // Unpaired surrogates, directly or after truncation (U+1D800 becomes U+D800), fail and leave the output.
    narrow = "kept";
    for (const std::wstring& bad :
         {w({'x', 0xD800, 'y'}), w({'x', 0xDFFF}), w({0x1D800}), w({'x', 0xD83D})}) {
        EXPECT_EQ(unicodeToUtf8(bad, narrow), KO_UTF_INVALID);
        EXPECT_EQ(narrow, "kept");
    }

    std::wstring wide = L"old";
    EXPECT_EQ(utf8ToUnicode("\xF0\x9F\x98\x80", wide), 0);
    EXPECT_EQ(wide, w({0xD83D, 0xDE00}));
    EXPECT_EQ(utf8ToUnicode(std::string("ab\0cd", 5), wide), 0);
    EXPECT_EQ(wide, L"ab");
    EXPECT_EQ(utf8ToUnicode("", wide), 0);
    EXPECT_EQ(wide, L"");
    wide = L"kept";
    for (const char* bad : {"\xC3", "a\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_EQ(utf8ToUnicode(bad, wide), KO_UTF_INVALID) << testing::PrintToString(std::string(bad));
        EXPECT_EQ(wide, L"kept");
    }
    EXPECT_EQ(StringToWString("\xC3\xA9 unchanged"), "\xC3\xA9 unchanged");
}
