#include "db/KODBDataType.h"

#include <cstring>

const char* const KODB_int_format = "%d";
const char* const KODB___int64_format = "%lld";

template class KODBPrimitiveType<int, &KODB_int_format, 1>;
template class KODBPrimitiveType<long long, &KODB___int64_format, 4>;

bool kodb::copyInto(void* dest, size_t size, const char* data, int offset, int length) {
    if (!data || offset < 0 || length < 0) return false;
    if (static_cast<size_t>(offset) + static_cast<size_t>(length) > size) return false;
    std::memcpy(static_cast<char*>(dest) + offset, data, static_cast<size_t>(length));
    return true;
}

// ---- timestamp

using KODBTimestamp = KODBCompositeType<KOTIMESTAMP_STRUCT, 5>;

KODBTimestamp::KODBCompositeType() {
    setInternalNull(true);
    setUpdated(KODB_NOT_UPDATED);
}
KODBTimestamp::KODBCompositeType(const KOTIMESTAMP_STRUCT& v) : value(v) {
    setInternalNull(false);
    setUpdated(KODB_UPDATED);
}
int KODBTimestamp::setData(const char* data, int offset, int length, bool) {
    if (!kodb::copyInto(&value, sizeof value, data, offset, length)) return 0;
    indicator = 0;
    return 1;
}
void KODBTimestamp::setString() const {
    const KOTIMESTAMP_STRUCT& t = value;
    if (t.year == 0 && t.month == 0 && t.day == 0 && t.hour == 0 && t.minute == 0 && t.second == 0) {
        strValue.clear();
        return;
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u %02u:%02u:%02u", t.year, unsigned{t.month},
                  unsigned{t.day}, unsigned{t.hour}, unsigned{t.minute}, unsigned{t.second});
    strValue = buffer;
}
int KODBTimestamp::getDataType() const {
    return 5;
}

// ---- text

using KODBText = KODBCompositeType<std::string, 6>;

KODBText::KODBCompositeType() {
    setInternalNull(true);
    setUpdated(KODB_NOT_UPDATED);
}
KODBText::KODBCompositeType(const std::string& v) : value(v) {
    strValue = value;
    setInternalNull(false);
    setUpdated(KODB_UPDATED);
}
int KODBText::setData(const char* data, int offset, int length, bool) {
    if (!data || offset < 0 || length < 0) return 0;
    size_t end = static_cast<size_t>(offset) + static_cast<size_t>(length);
    if (value.size() < end) value.resize(end);
    value.replace(static_cast<size_t>(offset), static_cast<size_t>(length), data,
                  static_cast<size_t>(length));
    indicator = 0;
    return 1;
}
void KODBText::setString() const {
    strValue = value;
}
int KODBText::getDataType() const {
    return 6;
}

KODB_string::KODB_string(const char* v) {
    if (!v) {
        setUpdated(KODB_UPDATED);
        return;
    }
    value = v;
    strValue = value;
    setInternalNull(false);
    setUpdated(KODB_UPDATED);
}

void KODB_string::clearMemoryOnNULL() {
    value.clear();
    strValue.clear();
}
