#pragma once
// Conversion of a database timestamp to a calendar time.
#include <ctime>

#include "TaskExport.h"

// Same layout as the database layer's KOTIMESTAMP_STRUCT (and ODBC's). When ODBC's <sqltypes.h> is also
// needed, include it first: its definition is then used.
#ifndef __SQLTYPES_H
struct tagTIMESTAMP_STRUCT {
    short year;
    unsigned short month;
    unsigned short day;
    unsigned short hour;
    unsigned short minute;
    unsigned short second;
    unsigned int fraction;
};
#endif

// Returns local midnight of the timestamp's date; hour, minute, second and fraction are ignored on purpose.
// Daylight saving is left for the C library to decide. Failure: (time_t)-1, as mktime gives for a date it
// cannot represent, and for a null pointer. Reads the caller's structure only; reentrant as long as nobody
// changes the process time zone meanwhile.
TASKDB_API time_t AppTimeStampTotime_t(const tagTIMESTAMP_STRUCT* timestamp);
