#include "platform/db/odbc/OdbcStatement.h"

#include <cstdlib>

namespace dbl {
namespace odbc {

OdbcStatement::OdbcStatement(std::shared_ptr<Session> session, SQLHSTMT stmt, std::string sql)
    : m_session(std::move(session)), m_stmt(stmt), m_sql(std::move(sql)) {}

OdbcStatement::~OdbcStatement() {
    if (m_stmt != SQL_NULL_HSTMT) m_session->giveBackStatement(m_sql, m_stmt);
}

OdbcStatement::Param& OdbcStatement::slot(int index) {
    size_t at = index < 1 ? 0 : static_cast<size_t>(index - 1);
    if (m_params.size() <= at) m_params.resize(at + 1);
    return m_params[at];
}

void OdbcStatement::bindNull(int index) {
    Param& p = slot(index);
    p.kind = Param::kNull;
    p.text.clear();
}

void OdbcStatement::bindInt64(int index, long long value) {
    Param& p = slot(index);
    p.kind = Param::kInt;
    p.value = value;
}

void OdbcStatement::bindText(int index, const std::string& value) {
    Param& p = slot(index);
    p.kind = Param::kText;
    p.text = value;
}

int OdbcStatement::fail(Error& err) {
    return m_session->fail(SQL_HANDLE_STMT, m_stmt, err);
}

int OdbcStatement::execute(Error& err) {
    for (bool retried = false;; retried = true) {
        if (int rc = bindParams(err)) return rc;
        m_executed = true;
        SQLRETURN rc = SQLExecute(m_stmt);
        if (rc == SQL_NO_DATA) {  // a searched update or delete that touched no row
            m_session->noteWork();
            m_done = true;
            return 100;
        }
        if (succeeded(rc)) {
            m_session->noteWork();
            return findResultSet(err);
        }
        fail(err);
        // A connection that the server ended while it sat idle is replaced once, transparently.
        if (retried || !m_session->reconnectFor(m_stmt, m_sql, err)) return err.code;
    }
}

int OdbcStatement::findResultSet(Error& err) {
    for (;;) {
        SQLSMALLINT columns = 0;
        if (!succeeded(SQLNumResultCols(m_stmt, &columns))) return fail(err);
        if (columns > 0) {
            m_columns = columns;
            return 0;
        }
        SQLLEN rows = 0;
        if (succeeded(SQLRowCount(m_stmt, &rows)) && rows > 0) m_changes += rows;
        SQLRETURN rc = SQLMoreResults(m_stmt);
        if (rc == SQL_NO_DATA) {
            m_done = true;
            return 100;
        }
        if (!succeeded(rc)) return fail(err);
    }
}

int OdbcStatement::fetchRow(Error& err) {
    SQLRETURN rc = SQLFetch(m_stmt);
    if (rc == SQL_NO_DATA) {
        m_done = true;
        m_hasRow = false;
        return 100;
    }
    if (!succeeded(rc)) {
        m_hasRow = false;
        return fail(err);
    }
    m_row.resize(static_cast<size_t>(m_columns));
    for (int c = 0; c < m_columns; ++c)
        if (int code = readColumn(static_cast<SQLUSMALLINT>(c + 1), m_row[static_cast<size_t>(c)], err)) {
            m_hasRow = false;
            return code;
        }
    m_hasRow = true;
    return 0;
}

int OdbcStatement::step(Error& err) {
    if (m_session->broken()) return m_session->failBroken(err);
    if (m_failed) {
        err = m_failure;
        return err.code;
    }
    if (m_done) return 100;
    if (!m_executed) {
        int rc = execute(err);
        if (rc != 0 && rc != 100) {
            m_failed = true;
            m_failure = err;
        }
        if (rc != 0) return rc;
    }
    return fetchRow(err);
}

void OdbcStatement::reset() {
    if (m_executed && !m_session->broken() && m_stmt != SQL_NULL_HSTMT) SQLFreeStmt(m_stmt, SQL_CLOSE);
    m_params.clear();
    m_row.clear();
    m_executed = m_done = m_hasRow = m_failed = false;
    m_failure = Error();
    m_columns = 0;
    m_changes = 0;
}

int OdbcStatement::columnCount() {
    return m_columns;
}

bool OdbcStatement::columnIsNull(int col) {
    return !m_hasRow || col < 0 || col >= m_columns || m_row[static_cast<size_t>(col)].null;
}

long long OdbcStatement::columnInt64(int col) {
    if (columnIsNull(col)) return 0;
    return std::strtoll(m_row[static_cast<size_t>(col)].text.c_str(), nullptr, 10);
}

void OdbcStatement::columnText(int col, std::string& out) {
    if (columnIsNull(col))
        out.clear();
    else
        out = m_row[static_cast<size_t>(col)].text;
}

long long OdbcStatement::changes() {
    return m_changes;
}

void OdbcStatement::release() {
    m_session->giveBackStatement(m_sql, m_stmt);
    m_stmt = SQL_NULL_HSTMT;
    delete this;
}

}  // namespace odbc
}  // namespace dbl
