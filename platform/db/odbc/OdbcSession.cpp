#include "platform/db/odbc/OdbcSession.h"

#include <cctype>

#include "platform/trace/EvDebug.h"

namespace dbl {
namespace odbc {

namespace {
// Enough for every statement shape of the library once literals are parameters.
constexpr size_t kMaxCachedStatements = 128;

// A statement that only reads: it starts with SELECT (procedures on PostgreSQL are SELECTs too).
bool isQuery(const std::string& sql) {
    size_t i = sql.find_first_not_of(" \t\r\n(");
    if (i == std::string::npos || sql.size() - i < 6) return false;
    for (size_t k = 0; k < 6; ++k)
        if (std::toupper(static_cast<unsigned char>(sql[i + k])) != "SELECT"[k]) return false;
    return true;
}
}  // namespace

Session::Session(SQLHDBC dbc, Dialect dialect, std::string dbmsName, std::string connection)
    : m_dbc(dbc),
      m_connection(std::move(connection)),
      m_dialect(dialect),
      m_dbmsName(std::move(dbmsName)),
      m_wideText(dialect == Dialect::SqlServer) {}

void Session::freeCache() {
    for (auto& entry : m_cache)
        for (SQLHSTMT stmt : entry.second) SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    m_cache.clear();
    m_cached = 0;
}

Session::~Session() {
    freeCache();
    // An open transaction is rolled back by the server when the session ends.
    SQLDisconnect(m_dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, m_dbc);
}

int Session::failBroken(Error& err) const {
    err = m_lost;
    err.connectionLost = true;
    return err.code;
}

int Session::fail(SQLSMALLINT handleType, SQLHANDLE handle, Error& err) {
    failFrom(handleType, handle, codes(), err);
    noteFailure(err);
    return err.code;
}

void Session::noteFailure(Error& err) {
    if (m_broken) return;
    if (!err.connectionLost) {
        SQLUINTEGER dead = SQL_CD_FALSE;
        if (succeeded(SQLGetConnectAttr(m_dbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
            dead == SQL_CD_TRUE) {
            // The driver noticed the loss in a step of its own (an internal savepoint, say) and
            // reported that step; name the loss instead.
            err.set(sqlstateCode("08S01"), "[08S01] the connection to the database was lost: " + err.text);
            err.connectionLost = true;
        }
    }
    if (!err.connectionLost) return;
    m_broken = true;
    m_lost = err;
    EvDebug::Error("dbl::odbc", "connection to %s lost: %s", m_dbmsName.c_str(), err.text.c_str());
}

SQLHSTMT Session::takeStatement(const std::string& sql, bool& fresh, Error& err) {
    fresh = false;
    auto found = m_cache.find(sql);
    if (found != m_cache.end() && !found->second.empty()) {
        SQLHSTMT stmt = found->second.back();
        found->second.pop_back();
        --m_cached;
        ++m_outstanding;
        return stmt;
    }
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_STMT, m_dbc, &stmt))) {
        fail(SQL_HANDLE_DBC, m_dbc, err);
        return SQL_NULL_HSTMT;
    }
    SQLRETURN rc = SQLPrepare(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())),
                              static_cast<SQLINTEGER>(sql.size()));
    if (!succeeded(rc)) {
        fail(SQL_HANDLE_STMT, stmt, err);
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
        return SQL_NULL_HSTMT;
    }
    ++m_prepared;
    ++m_outstanding;
    fresh = true;
    return stmt;
}

void Session::giveBackStatement(const std::string& sql, SQLHSTMT stmt) {
    if (stmt == SQL_NULL_HSTMT) return;  // lost in a failed reconnect, already freed
    --m_outstanding;
    bool keep = !m_broken && m_cached < kMaxCachedStatements;
    if (keep) {
        keep = succeeded(SQLFreeStmt(stmt, SQL_CLOSE)) && succeeded(SQLFreeStmt(stmt, SQL_RESET_PARAMS));
    }
    if (!keep) {
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
        return;
    }
    m_cache[sql].push_back(stmt);
    ++m_cached;
}

bool Session::reconnectFor(SQLHSTMT& stmt, const std::string& sql, Error& err) {
    // Inside a transaction nothing is committed before the commit, so the loss of its first
    // statement loses nothing. Outside one a query may run again; a write only when the server said
    // that it ended the session, so the statement did nothing.
    const bool ended = err.text.size() > 7 && err.text[0] == '[' && isServerEndedState(err.text.substr(1, 5));
    const bool nothingLost = m_inTransaction ? !m_pendingWork : (ended || isQuery(sql));
    if (!err.connectionLost || !nothingLost || m_outstanding != 1) return false;
    Error e;
    SQLHDBC fresh = SQL_NULL_HDBC;
    Dialect dialect;
    std::string dbms;
    if (openHandle(m_connection, fresh, dialect, dbms, e) != 0) return false;
    // Everything on the old handle goes with it.
    freeCache();
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    stmt = SQL_NULL_HSTMT;
    --m_outstanding;
    SQLDisconnect(m_dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, m_dbc);
    m_dbc = fresh;
    m_broken = false;
    const Error lost = err;
    m_lost = Error();
    if (setUpSession(*this, e) != 0 ||
        (m_inTransaction &&
         !succeeded(SQLSetConnectAttr(
             m_dbc, SQL_ATTR_AUTOCOMMIT,
             reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(SQL_AUTOCOMMIT_OFF)), 0)))) {
        m_broken = true;
        m_lost = lost;
        return false;
    }
    bool prepared = false;
    stmt = takeStatement(sql, prepared, e);
    if (stmt == SQL_NULL_HSTMT) {
        err = e;
        return false;
    }
    EvDebug::Debug("dbl::odbc", "connected to %s again after: %s", m_dbmsName.c_str(), lost.text.c_str());
    return true;
}

}  // namespace odbc
}  // namespace dbl
