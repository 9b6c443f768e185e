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

void DBtable::Impl::fillRecord(dbl::Statement& st) {
    hasRowIdentity = false;
    if (!record) return;
    const int available = st.columnCount();
    std::string text;
    for (int i = 0; i < columnCount; ++i) {
        const DBcolumn& c = columns[i];
        if (!identityColumn.empty() && identityColumn == c.name && i < available && !st.columnIsNull(i)) {
            rowIdentity = st.columnInt64(i);
            hasRowIdentity = true;
        }
        char* p = field(record, c);
        const bool null = i >= available || st.columnIsNull(i);
        long long indicator = -1;
        switch (c.letter) {
            case 'i':
                *reinterpret_cast<int*>(p) = null ? 0 : static_cast<int>(st.columnInt64(i));
                if (!null) indicator = sizeof(int);
                break;
            case 'b':
            case 'x':
                *reinterpret_cast<long long*>(p) = null ? 0 : st.columnInt64(i);
                if (!null) indicator = sizeof(long long);
                break;
            case 't': {
                auto* d = reinterpret_cast<DB_DATETIME*>(p);
                if (null) {
                    d->clear();
                    break;
                }
                st.columnText(i, text);
                if (!DBparseDate(text, *d)) d->clear();
                indicator = static_cast<long long>(text.size());
                break;
            }
            case 's':
            case 'u': {
                if (null)
                    text.clear();
                else
                    st.columnText(i, text);
                if (!null) indicator = static_cast<long long>(text.size());
                if (c.letter == 's' && c.width > 0) {
                    size_t n = text.size() < static_cast<size_t>(c.width) - 1
                                   ? text.size()
                                   : static_cast<size_t>(c.width) - 1;
                    std::memcpy(p, text.data(), n);
                    p[n] = '\0';
                } else {
                    auto* s = reinterpret_cast<std::string*>(p);
                    if (c.letter == 'u' && c.width > 0)
                        s->assign(text, 0, utf8Prefix(text, static_cast<size_t>(c.width) - 1));
                    else
                        s->swap(text);
                }
                break;
            }
            default:
                break;
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
