// Injected faults: each step fails with the armed code and text, touches nothing, and the operation's
// own transaction leaves nothing committed.
#include <gtest/gtest.h>

#include "PlatformFixture.h"
#include "platform/db/DBfault.h"
#include "platform/db/DBtran.h"
#include "platform/db/TranWrapper.h"

using FaultTest = PlatformTest;

namespace {

constexpr int kCode = 4711;
const char* const kText = "injected failure";

// An operation in the frame's shape: insert two rows, update the first, read, delete a row that
// does not exist... each step may fail. Returns the first failure with its text.
int operation(std::string* err) {
    TranWrapper tw(nullptr, "FaultTest::operation");
    if (int rc = tw.ensureTran(err)) return rc;
    Widget w(tw);
    for (long long big : {1LL, 2LL}) {
        w.rec.big = big;
        if (int rc = w.rowInsert(true)) return *err = w.getErrorStr(rc), rc;
    }
    w.setWhere("big = %d", 1);
    if (int rc = w.rowUpdate("note = N'updated'")) return *err = w.getErrorStr(rc), rc;
    w.setWhere("big >= %d", 0);
    if (int rc = w.openCursor()) return *err = w.getErrorStr(rc), rc;
    for (int i = 0; i < 2; ++i)
        if (int rc = w.fetchCursor()) return *err = w.getErrorStr(rc), rc;
    if (int rc = w.closeCursor()) return *err = w.getErrorStr(rc), rc;
    w.setWhere("big = %d", 2);
    if (int rc = w.rowDelete()) return *err = w.getErrorStr(rc), rc;
    return tw.commitIfOwnTran(err);
}

}  // namespace

TEST_F(FaultTest, EveryStepFailsAsArmedAndNothingIsCommitted) {
    using dbfault::Step;
    const Step steps[] = {Step::Begin,  Step::Open,   Step::Fetch,  Step::Close,
                          Step::Insert, Step::Update, Step::Delete, Step::Commit};
    for (Step step : steps) {
        // The second insert and the second fetch fail, so the first already reached the store.
        const int nth = (step == Step::Insert || step == Step::Fetch) ? 2 : 1;
        std::string err;
        {
            dbfault::Scope fault(step, nth, kCode, kText);
            EXPECT_EQ(operation(&err), kCode) << dbfault::stepName(step);
            EXPECT_EQ(err, kText) << dbfault::stepName(step);
            EXPECT_EQ(dbfault::calls(step), nth) << dbfault::stepName(step);
        }
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 0) << dbfault::stepName(step);
    }
    // Disarmed, the same operation commits.
    std::string err;
    EXPECT_EQ(operation(&err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 1);
    EXPECT_EQ(text("SELECT note FROM Widget"), "updated");
}

TEST_F(FaultTest, AFailedStepLeavesTheDatabaseUntouched) {
    const int id = addWidget(5, "keep");
    std::string err;
    DBtran tran;
    ASSERT_EQ(tran.begin(&err), 0);
    Widget w(&tran);
    w.setWhere("id = %d", id);
    {
        dbfault::Scope fault(dbfault::Step::Update, 1, kCode, kText);
        EXPECT_EQ(w.rowUpdate("big = 6"), kCode);
        EXPECT_EQ(w.getErrorStr(kCode), kText);
    }
    {
        dbfault::Scope fault(dbfault::Step::Delete, 1, kCode, kText);
        EXPECT_EQ(w.rowDelete(), kCode);
    }
    {
        dbfault::Scope fault(dbfault::Step::Close, 1, kCode, kText);
        ASSERT_EQ(w.openCursor(), 0);
        EXPECT_EQ(w.closeCursor(), kCode);
        EXPECT_TRUE(w.isOpen());  // the close never happened; a later one does it
    }
    EXPECT_EQ(w.closeCursor(), 0);
    // A failed commit keeps the transaction, so the caller can still roll back or retry.
    {
        dbfault::Scope fault(dbfault::Step::Commit, 1, kCode, kText);
        EXPECT_EQ(tran.commit(&err), kCode);
        EXPECT_EQ(err, kText);
        EXPECT_TRUE(tran.active());
    }
    EXPECT_EQ(tran.commit(&err), 0) << err;
    EXPECT_EQ(scalar("SELECT big FROM Widget WHERE id = " + std::to_string(id)), 5);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 1);
}
