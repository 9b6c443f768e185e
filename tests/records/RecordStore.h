#pragma once
// A small schedule shared by the record tests:
//   task 1: the default task (flag 0x80); task 7: subtasks 11 and 12, entities of client 12 and of
//   group 3, patterns 21 (subtask 11) and 22 (subtask 12); task 8: subtask 13, client 99, pattern 23.
//   Jobs 1001 (request 501, subtask 11) and 1002 (request 502, subtask 12) of task 7.
#include <sstream>
#include <string>

#include "platform/trace/EvDebug.h"
#include "support/TestStore.h"

class RecordStoreTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        for (const char* sql :
             {"INSERT INTO TM_Task (taskId, taskName, taskType, flags, status, created, modified, alertId, "
              "ownerId, runUserId, localeId, initiatedFrom, sequenceNumber, description, GUID) VALUES "
              "(1, 'System default', 1, 128, 0, 1700000000, 0, 0, 1, 1, 0, 0, '0', 'default', 'g-1'), "
              "(7, 'Nightly', 2, 4, 1, 1700000100, 1700000200, 17, 5, 6, 9, 3, '18446744073709551615', "
              "'nightly backup', 'g-7')",
              "INSERT INTO TM_Task (taskId, taskName, taskType, flags, sequenceNumber) VALUES (8, 'Other', "
              "2, "
              "0, '8')",
              "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType, "
              "subTaskOrder) VALUES (11, 'Weekly full', 7, 2, 4003, 1), (12, 'Incremental', 7, 3, 4004, 2), "
              "(13, 'Other sub', 8, 2, 4003, 1)",
              "INSERT INTO TM_AssocEntity (assocId, assocType, taskId, clientGroupId, created, policyId, "
              "copyId, srmReportSet, srmReportType) VALUES (1, 28, 7, 3, 1700000100, 41, 42, 43, 44)",
              "INSERT INTO TM_AssocEntity (assocId, assocType, taskId, clientId, apptypeId, instanceId, "
              "backupsetId, subclientId, created) VALUES (2, 7, 7, 12, 33, 1, 40, 301, 1700000100)",
              "INSERT INTO TM_AssocEntity (assocId, assocType, taskId, clientId, created) VALUES (3, 3, 8, "
              "99, "
              "1700000100)",
              "INSERT INTO TM_Pattern (patternId, name, ownerId, freq_type, freq_interval, "
              "freq_relative_interval, freq_recurrence_factor, freq_subday_interval, skipOccurence, "
              "skipDayNumber, active_start_date, active_start_time, active_end_date, active_end_time, "
              "active_end_occurence, tzId, calendarId, local_start_date, local_end_date, "
              "freq_restart_interval) VALUES (21, 'Sunday 22:00', 5, 8, 1, 2, 3, 4, 5, 6, "
              "'2026-01-04 00:00:00', 79200, '2027-12-31 23:59:00', 86399, 7, 42, 8, 9, 10, 11)",
              "INSERT INTO TM_Pattern (patternId, name, freq_type) VALUES (22, 'Daily 23:30', 4), "
              "(23, 'Other daily', 4)",
              "INSERT INTO TM_PatternAssoc (patternId, subTaskId) VALUES (21, 11), (22, 12), (23, 13)",
              "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, subTaskType, operationType, "
              "initiatedFrom, userId, created) VALUES (501, 7, 11, 2, 4003, 1, 5, 1763000000), "
              "(502, 7, 12, 2, 4003, 1, 5, 1763086400)",
              "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES "
              "(1001, 501, 0, 1, 1763000000), (1002, 502, 1001, 0, 1763086400)",
              "INSERT INTO TM_SubTaskXMLOptions (subTaskId, xmlValue) VALUES (11, '<jobOption "
              "level=\"full\"/>')",
              "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) "
              "VALUES (1001, 'backup/compression', '1', 1, 1, 2, 0), (1002, 'backup/encryption', '0', 2, 1, "
              "2, 0)",
              "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, created, "
              "modified) VALUES (1001, 1001, 2, '1', 7, 11, 1763000000, 0), (1001, 1002, 2, '1', 7, 11, "
              "1763000000, 0)"})
            exec(sql);
    }

    // The values joined with "|", so that a whole record compares (and fails) in one line.
    template <class... T>
    static std::string join(const T&... values) {
        std::ostringstream out;
        ((out << values << '|'), ...);
        return out.str();
    }
    // The captured lines of `name` whose text contains `needle`.
    static size_t traced(const evtrace::Capture& cap, const std::string& needle, const std::string& name) {
        return cap.find(needle, name).size();
    }
    std::string err = "caller's text";  // success must leave it as it was
};
