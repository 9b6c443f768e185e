#pragma once
// How every service method reaches the store: on the caller's transaction or on one of its own,
// tracing a database failure once under the method's name.
#include <string>

#include "platform/db/DBformat.h"
#include "platform/db/DBrecordTable.h"
#include "platform/db/DBtable.h"
#include "platform/db/TranWrapper.h"
#include "platform/server/ServerTypes.h"
#include "platform/trace/EvDebug.h"

namespace srv {

// Runs `body(DBtran*)` on `db` (a DBtran*, or null for a transaction of its own, committed only when
// `body` answers 0; a read-only one when `write` is false). Returns body's code or the transaction's.
template <class Body>
int withTran(void* db, const char* name, bool write, Body&& body) {
    TranWrapper tw(static_cast<DBtran*>(db), name);
    if (!write) tw.setHint(DBtran::kHintRead);
    std::string err;
    int rc = tw.ensureTran(&err);
    if (rc != 0) {
        EvDebug::Error(name, "Could not begin a transaction. Error [%d] [%s]", rc, err.c_str());
        return rc;
    }
    rc = body(tw.get());
    if (rc == 0) {
        rc = tw.commitIfOwnTran(&err);
        if (rc != 0) EvDebug::Error(name, "Could not commit. Error [%d] [%s]", rc, err.c_str());
    }
    return rc;
}

// Reads the first row that `table`'s where-clause selects: 0, KO_SRV_NOT_FOUND, or the database's code
// (traced as "DB_Error: [%s]").
inline int readOne(DBtable& table, const char* name) {
    int rc = getOneRow(&table, false, 0, 0);
    if (rc != 0 && rc != DB_NO_DATA) EvDebug::Debug(name, "DB_Error: [%s]", table.getErrorStr(rc).c_str());
    return rc;
}

// Runs an update, insert or delete already set up on `table`; 100 (no row matched) counts as success.
inline int traceWrite(DBtable& table, int rc, const char* name) {
    if (rc == DB_NO_DATA) return 0;
    if (rc != 0) EvDebug::Debug(name, "DB_Error: [%s]", table.getErrorStr(rc).c_str());
    return rc;
}

}  // namespace srv

struct SRV_ClientProp_t;
namespace srv {
// The client's SRV_ClientProp row, or a default one when the client exists without it: 0,
// KO_SRV_NOT_FOUND when the client does not exist, or the database's code.
int readClientProps(unsigned long clientId, void* db, const char* name, SRV_ClientProp_t& out);
// Selects only `list` of the record's columns (names in record order).
template <class Record>
void selectColumns(DBrecordTable<Record>& t, const char* list) {
    t.setColumnSubset(list, DBtable::columnMask(Record::columns(), Record::kColumnCount, list));
}
// The same with the mask worked out once per call site, for the look-ups made for every job.
#define SRV_SELECT_COLUMNS(table, Record, list)                                 \
    do {                                                                        \
        static const unsigned long long kColumnMask =                           \
            DBtable::columnMask(Record::columns(), Record::kColumnCount, list); \
        (table).setColumnSubset(list, kColumnMask);                             \
    } while (0)
}  // namespace srv
