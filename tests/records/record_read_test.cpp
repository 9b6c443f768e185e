// Readers of job, task, subtask, entity and pattern records against the seeded schedule.
#include <string>

#include "Db/Tbl/TM_AssocEntity.h"
#include "Db/Tbl/TM_JobRequest.h"
#include "Db/Tbl/TM_Pattern.h"
#include "Db/Tbl/TM_StaticTaskOption.h"
#include "Db/Tbl/TM_SubTask.h"
#include "Db/Tbl/TM_Task.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "records/RecordStore.h"

class RecordReadTest : public RecordStoreTest {};

TEST_P(RecordReadTest, JobTaskAndDefaultTaskReadersFillOrLeaveTheRecord) {
    evtrace::Capture cap;
    _TaskInfo job, unknownJob;
    job.jobId = 1002;
    ASSERT_EQ(ti->getJobInfo(job, err, nullptr), 0);
    EXPECT_EQ(join(job.taskId, job.subTaskId), "7|12|");
    EXPECT_EQ(traced(cap, "Called with", "TaskInterfaceDB::getJobInfo"), 0u) << "the call is not traced";
    unknownJob.jobId = 999;
    unknownJob.taskId = 5;
    unknownJob.subTaskId = 6;
    ASSERT_EQ(ti->getJobInfo(unknownJob, err, nullptr), 0);
    EXPECT_EQ(join(unknownJob.taskId, unknownJob.subTaskId), "5|6|");

    _TaskInfo info;
    info.taskId = 7;
    ASSERT_EQ(ti->getTaskInfo(info, err, nullptr), 0);
    const Sched_Task& t = info.task;
    EXPECT_EQ(join(t.taskId, t.taskType, t.flags, t.status, t.alertId, t.ownerId, t.runUserId, t.localeId,
                   t.initiatedFrom, t.sequenceNumber, t.description),
              "7|2|4|1|17|5|6|9|3|18446744073709551615|nightly backup|");
    EXPECT_EQ(traced(cap, "TABLE -> TM_Task {taskId = 7}", "TaskInterfaceDB::getTaskInfo"), 1u);
    info.taskId = 70;
    info.task.description = "kept";
    ASSERT_EQ(ti->getTaskInfo(info, err, nullptr), 0);
    EXPECT_EQ(join(info.task.description, info.task.alertId), "kept|17|");

    ASSERT_EQ(ti->getDefaultTaskId(info, err, nullptr), 0);
    EXPECT_EQ(info.task.taskId, 1u);
    exec("UPDATE TM_Task SET flags = 0 WHERE taskId = 1");
    info.task.taskId = 55;
    ASSERT_EQ(ti->getDefaultTaskId(info, err, nullptr), 0);
    EXPECT_EQ(info.task.taskId, 55u);
    EXPECT_EQ(err, "caller's text");
}

TEST_P(RecordReadTest, SubTaskInfoChoosesItsKeysByWhichAreSet) {
    auto read = [&](unsigned long long taskId, unsigned long long subTaskId) {
        _TaskInfo info;
        info.taskId = taskId;
        info.subTaskId = subTaskId;
        info.subTask.subTaskId = 777;  // marks "no row"
        EXPECT_EQ(ti->getSubTaskInfo(info, err, nullptr), 0);
        return info.subTask;
    };
    Sched_SubTask both = read(7, 12);
    EXPECT_EQ(join(both.subTaskId, both.taskId, both.subTaskType, both.operationType, both.subTaskOrder),
              "12|7|3|4004|2|");
    EXPECT_EQ(read(8, 12).subTaskId, 777u) << "both keys must match";
    EXPECT_EQ(read(0, 13).subTaskId, 13u);
    EXPECT_EQ(read(7, 0).subTaskId, 11u) << "the task's first subtask";
    EXPECT_EQ(read(0, 0).subTaskId, 777u);
}

TEST_P(RecordReadTest, EntityInfoAppendsEveryEntityEachCall) {
    _TaskInfo info;
    info.taskId = 7;
    ASSERT_EQ(ti->getEntityInfo(info, err, nullptr), 0);
    ASSERT_EQ(ti->getEntityInfo(info, err, nullptr), 0);
    ASSERT_EQ(info.entities.size(), 4u);
    std::string all;
    for (const Sched_AssocEntity& e : info.entities)
        all += join(e.assocId, e.assocType, e.taskId, e.clientGroupId, e.clientId, e.apptypeId, e.instanceId,
                    e.backupsetId, e.subclientId, e.policyId, e.copyId, e.srmReportSet, e.srmReportType) +
               ";";
    EXPECT_EQ(all, "1|28|7|3|0|0|0|0|0|41|42|43|44|;2|7|7|0|12|33|1|40|301|0|0|0|0|;" +
                       std::string("1|28|7|3|0|0|0|0|0|41|42|43|44|;2|7|7|0|12|33|1|40|301|0|0|0|0|;"));
    EXPECT_EQ(err, "caller's text");
}

