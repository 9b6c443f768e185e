#pragma once
// The ODBC backend: a dbl::Connection over unixODBC, for a DSN or a driver connection string.
//
// The server's dialect comes from the driver's SQL_DBMS_NAME: "PostgreSQL" gets the library's SQL
// translated (TOP, READUNCOMMITTED hints, N'' literals, [names]); "Microsoft SQL Server" gets it as it
// is. Literals become parameters either way, so statements that differ only in values share one
// prepared handle from the connection's cache.
//
// Transactions run at READ COMMITTED. A write transaction on PostgreSQL first takes a transaction
// lock on the store (an advisory lock on the schema's name), so writers queue at begin as they do on
// the embedded store and a read-then-write sequence of one operation is never interleaved with
// another writer's: no lost writes and no serialization failures to retry. Readers never wait.
//
// Thread safety: a connection (and its statements) is used by one thread at a time.
#include <memory>
#include <string>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/Dialect.h"
#include "platform/db/odbc/OdbcConnect.h"
#include "platform/db/odbc/OdbcSession.h"

namespace dbl {

namespace odbc {

class OdbcConnection final : public Connection {
  public:
    explicit OdbcConnection(std::shared_ptr<Session> session);
    ~OdbcConnection() override;

    const char* backendName() const override { return "odbc"; }
    int begin(bool write, Error& err) override;
    int commit(Error& err) override;
    int rollback(Error& err) override;
    StatementPtr prepare(const std::string& sql, std::vector<Param>& params, Error& err) override;
    StatementPtr prepareProcedure(const std::string& name, int argCount, Error& err) override;
    int executeNative(const std::string& sql, Error& err) override;
    long long lastIdentity(const std::string& table, const std::string& column, Error& err) override;
    bool broken() const override { return m_session->broken(); }
    // PostgreSQL's schema; none for SQL Server, whose schema belongs to the management server.
    std::unique_ptr<SchemaDdl> schemaDdl() const override;

    Dialect dialect() const override { return m_session->dialect(); }
    const std::string& dbmsName() const { return m_session->dbmsName(); }
    bool inTransaction() const override { return m_session->inTransaction() && !m_session->broken(); }
    Session& session() const { return *m_session; }

  private:
    StatementPtr prepareText(const std::string& sql, Error& err);
    int setAutocommit(bool on, Error& err);
    int endTransaction(SQLSMALLINT completion, Error& err);
    // Runs a statement of this backend's own and reads its first column of the first row.
    int queryOne(const std::string& sql, const std::vector<std::string>& args, std::string& value,
                 Error& err);

    std::shared_ptr<Session> m_session;
};

}  // namespace odbc
}  // namespace dbl
