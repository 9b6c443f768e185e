// The text form of date-time columns: every backend stores and returns "YYYY-MM-DD HH:MM:SS".
#include <cstdio>
#include <string>

#include "platform/db/DBformat.h"

namespace {
// Writes `value` as exactly `width` decimal digits.
void put(char* out, unsigned value, int width) {
    for (int i = width - 1; i >= 0; --i, value /= 10) out[i] = static_cast<char>('0' + value % 10);
}
}  // namespace

std::string DBodbcDate(const DB_DATETIME& v) {
    if (v.year == 0 && v.month == 0 && v.day == 0 && v.hour == 0 && v.minute == 0 && v.second == 0 &&
        v.fraction == 0)
        return std::string();
    // Readers turn every date of every row into text: the usual values are written digit by digit,
    // which costs a fraction of snprintf; anything wider takes snprintf's own form.
    if (v.year >= 0 && v.year <= 9999 && v.month <= 99 && v.day <= 99 && v.hour <= 99 && v.minute <= 99 &&
        v.second <= 99) {
        char text[19] = {0, 0, 0, 0, '-', 0, 0, '-', 0, 0, ' ', 0, 0, ':', 0, 0, ':', 0, 0};
        put(text, static_cast<unsigned>(v.year), 4);
        put(text + 5, v.month, 2);
        put(text + 8, v.day, 2);
        put(text + 11, v.hour, 2);
        put(text + 14, v.minute, 2);
        put(text + 17, v.second, 2);
        return std::string(text, sizeof text);
    }
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02u-%02u %02u:%02u:%02u", static_cast<int>(v.year),
                  static_cast<unsigned>(v.month), static_cast<unsigned>(v.day), static_cast<unsigned>(v.hour),
                  static_cast<unsigned>(v.minute), static_cast<unsigned>(v.second));
    return buf;
}

namespace {
// Reads exactly `count` digits at text[pos]; false when any is not a digit.
bool digits(const std::string& text, size_t pos, size_t count, int& value) {
    if (pos + count > text.size()) return false;
    value = 0;
    for (size_t i = pos; i < pos + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + (text[i] - '0');
    }
    return true;
}
}  // namespace

bool DBparseDate(const std::string& text, DB_DATETIME& value) {
    value.clear();
    int year, month, day, hour = 0, minute = 0, second = 0;
    if (!digits(text, 0, 4, year) || text.size() < 10 || text[4] != '-' || !digits(text, 5, 2, month) ||
        text[7] != '-' || !digits(text, 8, 2, day))
        return false;
    long fraction = 0;
    size_t pos = 10;
    if (pos < text.size()) {
        if (text[pos] != ' ' || !digits(text, 11, 2, hour) || text.size() < 19 || text[13] != ':' ||
            !digits(text, 14, 2, minute) || text[16] != ':' || !digits(text, 17, 2, second))
            return false;
        pos = 19;
        if (pos < text.size()) {
            if (text[pos] != '.' || pos + 1 == text.size()) return false;
            // The fraction is kept in nanoseconds, as the SQL timestamp layout has it.
            long scale = 100000000;
            for (++pos; pos < text.size(); ++pos, scale /= 10) {
                if (text[pos] < '0' || text[pos] > '9') return false;
                fraction += (text[pos] - '0') * scale;
            }
        }
    }
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60)
        return false;
    value.year = static_cast<int16_t>(year);
    value.month = static_cast<uint16_t>(month);
    value.day = static_cast<uint16_t>(day);
    value.hour = static_cast<uint16_t>(hour);
    value.minute = static_cast<uint16_t>(minute);
    value.second = static_cast<uint16_t>(second);
    value.fraction = static_cast<uint32_t>(fraction);
    return true;
}
