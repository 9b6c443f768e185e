// Option writes: setOptions of 1,000 new options and of 1,000 unchanged ones, removeOptions of 1,000,
// each in one transaction. The store is put back between timed calls (outside the timing).
#include <stdexcept>
#include <string>

#include "Db/Tbl/TM_JobOptions.h"
#include "Db/Tbl/TM_JobRequest.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "bench/Data.h"
#include "bench/Shared.h"

namespace bench {

namespace {

// A connection of the benchmark thread for the work between timed calls.
struct Maintenance {
    RawDb db{store().path};
};

long long optionRows(RawDb& db, long long jobId) {
    return db.scalar("SELECT COUNT(*) FROM TM_JobOptions WHERE jobId = " + std::to_string(jobId));
}

_TaskInfo jobInfo(long long jobId) {
    _TaskInfo info;
    info.jobId = jobId;
    info.taskId = 1;
    info.subTaskId = 1;
    return info;
}

// What setOptions sends: per option a look-up of the job's row; for a missing one the job's request
// (once per call) and an insert of every column but the identity; one write transaction.
struct RawSetOptions {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt find{db, std::string("SELECT ") + records::kOptionValueColumn +
                         " FROM TM_JobOptions WHERE jobId = ? AND optionId = ? ORDER BY id"};
    RawStmt request{db,
                    std::string("SELECT ") + TM_JobRequest::kColumnList +
                        " FROM TM_JobRequest WHERE jobRequestId IN ( SELECT jobRequestId FROM TM_Jobs WHERE "
                        "jobId = ?) ORDER BY jobRequestId"};
    RawStmt insert{
        db,
        "INSERT INTO TM_JobOptions (jobId, optionId, type, value, taskId, subTaskId, lastJobId, created, "
        "modified) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"};

    void call(const _TaskInfo& info, const std::vector<const TaskOption*>& options) {
        RawTran::once(tran.beginWrite);
        bool requestRead = false;
        long long created = 0;
        for (const TaskOption* o : options) {
            const std::string& value = o->getValue();
            find.bind(1, info.jobId);
            find.bind(2, static_cast<long long>(o->getOptionId()));
            const bool exists = find.step();
            const bool same = exists && find.text(0) == value;
            find.reset();
            if (same) continue;
            if (exists) throw std::runtime_error("the baseline does not update options");
            if (!requestRead) {
                request.bind(1, info.jobId);
                if (request.step()) created = request.integer(7);
                request.reset();
                requestRead = true;
            }
            insert.bind(1, info.jobId);
            insert.bind(2, static_cast<long long>(o->getOptionId()));
            insert.bind(3, o->getType());
            insert.bind(4, value);
            insert.bind(5, static_cast<long long>(static_cast<int>(info.taskId)));
            insert.bind(6, static_cast<long long>(static_cast<int>(info.subTaskId)));
            insert.bind(7, 0LL);
            insert.bind(8, created);
            insert.bind(9, 0LL);
            insert.run();
            insert.reset();
            benchmark::DoNotOptimize(sqlite3_last_insert_rowid(db.get()));
        }
        RawTran::once(tran.commit);
    }
};

// `fresh`: the job starts each call without options (all are added); otherwise it holds them all.
void librarySetOptions(benchmark::State& state, bool fresh) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        const long long job = fresh ? seed::kSetNewJob : seed::kSetSameJob;
        _TaskInfo info = jobInfo(job);
        const std::vector<const TaskOption*> options = batchPointers();
        std::string err;
        {
            Counted counted(state);
            for (auto _ : state) {
                if (fresh) {
                    pause(state);
                    deleteJobOptions(maint, job);
                    resume(state);
                }
                if (!ok(state, library().setOptions(info, options, err, nullptr), err, "setOptions")) return;
            }
        }
        if (optionRows(maint, job) != seed::kBatch) failed(state, "wrong number of option rows");
    });
}

