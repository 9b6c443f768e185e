// Cursor bindings: a statement text filled from argument text or from bound value objects.
#include <gtest/gtest.h>

#include "PlatformFixture.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBformat.h"

namespace {
struct Note_t {
    std::string note;
    long long big = 0;
};
const DBcolumn kNoteCols[] = {{"note", 's', 0, offsetof(Note_t, note)},
                              {"big", 'b', 0, offsetof(Note_t, big)}};

class NoteCursor : public DBtable {
  public:
    explicit NoteCursor(const char* statement) : DBtable("NoteCursor", 0, nullptr) {
        setKind(kCursor);
        setStatementText(statement);
        setRecord(&rec, kNoteCols, 2);
    }
    std::vector<long long> bigs() {
        std::vector<long long> out;
        int rows = 0, rc;
        while ((rc = getNextRow(this, &rows, -1, 0)) == 0) out.push_back(rec.big);
        EXPECT_EQ(rc, DB_NO_DATA) << getErrorStr(rc);
        return out;
    }
    Note_t rec;
};
}  // namespace

using CursorTest = PlatformTest;

TEST_F(CursorTest, StatementTextFilledFromArgumentsOrValues) {
    addWidget(1, "o'x", "one");
    addWidget(2, "b", "two");
    addWidget(3, "c", "three");
    // Text and bound inputs in general are the procedures' checks, on every backend.
    const char* const statement =
        "SELECT note, big FROM Widget WHERE big >= %d AND name <> N'%s' ORDER BY big";
    NoteCursor text(statement);
    text.CallDBsprintfWrapper(statement, 2, "o'x");
    EXPECT_EQ(text.bigs(), (std::vector<long long>{2, 3}));

    // A date value binds in the store's text form.
    Widget w(nullptr);
    w.rec.big = 4;
    ASSERT_TRUE(DBparseDate("2021-07-08 09:10:11", w.rec.whenAt));
    ASSERT_EQ(w.rowInsert(true), 0);
    NoteCursor dated("SELECT note, big FROM Widget WHERE whenAt = N'%s'");
    KOTIMESTAMP_STRUCT ts;
    ts.year = 2021, ts.month = 7, ts.day = 8, ts.hour = 9, ts.minute = 10, ts.second = 11;
    dated.BindInput(new KODB_datetime(ts));
    dated.setValuesBound(true);
    EXPECT_EQ(dated.bigs(), (std::vector<long long>{4}));

    NoteCursor none(statement);  // no arguments: the statement text as it is, which is not valid SQL here
    EXPECT_NE(none.openCursor(), 0);
    NoteCursor empty("");
    EXPECT_EQ(empty.openCursor(), DB_ERR_NO_STATEMENT);
}

// A statement written per database: this store's text is filled, its texts placed as SQL (a blank
// condition is no condition, TOP becomes a limit), from argument text as from bound values.
TEST_F(CursorTest, PerDatabaseStatementTakesItsTextsAsSql) {
    addWidget(1, "a", "one");
    addWidget(2, "b", "two");
    addWidget(3, "c", "three");
    const char* const own = "SELECT %s note, big FROM Widget WHERE big >= %d AND %w ORDER BY big DESC";
    NoteCursor limited("not this one");
    limited.setStatementText("not this one either", own, own);
    limited.CallDBsprintfWrapper("N'%s',%d,N'%s'", "TOP 1", 2, "name <> 'c'");
    EXPECT_EQ(limited.bigs(), (std::vector<long long>{2}));

    NoteCursor all("not this one");
    all.setStatementText("not this one either", own, own);
    all.BindInput(new KODB_string(""));
    all.BindInput(new KODB_int(0));
    all.BindInput(new KODB_string("  "));
    all.setValuesBound(true);
    EXPECT_EQ(all.bigs(), (std::vector<long long>{3, 2, 1}));
}
