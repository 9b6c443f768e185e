// Job start admission over a seeded world, one row per branch of the decision, on every backend; the
// job details procedure; and automatic runs that are admitted, or refused as a whole.
#include <list>
#include <string>
#include <vector>

#include "Db/Proc/JMGetJobDetails.h"
#include "TaskInterfaceDB/Admission.h"
#include "db/Wrappers.h"
#include "platform/db/TranWrapper.h"
#include "support/TestStore.h"

namespace {

class AdmissionTest : public StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        exec(
            "INSERT INTO APP_Client (id, name, displayName, deleted) VALUES (1, 'alpha', 'Alpha', 0), "
            "(2, 'beta', 'Beta', 1), (3, 'phys', 'Phys', 0), (4, 'ma', 'MA', 0), (5, 'laptop', 'Laptop', 0), "
            "(6, 'locked', 'Locked', 0)");
        exec(
            "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) "
            "VALUES "
            "(10, 1, 33, 1, 1000, 'plain'), (11, 1, 81, 1, 1000, 'levels'), (12, 1, 33, 1, 1000, 'other'), "
            "(20, 2, 33, 1, 1000, 'gone'), (30, 1, 33, 1, 1000, 'nomad'), (31, 1, 33, 1, 1000, 'nomadbusy'), "
            "(40, 1, 33, 1, 1000, 'late'), (50, 1, 33, 1, 1000, 'removed'), (60, 5, 33, 1, 1000, 'user'), "
            "(70, 6, 33, 1, 1000, 'locked')");
        exec(
            "INSERT INTO SRV_SubclientMark (subclientId, nomadDrive, maxBackupIntervalExpired, uninstalled) "
            "VALUES (30, 1, 0, 0), (31, 1, 0, 0), (40, 0, 1, 0), (50, 0, 0, 1)");
        exec(
            "INSERT INTO SRV_ClientProp (clientId, userCentric, physicalClientId, versionInfo, isNAS, "
            "nonNDMP, "
            "actualClientId) VALUES (5, 1, 3, '', 0, 0, 3)");
        exec("INSERT INTO MMHost (ClientId, MmHostEnabled) VALUES (4, 1)");
        exec("INSERT INTO APP_Orbis (id, number, aliasName, isLocal) VALUES (7, 7, 'here', 1)");
        exec(
            "INSERT INTO SRV_RunningJob (jobId, orbisId, clientId, subclientId, appTypeId, opType, "
            "backupLevel, "
            "status, startTime) VALUES (900, 7, 1, 31, 33, 4, 0, 1, 1), (901, 7, 1, 11, 81, 4, 2, 1, 1), "
            "(902, 7, 1, 12, 33, 4, 4, 1, 1), (903, 7, 3, 0, 0, 9, 0, 1, 1)");
        // Stored backup levels: 2, 6 (same as 2), 4 (mapped 64) and 3 (mapped 4).
        exec(
            "INSERT INTO TM_SubTaskOptions (subTaskId, optionId, type, value) VALUES (701, 458405394, 0, "
            "'6'), "
            "(702, 458405394, 0, '4'), (703, 458405394, 0, '3')");
        exec(
            "INSERT INTO SRV_ActivityControl (entityLevel, entityId, activityType, enabled, reasonMessageId, "
            "reasonText) VALUES (2, 6, 1, 0, 0, 'maintenance'), (2, 6, 8, 0, 0, 'maintenance'), "
            "(2, 6, 2, 0, 0, 'maintenance')");
        exec(
            "INSERT INTO SRV_EventMessage (messageId, localeId, formatText) VALUES "
            "(318767874, 0, 'Activity [%1] is disabled on client [%2]. %3')");
    }
};

struct Case {
    const char* what;
    std::vector<std::string> extra;  // statements run first
    unsigned clientId, subclientId, apptypeId;
    unsigned subTaskId, subTaskType, operationType;
    unsigned int code;
    const char* error;                            // nullptr: errorString keeps the caller's text
    int nomad, userCentric, expired, mediaAgent;  // -1: flag not reached (keeps the caller's true)
    std::list<long long> jobIds;
};

