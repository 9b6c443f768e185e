#include <gtest/gtest.h>

#include <cstring>

#include "PlatformFixture.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBformat.h"
#include "platform/db/DBtran.h"

using TableTest = PlatformTest;

TEST_F(TableTest, InsertAssignsIdentitiesAndOpenFetchCloseReadsThemBack) {
    Widget w(nullptr);
    w.rec.big = 1LL << 40;
    std::strcpy(w.rec.name, "first");
    w.rec.note = "a note";
    w.rec.label = "lbl";
    ASSERT_TRUE(DBparseDate("2023-05-06 07:08:09", w.rec.whenAt));
    w.rec.stamp = -17;
    int rc = w.rowInsert(true);
    ASSERT_EQ(rc, 0) << w.getErrorStr(rc);
    const int first = w.rec.id;
    EXPECT_GT(first, 0);
    const int second = addWidget(2, "second");
    EXPECT_GT(second, first);

    Widget r(nullptr);
    r.setWhere("big >= %lld", 1LL);
    ASSERT_EQ(r.openCursor(), 0);
    ASSERT_EQ(r.fetchCursor(), 0);  // ordered by the identity
    EXPECT_EQ(r.rec.id, first);
    EXPECT_STREQ(r.rec.name, "first");
    EXPECT_EQ(r.rec.note, "a note");
    EXPECT_EQ(r.rec.label, "lbl");
    EXPECT_EQ(DBodbcDate(r.rec.whenAt), "2023-05-06 07:08:09");
    EXPECT_EQ(r.rec.stamp, -17);
    // Re-reading the current row refreshes the record without moving on.
    r.rec.big = 0;
    ASSERT_EQ(r.fetchCursor(false), 0);
    EXPECT_EQ(r.rec.big, 1LL << 40);
    ASSERT_EQ(r.fetchCursor(), 0);
    EXPECT_EQ(r.rec.id, second);
    EXPECT_EQ(r.fetchCursor(), DB_NO_DATA);
    EXPECT_EQ(r.closeCursor(), 0);
    EXPECT_EQ(r.closeCursor(), 0);
    EXPECT_EQ(r.fetchCursor(), DB_ERR_NOT_OPEN);
}

TEST_F(TableTest, UpdatesOnAFetchedRowTouchThatRowOnly) {
    addWidget(7, "a");
    addWidget(7, "b");
    // An empty set clause writes every column but the identity from the record. Past the last row the
    // where-clause chooses the rows again.
    Widget w(nullptr);
    w.setWhere("big = %d", 7);
    ASSERT_EQ(w.openCursor(), 0);
    ASSERT_EQ(w.fetchCursor(), 0);
    std::strcpy(w.rec.name, "A");
    w.rec.note = "from record";
    EXPECT_EQ(w.rowUpdate(""), 0);
    EXPECT_EQ(w.rowsAffected(), 1);
    ASSERT_EQ(w.fetchCursor(), 0);
    EXPECT_EQ(w.rowUpdate("note = N'second'"), 0);
    EXPECT_EQ(w.fetchCursor(), DB_NO_DATA);
    EXPECT_EQ(w.rowUpdate("stamp = 1"), 0);
    EXPECT_EQ(w.rowsAffected(), 2);
    EXPECT_EQ(text("SELECT group_concat(name || '|' || note || '|' || stamp, ' ') FROM Widget"),
              "A|from record|1 b|second|1");
    EXPECT_EQ(scalar("SELECT COUNT(whenAt) FROM Widget"), 0);  // the empty date is written as NULL

    // The database's own error text comes back for a bad statement, sent as text or as a template.
    w.setWhereText("no_such_column = 1");
    int rc = w.rowDelete();
    EXPECT_TRUE(rc != 0 && rc != DB_NO_DATA);
    EXPECT_NE(w.getErrorStr(rc).find("no_such_column"), std::string::npos) << w.getErrorStr(rc);
    w.setWhere("no_such_column = %d", 1);
    rc = w.openCursor();
    EXPECT_NE(w.getErrorStr(rc).find("no_such_column"), std::string::npos) << w.getErrorStr(rc);
    EXPECT_FALSE(w.isOpen());
}

TEST_F(TableTest, NestedCursorsOnOneTemplateStepApart) {
    for (int i = 1; i <= 5; ++i) addWidget(i * 10, "w", i % 2 ? "it's odd" : "even");
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
        ASSERT_EQ(inner.openCursor(), 0);
        while (inner.fetchCursor() == 0) pairs.push_back(outer.rec.big * 100 + inner.rec.big);
        inner.closeCursor();
    }
    outer.closeCursor();
    EXPECT_EQ(pairs, (std::vector<long long>{1020, 1040, 3040}));
}

