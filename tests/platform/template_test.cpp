// Tables send where-clauses given as format and arguments as statement templates kept prepared on
// the connection: the values must reach the database exactly as the literal text would have.
#include <gtest/gtest.h>

#include <cstring>

#include "PlatformFixture.h"
#include "platform/db/DBtran.h"

using TemplateTest = PlatformTest;

TEST_F(TemplateTest, OnePreparedTextServesEveryValueAndNestedCursors) {
    for (int i = 1; i <= 5; ++i) addWidget(i * 10, "w" + std::to_string(i), i % 2 ? "it's odd" : "even");

    DBtran tran;
    std::string err;
    ASSERT_EQ(tran.begin(&err), 0) << err;
    Widget outer(&tran), inner(&tran);
    // Both cursors use the same template at once: the connection must not hand one statement out twice.
    outer.setWhere("big >= %lld AND note = N'%s'", 10LL, "it's odd");
    EXPECT_EQ(outer.getWhere(), "big >= 10 AND note = N'it''s odd'");
    ASSERT_EQ(outer.openCursor(), 0);
    std::vector<long long> pairs;
    while (outer.fetchCursor() == 0) {
        inner.setWhere("big >= %lld AND note = N'%s'", outer.rec.big + 1, "even");
        ASSERT_EQ(inner.openCursor(), 0) << inner.getErrorStr(1);
        while (inner.fetchCursor() == 0) pairs.push_back(outer.rec.big * 100 + inner.rec.big);
        inner.closeCursor();
    }
    outer.closeCursor();
    EXPECT_EQ(pairs, (std::vector<long long>{1020, 1040, 3040}));

    // Writes from the record and from the where-clause, on the same kept statements, value by value.
    Widget w(&tran);
    for (long long big : {20LL, 40LL}) {
        w.setWhere("big = %lld", big);
        ASSERT_EQ(w.openCursor(), 0);
        ASSERT_EQ(w.fetchCursor(), 0);
        std::strcpy(w.rec.name, "upd");
        EXPECT_EQ(w.rowUpdate(""), 0);
        w.closeCursor();
    }
    w.setWhere("name = N'%s'", "upd");
    EXPECT_EQ(w.rowDelete(), 0);
    EXPECT_EQ(w.rowsAffected(), 2);
    EXPECT_EQ(w.rowDelete(), DB_NO_DATA);
    ASSERT_EQ(tran.commit(&err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 3);

    // A template the database refuses reports the database's text like any statement.
    Widget bad(nullptr);
    bad.setWhere("no_such_column = %d", 1);
    const int rc = bad.openCursor();
    EXPECT_NE(rc, 0);
    EXPECT_NE(bad.getErrorStr(rc).find("no_such_column"), std::string::npos) << bad.getErrorStr(rc);
    EXPECT_EQ(bad.rowDelete(), rc);
}
