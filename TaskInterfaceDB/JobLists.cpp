// Job-id lookups: the jobs started from a task, the jobs of the job statistics, and the job request
// of a job.
//
// All operations here: 0 on success and when nothing matched (outputs then keep their values);
// otherwise the failing step's code with the database text in `err`, which success never touches.
// The caller owns the record, the lists and the transaction it passes. Any number of threads may call
// at once: each call has its own trace event, transaction wrapper and cursor (a caller's transaction
// must not be shared between concurrent calls).
#include "Db/Cursor/JMGetBkpStats.h"
#include "Db/Proc/TM_GetJobListFromTaskId.h"
#include "Db/Tbl/TM_Jobs.h"
#include "TaskInterfaceDB/Frame.h"
#include "TaskInterfaceDB/TaskInterfaceDB.h"
#include "db/Wrappers.h"
#include "platform/db/DBtypes.h"

namespace {

// Ensures the transaction of a job lookup. Unlike the other readers these trace a failure to get one,
// with ensureTran's text (there is no cursor yet whose text could be given).
int ensureReadTran(const char* name, TranWrapper& tw, std::string& err) {
    int rc = tw.ensureTran(&err);
    if (rc != 0) {
        EvDebug::Debug(name, "DB_Error: [%s]", err.c_str());
        return rc;
    }
    tw.setHint(DBtran::kHintRead);
    return 0;
}

// Opens the wrapper's cursor and hands every row to `onRow` until the data ends or a fetch fails (traced
// and left in `err`); then closes and commits an own transaction. Returns the open's code when it
// fails, else the close's or the commit's: a fetch failure is not returned.
template <class Wrapper, class Row>
int readAll(const char* name, Wrapper& cursor, TranWrapper& tw, std::string& err, Row&& onRow) {
    int rc = cursor.openCursor(nullptr);
    if (rc != 0) {
        frame::dbError(name, cursor, err);
        return rc;
    }
    while ((rc = cursor.fetchCursor(true, nullptr)) == 0) onRow(*cursor.getDataPtr());
    if (rc != DB_NO_DATA) frame::dbError(name, cursor, err);
    rc = cursor.closeCursor(&err);
    if (rc == 0) rc = tw.commitIfOwnTran(&err);
    return rc;
}

}  // namespace

// Appends the ids of the jobs started from task info.taskId to `jobIds`, in the procedure's order.
// 0 also when there are none; see readAll for failures. The caller owns the list.
int TaskInterfaceDB::getJobListFromTaskId(_TaskInfo& info, std::list<unsigned long long>& jobIds,
                                          std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getJobList";
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = ensureReadTran(name, tw, err);
    if (rc != 0) return rc;

    EvDebug::DebugLvl(5, name, "Called with taskId[%lu]", static_cast<unsigned long>(info.taskId));
    SprocWrapper<TM_GetJobListFromTaskId, TM_GetJobListFromTaskId_t> proc(name, tw.get());
    proc.getCursor()->setValues(static_cast<int>(info.taskId));
    return readAll(name, proc, tw, err, [&](const TM_GetJobListFromTaskId_t& row) {
        jobIds.push_back(static_cast<unsigned long long>(row.o_jobId));
    });
}

// Appends the ids of the jobs that the job statistics list for user 0 under `whereClause` (a
// condition on APP_Application, placed as SQL), finished with data status 0 or 3, and 1 too when
// `includeStatus1`; newest first. `localeId` localises the failure texts the query reads. 0 also
// when there are none; see readAll for failures. The caller owns the list.
int TaskInterfaceDB::getJobIdsFromBkpStats(std::list<unsigned long long>& jobIds, std::string whereClause,
                                           bool includeStatus1, int localeId, std::string& err, void* tran) {
    const char* name = "TaskInterfaceDB::getJobIdsFromBkpStats";
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = ensureReadTran(name, tw, err);
    if (rc != 0) return rc;

    CursorWrapper<JMGetBkpStats, JMGetBkpStats_t> cursor(name, tw.get());
    const char* status =
        includeStatus1 ? " JMBkpStats.dataStatus IN (0,1,3) " : " JMBkpStats.dataStatus IN (0,3) ";
    cursor.getCursor()->setValues(0, localeId, 0, 0, "", whereClause.c_str(), status, "", "",
                                  whereClause.c_str(), status, "", "");
    return readAll(name, cursor, tw, err, [&](const JMGetBkpStats_t& row) {
        jobIds.push_back(static_cast<unsigned long long>(static_cast<unsigned int>(row.jobID)));
    });
}

// Sets `jobRequestId` to the request of job `jobId`; with several rows the last one wins, with none the
// output keeps its value and 0 is returned. See readAll for failures.
//
// The where-clause formats the id with %d: job ids are 64-bit but the clause has always compared
// their low 32 bits. The explicit int conversion keeps exactly that result while passing the type
// the format expects (a long long read back as int through varargs is undefined behaviour).
int TaskInterfaceDB::getJobRequestIdFromJobId(long long& jobRequestId, long long jobId, std::string& err,
                                              void* tran) {
    // Traced under the job statistics lookup's name on purpose (kept so).
    const char* name = "TaskInterfaceDB::getJobIdsFromBkpStats";
    EvEvent event(name);
    TranWrapper tw(frame::callerTran(tran), name);
    int rc = ensureReadTran(name, tw, err);
    if (rc != 0) return rc;

    TableWrapper<TM_Jobs, TM_Jobs_t> table(name, tw.get());
    table.setWhere("JobId = %d", static_cast<int>(jobId));
    return readAll(name, table, tw, err, [&](const TM_Jobs_t& row) { jobRequestId = row.jobRequestId; });
}
