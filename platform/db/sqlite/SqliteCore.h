#pragma once
// Internals of the SQLite backend: the shared database handle with its statement cache, the one
// funnel through which every failing native call is checked, and the statement class.
//
// The handle lives in a SqliteCore shared by the connection and every statement it handed out, so a
// statement released after its connection was closed finalizes itself instead of touching freed
// memory. A core and its statements are used by one thread at a time (the connection's owner).
#include <sqlite3.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/db/Backend.h"

namespace dbl {
namespace sqlite {

class SqliteCore : public std::enable_shared_from_this<SqliteCore> {
  public:
    explicit SqliteCore(sqlite3* db) : m_db(db) {}
    ~SqliteCore();
    SqliteCore(const SqliteCore&) = delete;
    SqliteCore& operator=(const SqliteCore&) = delete;

    sqlite3* db() const { return m_db; }
    bool broken() const { return m_broken; }
    // The connection object is gone: released statements are finalized, not cached.
    void detach() { m_detached = true; }

    // Every native call that can fail passes its result through here: SQLITE_OK, SQLITE_ROW and
    // SQLITE_DONE come back as they are; anything else is traced, put into `err` (the extended code,
    // never 0 or 100, with sqlite3_errmsg's text) and, for the codes after which the handle cannot
    // be trusted, marks the connection broken.
    int check(int rc, const char* what, Error& err);

    // Prepares `sql`, which must hold exactly one statement. Null with err set otherwise.
    sqlite3_stmt* prepareOne(const std::string& sql, Error& err);
    // A statement for `key`, from the cache or prepared from `sql` (which is the key itself for the
    // library's translated statements). Null with err set on failure.
    StatementPtr statement(const std::string& key, const std::string& sql, Error& err);
    // Takes a statement back: reset, cleared and cached for its key, or finalized.
    void recycle(const std::string& key, sqlite3_stmt* stmt);
    // A kept statement of template `id` (dbl::templateId), or null when none is idle.
    StatementPtr keptTemplate(int id);
    // A new statement of template `id` from `sql`, already in SQLite's dialect. Null with err set on
    // failure.
    StatementPtr templateStatement(int id, const std::string& sql, Error& err);
    // Takes a template's statement back: reset, cleared and kept under its id, or finalized.
    void recycleTemplate(int id, sqlite3_stmt* stmt);
    // Runs one statement without parameters or result rows (BEGIN, COMMIT, ...), cached by its text.
    int run(const char* sql, Error& err);
    // The transaction statements, each kept prepared on its own and run without any look-up.
    enum Control { kBeginRead, kBeginWrite, kCommit, kRollback, kControlCount };
    int control(Control which, Error& err);

  private:
    sqlite3* m_db;
    bool m_broken = false;
    bool m_detached = false;
    std::unordered_map<std::string, std::vector<sqlite3_stmt*>> m_idle;
    size_t m_idleCount = 0;
    std::vector<std::vector<sqlite3_stmt*>> m_templates;  // by template id
    sqlite3_stmt* m_control[kControlCount] = {};
};

class SqliteStatement : public Statement {
  public:
    SqliteStatement(std::shared_ptr<SqliteCore> core, sqlite3_stmt* stmt, std::string key)
        : m_core(std::move(core)), m_stmt(stmt), m_key(std::move(key)) {}
    // A statement of template `templateId`.
    SqliteStatement(std::shared_ptr<SqliteCore> core, sqlite3_stmt* stmt, int templateId)
        : m_core(std::move(core)), m_stmt(stmt), m_template(templateId) {}
    void bindNull(int index) override;
    void bindInt64(int index, long long value) override;
    void bindText(int index, const std::string& value) override;
    int step(Error& err) override;
    void reset() override;
    int columnCount() override;
    bool columnIsNull(int col) override;
    long long columnInt64(int col) override;
    void columnText(int col, std::string& out) override;
    bool readInt64(int col, long long& out) override;
    bool readText(int col, std::string& out) override;
    bool readChars(int col, char* buffer, size_t room, size_t& length) override;
    long long changes() override { return m_changes; }
    void release() override;

  private:
    void bound(int rc, const char* what);

    std::shared_ptr<SqliteCore> m_core;
    sqlite3_stmt* m_stmt;
    std::string m_key;
    int m_template = -1;  // >= 0: kept by template id instead of by key
    long long m_changes = 0;
    Error m_bindError;  // a failed bind is reported by the next step
};

// Registers the functions that the platform's procedures use (bit_or). 0 or the failure's code.
int registerFunctions(SqliteCore& core, Error& err);
// The management server's functions that the job statistics query calls (JobFunctions.cpp).
int registerJobFunctions(SqliteCore& core, Error& err);

}  // namespace sqlite
}  // namespace dbl
