// The management server's services on a world of 10,000 clients and 100,000 subclients: the activity
// check and the client name look-up that admission makes for every entity, each against the same
// prepared statement in a raw read transaction.
#include <string>

#include "bench/Shared.h"
#include "platform/server/Server.h"

namespace bench {

namespace {

constexpr int kClients = 10000;
constexpr int kSubclients = 100000;

// Every tenth client has backups disabled, so a tenth of the checks find a setting and fill the message.
void seedWorld() {
    RawDb db(store().path);
    db.exec("BEGIN");
    db.exec(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
        std::to_string(kClients) +
        ") INSERT INTO APP_Client (id, name, displayName) SELECT i, 'client-' || i, 'Client ' || i FROM n");
    db.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
            std::to_string(kSubclients) +
            ") INSERT INTO APP_Application (id, clientId, appTypeId, instance, backupSet, subclientName) "
            "SELECT i, (i - 1) / 10 + 1, 33, 1, 1, 'subclient-' || i FROM n");
    db.exec("WITH RECURSIVE n(i) AS (SELECT 10 UNION ALL SELECT i + 10 FROM n WHERE i < " +
            std::to_string(kClients) +
            ") INSERT INTO SRV_ActivityControl (entityLevel, entityId, activityType, enabled, reasonText) "
            "SELECT 2, i, 1, 0, 'maintenance' FROM n");
    db.exec("COMMIT");
}

// Within one block of ten subclients of a tenth of the count (runs stop anywhere in a block).
bool aTenth(long disabled, long long iterations) {
    long long d = disabled - iterations / 10;
    return d >= -10 && d <= 10;
}

const char* const kActivitySql =
    "SELECT entityLevel, reasonMessageId, reasonText FROM SRV_ActivityControl WHERE activityType = ? AND "
    "enabled = 0 AND (entityLevel = 1 OR (entityLevel = 2 AND entityId = ?) OR (entityLevel = 3 AND entityId "
    "= ?)) "
    "ORDER BY entityLevel";
const char* const kNameSql = "SELECT id, name FROM APP_Client WHERE id = ?";

struct RawServer {
    RawDb db{store().path};
    RawTran tran{db};
    RawStmt activity{db, kActivitySql};
    RawStmt name{db, kNameSql};
};

void libraryActivity(benchmark::State& state) {
    JMActivityCtrl ctrl;
    EvMessageContainer msg;
    long disabled = 0, i = 0;
    {
        Counted counted(state);
        for (auto _ : state) {
            const int sub = static_cast<int>(i++ % kSubclients) + 1;
            if (!ctrl.isActivityEnabled(1, static_cast<unsigned long>((sub - 1) / 10 + 1), 33, "client", sub,
                                        "subclient", &msg, 1))
                ++disabled;
        }
    }
    if (!aTenth(disabled, state.iterations()))
        failed(state, "disabled " + std::to_string(disabled) + " of " + std::to_string(state.iterations()));
}

void baselineActivity(benchmark::State& state) {
    guarded(state, [&] {
        RawServer& raw = perThread<RawServer>(state);
        long disabled = 0, i = 0;
        std::string reason;
        {
            Counted counted(state);
            for (auto _ : state) {
                const int sub = static_cast<int>(i++ % kSubclients) + 1;
                RawTran::once(raw.tran.beginRead);
                raw.activity.bind(1, 1);
                raw.activity.bind(2, (sub - 1) / 10 + 1);
                raw.activity.bind(3, sub);
                if (raw.activity.step()) {
                    reason = raw.activity.text(2);
                    ++disabled;
                }
                raw.activity.reset();
                RawTran::once(raw.tran.commit);
            }
        }
        if (!aTenth(disabled, state.iterations())) failed(state, "wrong count");
    });
}

void libraryName(benchmark::State& state) {
    std::string name;
    long i = 0;
    {
        Counted counted(state);
        for (auto _ : state)
            if (!ok(state, KOClient(static_cast<unsigned long>(i++ % kClients) + 1).getName(name, nullptr),
                    "", "getName"))
                return;
    }
    if (name.rfind("client-", 0) != 0) failed(state, "name [" + name + "]");
}

void baselineName(benchmark::State& state) {
    guarded(state, [&] {
        RawServer& raw = perThread<RawServer>(state);
        std::string name;
        long i = 0;
        {
            Counted counted(state);
            for (auto _ : state) {
                RawTran::once(raw.tran.beginRead);
                raw.name.bind(1, i++ % kClients + 1);
                if (raw.name.step()) name = raw.name.text(1);
                raw.name.reset();
                RawTran::once(raw.tran.commit);
            }
        }
        if (name.rfind("client-", 0) != 0) failed(state, "name [" + name + "]");
    });
}

}  // namespace

void addServerCases() {
    seedWorld();
    addCase({"isActivityEnabled (100,000 subclients)", 1, Kind::Read, 1, false, libraryActivity,
             baselineActivity});
    addCase({"KOClient::getName (10,000 clients)", 1, Kind::Read, 1, false, libraryName, baselineName});
}

}  // namespace bench
