#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utilities/UtfConverter.h"
#include "utilities/UtfUnits.h"

namespace {

using Units = std::vector<UTF16>;

struct Decoded {
    ConversionResult result;
    size_t stop;  // source bytes consumed
    Units units;
};

Decoded decode(const std::string& bytes, ConversionFlags flags, size_t capacity = 64) {
    Units buffer(capacity + 1, 0xAAAA);
    const UTF8* begin = reinterpret_cast<const UTF8*>(bytes.data());
    const UTF8* source = begin;
    UTF16* target = buffer.data();
    Decoded d;
    d.result = ConvertUTF8toUTF16(&source, begin + bytes.size(), &target, buffer.data() + capacity, flags);
    d.stop = static_cast<size_t>(source - begin);
    d.units.assign(buffer.data(), target);
    EXPECT_EQ(buffer[capacity], 0xAAAA) << "wrote past the target end";
    return d;
}

struct Encoded {
    ConversionResult result;
    size_t stop;  // source units consumed
    std::string bytes;
};

Encoded encode(const Units& units, ConversionFlags flags, size_t capacity = 64) {
    std::string buffer(capacity + 1, '\x55');
    const UTF16* source = units.data();
    UTF8* begin = reinterpret_cast<UTF8*>(&buffer[0]);
    UTF8* target = begin;
    Encoded e;
    e.result = ConvertUTF16toUTF8(&source, units.data() + units.size(), &target, begin + capacity, flags);
    e.stop = static_cast<size_t>(source - units.data());
    e.bytes.assign(buffer.data(), static_cast<size_t>(target - begin));
    EXPECT_EQ(buffer[capacity], '\x55') << "wrote past the target end";
    return e;
}

}  // namespace

TEST(UtfConverter, LegalityOfSingleSequences) {
    struct Case {
        std::string bytes;
        bool legal;
    };
    // Boundaries of each length, overlong forms, surrogates, beyond U+10FFFF, bad continuations, 5-6 bytes.
    // clang-format off
    const Case cases[] = {{"A", true}, {std::string(1, '\0'), true}, {"\x7F", true}, {"\x80", false},
        {"\xBF", false}, {"\xC0\x80", false}, {"\xC1\xBF", false}, {"\xC2\x80", true}, {"\xDF\xBF", true},
        {"\xC2\x7F", false}, {"\xC2\xC0", false}, {"\xE0\x9F\xBF", false}, {"\xE0\xA0\x80", true},
        {"\xED\x9F\xBF", true}, {"\xED\xA0\x80", false}, {"\xED\xBF\xBF", false}, {"\xEE\x80\x80", true},
        {"\xEF\xBF\xBF", true}, {"\xEF\xBF\x7F", false}, {"\xEF\xC0\x80", false}, {"\xF0\x8F\xBF\xBF", false},
        {"\xF0\x90\x80\x80", true}, {"\xF4\x8F\xBF\xBF", true}, {"\xF4\x90\x80\x80", false},
        {"\xF5\x80\x80\x80", false}, {"\xF1\x80\x80\xC0", false}, {"\xF8\x88\x80\x80\x80", false},
        {"\xFC\x84\x80\x80\x80\x80", false}, {"\xFE", false}, {"\xFF", false}};
    // clang-format on
    for (const Case& c : cases) {
        const auto* p = reinterpret_cast<const UTF8*>(c.bytes.data());
        EXPECT_EQ(isLegalUTF8(p, static_cast<int>(c.bytes.size())) != 0, c.legal)
            << testing::PrintToString(c.bytes);
    }
    const UTF8 a = 'a';
    EXPECT_FALSE(isLegalUTF8(&a, 0));
}

TEST(UtfConverter, Utf8ResultsAndStopPositionsInBothModes) {
    struct Case {
        std::string bytes;
        ConversionResult result;
        size_t stop;
        Units units;
    };
    // FE announces five more bytes: missing, they exhaust the source; present, they are illegal.
    // clang-format off
    const Case cases[] = {{"", conversionOK, 0, {}},
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", conversionOK, 10, {0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00}},
        {std::string("a\0b", 3), conversionOK, 3, {0x61, 0, 0x62}},
        {"ab\xC3", sourceExhausted, 2, {0x61, 0x62}},
        {"ab\xF0\x9F\x98", sourceExhausted, 2, {0x61, 0x62}}, {"\xFE", sourceExhausted, 0, {}},
        {"a\x80z", sourceIllegal, 1, {0x61}}, {"a\xC3z", sourceIllegal, 1, {0x61}},
        {"\xC0\xAFz", sourceIllegal, 0, {}},
        {"x\xED\xA0\x80y", sourceIllegal, 1, {0x78}}, {"\xF4\x90\x80\x80", sourceIllegal, 0, {}},
        {"\xFE\x80\x80\x80\x80\x80", sourceIllegal, 0, {}}};
    // clang-format on
    for (ConversionFlags flags : {strictConversion, lenientConversion}) {
        for (const Case& c : cases) {
            const Decoded d = decode(c.bytes, flags);
            EXPECT_EQ(d.result, c.result) << testing::PrintToString(c.bytes) << " flags " << flags;
            EXPECT_EQ(d.stop, c.stop) << testing::PrintToString(c.bytes);
            EXPECT_EQ(d.units, c.units) << testing::PrintToString(c.bytes);
        }
    }
}

