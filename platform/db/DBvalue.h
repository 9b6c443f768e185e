#pragma once
// The base of the column value objects: what the bindings hand to DBtable::BindInput and what a
// row holds per column. The layer reads a value only through the virtual functions below and
// `isNull`; the typed values (db/KODBDataType.h) derive from it in the task library.
//
// Keep every virtual below virtual and in this order: the typed values and their callers rely on
// the slot order. Ownership: a value is created on the heap and owned by whoever holds it (a row,
// or a DBtable after BindInput). Thread safety: a value belongs to one thread at a time.
#include <string>

#include "platform/PlatformExport.h"

// Whether a value was set since construction.
enum UpdatedStatus : int { KODB_NOT_UPDATED = 0, KODB_UPDATED = 1 };

class KO_PLATFORM_API KODBDataTypeBase {
  public:
    bool isNull = true;
    UpdatedStatus updated = KODB_NOT_UPDATED;
    // The text form of the value, refreshed by setString(); the composite types keep it current.
    mutable std::string strValue;
    // Length/indicator word for the database layer; 0 after every setData and null-state change.
    long long indicator = 0;

    KODBDataTypeBase() = default;
    KODBDataTypeBase(const KODBDataTypeBase&) = default;
    KODBDataTypeBase& operator=(const KODBDataTypeBase&) = default;

    // Copies `length` bytes of `data` into the value, `offset` bytes in; resets `indicator`.
    // Returns 1, or 0 (nothing copied) when the range does not lie inside the value.
    virtual int setData(const char* data, int offset, int length, bool);
    // Called when the value becomes NULL; only text values drop their content.
    virtual void clearMemoryOnNULL();
    // Refreshes strValue from the value.
    virtual void setString() const;
    // strValue, as last refreshed.
    virtual const std::string& getStr() const;
    virtual ~KODBDataTypeBase();
    // 1 int, 4 64-bit integer, 5 timestamp, 6 text; 0 for the bare base.
    virtual int getDataType() const;
    // The text form of the value (refreshes strValue first); the argument is not used.
    virtual std::string toString(int) const;

    // Changes the null state; going NULL clears the indicator and calls clearMemoryOnNULL(). Asking
    // for the current state does nothing at all.
    void setInternalNull(bool null);
    void setUpdated(UpdatedStatus status) { updated = status; }
};
