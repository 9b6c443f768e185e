#pragma once
// One ODBC connection handle and what its statements share: the server's dialect, the broken state
// and the cache of prepared statement handles. The connection object and every statement handed out
// hold it, so the handle is disconnected only when the last of them is gone.
//
// Thread safety: none; a session is used by the one thread that holds its connection.
#include <sql.h>
#include <sqlext.h>

#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/Dialect.h"
#include "platform/db/odbc/OdbcDiag.h"

namespace dbl {
namespace odbc {

class Session {
  public:
    // Takes ownership of a connected handle, made from `connection` (kept for reconnecting).
    Session(SQLHDBC dbc, Dialect dialect, std::string dbmsName, std::string connection);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    SQLHDBC dbc() const { return m_dbc; }
    Dialect dialect() const { return m_dialect; }
    const std::string& dbmsName() const { return m_dbmsName; }
    NativeCodes codes() const {
        return m_dialect == Dialect::Postgres ? NativeCodes::SqlState : NativeCodes::Server;
    }

    // Texts go to the driver as UTF-16 (SQL_C_WCHAR) instead of bytes: on SQL Server, where the
    // library's N'' texts belong in Unicode columns and narrow data would pass through a code page.
    // Tests switch it on for PostgreSQL to exercise it.
    bool wideText() const { return m_wideText; }
    void setWideText(bool on) { m_wideText = on; }

    // Once broken, every call fails with the failure that broke it.
    bool broken() const { return m_broken; }
    int failBroken(Error& err) const;
    // Sets `err` from the handle's diagnostic; marks the session broken when the failure (or the
    // driver's dead-connection attribute) says the connection is gone. Returns the code.
    int fail(SQLSMALLINT handleType, SQLHANDLE handle, Error& err);
    // Marks the session broken if `err` is a lost connection (also asks the driver).
    void noteFailure(Error& err);

    // The connection's transaction state, kept here so that a reconnect can restore it.
    bool inTransaction() const { return m_inTransaction; }
    void setInTransaction(bool on) {
        m_inTransaction = on;
        m_pendingWork = false;
    }
    // A statement ran: inside a transaction there is now work that a new connection would lose.
    void noteWork() {
        if (m_inTransaction) m_pendingWork = true;
    }

    // After the connection was lost while nothing would be lost with it (inside a transaction: no
    // statement has run in it yet; outside one: `sql` only reads, or the server said it ended the
    // session, so the statement did nothing), and no other statement is in use: connects again,
    // restores the transaction state and prepares `sql` on the new connection: true with `stmt`
    // replaced. False, with `err` and the session as they were, otherwise.
    bool reconnectFor(SQLHSTMT& stmt, const std::string& sql, Error& err);

    // A prepared handle for `sql` (from the cache or newly prepared); null with `err` set on failure.
    // `fresh` tells whether it was prepared now.
    SQLHSTMT takeStatement(const std::string& sql, bool& fresh, Error& err);
    // A handle that has finished: closed and kept for its text, or freed when the cache is full or
    // the session is broken.
    void giveBackStatement(const std::string& sql, SQLHSTMT stmt);
    // Statements prepared on the server since the session opened (the cache's misses).
    int preparedCount() const { return m_prepared; }
    size_t cachedCount() const { return m_cached; }

  private:
    void freeCache();

    SQLHDBC m_dbc;
    std::string m_connection;
    Dialect m_dialect;
    std::string m_dbmsName;
    bool m_wideText;
    bool m_broken = false;
    Error m_lost;
    std::unordered_map<std::string, std::vector<SQLHSTMT>> m_cache;
    size_t m_cached = 0;
    int m_prepared = 0;
    int m_outstanding = 0;  // handles taken and not given back
    bool m_inTransaction = false;
    bool m_pendingWork = false;
};

// Connects a new handle with a driver connection string and names its server; 0, or the failure's
// code with `err` set (the handle is then freed). Thread-safe.
int openHandle(const std::string& connection, SQLHDBC& dbc, Dialect& dialect, std::string& dbms, Error& err);
// The settings a new session gets before use (isolation, text encoding); 0 or the failure's code.
int setUpSession(Session& session, Error& err);

}  // namespace odbc
}  // namespace dbl
