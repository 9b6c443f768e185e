#pragma once
// The column value objects that bindings hand to DBtable::BindInput. The layer calls only their
// virtual functions and reads `isNull`, so the platform needs no link to the task library.
#if __has_include("db/KODBDataType.h")
#include "db/KODBDataType.h"
#else
// The column values are not in this tree yet: the part of KODBDataTypeBase that the layer uses,
// with the same members and virtual slots in the same order.
#include <string>

class KODBDataTypeBase {
  public:
    bool isNull = true;
    int updated = 0;
    mutable std::string strValue;
    long long indicator = 0;

    virtual int setData(const char* data, int offset, int length, bool) = 0;
    virtual void clearMemoryOnNULL() {}
    virtual void setString() const = 0;
    virtual const std::string& getStr() const { return strValue; }
    virtual ~KODBDataTypeBase() = default;
    virtual int getDataType() const = 0;
    virtual std::string toString(int) const { return strValue; }
};
#endif