TEST(UtfConverter, Utf16SurrogatesStrictAndLenient) {
    struct Case {
        Units units;
        ConversionResult strictResult;
        size_t strictStop;
        ConversionResult lenientResult;
        std::string lenientBytes;
    };
    // An unpaired high, a lone low, a reversed pair, a high at the end; the 1-3 byte boundaries.
    // clang-format off
    const Case cases[] = {
        {{0x41, 0xD83D, 0xDE00}, conversionOK, 3, conversionOK, "A\xF0\x9F\x98\x80"},
        {{0xDBFF, 0xDFFF}, conversionOK, 2, conversionOK, "\xF4\x8F\xBF\xBF"},
        {{0x41, 0xD83D, 0x42}, sourceIllegal, 1, conversionOK, "A\xED\xA0\xBD\x42"},
        {{0xDC00, 0x42}, sourceIllegal, 0, conversionOK, "\xED\xB0\x80\x42"},
        {{0xDE00, 0xD83D}, sourceIllegal, 0, sourceExhausted, "\xED\xB8\x80"},
        {{0x41, 0xD83D}, sourceExhausted, 1, sourceExhausted, "A"},
        {{0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}, conversionOK, 5, conversionOK,
         "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"}};
    // clang-format on
    for (const Case& c : cases) {
        const Encoded strict = encode(c.units, strictConversion);
        EXPECT_EQ(strict.result, c.strictResult) << testing::PrintToString(c.units);
        EXPECT_EQ(strict.stop, c.strictStop) << testing::PrintToString(c.units);
        const Encoded lenient = encode(c.units, lenientConversion);
        EXPECT_EQ(lenient.result, c.lenientResult) << testing::PrintToString(c.units);
        EXPECT_EQ(lenient.bytes, c.lenientBytes) << testing::PrintToString(c.units);
    }
}

TEST(UtfConverter, TargetExhaustionStopsBeforeTheCharacterThatDoesNotFit) {
    const std::string text =
        "ab\xF0\x9F\x98\x80"
        "c";  // a b U+1F600 c
    const Decoded tight = decode(text, strictConversion, 3);
    EXPECT_EQ(tight.result, targetExhausted);
    EXPECT_EQ(tight.stop, 2u);  // the pair needs two units, only one is left
    EXPECT_EQ(tight.units, (Units{0x61, 0x62}));
    const Decoded none = decode(text, strictConversion, 0);
    EXPECT_EQ(none.result, targetExhausted);
    EXPECT_EQ(none.stop, 0u);
    const Decoded lastMissing = decode(text, strictConversion, 4);
    EXPECT_EQ(lastMissing.result, targetExhausted);
    EXPECT_EQ(lastMissing.stop, 6u);
    EXPECT_EQ(decode(text, strictConversion, 5).result, conversionOK);

    const Units units{0x61, 0x20AC, 0xD83D, 0xDE00};
    const size_t needs[] = {1, 4, 8};  // bytes needed after each whole character
    for (size_t capacity = 0; capacity < 8; ++capacity) {
        const Encoded e = encode(units, strictConversion, capacity);
        EXPECT_EQ(e.result, targetExhausted) << capacity;
        size_t fits = 0;
        while (fits < 3 && needs[fits] <= capacity) ++fits;
        const size_t unitsDone[] = {0, 1, 2, 4};
        EXPECT_EQ(e.stop, unitsDone[fits]) << capacity;
        EXPECT_EQ(e.bytes.size(), fits == 0 ? 0 : needs[fits - 1]) << capacity;
    }
    EXPECT_EQ(encode(units, strictConversion, 8).result, conversionOK);
}

TEST(UtfConverter, LenientModeWritesReplacementForImpossibleValues) {
    // Through ConvertUTF8toUTF16 these values never arrive (isLegalUTF8 refuses their encodings first), so
    // the replacement rule is checked where it lives.
    for (UTF32 value : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu}) {
        UTF16 out[2] = {0, 0};
        UTF16* target = out;
        EXPECT_EQ(utfunits::putUtf16(value, strictConversion, target, out + 2), sourceIllegal) << value;
        EXPECT_EQ(target, out);
        EXPECT_EQ(utfunits::putUtf16(value, lenientConversion, target, out + 2), conversionOK) << value;
        EXPECT_EQ(target, out + 1);
        EXPECT_EQ(out[0], 0xFFFD);
        EXPECT_EQ(utfunits::putUtf16(value, lenientConversion, target, target), targetExhausted);
    }
    UTF16 pair[2];
    UTF16* target = pair;
    EXPECT_EQ(utfunits::putUtf16(0x10FFFF, strictConversion, target, pair + 2), conversionOK);
    EXPECT_EQ(pair[0], 0xDBFF);
    EXPECT_EQ(pair[1], 0xDFFF);
}
