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
    // Takes ownership of a connected handle.
    Session(SQLHDBC dbc, Dialect dialect, std::string dbmsName);
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
    SQLHDBC m_dbc;
    Dialect m_dialect;
    std::string m_dbmsName;
    bool m_wideText;
    bool m_broken = false;
    Error m_lost;
    std::unordered_map<std::string, std::vector<SQLHSTMT>> m_cache;
    size_t m_cached = 0;
    int m_prepared = 0;
};

}  // namespace odbc
}  // namespace dbl
