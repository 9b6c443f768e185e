#pragma once
// A fresh schema of this process's own on the private server for each test, a connection working in
// it, and helpers to run statements through the backend boundary.
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "odbc/PgServer.h"
#include "platform/db/Backend.h"
#include "platform/db/odbc/OdbcConnection.h"

using Row = std::vector<std::optional<std::string>>;

class OdbcTest : public ::testing::Test {
  protected:
    void SetUp() override {
        PG_REQUIRE_SERVER();
        m_lock = std::make_unique<pgtest::ServerLock>(exclusiveServer());
        schema = "taskdb_o" + std::to_string(getpid());
        dbl::Error err;
        m_admin = dbl::connectOdbc(pgtest::baseUrl(), err);
        ASSERT_NE(m_admin, nullptr) << err.text;
        ASSERT_EQ(m_admin->executeNative("DROP SCHEMA IF EXISTS " + schema + " CASCADE", err), 0) << err.text;
        ASSERT_EQ(m_admin->executeNative("CREATE SCHEMA " + schema, err), 0) << err.text;
        url = pgtest::schemaUrl(schema);
        conn = open();
        ASSERT_NE(conn, nullptr);
    }

    void TearDown() override {
        conn.reset();
        dbl::Error err;
        const std::string drop = "DROP SCHEMA IF EXISTS " + schema + " CASCADE";
        if (m_admin && m_admin->executeNative(drop, err) != 0 && m_admin->broken()) {
            m_admin = dbl::connectOdbc(pgtest::baseUrl(), err);  // the server was restarted
            if (m_admin) m_admin->executeNative(drop, err);
        }
        m_admin.reset();
        m_lock.reset();
    }

    // Tests that stop the server say so.
    virtual bool exclusiveServer() const { return false; }

    std::unique_ptr<dbl::Connection> open() {
        dbl::Error err;
        auto c = dbl::connectOdbc(url, err);
        EXPECT_NE(c, nullptr) << err.text;
        return c;
    }

  public:
    static void bindAll(dbl::Statement& st, const std::vector<dbl::Param>& params) {
        int index = 1;
        for (const dbl::Param& p : params) {
            if (p.type == dbl::Param::kInt)
                st.bindInt64(index, p.i);
            else if (p.type == dbl::Param::kText)
                st.bindText(index, p.s);
            else
                st.bindNull(index);
            ++index;
        }
    }

    // Runs `sql` (the library's dialect) on `c` and returns its rows; the step's final code in *rc.
    static std::vector<Row> query(dbl::Connection& c, const std::string& sql, int* rc = nullptr,
                                  dbl::Error* error = nullptr) {
        dbl::Error err;
        std::vector<dbl::Param> params;
        std::vector<Row> rows;
        dbl::StatementPtr st = c.prepare(sql, params, err);
        int code = err.code;
        if (st) {
            bindAll(*st, params);
            while ((code = st->step(err)) == 0) {
                Row row;
                for (int i = 0; i < st->columnCount(); ++i) {
                    if (st->columnIsNull(i)) {
                        row.emplace_back();
                    } else {
                        std::string text;
                        st->columnText(i, text);
                        row.emplace_back(text);
                    }
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

    std::string schema;
    std::string url;
    std::unique_ptr<dbl::Connection> conn;

  private:
    std::unique_ptr<pgtest::ServerLock> m_lock;
    std::unique_ptr<dbl::Connection> m_admin;
};
