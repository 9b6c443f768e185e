// Option reads: lookup (also on 4 threads), getOptions of 10, 100 and 10,000 options, getDefaults
// cold (read from the store) and warm (served from memory).
#include <vector>

#include "Db/Tbl/TM_StaticTaskOption.h"
#include "TaskInterfaceDB/DefaultOptions.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "bench/Data.h"
#include "bench/Shared.h"
#include "platform/db/sqlite/Procedures.h"

namespace bench {

namespace {

const char* jobOptionsSql() {
    return dbl::sqlite::findProcedure("TM_GetAllJobOptions")->sql;
}

// What lookup and getOptions send: the job-options procedure in a read transaction.
struct RawJobOptions {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt proc{db, jobOptionsSql()};
};

bool isFileOptionId(long long id) {
    return id > 150000 && id <= 150014 && id != 150002;
}

// ---- lookup

void libraryLookup(benchmark::State& state) {
    _TaskInfo info;
    info.jobId = seed::kLookupJob;
    info.optionId = 1;
    std::string err;
    {
        Counted counted(state);
        for (auto _ : state)
            if (!ok(state, library().lookup(info, err, nullptr), err, "lookup")) return;
    }
    if (info.value != optionValue(1)) failed(state, "lookup found [" + info.value + "]");
}

void baselineLookup(benchmark::State& state) {
    guarded(state, [&] {
        RawJobOptions& raw = perThread<RawJobOptions>(state);
        std::string value;
        {
            Counted counted(state);
            for (auto _ : state) {
                RawTran::once(raw.tran.beginRead);
                raw.proc.bind(1, seed::kLookupJob);
                if (raw.proc.step()) value = raw.proc.text(2);
                raw.proc.reset();
                RawTran::once(raw.tran.commit);
            }
        }
        if (value != optionValue(1)) failed(state, "baseline found [" + value + "]");
    });
}

// ---- getOptions: the library never commits this read, so its transaction is rolled back

void libraryGetOptions(benchmark::State& state, int rows) {
    _TaskInfo info;
    info.jobId = seed::kSizedJobBase + rows;
    CountingCallback cb;
    std::string err;
    {
        Counted counted(state);
        for (auto _ : state)
            if (!ok(state, library().getOptions(info, &cb, err, nullptr), err, "getOptions")) return;
    }
    if (cb.rows != static_cast<size_t>(rows) * static_cast<size_t>(state.iterations()))
        failed(state, "wrong number of options");
}

void baselineGetOptions(benchmark::State& state, int rows) {
    guarded(state, [&] {
        RawJobOptions& raw = perThread<RawJobOptions>(state);
        CountingCallback cb;
        OptionCallBack* out = &cb;
        {
            Counted counted(state);
            for (auto _ : state) {
                RawTran::once(raw.tran.beginRead);
                raw.proc.bind(1, seed::kSizedJobBase + rows);
                while (raw.proc.step()) {
                    const long long id = raw.proc.integer(1);
                    if (isFileOptionId(id)) continue;
                    out->option(static_cast<unsigned long long>(id), raw.proc.text(2), raw.proc.int32(0));
                }
                raw.proc.reset();
                RawTran::once(raw.tran.rollback);
            }
        }
        if (cb.rows != static_cast<size_t>(rows) * static_cast<size_t>(state.iterations()))
            failed(state, "wrong number of options");
    });
}

// ---- getDefaults

void forgetDefaults() {
    KoCriticalSectionLock lock(&gDefaultLoadedCS);
    gbDefaultOptions.clear();
    gbDefaultLoaded = false;
}

void libraryDefaults(benchmark::State& state, bool warm) {
    CountingCallback cb;
    std::string err;
    forgetDefaults();
    if (warm && !ok(state, library().getDefaults(&cb, err, nullptr), err, "getDefaults")) return;
    cb.rows = 0;
    {
        Counted counted(state);
        for (auto _ : state) {
            if (!warm) {
                pause(state);
                forgetDefaults();
                resume(state);
            }
            if (!ok(state, library().getDefaults(&cb, err, nullptr), err, "getDefaults")) return;
        }
    }
    if (cb.rows != static_cast<size_t>(seed::kDefaults) * static_cast<size_t>(state.iterations()))
        failed(state, "wrong number of defaults");
}

// The cold read, as the library's first getDefaults does it: the columns it uses, filter, deliver, keep.
struct RawDefaults {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt select{db, std::string("SELECT ") + records::kDefaultColumns +
                           " FROM TM_StaticTaskOption ORDER BY optionId"};
    std::vector<TaskOption> kept;

    void load(OptionCallBack& cb) {
        RawTran::once(tran.beginRead);
        while (select.step()) {
            std::string value = select.text(1);
            const int type = select.int32(3);
            if (((type == 0 || type == 1) && value.empty()) || value == "0") continue;
            const auto id = static_cast<unsigned long long>(select.integer(0));
            cb.defaultOption(id, value, select.int32(2));
            kept.emplace_back(id, value, select.int32(2));
        }
        select.reset();
        RawTran::once(tran.commit);
    }
};

// Warm, the least the work can be: the kept options handed to the callback from a plain vector.
void baselineDefaults(benchmark::State& state, bool warm) {
    guarded(state, [&] {
        RawDefaults& raw = perThread<RawDefaults>(state);
        CountingCallback cb;
        OptionCallBack* out = &cb;
        raw.kept.clear();
        if (warm) raw.load(cb);
        cb.rows = 0;
        {
            Counted counted(state);
            for (auto _ : state) {
                if (warm) {
                    for (const TaskOption& o : raw.kept)
                        out->defaultOption(o.getOptionId(), o.getValue(), o.getType());
                    continue;
                }
                pause(state);
                raw.kept.clear();
                resume(state);
                raw.load(cb);
            }
        }
        if (cb.rows != static_cast<size_t>(seed::kDefaults) * static_cast<size_t>(state.iterations()))
            failed(state, "wrong number of defaults");
    });
}

}  // namespace

void addReadCases() {
    addCase({"lookup", 1, Kind::Read, 1, true, libraryLookup, baselineLookup});
    for (int rows : {10, 100, 10000}) {
        addCase({"getOptions " + std::to_string(rows), rows, Kind::Read, 1, rows == 100,
                 [rows](benchmark::State& s) { libraryGetOptions(s, rows); },
                 [rows](benchmark::State& s) { baselineGetOptions(s, rows); }});
    }
    addCase({"getDefaults warm", seed::kDefaults, Kind::Memory, 1, false,
             [](benchmark::State& s) { libraryDefaults(s, true); },
             [](benchmark::State& s) { baselineDefaults(s, true); }});
    addCase({"getDefaults cold", seed::kDefaults, Kind::Read, 1, false,
             [](benchmark::State& s) { libraryDefaults(s, false); },
             [](benchmark::State& s) { baselineDefaults(s, false); }});
    addCase({"lookup 4 threads", 1, Kind::Read, 4, false, libraryLookup, baselineLookup});
}

}  // namespace bench
