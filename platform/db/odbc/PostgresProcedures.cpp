// The store's procedures on PostgreSQL: SQL functions created with the schema and called as
// "SELECT * FROM name(?, ...)". Each gives the same rows, in the same order, as the embedded store's
// procedure of the same name. They live in the server, as the procedures of the management server's
// own database do, so the backend calls every server's procedures the same way (by name) and any
// client of the database sees the same answers. Integer inputs are declared bigint so that any
// integer argument resolves to the one function of that name.
#include "platform/db/odbc/PostgresDdl.h"

namespace dbl {
namespace odbc {

namespace {

// The job's request ($1 = job id): its subtask and the time it was created.
const std::string kJobRequest =
    "req AS (SELECT r.subTaskId AS subTaskId, r.created AS created FROM TM_Jobs j "
    "JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId WHERE j.jobId = $1 LIMIT 1), ";

// Every option in force for job $1 (after kJobRequest): the job's own TM_JobOptions rows, and the
// subtask-level rows (jobId 0) of the job's subtask created no later than the job's request and
// never modified (0) or modified after it, for option ids the job has no row of its own for. `src`
// puts the job's own row first where ids are equal.
const std::string kJobOptions =
    "jobopts AS (SELECT o.type AS type, o.optionId AS optionId, o.value AS value, 0 AS src, o.id AS id "
    "FROM TM_JobOptions o WHERE o.jobId = $1 "
    "UNION ALL SELECT s.type, s.optionId, s.value, 1, s.id FROM TM_JobOptions s "
    "JOIN req ON s.subTaskId = req.subTaskId WHERE s.jobId = 0 AND s.created <= req.created "
    "AND (s.modified = 0 OR s.modified > req.created) "
    "AND NOT EXISTS (SELECT 1 FROM TM_JobOptions m WHERE m.jobId = $1 AND m.optionId = s.optionId)) ";

// The options that the bitwise and extended readers look at ($1 job, $2 task, $3 subtask, $4 type):
// type 0 the job's options as above, type 1 the TM_SubTaskOptions of subtask $3, any other type the
// TM_SubTaskOptions of the task's first subtask (its lowest subTaskId).
const std::string kReaderOptions =
    "WITH " + kJobRequest + kJobOptions +
    ", opts AS (SELECT optionId, value, id FROM jobopts WHERE $4 = 0 "
    "UNION ALL SELECT optionId, value, id FROM TM_SubTaskOptions WHERE $4 = 1 AND subTaskId = $3 "
    "UNION ALL SELECT optionId, value, id FROM TM_SubTaskOptions WHERE $4 NOT IN (0, 1) "
    "AND subTaskId = (SELECT MIN(subTaskId) FROM TM_SubTask WHERE taskId = $2)) ";

std::string function(const std::string& name, const std::string& args, const std::string& result,
                     const std::string& body) {
    return "CREATE OR REPLACE FUNCTION " + name + "(" + args + ") RETURNS TABLE (" + result +
           ") LANGUAGE sql STABLE AS $body$ " + body + " $body$";
}

}  // namespace

std::vector<std::string> postgresProcedures() {
    return {
        // Every option in force for the job, ordered by option id, the job's own row before an
        // inherited one, then by row id.
        function("TM_GetAllJobOptions", "bigint", "o_type integer, o_optionId bigint, o_value text",
                 "WITH " + kJobRequest + kJobOptions +
                     "SELECT type, optionId, value FROM jobopts ORDER BY optionId, src, id"),

        // The job's own rows whose type is $2 (when $3 is 0) or between $2 and $3 inclusive, ordered by
        // option id, then row id.
        function(
            "TM_GetAllFileOptions", "bigint, bigint, bigint",
            "o_type integer, o_optionId bigint, o_value text",
            "SELECT type, optionId, value FROM TM_JobOptions WHERE jobId = $1 "
            "AND (($3 = 0 AND type = $2) OR ($3 <> 0 AND type BETWEEN $2 AND $3)) ORDER BY optionId, id"),

        // The TM_SubTaskXMLOptions text of the job's subtask; no row when there is none.
        function("TM_GetXMLJobOptions", "bigint", "xmlValue text",
                 "SELECT x.xmlValue FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId "
                 "JOIN TM_SubTaskXMLOptions x ON x.subTaskId = r.subTaskId WHERE j.jobId = $1 LIMIT 1"),

        // The jobs whose request belongs to the task, ascending.
        function("TM_GetJobListFromTaskId", "bigint", "o_jobId bigint",
                 "SELECT j.jobId FROM TM_Jobs j JOIN TM_JobRequest r ON r.jobRequestId = j.jobRequestId "
                 "WHERE r.taskId = $1 ORDER BY j.jobId"),

        // Always one row: the OR of TM_StaticTaskOption.bitVal (as an unsigned 32-bit word) over the
        // reader's options whose static row has a non-zero bitVal and whose value is neither empty (or
        // NULL) nor "0"; 0 when there is none.
        function("TM_GetBitwiseOption", "bigint, bigint, bigint, bigint", "o_bitOption bigint",
                 kReaderOptions + "SELECT COALESCE(bit_or(s.bitVal::bigint & 4294967295), 0) FROM opts "
                                  "JOIN TM_StaticTaskOption s ON s.optionId = opts.optionId "
                                  "WHERE s.bitVal <> 0 AND COALESCE(opts.value, '') NOT IN ('', '0')"),

        // Always one row: the "xpath=value" pairs of the reader's options whose static row has a
        // non-empty xpath, joined by ";" in option id (then row id) order; the empty text when none.
        function(
            "TM_GetExtendedOptionString", "bigint, bigint, bigint, bigint", "o_extOption text",
            kReaderOptions +
                "SELECT COALESCE(string_agg(s.xpath || '=' || COALESCE(opts.value, ''), ';' "
                "ORDER BY opts.optionId, opts.id), '') FROM opts "
                "JOIN TM_StaticTaskOption s ON s.optionId = opts.optionId WHERE COALESCE(s.xpath, '') <> ''"),

        // The client's SRV_ClientProp.baselineStatus; no row for a client without one ($2 is unused).
        function("GetBaseLineStatus", "bigint, bigint", "o_baselineStatus integer",
                 "SELECT baselineStatus FROM SRV_ClientProp WHERE clientId = $1"),
    };
}

}  // namespace odbc
}  // namespace dbl
