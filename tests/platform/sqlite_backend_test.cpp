// The SQLite store: schema set-up and versions, URLs, and the backend beneath the tables (statement
// cache, result codes, error texts, handle lifetime).
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>

#include "PlatformFixture.h"
#include "platform/db/Backend.h"
#include "platform/db/Bind.h"
#include "platform/db/DBcatalog.h"
#include "platform/db/DBconfig.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBschema.h"
#include "platform/db/DBtran.h"

namespace {
dbl::StatementPtr prepare(dbl::Connection& c, const std::string& sql) {
    dbl::Error e;
    std::vector<dbl::Param> params;
    auto st = c.prepare(sql, params, e);
    EXPECT_NE(st, nullptr) << sql << ": " << e.text;
    if (st) dbl::bindParams(*st, params);
    return st;
}
}  // namespace

using SchemaTest = PlatformTest;
using SqliteBackendTest = PlatformTest;

TEST_F(SchemaTest, InitIsIdempotentAndCreatesTheCatalogue) {
    addWidget(1, "keep");
    const long long objects = scalar("SELECT COUNT(*) FROM sqlite_master");
    std::string err;
    EXPECT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(DBinitSchema(url, &err), 0) << err;
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM sqlite_master"), objects);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM Widget"), 1);
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM TaskDB_SchemaInfo"), 1);
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion);

    // Every catalogue table with its columns in order, the pattern association table and its index.
    int count = 0;
    const DBschemaTable* tables = DBcatalogTables(&count);
    for (int i = 0; i < count; ++i) {
        const std::string info = std::string("SELECT name FROM pragma_table_info('") + tables[i].name + "')";
        EXPECT_EQ(scalar("SELECT COUNT(*) FROM (" + info + ")"), tables[i].columnCount) << tables[i].name;
        for (int c = 0; c < tables[i].columnCount; ++c)
            EXPECT_EQ(text(info + " WHERE cid = " + std::to_string(c)), tables[i].columns[c].name);
    }
    EXPECT_EQ(scalar("SELECT COUNT(*) FROM sqlite_master WHERE name = 'IX_TM_PatternAssoc_subTaskId'"), 1);
    // Defaults: 0 for numbers, '' for texts, and the identity is generated.
    exec("INSERT INTO Widget (big) VALUES (5)");
    EXPECT_EQ(text("SELECT id || '|' || note || '|' || stamp FROM Widget WHERE big = 5"), "2||0");
}

TEST_F(SchemaTest, AStoreOfANewerVersionIsRefused) {
    exec("UPDATE TaskDB_SchemaInfo SET version = " + std::to_string(kTaskdbSchemaVersion + 1));
    std::string err;
    EXPECT_EQ(DBinitSchema(url, &err), DB_ERR_SCHEMA_NEWER);
    EXPECT_NE(err.find("newer than this library"), std::string::npos) << err;
    EXPECT_EQ(DBreadSchemaVersion(url, &err), kTaskdbSchemaVersion + 1);

    // The first connection of the process to that store refuses it, with the text for the caller.
    dbconfig::setUrl(url);
    DBtran tran;
    EXPECT_EQ(tran.begin(&err), DB_ERR_SCHEMA_NEWER);
    EXPECT_NE(err.find("schema version " + std::to_string(kTaskdbSchemaVersion + 1)), std::string::npos)
        << err;
    EXPECT_FALSE(tran.active());
}

TEST_F(SchemaTest, UrlsChooseTheStoreAndBadOnesAreExplained) {
    // The URL comes from the override, else the environment, else the default.
    EXPECT_EQ(dbconfig::url(), url);
    const char* saved = std::getenv("TASKDB_URL");
    const std::string keep = saved ? saved : "";
    dbconfig::setUrl("");
    setenv("TASKDB_URL", "sqlite:/tmp/from-env.sqlite", 1);
    EXPECT_EQ(dbconfig::url(), "sqlite:/tmp/from-env.sqlite");
    unsetenv("TASKDB_URL");
    EXPECT_EQ(dbconfig::url(), "sqlite:taskdb.sqlite");
    if (saved) setenv("TASKDB_URL", keep.c_str(), 1);

    // An empty file has no schema yet: version 0 (every fixture initialises one).
    std::string err;
    const std::string other = tempStorePath("other");
    EXPECT_EQ(DBreadSchemaVersion("sqlite:" + other, &err), 0) << err;
    removeStore(other);
    EXPECT_EQ(DBreadSchemaVersion("sqlite:/nonexistent-dir/x.sqlite", &err), -1);
    EXPECT_FALSE(err.empty());
    for (const char* bad : {"nosuch:x", "odbc:Driver={none}"}) {
        dbconfig::setUrl(bad);
        DBtran tran;
        EXPECT_NE(tran.begin(&err), 0) << bad;
        EXPECT_FALSE(err.empty()) << bad;
    }
    dbconfig::setUrl("nosuch:x");
    DBtran tran;
    EXPECT_EQ(tran.begin(&err), DB_ERR_BAD_URL);
    EXPECT_NE(err.find("unknown store URL"), std::string::npos) << err;
}

TEST_F(SqliteBackendTest, CachedStatementsComeBackCleanAndMayOutliveTheirConnection) {
    for (int i = 1; i <= 3; ++i) addWidget(i, "w");
    dbl::Error e;
    auto c = dbl::connect(url, e);
    ASSERT_NE(c, nullptr) << e.text;
    // Two uses of one text at once are the table layer's nested cursors; here, one use after another.
    const std::string sql = "SELECT big FROM Widget WHERE big >= ? ORDER BY big";
    auto a = prepare(*c, sql);
    a->bindInt64(1, 2);
    ASSERT_EQ(a->step(e), 0);
    EXPECT_EQ(a->columnInt64(0), 2);
    a.reset();
    // A statement from the cache carries no parameter of its earlier use (NULL matches nothing).
    EXPECT_EQ(prepare(*c, sql)->step(e), 100);

    // A statement may outlive its connection: the handle stays until the statement is released.
    auto st = prepare(*c, "SELECT name FROM Widget");
    c.reset();
    ASSERT_EQ(st->step(e), 0);
    std::string name;
    st->columnText(0, name);
    EXPECT_EQ(name, "w");
}

TEST_F(SqliteBackendTest, ResultCodesAndTexts) {
    dbl::Error e;
    auto c = dbl::connect(url, e);
    ASSERT_NE(c, nullptr) << e.text;
    auto ins = prepare(*c, "INSERT INTO Widget (id, big) VALUES (7, 1)");
    EXPECT_EQ(ins->step(e), 100);
    EXPECT_EQ(ins->changes(), 1);
    EXPECT_EQ(c->lastIdentity("Widget", "id", e), 7);
    auto dup = prepare(*c, "INSERT INTO Widget (id, big) VALUES (7, 2)");
    EXPECT_EQ(dup->step(e), SQLITE_CONSTRAINT_PRIMARYKEY);  // the extended code
    EXPECT_NE(e.text.find("UNIQUE constraint failed"), std::string::npos) << e.text;
    EXPECT_FALSE(e.connectionLost || c->broken());

    std::vector<dbl::Param> params;
    EXPECT_EQ(c->prepare("SELEC nothing", params, e), nullptr);
    EXPECT_EQ(e.code, SQLITE_ERROR);
    EXPECT_NE(e.text.find("syntax error"), std::string::npos) << e.text;
    EXPECT_NE(c->executeNative("CREATE TABLE Widget (x)", e), 0);
    EXPECT_NE(e.text.find("already exists"), std::string::npos);
}
