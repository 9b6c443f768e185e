// Readers of the task, subtask and entity records, the job's task and the default task.
//
// All operations here: 0 on success and when nothing matched (outputs then keep their values);
// otherwise the failing step's code with the database text in `err`, which success never touches.
// The caller owns the record, the lists and the transaction it passes. Any number of threads may call
// at once: each call has its own trace event, transaction wrapper and cursor (a caller's transaction
// must not be shared between concurrent calls).
#include "Db/Tbl/TM_AssocEntity.h"
#include "Db/Tbl/TM_JobRequest.h"
#include "Db/Tbl/TM_SubTask.h"
#include "Db/Tbl/TM_Task.h"
#include "TaskInterfaceDB/RecordFrame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "platform/text/FXString.h"
#include "utilities/BasicConversion.h"

namespace {
// The task flag that marks the default task.
constexpr int KO_TASK_FLAG_DEFAULT = 0x80;
}  // namespace

// Fills taskId and subTaskId from the request of job `jobId`; no row leaves both as they were.
// Traces nothing of its own: the job manager calls it for every job and only failures are of interest.
int TaskInterfaceDB::getJobInfo(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getJobInfo";
    return records::readTable<TM_JobRequest, TM_JobRequest_t, records::kJobRequestColumns>(
        name, tran, err, false,
        [&](auto& table) {
            table.setWhere(
                "jobRequestId = (SELECT jobRequestId from TM_Jobs WITH (READUNCOMMITTED) where jobId = %lld)",
                info.jobId);
        },
        [&](const TM_JobRequest_t& row) {
            info.taskId = static_cast<unsigned int>(row.taskId);
            info.subTaskId = static_cast<unsigned int>(row.subTaskId);
        });
}

// Fills info.task from the TM_Task row of info.taskId; no row leaves info.task as it was.
int TaskInterfaceDB::getTaskInfo(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getTaskInfo";
    return records::readTable<TM_Task, TM_Task_t, records::kTaskColumns>(
        name, tran, err, false,
        [&](auto& table) { table.setWhere("taskId = %d", static_cast<int>(info.taskId)); },
        [&](const TM_Task_t& row) {
            Sched_Task& task = info.task;
            task.taskId = static_cast<unsigned int>(row.taskId);
            task.taskType = static_cast<unsigned int>(row.taskType);
            task.flags = static_cast<unsigned int>(row.flags);
            task.status = static_cast<unsigned int>(row.status);
            task.alertId = static_cast<unsigned int>(row.alertId);
            task.ownerId = static_cast<unsigned int>(row.ownerId);
            task.runUserId = static_cast<unsigned int>(row.runUserId);
            task.localeId = static_cast<unsigned int>(row.localeId);
            task.initiatedFrom = static_cast<unsigned int>(row.initiatedFrom);
            // An empty or non-numeric text converts nothing and keeps the previous number.
            BasicConversion::fromString(task.sequenceNumber, FXString::ToString(row.sequenceNumber));
            task.description = FXString::ToString(row.description);
        });
}

// Fills info.subTask from TM_SubTask, keyed by subTaskId and/or taskId (see setSubTaskWhere).
int TaskInterfaceDB::getSubTaskInfo(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getSubTaskInfo";
    return records::readTable<TM_SubTask, TM_SubTask_t, records::kSubTaskColumns>(
        name, tran, err, false, [&](auto& table) { records::setSubTaskWhere(table, info); },
        [&](const TM_SubTask_t& row) {
            Sched_SubTask& sub = info.subTask;
            sub.subTaskId = static_cast<unsigned int>(row.subTaskId);
            sub.taskId = static_cast<unsigned int>(row.taskId);
            sub.subTaskType = static_cast<unsigned int>(row.subTaskType);
            sub.operationType = static_cast<unsigned int>(row.operationType);
            sub.subTaskOrder = static_cast<unsigned int>(row.subTaskOrder);
        });
}

// Appends every entity of info.taskId to info.entities. The list is not cleared first: callers that
// call twice on one record get every entity twice.
int TaskInterfaceDB::getEntityInfo(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getEntityInfo";
    return records::readTable<TM_AssocEntity, TM_AssocEntity_t, records::kEntityColumns>(
        name, tran, err, true,
        [&](auto& table) { table.setWhere("taskId = %d", static_cast<int>(info.taskId)); },
        [&](const TM_AssocEntity_t& row) {
            Sched_AssocEntity e;
            e.assocId = static_cast<unsigned int>(row.assocId);
            e.assocType = static_cast<unsigned int>(row.assocType);
            e.taskId = static_cast<unsigned int>(row.taskId);
            e.clientGroupId = static_cast<unsigned int>(row.clientGroupId);
            e.clientId = static_cast<unsigned int>(row.clientId);
            e.apptypeId = static_cast<unsigned int>(row.apptypeId);
            e.instanceId = static_cast<unsigned int>(row.instanceId);
            e.backupsetId = static_cast<unsigned int>(row.backupsetId);
            e.subclientId = static_cast<unsigned int>(row.subclientId);
            e.policyId = static_cast<unsigned int>(row.policyId);
            e.copyId = static_cast<unsigned int>(row.copyId);
            e.srmReportSet = static_cast<unsigned int>(row.srmReportSet);
            e.srmReportType = static_cast<unsigned int>(row.srmReportType);
            info.entities.push_back(e);
        });
}

// Sets info.task.taskId to the first task flagged as the default; none leaves it as it was.
int TaskInterfaceDB::getDefaultTaskId(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getDefaultTaskId";
    return records::readTable<TM_Task, TM_Task_t, records::kTaskIdColumn>(
        name, tran, err, false,
        [&](auto& table) { table.setWhere("(flags & %d) = %d", KO_TASK_FLAG_DEFAULT, KO_TASK_FLAG_DEFAULT); },
        [&](const TM_Task_t& row) { info.task.taskId = static_cast<unsigned int>(row.taskId); });
}
