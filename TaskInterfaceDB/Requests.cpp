// Traffic with the task manager: TaskRequest sends one XML request after its names are turned into ids
// and reads back status, error text and job ids; CreateTask and runTasks fix the message type or build
// the request; getAutomaticSchedulePattern cuts the automatic pattern out of a task's XML option;
// GetUpdateInfo fills clients' update flags from their baseline status.
#include <cstdlib>
#include <pugixml.hpp>
#include <sstream>

#include "Db/Proc/EntityNameToIdConverter.h"
#include "Db/Proc/GetBaseLineStatus.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/taskmgr/TaskManager.h"

namespace {

constexpr unsigned long KO_MSG_CREATE_TASK = 216380445;
constexpr unsigned long KO_MSG_TASK_OPERATION = 215600124;
constexpr int KO_XML_INIT_FAILED = 0xB0001;
constexpr int KO_XML_PARSE_FAILED = 0xB0002;
constexpr int KO_XML_SERIALIZE_FAILED = 0xB0008;

// ---- the task manager's messages

std::string print(const pugi::xml_node& node) {
    std::ostringstream out;
    node.print(out, "", pugi::format_raw);
    return out.str();
}

struct GenericResp {
    bool hasStatus = false, hasError = false;
    long long status = 0;
    std::string error;
    bool parse(const std::string& xml) {
        pugi::xml_document doc;
        if (!doc.load_string(xml.c_str()) || !doc.document_element()) return false;
        pugi::xml_node root = doc.document_element();
        if (pugi::xml_attribute a = root.attribute("errorCode")) {
            hasStatus = true;
            status = a.as_llong();
        }
        if (pugi::xml_attribute a = root.attribute("errorMessage")) {
            hasError = true;
            error = a.value();
        }
        return true;
    }
};

struct CreateTaskResp {
    std::vector<std::string> jobIds;
    bool parse(const std::string& xml) {
        pugi::xml_document doc;
        if (!doc.load_string(xml.c_str()) || !doc.document_element()) return false;
        for (pugi::xml_node j : doc.document_element().children("jobIds"))
            jobIds.push_back(j.attribute("val").value());
        return true;
    }
};

bool serializeRun(const std::vector<Sched_SubTask>& subTasks, std::string& xml) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("TMMsg_TaskOperationReq");
    root.append_attribute("taskOperation") = 5;
    root.append_attribute("initiatedFrom") = 5;
    for (const Sched_SubTask& s : subTasks) {
        pugi::xml_node e = root.append_child("subtasks");
        e.append_attribute("subtaskId") = s.subTaskId;
        e.append_attribute("taskId") = s.taskId;
    }
    xml = print(root);
    return true;
}

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
        GenericResp generic;
        if (!generic.parse(xml)) {
            EvDebug::Error(name, "Unable to un-serialize GenericResp XML");
        } else {
            if (generic.hasStatus) result = static_cast<int>(generic.status);
            if (generic.hasError) err = generic.error;
            if (messageType == KO_MSG_CREATE_TASK || messageType == KO_MSG_TASK_OPERATION) {
                CreateTaskResp created;
                if (result != 0) {
                    EvDebug::Error(name, "TaskRequest returned error [%s]", err.c_str());
                } else if (!created.parse(xml)) {
                    EvDebug::Error(name, "Unable to un-serialize CreateTaskResp XML");
                } else {
                    for (const std::string& id : created.jobIds) {
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
    std::string xml;
    if (!serializeRun(subTasks, xml)) {
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
    pugi::xml_document doc;
    if (!doc.load_string(info.xmlOptions.c_str()) || !doc.document_element()) {
        EvDebug::Error(name, "Could not unserialize TMMsg::JobOption");
        err = "XML Message unserilization failed";
        return KO_XML_PARSE_FAILED;
    }
    pugi::xml_node pattern = doc.document_element().find_node(
        [](const pugi::xml_node& n) { return std::string(n.name()) == "automaticSchedulePattern"; });
    info.xmlOptions = pattern ? print(pattern) : "<automaticSchedulePattern/>";
    (void)KO_XML_INIT_FAILED;
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
