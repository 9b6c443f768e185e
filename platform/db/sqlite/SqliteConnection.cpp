// dbl::Connection over the sqlite3 C API.
#include <unordered_map>

#include "platform/db/DBerrors.h"
#include "platform/db/Dialect.h"
#include "platform/db/sqlite/Procedures.h"
#include "platform/db/sqlite/Sqlite.h"
#include "platform/db/sqlite/SqliteCore.h"

namespace dbl {
namespace sqlite {

namespace {

constexpr int kBusyTimeoutMs = 10000;
// Procedures are cached under a key that no SQL text can have.
constexpr const char* kProcedureKey = "\x01procedure:";

class SqliteConnection : public Connection {
  public:
    explicit SqliteConnection(std::shared_ptr<SqliteCore> core) : m_core(std::move(core)) {}
    ~SqliteConnection() override { m_core->detach(); }

    const char* backendName() const override { return "sqlite"; }
    Dialect dialect() const override { return Dialect::Sqlite; }

    // Writers take the write lock at BEGIN, so that they queue on the busy timeout instead of failing
    // later when a read transaction would have to be upgraded.
    int begin(bool write, Error& err) override {
        return m_core->control(write ? SqliteCore::kBeginWrite : SqliteCore::kBeginRead, err);
    }

    int commit(Error& err) override { return m_core->control(SqliteCore::kCommit, err); }

    int rollback(Error& err) override {
        // SQLite may have rolled back by itself after certain errors.
        if (!inTransaction()) return 0;
        return m_core->control(SqliteCore::kRollback, err);
    }

    bool inTransaction() const override { return !sqlite3_get_autocommit(m_core->db()); }

    StatementPtr prepare(const std::string& sql, std::vector<Param>& params, Error& err) override {
        std::string translated, why;
        if (!translate(sql, Dialect::Sqlite, true, translated, params, why)) {
            err.set(DB_ERR_SQL_TEXT, why);
            return nullptr;
        }
        return m_core->statement(translated, translated, err);
    }

    // Literals stay in the template's text: only its own markers are parameters.
    StatementPtr prepareTemplate(int id, const std::string& sql, Error& err) override {
        if (StatementPtr kept = m_core->keptTemplate(id)) return kept;
        std::string translated, why;
        std::vector<Param> none;
        if (!translate(sql, Dialect::Sqlite, false, translated, none, why)) {
            err.set(DB_ERR_SQL_TEXT, why);
            return nullptr;
        }
        return m_core->templateStatement(id, translated, err);
    }

    StatementPtr prepareProcedure(const std::string& name, int argCount, Error& err) override {
        const Procedure* p = findProcedure(name.c_str());
        if (!p) {
            err.set(DB_ERR_UNKNOWN_PROCEDURE, "unknown stored procedure [" + name + "]");
            return nullptr;
        }
        if (p->argCount != argCount) {
            err.set(DB_ERR_BAD_ARGUMENTS, "stored procedure [" + name + "] takes " +
                                              std::to_string(p->argCount) + " arguments, " +
                                              std::to_string(argCount) + " given");
            return nullptr;
        }
        // Kept like a template under a number of its own, found by the procedure's entry.
        thread_local std::unordered_map<const Procedure*, int> ids;
        auto it = ids.find(p);
        if (it == ids.end()) it = ids.emplace(p, templateId(kProcedureKey + name)).first;
        if (StatementPtr kept = m_core->keptTemplate(it->second)) return kept;
        return m_core->templateStatement(it->second, p->sql, err);
    }

    int executeNative(const std::string& sql, Error& err) override {
        char* message = nullptr;
        int rc = m_core->check(sqlite3_exec(m_core->db(), sql.c_str(), nullptr, nullptr, &message), "execute",
                               err);
        sqlite3_free(message);
        return rc == SQLITE_OK ? 0 : rc;
    }

    long long lastIdentity(const std::string&, const std::string&, Error&) override {
        return sqlite3_last_insert_rowid(m_core->db());
    }

    bool broken() const override { return m_core->broken(); }

    std::unique_ptr<SchemaDdl> schemaDdl() const override { return makeDdl(); }

  private:
    std::shared_ptr<SqliteCore> m_core;
};

}  // namespace

std::unique_ptr<Connection> connect(const std::string& path, Error& err) {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db,
                             SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (!db) {
        err.set(SQLITE_NOMEM, "out of memory opening " + path);
        err.connectionLost = true;
        return nullptr;
    }
    auto core = std::make_shared<SqliteCore>(db);  // closes the handle on every failure below
    if (core->check(rc, "open", err) != SQLITE_OK) {
        err.text += " (" + path + ")";
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    if (core->check(sqlite3_busy_timeout(db, kBusyTimeoutMs), "busy timeout", err) != SQLITE_OK)
        return nullptr;
    // The journal mode answers with a row; run() steps through it.
    if (core->run("PRAGMA journal_mode=WAL", err) != 0) return nullptr;
    if (core->run("PRAGMA foreign_keys=OFF", err) != 0) return nullptr;
    if (core->run("PRAGMA synchronous=NORMAL", err) != 0) return nullptr;
    if (registerFunctions(*core, err) != 0) return nullptr;
    return std::make_unique<SqliteConnection>(std::move(core));
}

}  // namespace sqlite
}  // namespace dbl
