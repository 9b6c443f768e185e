// Writing through a table wrapper: updates, inserts and deletes, their trace lines and failures.
#include <gtest/gtest.h>

#include "platform/db/DBfault.h"
#include "support/TestStore.h"
#include "wrappers/WrapperTestSupport.h"

namespace {

using Lines = std::vector<std::string>;

class TableWrapperTest : public StoreTest {};

TEST_P(TableWrapperTest, UpdateWritesTheSetClauseOrTheWholeRecord) {
    int id = insertTask(nullptr, "before", 1);
    ASSERT_NE(id, 0);
    const std::string ids = std::to_string(id);
    evtrace::Capture cap;
    TableWrapper<TM_Task, TM_Task_t> tw(kCaller, nullptr);
    tw.setWhere("taskId = %d", id);
    EXPECT_EQ(tw.rowUpdate("description = N'%s', flags = %d", "it's", 7), 0);
    EXPECT_EQ(text("SELECT description FROM TM_Task WHERE taskId = " + ids), "it's");
    EXPECT_EQ(scalar("SELECT flags FROM TM_Task WHERE taskId = " + ids), 7);

    // An empty set-clause rewrites every column from the record just fetched.
    std::string err;
    ASSERT_EQ(tw.openCursor(&err), 0) << err;
    ASSERT_EQ(tw.fetchCursor(true, &err), 0) << err;
    tw.getDataPtr()->alertId = 99;
    EXPECT_EQ(tw.closeCursor(&err), 0);
    EXPECT_EQ(tw.rowUpdate(""), 0);
    EXPECT_EQ(scalar("SELECT alertId FROM TM_Task WHERE taskId = " + ids), 99);
    EXPECT_EQ(text("SELECT description FROM TM_Task WHERE taskId = " + ids), "it's");

    EXPECT_EQ(callerLines(cap), (Lines{"L10 TABLE -> TM_Task {taskId = " + ids + "}",
                                       "L9 rowUpdate : Table TM_Task {description = N'it''s', flags = 7}",
                                       "L9 rowUpdate : Table TM_Task {}"}));
}

TEST_P(TableWrapperTest, UpdateAndInsertFailuresButNotNoMatchAreLogged) {
    insertTask(nullptr, "a", 0);
    evtrace::Capture cap;
    TableWrapper<TM_Task, TM_Task_t> tw(kCaller, nullptr);
    tw.setWhere("taskId = %d", 12345);
    EXPECT_EQ(tw.rowUpdate("flags = %d", 1), 100);
    EXPECT_EQ(tw.getErrorString(), tw.getCursor()->getErrorStr(100));
    std::string err;
    {
        dbfault::Scope fault(dbfault::Step::Update, 1, 600, "update refused");
        EXPECT_EQ(tw.rowUpdate("flags = %d", 2), 600);
        EXPECT_EQ(tw.getErrorString(), "update refused");
    }
    {
        dbfault::Scope fault(dbfault::Step::Insert, 1, 100, "nothing inserted");
        EXPECT_EQ(tw.rowInsert(true, &err), 100);  // even "no data" is a failed insert
    }
    EXPECT_FALSE(err.empty());
    EXPECT_EQ(tw.getErrorString(), err);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 1);
    EXPECT_EQ(
        callerLines(cap),
        (Lines{"L10 TABLE -> TM_Task {taskId = 12345}", "L9 rowUpdate : Table TM_Task {flags = 1}",
               "L9 rowUpdate : Table TM_Task {flags = 2}",
               "L1 Update [TM_Task] table failed. QueryParams [taskId = 12345] Update values [flags = 2]. "
               "Error [update refused]",
               "L1 Insert into [TM_Task] table failed. Error [" + err + "]"}));
}

TEST_P(TableWrapperTest, DeleteTracesItsClauseAndLogsOnlyRealFailures) {
    int id = insertTask(nullptr, "doomed", 0);
    ASSERT_NE(id, 0);
    const std::string ids = std::to_string(id);
    evtrace::Capture cap;
    TableWrapper<TM_Task, TM_Task_t> tw(kCaller, nullptr);
    tw.setWhere("taskId = %d", id);
    std::string err = "untouched";
    {
        dbfault::Scope fault(dbfault::Step::Delete, 1, 601, "delete refused");
        EXPECT_EQ(tw.rowDelete(&err), 601);
        EXPECT_EQ(err, "delete refused");
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 1);
    EXPECT_EQ(tw.rowDelete(&err), 0);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 0);
    EXPECT_EQ(tw.rowDelete(&err), 100);
    EXPECT_EQ(err, tw.getCursor()->getErrorStr(100));

    const std::string traced = "L9  rowDelete : Table TM_Task {taskId = " + ids + "}";
    EXPECT_EQ(callerLines(cap), (Lines{"L10 TABLE -> TM_Task {taskId = " + ids + "}", traced,
                                       "L1 Delete from [TM_Task] table failed. QueryParams [taskId = " + ids +
                                           "]. Error [delete refused]",
                                       traced, traced}));
}

TASKDB_STORE_SUITE(TableWrapperTest);

}  // namespace
