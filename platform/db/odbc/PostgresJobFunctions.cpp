// The management server's functions that the job statistics query calls, on PostgreSQL: created
// with the schema, with the same meanings (and answers) as the SQLite backend's functions of the
// same names (platform/db/sqlite/JobFunctions.cpp). Integer inputs are bigint, so that any integer
// argument resolves to the one function of each name.
#include "platform/db/odbc/PostgresDdl.h"

namespace dbl {
namespace odbc {

namespace {

std::string sqlFunction(const std::string& name, const std::string& args, const std::string& result,
                        const std::string& body) {
    return "CREATE OR REPLACE FUNCTION " + name + "(" + args + ") RETURNS " + result +
           " LANGUAGE sql STABLE AS $body$ " + body + " $body$";
}

std::string plFunction(const std::string& name, const std::string& args, const std::string& result,
                       const std::string& body) {
    return "CREATE OR REPLACE FUNCTION " + name + "(" + args + ") RETURNS " + result +
           " LANGUAGE plpgsql STABLE AS $body$ " + body + " $body$";
}

}  // namespace

std::vector<std::string> postgresJobFunctions() {
    const std::string clientVisible =
        "SELECT CASE WHEN $1 = 0 OR EXISTS (SELECT 1 FROM UMUserClientAssoc WHERE userId = $1 AND clientId = "
        "$2) "
        "OR EXISTS (SELECT 1 FROM UMUserClientGroupAssoc ug JOIN APP_ClientGroupAssoc ga "
        "ON ga.clientGroupId = ug.clientGroupId WHERE ug.userId = $1 AND ga.clientId = $2) THEN 1 ELSE 0 END";
    return {
        // 1 when user 0 asks or the user may see the client: associated directly or through one of
        // the user's client groups; the finer arguments are accepted for the server's signature.
        sqlFunction("isClientVisible", "bigint, bigint, bigint, bigint, bigint, bigint", "integer",
                    clientVisible),
        sqlFunction("isBkpJobVisible", "bigint, bigint, bigint, bigint, bigint, bigint, bigint", "integer",
                    "SELECT isClientVisible($1, $3, 0, 0, 0, 0)"),
        // The latest retention end of the job's copies; the start time when it has none.
        sqlFunction("GetMaxRetentionTime", "bigint, bigint, bigint", "bigint",
                    "SELECT COALESCE((SELECT MAX(retainedUntil) FROM JMJobDataStats WHERE jobId = $1 "
                    "AND orbisId = $2), $3)"),
        // The comma-separated application types of TSGlobalParam "DeferredCatalogSupportedAppTypes".
        sqlFunction("GetDeferredCatalogSupportedAppTypes", "", "text",
                    "SELECT COALESCE((SELECT MAX(value) FROM TSGlobalParam "
                    "WHERE name = 'DeferredCatalogSupportedAppTypes'), '')"),
        // 1 when the subclient's application type is among those.
        sqlFunction(
            "IsDeferredCatalogSupported", "bigint", "integer",
            "SELECT CASE WHEN EXISTS (SELECT 1 FROM APP_Application a WHERE a.id = $1 "
            "AND CAST(a.appTypeId AS text) IN (SELECT replace(x, ' ', '') FROM "
            "unnest(string_to_array(GetDeferredCatalogSupportedAppTypes(), ',')) x)) THEN 1 ELSE 0 END"),
        // "<message id>[|arg|arg...]" becomes the catalogue's message in the locale (else locale 0),
        // with %1, %2, ... replaced by the arguments; any other text comes back as it is.
        plFunction("JMGetLocalizedMessageFunc", "bigint, text", "text",
                   "DECLARE parts text[]; msg text; "
                   "BEGIN "
                   "IF $2 IS NULL THEN RETURN NULL; END IF; "
                   "parts := string_to_array($2, '|'); "
                   "IF parts[1] IS NULL OR parts[1] !~ '^[0-9]+$' THEN RETURN $2; END IF; "
                   "SELECT formatText INTO msg FROM SRV_EventMessage WHERE messageId = parts[1]::bigint "
                   "AND localeId IN ($1, 0) ORDER BY localeId DESC LIMIT 1; "
                   "IF msg IS NULL THEN RETURN $2; END IF; "
                   "FOR i IN REVERSE array_length(parts, 1) - 1 .. 1 LOOP "
                   "msg := replace(msg, '%' || i, parts[i + 1]); END LOOP; "
                   "RETURN msg; END"),
        // The knowledge-base article of the message that the failure text names ("" for none).
        sqlFunction(
            "JMGetKBArticlesForFailures", "text, bigint", "text",
            "SELECT COALESCE((SELECT MAX(kbArticle) FROM SRV_EventMessage WHERE split_part($1, '|', 1) "
            "~ '^[0-9]+$' AND messageId = split_part($1, '|', 1)::bigint), '')"),
        // "<proxy client>:<instance>" of the subclient (the instance alone without a proxy).
        sqlFunction(
            "getMysqlProxyAndInstance", "bigint, bigint", "text",
            "SELECT CASE WHEN COALESCE(c.name, '') = '' THEN COALESCE(i.name, '') "
            "ELSE c.name || ':' || COALESCE(i.name, '') END FROM APP_Application a "
            "LEFT JOIN APP_InstanceName i ON i.id = a.instance "
            "LEFT JOIN APP_SubClientProp p ON p.componentNameId = a.id AND p.attrName = 'Proxy Client' "
            "AND p.modified = 0 LEFT JOIN APP_Client c ON c.id = CAST(p.attrVal AS bigint) WHERE a.id = $2"),
        // The trimmed, non-empty items of a separated list, as rows.
        "CREATE OR REPLACE FUNCTION SplitString(text, text) RETURNS TABLE (value text) LANGUAGE sql "
        "IMMUTABLE "
        "AS $body$ SELECT trim(x) FROM unnest(string_to_array($1, CASE WHEN $2 = '' THEN ',' ELSE $2 END)) x "
        "WHERE trim(x) <> '' $body$",
        // The value of an XPath in a document; NULL when the text is not XML or nothing matches.
        "CREATE OR REPLACE FUNCTION JMXmlAttribute(text, text) RETURNS text LANGUAGE plpgsql IMMUTABLE "
        "AS $body$ BEGIN RETURN (xpath($2, $1::xml))[1]::text; "
        "EXCEPTION WHEN others THEN RETURN NULL; END $body$",
    };
}

}  // namespace odbc
}  // namespace dbl
