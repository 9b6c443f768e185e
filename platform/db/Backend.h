#pragma once
// The boundary between the database layer and a database backend. Everything above it speaks the
// library's SQL (SQL Server's dialect with '?' parameter markers); a backend translates it for its
// database, prepares, binds, steps and reads columns. Nothing above this boundary knows which
// database is behind it. A connection and its statements are used by one thread at a time; the
// caller owns both (statements through StatementPtr).
#include <memory>
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/db/SchemaDdl.h"

namespace dbl {

// The SQL a connection's database speaks (the library's own is SQL Server's).
enum class Dialect { SqlServer, Sqlite, Postgres };

struct Error {
    int code = 0;
    std::string text;
    bool connectionLost = false;  // the connection cannot be used again
    void set(int c, std::string t) {
        code = c;
        text = std::move(t);
    }
};

class KO_PLATFORM_API Statement {
  public:
    virtual ~Statement() = default;
    // Parameters are numbered from 1; all are cleared by reset().
    virtual void bindNull(int index) = 0;
    virtual void bindInt64(int index, long long value) = 0;
    virtual void bindText(int index, const std::string& value) = 0;
    // 0: a row is ready; 100: no (more) rows; anything else: the backend's error code.
    virtual int step(Error& err) = 0;
    // Ready to run again, with no parameters bound.
    virtual void reset() = 0;
    // Columns are numbered from 0 and valid while step() returned 0.
    virtual int columnCount() = 0;
    virtual bool columnIsNull(int col) = 0;
    virtual long long columnInt64(int col) = 0;
    virtual void columnText(int col, std::string& out) = 0;
    // A column in one call, as fetches read them: false for NULL, else true with the value in `out`.
    // The defaults ask columnIsNull and then for the value.
    virtual bool readInt64(int col, long long& out);
    virtual bool readText(int col, std::string& out);
    // A text column into `buffer` of `room` bytes (room > 0): at most room-1 bytes and a terminating
    // zero; `length` gets the text's full length. False for NULL (buffer untouched).
    virtual bool readChars(int col, char* buffer, size_t room, size_t& length);
    // Rows changed by a statement that has run to completion.
    virtual long long changes() = 0;
    // Gives the statement back to its connection (kept for reuse or destroyed).
    virtual void release() = 0;
};

struct StatementRelease {
    void operator()(Statement* s) const {
        if (s) s->release();
    }
};
using StatementPtr = std::unique_ptr<Statement, StatementRelease>;

// A literal moved out of the SQL text into a parameter.
struct Param {
    enum Type { kNull, kInt, kText } type = kNull;
    long long i = 0;
    std::string s;
};

class KO_PLATFORM_API Connection {
  public:
    virtual ~Connection() = default;
    virtual const char* backendName() const = 0;
    // The database's SQL dialect (cursor bindings choose their statement text by it).
    virtual Dialect dialect() const = 0;
    // Starts a transaction: `write` asks for the write lock at once (so writers queue instead of
    // failing later), otherwise a read transaction.
    virtual int begin(bool write, Error& err) = 0;
    virtual int commit(Error& err) = 0;
    virtual int rollback(Error& err) = 0;
    // False once the database no longer holds the transaction that begin() started: ended, or rolled
    // back by the database itself after a failure (full disk, I/O error, out of memory).
    virtual bool inTransaction() const = 0;
    // `sql` is in the library's dialect. The statement may come from the connection's cache; literals
    // may be moved into `params`, which the caller binds first (parameters of its own follow them, so
    // the caller's own markers must come after every literal in the text). A statement must be
    // released before its connection is given back or destroyed.
    virtual StatementPtr prepare(const std::string& sql, std::vector<Param>& params, Error& err) = 0;
    // A statement template: every value of `sql` is a '?' marker that the caller binds, in order, and
    // the text holds no literal that needs binding. `id` (templateId) names the text for the life of the
    // process, so that a connection can keep the translated, prepared statement under it. Null with
    // err.code 0 when this backend keeps no templates: the caller then sends its full text to prepare().
    virtual StatementPtr prepareTemplate(int id, const std::string& sql, Error& err);
    // A stored procedure taking `argCount` inputs.
    virtual StatementPtr prepareProcedure(const std::string& name, int argCount, Error& err) = 0;
    // SQL in the backend's own dialect, run as it is (schema creation).
    virtual int executeNative(const std::string& sql, Error& err) = 0;
    // The identity value given to the row that this connection inserted last into `table`.
    virtual long long lastIdentity(const std::string& table, const std::string& column, Error& err) = 0;
    // True once the connection is known to be unusable (it is then dropped instead of pooled).
    virtual bool broken() const = 0;
    // How this database creates the reference schema; null when the backend cannot create it.
    // The object is owned by the caller and independent of the connection.
    virtual std::unique_ptr<SchemaDdl> schemaDdl() const { return nullptr; }
};

// The number of a statement template's text, the same for the same text for the life of the process
// (0, 1, 2, ... in order of first use), so that connections can index their prepared templates by it.
// `kept` (when not null) receives the process's own copy of the text, valid for the process's life.
// Thread-safe.
int templateId(const std::string& sql, const std::string** kept = nullptr);

// Opens a connection to `url` ("sqlite:PATH" or "odbc:CONNECTION-STRING"); null with err set on failure.
// The first connection to each store in a process also checks the store's recorded schema version and
// refuses (DB_ERR_SCHEMA_NEWER) a store made by a newer library. Thread-safe.
std::unique_ptr<Connection> connect(const std::string& url, Error& err);

// The ODBC backend (platform/db/odbc): `url` is the whole URL, "odbc:" prefix included. Null with err
// set on failure. Thread-safe. Built with TASKDB_WITH_ODBC; without it an odbc: URL is refused.
std::unique_ptr<Connection> connectOdbc(const std::string& url, Error& err);

// Connections of the configured URL (dbconfig::url()), kept for reuse across transactions.
// acquire: an idle connection of that URL or a new one; null with err set on failure. The caller owns
// the connection until it gives it back, and uses it from one thread at a time.
// giveBack: the caller has ended any transaction on it; keeps the connection for reuse when it is
// healthy and of the URL in force, closes it otherwise. Null is ignored. Both are thread-safe; connections
// inherited across fork() are never handed out in the child.
std::unique_ptr<Connection> acquire(Error& err);
void giveBack(std::unique_ptr<Connection> connection);

}  // namespace dbl
