// taskdb_jobs_bench: the job listing (`jobs list --top 100`, the job statistics cursor) over stores of
// many finished jobs, beside the raw indexed SELECT of the same 100 job ids, in one run; then a table
// of milliseconds per call, the ratio and the growth with the number of jobs.
//
//   taskdb_jobs_bench [--jobs=10000,1000000] [Google Benchmark flags]
//
// Each size gets a SQLite store of its own: 1,000 clients with one subclient each, the jobs spread
// over them, user 7 associated with 10 clients (1%). User 0 sees every job.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Db/Cursor/JMGetBkpStats.h"
#include "bench/Collector.h"
#include "bench/Raw.h"
#include "db/Wrappers.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"

namespace {

constexpr int kClients = 1000;
constexpr int kRestrictedUser = 7;

std::string storePath(long jobs) {
    return (std::filesystem::temp_directory_path() /
            ("taskdb-jobs-bench-" + std::to_string(jobs) + ".sqlite"))
        .string();
}

// Creates the store of `jobs` finished jobs (kept between runs: seeding a million takes a while).
void seed(long jobs) {
    const std::string path = storePath(jobs);
    if (std::filesystem::exists(path)) return;
    std::string err;
    if (DBinitSchema("sqlite:" + path, &err) != 0) throw std::runtime_error("schema: " + err);
    bench::RawDb db(path);
    db.exec("BEGIN");
    db.exec("INSERT INTO APP_Orbis (id, number, aliasName) VALUES (2, 1002, 'cs')");
    db.exec("INSERT INTO UMUsers (id, login) VALUES (7, 'restricted')");
    {
        bench::RawStmt client(
            db, "INSERT INTO APP_Client (id, name, displayName) VALUES (?1, 'client' || ?1, '')");
        bench::RawStmt app(
            db,
            "INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) "
            "VALUES (?1, ?1, 33, 1, 1, 'default')");
        for (int c = 1; c <= kClients; ++c) {
            sqlite3_bind_int(client.get(), 1, c);
            client.step();
            client.reset();
            sqlite3_bind_int(app.get(), 1, c);
            app.step();
            app.reset();
        }
    }
    for (int c = 100; c <= kClients; c += 100)
        db.exec("INSERT INTO UMUserClientAssoc (userId, clientId) VALUES (7, " + std::to_string(c) + ")");
    {
        bench::RawStmt bkp(
            db,
            "INSERT INTO JMBkpStats (jobId, orbisId, appId, servStartDate, servEndDate, duration, status, "
            "dataStatus, totalBackupSize) VALUES (?1, 2, ?2, ?3, ?3 + 60, 60, 1, 0, 1000)");
        bench::RawStmt stats(
            db,
            "INSERT INTO JMJobStats (jobId, orbisId, opType, status, dataStatus) VALUES (?1, 2, 4, 1, 0)");
        for (long j = 1; j <= jobs; ++j) {
            sqlite3_bind_int64(bkp.get(), 1, j);
            sqlite3_bind_int64(bkp.get(), 2, (j * 7919) % kClients + 1);
            sqlite3_bind_int64(bkp.get(), 3, 1600000000 + j * 10);
            bkp.step();
            bkp.reset();
            sqlite3_bind_int64(stats.get(), 1, j);
            stats.step();
            stats.reset();
        }
    }
    db.exec("COMMIT");
}

// The library: the job statistics cursor with TOP 100 for `user`, every row fetched.
void library(benchmark::State& state, long jobs, int user) {
    dbconfig::setUrl("sqlite:" + storePath(jobs));
    for (auto _ : state) {
        DBtran tran;
        std::string err;
        tran.begin(&err);
        tran.setHint(DBtran::kHintRead);
        CursorWrapper<JMGetBkpStats, JMGetBkpStats_t> cursor("bench", &tran);
        cursor.getCursor()->setValues(user, 0, 0, 0, "TOP 100", "", "", "", "", "", "", "", "");
        int rows = 0, rc = cursor.openCursor(&err);
        while (rc == 0 && (rc = cursor.fetchCursor(true, &err)) == 0) ++rows;
        cursor.closeCursor(&err);
        tran.rollback(nullptr);
        if (rows != 100) {
            state.SkipWithError(("rows: " + std::to_string(rows) + " " + err).c_str());
            return;
        }
    }
}

// The baseline: the same 100 job ids through the index on the start time, raw.
void baseline(benchmark::State& state, long jobs, int user) {
    bench::RawDb db(storePath(jobs));
    const std::string sql =
        user == 0 ? "SELECT jobId FROM JMBkpStats ORDER BY servStartDate DESC LIMIT 100"
                  : "SELECT b.jobId FROM JMBkpStats b JOIN APP_Application a ON a.id = b.appId "
                    "WHERE a.clientId IN (SELECT clientId FROM UMUserClientAssoc WHERE userId = " +
                        std::to_string(user) + ") ORDER BY b.servStartDate DESC LIMIT 100";
    bench::RawStmt st(db, sql);
    for (auto _ : state) {
        int rows = 0;
        while (st.step()) ++rows;
        st.reset();
        if (rows != 100) {
            state.SkipWithError("baseline rows");
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<long> sizes{10000, 1000000};
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], "--jobs=", 7) == 0) {
            sizes.clear();
            for (const char* p = argv[i] + 7; *p;) {
                char* end = nullptr;
                sizes.push_back(std::strtol(p, &end, 10));
                p = *end ? end + 1 : end;
            }
        } else {
            args.push_back(argv[i]);
        }
    }
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    for (long jobs : sizes) {
        std::fprintf(stderr, "seeding %ld jobs...\n", jobs);
        seed(jobs);
        for (int user : {0, kRestrictedUser}) {
            const std::string name =
                "jobs list top100 user" + std::to_string(user) + " " + std::to_string(jobs);
            benchmark::RegisterBenchmark((name + "/library").c_str(), library, jobs, user)
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark((name + "/baseline").c_str(), baseline, jobs, user)
                ->Unit(benchmark::kMillisecond);
        }
    }
    bench::Collector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n%-34s %12s %12s %8s %10s\n", "case", "library ms", "baseline ms", "ratio", "growth");
    for (int user : {0, kRestrictedUser}) {
        double first = 0;
        for (long jobs : sizes) {
            const std::string name =
                "jobs list top100 user" + std::to_string(user) + " " + std::to_string(jobs);
            double lib = reporter.ms[name + "/library"], raw = reporter.ms[name + "/baseline"];
            if (first == 0) first = lib;
            std::printf("%-34s %12.3f %12.3f %8.2f %9.2fx\n", name.c_str(), lib, raw, raw > 0 ? lib / raw : 0,
                        first > 0 ? lib / first : 0);
        }
    }
    return 0;
}
