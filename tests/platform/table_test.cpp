#include <gtest/gtest.h>

#include <cstring>

#include "PlatformFixture.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBformat.h"
#include "platform/db/DBtran.h"

using TableTest = PlatformTest;

namespace {
std::string idIs(int id) {
    return " FROM Widget WHERE id = " + std::to_string(id);
}
}  // namespace

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
    EXPECT_EQ(w.rowsAffected(), 1);
    const int second = addWidget(2, "second");
    EXPECT_GT(second, first);

    Widget r(nullptr);
    r.setWhere("big >= %lld", 1LL);
    rc = r.openCursor();
    ASSERT_EQ(rc, 0) << r.getErrorStr(rc);
    ASSERT_EQ(r.fetchCursor(), 0);  // ordered by the identity
    EXPECT_EQ(r.rec.id, first);
    EXPECT_EQ(r.rec.big, 1LL << 40);
    EXPECT_STREQ(r.rec.name, "first");
    EXPECT_EQ(r.rec.note, "a note");
    EXPECT_EQ(r.rec.label, "lbl");
    EXPECT_EQ(DBodbcDate(r.rec.whenAt), "2023-05-06 07:08:09");
    EXPECT_EQ(r.rec.stamp, -17);
    // Re-reading the current row refreshes the record without moving on.
    r.rec.big = 0;
    ASSERT_EQ(r.fetchCursor(false), 0);
    EXPECT_EQ(r.rec.id, first);
    EXPECT_EQ(r.rec.big, 1LL << 40);
    ASSERT_EQ(r.fetchCursor(), 0);
    EXPECT_EQ(r.rec.id, second);
    EXPECT_EQ(r.fetchCursor(), DB_NO_DATA);
    EXPECT_EQ(r.getErrorStr(DB_NO_DATA), "No data");
    EXPECT_EQ(r.closeCursor(), 0);
    EXPECT_FALSE(r.isOpen());
    EXPECT_EQ(r.closeCursor(), 0);
    EXPECT_EQ(r.fetchCursor(), DB_ERR_NOT_OPEN);
}

TEST_F(TableTest, UpdateAndDeleteWorkOnTheWhereClauseOrTheFetchedRow) {
    const int a = addWidget(7, "a");
    const int b = addWidget(7, "b");
    Widget w(nullptr);
    w.setWhere("id = %d", a);
    EXPECT_EQ(w.rowUpdate(DBformat("note = N'%s', big = %d", "it's", 10)), 0);
    EXPECT_EQ(w.rowsAffected(), 1);
    EXPECT_EQ(text("SELECT note" + idIs(a)), "it's");
    EXPECT_EQ(scalar("SELECT big" + idIs(b)), 7);

    // On a fetched row an update rewrites that row only; an empty set clause writes every column but
    // the identity from the record.
    w.setWhere("id >= %d", a);
    ASSERT_EQ(w.openCursor(), 0);
    ASSERT_EQ(w.fetchCursor(), 0);
    ASSERT_EQ(w.rec.id, a);
    std::strcpy(w.rec.name, "A");
    w.rec.note = "from record";
    w.rec.whenAt.clear();
    EXPECT_EQ(w.rowUpdate(""), 0);
    EXPECT_EQ(w.rowsAffected(), 1);
    ASSERT_EQ(w.fetchCursor(), 0);
    EXPECT_EQ(w.rowUpdate("note = N'second'"), 0);
    EXPECT_EQ(w.fetchCursor(), DB_NO_DATA);
    // Past the last row, and with the cursor closed, the where-clause chooses the rows again.
    EXPECT_EQ(w.rowUpdate("stamp = 1"), 0);
    EXPECT_EQ(w.rowsAffected(), 2);
    w.closeCursor();
    EXPECT_EQ(w.rowUpdate("stamp = stamp + 2"), 0);
    EXPECT_EQ(w.rowsAffected(), 2);
    EXPECT_EQ(text("SELECT name || '|' || note || '|' || big || '|' || stamp" + idIs(a)),
              "A|from record|10|3");
    EXPECT_EQ(text("SELECT name || '|' || note || '|' || stamp" + idIs(b)), "b|second|3");
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget WHERE whenAt IS NULL"), 2);

    // Nothing matched: 100, as ODBC reports it.
    w.setWhere("id = %d", 12345);
    EXPECT_EQ(w.rowUpdate("big = 1"), DB_NO_DATA);
    EXPECT_EQ(w.rowDelete(), DB_NO_DATA);
    w.setWhere("id = %d", b);
    EXPECT_EQ(w.rowDelete(), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 1);

    // The database's own error text comes back for a bad statement.
    w.setWhereText("no_such_column = 1");
    int rc = w.rowDelete();
    EXPECT_NE(rc, 0);
    EXPECT_NE(rc, DB_NO_DATA);
    EXPECT_NE(w.getErrorStr(rc).find("no_such_column"), std::string::npos) << w.getErrorStr(rc);
    EXPECT_NE(w.openCursor(), 0);
    EXPECT_FALSE(w.isOpen());
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
    w.closeCursor();
}

TEST_F(TableTest, FetchTextAndRowHelpers) {
    addWidget(1, "x", "<a>");
    addWidget(2, "y", "<b/>");
    addWidget(3, "z", "</a>");

    Widget w(nullptr);
    w.setColumnList("note");
    std::string xml;
    EXPECT_EQ(w.fetchText(xml), 0);
    EXPECT_EQ(xml, "<a><b/></a>");
    EXPECT_FALSE(w.isOpen());
    w.setWhere("id < %d", 0);
    EXPECT_EQ(w.fetchText(xml), 0);
    EXPECT_EQ(xml, "");

    // getNextRow: every row, or up to a limit, and closes at the end.
    for (int limit : {-1, 2}) {
        Widget n(nullptr);
        int rows = 0, rc;
        std::vector<long long> seen;
        while ((rc = getNextRow(&n, &rows, limit, 0)) == 0) seen.push_back(n.rec.big);
        EXPECT_EQ(rc, DB_NO_DATA);
        const std::vector<long long> all{1, 2, 3};
        EXPECT_EQ(seen, limit < 0 ? all : std::vector<long long>(all.begin(), all.begin() + limit));
        EXPECT_FALSE(n.isOpen());
    }
    Widget n(nullptr);
    n.setWhere("big = %d", 3);
    EXPECT_EQ(getOneRow(&n, false, -1, 0), 0);
    EXPECT_STREQ(n.rec.name, "z");
    EXPECT_FALSE(n.isOpen());
    n.setWhere("big = %d", 4);
    EXPECT_EQ(getOneRow(&n, false, -1, 0), DB_NO_DATA);
}

TEST_F(TableTest, ASecondStatementInOneCallIsRefusedNotIgnored) {
    addWidget(1, "a");
    Widget w(nullptr);
    w.setWhereText("big = 1; DELETE FROM Widget");
    int rc = w.openCursor();
    EXPECT_NE(rc, 0);
    EXPECT_NE(w.getErrorStr(rc).find("more than one statement"), std::string::npos) << w.getErrorStr(rc);
    EXPECT_NE(w.rowUpdate("big = 2"), 0);
    EXPECT_EQ(scalar("SELECT big FROM Widget"), 1);
    // A trailing semicolon or comment is not a second statement.
    w.setWhereText("big = 1; -- the only one");
    EXPECT_EQ(getOneRow(&w, false, -1, 0), 0);
    EXPECT_STREQ(w.rec.name, "a");
}
