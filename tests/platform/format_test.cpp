#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/db/DBformat.h"

namespace {
// Sizes and then formats with the same va_list, as the wrappers do: both must see every argument.
std::string sizeThenFormat(unsigned long* size, unsigned long* full, unsigned long length, const char* format,
                           ...) {
    va_list args;
    va_start(args, format);
    *size = DBsizeof(format, args);
    std::string buf(length ? length : *size + 1, 'x');
    *full = DBsprintf(&buf[0], static_cast<unsigned long>(buf.size()), format, args);
    va_end(args);
    return buf.c_str();
}
}  // namespace

TEST(DBformat, NonTextConversionsMatchPrintf) {
    EXPECT_EQ(DBformat("%+05d|%-5i|%lld %llu %hhd %hu", 9, 7, LLONG_MIN, ULLONG_MAX, 300, 70000),
              "+0009|7    |-9223372036854775808 18446744073709551615 44 4464");
    EXPECT_EQ(DBformat("%zu %td %#x %8.3X", static_cast<size_t>(12), static_cast<ptrdiff_t>(-3), 255u, 10u),
              "12 -3 0xff      00A");
    EXPECT_EQ(DBformat("%.2f %e %g %Lf", 2.345, 1e10, 0.0001, static_cast<long double>(2.5)),
              "2.35 1.000000e+10 0.0001 2.500000");
    EXPECT_EQ(DBformat("%*d|%-*d|%.*f|%c%c|100%%", 6, 42, 4, 1, 2, 3.14159, 'a', '\''),
              "    42|1   |3.14|a'|100%");  // only %s text is escaped
    // Unknown conversions stand as written.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
    EXPECT_EQ(DBformat("50%"), "50%");
    EXPECT_EQ(DBformat("%y %d", 4), "%y 4");
#pragma GCC diagnostic pop
}

TEST(DBformat, TextArgumentsHaveTheirQuotesDoubled) {
    EXPECT_EQ(DBformat("value = N'%s'", "O'Brien"), "value = N'O''Brien'");
    EXPECT_EQ(DBformat("N'%s'", "'; DROP TABLE t; --"), "N'''; DROP TABLE t; --'");
    const char* none = nullptr;
    EXPECT_EQ(DBformat(std::string("[%s]").c_str(), none), "[(null)]");
    // Precision cuts the caller's text before escaping; width pads the escaped result.
    EXPECT_EQ(DBformat("[%.3s]", "a'bcdef"), "[a''b]");
    EXPECT_EQ(DBformat("[%6s][%-6s][%*s]", "a'b", "a'b", 5, "'"), "[  a''b][a''b  ][   '']");
    EXPECT_EQ(DBformat("%ls", L"d'\u00e9"), "d''\xc3\xa9");
}

TEST(DBformat, SizeAndBufferAgreeAndTruncationIsTerminated) {
    unsigned long size = 0, full = 0;
    const char* const format = "jobId = %lld AND value = N'%s' AND type = %d";
    std::string out = sizeThenFormat(&size, &full, 0, format, 12345678901LL, "a'b", 7);
    EXPECT_EQ(out, "jobId = 12345678901 AND value = N'a''b' AND type = 7");
    EXPECT_EQ(size, out.size());
    EXPECT_EQ(full, out.size());
    // A short buffer gets what fits and its terminator; the answer is still the full length.
    EXPECT_EQ(sizeThenFormat(&size, &full, 8, "%s-%d", "abc'def", 99), "abc''de");
    EXPECT_EQ(full, std::string("abc''def-99").size());
    EXPECT_EQ(sizeThenFormat(&size, &full, 1, "%s", "abc"), "");
}

// The date text is written digit by digit for the usual values; it must read exactly as printf's form.
TEST(DBdate, TextIsPrintfsFormAndParsingIsStrict) {
    for (int year : {0, 1, 999, 2024, 9999, 10000, -1, 32767}) {
        for (unsigned f : {0u, 1u, 9u, 10u, 59u, 99u, 100u, 65535u}) {
            DB_DATETIME d;
            d.year = static_cast<int16_t>(year);
            d.month = static_cast<uint16_t>(f);
            d.day = static_cast<uint16_t>(f == 0 ? 1 : f);
            d.hour = static_cast<uint16_t>(f % 24);
            d.minute = static_cast<uint16_t>(f);
            d.second = static_cast<uint16_t>(f == 65535 ? 7 : f);
            char expected[64];
            std::snprintf(expected, sizeof expected, "%04d-%02u-%02u %02u:%02u:%02u", year, unsigned{d.month},
                          unsigned{d.day}, unsigned{d.hour}, unsigned{d.minute}, unsigned{d.second});
            EXPECT_EQ(DBodbcDate(d), expected) << year << " " << f;
        }
    }
    DB_DATETIME d;
    EXPECT_EQ(DBodbcDate(d), "");  // the empty date has no text
    d.fraction = 5;
    EXPECT_EQ(DBodbcDate(d), "0000-00-00 00:00:00");

    ASSERT_TRUE(DBparseDate("1999-12-31", d));
    EXPECT_EQ(DBodbcDate(d), "1999-12-31 00:00:00");
    ASSERT_TRUE(DBparseDate("2001-01-02 03:04:05.25", d));
    EXPECT_EQ(DBodbcDate(d), "2001-01-02 03:04:05");
    EXPECT_EQ(d.fraction, 250000000u);
    for (const char* bad : {"", "2001-13-01", "2001-1-01", "2001-01-01T00:00:00", "2001-01-01 25:00:00",
                            "2001-01-01 00:00:00."}) {
        d.year = 5;
        EXPECT_FALSE(DBparseDate(bad, d)) << bad;
        EXPECT_EQ(d.year, 0) << bad;  // a refused text leaves the empty date
    }
}
