// Writers of task, subtask and entity records: what they change, what they leave, whose transaction.
#include <ctime>
#include <string>

#include "platform/db/DBtran.h"
#include "records/RecordStore.h"

class RecordWriteTest : public RecordStoreTest {
  protected:
    void SetUp() override {
        RecordStoreTest::SetUp();
        seed();
    }
    static Sched_AssocEntity entity(unsigned int group, unsigned int client, unsigned int app = 0,
                                    unsigned int instance = 0, unsigned int backupset = 0,
                                    unsigned int subclient = 0) {
        Sched_AssocEntity e;
        e.clientGroupId = group;
        e.clientId = client;
        e.apptypeId = app;
        e.instanceId = instance;
        e.backupsetId = backupset;
        e.subclientId = subclient;
        return e;
    }
    long long entityCount(int taskId) {
        return scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = " + std::to_string(taskId));
    }
    std::string err = "caller's text";
};

TEST_P(RecordWriteTest, SetTaskInfoChangesExactlyThreeColumns) {
    const std::string hostile = "it's \xC3\xA9t\xC3\xA9 -- '; x";
    exec("UPDATE TM_Task SET description = N'it''s \xC3\xA9t\xC3\xA9 -- ''; x' WHERE taskId = 7");
    const std::string others =
        "SELECT taskName || '|' || taskType || '|' || flags || '|' || status || '|' || "
        "created || '|' || modified || '|' || ownerId || '|' || runUserId || '|' || "
        "initiatedFrom || '|' || GUID FROM TM_Task WHERE taskId = 7";
    const std::string before = text(others);
    evtrace::Capture cap;
    _TaskInfo info;
    info.taskId = 7;
    info.task.sequenceNumber = 12345678901234ull;
    info.task.alertId = 88;
    info.task.localeId = 2;
    info.task.flags = 999;  // not written
    info.task.description = "not written";
    ASSERT_EQ(ti->setTaskInfo(info, err, nullptr), 0);
    EXPECT_EQ(err, "caller's text");
    EXPECT_EQ(text("SELECT sequenceNumber FROM TM_Task WHERE taskId = 7"), "12345678901234");
    EXPECT_EQ(scalar("SELECT alertId FROM TM_Task WHERE taskId = 7"), 88);
    EXPECT_EQ(scalar("SELECT localeId FROM TM_Task WHERE taskId = 7"), 2);
    EXPECT_EQ(text("SELECT description FROM TM_Task WHERE taskId = 7"), hostile);
    EXPECT_EQ(text(others), before);
    EXPECT_EQ(text("SELECT sequenceNumber FROM TM_Task WHERE taskId = 8"), "8") << "other tasks untouched";
    EXPECT_EQ(traced(cap, "Called with taskId[7]", "TaskInterfaceDB::setTaskInfo"), 1u);

    info.taskId = 70;
    ASSERT_EQ(ti->setTaskInfo(info, err, nullptr), 0) << "an unknown task is not an error";
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 3);
}

TEST_P(RecordWriteTest, SetSubTaskInfoRewritesTheRowUnchanged) {
    auto all = [&] {
        std::string rows;
        for (const char* id : {"11", "12", "13"}) {
            rows +=
                text(
                    "SELECT subTaskName || '|' || taskId || '|' || subTaskType || '|' || operationType || "
                    "'|' || subTaskOrder FROM TM_SubTask WHERE subTaskId = " +
                    std::string(id)) +
                ";";
        }
        return rows;
    };
    const std::string before = all();
    for (auto keys : {std::make_pair(7ull, 12ull), std::make_pair(0ull, 13ull), std::make_pair(7ull, 0ull)}) {
        _TaskInfo info;
        info.taskId = keys.first;
        info.subTaskId = keys.second;
        info.subTask.subTaskType = 99;
        info.subTask.subTaskOrder = 99;
        EXPECT_EQ(ti->setSubTaskInfo(info, err, nullptr), 0);
        EXPECT_EQ(all(), before) << "keys " << keys.first << "/" << keys.second;
    }
    evtrace::Capture cap;
    _TaskInfo info;
    info.taskId = 7;
    info.subTaskId = 12;
    ASSERT_EQ(ti->setSubTaskInfo(info, err, nullptr), 0);
    EXPECT_EQ(traced(cap, "Called with taskId[7], subTaskId[12]", "TaskInterfaceDB::setSubTaskInfo"), 1u);
    EXPECT_EQ(traced(cap, "rowUpdate : Table TM_SubTask", "TaskInterfaceDB::setSubTaskInfo"), 1u);
    EXPECT_EQ(err, "caller's text");
}

