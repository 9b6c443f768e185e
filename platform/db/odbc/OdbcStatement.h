#pragma once
// A prepared ODBC statement behind the backend boundary.
//
// Parameters are kept until the first step(), which binds them with SQLBindParameter (64-bit
// integers as SQL_BIGINT, texts with their exact length, NULL by indicator) and executes. Texts
// travel as the UTF-8 bytes they are, or as UTF-16 where the session asks for wide text. Each fetched row is
// read whole with SQLGetData, long texts in pieces, so that a column may be asked for in any order and any
// number of times while the row is current.
//
// Thread safety: one statement is used by one thread at a time (the one holding its connection).
#include <memory>
#include <string>
#include <vector>

#include "platform/db/Backend.h"
#include "platform/db/odbc/OdbcSession.h"

namespace dbl {
namespace odbc {

class OdbcStatement final : public Statement {
  public:
    // Takes the handle, prepared for `sql`; gives it back to `session` on release().
    OdbcStatement(std::shared_ptr<Session> session, SQLHSTMT stmt, std::string sql);
    ~OdbcStatement() override;

    void bindNull(int index) override;
    void bindInt64(int index, long long value) override;
    void bindText(int index, const std::string& value) override;
    int step(Error& err) override;
    void reset() override;
    int columnCount() override;
    bool columnIsNull(int col) override;
    long long columnInt64(int col) override;
    void columnText(int col, std::string& out) override;
    long long changes() override;
    void release() override;

  private:
    struct Param {
        enum Kind { kNull, kInt, kText } kind = kNull;
        long long value = 0;
        std::string text;
        std::u16string wide;  // the text as sent to a server that takes wide characters
        SQLLEN indicator = 0;
    };
    struct Column {
        bool null = true;
        std::string text;
    };

    Param& slot(int index);
    int execute(Error& err);
    int bindParams(Error& err);
    // Moves past results without columns (row counts) to the first result set; 100 when none.
    int findResultSet(Error& err);
    int fetchRow(Error& err);
    int readColumn(SQLUSMALLINT number, Column& col, Error& err);
    int fail(Error& err);

    std::shared_ptr<Session> m_session;
    SQLHSTMT m_stmt;
    std::string m_sql;
    std::vector<Param> m_params;
    std::vector<Column> m_row;
    bool m_executed = false;
    bool m_failed = false;  // execution failed: later steps repeat that failure
    Error m_failure;
    bool m_done = false;
    bool m_hasRow = false;
    int m_columns = 0;
    long long m_changes = 0;
};

}  // namespace odbc
}  // namespace dbl