const Case kCases[] = {
    {"admitted", {}, 1, 10, 33, 799, 2, 2, 0, nullptr, 0, -1, 0, 0, {}},
    {"scheduler disabled",
     {"INSERT INTO SRV_ActivityControl (entityLevel, entityId, activityType, enabled, reasonMessageId, "
      "reasonText) VALUES (1, 0, 12, 0, 0, '')"},
     1,
     10,
     33,
     799,
     2,
     2,
     KO_ADMIT_SCHEDULER_DISABLED,
     nullptr,
     -1,
     -1,
     -1,
     -1,
     {}},
    {"backup disabled on client",
     {},
     6,
     70,
     33,
     799,
     2,
     2,
     KO_ADMIT_ACTIVITY_DISABLED_TYPE2,
     "Activity [1] is disabled on client [locked]. maintenance",
     0,
     -1,
     0,
     0,
     {}},
    {"admin activity 8 disabled",
     {},
     6,
     0,
     0,
     799,
     1,
     1,
     KO_ADMIT_ACTIVITY_DISABLED_TYPE1,
     "Activity [8] is disabled on client [locked]. maintenance",
     -1,
     -1,
     -1,
     -1,
     {}},
    {"operation 4019 asks activity 18; subclient 0 type 1 skips jobs",
     {},
     6,
     0,
     0,
     799,
     1,
     4019,
     0,
     nullptr,
     -1,
     -1,
     -1,
     -1,
     {}},
    {"restore disabled",
     {},
     6,
     70,
     33,
     799,
     3,
     3,
     KO_ADMIT_ACTIVITY_DISABLED_TYPE3,
     "Activity [2] is disabled on client [locked]. maintenance",
     0,
     -1,
     0,
     0,
     {}},
    {"deleted client", {}, 2, 20, 33, 799, 2, 2, KO_ADMIT_ENTITY_REMOVED, nullptr, 0, -1, 0, 0, {}},
    {"deleted client at level 64 goes on", {}, 2, 20, 33, 702, 2, 2, 0, nullptr, 0, -1, 0, 0, {}},
    {"uninstalled subclient", {}, 1, 50, 33, 799, 2, 2, KO_ADMIT_ENTITY_REMOVED, nullptr, 0, -1, 0, 0, {}},
    {"nomad, nothing running", {}, 1, 30, 33, 799, 2, 2, 0, nullptr, 1, -1, 0, 0, {}},
    {"nomad, job running", {}, 1, 31, 33, 799, 2, 2, KO_ADMIT_JOB_RUNNING, nullptr, 1, -1, 0, 0, {900}},
    {"user-centric laptop on a media agent", {}, 4, 60, 0, 799, 2, 2, 0, nullptr, 0, 1, 0, 1, {}},
    {"expired interval", {}, 1, 40, 33, 799, 2, 2, 0, nullptr, 0, -1, 1, 0, {}},
    {"client jobs, subclient 0, type 2",
     {},
     3,
     0,
     0,
     799,
     2,
     2,
     KO_ADMIT_JOB_RUNNING,
     nullptr,
     -1,
     -1,
     -1,
     -1,
     {}},
    {"same level running (6 maps like 2)",
     {},
     1,
     11,
     81,
     701,
     2,
     2,
     KO_ADMIT_JOB_RUNNING,
     nullptr,
     0,
     -1,
     0,
     0,
     {}},
    {"other level running", {}, 1, 11, 81, 703, 2, 2, 0, nullptr, 0, -1, 0, 0, {}},
    {"levels not compared for other apps",
     {},
     1,
     12,
     33,
     703,
     2,
     2,
     KO_ADMIT_JOB_RUNNING,
     nullptr,
     0,
     -1,
     0,
     0,
     {}},
};

TEST_P(AdmissionTest, EachBranchOfTheDecision) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        for (const std::string& sql : c.extra) exec(sql);
        Sched_AssocEntity entity;
        entity.clientId = c.clientId;
        entity.subclientId = c.subclientId;
        entity.apptypeId = c.apptypeId;
        Sched_SubTask subTask;
        subTask.subTaskId = c.subTaskId;
        subTask.subTaskType = c.subTaskType;
        subTask.operationType = c.operationType;
        std::string err = "untouched";
        bool nomad = true, userCentric = true, expired = true, mediaAgent = true;
        std::list<long long> jobIds;
        EXPECT_EQ(checkIfJobCanStart(entity, subTask, err, 0, nomad, userCentric, expired, nullptr, jobIds,
                                     mediaAgent),
                  c.code);
        EXPECT_EQ(err, c.error ? c.error : "untouched");
        auto flag = [](int expected) { return expected != 0; };
        EXPECT_EQ(nomad, flag(c.nomad));
        EXPECT_EQ(userCentric, flag(c.userCentric));
        EXPECT_EQ(expired, flag(c.expired));
        EXPECT_EQ(mediaAgent, flag(c.mediaAgent));
        EXPECT_EQ(jobIds, c.jobIds);
        if (!c.extra.empty()) exec("DELETE FROM SRV_ActivityControl WHERE entityLevel = 1");
    }
    EXPECT_EQ(scalar("SELECT maxBackupIntervalExpired FROM SRV_SubclientMark WHERE subclientId = 40"), 0)
        << "the expired mark is consumed by the decision";
}

TEST_P(AdmissionTest, MappedBackupLevels) {
    const std::vector<std::pair<int, int>> table = {
        {1, 1},  {2, 2},    {3, 4},         {4, 64},    {5, 512},      {6, 2},
        {7, 0},  {8, 2048}, {9, 4096},      {10, 8192}, {11, 0x20000}, {12, 0x40000},
        {13, 0}, {14, 0},   {15, 0x200000}, {16, 0},    {0, 0},        {-1, 0}};
    for (const auto& [stored, mapped] : table) EXPECT_EQ(getMappedBackupLevel(stored), mapped) << stored;
}

