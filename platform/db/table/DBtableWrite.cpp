// DBtable's writes: update, insert and delete, on the transaction's connection or, without one, on
// a pooled connection in autocommit.
#include "platform/db/Bind.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBexecute.h"
#include "platform/db/DBtran.h"
#include "platform/db/table/DBtableImpl.h"

namespace {

// Runs one write statement: the template `t` with the values that `bind(statement)` binds when the
// backend keeps templates, else the full text that `literal()` makes. `rows` receives the rows
// changed, `identity` (when not null) the identity the statement gave. 0 or the failure's code with
// its text in `e`.
template <class Bind, class Literal>
int runWrite(DBtran* tran, const dbtable::Template* t, Bind&& bind, Literal&& literal, long long& rows,
             const std::string& table, const std::string& identityColumn, long long* identity,
             dbl::Error& e) {
    std::unique_ptr<dbl::Connection> own;
    dbl::Connection* conn = nullptr;
    if (tran) {
        int code = 0;
        conn = tran->connectionForStatement(code, e.text, true);
        if (!conn) return e.code = code;
    } else {
        own = dbl::acquire(e);
        if (!own) return e.code ? e.code : DB_ERR_NOT_ACTIVE;
        conn = own.get();
    }
    int rc;
    {
        dbl::StatementPtr st;
        if (t) {
            st = conn->prepareTemplate(t->id, *t->sql, e);
            if (st) bind(*st);
        }
        if (!st && e.code == 0) {
            std::vector<dbl::Param> params;
            st = conn->prepare(literal(), params, e);
            if (st) dbl::bindParams(*st, params);
        }
        if (!st) {
            rc = e.code ? e.code : DB_ERR_NO_STATEMENT;
        } else {
            rc = st->step(e);
            if (rc == 0 || rc == DB_NO_DATA) {
                rows = st->changes();
                rc = 0;
            }
        }
    }
    if (rc == 0 && identity) *identity = conn->lastIdentity(table, identityColumn, e);
    if (tran && rc != 0) tran->statementFailed(rc, e.text);
    // A statement of the caller's (no table) may change anything, also without counting rows.
    if (tran && rc == 0 && (rows > 0 || table.empty())) tran->changedRows();
    dbl::giveBack(std::move(own));
    return rc;
}

}  // namespace

int DBtable::rowUpdate(const std::string& setClause) {
    Impl& m = *m_impl;
    int code = 0;
    if (m.faulted(dbfault::Step::Update, code)) return code;
    if (setClause.empty() && m.subset)
        return m.fail(DB_ERR_PARTIAL_RECORD, "record update on [" + m.name + "] that read only some columns");
    // On a fetched row of a table with an identity the update names that row alone.
    const bool byId = m.open && m.hasRow && m.hasRowIdentity;
    auto literal = [&] {
        std::string sql =
            "UPDATE " + m.name + " SET " + (setClause.empty() ? m.setClauseFromRecord() : setClause);
        const std::string where = m.updateWhere();
        if (!where.empty()) sql += " WHERE " + where;
        return sql;
    };
    // A set clause of the caller's is text; the record's own columns go as a template.
    const dbtable::Template* t = nullptr;
    if (setClause.empty() && m.record && (byId || m.where.templated()))
        t = &m.templateFor(byId              ? dbtable::kUpdateById
                           : m.where.empty() ? dbtable::kUpdateAll
                                             : dbtable::kUpdateByWhere);
    auto bind = [&](dbl::Statement& st) {
        const int next = m.bindRecord(st, 1);
        if (byId)
            st.bindInt64(next, m.rowIdentity);
        else
            m.where.bind(st, next);
    };
    dbl::Error e;
    m.rowsAffected = 0;
    if (int rc = runWrite(m.tran, t, bind, literal, m.rowsAffected, m.name, m.identityColumn, nullptr, e))
        return m.fail(rc, e.text);
    return m.rowsAffected ? 0 : m.fail(DB_NO_DATA, "No data");
}

int DBtable::rowInsert(bool returnIdentity) {
    Impl& m = *m_impl;
    int code = 0;
    if (m.faulted(dbfault::Step::Insert, code)) return code;
    if (!m.record || m.columnCount == 0)
        return m.fail(DB_ERR_NO_STATEMENT, "no record to insert into [" + m.name + "]");
    if (m.subset)
        return m.fail(DB_ERR_PARTIAL_RECORD,
                      "record insert into [" + m.name + "] that read only some columns");
    long long identity = 0;
    const bool wantIdentity = returnIdentity && m.identityField && !m.identityColumn.empty();
    dbl::Error e;
    m.rowsAffected = 0;
    if (int rc = runWrite(
            m.tran, &m.templateFor(dbtable::kInsert), [&](dbl::Statement& st) { m.bindRecord(st, 1); },
            [&] { return m.insertText(); }, m.rowsAffected, m.name, m.identityColumn,
            wantIdentity ? &identity : nullptr, e))
        return m.fail(rc, e.text);
    if (wantIdentity) *m.identityField = static_cast<int>(identity);
    return 0;
}

int DBtable::rowDelete() {
    Impl& m = *m_impl;
    int code = 0;
    if (m.faulted(dbfault::Step::Delete, code)) return code;
    auto literal = [&] {
        std::string sql = "DELETE FROM " + m.name;
        if (!m.where.empty()) sql += " WHERE " + m.where.text();
        return sql;
    };
    const dbtable::Template* t = m.where.templated() ? &m.templateFor(dbtable::kDelete) : nullptr;
    dbl::Error e;
    m.rowsAffected = 0;
    if (int rc = runWrite(
            m.tran, t, [&](dbl::Statement& st) { m.where.bind(st, 1); }, literal, m.rowsAffected, m.name,
            m.identityColumn, nullptr, e))
        return m.fail(rc, e.text);
    return m.rowsAffected ? 0 : m.fail(DB_NO_DATA, "No data");
}

int DBexecute(DBtran* tran, const std::string& sql, std::string* err) {
    dbl::Error e;
    long long rows = 0;
    int rc = runWrite(
        tran, nullptr, [](dbl::Statement&) {}, [&] { return sql; }, rows, "", "", nullptr, e);
    if (rc != 0 && err) *err = e.text;
    return rc;
}
