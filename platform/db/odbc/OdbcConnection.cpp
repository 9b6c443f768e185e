#include "platform/db/odbc/OdbcConnection.h"

#include <cctype>

#include "platform/db/DBerrors.h"
#include "platform/db/odbc/OdbcStatement.h"
#include "platform/db/odbc/PostgresDdl.h"
#include "platform/db/odbc/PostgresMarkers.h"

namespace dbl {
namespace odbc {

namespace {
// Writers of one store queue on this lock; it is released by the server at commit or rollback.
const char* const kPostgresWriteLock =
    "SELECT pg_advisory_xact_lock(hashtext('taskdb:' || current_schema()))";

bool isIdentifier(const std::string& name) {
    if (name.empty()) return false;
    for (char c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    return true;
}

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}
}  // namespace

OdbcConnection::OdbcConnection(std::shared_ptr<Session> session) : m_session(std::move(session)) {}

OdbcConnection::~OdbcConnection() {
    if (m_session->inTransaction() && !m_session->broken()) {
        Error ignored;
        endTransaction(SQL_ROLLBACK, ignored);
    }
}

int OdbcConnection::setAutocommit(bool on, Error& err) {
    SQLPOINTER value =
        reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF));
    if (!succeeded(SQLSetConnectAttr(m_session->dbc(), SQL_ATTR_AUTOCOMMIT, value, 0)))
        return m_session->fail(SQL_HANDLE_DBC, m_session->dbc(), err);
    return 0;
}

int OdbcConnection::begin(bool write, Error& err) {
    if (m_session->broken()) return m_session->failBroken(err);
    if (m_session->inTransaction()) {
        err.set(sqlstateCode("25001"), "[25001] a transaction is already active on this connection");
        return err.code;
    }
    if (int rc = setAutocommit(false, err)) return rc;
    m_session->setInTransaction(true);
    if (write && dialect() == Dialect::Postgres) {
        std::string ignored;
        if (int rc = queryOne(kPostgresWriteLock, {}, ignored, err)) {
            Error rollbackErr;
            endTransaction(SQL_ROLLBACK, rollbackErr);
            return rc;
        }
    }
    return 0;
}

int OdbcConnection::endTransaction(SQLSMALLINT completion, Error& err) {
    if (!succeeded(SQLEndTran(SQL_HANDLE_DBC, m_session->dbc(), completion)))
        return m_session->fail(SQL_HANDLE_DBC, m_session->dbc(), err);
    m_session->setInTransaction(false);
    return setAutocommit(true, err);
}

int OdbcConnection::commit(Error& err) {
    if (m_session->broken()) {
        m_session->setInTransaction(false);
        return m_session->failBroken(err);
    }
    if (!m_session->inTransaction()) return 0;
    // A failed commit leaves the transaction open, so that the caller can roll it back.
    return endTransaction(SQL_COMMIT, err);
}

int OdbcConnection::rollback(Error& err) {
    if (m_session->broken()) {
        m_session->setInTransaction(false);
        return m_session->failBroken(err);
    }
    if (!m_session->inTransaction()) return 0;
    int rc = endTransaction(SQL_ROLLBACK, err);
    m_session->setInTransaction(false);
    return rc;
}

StatementPtr OdbcConnection::prepareText(const std::string& sql, Error& err) {
    if (m_session->broken()) {
        m_session->failBroken(err);
        return nullptr;
    }
    bool fresh = false;
    SQLHSTMT stmt = m_session->takeStatement(sql, fresh, err);
    if (stmt == SQL_NULL_HSTMT) return nullptr;
    return StatementPtr(new OdbcStatement(m_session, stmt, sql));
}

StatementPtr OdbcConnection::prepare(const std::string& sql, std::vector<Param>& params, Error& err) {
    params.clear();
    std::string translated, problem;
    if (!translate(sql, dialect(), true, translated, params, problem)) {
        err.set(DB_ERR_SQL_TEXT, "cannot read the statement: " + problem);
        return nullptr;
    }
    if (dialect() == Dialect::Postgres) translated = typeLiteralMarkers(translated, params);
    return prepareText(translated, err);
}

StatementPtr OdbcConnection::prepareProcedure(const std::string& name, int argCount, Error& err) {
    if (!isIdentifier(name) || argCount < 0) {
        err.set(sqlstateCode("42602"), "[42602] invalid procedure name '" + name + "'");
        return nullptr;
    }
    std::string marks;
    for (int i = 0; i < argCount; ++i) marks += i ? ", ?" : "?";
    // The procedures are server functions on PostgreSQL (created with the schema) and stored
    // procedures on SQL Server.
    if (dialect() == Dialect::Postgres) return prepareText("SELECT * FROM " + name + "(" + marks + ")", err);
    return prepareText("{CALL " + name + "(" + marks + ")}", err);
}

int OdbcConnection::executeNative(const std::string& sql, Error& err) {
    if (m_session->broken()) return m_session->failBroken(err);
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (!succeeded(SQLAllocHandle(SQL_HANDLE_STMT, m_session->dbc(), &stmt)))
        return m_session->fail(SQL_HANDLE_DBC, m_session->dbc(), err);
    int code = 0;
    SQLRETURN rc = SQLExecDirect(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())),
                                 static_cast<SQLINTEGER>(sql.size()));
    while (code == 0 && rc != SQL_NO_DATA) {
        if (!succeeded(rc)) {
            code = m_session->fail(SQL_HANDLE_STMT, stmt, err);
            break;
        }
        rc = SQLMoreResults(stmt);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return code;
}

int OdbcConnection::queryOne(const std::string& sql, const std::vector<std::string>& args, std::string& value,
                             Error& err) {
    StatementPtr st = prepareText(sql, err);
    if (!st) return err.code;
    for (size_t i = 0; i < args.size(); ++i) st->bindText(static_cast<int>(i) + 1, args[i]);
    int rc = st->step(err);
    if (rc == 0) st->columnText(0, value);
    return rc;
}

long long OdbcConnection::lastIdentity(const std::string& table, const std::string& column, Error& err) {
    std::string value;
    int rc;
    if (dialect() == Dialect::Postgres) {
        // Unquoted names are folded to lower case by the server, and so the names of their sequences.
        rc = queryOne("SELECT currval(pg_get_serial_sequence(?, ?))", {lower(table), lower(column)}, value,
                      err);
    } else {
        // SCOPE_IDENTITY() would be NULL here: the insert ran in a batch of its own.
        rc = queryOne("SELECT CAST(@@IDENTITY AS BIGINT)", {}, value, err);
    }
    if (rc == 100) err.set(sqlstateCode("55000"), "[55000] no identity value was generated for " + table);
    if (rc != 0) return -1;
    return std::strtoll(value.c_str(), nullptr, 10);
}

std::unique_ptr<SchemaDdl> OdbcConnection::schemaDdl() const {
    if (dialect() == Dialect::Postgres) return makePostgresDdl();
    return nullptr;
}

}  // namespace odbc
}  // namespace dbl
