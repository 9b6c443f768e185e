#pragma once
// One row of the job statistics query as text: each column of JMGetBkpStats_t by its letter.
#include <string>

#include "Db/Cursor/JMGetBkpStats.h"

// Column `col` (0-based, in the query's order) of `row` as text; integers in decimal.
inline std::string jobStatsCell(const JMGetBkpStats_t& row, int col) {
    const DBcolumn& c = JMGetBkpStats_t::columns()[col];
    const char* field = reinterpret_cast<const char*>(&row) + c.offset;
    switch (c.letter) {
        case 'i':
            return std::to_string(*reinterpret_cast<const int*>(field));
        case 'b':
            return std::to_string(*reinterpret_cast<const long long*>(field));
        default:
            // s<n> is a character array; unbounded s and every u are strings.
            if (c.letter == 's' && c.width > 0) return field;
            return *reinterpret_cast<const std::string*>(field);
    }
}