std::string jobDetails(const std::string& request) {
    TranWrapper tw(nullptr, "test");
    std::string err, reply;
    EXPECT_EQ(tw.ensureTran(&err), 0) << err;
    SprocWrapper<JMGetJobDetails, JMGetJobDetails_t> proc("test", tw.get());
    proc.getCursor()->setValues(request.c_str());
    EXPECT_EQ(proc.getXMLFromCursor(reply, &err, false, false), 0) << err;
    return reply;
}

TEST_P(AdmissionTest, JobDetailsListRunningJobsAndRefuseOtherQueries) {
    const std::string jobs = jobDetails(
        "<JobManager_JobInfoReq><entity entityType=\"2\" entityId=\"11\"/><entity entityType=\"2\" "
        "entityId=\"31\"/></JobManager_JobInfoReq>");
    EXPECT_NE(jobs.find("jobId=\"901\" backupLevel=\"2\""), std::string::npos) << jobs;
    EXPECT_NE(jobs.find("jobId=\"900\""), std::string::npos) << jobs;
    EXPECT_EQ(jobs.find("jobId=\"900\" backupLevel"), std::string::npos) << "level 0 is written as none";
    EXPECT_EQ(jobs.find("902"), std::string::npos) << jobs;
    EXPECT_EQ(jobs.find("<error"), std::string::npos) << jobs;

    const std::string refused = jobDetails(
        "<JobManager_JobInfoReq><entity entityType=\"1\" entityId=\"1\"/></JobManager_JobInfoReq>");
    EXPECT_NE(refused.find("<error errorCode="), std::string::npos) << refused;
    EXPECT_EQ(refused.find("<job"), std::string::npos) << refused;
    EXPECT_NE(jobDetails("not a request").find("<error"), std::string::npos);
}

_AutomaticTaskInfo automaticRun(unsigned subTaskId, const std::vector<unsigned>& subclients) {
    _AutomaticTaskInfo info;
    _SubTaskInfo pair;
    pair.subTask.subTaskId = subTaskId;
    pair.subTask.taskId = 8;
    info.subTasks.push_back(pair);
    for (unsigned subclient : subclients) {
        Sched_AssocEntity e;
        e.taskId = 8;
        e.clientId = 1;
        e.apptypeId = 33;
        e.subclientId = subclient;
        info.entities.push_back(e);
    }
    Sched_AssocEntity elsewhere;  // of another task: never sent
    elsewhere.taskId = 9;
    elsewhere.clientId = 1;
    elsewhere.subclientId = 31;
    info.entities.push_back(elsewhere);
    return info;
}

TEST_P(AdmissionTest, AutomaticRunsAreAdmittedTogetherOrNotAtAll) {
    exec("INSERT INTO TM_Task (taskId, taskName) VALUES (8, 'Auto')");
    exec(
        "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType) VALUES "
        "(801, 'backup', 8, 2, 2)");
    struct Run {
        const char* what;
        std::vector<_AutomaticTaskInfo> tasks;
        int opType;
        int code;
        size_t jobs;      // job ids reported
        long long added;  // running jobs added
    };
    const Run runs[] = {
        {"one refused entity refuses all", {automaticRun(801, {10, 31})}, 5, KO_ADMIT_JOB_RUNNING, 1, 0},
        {"admitted, with the expired interval as an option", {automaticRun(801, {10, 40})}, 5, 0, 2, 2},
        {"the started job now refuses the next run",
         {automaticRun(801, {10})},
         5,
         KO_ADMIT_JOB_RUNNING,
         0,
         0},
        {"other operations are not judged", {automaticRun(801, {31})}, 3, 0, 0, 0},
    };
    for (const Run& r : runs) {
        SCOPED_TRACE(r.what);
        std::vector<_AutomaticTaskInfo> tasks = r.tasks;
        std::list<long long> jobIds{123};
        std::string err;
        long long before = scalar("SELECT COUNT(*) FROM SRV_RunningJob");
        EXPECT_EQ(ti->performOperation(tasks, jobIds, err, r.opType, 1, 1, 0, 0, false, nullptr), r.code)
            << err;
        EXPECT_EQ(jobIds.size(), r.jobs);
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_RunningJob") - before, r.added);
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM SRV_RunningJob WHERE subclientId = 31"), 1);
    EXPECT_EQ(text("SELECT o.value FROM TM_JobOptions o JOIN SRV_RunningJob j ON j.jobId = o.jobId "
                   "WHERE j.subclientId = 40 AND o.optionId = 160003"),
              "1");

    std::vector<_AutomaticTaskInfo> none;
    std::list<long long> jobIds;
    std::string err;
    EXPECT_NE(ti->performOperation(none, jobIds, err, 5, 1, 1, 0, 0, false, nullptr), 0)
        << "an empty run list is still sent, and the task manager finds no subtask in it";
    EXPECT_FALSE(err.empty());
}

TASKDB_STORE_SUITE(AdmissionTest);

}  // namespace
