#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/db/DBformat.h"

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string viaPrintf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    char buf[512];
    std::vsnprintf(buf, sizeof buf, format, args);
    va_end(args);
    return buf;
}
#pragma GCC diagnostic pop

// The wrappers size and then format with the same va_list; both must see every argument.
std::string sizeThenFormat(unsigned long* size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    *size = DBsizeof(format, args);
    std::string buf((*size + 25) * 2, '\0');
    unsigned long n = DBsprintf(&buf[0], static_cast<unsigned long>(buf.size()), format, args);
    va_end(args);
    buf.resize(n);
    return buf;
}

std::string intoSmallBuffer(char* buffer, unsigned long length, unsigned long* full, const char* format,
                            ...) {
    va_list args;
    va_start(args, format);
    *full = DBsprintf(buffer, length, format, args);
    va_end(args);
    return buffer;
}

}  // namespace

TEST(DBformat, NonTextConversionsMatchPrintf) {
    EXPECT_EQ(DBformat("%d|%i|%5d|%-5d|%05d|%+d", -42, 7, 3, 3, 3, 9),
              viaPrintf("%d|%i|%5d|%-5d|%05d|%+d", -42, 7, 3, 3, 3, 9));
    EXPECT_EQ(DBformat("%lld %llu %ld %lu", LLONG_MIN, ULLONG_MAX, LONG_MAX, ULONG_MAX),
              viaPrintf("%lld %llu %ld %lu", LLONG_MIN, ULLONG_MAX, LONG_MAX, ULONG_MAX));
    EXPECT_EQ(DBformat("%hhd %hd %hhu %hu", 300, 70000, 300, 70000),
              viaPrintf("%hhd %hd %hhu %hu", 300, 70000, 300, 70000));
    EXPECT_EQ(DBformat("%zu %zd %jd %td", static_cast<size_t>(12), static_cast<ptrdiff_t>(-3),
                       static_cast<intmax_t>(-5), static_cast<ptrdiff_t>(8)),
              "12 -3 -5 8");
    EXPECT_EQ(DBformat("%x %X %#o %#x %8.3x", 255u, 255u, 8u, 255u, 10u),
              viaPrintf("%x %X %#o %#x %8.3x", 255u, 255u, 8u, 255u, 10u));
    EXPECT_EQ(DBformat("%c%c", 'a', '\''), "a'");  // only %s text is escaped
    EXPECT_EQ(DBformat("%f %.2f %e %E %g %G %a", 1.5, 2.345, 1e10, 1e-3, 0.0001, 1e20, 1.0),
              viaPrintf("%f %.2f %e %E %g %G %a", 1.5, 2.345, 1e10, 1e-3, 0.0001, 1e20, 1.0));
    EXPECT_EQ(DBformat("%Lf", static_cast<long double>(2.5)), "2.500000");
    EXPECT_EQ(DBformat("%*d|%-*d|%.*f", 6, 42, 4, 1, 2, 3.14159),
              viaPrintf("%*d|%-*d|%.*f", 6, 42, 4, 1, 2, 3.14159));
    EXPECT_EQ(DBformat("100%% %d%%", 5), "100% 5%");
    int dummy = 0;
    EXPECT_EQ(DBformat("%p", static_cast<void*>(&dummy)), viaPrintf("%p", static_cast<void*>(&dummy)));
}

TEST(DBformat, TextArgumentsHaveTheirQuotesDoubled) {
    EXPECT_EQ(DBformat("value = N'%s'", "O'Brien"), "value = N'O''Brien'");
    EXPECT_EQ(DBformat("%s", "''"), "''''");
    const char* none = nullptr;
    EXPECT_EQ(DBformat(std::string("[%s]").c_str(), none), "[(null)]");
    // Precision cuts the caller's text before escaping; width pads the escaped result.
    EXPECT_EQ(DBformat("[%.3s]", "a'bcdef"), "[a''b]");
    EXPECT_EQ(DBformat("[%6s][%-6s]", "a'b", "a'b"), "[  a''b][a''b  ]");
    EXPECT_EQ(DBformat("[%*s]", 5, "'"), "[   '']");
    EXPECT_EQ(DBformat("%ls", L"d'\u00e9"), "d''\xc3\xa9");
    EXPECT_EQ(DBformat("x = %d AND name = N'%s' AND y = %lld", 1, "it's", 2LL),
              "x = 1 AND name = N'it''s' AND y = 2");
    // Text that looks like SQL stays text.
    EXPECT_EQ(DBformat("N'%s'", "'; DROP TABLE t; --"), "N'''; DROP TABLE t; --'");
}

TEST(DBformat, SizeAndBufferAgreeAndTruncationIsTerminated) {
    unsigned long size = 0;
    std::string out =
        sizeThenFormat(&size, "jobId = %lld AND value = N'%s' AND type = %d", 12345678901LL, "a'b", 7);
    EXPECT_EQ(out, "jobId = 12345678901 AND value = N'a''b' AND type = 7");
    EXPECT_EQ(size, out.size());

    char small[8];
    unsigned long full = 0;
    EXPECT_EQ(intoSmallBuffer(small, sizeof small, &full, "%s-%d", "abc'def", 99), "abc''de");
    EXPECT_EQ(full, std::string("abc''def-99").size());
    char one[1] = {'x'};
    intoSmallBuffer(one, 1, &full, "%s", "abc");
    EXPECT_EQ(one[0], '\0');

    std::string big(4000, 'q');
    big[1000] = '\'';
    EXPECT_EQ(DBformat("%s", big.c_str()).size(), 4001u);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
TEST(DBformat, UnknownConversionsStandAsWritten) {
    EXPECT_EQ(DBformat("50%"), "50%");
    EXPECT_EQ(DBformat("%y %d", 4), "%y 4");
}
#pragma GCC diagnostic pop

TEST(DBdate, TextFormAndParsing) {
    DB_DATETIME d;
    EXPECT_EQ(DBodbcDate(d), "");
    ASSERT_TRUE(DBparseDate("2024-02-29 23:59:58", d));
    EXPECT_EQ(d.year, 2024);
    EXPECT_EQ(d.month, 2);
    EXPECT_EQ(d.second, 58);
    EXPECT_EQ(DBodbcDate(d), "2024-02-29 23:59:58");
    ASSERT_TRUE(DBparseDate("1999-12-31", d));
    EXPECT_EQ(DBodbcDate(d), "1999-12-31 00:00:00");
    ASSERT_TRUE(DBparseDate("2001-01-02 03:04:05.25", d));
    EXPECT_EQ(d.fraction, 250000000u);
    for (const char* bad : {"", "2001-13-01", "2001-1-01", "2001-01-01T00:00:00", "2001-01-01 25:00:00",
                            "2001-01-01 00:00", "2001-01-01 00:00:00.", "garbage"}) {
        d.year = 5;
        EXPECT_FALSE(DBparseDate(bad, d)) << bad;
        EXPECT_EQ(d.year, 0) << bad;
    }
}
