// Writers of task, subtask and entity records: what they change and what they leave.
#include <ctime>
#include <string>

#include "records/RecordStore.h"

class RecordWriteTest : public RecordStoreTest {
  protected:
    static Sched_AssocEntity entity(unsigned group, unsigned client, unsigned app = 0, unsigned instance = 0,
                                    unsigned backupset = 0, unsigned subclient = 0) {
        Sched_AssocEntity e;
        e.clientGroupId = group;
        e.clientId = client;
        e.apptypeId = app;
        e.instanceId = instance;
        e.backupsetId = backupset;
        e.subclientId = subclient;
        return e;
    }
    long long entities(int taskId) {
        return scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = " + std::to_string(taskId));
    }
};

TEST_P(RecordWriteTest, SetTaskInfoChangesExactlyThreeColumnsAndSetSubTaskInfoNone) {
    exec("UPDATE TM_Task SET description = N'it''s \xC3\xA9t\xC3\xA9 -- ''; x' WHERE taskId = 7");
    const std::string others =
        "SELECT taskName || '|' || taskType || '|' || flags || '|' || status || '|' || created || '|' || "
        "modified || '|' || ownerId || '|' || runUserId || '|' || initiatedFrom || '|' || GUID || '|' || "
        "description FROM TM_Task WHERE taskId = 7";
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
    EXPECT_EQ(
        text("SELECT sequenceNumber || '|' || alertId || '|' || localeId FROM TM_Task WHERE taskId = 7"),
        "12345678901234|88|2");
    EXPECT_EQ(text(others), before);
    EXPECT_EQ(text("SELECT sequenceNumber FROM TM_Task WHERE taskId = 8"), "8") << "other tasks untouched";
    EXPECT_EQ(traced(cap, "Called with taskId[7]", "TaskInterfaceDB::setTaskInfo"), 1u);
    info.taskId = 70;
    ASSERT_EQ(ti->setTaskInfo(info, err, nullptr), 0) << "an unknown task is not an error";
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_Task"), 3);

    // setSubTaskInfo rewrites the row it finds unchanged, whichever keys select it.
    const std::string subtasks =
        "SELECT subTaskName || '|' || taskId || '|' || subTaskType || '|' || operationType || '|' || "
        "subTaskOrder FROM TM_SubTask WHERE subTaskId = ";
    auto all = [&] {
        return text(subtasks + "11") + ";" + text(subtasks + "12") + ";" + text(subtasks + "13");
    };
    const std::string subtasksBefore = all();
    for (auto keys : {std::make_pair(7ull, 12ull), std::make_pair(0ull, 13ull), std::make_pair(7ull, 0ull)}) {
        info.taskId = keys.first;
        info.subTaskId = keys.second;
        info.subTask.subTaskType = info.subTask.subTaskOrder = 99;
        EXPECT_EQ(ti->setSubTaskInfo(info, err, nullptr), 0);
        EXPECT_EQ(all(), subtasksBefore) << "keys " << keys.first << "/" << keys.second;
    }
    EXPECT_EQ(traced(cap, "Called with taskId[7], subTaskId[12]", "TaskInterfaceDB::setSubTaskInfo"), 1u);
    EXPECT_EQ(traced(cap, "rowUpdate : Table TM_SubTask", "TaskInterfaceDB::setSubTaskInfo"), 3u);
    EXPECT_EQ(err, "caller's text");
}

TEST_P(RecordWriteTest, SetEntityInfoCarriesTheAssociationTypeAndInsertsOnlyMissingRows) {
    _TaskInfo info;
    info.taskId = 9;
    // Client only first: 3; a subclient: 7 and a client only after it still 7; backup set 6, instance 5,
    // application 4; a group 28 and a client only after it still 28.
    info.entities = {entity(0, 2),        entity(0, 2, 33, 1, 40, 5), entity(0, 3), entity(0, 3, 33, 1, 40),
                     entity(0, 3, 33, 1), entity(0, 3, 33),           entity(4, 0), entity(0, 5)};
    const int expected[] = {3, 7, 7, 6, 5, 4, 28, 28};
    evtrace::Capture cap;
    const long long start = std::time(nullptr);
    ASSERT_EQ(ti->setEntityInfo(info, err, nullptr), 0);
    const long long end = std::time(nullptr);
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
    EXPECT_EQ(entities(9), 8);
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
    EXPECT_EQ(entities(9), 8);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = 9 AND assocType <> 1"), 0);
    info.entities.clear();
    EXPECT_EQ(ti->setEntityInfo(info, err, nullptr), 0);
    EXPECT_EQ(entities(9), 8);
    EXPECT_EQ(err, "caller's text");
}

TASKDB_STORE_SUITE(RecordWriteTest);
