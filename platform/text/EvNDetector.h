#pragma once
// Date-time columns as seconds since the epoch.
#include <ctime>

#include "platform/db/DBtypes.h"

class EvNDetector {
  public:
    // The column's calendar time read as UTC, or, with `toLocal`, as local time. An all-zero value
    // (a NULL column) gives 0.
    static unsigned long DbDatetimeToUlongTime(const DB_DATETIME& value, bool toLocal = false) {
        if (value.year == 0 && value.month == 0 && value.day == 0) return 0;
        std::tm fields{};
        fields.tm_year = value.year - 1900;
        fields.tm_mon = value.month - 1;
        fields.tm_mday = value.day;
        fields.tm_hour = value.hour;
        fields.tm_min = value.minute;
        fields.tm_sec = value.second;
        fields.tm_isdst = -1;
        const time_t seconds = toLocal ? std::mktime(&fields) : timegm(&fields);
        return seconds < 0 ? 0 : static_cast<unsigned long>(seconds);
    }
};
