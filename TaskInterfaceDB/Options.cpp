// Option reads: one option of a job (lookup), the static default of one option, and every option of
// a job, a subtask or a task delivered through a callback.
#include "Db/Proc/TM_GetAllJobOptions.h"
#include "Db/Tbl/TM_StaticTaskOption.h"
#include "Db/Tbl/TM_SubTaskOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/text/FXString.h"

namespace {

using JobOptionsProc = SprocWrapper<TM_GetAllJobOptions, TM_GetAllJobOptions_t>;
using SubTaskOptionsTable = TableWrapper<TM_SubTaskOptions, TM_SubTaskOptions_t>;
using StaticOptionTable = TableWrapper<TM_StaticTaskOption, TM_StaticTaskOption_t>;

// File options share the job's option rows; they have their own reader, so the job path leaves
// them out. 150002 is the one file option that job option readers still expect to see.
bool isFileOptionId(long long optionId) {
    return optionId > 150000 && optionId <= 150014 && optionId != 150002;
}

// The options of job info.jobId, in the procedure's order.
int jobOptions(const char* name, DBtran* tran, const _TaskInfo& info, OptionCallBack* cb, std::string& err) {
    JobOptionsProc proc(name, tran);
    proc.getCursor()->setValues(info.jobId);
    int rc = proc.openCursor(&err);
    if (rc != 0) {
        frame::dbError(name, proc, err);
        return rc;
    }
    while ((rc = proc.fetchCursor(true, nullptr)) == 0) {
        const TM_GetAllJobOptions_t* row = proc.getDataPtr();
        if (isFileOptionId(row->o_optionId)) continue;
        if (cb) cb->option(row->o_optionId, FXString::ToString(row->o_value), row->o_type);
    }
    if (rc != DB_NO_DATA) frame::dbError(name, proc, err);
    rc = proc.closeCursor(&err);
    if (rc == 0) EvDebug::DebugLvl(info.jobId, 5, name, "Completed without errors");
    return rc;
}

// The options of subtask info.jobId (type 1), or of the first subtask of task info.jobId.
int subTaskOptions(const char* name, DBtran* tran, const _TaskInfo& info, OptionCallBack* cb,
                   std::string& err) {
    SubTaskOptionsTable table(name, tran);
    EvDebug::DebugLvl(5, name, "Using task/subtask. Called with taskId[%lu], jobId[%lld], type [%d]",
                      static_cast<unsigned long>(info.taskId), info.jobId, info.type);
    if (info.type == 1)
        table.setWhere("subTaskId = %lld", info.jobId);
    else
        table.setWhere("subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=%lld)", info.jobId);
    int rc = table.openCursor(&err);
    if (rc != 0) {
        frame::dbError(name, table, err);
        return rc;
    }
    while ((rc = table.fetchCursor(true, nullptr)) == 0) {
        const TM_SubTaskOptions_t* row = table.getDataPtr();
        if (cb) cb->option(row->optionId, FXString::ToString(row->value), row->type);
    }
    if (rc != DB_NO_DATA) frame::dbError(name, table, err);
    return table.closeCursor(&err);
}

}  // namespace

int TaskInterfaceDB::lookup(_TaskInfo& info, std::string& err, void* tran) {
    static const char* const kName = "TaskInterfaceDB::lookup";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    JobOptionsProc proc(kName, tw.get());
    const long long optionId = static_cast<long long>(info.optionId);
    EvDebug::DebugLvl(info.jobId, 5, kName, "Called with jobId[%lld], optionId[%lld]", info.jobId, optionId);
    proc.getCursor()->setValues(info.jobId);
    rc = proc.openCursor(&err);
    if (rc != 0) {
        frame::dbError(kName, proc, err);
        return rc;
    }
    // Only the first row is read and its option id is not compared: callers rely on this answer.
    rc = proc.fetchCursor(true, nullptr);
    if (rc == 0) {
        info.value = FXString::ToString(proc.getDataPtr()->o_value);
        EvDebug::DebugLvl(info.jobId, 5, kName, "For optionId[%lld] found value [%s]", optionId,
                          info.value.c_str());
    } else if (rc == DB_NO_DATA) {
        rc = this->getDefaultOption(info.optionId, info.value, err, tran);
        EvDebug::Debug(kName, "DB_NoData: [%s]", err.c_str());
    } else {
        frame::dbError(kName, proc, err);
    }
    rc = proc.closeCursor(&err);
    if (rc == 0) {
        rc = tw.commitIfOwnTran(&err);
        EvDebug::DebugLvl(info.jobId, 5, kName, "Completed");
    }
    return rc;
}

int TaskInterfaceDB::getDefaultOption(unsigned long long optionId, std::string& value, std::string& err,
                                      void* tran) {
    static const char* const kName = "TaskInterfaceDB::getDefaultOption";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    StaticOptionTable table(kName, tw.get());
    value.clear();
    const long long id = static_cast<long long>(optionId);
    EvDebug::DebugLvl(10, kName, "Called with optionId[%lld]", id);
    table.setWhere("optionId = %lld", id);
    rc = table.openCursor(&err);
    if (rc != 0) {
        frame::dbError(kName, table, err);
        return rc;
    }
    rc = table.fetchCursor(true, nullptr);
    if (rc == 0) {
        value = FXString::ToString(table.getDataPtr()->defVal);
        EvDebug::DebugLvl(5, kName, "For optionId[%lld] found value [%s]", id, value.c_str());
    } else if (rc != DB_NO_DATA) {
        frame::dbError(kName, table, err);
    }
    rc = table.closeCursor(&err);
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}

int TaskInterfaceDB::getOptions(_TaskInfo& info, OptionCallBack* cb, std::string& err, void* tran) {
    static const char* const kName = "TaskInterfaceDB::getOptions";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);
    // A read: nothing to commit, even in a transaction of our own.
    if (info.type == 0) return jobOptions(kName, tw.get(), info, cb, err);
    return subTaskOptions(kName, tw.get(), info, cb, err);
}
