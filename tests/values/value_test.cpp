// Column values: null/updated states, text forms and raw byte copies that the database layer relies on.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <tuple>

#include "db/KODBDataType.h"

namespace {

// Counts the calls the base makes when a value becomes NULL.
class CountingInt : public KODB_int {
  public:
    using KODB_int::KODB_int;
    void clearMemoryOnNULL() override { ++clears; }
    int clears = 0;
};

TEST(ValueTest, DefaultIsNullAndNotUpdatedValueConstructedIsSetAndUpdated) {
    std::unique_ptr<KODBDataTypeBase> defaults[] = {
        std::make_unique<KODB_int>(), std::make_unique<KODB_int64>(), std::make_unique<KODB_datetime>(),
        std::make_unique<KODB_string>()};
    for (const auto& d : defaults) {  // the type codes are checked per column kind in the row tests
        EXPECT_TRUE(d->isNull);
        EXPECT_EQ(d->updated, KODB_NOT_UPDATED);
    }
    EXPECT_EQ(defaults[3]->toString(0), "");  // a default text value holds the empty text

    KOTIMESTAMP_STRUCT when;
    when.year = 2024, when.month = 2, when.day = 29, when.hour = 13, when.minute = 5, when.second = 9;
    std::unique_ptr<KODBDataTypeBase> set[] = {
        std::make_unique<KODB_int>(-5), std::make_unique<KODB_int64>(LLONG_MAX),
        std::make_unique<KODB_datetime>(when), std::make_unique<KODB_string>(std::string("O'Brien")),
        std::make_unique<KODB_string>("plain")};
    const char* texts[] = {"-5", "9223372036854775807", "2024-02-29 13:05:09", "O'Brien", "plain"};
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(set[i]->isNull) << i;
        EXPECT_EQ(set[i]->updated, KODB_UPDATED) << i;
        set[i]->setString();
        EXPECT_EQ(set[i]->getStr(), texts[i]) << i;
    }

    // A null C string is SQL NULL, but it was given, so it counts as set.
    KODB_string none(static_cast<const char*>(nullptr));
    EXPECT_TRUE(none.isNull);
    EXPECT_EQ(none.updated, KODB_UPDATED);
}

// Only a change of state resets the indicator and clears; text is emptied, numbers keep their value.
TEST(ValueTest, NullTransitionsResetIndicatorAndClearOnlyWhenTheStateChanges) {
    CountingInt v;
    v.indicator = 7;
    v.setInternalNull(true);  // already NULL: nothing at all happens
    EXPECT_EQ(v.indicator, 7);
    EXPECT_EQ(v.clears, 0);
    v.setInternalNull(false);
    EXPECT_FALSE(v.isNull);
    EXPECT_EQ(v.indicator, 0);
    EXPECT_EQ(v.clears, 0);

    v.value = 42;
    v.indicator = 5;
    v.setInternalNull(true);
    EXPECT_TRUE(v.isNull);
    EXPECT_EQ(std::make_tuple(v.indicator, v.clears, v.value), std::make_tuple(0LL, 1, 42));
    EXPECT_EQ(v.updated, KODB_NOT_UPDATED);  // only setUpdated changes it

    KODB_string text("some text");
    text.setString();
    text.setInternalNull(true);
    EXPECT_EQ(text.value, "");
    EXPECT_EQ(text.getStr(), "");
}

TEST(ValueTest, SetDataCopiesBytesInsideTheValueOnly) {
    const long long bits = 0x0102030405060708LL;
    KODB_int64 big;
    EXPECT_EQ(big.setData(reinterpret_cast<const char*>(&bits), 0, 8, false), 1);
    EXPECT_EQ(big.value, bits);
    KODB_int small(0);
    small.indicator = 9;
    int four = 4;
    EXPECT_EQ(small.setData(reinterpret_cast<const char*>(&four), 0, 2, false), 1);
    EXPECT_EQ(small.value, 4);
    EXPECT_EQ(small.indicator, 0);
    // A range past the value's end is refused and changes nothing.
    EXPECT_EQ(small.setData(reinterpret_cast<const char*>(&bits), 2, 4, false), 0);
    EXPECT_EQ(small.value, 4);

    KODB_string text("abc");
    EXPECT_EQ(text.setData("XYZ", 2, 3, false), 1);
    EXPECT_EQ(text.value, "abXYZ");

    KODB_datetime when;
    KOTIMESTAMP_STRUCT t;
    t.year = 1999, t.month = 12, t.day = 31;
    EXPECT_EQ(when.setData(reinterpret_cast<const char*>(&t), 0, sizeof t, false), 1);
    EXPECT_EQ(when.toString(0), "1999-12-31 00:00:00");
    EXPECT_EQ(when.setData(reinterpret_cast<const char*>(&t), 1, sizeof t, false), 0);
}

}  // namespace
