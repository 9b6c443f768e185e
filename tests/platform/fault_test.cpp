// Injected faults on the table layer: a failed step touches nothing and a failed commit keeps the
// transaction. The operations' sweeps (options, records) check that their own transactions commit nothing.
#include <gtest/gtest.h>

#include "PlatformFixture.h"
#include "platform/db/DBfault.h"
#include "platform/db/DBtran.h"

using FaultTest = PlatformTest;

namespace {

constexpr int kCode = 4711;
const char* const kText = "injected failure";

}  // namespace

TEST_F(FaultTest, AFailedStepLeavesTheDatabaseUntouched) {
    const int id = addWidget(5, "keep");
    std::string err;
    DBtran tran;
    ASSERT_EQ(tran.begin(&err), 0);
    Widget w(&tran);
    w.setWhere("id = %d", id);
    // Failed updates and deletes are checked through the wrappers on every backend.
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
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget WHERE big = 5"), 1);
}
