// The SQLite backend beneath the tables: statement cache, result codes, error texts, handle lifetime.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>

#include "PlatformFixture.h"
#include "platform/db/Backend.h"
#include "platform/db/Bind.h"
#include "platform/db/DBconfig.h"

namespace {
std::unique_ptr<dbl::Connection> open(const std::string& url) {
    dbl::Error e;
    auto c = dbl::connect(url, e);
    EXPECT_NE(c, nullptr) << e.text;
    return c;
}
dbl::StatementPtr prepare(dbl::Connection& c, const std::string& sql) {
    dbl::Error e;
    std::vector<dbl::Param> params;
    auto st = c.prepare(sql, params, e);
    EXPECT_NE(st, nullptr) << sql << ": " << e.text;
    if (st) dbl::bindParams(*st, params);
    return st;
}
}  // namespace

using SqliteBackendTest = PlatformTest;

TEST_F(SqliteBackendTest, CachedStatementsAreNeverSharedAndComeBackClean) {
    for (int i = 1; i <= 3; ++i) addWidget(i, "w");
    auto c = open(url);
    ASSERT_NE(c, nullptr);
    const std::string sql = "SELECT big FROM Widget WHERE big >= ? ORDER BY big";
    dbl::Error e;
    // Two uses of one text at once step independently.
    auto a = prepare(*c, sql);
    auto b = prepare(*c, sql);
    a->bindInt64(1, 1);
    b->bindInt64(1, 2);
    ASSERT_EQ(a->step(e), 0);
    ASSERT_EQ(b->step(e), 0);
    EXPECT_EQ(a->columnInt64(0), 1);
    EXPECT_EQ(b->columnInt64(0), 2);
    ASSERT_EQ(a->step(e), 0);
    EXPECT_EQ(a->columnInt64(0), 2);
    a.reset();
    b.reset();
    // A statement from the cache carries no parameter of its earlier use (NULL matches nothing).
    auto again = prepare(*c, sql);
    EXPECT_EQ(again->step(e), 100);
}

TEST_F(SqliteBackendTest, ResultCodesAndTexts) {
    auto c = open(url);
    ASSERT_NE(c, nullptr);
    dbl::Error e;
    auto ins = prepare(*c, "INSERT INTO Widget (id, big) VALUES (7, 1)");
    EXPECT_EQ(ins->step(e), 100);
    EXPECT_EQ(ins->changes(), 1);
    EXPECT_EQ(c->lastIdentity("Widget", "id", e), 7);
    ins.reset();
    auto dup = prepare(*c, "INSERT INTO Widget (id, big) VALUES (7, 2)");
    EXPECT_EQ(dup->step(e), SQLITE_CONSTRAINT_PRIMARYKEY);  // the extended code
    EXPECT_NE(e.text.find("UNIQUE constraint failed"), std::string::npos) << e.text;
    EXPECT_FALSE(e.connectionLost);
    EXPECT_FALSE(c->broken());
    dup.reset();

    std::vector<dbl::Param> params;
    EXPECT_EQ(c->prepare("SELEC nothing", params, e), nullptr);
    EXPECT_EQ(e.code, SQLITE_ERROR);
    EXPECT_NE(e.text.find("syntax error"), std::string::npos) << e.text;

    EXPECT_EQ(c->executeNative("CREATE TABLE a (x); CREATE TABLE b (y)", e), 0) << e.text;
    EXPECT_NE(c->executeNative("CREATE TABLE a (x)", e), 0);
    EXPECT_NE(e.text.find("already exists"), std::string::npos);

    // WAL lets readers and a writer work at once.
    auto mode = prepare(*c, "PRAGMA journal_mode");
    ASSERT_EQ(mode->step(e), 0);
    std::string text;
    mode->columnText(0, text);
    EXPECT_EQ(text, "wal");
}

TEST_F(SqliteBackendTest, AStatementMayOutliveItsConnection) {
    addWidget(1, "w");
    auto c = open(url);
    ASSERT_NE(c, nullptr);
    auto st = prepare(*c, "SELECT name FROM Widget");
    c.reset();  // the handle stays until the statement is released
    dbl::Error e;
    ASSERT_EQ(st->step(e), 0);
    std::string name;
    st->columnText(0, name);
    EXPECT_EQ(name, "w");
    st.reset();
}

TEST_F(SqliteBackendTest, TheUrlComesFromTheOverrideTheEnvironmentOrTheDefault) {
    EXPECT_EQ(dbconfig::url(), url);
    const char* saved = std::getenv("TASKDB_URL");
    const std::string keep = saved ? saved : "";
    dbconfig::setUrl("");
    setenv("TASKDB_URL", "sqlite:/tmp/from-env.sqlite", 1);
    EXPECT_EQ(dbconfig::url(), "sqlite:/tmp/from-env.sqlite");
    unsetenv("TASKDB_URL");
    EXPECT_EQ(dbconfig::url(), "sqlite:taskdb.sqlite");
    if (saved) setenv("TASKDB_URL", keep.c_str(), 1);
    dbconfig::setUrl(url);
}
