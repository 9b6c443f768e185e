#pragma once
// A fresh SQLite store per test with the reference schema and a test table `Widget` described by
// the test's own raw record, the way generated bindings describe theirs.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "db/KODBDataType.h"
#include "platform/db/DBtable.h"
#include "platform/db/DBtypes.h"
#include "support/TestStore.h"

struct Widget_t {
    int id = 0;           // identity
    long long big = 0;    // b
    char name[8] = {};    // s8: at most 7 bytes
    std::string note;     // s: unbounded
    std::string label;    // u5: at most 4 characters
    DB_DATETIME whenAt;   // t
    long long stamp = 0;  // x
};
constexpr int kWidgetColumnCount = 7;

// The table binding of Widget, as the generator would write it.
class Widget : public DBtable {
  public:
    explicit Widget(DBtran* tran);
    Widget_t rec;
    long long indicators[kWidgetColumnCount] = {};
};

// Creates a store file under the temp directory and makes it the configured URL.
class PlatformTest : public ::testing::Test, protected StoreSql {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Inserts a Widget row through the table binding, without a transaction; returns its id.
    int addWidget(long long big, const std::string& name, const std::string& note = "");

    std::string path;
    std::string url;
};

// Value objects for DBtable::BindInput, made the way procedure bindings make them; the table owns them.
inline KODBDataTypeBase* makeInt(int v) {
    return new KODBPrimitiveType<int, &KODB_int_format, 1>(v);
}
inline KODBDataTypeBase* makeBig(long long v) {
    return new KODBPrimitiveType<long long, &KODB___int64_format, 4>(v);
}
inline KODBDataTypeBase* makeText(const char* v) {
    return v ? new KODB_string(v) : new KODB_string();
}
