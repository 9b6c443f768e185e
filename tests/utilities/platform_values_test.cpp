#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <ctime>
#include <iterator>
#include <map>
#include <string>
#include <tuple>

#include "utilities/AppTypes.h"
#include "utilities/ProcessInfo.h"
#include "utilities/TimeStamp.h"
#include "utilities/VersionInfo.h"

TEST(AppTypes, TablesHoldExactlyTheListedIds) {
    const unsigned long unixFs[] = {13, 17, 18, 19, 20, 21, 29, 36, 38, 40, 48, 63, 64, 66, 74, 75, 88};
    const std::map<unsigned long, int> quorinClass{
        {1, 1},  {11, 2}, {12, 4}, {17, 3}, {18, 3}, {19, 3}, {20, 3}, {21, 3}, {29, 3}, {33, 2},
        {34, 2}, {36, 3}, {38, 3}, {42, 2}, {43, 2}, {63, 3}, {74, 3}, {86, 4}, {91, 2}, {93, 1}};
    for (unsigned long id = 0; id < 200; ++id) {
        EXPECT_EQ(IsUnixTypeFS(id), std::find(std::begin(unixFs), std::end(unixFs), id) != std::end(unixFs))
            << id;
        EXPECT_EQ(GetSCPQuorinType(id), quorinClass.count(id) ? quorinClass.at(id) : 0) << id;
        EXPECT_EQ(IsBackupSetCaseSensitive(id), id == 4 || id == 16 || id == 70) << id;
    }
    for (unsigned long id : {1000UL, 65536UL + 13, ULONG_MAX}) {
        EXPECT_FALSE(IsUnixTypeFS(id) || IsBackupSetCaseSensitive(id));
        EXPECT_EQ(GetSCPQuorinType(id), 0);
    }
}

TEST(VersionInfo, ServicePackAndSecondNumber) {
    struct Case {
        std::string text;
        int sp, second;
    };
    // No "SP": the first dot leads and the next dot gives the second number; "HPK" counts wherever
    // it is; whatever follows the digits counts as a letter (a blank too) and replaces the number before it.
    // clang-format off
    const Case cases[] = {{"", 0, 0}, {"   ", 0, 0}, {"abc", 0, 0}, {"SP9", 9, 0}, {"4.2.0 SP9 HPK3", 9, 3},
        {"SP12b", 12, 2}, {"SP7+", 7, 0}, {"SP7-", 7, 0}, {"  SP5  ", 5, 0}, {"SP", 0, 0}, {"11.", 0, 0},
        {"11.20", 20, 0}, {"11.20.3", 20, 3}, {"SP3.4", 3, 4}, {"SP3 HPK", 3, 0}, {"HPK2 SP3", 3, 0},
        {"HPK2+ SP3 x", 3, 2}, {"SP10a", 10, 1}, {"SP10z", 10, 26}, {"SP4 ", 4, 0}, {"SP4 x", 4, ' ' - 96},
        {"SP-3", 0, 0}, {"SPx", 0, 'x' - 96}, {"SP2.", 2, 0}, {"SP1HPK12c", 1, 3},
        {"SP99999999999999999999", INT_MAX, 0}, {"SP1 HPK99999999999999999999+", 1, INT_MAX},
        {std::string(100000, 'S') + "P8", 8, 0}};
    // clang-format on
    for (const Case& c : cases) {
        int sp = -7, second = -7;
        ParseSPVersionInfo(c.text, sp, second);
        EXPECT_EQ(std::make_pair(sp, second), std::make_pair(c.sp, c.second))
            << '"' << c.text.substr(0, 40) << '"';
    }
}

TEST(PlatformValues, TimestampGivesLocalMidnightAndProcessNameIsFixed) {
    tagTIMESTAMP_STRUCT ts{2024, 2, 29, 23, 59, 58, 999999999};
    const time_t t = AppTimeStampTotime_t(&ts);
    struct tm local = {};
    ASSERT_NE(localtime_r(&t, &local), nullptr);
    EXPECT_EQ(std::make_tuple(local.tm_year, local.tm_mon, local.tm_mday, local.tm_hour, local.tm_min,
                              local.tm_sec),
              std::make_tuple(124, 1, 29, 0, 0, 0));
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
