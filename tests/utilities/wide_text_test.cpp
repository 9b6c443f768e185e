#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utilities/UtfConverter.h"
#include "utilities/WideText.h"

namespace {

// Independent reference encoding of one BMP code point, for checking the converters against.
std::string utf8Of(unsigned cp) {
    std::string s;
    if (cp < 0x80) {
        s += static_cast<char>(cp);
    } else if (cp < 0x800) {
        s += static_cast<char>(0xC0 | (cp >> 6));
        s += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        s += static_cast<char>(0xE0 | (cp >> 12));
        s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        s += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return s;
}

bool isSurrogate(unsigned cp) {
    return cp >= 0xD800 && cp <= 0xDFFF;
}

}  // namespace

TEST(WideText, EveryBmpCharacterRoundTrips) {
    std::wstring all;
    std::string allUtf8;
    std::vector<UTF16> allUnits;
    for (unsigned cp = 1; cp <= 0xFFFF; ++cp) {
        if (isSurrogate(cp)) continue;
        const std::wstring one(1, static_cast<wchar_t>(cp));
        std::string narrow;
        ASSERT_EQ(unicodeToUtf8(one, narrow), 0) << cp;
        ASSERT_EQ(narrow, utf8Of(cp)) << cp;
        std::wstring back;
        ASSERT_EQ(utf8ToUnicode(narrow, back), 0) << cp;
        ASSERT_EQ(back, one) << cp;
        all += one;
        allUtf8 += narrow;
        allUnits.push_back(static_cast<UTF16>(cp));
    }
    ASSERT_EQ(all.size(), 0xFFFFu - 0x800u);

    // The whole range at once, through the wrappers and through the UTF-16 converters themselves.
    std::string narrow;
    ASSERT_EQ(unicodeToUtf8(all, narrow), 0);
    EXPECT_EQ(narrow, allUtf8);
    std::wstring back;
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
    std::string narrow = "old";
    // Characters above U+FFFF keep their low 16 bits only.
    EXPECT_EQ(unicodeToUtf8(std::wstring(1, static_cast<wchar_t>(0x1F600)), narrow), 0);
    EXPECT_EQ(narrow, "\xEF\x98\x80");
    // A pair already split into two wide characters is joined again.
    EXPECT_EQ(unicodeToUtf8(std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)}, narrow),
              0);
    EXPECT_EQ(narrow, "\xF0\x9F\x98\x80");
    EXPECT_EQ(unicodeToUtf8(L"", narrow), 0);
    EXPECT_EQ(narrow, "");
    EXPECT_EQ(unicodeToUtf8(std::wstring(L"ab\0cd", 5), narrow), 0);
    EXPECT_EQ(narrow, "ab");

    // Unpaired surrogates, directly or after truncation (U+1D800 becomes U+D800), fail and leave the output.
    narrow = "kept";
    for (wchar_t bad :
         {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0x1D800)}) {
        EXPECT_EQ(unicodeToUtf8(std::wstring(L"x") + bad + L"y", narrow), KO_UTF_INVALID);
        EXPECT_EQ(narrow, "kept");
    }
    EXPECT_EQ(unicodeToUtf8(std::wstring(L"x") + static_cast<wchar_t>(0xD83D), narrow), KO_UTF_INVALID);

    std::wstring wide = L"old";
    EXPECT_EQ(utf8ToUnicode("\xF0\x9F\x98\x80", wide), 0);
    EXPECT_EQ(wide, (std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)}));
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
