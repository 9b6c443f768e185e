// Between the raw record and the statements: a fetched row into the record, the record into the
// values of an insert or update (as escaped literals, which the backend turns into parameters).
#include <cstring>

#include "platform/db/DBformat.h"
#include "platform/db/table/DBtableImpl.h"

namespace {

const char* field(const void* record, const DBcolumn& c) {
    return static_cast<const char*>(record) + c.offset;
}

// Length in bytes of the first `chars` UTF-8 characters of `s` (all of it when shorter).
size_t utf8Prefix(const std::string& s, size_t chars) {
    size_t i = 0;
    for (size_t n = 0; i < s.size(); ++i) {
        if ((static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) continue;  // continuation byte
        if (n++ == chars) break;
    }
    return i;
}

std::string literal(const void* record, const DBcolumn& c) {
    const char* p = field(record, c);
    switch (c.letter) {
        case 'i':
            return std::to_string(*reinterpret_cast<const int*>(p));
        case 'b':
        case 'x':
            return std::to_string(*reinterpret_cast<const long long*>(p));
        case 't': {
            std::string date = DBodbcDate(*reinterpret_cast<const DB_DATETIME*>(p));
            return date.empty() ? std::string("NULL") : "'" + date + "'";
        }
        case 's':
            if (c.width > 0)
                return DBformat("N'%s'", std::string(p, strnlen(p, static_cast<size_t>(c.width))).c_str());
            return DBformat("N'%s'", reinterpret_cast<const std::string*>(p)->c_str());
        case 'u':
            return DBformat("N'%s'", reinterpret_cast<const std::string*>(p)->c_str());
        default:
            return "NULL";
    }
}

}  // namespace

int DBtable::Impl::identityPosition() {
    if (identityGeneration != generation) {
        identityGeneration = generation;
        identityAt = -1;
        // The index the binding gives is the column's position; a scan covers any other index.
        if (identityIndex >= 0 && identityIndex < columnCount &&
            identityColumn == columns[identityIndex].name)
            identityAt = identityIndex;
        for (int i = 0; i < columnCount && identityAt < 0 && !identityColumn.empty(); ++i)
            if (identityColumn == columns[i].name) identityAt = i;
    }
    return identityAt;
}

namespace {

// A column the statement did not return: the field is emptied.
void clearField(const DBcolumn& c, char* p) {
    switch (c.letter) {
        case 'i':
            *reinterpret_cast<int*>(p) = 0;
            break;
        case 'b':
        case 'x':
            *reinterpret_cast<long long*>(p) = 0;
            break;
        case 't':
            reinterpret_cast<DB_DATETIME*>(p)->clear();
            break;
        case 's':
            if (c.width > 0) {
                p[0] = '\0';
                break;
            }
            [[fallthrough]];
        case 'u':
            reinterpret_cast<std::string*>(p)->clear();
            break;
        default:
            break;
    }
}

// Column `i` of the current row into its field of any kind but 'i'; returns its indicator (-1: NULL).
long long readField(dbl::Statement& st, int i, const DBcolumn& c, char* p, std::string& text) {
    switch (c.letter) {
        case 'b':
        case 'x': {
            long long v = 0;
            const bool value = st.readInt64(i, v);
            *reinterpret_cast<long long*>(p) = v;
            return value ? static_cast<long long>(sizeof(long long)) : -1;
        }
        case 't': {
            auto* d = reinterpret_cast<DB_DATETIME*>(p);
            if (!st.readText(i, text)) {
                d->clear();
                return -1;
            }
            if (!DBparseDate(text, *d)) d->clear();
            return static_cast<long long>(text.size());
        }
        case 's':
            if (c.width > 0) {
                // Straight into the buffer: at most width-1 bytes; the indicator has the full length.
                size_t length = 0;
                if (st.readChars(i, p, static_cast<size_t>(c.width), length))
                    return static_cast<long long>(length);
                p[0] = '\0';
                return -1;
            }
            [[fallthrough]];
        case 'u': {
            auto* s = reinterpret_cast<std::string*>(p);
            long long indicator = -1;
            if (st.readText(i, *s))
                indicator = static_cast<long long>(s->size());
            else
                s->clear();
            if (c.letter == 'u' && c.width > 0) s->resize(utf8Prefix(*s, static_cast<size_t>(c.width) - 1));
            return indicator;
        }
        default:
            return -1;
    }
}

}  // namespace

void DBtable::Impl::fillRecord(dbl::Statement& st) {
    hasRowIdentity = false;
    if (!record) return;
    const int identity = identityPosition();
    const int available = st.columnCount();
    char* const base = static_cast<char*>(record);
    std::string text;
    // Record column i from statement column `at`: the same position unless a subset is read.
    auto fill = [&](int i, int at) {
        const DBcolumn& c = columns[i];
        long long indicator = -1;
        if (at >= available) {
            clearField(c, base + c.offset);
        } else if (c.letter == 'i') {
            // Most columns are numbers kept in an int: they skip the general path.
            long long v = 0;
            if (st.readInt64(at, v)) indicator = sizeof(int);
            *reinterpret_cast<int*>(base + c.offset) = static_cast<int>(v);
            if (i == identity && indicator >= 0) {
                rowIdentity = v;
                hasRowIdentity = true;
            }
        } else {
            indicator = readField(st, at, c, base + c.offset, text);
            // The row's identity, for an update positioned on it, is read as a number whatever its kind.
            long long v = 0;
            if (i == identity && st.readInt64(at, v)) {
                rowIdentity = v;
                hasRowIdentity = true;
            }
        }
        if (indicators) indicators[i] = indicator;
    };
    if (!subset) {
        for (int i = 0; i < columnCount; ++i) fill(i, i);
        return;
    }
    if (indicators)
        for (int i = 0; i < columnCount; ++i) indicators[i] = -1;
    int at = 0;
    for (unsigned long long left = subset; left; left &= left - 1) fill(__builtin_ctzll(left), at++);
}

std::string DBtable::Impl::updateWhere() const {
    if (open && hasRow && hasRowIdentity) return identityColumn + " = " + std::to_string(rowIdentity);
    return where.text();
}

std::string DBtable::Impl::insertText() const {
    std::string names, values;
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        if (!identityColumn.empty() && identityColumn == c.name) continue;
        if (!names.empty()) {
            names += ", ";
            values += ", ";
        }
        names += c.name;
        values += literal(record, c);
    }
    return "INSERT INTO " + name + " (" + names + ") VALUES (" + values + ")";
}

std::string DBtable::Impl::setClauseFromRecord() const {
    std::string out;
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        if (!identityColumn.empty() && identityColumn == c.name) continue;
        if (!out.empty()) out += ", ";
        out += std::string(c.name) + " = " + literal(record, c);
    }
    return out;
}
