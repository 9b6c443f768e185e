#pragma once
// Value objects for DBtable::BindInput, made the way procedure bindings make them.
#include <string>

#include "db/KODBDataType.h"

inline KODBDataTypeBase* makeInt(int v) {
    return new KODBPrimitiveType<int, &KODB_int_format, 1>(v);
}
inline KODBDataTypeBase* makeBig(long long v) {
    return new KODBPrimitiveType<long long, &KODB___int64_format, 4>(v);
}
inline KODBDataTypeBase* makeText(const std::string& v) {
    return new KODB_string(v.c_str());
}
inline KODBDataTypeBase* makeNullText() {
    return new KODB_string();
}
