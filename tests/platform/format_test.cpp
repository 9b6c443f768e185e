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
    EXPECT_EQ(DBformat("%+05d|%-5i|%lld %llu %hhd %hu", 9, 7, LLONG_MIN, ULLONG_MAX, 300, 70000),
              viaPrintf("%+05d|%-5i|%lld %llu %hhd %hu", 9, 7, LLONG_MIN, ULLONG_MAX, 300, 70000));
    EXPECT_EQ(DBformat("%zu %td %#x %8.3X", static_cast<size_t>(12), static_cast<ptrdiff_t>(-3), 255u, 10u),
              "12 -3 0xff      00A");
    EXPECT_EQ(DBformat("%.2f %e %g %Lf", 2.345, 1e10, 0.0001, static_cast<long double>(2.5)),
              viaPrintf("%.2f %e %g %Lf", 2.345, 1e10, 0.0001, static_cast<long double>(2.5)));
    EXPECT_EQ(DBformat("%*d|%-*d|%.*f|%c%c|100%%", 6, 42, 4, 1, 2, 3.14159, 'a', '\''),
              "    42|1   |3.14|a'|100%");  // only %s text is escaped
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
    EXPECT_EQ(DBodbcDate(d), "2024-02-29 23:59:58");
    ASSERT_TRUE(DBparseDate("1999-12-31", d));
    EXPECT_EQ(DBodbcDate(d), "1999-12-31 00:00:00");
    ASSERT_TRUE(DBparseDate("2001-01-02 03:04:05.25", d));
    EXPECT_EQ(d.fraction, 250000000u);
    for (const char* bad : {"", "2001-13-01", "2001-1-01", "2001-01-01T00:00:00", "2001-01-01 25:00:00",
                            "2001-01-01 00:00:00."}) {
        d.year = 5;
        EXPECT_FALSE(DBparseDate(bad, d)) << bad;
        EXPECT_EQ(d.year, 0) << bad;
    }
}
