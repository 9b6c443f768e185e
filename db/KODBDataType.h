#pragma once
// Typed column values: one object per column of a row, or per input argument of a procedure.
//
// The database layer binds procedure inputs through this header alone: it calls only the virtual
// functions and reads the public `isNull`, so it needs no link to the task library. Keep every
// virtual below virtual and in this order.
//
// Ownership: a value is created on the heap and owned by whoever holds it (a row, or a DBtable after
// BindInput). Thread safety: a value belongs to one thread at a time; nothing here is shared.
#include <cstddef>
#include <cstdio>
#include <string>

#include "TaskExport.h"
#include "platform/db/DBtypes.h"

// Whether a value was set since construction.
enum UpdatedStatus : int { KODB_NOT_UPDATED = 0, KODB_UPDATED = 1 };

class TASKDB_API KODBDataTypeBase {
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

// printf formats of the integer values.
extern TASKDB_API const char* const KODB_int_format;
extern TASKDB_API const char* const KODB___int64_format;

// Helpers shared by the value templates (defined in KODBDataType.cpp).
namespace kodb {
// Copies into [dest, dest + size) when [offset, offset + length) lies inside it; false otherwise.
TASKDB_API bool copyInto(void* dest, size_t size, const char* data, int offset, int length);
}  // namespace kodb

// A value held as one C++ integer, written as text with *FMT.
template <typename T, const char* const* FMT, int CODE>
class KODBPrimitiveType : public KODBDataTypeBase {
  public:
    T value{};

    // NULL, not updated.
    KODBPrimitiveType() {
        setInternalNull(true);
        setUpdated(KODB_NOT_UPDATED);
    }
    // Not NULL, updated.
    explicit KODBPrimitiveType(T v) : value(v) {
        setInternalNull(false);
        setUpdated(KODB_UPDATED);
    }

    int setData(const char* data, int offset, int length, bool) override {
        if (!kodb::copyInto(&value, sizeof value, data, offset, length)) return 0;
        indicator = 0;
        return 1;
    }
    void setString() const override {
        char buffer[100];
        std::snprintf(buffer, sizeof buffer, getFormatString(), value);
        strValue = buffer;
    }
    int getDataType() const override { return CODE; }
    const char* getFormatString() const { return *FMT; }

    // Stores a number: not NULL, updated.
    void setValue(T v) {
        value = v;
        indicator = 0;
        setInternalNull(false);
        setUpdated(KODB_UPDATED);
    }
};

using KODB_int = KODBPrimitiveType<int, &KODB_int_format, 1>;
using KODB_int64 = KODBPrimitiveType<long long, &KODB___int64_format, 4>;

template <typename T, int CODE>
class KODBCompositeType;

// A timestamp; its text is "YYYY-MM-DD HH:MM:SS" ("" while the value is all zero).
template <>
class TASKDB_API KODBCompositeType<KOTIMESTAMP_STRUCT, 5> : public KODBDataTypeBase {
  public:
    KOTIMESTAMP_STRUCT value{};

    KODBCompositeType();
    explicit KODBCompositeType(const KOTIMESTAMP_STRUCT& v);
    int setData(const char* data, int offset, int length, bool) override;
    void setString() const override;
    int getDataType() const override;
};

// A text value; strValue follows the value on every setString().
template <>
class TASKDB_API KODBCompositeType<std::string, 6> : public KODBDataTypeBase {
  public:
    std::string value;

    KODBCompositeType();
    explicit KODBCompositeType(const std::string& v);
    // Writes `length` bytes at `offset`, growing the text when it is shorter than offset + length.
    int setData(const char* data, int offset, int length, bool) override;
    void setString() const override;
    int getDataType() const override;
};

class TASKDB_API KODB_datetime : public KODBCompositeType<KOTIMESTAMP_STRUCT, 5> {
  public:
    KODB_datetime() = default;
    explicit KODB_datetime(const KOTIMESTAMP_STRUCT& v) : KODBCompositeType(v) {}
};

class TASKDB_API KODB_string : public KODBCompositeType<std::string, 6> {
  public:
    KODB_string() = default;
    explicit KODB_string(const std::string& v) : KODBCompositeType(v) {}
    // A null pointer gives a NULL value (updated), any other text a non-NULL one.
    explicit KODB_string(const char* v);
    // Going NULL empties the text.
    void clearMemoryOnNULL() override;
};

extern template class TASKDB_API KODBPrimitiveType<int, &KODB_int_format, 1>;
extern template class TASKDB_API KODBPrimitiveType<long long, &KODB___int64_format, 4>;
