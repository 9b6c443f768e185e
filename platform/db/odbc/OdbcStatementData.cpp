// The values of a statement: its parameters bound for the driver, and the columns of a fetched row
// read from it in pieces.
#include <algorithm>

#include "platform/db/odbc/OdbcStatement.h"
#include "platform/db/odbc/Utf16.h"

namespace dbl {
namespace odbc {

namespace {
// First piece read of a column; longer values are read on in one more call of their exact size.
constexpr size_t kFirstPiece = 512;
// Longer texts are sent as long character data (SQL Server's varchar limit).
constexpr size_t kLongText = 8000;
constexpr size_t kLongWideText = 4000;
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the driver manager's wide characters are UTF-16 units");
}  // namespace

int OdbcStatement::bindParams(Error& err) {
    if (!succeeded(SQLFreeStmt(m_stmt, SQL_RESET_PARAMS))) return fail(err);
    for (size_t i = 0; i < m_params.size(); ++i) {
        Param& p = m_params[i];
        SQLUSMALLINT number = static_cast<SQLUSMALLINT>(i + 1);
        SQLRETURN rc;
        if (p.kind == Param::kInt) {
            p.indicator = 0;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_SBIGINT, SQL_BIGINT, 0, 0, &p.value,
                                  0, &p.indicator);
        } else if (p.kind == Param::kText && m_session->wideText()) {
            p.wide = utf8ToUtf16(p.text);
            size_t units = p.wide.size();
            p.indicator = static_cast<SQLLEN>(units * sizeof(char16_t));
            SQLSMALLINT type = units > kLongWideText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_WCHAR, type,
                                  std::max<size_t>(units, 1), 0, &p.wide[0], p.indicator, &p.indicator);
        } else {
            bool null = p.kind == Param::kNull;
            size_t length = null ? 0 : p.text.size();
            p.indicator = null ? SQL_NULL_DATA : static_cast<SQLLEN>(length);
            SQLSMALLINT type = length > kLongText ? SQL_LONGVARCHAR : SQL_VARCHAR;
            rc = SQLBindParameter(m_stmt, number, SQL_PARAM_INPUT, SQL_C_CHAR, type,
                                  std::max<size_t>(length, 1), 0, &p.text[0], static_cast<SQLLEN>(length),
                                  &p.indicator);
        }
        if (!succeeded(rc)) return fail(err);
    }
    return 0;
}

namespace {
// Reads a column's value in pieces into `s` (characters of type Char, as `cType` delivers them).
// Returns SQL_SUCCESS with `null` set, or the failing call's return code.
template <class Char>
SQLRETURN readPieces(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT cType, std::basic_string<Char>& s,
                     bool& null) {
    s.resize(kFirstPiece);
    size_t have = 0;
    null = false;
    for (;;) {
        SQLLEN indicator = 0;
        size_t room = s.size() - have;  // characters, with the terminator the driver writes
        SQLRETURN rc =
            SQLGetData(stmt, number, cType, &s[have], static_cast<SQLLEN>(room * sizeof(Char)), &indicator);
        if (rc == SQL_NO_DATA) break;
        if (!succeeded(rc)) return rc;
        if (indicator == SQL_NULL_DATA) {
            null = true;
            s.clear();
            return SQL_SUCCESS;
        }
        size_t left = indicator == SQL_NO_TOTAL ? 0 : static_cast<size_t>(indicator) / sizeof(Char);
        if (indicator != SQL_NO_TOTAL && left < room) {
            have += left;
            break;
        }
        // Truncated: room - 1 characters arrived; `indicator` counted what was left before this call.
        have += room - 1;
        size_t rest = indicator == SQL_NO_TOTAL ? s.size() : left - (room - 1);
        s.resize(have + rest + 1);
    }
    s.resize(have);
    return SQL_SUCCESS;
}
}  // namespace

int OdbcStatement::readColumn(SQLUSMALLINT number, Column& col, Error& err) {
    SQLRETURN rc;
    if (m_session->wideText()) {
        std::u16string wide;
        rc = readPieces(m_stmt, number, SQL_C_WCHAR, wide, col.null);
        col.text = utf16ToUtf8(wide.data(), wide.size());
    } else {
        rc = readPieces(m_stmt, number, SQL_C_CHAR, col.text, col.null);
    }
    return succeeded(rc) ? 0 : fail(err);
}

}  // namespace odbc
}  // namespace dbl
