// runTasks: 100 jobs per call (subtasks 10 to 19, ten entities each) through the task manager in the
// caller and through the service on a Unix socket (timed by wall time: the service works on its own
// thread). The baseline writes the same rows (a job request, a job and a running job per entity, after
// the same look-ups) in one write transaction.
#include <unistd.h>
#include <cstdlib>
#include <thread>

#include "bench/Shared.h"
#include "platform/taskmgr/TaskManager.h"

namespace bench {

namespace {

constexpr int kFirstSubTask = 10;
constexpr int kSubTasks = 10;
constexpr int kJobs = 100;  // ten entities per subtask

std::vector<Sched_SubTask> runList() {
    std::vector<Sched_SubTask> list(kSubTasks);
    for (int i = 0; i < kSubTasks; ++i) list[i].taskId = list[i].subTaskId = kFirstSubTask + i;
    return list;
}

// The service, started once for the process on a socket in the store's directory.
const std::string& serviceEndpoint() {
    static const std::string endpoint = [] {
        std::string e = "unix:" + store().dir + "/taskmgr.sock";
        std::thread([e] { EvTaskMgr::serve(e, nullptr); }).detach();
        for (int i = 0; i < 500 && access(e.c_str() + 5, F_OK) != 0; ++i) usleep(10000);
        return e;
    }();
    return endpoint;
}

void libraryRunTasks(benchmark::State& state, bool service) {
    setenv("TASKDB_TASKMGR", service ? serviceEndpoint().c_str() : "inprocess", 1);
    std::vector<Sched_SubTask> list = runList();
    std::string err;
    std::list<long long> jobs;
    // The task manager refuses a run for a subclient with a job still running: each call starts from
    // finished jobs, and the clean-up is not timed.
    RawDb db{store().path};
    RawStmt finish{db, "DELETE FROM SRV_RunningJob"};
    {
        Counted counted(state);
        for (auto _ : state) {
            state.PauseTiming();
            finish.run();
            finish.reset();
            state.ResumeTiming();
            jobs.clear();
            if (!ok(state, library().runTasks(list, jobs, err, 1, 0, 0, false, nullptr), err, "runTasks"))
                break;
        }
    }
    unsetenv("TASKDB_TASKMGR");
    if (jobs.size() != static_cast<size_t>(kJobs)) failed(state, "wrong number of jobs");
}

struct RawRunTasks {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt maxJob{db, "SELECT MAX(jobId) FROM TM_Jobs"};
    RawStmt maxRunning{db, "SELECT MAX(jobId) FROM SRV_RunningJob"};
    RawStmt subTask{db, "SELECT taskId, subTaskType, operationType FROM TM_SubTask WHERE subTaskId = ?"};
    RawStmt entities{db,
                     "SELECT clientGroupId, clientId, apptypeId, instanceId, backupsetId, subclientId "
                     "FROM TM_AssocEntity WHERE taskId = ? ORDER BY assocId"};
    RawStmt request{
        db,
        "INSERT INTO TM_JobRequest (taskId, subTaskId, subTaskType, operationType, initiatedFrom, "
        "userId, created, subOperationType) VALUES (?, ?, ?, ?, ?, ?, ?, ?)"};
    RawStmt job{
        db,
        "INSERT INTO TM_Jobs (jobId, jobRequestId, predecessor, status, timeToStart) VALUES (?, ?, ?, ?, ?)"};
    RawStmt running{db,
                    "INSERT INTO SRV_RunningJob (jobId, orbisId, clientId, subclientId, appTypeId, opType, "
                    "backupLevel, status, startTime) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"};

    size_t call() {
        RawTran::once(tran.beginWrite);
        maxJob.step();
        long long next = maxJob.integer(0);
        maxJob.reset();
        maxRunning.step();
        next = std::max(next, maxRunning.integer(0)) + 1;
        maxRunning.reset();
        size_t made = 0;
        for (int s = kFirstSubTask; s < kFirstSubTask + kSubTasks; ++s) {
            subTask.bind(1, s);
            subTask.step();
            long long taskId = subTask.integer(0), type = subTask.integer(1), op = subTask.integer(2);
            subTask.reset();
            entities.bind(1, taskId);
            while (entities.step()) {
                request.bind(1, taskId);
                request.bind(2, s);
                request.bind(3, type);
                request.bind(4, op);
                request.bind(5, 5LL);
                request.bind(6, 1LL);
                request.bind(7, 1700000000LL);
                request.bind(8, std::string());
                request.run();
                request.reset();
                long long jobId = next++;
                job.bind(1, jobId);
                job.bind(2, sqlite3_last_insert_rowid(db.get()));
                for (int c = 3; c <= 4; ++c) job.bind(c, 0LL);
                job.bind(5, 1700000000LL);
                job.run();
                job.reset();
                running.bind(1, jobId);
                running.bind(2, 0LL);
                running.bind(3, entities.integer(1));
                running.bind(4, entities.integer(5));
                running.bind(5, entities.integer(2));
                running.bind(6, op);
                for (int c = 7; c <= 8; ++c) running.bind(c, 0LL);
                running.bind(9, 1700000000LL);
                running.run();
                running.reset();
                ++made;
            }
            entities.reset();
        }
        RawTran::once(tran.commit);
        return made;
    }
};

void baselineRunTasks(benchmark::State& state) {
    guarded(state, [&] {
        RawRunTasks& raw = perThread<RawRunTasks>(state);
        size_t made = 0;
        {
            Counted counted(state);
            for (auto _ : state) made = raw.call();
        }
        if (made != static_cast<size_t>(kJobs)) failed(state, "wrong number of jobs");
    });
}

}  // namespace

void addTaskManagerCases() {
    addCase({"runTasks in-process", kJobs, Kind::Write, 1, false,
             [](benchmark::State& s) { libraryRunTasks(s, false); }, baselineRunTasks});
    addCase({"runTasks service", kJobs, Kind::Write, 1, false,
             [](benchmark::State& s) { libraryRunTasks(s, true); }, baselineRunTasks, true});
}

}  // namespace bench
