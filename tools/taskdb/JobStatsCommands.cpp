// taskdb jobs list, taskdb jobs finish: the job history as the job statistics query lists it, and
// moving a finished job from the running jobs into that history.
#include <ctime>
#include <iostream>

#include "platform/db/DBtable.h"
#include "platform/db/DBtran.h"
#include "platform/db/DBtypes.h"
#include "tools/taskdb/Commands.h"
#include "tools/taskdb/JobStatsRow.h"
#include "tools/taskdb/Output.h"

namespace {

// The job statistics query on the tool's own connection: the statement texts and the record of the
// library's binding, filled from argument text.
class JobStatsCursor : public DBtable {
  public:
    explicit JobStatsCursor(DBtran* tran) : DBtable(JMGetBkpStats::kName, 0, tran) {
        setKind(kCursor);
        setStatementText(JMGetBkpStats::kStatement, JMGetBkpStats::kSqliteStatement,
                         JMGetBkpStats::kPostgresStatement);
        setRecord(&row, JMGetBkpStats_t::columns(), JMGetBkpStats_t::kColumnCount);
        setExtIndicatorArray(m_indicators);
    }
    JMGetBkpStats_t row;

  private:
    long long m_indicators[JMGetBkpStats_t::kColumnCount] = {};
};

struct ListArgs {
    int top = 100;
    int userId = 0;
    int clientId = 0;
    int localeId = 0;
    std::vector<int> statuses;
};

std::string joined(const std::vector<int>& values) {
    std::string out;
    for (int v : values) out += (out.empty() ? "" : ",") + std::to_string(v);
    return out;
}

std::string timeText(int t) {
    if (t <= 0) return "";
    std::time_t when = t;
    std::tm tm{};
    gmtime_r(&when, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
    return buf;
}

int listJobs(const ToolContext& ctx, const ListArgs& a) {
    if (a.top < 0) {
        std::cerr << "taskdb: --top must be 0 (no limit) or more\n";
        return 2;
    }
    applyUrl(ctx);
    // Every condition is built from integers the options parsed, never from the caller's text.
    const std::string top = a.top > 0 ? "TOP " + std::to_string(a.top) : "";
    const std::string client = a.clientId ? "APP_Application.clientId = " + std::to_string(a.clientId) : "";
    const std::string vmClient =
        a.clientId ? "JMMorrowUpdateStatus.clientId = " + std::to_string(a.clientId) : "";
    const std::string status = a.statuses.empty() ? "" : "JMBkpStats.status IN (" + joined(a.statuses) + ")";
    // A client's jobs include the virtual machine jobs that backed it up.
    const int queryType = a.clientId ? 0x2 : 0;

    DBtran tran;
    std::string err;
    int rc = tran.begin(&err);
    if (rc != 0) return reportFailure("jobs list", rc, err);
    JobStatsCursor cursor(&tran);
    cursor.CallDBsprintfWrapper("%d,%d,%d,%d,N'%s',N'%s',N'%s',N'%s',N'%s',N'%s',N'%s',N'%s',N'%s'", a.userId,
                                a.localeId, 0, queryType, top.c_str(), client.c_str(), status.c_str(),
                                vmClient.c_str(), status.c_str(), client.c_str(), status.c_str(),
                                vmClient.c_str(), status.c_str());
    Json all = Json::array();
    std::vector<std::vector<std::string>> rows;
    int rowCount = 0;
    while ((rc = getNextRow(&cursor, &rowCount, -1, 0)) == 0) {
        const JMGetBkpStats_t& r = cursor.row;
        if (ctx.json) {
            Json job = Json::object();
            for (int c = 0; c < JMGetBkpStats_t::kColumnCount; ++c) {
                const DBcolumn& col = JMGetBkpStats_t::columns()[c];
                std::string cell = jobStatsCell(r, c);
                if (col.letter == 'i' || col.letter == 'b')
                    job[col.name] = std::stoll(cell);
                else
                    job[col.name] = cell;
            }
            all.push_back(std::move(job));
        } else {
            rows.push_back({std::to_string(r.jobID), r.clientName, r.subclientName, r.appTypeName,
                            std::to_string(r.bkpLevel), std::to_string(r.status), timeText(r.servStartDate),
                            std::to_string(r.duration), std::to_string(r.totalBackupSize), r.failureReason});
        }
    }
    if (rc != DB_NO_DATA) {
        err = cursor.getErrorStr(rc);
        tran.rollback(nullptr);
        return reportFailure("jobs list", rc, err);
    }
    tran.rollback(nullptr);
    if (ctx.json)
        printJson(all);
    else
        printTable({"JOB", "CLIENT", "SUBCLIENT", "TYPE", "LEVEL", "STATUS", "START (UTC)", "DURATION",
                    "SIZE", "FAILURE REASON"},
                   rows);
    return 0;
}

// One statement of the tool on a transaction, formatted by the database layer (quotes inside %s
// arguments doubled); a query's first column lands in `value`.
class Statement : public DBtable {
  public:
    explicit Statement(DBtran* tran) : DBtable("taskdb", 0, tran) {
        setKind(kCursor);
        setRecord(&m_row, kColumns, 1);
        setExtIndicatorArray(m_indicators);
    }
    long long value() const { return m_row.value; }

  private:
    struct Row {
        long long value = 0;
    } m_row;
    static constexpr DBcolumn kColumns[] = {{"value", 'b', 0, 0}};
    long long m_indicators[1] = {};
};

struct FinishArgs {
    long long jobId = 0;
    int status = 0;
    std::string reason;
};

// Moves running job `jobId` into the job history in one transaction: its JMBkpStats and JMJobStats
// rows (data status 0, ended now), then its SRV_RunningJob row goes. Nothing changes when any step
// fails or the job is not running.
int finishJob(const ToolContext& ctx, const FinishArgs& a) {
    applyUrl(ctx);
    DBtran tran;
    std::string err;
    int rc = tran.begin(&err);
    if (rc != 0) return reportFailure("jobs finish", rc, err);
    auto run = [&](Statement& st) {
        int code = st.openCursor();
        if (code != 0 && code != DB_NO_DATA) err = st.getErrorStr(code);
        st.closeCursor();
        return code == DB_NO_DATA ? 0 : code;
    };
    const long long now = static_cast<long long>(std::time(nullptr));
    Statement found(&tran);
    found.CallDBsprintfWrapper("SELECT COUNT(*) FROM SRV_RunningJob WHERE jobId = %lld", a.jobId);
    rc = found.openCursor();
    if (rc == 0) rc = found.fetchCursor();
    if (rc != 0) err = found.getErrorStr(rc);
    found.closeCursor();
    if (rc == 0 && found.value() == 0) {
        tran.rollback(nullptr);
        std::cerr << "taskdb: job " << a.jobId << " is not running\n";
        return 1;
    }
    Statement bkp(&tran), stats(&tran), done(&tran);
    bkp.CallDBsprintfWrapper(
        "INSERT INTO JMBkpStats (jobId, orbisId, appId, bkpLevel, status, servStartDate, servEndDate, "
        "duration, "
        "dataStatus, failureReason) SELECT jobId, orbisId, subclientId, backupLevel, %d, startTime, %lld, "
        "%lld - startTime, 0, N'%s' FROM SRV_RunningJob WHERE jobId = %lld",
        a.status, now, now, a.reason.c_str(), a.jobId);
    stats.CallDBsprintfWrapper(
        "INSERT INTO JMJobStats (jobId, orbisId, opType, subOpType, status, displayStatus, dataStatus, "
        "servStartDate, servEndDate) SELECT jobId, orbisId, opType, 0, %d, %d, 0, startTime, %lld "
        "FROM SRV_RunningJob WHERE jobId = %lld",
        a.status, a.status, now, a.jobId);
    done.CallDBsprintfWrapper("DELETE FROM SRV_RunningJob WHERE jobId = %lld", a.jobId);
    if (rc == 0) rc = run(bkp);
    if (rc == 0) rc = run(stats);
    if (rc == 0) rc = run(done);
    if (rc == 0) rc = tran.commit(&err);
    if (rc != 0) {
        tran.rollback(nullptr);
        return reportFailure("jobs finish", rc, err);
    }
    if (ctx.json)
        printJson({{"jobId", a.jobId}, {"status", a.status}, {"servEndDate", now}});
    else
        std::cout << "job " << a.jobId << " finished with status " << a.status << '\n';
    return 0;
}

}  // namespace

void addJobStatsCommands(CLI::App& app, ToolContext& ctx) {
    static ListArgs a;
    CLI::App* jobs = app.get_subcommand("jobs");
    auto* list = jobs->add_subcommand("list", "The job history, newest first, as the job manager lists it");
    list->add_option("--top", a.top, "At most this many jobs (0: all)")->capture_default_str();
    list->add_option("--user", a.userId, "Only the jobs this user may see (0: every job)");
    list->add_option("--client", a.clientId, "Only this client's jobs");
    list->add_option("--status", a.statuses, "Only jobs of these statuses (repeatable)");
    list->add_option("--locale", a.localeId, "Locale of the failure texts");
    list->callback([&] { ctx.exitCode = listJobs(ctx, a); });

    static FinishArgs f;
    auto* finish = jobs->add_subcommand("finish", "Move a running job into the job history");
    finish->add_option("job", f.jobId, "Job id")->required();
    finish->add_option("--status", f.status, "The job's final status")->required();
    finish->add_option("--reason", f.reason, "Why it failed (stored as the failure reason)");
    finish->callback([&] { ctx.exitCode = finishJob(ctx, f); });
}
