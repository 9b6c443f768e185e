#include <gtest/gtest.h>

#include "PlatformFixture.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBexecute.h"
#include "platform/db/DBtran.h"
#include "platform/db/TranWrapper.h"

using TranTest = PlatformTest;

namespace {
// One write the way an operation does it: wrapper, ensure, insert, commit if own.
int insertThrough(DBtran* callers, long long big, std::string* err) {
    TranWrapper tw(callers, "TranTest::insert");
    if (int rc = tw.ensureTran(err)) return rc;
    Widget w(tw);
    w.rec.big = big;
    if (int rc = w.rowInsert(true)) return *err = w.getErrorStr(rc), rc;
    return tw.commitIfOwnTran(err);
}
}  // namespace

TEST_F(TranTest, OwnTransactionCommitsCallersIsTheCallersAndAbandonedWorkIsRolledBack) {
    std::string err;
    EXPECT_EQ(insertThrough(nullptr, 1, &err), 0) << err;
    // A begun caller's transaction deciding the end is checked per operation on every backend. A caller's
    // transaction that was never begun is begun by the wrapper and stays the caller's.
    DBtran idle;
    EXPECT_EQ(insertThrough(&idle, 5, &err), 0) << err;
    EXPECT_TRUE(idle.active());
    EXPECT_EQ(idle.commit(&err), 0);
    {
        DBtran active;
        ASSERT_EQ(active.begin(&err), 0);
        EXPECT_EQ(insertThrough(&active, 11, &err), 0) << err;
    }  // destroyed while active: rolled back, and the connection is reused healthy
    EXPECT_EQ(insertThrough(nullptr, 12, &err), 0) << err;
    EXPECT_EQ(text("SELECT group_concat(big) FROM (SELECT big FROM Widget ORDER BY big)"), "1,5,12");
}

TEST_F(TranTest, StatementsNeedAnActiveTransactionAndCursorsEndWithIt) {
    addWidget(1, "a");
    std::string err;
    DBtran tran;
    Widget w(&tran);
    EXPECT_EQ(w.openCursor(), DB_ERR_NOT_ACTIVE);
    EXPECT_EQ(w.getErrorStr(DB_ERR_NOT_ACTIVE), "transaction is not active");
    ASSERT_EQ(tran.begin(&err), 0);
    ASSERT_EQ(w.openCursor(), 0);
    ASSERT_EQ(w.fetchCursor(), 0);
    ASSERT_EQ(tran.commit(&err), 0) << err;  // closes the cursor first
    EXPECT_FALSE(w.isOpen());
    EXPECT_EQ(w.fetchCursor(), DB_ERR_NOT_OPEN);
    EXPECT_EQ(w.openCursor(), DB_ERR_NOT_ACTIVE);
}

TEST_F(TranTest, ReadHintStartsAReadTransactionThatDoesNotBlockWriters) {
    addWidget(1, "a");
    std::string err;
    TranWrapper reader(nullptr, "TranTest::read");
    ASSERT_EQ(reader.ensureTran(&err), 0);
    reader.setHint(DBtran::kHintRead);
    Widget r(reader);
    ASSERT_EQ(r.openCursor(), 0);
    ASSERT_EQ(r.fetchCursor(), 0);
    // A writer commits while the reader's snapshot is open (a write transaction would block it for the
    // whole busy timeout); the reader keeps its snapshot without the new row.
    EXPECT_EQ(insertThrough(nullptr, 2, &err), 0) << err;
    EXPECT_EQ(r.fetchCursor(), DB_NO_DATA);
    r.closeCursor();
    EXPECT_EQ(reader.commitIfOwnTran(&err), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 2);
}

TEST_F(TranTest, FixedStatementsRunInTheTransactionOrInAutocommit) {
    addWidget(1, "a");
    std::string err;
    DBtran tran;
    ASSERT_EQ(tran.begin(&err), 0);
    EXPECT_EQ(DBexecute(&tran, "UPDATE Widget SET big = 2 WHERE name = N'a'", &err), 0) << err;
    EXPECT_EQ(tran.rollback(&err), 0);
    EXPECT_EQ(scalar("SELECT big FROM Widget"), 1);
    EXPECT_EQ(DBexecute(nullptr, "UPDATE Widget SET big = 3", &err), 0) << err;
    EXPECT_EQ(scalar("SELECT big FROM Widget"), 3);
    EXPECT_NE(DBexecute(nullptr, "UPDATE NoSuchTable SET x = 1", &err), 0);
    EXPECT_NE(err.find("NoSuchTable"), std::string::npos) << err;
}
