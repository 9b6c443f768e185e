// Whole-option readers: the XML options of a job, subtask or task, the bit-option word and the
// extended option string. Each reads through its own transaction wrapper with the read hint.
//
// All operations here: 0 on success and when nothing matched (outputs then keep their values);
// otherwise the failing step's code with the database text in `err`, which success never touches.
// The caller owns the record, the lists and the transaction it passes. Any number of threads may call
// at once: each call has its own trace event, transaction wrapper and cursor (a caller's transaction
// must not be shared between concurrent calls).
#include "Db/Proc/TM_GetBitwiseOption.h"
#include "Db/Proc/TM_GetExtendedOptionString.h"
#include "Db/Proc/TM_GetXMLJobOptions.h"
#include "Db/Tbl/TM_SubTaskXMLOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/db/DBtypes.h"
#include "platform/text/FXString.h"

namespace {

// The XML options of subtask info.jobId (type 1) or of the first subtask of task info.jobId (other
// types). No row or an empty value leaves xmlOptions as it was. 0, or the failing step's code.
int readSubTaskXml(const char* name, DBtran* tran, _TaskInfo& info, std::string& err) {
    TableWrapper<TM_SubTaskXMLOptions, TM_SubTaskXMLOptions_t> table(name, tran);
    EvDebug::DebugLvl(5, name, "Using task/subtask. Called with taskId[%lu], jobId[%lld], type[%d]",
                      static_cast<unsigned long>(info.taskId), info.jobId, info.type);
    if (info.type == 1) {
        table.setWhere("subTaskId = %lld", info.jobId);
    } else {
        table.setWhere("subTaskId IN (SELECT TOP 1 subTaskId FROM TM_SubTask WHERE taskId=%lld)", info.jobId);
    }
    EvDebug::DebugLvl(5, name, "Called with jobId[%lld]", info.jobId);

    // Read the value column itself: the table's first column is the subtask id, not the document.
    int rc = table.openCursor(nullptr);
    if (rc == 0) {
        rc = table.fetchCursor(true, nullptr);
        if (rc == 0) {
            std::string xml = FXString::ToString(table.getDataPtr()->xmlValue);
            if (!xml.empty()) info.xmlOptions = xml;
        } else if (rc == DB_NO_DATA) {
            rc = 0;
        }
    }
    if (rc == 0) rc = table.closeCursor(nullptr);
    if (rc != 0) {
        err = table.getErrorString();
        EvDebug::Error(name, "Failed to get XML for jobId [%lld]", info.jobId);
    }
    return rc;
}

// One row of a procedure that takes (jobId, taskId, subTaskId, type): `take(row)` with the row, or
// with null when the procedure returns none. The result is the close's and the commit's: a fetch
// failure is traced and left in `err` only, and the field it would have set keeps its value.
template <class X, class X_t, class Take>
int readOneOption(const char* name, int level, _TaskInfo& info, std::string& err, void* tran, Take&& take) {
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    SprocWrapper<X, X_t> proc(name, tw.get());
    EvDebug::DebugLvl(info.jobId, level, name, "Called with jobId[%lld], type[%d]", info.jobId, info.type);
    proc.getCursor()->setValues(info.jobId, static_cast<int>(info.taskId), static_cast<int>(info.subTaskId),
                                info.type);
    rc = proc.openCursor(nullptr);
    if (rc != 0) {
        frame::dbError(name, proc, err);
        return rc;
    }
    rc = proc.fetchCursor(true, nullptr);
    if (rc == 0) {
        take(proc.getDataPtr());
    } else if (rc == DB_NO_DATA) {
        take(nullptr);
    } else {
        frame::dbError(name, proc, err);
    }
    rc = proc.closeCursor(&err);
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}

}  // namespace

// Type 0: the XML options of job info.jobId through TM_GetXMLJobOptions, committed when the
// transaction is our own. Type 1: of subtask info.jobId; other types: of the first subtask of task
// info.jobId; both read TM_SubTaskXMLOptions and never commit (an own transaction is rolled back,
// which for a read changes nothing). The stored text is returned without an XML header.
// 0 on success (also when nothing is stored: xmlOptions is then left as it was); a failure returns its
// code (-1 from the job procedure's XML read) with the text in err.
int TaskInterfaceDB::getXMLOptions(_TaskInfo& info, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getXMLOptions";
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    if (info.type == 0) {
        SprocWrapper<TM_GetXMLJobOptions, TM_GetXMLJobOptions_t> proc(name, tw.get());
        EvDebug::DebugLvl(info.jobId, 5, name, "Called with jobId[%lld]", info.jobId);
        proc.getCursor()->setValues(info.jobId);
        rc = proc.getXMLFromCursor(info.xmlOptions, &err, false, false);
        if (rc != 0) {
            EvDebug::Error(name, "Failed to get XML for jobId [%lld]", info.jobId);
            return rc;
        }
        rc = tw.commitIfOwnTran(&err);
    } else {
        rc = readSubTaskXml(name, tw.get(), info, err);
        if (rc != 0) return rc;
    }
    EvDebug::DebugLvl(5, name, "Completed");
    return rc;
}

// Sets info.bitOptions to the bit-option word of the job, subtask or task (0 when the procedure returns
// no row). Returns the close's or commit's code; see readOneOption for fetch failures.
int TaskInterfaceDB::getBitOptions(_TaskInfo& info, std::string& err, void* tran) {
    return readOneOption<TM_GetBitwiseOption, TM_GetBitwiseOption_t>(
        "TaskInterfaceDB::getBitOptions", 10, info, err, tran, [&](const TM_GetBitwiseOption_t* row) {
            info.bitOptions = row ? static_cast<unsigned long long>(row->o_bitOption) : 0;
        });
}

// Sets info.extendedOptions to the extended option string (empty when the procedure returns no row).
// Returns the close's or commit's code; see readOneOption for fetch failures.
int TaskInterfaceDB::getExtendedOptions(_TaskInfo& info, std::string& err, void* tran) {
    return readOneOption<TM_GetExtendedOptionString, TM_GetExtendedOptionString_t>(
        "TaskInterfaceDB::getExtendedOptions", 5, info, err, tran,
        [&](const TM_GetExtendedOptionString_t* row) {
            info.extendedOptions = row ? FXString::ToString(row->o_extOption) : std::string();
        });
}
