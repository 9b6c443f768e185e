#include "tools/taskdb/TaskView.h"

#include <iostream>

int readTask(TaskInterface& ti, _TaskInfo& info, std::string& err) {
    struct Step {
        const char* name;
        int (TaskInterface::*op)(_TaskInfo&, std::string&, void*);
    };
    const Step steps[] = {{"getTaskInfo", &TaskInterface::getTaskInfo},
                          {"getSubTaskInfo", &TaskInterface::getSubTaskInfo},
                          {"getEntityInfo", &TaskInterface::getEntityInfo}};
    for (const auto& step : steps) {
        std::string e;
        int rc = (ti.*step.op)(info, e, nullptr);
        if (rc != 0 || !e.empty()) {
            err = std::string(step.name) + ": " + e;
            return rc;
        }
    }
    // The task's own patterns: getPatternInfo keys on the first entity's client when it has one, so ask
    // with an entity that names no client.
    _TaskInfo probe;
    probe.taskId = info.taskId;
    probe.entities.push_back(Sched_AssocEntity{});
    std::string e;
    int rc = ti.getPatternInfo(probe, e, nullptr);
    if (rc != 0 || !e.empty()) {
        err = "getPatternInfo: " + e;
        return rc;
    }
    info.patterns = std::move(probe.patterns);
    return 0;
}

void printTask(const _TaskInfo& info) {
    const auto& t = info.task;
    printRecord({{"task", std::to_string(t.taskId)},
                 {"type", std::to_string(t.taskType)},
                 {"flags", std::to_string(t.flags)},
                 {"status", std::to_string(t.status)},
                 {"owner", std::to_string(t.ownerId)},
                 {"locale", std::to_string(t.localeId)},
                 {"sequence", std::to_string(t.sequenceNumber)},
                 {"description", t.description}});
    const auto& st = info.subTask;
    std::cout << "\nsubtask\n";
    printTable({"SUBTASK", "TASK", "TYPE", "OPERATION", "ORDER"},
               {{std::to_string(st.subTaskId), std::to_string(st.taskId), std::to_string(st.subTaskType),
                 std::to_string(st.operationType), std::to_string(st.subTaskOrder)}});
    std::cout << "\nentities\n";
    std::vector<std::vector<std::string>> rows;
    for (const auto& e : info.entities)
        rows.push_back({std::to_string(e.assocId), std::to_string(e.assocType),
                        std::to_string(e.clientGroupId), std::to_string(e.clientId),
                        std::to_string(e.apptypeId), std::to_string(e.instanceId),
                        std::to_string(e.backupsetId), std::to_string(e.subclientId)});
    printTable({"ASSOC", "TYPE", "GROUP", "CLIENT", "APPTYPE", "INSTANCE", "BACKUPSET", "SUBCLIENT"}, rows);
    std::cout << "\npatterns\n";
    rows.clear();
    for (const auto& p : info.patterns)
        rows.push_back({p.name, std::to_string(p.freq_type), std::to_string(p.freq_interval),
                        p.active_start_date, std::to_string(p.active_start_time), p.active_end_date});
    printTable({"NAME", "FREQ", "INTERVAL", "START DATE", "START TIME", "END DATE"}, rows);
}

Json taskJson(const _TaskInfo& info) {
    const auto& t = info.task;
    Json out{{"task",
              {{"taskId", t.taskId},
               {"taskType", t.taskType},
               {"flags", t.flags},
               {"status", t.status},
               {"alertId", t.alertId},
               {"ownerId", t.ownerId},
               {"runUserId", t.runUserId},
               {"localeId", t.localeId},
               {"initiatedFrom", t.initiatedFrom},
               {"sequenceNumber", t.sequenceNumber},
               {"description", t.description}}}};
    const auto& st = info.subTask;
    out["subTask"] = {{"subTaskId", st.subTaskId},
                      {"taskId", st.taskId},
                      {"subTaskType", st.subTaskType},
                      {"operationType", st.operationType},
                      {"subTaskOrder", st.subTaskOrder}};
    out["entities"] = Json::array();
    for (const auto& e : info.entities)
        out["entities"].push_back({{"assocId", e.assocId},
                                   {"assocType", e.assocType},
                                   {"taskId", e.taskId},
                                   {"clientGroupId", e.clientGroupId},
                                   {"clientId", e.clientId},
                                   {"apptypeId", e.apptypeId},
                                   {"instanceId", e.instanceId},
                                   {"backupsetId", e.backupsetId},
                                   {"subclientId", e.subclientId},
                                   {"policyId", e.policyId},
                                   {"copyId", e.copyId}});
    out["patterns"] = Json::array();
    for (const auto& p : info.patterns)
        out["patterns"].push_back({{"name", p.name},
                                   {"freqType", p.freq_type},
                                   {"freqInterval", p.freq_interval},
                                   {"activeStartDate", p.active_start_date},
                                   {"activeStartTime", p.active_start_time},
                                   {"activeEndDate", p.active_end_date},
                                   {"tzId", p.tzId}});
    return out;
}