TEST_P(RecordReadTest, PatternInfoByClientByTaskOrEveryPattern) {
    auto patterns = [&](unsigned int clientId, unsigned long long taskId) {
        _TaskInfo info;
        info.taskId = taskId;
        info.entities.resize(1);
        info.entities[0].clientId = clientId;
        info.entities[0].taskId = static_cast<unsigned int>(taskId);
        EXPECT_EQ(ti->getPatternInfo(info, err, nullptr), 0);
        return info.patterns;
    };
    auto names = [&](unsigned int clientId, unsigned long long taskId) {
        std::string all;
        for (const auto& p : patterns(clientId, taskId)) all += p.name + ";";
        return all;
    };
    evtrace::Capture cap;
    EXPECT_EQ(names(99, 7), "Other daily;") << "the client wins over the task";
    EXPECT_EQ(traced(cap, "Called with clientId[99], taskId[7]", "TaskInterfaceDB::getPatternInfo"), 1u);
    EXPECT_EQ(names(0x80000000u, 8), "Other daily;") << "a negative client id is no client";
    EXPECT_EQ(names(0, 0), "Sunday 22:00;Daily 23:30;Other daily;");

    const auto found = patterns(0, 7);
    ASSERT_EQ(found.size(), 2u);
    const Sched_Pattern& p = found[0];
    EXPECT_EQ(
        join(p.name, p.ownerId, p.freq_type, p.freq_interval, p.freq_relative_interval,
             p.freq_recurrence_factor, p.freq_subday_interval, p.skipOccurence, p.skipDayNumber,
             p.active_start_date, p.active_start_time, p.active_end_date, p.active_end_time,
             p.active_end_occurence, p.tzId, p.calendarId, p.local_start_date, p.local_end_date,
             p.freq_restart_interval),
        "Sunday 22:00|5|8|1|2|3|4|5|6|2026-01-04 00:00:00|79200|2027-12-31 23:59:00|86399|7|42|8|9|10|11|");
    EXPECT_EQ(found[1].name, "Daily 23:30");
    EXPECT_EQ(found[1].active_start_date, "") << "a date never set";
}

TEST_P(RecordReadTest, HostileTextsRoundTripWithinTheColumnWidths) {
    const std::string quoted = "it's a \"test\" -- '; DROP TABLE TM_Task; --";
    const std::string nonAscii =
        "Sauvegarde nocturne \xC3\xA9t\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x92\xBE";
    auto sqlText = [](const std::string& s) {
        std::string out;
        for (char c : s) out += c == '\'' ? std::string("''") : std::string(1, c);
        return out;
    };
    exec("UPDATE TM_Task SET description = N'" + sqlText(quoted) + "' WHERE taskId = 7");
    exec("UPDATE TM_Task SET description = N'" + nonAscii + "' WHERE taskId = 8");
    exec("UPDATE TM_Task SET description = '" + std::string(5000, 'x') + "' WHERE taskId = 1");
    exec("UPDATE TM_Pattern SET name = N'" + sqlText(quoted + nonAscii) + "' WHERE patternId = 21");
    exec("UPDATE TM_Pattern SET name = '" + std::string(600, 'n') + "' WHERE patternId = 22");
    _TaskInfo info;
    const std::pair<int, std::string> descriptions[] = {
        {7, quoted}, {8, nonAscii}, {1, std::string(4096, 'x')}};
    for (const auto& [taskId, expected] : descriptions) {
        info.taskId = taskId;
        EXPECT_EQ(ti->getTaskInfo(info, err, nullptr), 0);
        EXPECT_EQ(info.task.description, expected);
    }
    info.taskId = 7;
    info.entities.resize(1);
    ASSERT_EQ(ti->getPatternInfo(info, err, nullptr), 0);
    ASSERT_EQ(info.patterns.size(), 2u);
    EXPECT_EQ(info.patterns[0].name, quoted + nonAscii);
    EXPECT_EQ(info.patterns[1].name, std::string(510, 'n'));
}

TASKDB_STORE_SUITE(RecordReadTest);

// A list that does not match its record (a misspelt name, a column out of order) silently reads the
// whole row again; every reader's list must map.
TEST(ReadColumns, EveryReadersListNamesColumnsOfItsRecordInOrder) {
    using records::columnMask;
    EXPECT_EQ((columnMask<TM_JobRequest_t, records::kJobRequestColumns>()), 0b110u);
    EXPECT_NE((columnMask<TM_Task_t, records::kTaskColumns>()), 0u);
    EXPECT_EQ((columnMask<TM_Task_t, records::kTaskIdColumn>()), 1u);
    EXPECT_NE((columnMask<TM_SubTask_t, records::kSubTaskColumns>()), 0u);
    EXPECT_NE((columnMask<TM_AssocEntity_t, records::kEntityColumns>()), 0u);
    EXPECT_NE((columnMask<TM_Pattern_t, records::kPatternColumns>()), 0u);
    EXPECT_NE((columnMask<TM_StaticTaskOption_t, records::kDefaultColumns>()), 0u);
    EXPECT_EQ(DBtable::columnMask(TM_Task_t::columns(), TM_Task_t::kColumnCount, "taskType, taskId"), 0u);
    EXPECT_EQ(DBtable::columnMask(TM_Task_t::columns(), TM_Task_t::kColumnCount, "taskId, task"), 0u);
}
