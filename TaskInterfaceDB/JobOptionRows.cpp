#include "TaskInterfaceDB/JobOptionRows.h"

#include "TaskInterfaceDB/Frame.h"
#include "platform/text/FXString.h"

// The job's own row, or the row its subtask holds (job id 0) when that row predates the job's request
// and was never modified, or modified after the request. The tabs are part of the statement text.
#define KO_REMOVE_JOB_OPTION_CLAUSE                                                                        \
    "(jobId=%lld OR (jobId=0 AND subTaskId=(SELECT subTaskId FROM TM_JobRequest WITH (READUNCOMMITTED) "   \
    "WHERE jobRequestId IN (SELECT jobRequestId FROM TM_Jobs WITH (READUNCOMMITTED) WHERE [jobId]=%lld))"  \
    "\t\t\tAND created <= (SELECT TOP 1 created FROM TM_JobRequest WITH (READUNCOMMITTED) WHERE "          \
    "jobRequestId IN (SELECT jobRequestId FROM TM_Jobs WITH (READUNCOMMITTED) WHERE jobId=%lld))"          \
    "\t\t\tAND (modified=0 OR modified > (SELECT TOP 1 created FROM TM_JobRequest WITH (READUNCOMMITTED) " \
    "WHERE jobRequestId IN (SELECT jobRequestId FROM TM_Jobs WITH (READUNCOMMITTED) WHERE jobId=%lld)))))" \
    "\t\t\t"

int findJobOption(const char* name, JobOptionsTable& table, const std::string& value, Stored& found,
                  std::string& err) {
    found = Stored::Missing;
    int rc = table.openCursor(&err);
    if (rc != 0) {
        frame::dbError(name, table, err);
        return rc;
    }
    rc = table.fetchCursor(true, nullptr);
    if (rc == 0)
        found = FXString::ToString(table.getDataPtr()->value) == value ? Stored::Same : Stored::Different;
    else if (rc != DB_NO_DATA)
        frame::dbError(name, table, err);
    return table.closeCursor(&err);
}

long long JobOptionAdder::requestCreated(std::string& err) {
    if (m_requestRead) return m_created;
    m_requestRead = true;
    m_request.setWhere(
        "jobRequestId IN ( SELECT jobRequestId FROM TM_Jobs WITH (READUNCOMMITTED) WHERE jobId = %lld)",
        m_info.jobId);
    std::string readErr;
    int rc = m_request.openCursor(&readErr);
    if (rc == 0) rc = m_request.fetchCursor(true, &readErr);
    if (rc == 0) m_created = m_request.getDataPtr()->created;
    // A request that cannot be read stamps the row like a job without one; the failure is reported.
    if (rc != 0 && rc != DB_NO_DATA) frame::dbError(m_name, m_request, err);
    m_request.closeCursor(&readErr);
    return m_created;
}

int JobOptionAdder::add(unsigned long long optionId, int type, const std::string& value, std::string& err) {
    const long long created = requestCreated(err);
    TM_JobOptions_t* row = m_options.getDataPtr();
    row->jobId = m_info.jobId;
    row->optionId = static_cast<long long>(optionId);
    row->type = type;
    row->value = value;
    row->taskId = static_cast<int>(m_info.taskId);
    row->subTaskId = static_cast<int>(m_info.subTaskId);
    row->created = created;
    row->modified = 0;
    int rc = m_options.rowInsert(true, nullptr);
    if (rc != 0) frame::dbError(m_name, m_options, err);
    return rc;
}

int removeJobOptionRows(const char* name, RemovalKind kind, const _TaskInfo& info,
                        const std::vector<unsigned long long>& optionIds, std::string& err,
                        DBtran* callerTran) {
    EvEvent event(name);
    TranWrapper tw(callerTran, name);
    int rc = tw.ensureTran(&err);
    if (rc != 0) return rc;

    JobOptionsTable table(name, tw.get());
    const long long job = info.jobId;
    for (unsigned long long optionId : optionIds) {
        const long long id = static_cast<long long>(optionId);
        if (kind == RemovalKind::Options)
            table.setWhere(KO_REMOVE_JOB_OPTION_CLAUSE "AND optionId = %lld", job, job, job, job, id);
        else
            table.setWhere(KO_REMOVE_JOB_OPTION_CLAUSE "AND (optionId = %lld)", job, job, job, job, id);
        rc = table.rowDelete(nullptr);
        // Nothing left to delete is not a failure.
        if (rc != 0 && rc != DB_NO_DATA) frame::dbError(name, table, err);
        rc = table.closeCursor(&err);
        if (rc != 0) return rc;
    }
    return tw.commitIfOwnTran(&err);
}
