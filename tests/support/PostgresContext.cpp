// The store tests' PostgreSQL backend: the server database named by TASKDB_TEST_PG_URL (see
// scripts/with-postgres.sh). Each test process works in a schema of its own (taskdb_p<pid>), so test
// programs may run side by side on one server; each test starts from empty tables.
#ifdef TASKDB_WITH_ODBC

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <mutex>

#include "platform/db/Backend.h"
#include "platform/db/DBschema.h"
#include "platform/db/odbc/OdbcConnection.h"
#include "support/TestStore.h"

namespace {

std::string schemaName() {
    return "taskdb_p" + std::to_string(getpid());
}

// Connections of this process's schema find their tables first on the search path.
std::string storeUrl() {
    return postgresSchemaUrl(schemaName());
}

// The context's own connection, kept across tests; opened again after the server went away. Never
// destroyed by static destruction, so that the exit handler dropping the schema can still use it.
std::unique_ptr<dbl::Connection>& adminConnection() {
    static auto* conn = new std::unique_ptr<dbl::Connection>;
    return *conn;
}

int runAdmin(const std::string& sql, std::string& text) {
    std::unique_ptr<dbl::Connection>& conn = adminConnection();
    dbl::Error err;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!conn || conn->broken()) conn = dbl::connectOdbc(storeUrl(), err);
        if (!conn) break;
        if (conn->executeNative(sql, err) == 0) return 0;
        if (!conn->broken()) break;
    }
    text = err.text;
    return err.code ? err.code : -1;
}

void dropSchema() {
    std::string ignored;
    runAdmin("DROP SCHEMA IF EXISTS " + schemaName() + " CASCADE", ignored);
    adminConnection().reset();
}

// Empties every table of this process's schema but the recorded version and restarts the
// identities, in one round trip. A test leaves few rows, so deleting them is several times faster
// than TRUNCATE, which makes new files for every table.
const char* const kEmptyTables =
    "DO $$ DECLARE r record; BEGIN "
    "FOR r IN SELECT tablename FROM pg_tables WHERE schemaname = current_schema() "
    "AND tablename <> 'taskdb_schemainfo' LOOP EXECUTE 'DELETE FROM ' || quote_ident(r.tablename); END LOOP; "
    "PERFORM setval(s.oid::regclass, 1, false) FROM pg_class s JOIN pg_namespace n ON n.oid = s.relnamespace "
    "WHERE s.relkind = 'S' AND n.nspname = current_schema(); END $$";

class PostgresContext : public BackendContext {
  public:
    PostgresContext() {
        // Tests that stop the server take this lock exclusively; others share it while they run.
        if (const char* path = std::getenv("TASKDB_TEST_PG_LOCK")) {
            m_lock = open(path, O_RDONLY | O_CLOEXEC);
            if (m_lock >= 0) flock(m_lock, LOCK_SH);
        }
    }
    ~PostgresContext() override {
        if (m_lock >= 0) close(m_lock);
    }

    // The first test of the process gets a new schema made by DBinitSchema; later tests find the
    // same objects and only their rows are removed (one statement instead of the whole schema's
    // DDL, which keeps a test's start well under 100 ms).
    std::string prepare() override {
        static bool initialised = false;
        const std::string url = storeUrl();
        std::string text;
        if (initialised) {
            if (runAdmin(kEmptyTables, text) == 0) return url;
            initialised = false;
        }
        static std::once_flag once;
        std::call_once(once, [] { std::atexit(dropSchema); });
        const std::string schema = schemaName();
        if (runAdmin("DROP SCHEMA IF EXISTS " + schema + " CASCADE", text) != 0 ||
            runAdmin("CREATE SCHEMA " + schema, text) != 0) {
            ADD_FAILURE() << "making the PostgreSQL test schema: " << text;
            return url;
        }
        if (DBinitSchema(url, &text) != 0)
            ADD_FAILURE() << "schema: " << text;
        else
            initialised = true;
        return url;
    }

  private:
    int m_lock = -1;
};

}  // namespace

std::unique_ptr<BackendContext> makePostgresContext() {
    if (envText("TASKDB_TEST_PG_URL").empty()) return nullptr;
    return std::make_unique<PostgresContext>();
}

#endif  // TASKDB_WITH_ODBC
