#pragma once
// Typed column values: one object per column of a row, or per input argument of a procedure.
//
// The base class, KODBDataTypeBase, is the database layer's (platform/db/DBvalue.h): the layer binds
// procedure inputs through it alone. These typed values override its virtuals.
//
// Ownership: a value is created on the heap and owned by whoever holds it (a row, or a DBtable after
// BindInput). Thread safety: a value belongs to one thread at a time; nothing here is shared.
#include <cstddef>
#include <cstdio>
#include <string>

#include "TaskExport.h"
#include "platform/db/DBtypes.h"
#include "platform/db/DBvalue.h"

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
