// Running jobs (SRV_RunningJob) and the local installation (APP_Orbis).
#include "platform/server/KOManageDBForJM.h"

#include "platform/records/APP_Orbis.h"
#include "platform/records/SRV_RunningJob.h"
#include "platform/server/ServiceFrame.h"

bool KOManageDBForJM::getConflictingNomadJobs(long long jobId, KOOpType opType, int subclientId, int clientId,
                                              std::list<long long>& jobs, DBtran* tran, int orbisId,
                                              bool sameClient, int* errorCode) {
    static const char* const kName = "KOManageDBForJM::getConflictingNomadJobs";
    std::list<long long> found;
    int rc = srv::withTran(tran, kName, false, [&](DBtran* t) {
        DBrecordTable<SRV_RunningJob_t> jobsTable(t);
        srv::selectColumns(jobsTable, "jobId");
        jobsTable.setOrderBy("startTime, jobId");
        std::string where =
            DBformat("opType = %d AND jobId <> %lld AND (subclientId = %d", opType, jobId, subclientId);
        if (sameClient) where += DBformat(" OR clientId = %d", clientId);
        where += ")";
        if (orbisId > 0) where += DBformat(" AND orbisId = %d", orbisId);
        jobsTable.setWhereText(where);
        int r;
        while ((r = getNextRow(&jobsTable, nullptr, 0, 0)) == 0) found.push_back(jobsTable.row().jobId);
        if (r != DB_NO_DATA) EvDebug::Debug(kName, "DB_Error: [%s]", jobsTable.getErrorStr(r).c_str());
        return r == DB_NO_DATA ? 0 : r;
    });
    if (errorCode) *errorCode = rc;
    if (rc != 0) return false;
    jobs.splice(jobs.end(), found);
    return true;
}

bool KOManageDBForJM::areJobsRunningForClient(unsigned long clientId, KOAppType appType,
                                              unsigned long orbisId, bool ignorePending, bool ignoreWaiting,
                                              bool ignoreSuspended, bool backupsOnly) {
    static const char* const kName = "KOManageDBForJM::areJobsRunningForClient";
    std::string where = DBformat("clientId = %lu", clientId);
    if (appType > 0) where += DBformat(" AND appTypeId = %d", appType);
    if (orbisId > 0) where += DBformat(" AND orbisId = %lu", orbisId);
    if (ignorePending) where += DBformat(" AND status <> %d", KO_JOB_PENDING);
    if (ignoreWaiting) where += DBformat(" AND status <> %d", KO_JOB_WAITING);
    if (ignoreSuspended) where += DBformat(" AND status <> %d", KO_JOB_SUSPENDED);
    // Backups are operation type 4 in the job manager's numbering.
    if (backupsOnly) where += " AND opType = 4";
    int rc = srv::withTran(m_db, kName, false, [&](DBtran* tran) {
        DBrecordTable<SRV_RunningJob_t> t(tran);
        srv::selectColumns(t, "jobId");
        t.setWhereText(where);
        return srv::readOne(t, kName);
    });
    if (rc != 0 && rc != DB_NO_DATA)
        EvDebug::Error(kName, "Could not read the running jobs of client [%lu]. Error [%d]", clientId, rc);
    return rc != DB_NO_DATA;
}

unsigned long KOManageDBForJM::getDefaultOrbisID() {
    static const char* const kName = "KOManageDBForJM::getDefaultOrbisID";
    unsigned long id = 0;
    srv::withTran(m_db, kName, false, [&](DBtran* tran) {
        DBrecordTable<APP_Orbis_t> t(tran);
        srv::selectColumns(t, "id, isLocal");
        t.setOrderBy("isLocal DESC, id");
        t.setWhereText("");
        int rc = srv::readOne(t, kName);
        if (rc == 0) id = static_cast<unsigned long>(t.row().id);
        return rc == DB_NO_DATA ? 0 : rc;
    });
    return id;
}

int KOManageDBForJM::getRunningJobs(std::vector<KORunningJobInfo>& jobs) {
    std::vector<KORunningJobInfo> out;
    int rc = srv::withTran(m_db, "KOManageDBForJM::getRunningJobs", false, [&](DBtran* tran) {
        DBrecordTable<SRV_RunningJob_t> t(tran);
        t.setOrderBy("startTime, jobId");
        t.setWhereText("");
        int r;
        while ((r = getNextRow(&t, nullptr, 0, 0)) == 0) {
            const SRV_RunningJob_t& j = t.row();
            out.push_back({j.jobId, static_cast<unsigned long>(j.orbisId),
                           static_cast<unsigned long>(j.clientId), j.subclientId, j.appTypeId, j.opType,
                           j.backupLevel, j.status, j.startTime});
        }
        if (r != DB_NO_DATA)
            EvDebug::Debug("KOManageDBForJM::getRunningJobs", "DB_Error: [%s]", t.getErrorStr(r).c_str());
        return r == DB_NO_DATA ? 0 : r;
    });
    if (rc == 0) jobs.swap(out);
    return rc;
}
