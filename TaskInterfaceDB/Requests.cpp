// Traffic with the task manager: TaskRequest sends one XML request after its names are turned into ids
// and reads back status, error text and job ids; CreateTask and runTasks fix the message type or build
// the request; getAutomaticSchedulePattern cuts the automatic pattern out of a task's XML option;
// GetUpdateInfo fills clients' update flags from their baseline status.
#include <cstdlib>

#include "Db/Proc/EntityNameToIdConverter.h"
#include "Db/Proc/GetBaseLineStatus.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/taskmgr/TaskManager.h"
#include "platform/xml/Messages.h"

namespace {

constexpr unsigned long KO_MSG_CREATE_TASK = 216380445;
constexpr unsigned long KO_MSG_TASK_OPERATION = 215600124;
constexpr int KO_XML_INIT_FAILED = 0xB0001;
constexpr int KO_XML_PARSE_FAILED = 0xB0002;
constexpr int KO_XML_SERIALIZE_FAILED = 0xB0008;

}  // namespace

int TaskInterfaceDB::TaskRequest(std::string& xml, std::list<long long>& jobIds, int&, int userId,
                                 std::string& err, unsigned long messageType, int localeId,
                                 long long sequenceNumber, bool fromUpgrade, bool endUser) {
    const char* name = "TaskInterfaceDB::TaskRequest";
    EvEvent event(name);
    EvDebug::DebugLvl(
        4, name,
        "Calling controlTaskManager with inputs: localeId[%d], userId[%d], sequenceNumber[%lld], "
        "MessageType[%lu], fromUpgrade[%d], endUser [%d], xmlString[%s]",
        localeId, userId, sequenceNumber, messageType, fromUpgrade, endUser, xml.c_str());

    // Names to ids, in a transaction of its own; a failure sends the request as it was.
    {
        TranWrapper tw(nullptr, name);
        if (tw.ensureTran(&err) != 0) {
            EvDebug::Error(name, "Unable to create transaction for converting name to id. [%s]", err.c_str());
        } else {
            tw.setHint(DBtran::kHintRead);
            SprocWrapper<EntityNameToIdConverter, EntityNameToIdConverter_t> proc(name, tw.get());
            proc.getCursor()->setValues(xml.c_str());
            std::string procErr;
            bool failed = proc.getXMLFromCursor(xml, &procErr, false, false) != 0;
            if (failed)
                EvDebug::Error(name, "Unable to convert name to id. [%s]", proc.getErrorString().c_str());
            proc.closeCursor(nullptr);
            // The message stands for the conversion failure: no commit is tried then.
            if (failed)
                EvDebug::Error(name, "Unable to commit transaction. [%s]", err.c_str());
            else
                tw.commitIfOwnTran(&err);
        }
    }

    int result = EvTaskMgr::controlTaskManager(2, localeId, userId, sequenceNumber, messageType, xml, false,
                                               nullptr, false, std::string(), false);
    if (result != 0) {
        EvDebug::Error(name, "Error controlling task manager system. Error [%s]",
                       EvTaskMgr::getErrorString().c_str());
    } else {
        TMMsg::GenericResp generic;
        if (generic.unserialize(xml) != 0) {
            EvDebug::Error(name, "Unable to un-serialize GenericResp XML");
        } else {
            if (generic.hasStatus()) result = static_cast<int>(generic.status());
            if (generic.hasErrorMessage()) err = generic.errorMessage();
            if (messageType == KO_MSG_CREATE_TASK || messageType == KO_MSG_TASK_OPERATION) {
                TMMsg::CreateTaskResp created;
                if (result != 0) {
                    EvDebug::Error(name, "TaskRequest returned error [%s]", err.c_str());
                } else if (created.unserialize(xml) != 0) {
                    EvDebug::Error(name, "Unable to un-serialize CreateTaskResp XML");
                } else {
                    for (const std::string& id : created.jobIds()) {
                        // A 32-bit conversion, kept as the job manager has always read these ids.
                        long long jobId = std::atoi(id.c_str());
                        jobIds.push_back(jobId);
                        EvDebug::DebugLvl(4, name, "TaskRequest jobId[%lld]", jobId);
                    }
                }
            }
        }
    }
    EvDebug::DebugLvl(4, name, "controlTaskManager returned: xmlString[%s]", xml.c_str());
    return result;
}

