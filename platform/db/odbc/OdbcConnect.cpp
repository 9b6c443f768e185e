// Opening an ODBC connection: the process-wide environment, the driver connect, and the settings a
// session gets before the database layer uses it.
#include <mutex>

#include "platform/db/odbc/OdbcConnection.h"
#include "platform/db/odbc/OdbcDiag.h"
#include "platform/db/odbc/OdbcSession.h"
#include "platform/trace/EvDebug.h"

namespace dbl {

namespace {

// One environment for the process, made on first use and kept for the process's life.
SQLHENV environment(Error& err) {
    static std::once_flag once;
    static SQLHENV env = SQL_NULL_HENV;
    static Error failure;
    std::call_once(once, [] {
        if (!odbc::succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env))) {
            failure.set(odbc::sqlstateCode("HY001"), "[HY001] cannot allocate the ODBC environment");
            env = SQL_NULL_HENV;
            return;
        }
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    });
    if (env == SQL_NULL_HENV) err = failure;
    return env;
}

std::string infoText(SQLHDBC dbc, SQLUSMALLINT what) {
    char buffer[256] = {};
    SQLSMALLINT length = 0;
    if (!odbc::succeeded(SQLGetInfo(dbc, what, buffer, sizeof buffer, &length))) return "";
    return buffer;
}

// Runs one statement of the session's own set-up; the first column of its first row in `value`.
int setUpQuery(odbc::Session& session, const char* sql, std::string* value, Error& err) {
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (!odbc::succeeded(SQLAllocHandle(SQL_HANDLE_STMT, session.dbc(), &stmt)))
        return session.fail(SQL_HANDLE_DBC, session.dbc(), err);
    int code = 0;
    if (!odbc::succeeded(SQLExecDirect(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS))) {
        code = session.fail(SQL_HANDLE_STMT, stmt, err);
    } else if (value && odbc::succeeded(SQLFetch(stmt))) {
        char buffer[128] = {};
        SQLLEN indicator = 0;
        if (odbc::succeeded(SQLGetData(stmt, 1, SQL_C_CHAR, buffer, sizeof buffer, &indicator)) &&
            indicator != SQL_NULL_DATA)
            *value = buffer;
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return code;
}

int setUpPostgres(odbc::Session& session, Error& err) {
    // A database without an encoding of its own stores any bytes; the driver's UTF-8 client
    // encoding would have the server refuse text that is not UTF-8, so speak the database's.
    std::string encoding;
    // A writer queued behind another's transaction gives up after a while, as on the embedded store,
    // instead of waiting for ever.
    if (int rc = setUpQuery(session, "SET lock_timeout = '10s'", nullptr, err)) return rc;
    if (int rc = setUpQuery(session, "SHOW server_encoding", &encoding, err)) return rc;
    if (encoding == "SQL_ASCII")
        return setUpQuery(session, "SET client_encoding TO 'SQL_ASCII'", nullptr, err);
    return 0;
}

}  // namespace

namespace odbc {

int openHandle(const std::string& connection, SQLHDBC& dbc, Dialect& dialect, std::string& dbms, Error& err) {
    SQLHENV env = environment(err);
    if (env == SQL_NULL_HENV) return err.code;
    dbc = SQL_NULL_HDBC;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc)))
        return failFrom(SQL_HANDLE_ENV, env, NativeCodes::SqlState, err);
    SQLSetConnectAttr(dbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(15)),
                      0);
    SQLRETURN rc = SQLDriverConnect(
        dbc, nullptr, reinterpret_cast<SQLCHAR*>(const_cast<char*>(connection.c_str())),
        static_cast<SQLSMALLINT>(connection.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!succeeded(rc)) {
        failFrom(SQL_HANDLE_DBC, dbc, NativeCodes::SqlState, err);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        dbc = SQL_NULL_HDBC;
        EvDebug::Debug("dbl::odbc", "connect failed: %s", err.text.c_str());
        return err.code;
    }
    dbms = infoText(dbc, SQL_DBMS_NAME);
    if (dbms == "PostgreSQL") {
        dialect = Dialect::Postgres;
    } else if (dbms == "Microsoft SQL Server") {
        dialect = Dialect::SqlServer;
    } else {
        err.set(sqlstateCode("HYC00"), "[HYC00] unsupported database server '" + dbms +
                                           "' (supported: PostgreSQL, Microsoft SQL Server)");
        SQLDisconnect(dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        dbc = SQL_NULL_HDBC;
        return err.code;
    }
    return 0;
}

int setUpSession(Session& session, Error& err) {
    SQLSetConnectAttr(session.dbc(), SQL_ATTR_TXN_ISOLATION,
                      reinterpret_cast<SQLPOINTER>(SQL_TXN_READ_COMMITTED), 0);
    if (session.dialect() == Dialect::Postgres) return setUpPostgres(session, err);
    return 0;
}

}  // namespace odbc

std::unique_ptr<Connection> connectOdbc(const std::string& url, Error& err) {
    static const std::string kPrefix = "odbc:";
    std::string connection = url.compare(0, kPrefix.size(), kPrefix) == 0 ? url.substr(kPrefix.size()) : url;
    SQLHDBC dbc = SQL_NULL_HDBC;
    Dialect dialect;
    std::string dbms;
    if (odbc::openHandle(connection, dbc, dialect, dbms, err) != 0) return nullptr;
    auto session = std::make_shared<odbc::Session>(dbc, dialect, dbms, connection);
    if (odbc::setUpSession(*session, err) != 0) return nullptr;
    EvDebug::DebugLvl(8, "dbl::odbc", "connected to %s %s", dbms.c_str(),
                      infoText(dbc, SQL_DBMS_VER).c_str());
    return std::make_unique<odbc::OdbcConnection>(std::move(session));
}

}  // namespace dbl
