// The benchmark store: created in a temporary directory, seeded in one transaction through the
// platform's DBexecute, then shared by the library (through its URL) and the baselines (raw handles).
#include "bench/Store.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "bench/Data.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBexecute.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"

namespace bench {

namespace {

// "WITH RECURSIVE n(i) AS (... i from `from` to `to` ...) " for bulk inserts.
std::string numbers(long long from, long long to) {
    return "WITH RECURSIVE n(i) AS (SELECT " + std::to_string(from) +
           " UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(to) + ") ";
}

std::string jobOptionsInsert(long long jobId, int count) {
    return numbers(1, count) +
           "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, lastJobId, created, "
           "modified) SELECT " +
           std::to_string(jobId) + ", i, 0, 'opt-value-' || i, 1, 1, 0, 0, 0 FROM n";
}

// A job with its TM_Jobs row and a request of task 1, subtask 1.
void addJob(std::vector<std::string>& sql, long long jobId) {
    const std::string id = std::to_string(jobId);
    sql.push_back("INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (" +
                  id + ", " + id + ", 0, 0, 0)");
    sql.push_back(
        "INSERT INTO TM_JobRequest (jobRequestId, taskId, subTaskId, subTaskType, operationType, "
        "initiatedFrom, userId, created, subOperationType) VALUES (" +
        id + ", 1, 1, 2, 4, 1, 1, " + std::to_string(seed::kRequestCreated) + ", '')");
}

std::string entityInsert(int taskId, const Sched_AssocEntity& e) {
    return "INSERT INTO TM_AssocEntity (assocType, taskId, created, clientGroupId, clientId, apptypeId, "
           "instanceId, backupsetId, subclientId) VALUES (7, " +
           std::to_string(taskId) + ", 1, " + std::to_string(e.clientGroupId) + ", " +
           std::to_string(e.clientId) + ", " + std::to_string(e.apptypeId) + ", " +
           std::to_string(e.instanceId) + ", " + std::to_string(e.backupsetId) + ", " +
           std::to_string(e.subclientId) + ")";
}

std::vector<std::string> seedStatements() {
    using namespace seed;
    std::vector<std::string> sql;
    sql.push_back(numbers(1, kDefaults) +
                  "INSERT INTO TM_StaticTaskOption (optionId, xpath, defVal, bitVal, flagType, type, isList) "
                  "SELECT i, 'Options/option' || i, 'default-' || i, 0, 1, 2, 0 FROM n");
    addJob(sql, kLookupJob);
    sql.push_back(jobOptionsInsert(kLookupJob, 10));
    for (int n : {10, 100, 10000}) {
        addJob(sql, kSizedJobBase + n);
        sql.push_back(jobOptionsInsert(kSizedJobBase + n, n));
    }
    for (long long job : {kSetNewJob, kSetSameJob, kRemoveJob}) addJob(sql, job);
    sql.push_back(jobOptionsInsert(kSetSameJob, kBatch));
    sql.push_back(jobOptionsInsert(kRemoveJob, kBatch));
    // Other jobs, so that the indexes are not trivially small.
    for (long long job = 5000; job < 5200; ++job) {
        addJob(sql, job);
        sql.push_back(jobOptionsInsert(job, 20));
    }

    sql.push_back(
        "INSERT INTO TM_Task (taskId, taskName, taskType, flags, status, alertId, ownerId, runUserId, "
        "initiatedFrom, sequenceNumber, localeId, description, GUID) VALUES (1, 'nightly backup', 1, 0, 0, "
        "5, 1, "
        "1, 1, '123456789', 0, '" +
        std::string(200, 'd') + "', '3F2504E0-4F89-11D3-9A0C-0305E82C3301')");
    for (int task = kEntityTask; task < 60; ++task) {
        if (task == kPatternTask || task == kSetEntityTask) continue;
        const int count = task == kEntityTask ? kEntities : 10;
        for (int i = 0; i < count; ++i) sql.push_back(entityInsert(task, entity(task * 1000 + i)));
    }
    const std::vector<Sched_AssocEntity> set = entitySet();
    for (size_t i = 0; i < set.size(); i += 2) sql.push_back(entityInsert(kSetEntityTask, set[i]));

    // Patterns 1..100 belong to subtask 3 of task 3; 101..350 to subtasks 10..59, five each.
    sql.push_back(numbers(3, 59) +
                  "INSERT INTO TM_SubTask (subTaskId, subTaskName, taskId, subTaskType, operationType) "
                  "SELECT i, 'subtask ' || i, i, 2, 4 FROM n WHERE i = 3 OR i >= 10");
    sql.push_back(
        numbers(1, 350) +
        "INSERT INTO TM_Pattern (patternId, name, ownerId, freq_type, freq_interval, "
        "active_start_date, active_start_time, active_end_date, active_end_time, tzId, description) "
        "SELECT i, 'pattern ' || i, 1, 4, 1, '2024-01-01 00:00:00', 3600, '2030-12-31 00:00:00', "
        "86399, 10, 'every day' FROM n");
    sql.push_back(
        numbers(1, 350) +
        "INSERT INTO TM_PatternAssoc (patternId, subTaskId) SELECT i, CASE WHEN i <= 100 THEN 3 ELSE "
        "10 + (i - 101) / 5 END FROM n");
    return sql;
}

[[noreturn]] void die(const std::string& what) {
    std::fprintf(stderr, "taskdb_bench: %s\n", what.c_str());
    std::exit(2);
}

Store* g_store = nullptr;

}  // namespace

const Store& store() {
    if (g_store) return *g_store;
    auto* s = new Store;
    char pattern[] = "/tmp/taskdb-bench-XXXXXX";
    if (!mkdtemp(pattern)) die("cannot create a temporary directory");
    s->dir = pattern;
    s->path = s->dir + "/store.sqlite";
    s->url = "sqlite:" + s->path;
    std::string err;
    if (DBinitSchema(s->url, &err) != 0) die("schema: " + err);
    dbconfig::setUrl(s->url);
    DBtran tran;
    if (tran.begin(&err) != 0) die("begin: " + err);
    for (const std::string& sql : seedStatements())
        if (DBexecute(&tran, sql, &err) != 0) die("seed: " + err + " in [" + sql + "]");
    if (tran.commit(&err) != 0) die("commit: " + err);
    g_store = s;
    return *s;
}

void removeStore() {
    if (!g_store) return;
    dbconfig::setUrl("");  // closes the library's idle connections
    std::error_code ignored;
    std::filesystem::remove_all(g_store->dir, ignored);
    delete g_store;
    g_store = nullptr;
}

std::string optionValue(long long id) {
    return "opt-value-" + std::to_string(id);
}

void deleteJobOptions(RawDb& db, long long jobId) {
    db.exec("DELETE FROM TM_JobOptions WHERE jobId = " + std::to_string(jobId));
}

void putJobOptions(RawDb& db, long long jobId, int count) {
    deleteJobOptions(db, jobId);
    db.exec(jobOptionsInsert(jobId, count));
}

void deleteAddedEntities(RawDb& db) {
    db.exec("DELETE FROM TM_AssocEntity WHERE taskId = " + std::to_string(seed::kSetEntityTask) +
            " AND created <> 1");
}

}  // namespace bench