TEST_F(TableTest, NullsClearTheRecordAndLongValuesAreCut) {
    exec(
        "INSERT INTO Widget (big, name, note, label, whenAt, stamp) VALUES (NULL, NULL, NULL, NULL, NULL, "
        "NULL)");
    // Values longer than their buffers: s8 keeps 7 bytes, u5 keeps 4 characters (here 2-byte ones).
    exec("INSERT INTO Widget (big, name, note, label) VALUES (1, 'abcdefghij', '" + std::string(5000, 'n') +
         "', N'\xc3\xa9\xc3\xa8\xc3\xaa\xc3\xab\xc3\xaf\xc3\xae')");
    Widget w(nullptr);
    std::strcpy(w.rec.name, "stale");
    w.rec.note = "stale";
    w.rec.big = 7;
    ASSERT_TRUE(DBparseDate("2000-01-01", w.rec.whenAt));
    ASSERT_EQ(w.openCursor(), 0);
    ASSERT_EQ(w.fetchCursor(), 0);
    EXPECT_EQ(w.rec.big, 0);
    EXPECT_STREQ(w.rec.name, "");
    EXPECT_EQ(w.rec.note, "");
    EXPECT_EQ(DBodbcDate(w.rec.whenAt), "");
    for (int i = 1; i < kWidgetColumnCount; ++i) EXPECT_EQ(w.indicators[i], -1) << i;
    EXPECT_EQ(w.indicators[0], static_cast<long long>(sizeof(int)));

    ASSERT_EQ(w.fetchCursor(), 0);
    EXPECT_STREQ(w.rec.name, "abcdefg");
    EXPECT_EQ(w.indicators[2], 10);  // the full length before the cut
    EXPECT_EQ(w.rec.note.size(), 5000u);
    EXPECT_EQ(w.rec.label, "\xc3\xa9\xc3\xa8\xc3\xaa\xc3\xab");
    EXPECT_EQ(w.indicators[4], 12);
}

TEST_F(TableTest, AColumnSubsetFillsOnlyItsFieldsAndRefusesRecordWrites) {
    const int id = addWidget(5, "five", "kept");
    Widget w(nullptr);
    w.rec.big = 99;
    w.rec.note = "untouched";
    w.setColumnSubset("id, name, stamp", 1u << 0 | 1u << 2 | 1u << 6);
    ASSERT_EQ(w.openCursor(), 0);
    ASSERT_EQ(w.fetchCursor(), 0);
    EXPECT_EQ(w.rec.id, id);
    EXPECT_STREQ(w.rec.name, "five");
    EXPECT_EQ(w.rec.big, 99);
    EXPECT_EQ(w.rec.note, "untouched");
    EXPECT_EQ(w.indicators[2], 4);
    EXPECT_EQ(w.indicators[1], -1);
    EXPECT_EQ(w.indicators[3], -1);
    // Writing the record would store fields that were never read.
    EXPECT_EQ(w.rowUpdate(""), DB_ERR_PARTIAL_RECORD);
    EXPECT_EQ(w.rowInsert(false), DB_ERR_PARTIAL_RECORD);
    // A set clause of the caller's still updates the fetched row, found by its identity.
    ASSERT_EQ(w.rowUpdate("big = 6"), 0);
    ASSERT_EQ(w.closeCursor(), 0);
    EXPECT_EQ(scalar("SELECT big FROM Widget WHERE id = " + std::to_string(id)), 6);
    EXPECT_EQ(text("SELECT note FROM Widget WHERE id = " + std::to_string(id)), "kept");
}

TEST_F(TableTest, FetchTextAndRowHelpers) {
    addWidget(1, "x", "<a>");
    addWidget(2, "y", "<b/>");
    addWidget(3, "z", "</a>");
    Widget w(nullptr), n(nullptr);
    w.setColumnList("note");
    std::string xml;
    EXPECT_EQ(w.fetchText(xml), 0);
    EXPECT_EQ(xml, "<a><b/></a>");  // every row's text, joined
    EXPECT_FALSE(w.isOpen());

    // getNextRow stops at its limit and closes.
    int rows = 0, rc;
    std::vector<long long> seen;
    while ((rc = getNextRow(&n, &rows, 2, 0)) == 0) seen.push_back(n.rec.big);
    EXPECT_EQ(rc, DB_NO_DATA);
    EXPECT_EQ(seen, (std::vector<long long>{1, 2}));
    EXPECT_FALSE(n.isOpen());
}

TEST_F(TableTest, ASecondStatementInOneCallIsRefusedNotIgnored) {
    addWidget(1, "a");
    Widget w(nullptr);
    w.setWhereText("big = 1; DELETE FROM Widget");
    int rc = w.openCursor();
    EXPECT_NE(w.getErrorStr(rc).find("more than one statement"), std::string::npos) << w.getErrorStr(rc);
    EXPECT_NE(w.rowUpdate("big = 2"), 0);
    EXPECT_EQ(scalar("SELECT big FROM Widget"), 1);
    // A trailing semicolon or comment is not a second statement.
    w.setWhereText("big = 1; -- the only one");
    EXPECT_EQ(getOneRow(&w, false, -1, 0), 0);
    EXPECT_STREQ(w.rec.name, "a");
}
