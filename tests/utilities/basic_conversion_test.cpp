#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "utilities/BasicConversion.h"

namespace {

template <typename T>
std::string written(T value) {
    std::string text = "stale";
    BasicConversion::toString(value, text);
    return text;
}

template <typename T>
std::string hexWritten(T value) {
    std::string text = "stale";
    BasicConversion::toHexString(value, text);
    return text;
}

}  // namespace

TEST(BasicConversion, FlagAndCharacterReaders) {
    struct Case {
        const char* text;
        bool expected;
    };
    const Case cases[] = {{"", false},    {"0", false},     {"0x1", false}, {"00", false},   {"false", false},
                          {"1", true},    {"2", true},      {"no", true},   {"FALSE", true}, {"False", true},
                          {"true", true}, {"false ", true}, {" 0", true}};
    for (const Case& c : cases) {
        bool value = !c.expected;
        bool& result = BasicConversion::fromString(value, c.text);
        EXPECT_EQ(value, c.expected) << '"' << c.text << '"';
        EXPECT_EQ(&result, &value);
    }

    char ch = 'x';
    EXPECT_EQ(&BasicConversion::fromString(ch, "abc"), &ch);
    EXPECT_EQ(ch, 'a');
    BasicConversion::fromString(ch, "");
    EXPECT_EQ(ch, '\0');
    unsigned char byte = 0;
    BasicConversion::fromString(byte, "\xC3\xA9");
    EXPECT_EQ(byte, 0xC3);
}

TEST(BasicConversion, NumberReadersReturnScannerCountAndKeepValueOnFailure) {
    short s = 7;
    EXPECT_EQ(BasicConversion::fromString(s, "-32768"), 1);
    EXPECT_EQ(s, -32768);
    unsigned short us = 0;
    EXPECT_EQ(BasicConversion::fromString(us, "65535"), 1);
    EXPECT_EQ(us, 65535);
    int i = 0;
    EXPECT_EQ(BasicConversion::fromString(i, "  -42xyz"), 1);
    EXPECT_EQ(i, -42);
    unsigned int ui = 0;
    EXPECT_EQ(BasicConversion::fromString(ui, "4294967295"), 1);
    EXPECT_EQ(ui, 4294967295u);
    long l = 0;
    EXPECT_EQ(BasicConversion::fromString(l, "-9223372036854775807"), 1);
    EXPECT_EQ(l, -9223372036854775807L);
    unsigned long ul = 0;
    EXPECT_EQ(BasicConversion::fromString(ul, "18446744073709551615"), 1);
    EXPECT_EQ(ul, 18446744073709551615UL);
    long long ll = 0;
    EXPECT_EQ(BasicConversion::fromString(ll, "-5"), 1);
    EXPECT_EQ(ll, -5);
    unsigned long long ull = 0;
    EXPECT_EQ(BasicConversion::fromString(ull, "12345678901234567890"), 1);
    EXPECT_EQ(ull, 12345678901234567890ULL);
    float f = 0;
    EXPECT_EQ(BasicConversion::fromString(f, "2.5"), 1);
    EXPECT_FLOAT_EQ(f, 2.5f);
    double d = 0;
    EXPECT_EQ(BasicConversion::fromString(d, "-1e300"), 1);
    EXPECT_DOUBLE_EQ(d, -1e300);

    // Nothing converts: 0 for text that is not a number, EOF for empty or blank text; the value stays.
    int kept = 99;
    EXPECT_EQ(BasicConversion::fromString(kept, "abc"), 0);
    EXPECT_EQ(BasicConversion::fromString(kept, ""), EOF);
    EXPECT_EQ(BasicConversion::fromString(kept, "   "), EOF);
    EXPECT_EQ(kept, 99);
    double keptD = 1.5;
    EXPECT_EQ(BasicConversion::fromString(keptD, "."), 0);
    EXPECT_EQ(keptD, 1.5);
}

TEST(BasicConversion, HexReadersAcceptOptionalPrefix) {
    unsigned short us = 0;
    EXPECT_EQ(BasicConversion::fromHexString(us, "ff"), 1);
    EXPECT_EQ(us, 0xff);
    unsigned int ui = 0;
    EXPECT_EQ(BasicConversion::fromHexString(ui, "0xDEADbeef"), 1);
    EXPECT_EQ(ui, 0xdeadbeefu);
    unsigned long ul = 0;
    EXPECT_EQ(BasicConversion::fromHexString(ul, "0X10"), 1);
    EXPECT_EQ(ul, 16u);
    long long ll = 0;
    EXPECT_EQ(BasicConversion::fromHexString(ll, "0xffffffffffffffff"), 1);
    EXPECT_EQ(ll, -1);
    unsigned long long ull = 0;
    EXPECT_EQ(BasicConversion::fromHexString(ull, "123456789abcdef0"), 1);
    EXPECT_EQ(ull, 0x123456789abcdef0ULL);

    long long keptLl = 3;
    EXPECT_EQ(BasicConversion::fromHexString(keptLl, "zz"), 0);
    EXPECT_EQ(BasicConversion::fromHexString(keptLl, ""), EOF);
    EXPECT_EQ(keptLl, 3);
}

TEST(BasicConversion, WritersReplaceTheText) {
    EXPECT_EQ(written(true), "1");
    EXPECT_EQ(written(false), "0");
    EXPECT_EQ(written('q'), "q");
    EXPECT_EQ(written(static_cast<unsigned char>('Z')), "Z");
    EXPECT_EQ(written('\0'), "");
    EXPECT_EQ(written(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(written(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(written(-2147483647 - 1), "-2147483648");
    EXPECT_EQ(written(4294967295u), "4294967295");
    EXPECT_EQ(written(-9223372036854775807L - 1), "-9223372036854775808");
    EXPECT_EQ(written(18446744073709551615UL), "18446744073709551615");
    EXPECT_EQ(written(-1LL), "-1");
    EXPECT_EQ(written(18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(written(0.5f), "0.500000");
    EXPECT_EQ(written(-1234.5678), "-1234.567800");
    // The largest double still fits the formatting buffer: 309 integer digits and six decimals.
    EXPECT_EQ(written(1.7976931348623157e308).size(), 316u);

    EXPECT_EQ(hexWritten(static_cast<unsigned short>(255)), "0xff");
    EXPECT_EQ(hexWritten(0u), "0x0");
    EXPECT_EQ(hexWritten(0xABCDEFu), "0xabcdef");
    EXPECT_EQ(hexWritten(0x1234567890UL), "0x1234567890");
    EXPECT_EQ(hexWritten(-1LL), "0xffffffffffffffff");
    EXPECT_EQ(hexWritten(0xFEDCBA9876543210ULL), "0xfedcba9876543210");
}
