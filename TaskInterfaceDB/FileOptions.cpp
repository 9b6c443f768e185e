// A job's file options: rows of TM_JobOptions whose type lies in 150001..150014.
#include "Db/Proc/TM_GetAllFileOptions.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/JobOptionRows.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "platform/text/FXString.h"

namespace {
constexpr int kFirstFileType = 150001;
constexpr int kLastFileType = 150014;
// The one file type that has a single row per option: found by position, its value replaced.
constexpr int kSingleValueFileType = 150002;
}  // namespace

int TaskInterfaceDB::getFiles(_TaskInfo& info, FileCallBack* cb, std::string& err, void* tran) {
    static const char* const kName = "TaskInterfaceDB::getFiles";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;
    tw.setHint(DBtran::kHintRead);

    SprocWrapper<TM_GetAllFileOptions, TM_GetAllFileOptions_t> proc(kName, tw.get());
    EvDebug::DebugLvl(info.jobId, 5, kName, "Called with jobId[%lld], type[%d]", info.jobId, info.type);
    // Type 0 asks for the whole file-option band.
    if (info.type != 0)
        proc.getCursor()->setValues(info.jobId, info.type, 0);
    else
        proc.getCursor()->setValues(info.jobId, kFirstFileType, kLastFileType);
    rc = proc.openCursor(&err);
    if (rc != 0) {
        frame::dbError(kName, proc, err);
        return rc;
    }
    while ((rc = proc.fetchCursor(true, nullptr)) == 0) {
        const TM_GetAllFileOptions_t* row = proc.getDataPtr();
        const std::string value = FXString::ToString(row->o_value);
        if (cb) cb->file(row->o_optionId, value, row->o_type);
        EvDebug::DebugLvl(info.jobId, 3, kName, "Found optionId[%lld], value [%s], type[%d]", row->o_optionId,
                          value.c_str(), row->o_type);
    }
    if (rc != DB_NO_DATA) frame::dbError(kName, proc, err);
    // A read: nothing to commit, even in a transaction of our own.
    return proc.closeCursor(&err);
}

int TaskInterfaceDB::setFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err,
                              void* tran) {
    static const char* const kName = "TaskInterfaceDB::setFiles";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;

    JobOptionLookup lookup(kName, tw.get());
    JobOptionAdder adder(kName, info, tw.get());
    for (const TaskFile* file : files) {
        const std::string value = file->getValue();
        const int type = file->getType();
        const long long optionId = static_cast<long long>(file->getOptionId());
        EvDebug::DebugLvl(info.jobId, 5, kName,
                          "Called with jobId[%lld], optionId[%lld], type[%d], value[%s]", info.jobId,
                          optionId, type, value.c_str());
        // Other file types are matched by value too, so a new value adds a row beside the old ones.
        if (type == kSingleValueFileType)
            lookup.setWhere("jobId = %lld AND type = %d AND optionId = %lld", info.jobId, type, optionId);
        else
            lookup.setWhere("jobId = %lld AND value = N'%s' AND type = %d AND optionId = %lld", info.jobId,
                            value.c_str(), type, optionId);
        Stored found;
        rc = findJobOption(kName, lookup, value, found, err);
        if (rc != 0) return rc;
        if (found == Stored::Same) continue;

        if (found == Stored::Different) {
            EvDebug::DebugLvl(info.jobId, 3, kName,
                              "Modify optionId[%lld], new value is [%s], new type is [%d]", optionId,
                              value.c_str(), type);
            rc = lookup.rowUpdate("value = N'%s', type = %d, optionId = %lld", value.c_str(), type, optionId);
            if (rc != 0) frame::dbError(kName, lookup, err);
        } else {
            EvDebug::DebugLvl(info.jobId, 3, kName, "Add optionId[%lld], new value is [%s], new type is [%d]",
                              optionId, value.c_str(), type);
            adder.add(file->getOptionId(), type, value, err);
        }
        rc = lookup.closeCursor(&err);
        if (rc != 0) return rc;
    }
    return tw.commitIfOwnTran(&err);
}

int TaskInterfaceDB::removeFiles(_TaskInfo& info, std::vector<const TaskFile*> files, std::string& err,
                                 void* tran) {
    return removeJobOptionRows("TaskInterfaceDB::removeFiles", RemovalKind::Files, info, optionIdsOf(files),
                               err, frame::callerTran(tran));
}

int TaskInterfaceDB::removeFiles(_TaskInfo& info, const std::vector<std::string>& files, std::string& err,
                                 void* tran) {
    // The names select nothing: every pass removes info.optionId, so passes after the first find no
    // rows. Callers depend on this form removing exactly that one option.
    std::vector<unsigned long long> ids(files.size(), info.optionId);
    return removeJobOptionRows("TaskInterfaceDB::removeFiles", RemovalKind::Files, info, ids, err,
                               frame::callerTran(tran));
}
