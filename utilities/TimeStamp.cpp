#include "utilities/TimeStamp.h"

#include <cstddef>

#include "platform/db/DBtypes.h"

// Callers hand over the database layer's timestamps by pointer: the two layouts must stay identical.
static_assert(sizeof(tagTIMESTAMP_STRUCT) == sizeof(KOTIMESTAMP_STRUCT), "timestamp size");
static_assert(offsetof(tagTIMESTAMP_STRUCT, day) == offsetof(KOTIMESTAMP_STRUCT, day), "timestamp day");
static_assert(offsetof(tagTIMESTAMP_STRUCT, second) == offsetof(KOTIMESTAMP_STRUCT, second),
              "timestamp second");
static_assert(offsetof(tagTIMESTAMP_STRUCT, fraction) == offsetof(KOTIMESTAMP_STRUCT, fraction),
              "timestamp fraction");

time_t AppTimeStampTotime_t(const tagTIMESTAMP_STRUCT* timestamp) {
    if (timestamp == nullptr) return static_cast<time_t>(-1);
    struct tm calendar = {};
    calendar.tm_year = timestamp->year - 1900;
    calendar.tm_mon = timestamp->month - 1;
    calendar.tm_mday = timestamp->day;
    calendar.tm_isdst = -1;
    return mktime(&calendar);
}
