#include "platform/db/odbc/OdbcSession.h"

#include "platform/trace/EvDebug.h"

namespace dbl {
namespace odbc {

namespace {
// Enough for every statement shape of the library once literals are parameters.
constexpr size_t kMaxCachedStatements = 128;
}  // namespace

Session::Session(SQLHDBC dbc, Dialect dialect, std::string dbmsName)
    : m_dbc(dbc),
      m_dialect(dialect),
      m_dbmsName(std::move(dbmsName)),
      m_wideText(dialect == Dialect::SqlServer) {}

Session::~Session() {
    for (auto& entry : m_cache)
        for (SQLHSTMT stmt : entry.second) SQLFreeHandle(SQL_HANDLE_STMT, stmt);
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
    fresh = true;
    return stmt;
}

void Session::giveBackStatement(const std::string& sql, SQLHSTMT stmt) {
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

}  // namespace odbc
}  // namespace dbl
