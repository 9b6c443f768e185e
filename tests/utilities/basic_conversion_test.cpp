#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "utilities/BasicConversion.h"

namespace {
// The scanner's count and the value read; `value` starts as `start`, which a failed read must keep.
template <typename T>
std::pair<int, T> read(const char* text, T start = T{}) {
    int n = BasicConversion::fromString(start, text);
    return {n, start};
}
template <typename T>
std::pair<int, T> readHex(const char* text, T start = T{}) {
    int n = BasicConversion::fromHexString(start, text);
    return {n, start};
}
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
template <typename T>
std::pair<int, T> ok(T v) {
    return {1, v};
}
}  // namespace

TEST(BasicConversion, FlagAndCharacterReaders) {
    // Only "0" and "false" (and empty text) are false; everything else, spaces and other cases too, is true.
    for (const char* f : {"", "0", "0x1", "00", "false"}) {
        bool value = true;
        EXPECT_EQ(&BasicConversion::fromString(value, f), &value);
        EXPECT_FALSE(value) << '"' << f << '"';
    }
    for (const char* t : {"1", "2", "no", "FALSE", "False", "true", "false ", " 0"}) {
        bool value = false;
        BasicConversion::fromString(value, t);
        EXPECT_TRUE(value) << '"' << t << '"';
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
    EXPECT_EQ(read<short>("-32768"), ok<short>(-32768));
    EXPECT_EQ(read<unsigned short>("65535"), ok<unsigned short>(65535));
    EXPECT_EQ(read<int>("  -42xyz"), ok(-42));
    EXPECT_EQ(read<unsigned>("4294967295"), ok(4294967295u));
    EXPECT_EQ(read<long>("-9223372036854775807"), ok(-9223372036854775807L));
    EXPECT_EQ(read<unsigned long>("18446744073709551615"), ok(18446744073709551615UL));
    EXPECT_EQ(read<unsigned long long>("12345678901234567890"), ok(12345678901234567890ULL));
    EXPECT_EQ(read<float>("2.5"), ok(2.5f));
    EXPECT_EQ(read<double>("-1e300"), ok(-1e300));
    // Nothing converts: 0 for text that is not a number, EOF for empty or blank text; the value stays.
    EXPECT_EQ(read<int>("abc", 99), std::make_pair(0, 99));
    EXPECT_EQ(read<int>("", 99), std::make_pair(EOF, 99));
    EXPECT_EQ(read<int>("   ", 99), std::make_pair(EOF, 99));
    EXPECT_EQ(read<double>(".", 1.5), std::make_pair(0, 1.5));

    // Hex readers take an optional 0x / 0X prefix.
    EXPECT_EQ(readHex<unsigned short>("ff"), ok<unsigned short>(0xff));
    EXPECT_EQ(readHex<unsigned>("0xDEADbeef"), ok(0xdeadbeefu));
    EXPECT_EQ(readHex<unsigned long>("0X10"), ok(16UL));
    EXPECT_EQ(readHex<long long>("0xffffffffffffffff"), ok(-1LL));
    EXPECT_EQ(readHex<unsigned long long>("123456789abcdef0"), ok(0x123456789abcdef0ULL));
    EXPECT_EQ(readHex<long long>("zz", 3), std::make_pair(0, 3LL));
    EXPECT_EQ(readHex<long long>("", 3), std::make_pair(EOF, 3LL));

    // The 64-bit readers skip the scanner on the readers' hot path; they must still read as it does.
    for (const char* text : {"", " \t\n", "-", " -", "+", "+-1", "- 5", "abc", " 42x", "0x1F", "+7", "-5",
                             "00012", "1e5", "18446744073709551615", "18446744073709551616",
                             "-18446744073709551616", "9223372036854775808", "-9223372036854775809"}) {
        long long signedScanned = 77;
        unsigned long long unsignedScanned = 77;
        const int signedCount = std::sscanf(text, "%lld", &signedScanned);
        const int unsignedCount = std::sscanf(text, "%llu", &unsignedScanned);
        EXPECT_EQ(read<long long>(text, 77), std::make_pair(signedCount, signedScanned))
            << "[" << text << "]";
        EXPECT_EQ(read<unsigned long long>(text, 77), std::make_pair(unsignedCount, unsignedScanned))
            << "[" << text << "]";
    }
}

TEST(BasicConversion, WritersReplaceTheText) {
    EXPECT_EQ(written(true) + written(false) + written('q') + written(static_cast<unsigned char>('Z')),
              "10qZ");
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
