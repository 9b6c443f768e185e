#include "platform/db/odbc/OdbcStatement.h"

#include "platform/db/odbc/Utf16.h"

#include <algorithm>
#include <cstdlib>

namespace dbl {
namespace odbc {

namespace {
// First piece read of a column; longer values are read on in one more call of their exact size.
constexpr size_t kFirstPiece = 512;
// Longer texts are sent as long character data (SQL Server's varchar limit).
constexpr size_t kLongText = 8000;
constexpr size_t kLongWideText = 4000;
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the driver manager's wide characters are UTF-16 units");
}  // namespace

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

int OdbcStatement::bindParams(Error& err) {
    if (!succeeded(SQLFreeStmt(m_stmt, SQL_RESET_PARAMS))) return fail(err);
    for (size_t i = 0; i < m_params.size(); ++i) {
        Param& p = m_params[i];
        SQLUSMALLINT number = static_cast<SQLUSMALLINT>(i + 1);
        SQLRETURN rc;
        if (p.kind == Param::kInt) {
            p.indicator = 0;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_BIGINT, 0, 0, &p.value,
                                  0, &p.indicator);
        } else if (p.kind == Param::kText && m_session->wideText()) {
            p.wide = utf8ToUtf16(p.text);
            size_t units = p.wide.size();
            p.indicator = static_cast<SQLLEN>(units * sizeof(char16_t));
            SQLSMALLINT type = units > kLongWideText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_WCHAR, type,
                                  std::max<size_t>(units, 1), 0, &p.wide[0], p.indicator, &p.indicator);
        } else {
            bool null = p.kind == Param::kNull;
            size_t length = null ? 0 : p.text.size();
            p.indicator = null ? SQL_NULL_DATA : static_cast<SQLLEN>(length);
            SQLSMALLINT type = length > kLongText ? SQL_LONGVARCHAR : SQL_VARCHAR;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_CHAR, type,
                                  std::max<size_t>(length, 1), 0, &p.text[0], static_cast<SQLLEN>(length),
                                  &p.indicator);
        }
        if (!succeeded(rc)) return fail(err);
    }
    return 0;
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

namespace {
// Reads a column's value in pieces into `s` (characters of type Char, as `cType` delivers them).
// Returns SQL_SUCCESS with `null` set, or the failing call's return code.
template <class Char>
SQLRETURN readPieces(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, std::basic_string<Char>& s,
                     bool& null) {
    s.resize(kFirstPiece);
    size_t have = 0;
    null = false;
    for (;;) {
        SQLLEN indicator = 0;
        size_t room = s.size() - have;  // characters, with the terminator the driver writes
        SQLRETURN rc =
            SQLGetData(stmt, number, cType, &s[have], static_cast<SQLLEN>(room * sizeof(Char)), &indicator);
        if (rc == SQL_NO_DATA) break;
        if (!succeeded(rc)) return rc;
        if (indicator == SQL_NULL_DATA) {
            null = true;
            s.clear();
            return SQL_SUCCESS;
        }
        size_t left = indicator == SQL_NO_TOTAL ? 0 : static_cast<size_t>(indicator) / sizeof(Char);
        if (indicator != SQL_NO_TOTAL && left < room) {
            have += left;
            break;
        }
        // Truncated: room - 1 characters arrived; `indicator` counted what was left before this call.
        have += room - 1;
        size_t rest = indicator == SQL_NO_TOTAL ? s.size() : left - (room - 1);
        s.resize(have + rest + 1);
    }
    s.resize(have);
    return SQL_SUCCESS;
}
}  // namespace

int OdbcStatement::readColumn(SQLUSMALLINT number, Column& col, Error& err) {
    SQLRETURN rc;
    if (m_session->wideText()) {
        std::u16string wide;
        rc = readPieces(m_stmt, number, SQL_C_WCHAR, wide, col.null);
        col.text = utf16ToUtf8(wide.data(), wide.size());
    } else {
        rc = readPieces(m_stmt, number, SQL_C_CHAR, col.text, col.null);
    }
    return succeeded(rc) ? 0 : fail(err);
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
