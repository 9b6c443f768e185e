// The admission of scheduled jobs: a fixed order of checks over the server's activity control, the
// entity's facts, the subtask's backup level and the job manager's running jobs.
#include "TaskInterfaceDB/Admission.h"

#include <cstdlib>

#include "Db/Proc/JMGetJobDetails.h"
#include "Db/Tbl/MMHost.h"
#include "Db/Tbl/TM_SubTaskOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "db/Wrappers.h"
#include "platform/server/Server.h"
#include "platform/xml/Messages.h"

namespace {

constexpr KOActivityType KO_ACTIVITY_SCHEDULE = 12;
constexpr KOActivityType KO_ACTIVITY_DEFAULT = 8;
constexpr KOActivityType KO_ACTIVITY_ADMIN_4019 = 18;
constexpr int KO_OPTYPE_4019 = 4019;
constexpr KOOpType KO_OPTYPE_BACKUP = 4;
constexpr int KO_APPTYPE_LEVELS_COMPARED = 81;
constexpr int KO_LEVEL_SYNTHETIC = 64;
constexpr int KO_QUERY_SUBCLIENT = 2;
constexpr size_t KO_MESSAGE_BUFFER = 1024;

}  // namespace

int getMappedBackupLevel(int storedLevel) {
    switch (storedLevel) {
        case 1:
            return 1;
        case 2:
            return 2;
        case 3:
            return 4;
        case 4:
            return 64;
        case 5:
            return 512;
        case 6:
            return 2;  // an older code for the same level
        case 8:
            return 2048;
        case 9:
            return 4096;
        case 10:
            return 8192;
        case 11:
            return 0x20000;
        case 12:
            return 0x40000;
        case 15:
            return 0x200000;
        default:
            return 0;
    }
}

int isMediaAgent(int clientId, bool& isMA, void* db) {
    const char* name = "EvTask::isMediaAgent";
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(db), name);
    tw.setHint(DBtran::kHintRead);
    std::string err;
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    CursorWrapper<MMHost, MMHost_t> host(name, tw.get());
    host.setWhere("ClientId = %d AND MmHostEnabled = 1", clientId);
    rc = host.openCursor(&err);
    if (rc == 0) rc = host.fetchCursor(true, &err);
    host.closeCursor(nullptr);
    isMA = rc == 0;
    return rc;
}

int checkIfNomadJobCanStart(Sched_AssocEntity entity, std::string& /*errorString*/, void* db,
                            std::list<long long>& jobIds) {
    const char* name = "EvTask::checkIfNomadJobCanStart";
    EvEvent event(name);
    std::list<long long> running;
    KOManageDBForJM jm(db);
    if (!jm.getConflictingNomadJobs(0, KO_OPTYPE_BACKUP, static_cast<int>(entity.subclientId),
                                    static_cast<int>(entity.clientId), running, frame::callerTran(db), 0,
                                    true, nullptr)) {
        EvDebug::Error(name, "Cannot start jobs. DB Error when checking for conflicting nomad jobs.");
        return -1;
    }
    if (running.empty()) return 0;
    jobIds.push_back(running.front());
    EvDebug::Error(
        name, "Cannot start jobs. Nomad job is already running for subclientId [%d] [%d]. Job Id [%llu].",
        entity.subclientId, entity.clientId, static_cast<unsigned long long>(running.front()));
    return static_cast<int>(KO_ADMIT_JOB_RUNNING);
}

