#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <ctime>
#include <iterator>
#include <string>

#include "utilities/AppTypes.h"
#include "utilities/ProcessInfo.h"
#include "utilities/TimeStamp.h"
#include "utilities/VersionInfo.h"

TEST(AppTypes, TablesHoldExactlyTheListedIds) {
    const unsigned long unixFs[] = {13, 17, 18, 19, 20, 21, 29, 36, 38, 40, 48, 63, 64, 66, 74, 75, 88};
    const int quorinClass[] = {
        0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 4, 0, 0, 0, 0, 3, 3, 3, 3, 3, 0, 0,   // 0-23
        0, 0, 0, 0, 0, 3, 0, 0, 0, 2, 2, 0, 3, 0, 3, 0, 0, 0, 2, 2, 0, 0, 0, 0,   // 24-47
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0,   // 48-71
        0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 2, 0, 1, 0, 0};  // 72-95
    for (unsigned long id = 0; id < 200; ++id) {
        const bool unix = std::find(std::begin(unixFs), std::end(unixFs), id) != std::end(unixFs);
        EXPECT_EQ(IsUnixTypeFS(id), unix) << id;
        EXPECT_EQ(GetSCPQuorinType(id), id < 96 ? quorinClass[id] : 0) << id;
        EXPECT_EQ(IsBackupSetCaseSensitive(id), id == 4 || id == 16 || id == 70) << id;
    }
    for (unsigned long id : {1000UL, 65536UL + 13, ULONG_MAX}) {
        EXPECT_FALSE(IsUnixTypeFS(id));
        EXPECT_EQ(GetSCPQuorinType(id), 0);
        EXPECT_FALSE(IsBackupSetCaseSensitive(id));
    }
}

TEST(VersionInfo, ServicePackAndSecondNumber) {
    struct Case {
        std::string text;
        int sp;
        int second;
    };
    const Case cases[] = {
        {"", 0, 0},
        {"   ", 0, 0},
        {"abc", 0, 0},
        {"SP9", 9, 0},
        {"4.2.0 SP9 HPK3", 9, 3},
        {"SP12b", 12, 2},
        {"SP7+", 7, 0},
        {"SP7-", 7, 0},
        {"  SP5  ", 5, 0},   // trimmed first
        {"SP", 0, 0},        // nothing after the marker
        {"11.", 0, 0},       // nothing after the dot
        {"11.20", 20, 0},    // no "SP": the first dot leads
        {"11.20.3", 20, 3},  // and the next dot gives the second number
        {"SP3.4", 3, 4},
        {"SP3 HPK", 3, 0},      // marker at the very end
        {"HPK2 SP3", 3, 0},     // text ends right after the service pack
        {"HPK2+ SP3 x", 3, 2},  // "HPK" counts wherever it is
        {"SP10a", 10, 1},
        {"SP10z", 10, 26},
        {"SP4 ", 4, 0},          // trailing blank trimmed away
        {"SP4 x", 4, ' ' - 96},  // whatever follows the digits counts as a letter, a blank too
        {"SP-3", 0, 0},          // no negative numbers: '-' is not a digit
        {"SPx", 0, 'x' - 96},
        {"SP2.", 2, 0},       // dot at the end
        {"SP1HPK12c", 1, 3},  // the letter replaces the number read before it
        {"SP99999999999999999999", INT_MAX, 0},
        {"SP1 HPK99999999999999999999+", 1, INT_MAX},
        {std::string(100000, 'S') + "P8", 8, 0},
    };
    for (const Case& c : cases) {
        int sp = -7, second = -7;
        ParseSPVersionInfo(c.text, sp, second);
        EXPECT_EQ(sp, c.sp) << '"' << c.text.substr(0, 40) << '"';
        EXPECT_EQ(second, c.second) << '"' << c.text.substr(0, 40) << '"';
    }
}

TEST(PlatformValues, TimestampGivesLocalMidnightAndProcessNameIsFixed) {
    tagTIMESTAMP_STRUCT ts{2024, 2, 29, 23, 59, 58, 999999999};
    const time_t t = AppTimeStampTotime_t(&ts);
    ASSERT_NE(t, static_cast<time_t>(-1));
    struct tm local = {};
    ASSERT_NE(localtime_r(&t, &local), nullptr);
    EXPECT_EQ(local.tm_year, 124);
    EXPECT_EQ(local.tm_mon, 1);
    EXPECT_EQ(local.tm_mday, 29);
    EXPECT_EQ(local.tm_hour, 0);
    EXPECT_EQ(local.tm_min, 0);
    EXPECT_EQ(local.tm_sec, 0);
    tagTIMESTAMP_STRUCT next{2024, 3, 1, 0, 0, 0, 0};
    const time_t day = AppTimeStampTotime_t(&next) - t;
    EXPECT_GE(day, 23 * 3600);  // one calendar day, whatever daylight saving did
    EXPECT_LE(day, 25 * 3600);
    EXPECT_EQ(AppTimeStampTotime_t(nullptr), static_cast<time_t>(-1));

    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(GetProcessNameAndID(buffer), buffer);
    EXPECT_STREQ(buffer, "AppMgrNet");
    EXPECT_EQ(buffer[10], '#');  // exactly ten bytes written
}
