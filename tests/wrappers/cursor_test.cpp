// Opening, fetching and closing through a wrapper: what is closed, logged and reported, per kind.
#include <gtest/gtest.h>

#include "Db/Proc/TM_GetAllJobOptions.h"
#include "platform/db/DBfault.h"
#include "platform/db/DBtran.h"
#include "support/TestStore.h"
#include "wrappers/WrapperTestSupport.h"

namespace {

using Lines = std::vector<std::string>;

class CursorWrapperTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        CountingTask::closes = 0;
    }
};

TEST_P(CursorWrapperTest, FailedOpenStaysMarkedOpenAndTheDestructorCloses) {
    evtrace::Capture cap;
    std::string err = "untouched";
    {
        TableWrapper<CountingTask, TM_Task_t> tw(kCaller, nullptr);
        dbfault::Scope fault(dbfault::Step::Open, 1, 4711, "open refused");
        EXPECT_EQ(tw.openCursor(&err), 4711);
        EXPECT_TRUE(tw.isOpen());
        EXPECT_EQ(err, "open refused");
        EXPECT_EQ(CountingTask::closes, 0);
    }
    EXPECT_EQ(CountingTask::closes, 1);
    EXPECT_EQ(callerLines(cap), Lines{"L1 Open Cursor on [TM_Task] Table failed. Error [open refused]"});
}

TEST_P(CursorWrapperTest, EndOfDataClosesSilentlyAndLaterClosesDoNothing) {
    insertTask(nullptr, "only", 0);
    evtrace::Capture cap;
    TableWrapper<CountingTask, TM_Task_t> tw(kCaller, nullptr);
    tw.setWhere("taskName = N'%s'", "only");
    std::string err;
    ASSERT_EQ(tw.openCursor(&err), 0) << err;
    ASSERT_EQ(tw.fetchCursor(true, &err), 0) << err;
    EXPECT_STREQ(tw.getDataPtr()->taskName, "only");
    EXPECT_EQ(err, "");

    EXPECT_EQ(tw.fetchCursor(true, &err), 100);
    EXPECT_FALSE(tw.isOpen());
    EXPECT_EQ(CountingTask::closes, 1);
    EXPECT_EQ(err, tw.getCursor()->getErrorStr(100));
    EXPECT_EQ(tw.closeCursor(&err), 0);
    EXPECT_EQ(CountingTask::closes, 1);
    EXPECT_EQ(callerLines(cap), Lines{"L10 TABLE -> TM_Task {taskName = N'only'}"});
}

TEST_P(CursorWrapperTest, FetchAndCloseFailuresAreLoggedAndClose) {
    int id = insertTask(nullptr, "t", 0);
    ASSERT_NE(id, 0);
    evtrace::Capture cap;
    std::string err;
    {
        CursorWrapper<CountingTask, TM_Task_t> cw(kCaller, nullptr);
        cw.setWhere("taskId = %d", id);
        ASSERT_EQ(cw.openCursor(&err), 0) << err;
        dbfault::Scope fault(dbfault::Step::Fetch, 1, 555, "fetch broke");
        EXPECT_EQ(cw.fetchCursor(true, &err), 555);
        EXPECT_EQ(err, "fetch broke");
        EXPECT_FALSE(cw.isOpen());
        EXPECT_EQ(CountingTask::closes, 1);
    }
    {
        CursorWrapper<CountingTask, TM_Task_t> cw(kCaller, nullptr);
        ASSERT_EQ(cw.openCursor(&err), 0) << err;
        dbfault::Scope fault(dbfault::Step::Close, 1, 556, "close broke");
        EXPECT_EQ(cw.closeCursor(&err), 556);
        EXPECT_EQ(err, "close broke");
        EXPECT_FALSE(cw.isOpen());
    }
    std::string where = "{taskId = " + std::to_string(id) + "}";
    EXPECT_EQ(callerLines(cap), (Lines{"L10 CURSOR ->  TM_Task " + where,
                                       "L1 Fetch Cursor on [TM_Task] Cursor failed. QueryParams [taskId = " +
                                           std::to_string(id) + "]. Error [fetch broke]",
                                       "L1 Close Cursor on [TM_Task] Cursor failed. Error [close broke]"}));
}

TEST_P(CursorWrapperTest, WhereClausesOfProceduresAndTSGlobalParamAreNotTraced) {
    evtrace::Capture cap;
    SprocWrapper<TM_GetAllJobOptions, TM_GetAllJobOptions_t> sw(kCaller, nullptr);
    sw.setWhere("o_type = %d", 1);
    kowrap::traceWhere(kCaller, KO_WRAPPER_TABLE, "TSGlobalParam", "name = 'x'");
    kowrap::traceWhere(kCaller, KO_WRAPPER_CURSOR, "TSGlobalParam", "name = 'x'");
    EXPECT_EQ(callerLines(cap), Lines{});
    EXPECT_EQ(sw.getCursor()->getWhere(), "o_type = 1");
}

TEST_P(CursorWrapperTest, QuotesInArgumentsArriveAsQuotes) {
    const char* hostile = "O'Brien's -- ; DROP TABLE TM_Task; 'x''";
    int id = insertTask(nullptr, hostile, 3);
    ASSERT_NE(id, 0);
    DBtran tran;
    std::string err;
    ASSERT_EQ(tran.begin(&err), 0) << err;
    TableWrapper<TM_Task, TM_Task_t> tw(kCaller, &tran);
    tw.setWhere("taskName = N'%s'", hostile);
    ASSERT_EQ(tw.openCursor(&err), 0) << err;
    ASSERT_EQ(tw.fetchCursor(true, &err), 0) << err;
    EXPECT_EQ(tw.getDataPtr()->taskId, id);
    EXPECT_STREQ(tw.getDataPtr()->taskName, hostile);
    EXPECT_EQ(tw.closeCursor(&err), 0);
    EXPECT_EQ(tran.commit(&err), 0) << err;
}

TASKDB_STORE_SUITE(CursorWrapperTest);

}  // namespace