void baselineSetOptions(benchmark::State& state, bool fresh) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        RawSetOptions& raw = perThread<RawSetOptions>(state);
        const long long job = fresh ? seed::kSetNewJob : seed::kSetSameJob;
        const _TaskInfo info = jobInfo(job);
        const std::vector<const TaskOption*> options = batchPointers();
        {
            Counted counted(state);
            for (auto _ : state) {
                if (fresh) {
                    pause(state);
                    deleteJobOptions(maint, job);
                    resume(state);
                }
                raw.call(info, options);
            }
        }
        if (optionRows(maint, job) != seed::kBatch) failed(state, "wrong number of option rows");
    });
}

// What removeOptions sends per option: the delete of the job's row and of the subtask-level row that
// the job inherits (see the library's clause), in one write transaction.
struct RawRemoveOptions {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt remove{
        db,
        "DELETE FROM TM_JobOptions WHERE (jobId=?1 OR (jobId=0 AND subTaskId=(SELECT subTaskId FROM "
        "TM_JobRequest "
        "WHERE jobRequestId IN (SELECT jobRequestId FROM TM_Jobs WHERE \"jobId\"=?1)) AND created <= (SELECT "
        "created FROM TM_JobRequest WHERE jobRequestId IN (SELECT jobRequestId FROM TM_Jobs WHERE jobId=?1) "
        "LIMIT 1) AND (modified=0 OR modified > (SELECT created FROM TM_JobRequest WHERE jobRequestId IN "
        "(SELECT "
        "jobRequestId FROM TM_Jobs WHERE jobId=?1) LIMIT 1)))) AND optionId = ?2"};

    void call(long long jobId, const std::vector<unsigned long long>& ids) {
        RawTran::once(tran.beginWrite);
        for (unsigned long long id : ids) {
            remove.bind(1, jobId);
            remove.bind(2, static_cast<long long>(id));
            remove.run();
            benchmark::DoNotOptimize(sqlite3_changes(db.get()));
            remove.reset();
        }
        RawTran::once(tran.commit);
    }
};

std::vector<unsigned long long> batchIds() {
    std::vector<unsigned long long> ids;
    for (const TaskOption& o : batchOptions()) ids.push_back(o.getOptionId());
    return ids;
}

void libraryRemoveOptions(benchmark::State& state) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        _TaskInfo info = jobInfo(seed::kRemoveJob);
        const std::vector<unsigned long long> ids = batchIds();
        std::string err;
        {
            Counted counted(state);
            for (auto _ : state) {
                pause(state);
                putJobOptions(maint, seed::kRemoveJob, seed::kBatch);
                resume(state);
                if (!ok(state, library().removeOptions(info, ids, err, nullptr), err, "removeOptions"))
                    return;
            }
        }
        if (optionRows(maint, seed::kRemoveJob) != 0) failed(state, "options left behind");
    });
}

void baselineRemoveOptions(benchmark::State& state) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        RawRemoveOptions& raw = perThread<RawRemoveOptions>(state);
        const std::vector<unsigned long long> ids = batchIds();
        {
            Counted counted(state);
            for (auto _ : state) {
                pause(state);
                putJobOptions(maint, seed::kRemoveJob, seed::kBatch);
                resume(state);
                raw.call(seed::kRemoveJob, ids);
            }
        }
        if (optionRows(maint, seed::kRemoveJob) != 0) failed(state, "options left behind");
    });
}

}  // namespace

void addWriteCases() {
    addCase({"setOptions new", seed::kBatch, Kind::Write, 1, true,
             [](benchmark::State& s) { librarySetOptions(s, true); },
             [](benchmark::State& s) { baselineSetOptions(s, true); }});
    addCase({"setOptions unchanged", seed::kBatch, Kind::Write, 1, false,
             [](benchmark::State& s) { librarySetOptions(s, false); },
             [](benchmark::State& s) { baselineSetOptions(s, false); }});
    addCase(
        {"removeOptions", seed::kBatch, Kind::Write, 1, false, libraryRemoveOptions, baselineRemoveOptions});
}

}  // namespace bench
