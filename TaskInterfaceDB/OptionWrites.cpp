// Writing a job's options: set (update or add) and remove.
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/JobOptionRows.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"

int TaskInterfaceDB::setOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                                void* tran) {
    static const char* const kName = "TaskInterfaceDB::setOptions";
    EvEvent event(kName);
    TranWrapper tw(frame::callerTran(tran), kName);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;

    JobOptionLookup lookup(kName, tw.get());
    JobOptionAdder adder(kName, info, tw.get());
    for (const TaskOption* option : options) {
        const std::string value = option->getValue();
        const long long optionId = static_cast<long long>(option->getOptionId());
        EvDebug::DebugLvl(info.jobId, 5, kName, "Called with jobId[%lld], optionId[%lld], value[%s]",
                          info.jobId, optionId, value.c_str());
        lookup.setWhere("jobId = %lld AND optionId = %lld", info.jobId, optionId);
        Stored found;
        rc = findJobOption(kName, lookup, value, found, err);
        if (rc != 0) return rc;
        if (found == Stored::Same) continue;

        if (found == Stored::Different && !info.addDuplicate) {
            EvDebug::DebugLvl(info.jobId, 3, kName, "Modify optionId[%lld], new value is [%s]", optionId,
                              value.c_str());
            rc = lookup.rowUpdate("value = N'%s'", value.c_str());
            if (rc != 0) frame::dbError(kName, lookup, err);
        } else {
            // With addDuplicate set an existing option gains a second row on purpose.
            adder.add(option->getOptionId(), option->getType(), value, err);
        }
        // A failed update or insert is reported above; the loop goes on when the close succeeds.
        rc = lookup.closeCursor(&err);
        if (rc != 0) return rc;
    }
    return tw.commitIfOwnTran(&err);
}

int TaskInterfaceDB::removeOptions(_TaskInfo& info, std::vector<const TaskOption*> options, std::string& err,
                                   void* tran) {
    return removeJobOptionRows("TaskInterfaceDB::removeOptions", RemovalKind::Options, info,
                               optionIdsOf(options), err, frame::callerTran(tran));
}

int TaskInterfaceDB::removeOptions(_TaskInfo& info, const std::vector<unsigned long long>& optionIds,
                                   std::string& err, void* tran) {
    return removeJobOptionRows("TaskInterfaceDB::removeOptions", RemovalKind::Options, info, optionIds, err,
                               frame::callerTran(tran));
}
