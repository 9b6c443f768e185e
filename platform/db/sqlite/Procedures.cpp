// The stored procedures of the store, run by the platform itself on SQLite. Each is one SELECT; its
// meaning is written above it so that other backends can give the same answers.
#include "platform/db/sqlite/Procedures.h"

#include <cstring>

namespace dbl {
namespace sqlite {

namespace {

// The job's request (?1 = job id): its subtask and the time it was created.
#define TASKDB_JOB_REQUEST                                                          \
    "req AS (SELECT r.subTaskId AS subTaskId, r.created AS created FROM TM_Jobs j " \
    "JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId WHERE j.jobId = ?1 LIMIT 1), "

// Every option in force for job ?1 (needs TASKDB_JOB_REQUEST): the job's own TM_JobOptions rows,
// and the subtask-level rows (jobId 0) of the job's subtask that were created no later than the
// job's request and never modified (0) or modified after it, for option ids the job has no row of
// its own for. `src` puts the job's own row first where ids are equal.
#define TASKDB_JOB_OPTIONS                                                                               \
    "jobopts AS (SELECT o.type AS type, o.optionId AS optionId, o.value AS value, 0 AS src, o.id AS id " \
    "FROM TM_JobOptions o WHERE o.jobId = ?1 "                                                           \
    "UNION ALL SELECT s.type, s.optionId, s.value, 1, s.id FROM TM_JobOptions s "                        \
    "JOIN req ON s.subTaskId = req.subTaskId WHERE s.jobId = 0 AND s.created <= req.created "            \
    "AND (s.modified = 0 OR s.modified > req.created) "                                                  \
    "AND NOT EXISTS (SELECT 1 FROM TM_JobOptions m WHERE m.jobId = ?1 AND m.optionId = s.optionId)) "

// The options that the bitwise and extended readers look at (?1 job, ?2 task, ?3 subtask,
// ?4 type): type 0 the job's options as above, type 1 the TM_SubTaskOptions of subtask ?3, any
// other type the TM_SubTaskOptions of the task's first subtask (its lowest subTaskId).
#define TASKDB_READER_OPTIONS                                                                      \
    "WITH RECURSIVE " TASKDB_JOB_REQUEST TASKDB_JOB_OPTIONS                                        \
    ", opts AS (SELECT optionId, value, id FROM jobopts WHERE ?4 = 0 "                             \
    "UNION ALL SELECT optionId, value, id FROM TM_SubTaskOptions WHERE ?4 = 1 AND subTaskId = ?3 " \
    "UNION ALL SELECT optionId, value, id FROM TM_SubTaskOptions WHERE ?4 NOT IN (0, 1) "          \
    "AND subTaskId = (SELECT MIN(subTaskId) FROM TM_SubTask WHERE taskId = ?2)) "

const Procedure kProcedures[] = {
    // TM_GetAllJobOptions(jobId) -> (o_type, o_optionId, o_value): every option in force for the
    // job (its own rows and the inherited subtask-level rows, see TASKDB_JOB_OPTIONS), ordered by
    // option id, the job's own row before an inherited one, then by row id.
    {"TM_GetAllJobOptions", 1,
     "WITH " TASKDB_JOB_REQUEST TASKDB_JOB_OPTIONS
     "SELECT type AS o_type, optionId AS o_optionId, value AS o_value FROM jobopts "
     "ORDER BY optionId, src, id"},

    // TM_GetAllFileOptions(jobId, a, b) -> (o_type, o_optionId, o_value): the job's own
    // TM_JobOptions rows whose type is a (when b is 0) or between a and b inclusive (otherwise),
    // ordered by option id, then row id.
    {"TM_GetAllFileOptions", 3,
     "SELECT type AS o_type, optionId AS o_optionId, value AS o_value FROM TM_JobOptions "
     "WHERE jobId = ?1 AND ((?3 = 0 AND type = ?2) OR (?3 <> 0 AND type BETWEEN ?2 AND ?3)) "
     "ORDER BY optionId, id"},

    // TM_GetXMLJobOptions(jobId) -> xmlValue: the TM_SubTaskXMLOptions text of the job's subtask
    // (TM_Jobs.jobRequestId -> TM_JobRequest.subTaskId); no row when there is none.
    {"TM_GetXMLJobOptions", 1,
     "SELECT x.xmlValue AS xmlValue FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId "
     "JOIN TM_SubTaskXMLOptions x ON x.subTaskId = r.subTaskId WHERE j.jobId = ?1 LIMIT 1"},

    // TM_GetJobListFromTaskId(taskId) -> o_jobId: the jobs whose request belongs to the task,
    // ascending.
    {"TM_GetJobListFromTaskId", 1,
     "SELECT j.jobId AS o_jobId FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId "
     "WHERE r.taskId = ?1 ORDER BY j.jobId"},

    // TM_GetBitwiseOption(jobId, taskId, subTaskId, type) -> o_bitOption: always one row, the OR of
    // TM_StaticTaskOption.bitVal (as an unsigned 32-bit word) over the options of
    // TASKDB_READER_OPTIONS whose static row has a non-zero bitVal and whose value is neither empty
    // (or NULL) nor "0"; 0 when there is none.
    {"TM_GetBitwiseOption", 4,
     TASKDB_READER_OPTIONS "SELECT COALESCE(bit_or(s.bitVal & 4294967295), 0) AS o_bitOption FROM opts "
                           "JOIN TM_StaticTaskOption s ON s.optionId = opts.optionId "
                           "WHERE s.bitVal <> 0 AND COALESCE(opts.value, '') NOT IN ('', '0')"},

    // TM_GetExtendedOptionString(jobId, taskId, subTaskId, type) -> o_extOption: always one row, the
    // "xpath=value" pairs of the options of TASKDB_READER_OPTIONS whose static row has a non-empty
    // xpath, joined by ";" in option id (then row id) order; the empty text when there is none.
    {"TM_GetExtendedOptionString", 4,
     TASKDB_READER_OPTIONS
     ", pairs AS MATERIALIZED (SELECT s.xpath || '=' || COALESCE(opts.value, '') AS pair, "
     "ROW_NUMBER() OVER (ORDER BY opts.optionId, opts.id) AS rn FROM opts "
     "JOIN TM_StaticTaskOption s ON s.optionId = opts.optionId WHERE COALESCE(s.xpath, '') <> ''), "
     "joined(rn, txt) AS (SELECT 0, '' UNION ALL SELECT p.rn, CASE WHEN j.rn = 0 THEN p.pair "
     "ELSE j.txt || ';' || p.pair END FROM joined j JOIN pairs p ON p.rn = j.rn + 1) "
     "SELECT txt AS o_extOption FROM joined ORDER BY rn DESC LIMIT 1"},

    // GetBaseLineStatus(clientId, flags) -> o_baselineStatus: the client's SRV_ClientProp.baselineStatus;
    // no row for a client without one. The second argument is the caller's and changes nothing.
    {"GetBaseLineStatus", 2,
     "SELECT baselineStatus AS o_baselineStatus FROM SRV_ClientProp WHERE clientId = ?1 AND ?2 = ?2"},
};

}  // namespace

const Procedure* findProcedure(const char* name) {
    for (const Procedure& p : kProcedures)
        if (std::strcmp(p.name, name) == 0) return &p;
    return nullptr;
}

}  // namespace sqlite
}  // namespace dbl
