// Task records: getTaskInfo, getEntityInfo (100 entities), getPatternInfo (100 patterns) and
// setEntityInfo (100 entities, half of them present).
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "Db/Tbl/TM_AssocEntity.h"
#include "Db/Tbl/TM_Pattern.h"
#include "Db/Tbl/TM_Task.h"
#include "TaskInterfaceDB/ReadColumns.h"
#include "bench/Data.h"
#include "bench/Shared.h"

namespace bench {

namespace {

unsigned u(const RawStmt& st, int col) {
    return static_cast<unsigned>(st.int32(col));
}

// Every reader: one select in a read transaction, committed.
template <class Fill>
void rawRead(RawTran& tran, RawStmt& select, long long key, Fill&& fill) {
    RawTran::once(tran.beginRead);
    select.bind(1, key);
    while (select.step()) fill(select);
    select.reset();
    RawTran::once(tran.commit);
}

struct RawRecords {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt task{db, std::string("SELECT ") + records::kTaskColumns +
                         " FROM TM_Task WHERE taskId = ? ORDER BY taskId"};
    RawStmt entities{db, std::string("SELECT ") + records::kEntityColumns +
                             " FROM TM_AssocEntity WHERE taskId = ? ORDER BY assocId"};
    RawStmt patterns{
        db, std::string("SELECT ") + records::kPatternColumns +
                " FROM TM_Pattern WHERE patternId IN ( SELECT patternId FROM TM_PatternAssoc WHERE "
                "subTaskId IN (SELECT subTaskId FROM TM_SubTask WHERE taskId = ?)) ORDER BY patternId"};
};

Sched_AssocEntity toEntity(const RawStmt& st) {
    Sched_AssocEntity e;
    e.assocId = u(st, 0);
    e.assocType = u(st, 1);
    e.taskId = u(st, 2);
    e.clientGroupId = u(st, 3);
    e.clientId = u(st, 4);
    e.apptypeId = u(st, 5);
    e.instanceId = u(st, 6);
    e.backupsetId = u(st, 7);
    e.subclientId = u(st, 8);
    e.policyId = u(st, 9);
    e.copyId = u(st, 10);
    e.srmReportSet = u(st, 11);
    e.srmReportType = u(st, 12);
    return e;
}

Sched_Pattern toPattern(const RawStmt& st) {
    Sched_Pattern p;
    p.name = st.text(0);
    p.ownerId = u(st, 1);
    p.freq_type = u(st, 2);
    p.freq_interval = u(st, 3);
    p.freq_relative_interval = u(st, 4);
    p.freq_recurrence_factor = u(st, 5);
    p.freq_subday_interval = u(st, 6);
    p.skipOccurence = u(st, 7);
    p.skipDayNumber = u(st, 8);
    p.active_start_date = st.text(9);
    p.active_start_time = u(st, 10);
    p.active_end_date = st.text(11);
    p.active_end_time = u(st, 12);
    p.active_end_occurence = u(st, 13);
    p.tzId = u(st, 14);
    p.calendarId = u(st, 15);
    p.local_start_date = u(st, 16);
    p.local_end_date = u(st, 17);
    p.freq_restart_interval = u(st, 18);
    return p;
}

enum class Reader { Task, Entities, Patterns };

_TaskInfo readerInfo(Reader r) {
    _TaskInfo info;
    info.taskId = r == Reader::Task       ? seed::kTaskId
                  : r == Reader::Entities ? seed::kEntityTask
                                          : seed::kPatternTask;
    if (r == Reader::Patterns) info.entities.resize(1);  // client 0: the task's own patterns
    return info;
}

// The reader's answer, the same for the library and the baseline when both read correctly.
std::string check(Reader r, const _TaskInfo& info) {
    if (r == Reader::Task)
        return info.task.sequenceNumber == 123456789 && info.task.description.size() == 200 ? ""
                                                                                            : "wrong task";
    if (r == Reader::Entities)
        return info.entities.size() == seed::kEntities && info.entities[0].clientId != 0 ? ""
                                                                                         : "wrong entities";
    return info.patterns.size() == 100 && info.patterns[99].active_end_date == "2030-12-31 00:00:00"
               ? ""
               : "wrong patterns";
}

void libraryReader(benchmark::State& state, Reader r) {
    _TaskInfo info = readerInfo(r);
    TaskInterface& ti = library();
    std::string err;
    {
        Counted counted(state);
        for (auto _ : state) {
            int rc;
            if (r == Reader::Task) {
                rc = ti.getTaskInfo(info, err, nullptr);
            } else if (r == Reader::Entities) {
                info.entities.clear();
                rc = ti.getEntityInfo(info, err, nullptr);
            } else {
                info.patterns.clear();
                rc = ti.getPatternInfo(info, err, nullptr);
            }
            if (!ok(state, rc, err, "reader")) return;
        }
    }
    const std::string wrong = check(r, info);
    if (!wrong.empty()) failed(state, wrong);
}

void baselineReader(benchmark::State& state, Reader r) {
    guarded(state, [&] {
        RawRecords& raw = perThread<RawRecords>(state);
        _TaskInfo info = readerInfo(r);
        {
            Counted counted(state);
            for (auto _ : state) {
                if (r == Reader::Task) {
                    rawRead(raw.tran, raw.task, static_cast<int>(info.taskId), [&](const RawStmt& st) {
                        Sched_Task& t = info.task;
                        t.taskId = u(st, 0);
                        t.taskType = u(st, 1);
                        t.flags = u(st, 2);
                        t.status = u(st, 3);
                        t.alertId = u(st, 4);
                        t.ownerId = u(st, 5);
                        t.runUserId = u(st, 6);
                        t.initiatedFrom = u(st, 7);
                        t.sequenceNumber = std::strtoull(st.text(8).c_str(), nullptr, 10);
                        t.localeId = u(st, 9);
                        t.description = st.text(10);
                    });
                } else if (r == Reader::Entities) {
                    info.entities.clear();
                    rawRead(raw.tran, raw.entities, static_cast<int>(info.taskId),
                            [&](const RawStmt& st) { info.entities.push_back(toEntity(st)); });
                } else {
                    info.patterns.clear();
                    rawRead(raw.tran, raw.patterns, static_cast<int>(info.taskId),
                            [&](const RawStmt& st) { info.patterns.push_back(toPattern(st)); });
                }
            }
        }
        const std::string wrong = check(r, info);
        if (!wrong.empty()) failed(state, wrong);
    });
}

// ---- setEntityInfo: per entity a look-up by task and the six ids, an insert of the missing ones

const char* const kEntityInsertColumns = TM_AssocEntity::kColumnList + std::strlen("assocId, ");

struct RawSetEntities {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt find{
        db, std::string("SELECT ") + records::kEntityColumns +
                " FROM TM_AssocEntity WHERE taskId = ? AND clientGroupId = ? AND clientId = ? AND "
                "apptypeId = ? AND instanceId = ? AND backupsetId = ? AND subclientId = ? ORDER BY assocId"};
    RawStmt insert{db, std::string("INSERT INTO TM_AssocEntity (") + kEntityInsertColumns +
                           ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"};

    void call(int taskId, const std::vector<Sched_AssocEntity>& entities) {
        const long long created = static_cast<int>(std::time(nullptr));
        RawTran::once(tran.beginWrite);
        long long assocType = 3;
        for (const Sched_AssocEntity& e : entities) {
            const long long ids[] = {e.clientGroupId, e.clientId,    e.apptypeId,
                                     e.instanceId,    e.backupsetId, e.subclientId};
            find.bind(1, taskId);
            for (int i = 0; i < 6; ++i) find.bind(i + 2, ids[i]);
            if (e.subclientId >= 1) assocType = 7;  // the entities here all name a subclient
            const bool exists = find.step();
            find.reset();
            if (exists) continue;
            // assocType, taskId, flags, created, then the six ids; every later column 0.
            insert.bind(1, assocType);
            insert.bind(2, taskId);
            insert.bind(3, 0LL);
            insert.bind(4, created);
            for (int i = 0; i < 6; ++i) insert.bind(i + 5, ids[i]);
            for (int i = 11; i <= 23; ++i) insert.bind(i, 0LL);
            insert.run();
            insert.reset();
        }
        RawTran::once(tran.commit);
    }
};

struct Maintenance {
    RawDb db{store().path};
};

long long entityRows(RawDb& db) {
    return db.scalar("SELECT COUNT(*) FROM TM_AssocEntity WHERE taskId = " +
                     std::to_string(seed::kSetEntityTask));
}

void librarySetEntities(benchmark::State& state) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        _TaskInfo info;
        info.taskId = seed::kSetEntityTask;
        info.entities = entitySet();
        std::string err;
        {
            Counted counted(state);
            for (auto _ : state) {
                pause(state);
                deleteAddedEntities(maint);
                resume(state);
                if (!ok(state, library().setEntityInfo(info, err, nullptr), err, "setEntityInfo")) return;
            }
        }
        if (entityRows(maint) != seed::kEntities) failed(state, "wrong number of entities");
    });
}

