#pragma once
// Procedures that the platform runs in C++ on any backend, with the connection's own queries: those
// that rewrite a document, which SQL does badly. They answer like any procedure: rows of one text column.
#include <string>

#include "platform/db/Backend.h"

namespace dbl {

// The statement of procedure `name` when the platform runs it itself; null (err untouched) when the
// backend's own procedure of that name is meant; null with err set when the arguments do not fit.
// Query kinds of a job information request that can be answered.
constexpr long long KO_JOB_QUERY_SUBCLIENT = 2;

StatementPtr prepareNativeProcedure(Connection& conn, const std::string& name, int argCount, Error& err);

// EntityNameToIdConverter: `xml` with the id attribute of every named client, subclient, instance,
// backup set and task filled in where it is missing or 0 (clientName -> clientId, ...). Unknown names,
// and a text that is not XML, are left as they are. 0, or a failed look-up's code with err set.
int entityNameToId(Connection& conn, const std::string& xml, std::string& out, Error& err);

// JMGetJobDetails: a JobManager_JobInfoReq document in, a JobManager_JobInfoResp document out, with
// one job element per running job (SRV_RunningJob) of each queried subclient, in job id order, and
// one error element per query it cannot answer (or one for a text that is not such a request).
int jobDetails(Connection& conn, const std::string& xml, std::string& out, Error& err);

}  // namespace dbl
