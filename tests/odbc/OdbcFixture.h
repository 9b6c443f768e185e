#pragma once
// A connection to the private PostgreSQL server of the test run (scripts/with-postgres.sh), in a schema
// of this process's own. Tests hold the server lock shared while they use the server and exclusively
// while they stop and restart it, so that tests of other programs never see it go away.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/Bind.h"
#include "platform/db/odbc/OdbcConnection.h"
#include "support/TestStore.h"

using Row = std::vector<std::optional<std::string>>;

class OdbcTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (envText("TASKDB_TEST_PG_URL").empty())
            GTEST_SKIP() << "TASKDB_TEST_PG_URL is not set: run under scripts/with-postgres.sh";
        if (exclusiveServer() && envText("TASKDB_TEST_PG_CTL").empty())
            GTEST_SKIP() << "TASKDB_TEST_PG_CTL is not set";
        m_lockFd = ::open(envText("TASKDB_TEST_PG_LOCK").c_str(), O_RDONLY | O_CLOEXEC);
        if (m_lockFd >= 0) flock(m_lockFd, exclusiveServer() ? LOCK_EX : LOCK_SH);
        schema = "taskdb_o" + std::to_string(getpid());
        url = postgresSchemaUrl(schema);
        ASSERT_TRUE(onServer("DROP SCHEMA IF EXISTS " + schema + " CASCADE") &&
                    onServer("CREATE SCHEMA " + schema));
        conn = open();
        ASSERT_NE(conn, nullptr);
    }

    void TearDown() override {
        conn.reset();
        if (m_stopped) pgCtl("start");
        if (!schema.empty()) onServer("DROP SCHEMA IF EXISTS " + schema + " CASCADE");
        if (m_lockFd >= 0) ::close(m_lockFd);
    }

    // Tests that stop the server say so.
    virtual bool exclusiveServer() const { return false; }
    bool stopServer() { return m_stopped = pgCtl("stop -m fast"); }
    bool startServer() {
        if (!pgCtl("start")) return false;
        m_stopped = false;
        return true;
    }

    std::unique_ptr<dbl::Connection> open() {
        dbl::Error err;
        auto c = dbl::connectOdbc(url, err);
        EXPECT_NE(c, nullptr) << err.text;
        return c;
    }

  public:
    // Runs `sql` (the library's dialect) on `c` and returns its rows; the step's final code in *rc,
    // else the test fails unless it is no-data.
    static std::vector<Row> query(dbl::Connection& c, const std::string& sql, int* rc = nullptr,
                                  dbl::Error* error = nullptr) {
        dbl::Error err;
        std::vector<dbl::Param> params;
        std::vector<Row> rows;
        dbl::StatementPtr st = c.prepare(sql, params, err);
        int code = err.code;
        if (st) {
            dbl::bindParams(*st, params);
            while ((code = st->step(err)) == 0) {
                Row row;
                for (int i = 0; i < st->columnCount(); ++i) {
                    std::string text;
                    const bool null = st->columnIsNull(i);  // asked before the value, as the store does
                    if (!null) st->columnText(i, text);
                    row.push_back(null ? std::nullopt : std::optional<std::string>(text));
                }
                rows.push_back(row);
            }
        }
        if (rc)
            *rc = code;
        else
            EXPECT_EQ(code, 100) << sql << ": " << err.text;
        if (error) *error = err;
        return rows;
    }

  protected:
    void exec(const std::string& sql) { query(*conn, sql); }
    std::optional<std::string> first(const std::string& sql) {
        auto rows = query(*conn, sql);
        return rows.empty() || rows[0].empty() ? std::nullopt : rows[0][0];
    }

    std::string schema;
    std::string url;
    std::unique_ptr<dbl::Connection> conn;

  private:
    static bool pgCtl(const std::string& action) {
        return std::system((envText("TASKDB_TEST_PG_CTL") + " " + action + " >/dev/null 2>&1").c_str()) == 0;
    }
    // On a connection of its own, made anew each time since the server may have been restarted.
    bool onServer(const std::string& sql) {
        dbl::Error err;
        auto admin = dbl::connectOdbc(envText("TASKDB_TEST_PG_URL"), err);
        if (admin && admin->executeNative(sql, err) == 0) return true;
        ADD_FAILURE() << sql << ": " << err.text;
        return false;
    }

    int m_lockFd = -1;
    bool m_stopped = false;
};