void baselineSetEntities(benchmark::State& state) {
    guarded(state, [&] {
        RawDb& maint = perThread<Maintenance>(state).db;
        RawSetEntities& raw = perThread<RawSetEntities>(state);
        {
            Counted counted(state);
            for (auto _ : state) {
                pause(state);
                deleteAddedEntities(maint);
                resume(state);
                raw.call(seed::kSetEntityTask, entitySet());
            }
        }
        if (entityRows(maint) != seed::kEntities) failed(state, "wrong number of entities");
    });
}

}  // namespace

void addRecordCases() {
    addCase({"getTaskInfo", 1, Kind::Read, 1, true,
             [](benchmark::State& s) { libraryReader(s, Reader::Task); },
             [](benchmark::State& s) { baselineReader(s, Reader::Task); }});
    addCase({"getEntityInfo", seed::kEntities, Kind::Read, 1, false,
             [](benchmark::State& s) { libraryReader(s, Reader::Entities); },
             [](benchmark::State& s) { baselineReader(s, Reader::Entities); }});
    addCase({"getPatternInfo", 100, Kind::Read, 1, false,
             [](benchmark::State& s) { libraryReader(s, Reader::Patterns); },
             [](benchmark::State& s) { baselineReader(s, Reader::Patterns); }});
    addCase(
        {"setEntityInfo", seed::kEntities, Kind::Write, 1, true, librarySetEntities, baselineSetEntities});
}

}  // namespace bench