TEST_P(RecordWriteTest, SetEntityInfoCarriesTheAssociationTypeAndInsertsOnlyMissingRows) {
    _TaskInfo info;
    info.taskId = 9;
    info.entities = {entity(0, 2),                // client only, first: 3
                     entity(0, 2, 33, 1, 40, 5),  // subclient: 7
                     entity(0, 3),                // client only after a subclient: still 7
                     entity(0, 3, 33, 1, 40),     // backup set: 6
                     entity(0, 3, 33, 1),         // instance: 5
                     entity(0, 3, 33),            // application: 4
                     entity(4, 0),                // group: 28
                     entity(0, 5)};               // client only after a group: 28
    evtrace::Capture cap;
    const long long start = std::time(nullptr);
    ASSERT_EQ(ti->setEntityInfo(info, err, nullptr), 0);
    const long long end = std::time(nullptr);
    EXPECT_EQ(err, "caller's text");
    const int expected[] = {3, 7, 7, 6, 5, 4, 28, 28};
    for (size_t i = 0; i < info.entities.size(); ++i) {
        const Sched_AssocEntity& e = info.entities[i];
        EXPECT_EQ(scalar("SELECT assocType FROM TM_AssocEntity WHERE taskId = 9 AND clientGroupId = " +
                         std::to_string(e.clientGroupId) + " AND clientId = " + std::to_string(e.clientId) +
                         " AND apptypeId = " + std::to_string(e.apptypeId) +
                         " AND instanceId = " + std::to_string(e.instanceId) +
                         " AND backupsetId = " + std::to_string(e.backupsetId) +
                         " AND subclientId = " + std::to_string(e.subclientId)),
                  expected[i])
            << "entity " << i;
    }
    EXPECT_EQ(entityCount(9), 8);
    EXPECT_EQ(scalar("SELECT COUNT(DISTINCT created) FROM TM_AssocEntity WHERE taskId = 9"), 1);
    const long long created = scalar("SELECT created FROM TM_AssocEntity WHERE taskId = 9");
    EXPECT_GE(created, start);
    EXPECT_LE(created, end);
    EXPECT_EQ(traced(cap,
                     "Called with taskId[9], clientGroupId[0], clientId[2], apptypeId[33], instanceId[1], "
                     "backupsetId[40], subclientId[5]",
                     "TaskInterfaceDB::setEntityInfo"),
              1u);

    // A second run finds every association and inserts nothing; an existing row is not updated.
    exec("UPDATE TM_AssocEntity SET assocType = 1 WHERE taskId = 9");
    ASSERT_EQ(ti->setEntityInfo(info, err, nullptr), 0);
    EXPECT_EQ(entityCount(9), 8);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = 9 AND assocType <> 1"), 0);

    info.entities.clear();
    EXPECT_EQ(ti->setEntityInfo(info, err, nullptr), 0);
    EXPECT_EQ(entityCount(9), 8);
}

TEST_P(RecordWriteTest, WritersLeaveTheCommitToTheCallersTransaction) {
    _TaskInfo info;
    info.taskId = 9;
    info.entities = {entity(0, 2), entity(0, 3)};
    info.task.alertId = 55;
    {
        DBtran tran;
        ASSERT_EQ(tran.begin(&err), 0) << err;
        ASSERT_EQ(ti->setEntityInfo(info, err, &tran), 0) << err;
        info.taskId = 7;
        ASSERT_EQ(ti->setTaskInfo(info, err, &tran), 0) << err;
        ASSERT_EQ(tran.rollback(&err), 0) << err;
    }
    EXPECT_EQ(entityCount(9), 0);
    EXPECT_EQ(scalar("SELECT alertId FROM TM_Task WHERE taskId = 7"), 17);

    DBtran tran;
    ASSERT_EQ(tran.begin(&err), 0) << err;
    info.taskId = 9;
    ASSERT_EQ(ti->setEntityInfo(info, err, &tran), 0) << err;
    info.taskId = 7;
    ASSERT_EQ(ti->setTaskInfo(info, err, &tran), 0) << err;
    ASSERT_EQ(tran.commit(&err), 0) << err;
    EXPECT_EQ(entityCount(9), 2);
    EXPECT_EQ(scalar("SELECT alertId FROM TM_Task WHERE taskId = 7"), 55);
}

TASKDB_STORE_SUITE(RecordWriteTest);
