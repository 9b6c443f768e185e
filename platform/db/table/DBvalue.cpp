// The value base: what a bare value does; the typed values override all of it but setInternalNull.
#include "platform/db/DBvalue.h"

int KODBDataTypeBase::setData(const char*, int, int, bool) {
    indicator = 0;
    return 1;
}
void KODBDataTypeBase::clearMemoryOnNULL() {}
void KODBDataTypeBase::setString() const {}
const std::string& KODBDataTypeBase::getStr() const {
    return strValue;
}
KODBDataTypeBase::~KODBDataTypeBase() = default;
int KODBDataTypeBase::getDataType() const {
    return 0;
}
std::string KODBDataTypeBase::toString(int) const {
    setString();
    return strValue;
}

void KODBDataTypeBase::setInternalNull(bool null) {
    if (null == isNull) return;
    indicator = 0;
    isNull = null;
    if (null) clearMemoryOnNULL();
}
