#pragma once
// Plain types shared by the database layer, the bindings and the column values.
#include <cstddef>
#include <cstdint>
#include <cstring>

// Result codes of the database layer: 0 success, 100 no (more) data, anything else the backend's code.
constexpr int DB_SUCCESS = 0;
constexpr int DB_NO_DATA = 100;

// The SQL timestamp layout; 16 bytes, all zero on construction.
struct KOTIMESTAMP_STRUCT {
    int16_t year = 0;
    uint16_t month = 0;
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    uint32_t fraction = 0;
};
static_assert(sizeof(KOTIMESTAMP_STRUCT) == 16, "timestamp layout");

// A timestamp column of a raw record: the date-time, a text buffer and a flag. The text is never copied.
struct DB_DATETIME {
    int16_t year = 0;
    uint16_t month = 0;
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    uint32_t fraction = 0;
    char text[40] = {};
    char flag = 0;

    DB_DATETIME() = default;
    DB_DATETIME(const DB_DATETIME& o) { *this = o; }
    void clear() {
        year = 0;
        month = day = hour = minute = second = 0;
        fraction = 0;
        std::memset(text, 0, sizeof text);
        flag = 0;
    }
    DB_DATETIME& operator=(const KOTIMESTAMP_STRUCT& t) {
        year = t.year;
        month = t.month;
        day = t.day;
        hour = t.hour;
        minute = t.minute;
        second = t.second;
        fraction = t.fraction;
        text[0] = 0;
        flag = 0;
        return *this;
    }
    DB_DATETIME& operator=(const DB_DATETIME& o) {
        if (this == &o) return *this;
        year = o.year;
        month = o.month;
        day = o.day;
        hour = o.hour;
        minute = o.minute;
        second = o.second;
        fraction = o.fraction;
        flag = o.flag;
        text[0] = 0;
        return *this;
    }
};

// One column of a binding's raw record, as the generated binding describes it to the database layer.
// Raw record field type by letter: 'i' int; 'b' and 'x' long long; 't' DB_DATETIME;
// 's' with width n: char[n] (at most n-1 bytes, truncated on fetch); 's' with width 0 and 'u' (any
// width): std::string holding UTF-8 ('u' with width n keeps at most n-1 characters).
struct DBcolumn {
    const char* name;
    char letter;
    int width;      // n of s<n>/u<n>; 0 when unbounded
    size_t offset;  // offset of the field in the raw record
};

// The reference schema's tables as the generated catalogue lists them (for creating a store).
struct DBschemaColumn {
    const char* name;
    char letter;
    int width;
};
struct DBschemaTable {
    const char* name;
    const DBschemaColumn* columns;
    int columnCount;
    const char* identity;  // "" when the table has none
    const char* orderBy;
};
struct DBschemaIndex {
    const char* name;
    const char* table;
    const char* columns;  // comma-separated, each may end in DESC or ASC
    bool unique;
};
