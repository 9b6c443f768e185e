// The date text is written digit by digit for the usual values; it must read exactly as printf's form.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/db/DBformat.h"

TEST(DBdate, TextIsPrintfsFormForEveryFieldWidth) {
    const int years[] = {0, 1, 999, 2024, 9999, 10000, -1, 32767};
    const unsigned fields[] = {0, 1, 9, 10, 59, 99, 100, 65535};
    for (int year : years) {
        for (unsigned f : fields) {
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
    DB_DATETIME onlyFraction;
    onlyFraction.fraction = 5;
    EXPECT_EQ(DBodbcDate(onlyFraction), "0000-00-00 00:00:00");
}