int TaskInterfaceDB::CreateTask(std::string& xml, std::list<long long>& jobIds, int& status, int userId,
                                std::string& err, int localeId, long long sequenceNumber, bool fromUpgrade,
                                bool endUser) {
    const char* name = "TaskInterfaceDB::CreateTask";
    EvEvent event(name);
    EvDebug::DebugLvl(
        4, name,
        "Calling controlTaskManager with inputs: localeId[%d], userId[%d], sequenceNumber[%lld], "
        "fromUpgrade[%d], endUser [%d], xmlString[%s]",
        localeId, userId, sequenceNumber, fromUpgrade, endUser, xml.c_str());
    TaskInterface* self = this;
    return self->TaskRequest(xml, jobIds, status, userId, err, KO_MSG_CREATE_TASK, localeId, sequenceNumber,
                             fromUpgrade, endUser);
}

int TaskInterfaceDB::runTasks(std::vector<Sched_SubTask>& subTasks, std::list<long long>& jobIds,
                              std::string& err, int userId, int localeId, long long sequenceNumber,
                              bool endUser, void*) {
    const char* name = "EvTask::runTask";
    EvEvent event(name);
    if (subTasks.empty()) return 0;
    TMMsg::TaskOperationReq request;
    for (const Sched_SubTask& s : subTasks) {
        KoEntities::SubtaskEntity& entity = request.mutableSubTasks().add();
        entity.setTaskId(static_cast<int>(s.taskId));
        entity.setSubtaskId(static_cast<int>(s.subTaskId));
    }
    request.setInitiatedFrom(5);
    request.setTaskOperationType(5);
    std::string xml;
    if (request.serialize(xml) != 0) {
        EvDebug::Error(name, "Unable to serialize TMMsg::TaskOperationReq");
        return KO_XML_SERIALIZE_FAILED;
    }
    int status = 0;
    TaskInterface* self = this;
    return self->TaskRequest(xml, jobIds, status, userId, err, KO_MSG_TASK_OPERATION, localeId,
                             sequenceNumber, false, endUser);
}

int TaskInterfaceDB::getAutomaticSchedulePattern(_TaskInfo& info, std::string& err, void*) {
    const char* name = "EvTask::getAutomaticSchedulePattern";
    EvEvent event(name);
    TaskInterface* self = this;
    int rc = self->getXMLOptions(info, err, nullptr);
    if (rc != 0) {
        EvDebug::Error(name, "Unable to retrieve XML option, Error [%d]", rc);
        return rc;
    }
    if (CNMessageBase::Initialize() != 0) {
        EvDebug::Error(name, "Could not initialize TMMsg::JobOption");
        err = "XML Message initilization failed";
        return KO_XML_INIT_FAILED;
    }
    TMMsg::JobOption option;
    if (option.unserialize(info.xmlOptions) != 0) {
        EvDebug::Error(name, "Could not unserialize TMMsg::JobOption");
        err = "XML Message unserilization failed";
        return KO_XML_PARSE_FAILED;
    }
    // An option without a pattern gives the empty pattern.
    if (option.scheduling().automaticSchedulePattern().serialize(info.xmlOptions) != 0) {
        EvDebug::Error(name, "Could not serialize TMMsg::AutomaticSchedulePattern");
        return KO_XML_SERIALIZE_FAILED;
    }
    return 0;
}

int TaskInterfaceDB::GetUpdateInfo(_UpdateInformation& info, std::string&, unsigned long, unsigned long,
                                   unsigned long) {
    const char* name = "EvJobMgr::GetUpdateInfo";
    EvEvent event(name);
    GetBaseLineStatus proc(nullptr);
    EvDebug::DebugLvl(3, name, "Getting update information for clients");
    int rc = 0;
    for (_SchedClientUpdateInfo& client : info.clients) {
        proc.setValues(static_cast<int>(client.clientId), 0);
        rc = getOneRow(&proc, false, -1, 0);
        if (rc == 0) {
            int status = proc.getDataPtr()->o_baselineStatus;
            client.updateFlag = (status == 0 || status == 2) ? 1 : 0;
        }
    }
    return rc;
}
