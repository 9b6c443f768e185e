// Between the raw record and the statements: a fetched row into the record, the record into the
// values of an insert or update (as escaped literals, which the backend turns into parameters).
#include <cstring>

#include "platform/db/DBformat.h"
#include "platform/db/DBtableImpl.h"

namespace {

char* field(void* record, const DBcolumn& c) {
    return static_cast<char*>(record) + c.offset;
}
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

void DBtable::Impl::fillRecord(dbl::Statement& st) {
    hasRowIdentity = false;
    if (!record) return;
    const int available = st.columnCount();
    const int identity = identityPosition();
    std::string text;
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        char* p = field(record, c);
        const bool present = i < available;
        long long indicator = -1;
        switch (c.letter) {
            case 'i':
            case 'b':
            case 'x': {
                long long v = 0;
                const bool value = present && st.readInt64(i, v);
                if (c.letter == 'i') {
                    *reinterpret_cast<int*>(p) = static_cast<int>(v);
                    if (value) indicator = sizeof(int);
                } else {
                    *reinterpret_cast<long long*>(p) = v;
                    if (value) indicator = sizeof(long long);
                }
                if (value && i == identity) {
                    rowIdentity = v;
                    hasRowIdentity = true;
                }
                break;
            }
            case 't': {
                auto* d = reinterpret_cast<DB_DATETIME*>(p);
                if (!present || !st.readText(i, text)) {
                    d->clear();
                    break;
                }
                if (!DBparseDate(text, *d)) d->clear();
                indicator = static_cast<long long>(text.size());
                break;
            }
            case 's':
                if (c.width > 0) {
                    // Straight into the buffer: at most width-1 bytes; the indicator has the full length.
                    size_t length = 0;
                    if (present && st.readChars(i, p, static_cast<size_t>(c.width), length))
                        indicator = static_cast<long long>(length);
                    else
                        p[0] = '\0';
                    break;
                }
                [[fallthrough]];
            case 'u': {
                auto* s = reinterpret_cast<std::string*>(p);
                if (present && st.readText(i, *s))
                    indicator = static_cast<long long>(s->size());
                else
                    s->clear();
                if (c.letter == 'u' && c.width > 0)
                    s->resize(utf8Prefix(*s, static_cast<size_t>(c.width) - 1));
                break;
            }
            default:
                break;
        }
        // An identity kept in a column of another kind is still read as a number.
        if (i == identity && !hasRowIdentity && c.letter != 'i' && c.letter != 'b' && c.letter != 'x' &&
            present) {
            long long v = 0;
            if (st.readInt64(i, v)) {
                rowIdentity = v;
                hasRowIdentity = true;
            }
        }
        if (indicators) indicators[i] = indicator;
    }
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
