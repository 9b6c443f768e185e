// Writers of the task, subtask and entity records. They never insert a task or a subtask, and a
// missing row is not an error. They set no transaction hint: they may write.
//
// All operations here: 0 on success and when nothing matched (outputs then keep their values);
// otherwise the failing step's code with the database text in `err`, which success never touches.
// The caller owns the record, the lists and the transaction it passes. Any number of threads may call
// at once: each call has its own trace event, transaction wrapper and cursor (a caller's transaction
// must not be shared between concurrent calls).
#include <cstring>
#include <ctime>
#include <vector>

#include "Db/Tbl/TM_AssocEntity.h"
#include "Db/Tbl/TM_SubTask.h"
#include "Db/Tbl/TM_Task.h"
#include "TaskInterfaceDB/RecordFrame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "utilities/BasicConversion.h"

namespace {

// Copies at most N-1 bytes of `text` and always terminates.
template <size_t N>
void copyBounded(char (&field)[N], const std::string& text) {
    const size_t n = text.size() < N - 1 ? text.size() : N - 1;
    std::memcpy(field, text.data(), n);
    field[n] = '\0';
}

// Finds the row that `where` selects first and, when there is one, lets `change(record)` edit the raw
// record and writes that row back whole. An update failure is traced and left in `err`; the close's
// code replaces it, so the rest of the work is still committed (the frame's rule).
template <class X, class X_t, class Where, class Change>
int rewriteOne(const char* name, void* tran, std::string& err, Where&& where, Change&& change) {
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;

    TableWrapper<X, X_t> table(name, tw.get());
    where(table);
    rc = table.openCursor(nullptr);
    if (rc != 0) {
        frame::dbError(name, table, err);
        return rc;
    }
    rc = table.fetchCursor(true, nullptr);
    if (rc == 0) {
        change(*table.getDataPtr());
        // An empty set clause writes every column of the raw record back to the row.
        if (table.rowUpdate("") != 0) frame::dbError(name, table, err);
    } else if (rc != DB_NO_DATA) {
        frame::dbError(name, table, err);
    }
    rc = table.closeCursor(&err);
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}

// The association type of an entity: the most specific level it names. An entity that names none of
// these levels keeps the type of the entity before it (3 for the first): the type carries over on purpose.
int assocTypeFor(const Sched_AssocEntity& e, int previous) {
    if (e.subclientId >= 1) return 7;
    if (e.backupsetId >= 1) return 6;
    if (e.instanceId >= 1) return 5;
    if (e.apptypeId >= 1) return 4;
    if (e.clientGroupId > 0) return 28;
    return previous;
}

}  // namespace

// Changes exactly sequenceNumber, alertId and localeId of task info.taskId from info.task.
// Unknown task: nothing is written, 0. Ensure/open/close/commit failure: its code, text in err.
int TaskInterfaceDB::setTaskInfo(_TaskInfo info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::setTaskInfo";
    return rewriteOne<TM_Task, TM_Task_t>(
        name, tran, err,
        [&](auto& table) {
            EvDebug::DebugLvl(5, name, "Called with taskId[%lu]", static_cast<unsigned long>(info.taskId));
            table.setWhere("taskId = %d", static_cast<int>(info.taskId));
        },
        [&](TM_Task_t& row) {
            std::string sequence;
            BasicConversion::toString(info.task.sequenceNumber, sequence);
            copyBounded(row.sequenceNumber, sequence);
            row.alertId = static_cast<int>(info.task.alertId);
            row.localeId = static_cast<int>(info.task.localeId);
        });
}

// Rewrites the subtask row that getSubTaskInfo would read with its own values (info.subTask is not
// written; the update only touches the row). No row: nothing happens, 0.
int TaskInterfaceDB::setSubTaskInfo(_TaskInfo info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::setSubTaskInfo";
    return rewriteOne<TM_SubTask, TM_SubTask_t>(
        name, tran, err,
        [&](auto& table) {
            EvDebug::DebugLvl(5, name, "Called with taskId[%lu], subTaskId[%lu]",
                              static_cast<unsigned long>(info.taskId),
                              static_cast<unsigned long>(info.subTaskId));
            records::setSubTaskWhere(table, info);
        },
        [](TM_SubTask_t&) {});
}

// Associates each of info.entities with task info.taskId, inserting only the associations that do
// not exist yet (running it twice inserts nothing the second time). Every insert of one call carries
// the same creation time. An open or close failure stops at that entity and commits nothing of an own
// transaction; an insert failure is traced and left in `err` and the loop goes on.
int TaskInterfaceDB::setEntityInfo(_TaskInfo info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::setEntityInfo";
    const int created = static_cast<int>(std::time(nullptr));
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;

    TableWrapper<TM_AssocEntity, TM_AssocEntity_t> table(name, tw.get());
    const int taskId = static_cast<int>(info.taskId);
    int assocType = 3;
    const std::vector<Sched_AssocEntity> entities = info.entities;
    for (const Sched_AssocEntity& e : entities) {
        EvDebug::DebugLvl(
            5, name,
            "Called with taskId[%lu], clientGroupId[%d], clientId[%d], apptypeId[%d], instanceId[%d], "
            "backupsetId[%d], subclientId[%d]",
            static_cast<unsigned long>(info.taskId), static_cast<int>(e.clientGroupId),
            static_cast<int>(e.clientId), static_cast<int>(e.apptypeId), static_cast<int>(e.instanceId),
            static_cast<int>(e.backupsetId), static_cast<int>(e.subclientId));
        table.setWhere(
            "taskId = %d AND clientGroupId = %d AND clientId = %d AND apptypeId = %d AND instanceId = %d AND "
            "backupsetId = %d AND subclientId = %d",
            taskId, static_cast<int>(e.clientGroupId), static_cast<int>(e.clientId),
            static_cast<int>(e.apptypeId), static_cast<int>(e.instanceId), static_cast<int>(e.backupsetId),
            static_cast<int>(e.subclientId));
        assocType = assocTypeFor(e, assocType);

        rc = table.openCursor(nullptr);
        if (rc != 0) {
            frame::dbError(name, table, err);
            break;
        }
        rc = table.fetchCursor(true, nullptr);
        if (rc == DB_NO_DATA) {
            // Columns not named here keep what the row buffer holds.
            TM_AssocEntity_t& row = *table.getDataPtr();
            row.taskId = taskId;
            row.assocType = assocType;
            row.clientGroupId = static_cast<int>(e.clientGroupId);
            row.clientId = static_cast<int>(e.clientId);
            row.apptypeId = static_cast<int>(e.apptypeId);
            row.instanceId = static_cast<int>(e.instanceId);
            row.backupsetId = static_cast<int>(e.backupsetId);
            row.subclientId = static_cast<int>(e.subclientId);
            row.created = created;
            if (table.rowInsert(true, nullptr) != 0) frame::dbError(name, table, err);
        } else if (rc != 0) {
            frame::dbError(name, table, err);
        }
        rc = table.closeCursor(&err);
        if (rc != 0) break;
    }
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}
