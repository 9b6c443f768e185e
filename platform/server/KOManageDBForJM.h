#pragma once
// The job manager's view of running jobs (SRV_RunningJob) and of the local installation (APP_Orbis).
#include <list>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/server/ServerTypes.h"

class DBtran;

struct KORunningJobInfo {
    long long jobId = 0;
    unsigned long orbisId = 0;
    unsigned long clientId = 0;
    int subclientId = 0;
    KOAppType appTypeId = 0;
    KOOpType opType = 0;
    int backupLevel = 0;
    int status = 0;  // KO_JOB_*
    long long startTime = 0;
};

class KO_PLATFORM_API KOManageDBForJM {
  public:
    // `db`: the caller's DBtran for the methods that take none (null: a transaction of their own).
    explicit KOManageDBForJM(void* db = nullptr) : m_db(db) {}

    // Running jobs of operation type `opType` that conflict with a Nomad drive job on the subclient:
    // those of the same subclient, and with `sameClient` also those of the same client; job `jobId` itself
    // is never listed; `orbisId` 0 means any installation. Appends their ids (oldest first) to `jobs`.
    // True on success; false on a database failure, with its code in *errorCode (may be null).
    bool getConflictingNomadJobs(long long jobId, KOOpType opType, int subclientId, int clientId,
                                 std::list<long long>& jobs, DBtran* tran, int orbisId, bool sameClient,
                                 int* errorCode);
    // Whether any job of the client runs (`appType` 0: any agent, `orbisId` 0: any installation), leaving
    // out pending, waiting or suspended jobs, or all but backups, as asked. A store that cannot be read
    // answers true, so that nothing starts on a guess.
    bool areJobsRunningForClient(unsigned long clientId, KOAppType appType, unsigned long orbisId,
                                 bool ignorePending, bool ignoreWaiting, bool ignoreSuspended,
                                 bool backupsOnly);
    // The local installation's id: APP_Orbis marked isLocal, else the lowest id, else 0.
    unsigned long getDefaultOrbisID();
    // Every running job by start time: 0 or the database's code.
    int getRunningJobs(std::vector<KORunningJobInfo>& jobs);

  private:
    void* m_db;
};
