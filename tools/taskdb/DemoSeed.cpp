// The demo's schedule: a default task and a nightly backup task with two subtasks, its entities and
// patterns, the static option catalogue, two jobs with their options and file options.
#include "tools/taskdb/DemoSeed.h"

#include "platform/db/DBexecute.h"
#include "platform/db/DBtran.h"

namespace {
const char* const kSeed[] = {
    // Static option catalogue: (optionId, xpath, defVal, bitVal, flagType, type, isList).
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(1001, 'backup/compression', '1', 1, 1, 2, 0)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(1002, 'backup/encryption', '0', 2, 1, 2, 0)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(1003, 'backup/streams', '4', 0, 3, 3, 0)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(1005, 'retention/days', '30', 0, 3, 3, 0)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(1006, 'backup/preScript', '', 0, 4, 0, 0)",
    "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) VALUES "
    "(458405394, 'backup/level', '1', 0, 3, 3, 0)",
    // Tasks: 1 is the default task (flag 0x80); 7 the nightly backup.
    "INSERT INTO TM_Task (taskId, taskName, taskType, flags, status, created, ownerId, localeId, "
    "sequenceNumber, description, GUID) VALUES (1, 'System default', 1, 128, 0, 1700000000, 1, 0, '0', "
    "'Default task of the management server', '4f1c0d2e-0000-4000-8000-000000000001')",
    "INSERT INTO TM_Task (taskId, taskName, taskType, flags, status, created, ownerId, runUserId, localeId, "
    "initiatedFrom, sequenceNumber, description, GUID) VALUES (7, 'Nightly backup: finance servers', 2, 0, "
    "0, "
    "1700000100, 5, 5, 0, 1, '41', 'Weekly full on Sunday, incremental every other night', "
    "'4f1c0d2e-0000-4000-8000-000000000007')",
    "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType, subTaskOrder) "
    "VALUES "
    "(11, 'Weekly full', 7, 2, 4003, 1)",
    "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType, subTaskOrder) "
    "VALUES "
    "(12, 'Nightly incremental', 7, 2, 4003, 2)",
    // Entities of task 7: a client group, a client and two of its subclients.
    "INSERT INTO TM_AssocEntity (assocType, taskId, clientGroupId, created) VALUES (28, 7, 3, 1700000100)",
    "INSERT INTO TM_AssocEntity (assocType, taskId, clientId, apptypeId, instanceId, backupsetId, "
    "subclientId, "
    "created) VALUES (7, 7, 12, 33, 1, 40, 301, 1700000100)",
    "INSERT INTO TM_AssocEntity (assocType, taskId, clientId, apptypeId, instanceId, backupsetId, "
    "subclientId, "
    "created) VALUES (7, 7, 12, 33, 1, 40, 302, 1700000100)",
    // Patterns: weekly on Sunday at 22:00, daily at 23:30.
    "INSERT INTO TM_Pattern (patternId, name, ownerId, freq_type, freq_interval, freq_recurrence_factor, "
    "active_start_date, active_start_time, active_end_date, tzId) VALUES (21, 'Sunday 22:00', 5, 8, 1, 1, "
    "'2026-01-04 00:00:00', 79200, '2027-12-31 00:00:00', 42)",
    "INSERT INTO TM_Pattern (patternId, name, ownerId, freq_type, freq_interval, freq_subday_interval, "
    "active_start_date, active_start_time, active_end_date, tzId) VALUES (22, 'Daily 23:30', 5, 4, 1, 0, "
    "'2026-01-01 00:00:00', 84600, '2027-12-31 00:00:00', 42)",
    "INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (21, 11)",
    "INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (22, 12)",
    // Subtask options and the weekly subtask's XML options.
    "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (11, 1003, 3, '8')",
    "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (11, 458405394, 3, '1')",
    "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (12, 458405394, 3, '2')",
    "INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (11, '<jobOption><backup level=\"full\" "
    "streams=\"8\"/></jobOption>')",
    // Two jobs of task 7: 1001 from the weekly full (request 501), 1002 from the incremental (502).
    "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, subTaskType, operationType, initiatedFrom, "
    "userId, created) VALUES (501, 7, 11, 2, 4003, 1, 5, 1763000000)",
    "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, subTaskType, operationType, initiatedFrom, "
    "userId, created) VALUES (502, 7, 12, 2, 4003, 1, 5, 1763086400)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (1001, 501, 0, 1, "
    "1763000000)",
    "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (1002, 502, 1001, 0, "
    "1763086400)",
    // Job 1001's own options, and a subtask-level option of subtask 11 that the job inherits.
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(1001, 1001, 2, '1', 7, 11, 1763000000, 0)",
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(1001, 1003, 3, '8', 7, 11, 1763000000, 0)",
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(0, 1005, 3, '45', 7, 11, 1762990000, 0)",
    // File options of job 1001 (ids and types in the file-option band): the content list (150002)
    // and two filters (150005).
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(1001, 150002, 150002, '/srv/finance', 7, 11, 1763000000, 0)",
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(1001, 150005, 150005, '*.tmp', 7, 11, 1763000000, 0)",
    "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, modified) VALUES "
    "(1001, 150005, 150005, '*.lock', 7, 11, 1763000000, 0)",
};
}  // namespace

int seedDemoStore(std::string& err) {
    DBtran tran;
    int rc = tran.begin(&err);
    if (rc != 0) return rc;
    for (const char* sql : kSeed) {
        rc = DBexecute(&tran, sql, &err);
        if (rc != 0) return rc;  // the transaction rolls back when it goes away
    }
    return tran.commit(&err);
}
