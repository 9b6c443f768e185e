#pragma once
// Value objects for DBtable::BindInput: the task library's own classes when they are in the tree,
// else small local ones with the same virtual interface.
#include <memory>
#include <string>

#include "platform/db/InputValue.h"

#if __has_include("db/KODBDataType.h")

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

#else

namespace testvalues {
template <int Type>
class Value : public KODBDataTypeBase {
  public:
    explicit Value(std::string text, bool null = false) : m_text(std::move(text)) { isNull = null; }
    int setData(const char*, int, int, bool) override { return 1; }
    void setString() const override { strValue = m_text; }
    int getDataType() const override { return Type; }

  private:
    std::string m_text;
};
}  // namespace testvalues

inline KODBDataTypeBase* makeInt(int v) {
    return new testvalues::Value<1>(std::to_string(v));
}
inline KODBDataTypeBase* makeBig(long long v) {
    return new testvalues::Value<4>(std::to_string(v));
}
inline KODBDataTypeBase* makeText(const std::string& v) {
    return new testvalues::Value<6>(v);
}
inline KODBDataTypeBase* makeNullText() {
    return new testvalues::Value<6>("", true);
}

#endif