unsigned int checkIfJobCanStart(Sched_AssocEntity entity, Sched_SubTask subTask, std::string& errorString,
                                int localeId, bool& isNomadDrive, bool& isUserCentric,
                                bool& maxBackupIntervalExpired, void* db, std::list<long long>& jobIds,
                                bool& isMediaAgentClient) {
    const char* name = "EvTask::checkIfJobCanStart";
    EvEvent event(name);
    EvMessageContainer container;
    std::string clientName, subclientName;
    unsigned long subclientsClientId = 0, physicalClientId = 0;
    int backupLevel = 0;
    bool removed = false;
    int lastError = 0;
    KOActivityType activity = KO_ACTIVITY_DEFAULT;

    container.SetMessageID(0);
    event.setLocaleId(localeId);
    if (CNMessageBase::Initialize() != 0) {
        EvDebug::Error(name, "Could not initialize TMMsg::JobOption");
        errorString = "XML Message initilization failed";
        return KO_ADMIT_XML_INIT_FAILED;
    }

    JMActivityCtrl control(db);
    bool serverEnabled = true;
    lastError = control.isServerEnabled(KO_ACTIVITY_SCHEDULE, serverEnabled);
    if (!serverEnabled) {
        EvDebug::Debug(
            name,
            "Schedule id [%d] for client [%d] subclient [%d] skipped because scheduler activity is "
            "disable",
            subTask.subTaskId, entity.clientId, entity.subclientId);
        return KO_ADMIT_SCHEDULER_DISABLED;
    }

    if (entity.clientId > 0) lastError = KOClient(entity.clientId).getName(clientName, db);

    const int subclientId = static_cast<int>(entity.subclientId);
    if (subclientId >= 1) {
        Subclient subclient(subclientId);
        lastError = subclient.getSubclientName(subclientName, db);
        if (entity.apptypeId == 0) {
            unsigned long appTypeId = 0;
            bool clientDeleted = false;
            lastError = SubclientHelper::getSubclientClientAppTypeInfo(
                entity.subclientId, clientName, appTypeId, subclientsClientId, clientDeleted, db);
            entity.apptypeId = static_cast<unsigned int>(appTypeId);
            EvDebug::Debug(name, "Lookup returned apptypeId [%d] for subclient [%d] ", entity.apptypeId,
                           subclientId);
        }
        if ((lastError = subclient.isNomadDriveSubclient(isNomadDrive, db)) != 0)
            EvDebug::Error(name, "Failed to check if subclient [%d] is an nomad drive sublient. Error [%d]",
                           subclientId, lastError);
        if ((lastError = subclient.isMaximumBackupIntervalExpired(maxBackupIntervalExpired, db)) != 0)
            EvDebug::Error(name,
                           "Failed to check if subclient [%d] isMaximumBackupIntervalExpired. Error [%d]",
                           subclientId, lastError);
        // The mark is consumed by this decision: the run that follows carries it as an option.
        if (maxBackupIntervalExpired &&
            (lastError = subclient.setMaximumBackupIntervalExpired(false, db)) != 0)
            EvDebug::Error(name, "Failed to setMaximumBackupIntervalExpired for subclient [%d] . Error [%d]",
                           subclientId, lastError);
        if (entity.clientId != subclientsClientId) {
            // The subclient's own client is asked on purpose, not the entity's.
            ClientProperties properties(subclientsClientId);
            if ((lastError = properties.isUserCentricClient(isUserCentric, db)) != 0)
                EvDebug::Error(name, "Failed to check if client [%lu] is user centric client. Error [%d]",
                               subclientsClientId, lastError);
            if (isUserCentric &&
                (lastError = properties.getUserCentricClientAssociation(physicalClientId, db)) != 0)
                EvDebug::Error(
                    name,
                    "Failed to get physical client association for user centric client [%lu]. Error "
                    "[%d]",
                    subclientsClientId, lastError);
            if ((lastError = isMediaAgent(static_cast<int>(entity.clientId), isMediaAgentClient, db)) != 0)
                EvDebug::Error(name, "Failed to get if a client is media agent for client [%d]. Error [%d]",
                               entity.clientId, lastError);
        }
        // These two read outside the caller's transaction on purpose.
        if ((lastError = subclient.isUninstalled(removed, nullptr)) != 0)
            EvDebug::Error(name, "Failed to check if subclient [%d] is uninstalled. Errorcode [%d]",
                           subclientId, lastError);
        else if (removed)
            EvDebug::Debug(name, "Subclient [%d] is uninstalled. Job cannot start.", subclientId);
        if (!removed) {
            if ((lastError = KOClient(entity.clientId).isDeleted(removed, nullptr)) != 0)
                EvDebug::Error(name, "Failed to check if client [%d] is deleted. Error [%d]", entity.clientId,
                               lastError);
            else if (removed)
                EvDebug::Debug(name, "Client [%d] is deleted. Job cannot start.", entity.clientId);
        }
    }

    unsigned int disabledCode = 0;
    bool enabled = true;
    switch (subTask.subTaskType) {
        case 1:
            activity = subTask.operationType == KO_OPTYPE_4019 ? KO_ACTIVITY_ADMIN_4019 : KO_ACTIVITY_DEFAULT;
            enabled = control.isActivityEnabled(activity, entity.clientId, 0, clientName.c_str(), 0,
                                                subclientName.c_str(), &container, 1);
            disabledCode = KO_ADMIT_ACTIVITY_DISABLED_TYPE1;
            break;
        case 2:
            enabled = control.isActivityEnabled(KO_ACTIVITY_BACKUP, entity.clientId, entity.apptypeId,
                                                clientName.c_str(), subclientId, subclientName.c_str(),
                                                &container, 1);
            disabledCode = KO_ADMIT_ACTIVITY_DISABLED_TYPE2;
            break;
        case 3:
            enabled = control.isActivityEnabled(KO_ACTIVITY_RESTORE, entity.clientId, entity.apptypeId,
                                                clientName.c_str(), 0, subclientName.c_str(), &container, 1);
            disabledCode = KO_ADMIT_ACTIVITY_DISABLED_TYPE3;
            break;
        default:
            break;
    }
    if (!enabled) {
        for (const std::string& argument : container.GetArguments().values) event << argument;
        char buffer[KO_MESSAGE_BUFFER] = {0};
        event.evPrintf(container.GetMessageID(), buffer, sizeof(buffer), 0);
        errorString = buffer;
        EvDebug::Debug(name, "[%s]", buffer);
        return disabledCode;
    }

    JobManager::JobInfoReq request;
    auto& queries = request.mutableEntities();

    if (subclientId == 0) {
        if (subTask.subTaskType == 1) return static_cast<unsigned int>(lastError);
        EvDebug::DebugLvl(4, name, "Checking if jobs are running for client [%d]", entity.clientId);
        KOManageDBForJM jm(db);
        if (jm.areJobsRunningForClient(entity.clientId, 0, jm.getDefaultOrbisID(), false, false, false,
                                       false)) {
            EvDebug::Error(name, "Cannot start jobs. Jobs are already running for client [%d]",
                           entity.clientId);
            return KO_ADMIT_JOB_RUNNING;
        }
        return static_cast<unsigned int>(lastError);
    }

    if (isNomadDrive) {
        if (isUserCentric) entity.clientId = static_cast<unsigned int>(physicalClientId);
        return static_cast<unsigned int>(checkIfNomadJobCanStart(entity, errorString, db, jobIds));
    }

    TranWrapper tw(frame::callerTran(db), name);
    tw.setHint(DBtran::kHintRead);
    std::string tranErr;
    if (int rc = tw.ensureTran(&tranErr)) return static_cast<unsigned int>(rc);
    {
        CursorWrapper<TM_SubTaskOptions, TM_SubTaskOptions_t> option(name, tw.get());
        option.setWhere("subTaskId = %d AND optionId = %lld", static_cast<int>(subTask.subTaskId),
                        KO_BACKUP_LEVEL_OPTION_ID);
        int rc = option.openCursor(nullptr);
        if (rc == 0) {
            rc = option.fetchCursor(true, nullptr);
            if (rc == 0) {
                const TM_SubTaskOptions_t* row = option.getDataPtr();
                EvDebug::DebugLvl(8, name, "Found optionId[%lld], value [%s], type[%d]", row->optionId,
                                  row->value.c_str(), row->type);
                backupLevel = getMappedBackupLevel(std::atoi(row->value.c_str()));
                EvDebug::DebugLvl(5, name, "Got backupLevel[%d]", backupLevel);
            } else if (rc != 100) {
                errorString = option.getErrorString();
                EvDebug::Debug(name, "DB_Error: [%s]", errorString.c_str());
            }
        }
    }

    // A removed entity may still run the level that cleans up after it.
    if (backupLevel != KO_LEVEL_SYNTHETIC && removed) {
        EvDebug::Debug(name, "VSA client [%d] is deleted. Job cannot start.", entity.clientId);
        return KO_ADMIT_ENTITY_REMOVED;
    }
    if (entity.apptypeId != KO_APPTYPE_LEVELS_COMPARED) backupLevel = 0;

    SprocWrapper<JMGetJobDetails, JMGetJobDetails_t> details(name, tw.get());
    JobManager::QueryInfo& query = queries.add();
    query.setEntityType(KO_QUERY_SUBCLIENT);
    query.setEntityId(subclientId);
    std::string xml;
    if (request.serialize(xml) != 0) {
        EvDebug::Error(name, "Unable to serialize JobManager::JobInfoReq");
        return KO_ADMIT_XML_SERIALIZE_FAILED;
    }
    EvDebug::DebugLvl(4, name, "Checking if jobs are running for subclientId [%d], input XML [%s]",
                      subclientId, xml.c_str());
    details.getCursor()->setValues(xml.c_str());
    std::string reply;
    if (int rc = details.getXMLFromCursor(reply, nullptr, false, false)) {
        EvDebug::Error(name, "Failed to get job details for subclient [%d]", subclientId);
        return static_cast<unsigned int>(rc);
    }
    EvDebug::DebugLvl(4, name, "Output response for subclientId [%d] is [%s]", subclientId, reply.c_str());
    JobManager::JobInfoResp response;
    if (response.unserialize(reply) != 0) {
        errorString = "XML Message unserilization failed";
        return KO_ADMIT_XML_PARSE_FAILED;
    }
    if (!response.hasJobs()) {
        if (!response.hasErrors()) {
            EvDebug::DebugLvl(4, name, "Jobs can start for subclientId [%d]", subclientId);
            return static_cast<unsigned int>(lastError);
        }
        const JobManager::Error& first = response.errors().front();
        errorString = first.errorString();
        return static_cast<unsigned int>(first.errorCode());
    }
    for (const JobManager::JobInfo& job : response.jobs()) {
        if (!job.hasJobId() || job.jobId() <= 0) continue;
        if (backupLevel == 0 || !job.hasBackupLevel() || job.backupLevel() == backupLevel) {
            EvDebug::Error(name, "Cannot start jobs. Jobs are already running for subclientId [%d]",
                           subclientId);
            return KO_ADMIT_JOB_RUNNING;
        }
    }
    return static_cast<unsigned int>(lastError);
}
