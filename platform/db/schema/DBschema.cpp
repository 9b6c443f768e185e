// Creating the reference schema: the catalogue's tables, the tables the library reads without a
// binding, the indexes its where-clauses need, and the recorded version.
#include "platform/db/DBschema.h"

#include <set>

#include "platform/db/Bind.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBerrors.h"
#include "platform/db/SchemaDdl.h"
#include "platform/db/conn/PoolInternal.h"

namespace {

const DBschemaColumn kPatternAssocColumns[] = {{"patternId", 'i', 0}, {"subTaskId", 'i', 0}};
const DBschemaColumn kSchemaInfoColumns[] = {{"version", 'i', 0}};
// Tables that no binding describes but the store needs.
const DBschemaTable kExtraTables[] = {
    {"TM_PatternAssoc", kPatternAssocColumns, 2, "", "patternId"},
    {"TaskDB_SchemaInfo", kSchemaInfoColumns, 1, "", "version"},
};

struct IndexDef {
    const char* name;
    const char* table;
    const char* columns;
};
const IndexDef kIndexes[] = {
    {"IX_TM_JobOptions_jobId_optionId", "TM_JobOptions", "jobId, optionId"},
    {"IX_TM_JobOptions_jobId_type", "TM_JobOptions", "jobId, type"},
    {"IX_TM_SubTaskOptions_subTaskId", "TM_SubTaskOptions", "subTaskId"},
    {"IX_TM_SubTask_taskId", "TM_SubTask", "taskId"},
    {"IX_TM_AssocEntity_taskId", "TM_AssocEntity", "taskId"},
    {"IX_TM_AssocEntity_clientId", "TM_AssocEntity", "clientId"},
    {"IX_TM_Jobs_jobId", "TM_Jobs", "jobId"},
    {"IX_TM_JobRequest_taskId", "TM_JobRequest", "taskId"},
    {"IX_TM_PatternAssoc_subTaskId", "TM_PatternAssoc", "subTaskId"},
};

int fail(const dbl::Error& e, std::string* err) {
    if (err) *err = e.text;
    return e.code ? e.code : DB_ERR_NO_STATEMENT;
}

// Runs one statement of the library's dialect that returns no rows.
int runStatement(dbl::Connection& conn, const std::string& sql, dbl::Error& e) {
    std::vector<dbl::Param> params;
    dbl::StatementPtr st = conn.prepare(sql, params, e);
    if (!st) return e.code;
    dbl::bindParams(*st, params);
    int rc = st->step(e);
    return rc == 100 || rc == 0 ? 0 : rc;
}

int createAll(dbl::Connection& conn, const dbl::SchemaDdl& ddl, dbl::Error& e) {
    int count = 0;
    const DBschemaTable* catalogue = DBcatalogTables(&count);
    std::vector<const DBschemaTable*> tables;
    for (int i = 0; i < count; ++i) tables.push_back(&catalogue[i]);
    for (const DBschemaTable& t : kExtraTables) tables.push_back(&t);
    std::set<std::string> names;
    for (const DBschemaTable* t : tables) {
        names.insert(t->name);
        for (const std::string& sql : ddl.createTable(*t))
            if (int rc = conn.executeNative(sql, e)) return rc;
    }
    // An index is made only for a table that the catalogue has (it may still be partial).
    for (const IndexDef& ix : kIndexes) {
        if (!names.count(ix.table)) continue;
        if (int rc = conn.executeNative(ddl.createIndex(ix.name, ix.table, ix.columns), e)) return rc;
    }
    int indexCount = 0;
    const DBschemaIndex* described = DBcatalogIndexes(&indexCount);
    for (int i = 0; i < indexCount; ++i) {
        const DBschemaIndex& ix = described[i];
        if (int rc = conn.executeNative(ddl.createIndex(ix.name, ix.table, ix.columns, ix.unique), e))
            return rc;
    }
    for (const std::string& sql : ddl.extraObjects())
        if (int rc = conn.executeNative(sql, e)) return rc;
    return 0;
}

}  // namespace

namespace dbl {

int readSchemaVersion(Connection& conn, Error& e) {
    std::unique_ptr<SchemaDdl> ddl = conn.schemaDdl();
    if (ddl) {
        std::vector<Param> params;
        StatementPtr st = conn.prepare(ddl->tableExistsQuery(), params, e);
        if (!st) return -1;
        st->bindText(bindParams(*st, params), "TaskDB_SchemaInfo");
        int rc = st->step(e);
        if (rc == 100) return 0;
        if (rc != 0) return -1;
    }
    std::vector<Param> params;
    StatementPtr st = conn.prepare("SELECT MAX(version) FROM TaskDB_SchemaInfo", params, e);
    if (!st) return ddl ? -1 : 0;  // without a way to ask, a store that cannot answer has none
    bindParams(*st, params);
    int rc = st->step(e);
    if (rc == 100) return 0;
    if (rc != 0) return -1;
    return st->columnIsNull(0) ? 0 : static_cast<int>(st->columnInt64(0));
}

}  // namespace dbl

int DBinitSchema(const std::string& url, std::string* err) {
    dbl::Error e;
    std::unique_ptr<dbl::Connection> conn = dbl::connectUnchecked(url, e);
    if (!conn) return fail(e, err);
    std::unique_ptr<dbl::SchemaDdl> ddl = conn->schemaDdl();
    if (!ddl) {
        e.set(DB_ERR_BAD_URL,
              std::string("the ") + conn->backendName() + " backend cannot create the schema");
        return fail(e, err);
    }
    // The write transaction serialises concurrent initialisations of one store.
    if (conn->begin(true, e) != 0) return fail(e, err);
    int version = dbl::readSchemaVersion(*conn, e);
    int rc = version < 0 ? e.code : 0;
    if (rc == 0 && version > kTaskdbSchemaVersion) {
        e.set(DB_ERR_SCHEMA_NEWER, "the store [" + url + "] has schema version " + std::to_string(version) +
                                       ", newer than this library's version " +
                                       std::to_string(kTaskdbSchemaVersion));
        rc = e.code;
    }
    if (rc == 0) rc = createAll(*conn, *ddl, e);
    if (rc == 0 && version < kTaskdbSchemaVersion) {
        rc = runStatement(*conn, "DELETE FROM TaskDB_SchemaInfo", e);
        if (rc == 0)
            rc = runStatement(*conn,
                              "INSERT INTO TaskDB_SchemaInfo (version) VALUES (" +
                                  std::to_string(kTaskdbSchemaVersion) + ")",
                              e);
    }
    if (rc == 0) rc = conn->commit(e);
    if (rc != 0) {
        dbl::Error ignored;
        conn->rollback(ignored);
        return fail(e, err);
    }
    return 0;
}

int DBreadSchemaVersion(const std::string& url, std::string* err) {
    dbl::Error e;
    std::unique_ptr<dbl::Connection> conn = dbl::connectUnchecked(url, e);
    if (!conn) {
        if (err) *err = e.text;
        return -1;
    }
    int version = dbl::readSchemaVersion(*conn, e);
    if (version < 0 && err) *err = e.text;
    return version;
}
