// Automatic (schedule-fired) runs: every entity is admitted first, then one task operation request
// carries all of them to the task manager; the first refusal refuses the whole request.
#include <cstdio>

#include "TaskInterfaceDB/Admission.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "platform/server/Server.h"
#include "platform/sync/KoCriticalSection.h"
#include "platform/trace/EvDebug.h"
#include "platform/trace/EvEvent.h"
#include "platform/xml/Messages.h"

namespace {

constexpr unsigned long KO_MSG_TASK_OPERATION = 215600124;
constexpr int KO_TASK_OP_RUN = 5;
constexpr unsigned int KO_OPTYPE_INSTALL = 4020;
constexpr unsigned int KO_OPTYPE_UPDATE = 4026;
constexpr unsigned int KO_OPTYPE_BACKUP = 2;
constexpr long long TM_RUN_TASK_CLIENT_ID = 160000;
constexpr long long TM_RUN_TASK_IS_MAX_BKP_INTERVAL_EXPIRED = 160003;
constexpr int KO_XML_SERIALIZE_FAILED = 0xB0008;

}  // namespace

int TaskInterfaceDB::performOperation(std::vector<_AutomaticTaskInfo>& tasks, std::list<long long>& jobIds,
                                      std::string& errorString, int taskOpType, int initiatedFrom, int userId,
                                      int localeId, long long sequenceNumber, bool endUser, void* db) {
    const char* name = "EvTask::performOperation";
    EvEvent event(name);
    // Install and update requests leave this process one at a time.
    static KoCriticalSection oscInstallUpdateLock;

    EvDebug::DebugLvl(4, name,
                      "Inputs: taskOpType[%d], initFrom[%d], localeId[%d], userId[%d], sequenceNumber[%lld]",
                      taskOpType, initiatedFrom, localeId, userId, sequenceNumber);
    jobIds.clear();
    bool installUpdate = false;

    TMMsg::TaskOperationReq request;
    TMMsg::OptionFilter option;
    TaskInterface* self = this;
    for (_AutomaticTaskInfo& info : tasks) {
        TMMsg::OperationEntity operation;
        for (const _SubTaskInfo& pair : info.subTasks) {
            const unsigned int subTaskId = pair.subTask.subTaskId, taskId = pair.subTask.taskId;
            operation.mutableSubTask().setSubtaskId(static_cast<int>(subTaskId));
            operation.mutableSubTask().setTaskId(static_cast<int>(taskId));
            EvDebug::DebugLvl(4, name, "Got taskId[%d], subTaskId[%d]", taskId, subTaskId);
            for (const Sched_AssocEntity& entity : info.entities) {
                bool nomad = false, userCentric = false, mediaAgent = false;
                if (entity.taskId != taskId) continue;
                KoEntities::GenericEntity generic;
                generic.setClientGroupId(entity.clientGroupId);
                generic.setClientId(entity.clientId);
                generic.setApptypeId(entity.apptypeId);
                generic.setInstanceId(entity.instanceId);
                generic.setBackupsetId(entity.backupsetId);
                generic.setSubclientId(entity.subclientId);
                generic.setPolicyId(entity.policyId);
                generic.setCopyId(entity.copyId);
                EvDebug::Debug(name,
                               "taskId[%d], clientId[%d], apptypeId[%d], instanceId[%d], backupsetId[%d], "
                               "subclientId[%d]",
                               entity.taskId, entity.clientId, entity.apptypeId, entity.instanceId,
                               entity.backupsetId, entity.subclientId);
                if (taskOpType != KO_TASK_OP_RUN) {
                    operation.mutableEntities().push_back(generic);
                    continue;
                }
                bool expired = false;
                _TaskInfo subTaskInfo;
                subTaskInfo.subTaskId = subTaskId;
                if (int rc = self->getSubTaskInfo(subTaskInfo, errorString, db)) {
                    EvDebug::Error(name, "Could not get subTask information for subTaskId [%lu]. Error [%s]",
                                   static_cast<unsigned long>(subTaskId), errorString.c_str());
                    return rc;
                }
                const Sched_SubTask& subTask = subTaskInfo.subTask;
                if (unsigned int rc = checkIfJobCanStart(entity, subTask, errorString, localeId, nomad,
                                                         userCentric, expired, db, jobIds, mediaAgent))
                    return static_cast<int>(rc);
                if (subTask.operationType == KO_OPTYPE_INSTALL || subTask.operationType == KO_OPTYPE_UPDATE) {
                    installUpdate = true;
                    operation.mutableEntities().push_back(generic);
                    continue;
                }
                if (subTask.operationType != KO_OPTYPE_BACKUP || entity.subclientId < 1) {
                    operation.mutableEntities().push_back(generic);
                    continue;
                }
                if (nomad || userCentric || mediaAgent) {
                    ApplicationId app(KO_ENTITY_SUBCLIENT, entity.subclientId);
                    std::unique_ptr<KOClient> client = app.getClient(db);
                    if (!client) {
                        EvDebug::Error(name, "Failed to get client for subclient [%d]. ", entity.subclientId);
                        return 100;
                    }
                    unsigned long actualClientId = 0;
                    if (int rc = client->getActualClientId(actualClientId, db)) {
                        EvDebug::Error(name, "Failed to get actual client Id for subclient [%d]. Error [%d]",
                                       entity.subclientId, rc);
                        return rc;
                    }
                    generic.setClientId(static_cast<long long>(actualClientId));
                    if (nomad || mediaAgent) {
                        char value[32];
                        std::snprintf(value, sizeof(value), "%d", static_cast<int>(entity.clientId));
                        option.setOptionId(TM_RUN_TASK_CLIENT_ID);
                        option.setValue(value);
                        request.mutableOptions().mutableFilters().push_back(option);
                    }
                    if (nomad) {
                        std::unique_ptr<BackupSet> backupSet = app.getBackupSet(db);
                        int rc = backupSet ? backupSet->getOwnerUserId(userId, db) : 100;
                        if (rc != 0)
                            EvDebug::Error(
                                name,
                                "Failed to override userId with nomad backupset owner nomad subclient "
                                "[%d]. Error [%d]",
                                entity.subclientId, rc);
                    }
                }
                if (expired) {
                    option.setOptionId(TM_RUN_TASK_IS_MAX_BKP_INTERVAL_EXPIRED);
                    option.setValue("1");
                    request.mutableOptions().mutableFilters().push_back(option);
                    EvDebug::DebugLvl(7, name,
                                      "Set Run task Option TM_RUN_TASK_IS_MAX_BKP_INTERVAL_EXPIRED for "
                                      "subclientId[%d] taskId[%d] subTaskId[%lu]",
                                      entity.subclientId, taskId, static_cast<unsigned long>(subTaskId));
                }
                operation.mutableEntities().push_back(generic);
            }
        }
        request.mutableOperationEntities().push_back(operation);
    }
    // An empty run list is still sent, without operation type and origin.
    if (!tasks.empty()) {
        request.setTaskOperationType(taskOpType);
        request.setInitiatedFrom(initiatedFrom);
    }

    std::string xml;
    if (request.serialize(xml) != 0) {
        EvDebug::Error(name, "Unable to serialize TMMsg::TaskOperationReq");
        return KO_XML_SERIALIZE_FAILED;
    }
    if (installUpdate) oscInstallUpdateLock.enter(true);
    int status = 0;
    int rc = self->TaskRequest(xml, jobIds, status, userId, errorString, KO_MSG_TASK_OPERATION, localeId,
                               sequenceNumber, false, endUser);
    if (installUpdate) oscInstallUpdateLock.leave();
    return rc;
}
