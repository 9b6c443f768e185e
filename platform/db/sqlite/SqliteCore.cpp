#include "platform/db/sqlite/SqliteCore.h"

#include <cstring>

#include "platform/db/SqlTokens.h"
#include "platform/trace/EvDebug.h"

namespace dbl {
namespace sqlite {

namespace {
constexpr size_t kMaxIdleStatements = 256;
// Idle statements kept per template: one per cursor a thread holds open on the same text at once.
constexpr size_t kMaxIdlePerTemplate = 4;
constexpr const char* kTrace = "dbl::sqlite";

// Codes after which the handle is not to be reused: the file is gone, damaged or not a database.
bool fatal(int rc) {
    switch (rc & 0xFF) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_IOERR:
        case SQLITE_CANTOPEN:
        case SQLITE_MISUSE:
        case SQLITE_NOMEM:
            return true;
        default:
            return false;
    }
}
// True when what follows a statement is only blanks, semicolons and comments.
bool onlyFiller(const char* tail) {
    if (!tail) return true;
    std::vector<Token> tokens;
    std::string err;
    if (!tokenize(tail, tokens, err)) return false;
    for (const Token& t : tokens)
        if (significant(t) && t.kind != Token::Semicolon) return false;
    return true;
}

}  // namespace

SqliteCore::~SqliteCore() {
    for (auto& entry : m_idle)
        for (sqlite3_stmt* s : entry.second) sqlite3_finalize(s);
    for (auto& idle : m_templates)
        for (sqlite3_stmt* s : idle) sqlite3_finalize(s);
    for (sqlite3_stmt* s : m_control) sqlite3_finalize(s);
    // Statements that SQL functions keep for the connection's life (see JobFunctions.cpp).
    while (sqlite3_stmt* s = sqlite3_next_stmt(m_db, nullptr)) sqlite3_finalize(s);
    sqlite3_close_v2(m_db);
}

int SqliteCore::check(int rc, const char* what, Error& err) {
    if (rc == SQLITE_OK || rc == SQLITE_ROW || rc == SQLITE_DONE) return rc;
    int code = sqlite3_extended_errcode(m_db);
    if (code == SQLITE_OK || (code & 0xFF) != (rc & 0xFF)) code = rc;  // the call's own code wins
    if (code == 0 || code == 100) code = SQLITE_ERROR;
    err.set(code, sqlite3_errmsg(m_db));
    if (fatal(code)) {
        m_broken = true;
        err.connectionLost = true;
    }
    EvDebug::DebugLvl(3, kTrace, "%s failed: [%d] %s", what, code, err.text.c_str());
    return code;
}

sqlite3_stmt* SqliteCore::prepareOne(const std::string& sql, Error& err) {
    sqlite3_stmt* s = nullptr;
    const char* tail = nullptr;
    int rc = check(sqlite3_prepare_v3(m_db, sql.c_str(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &s, &tail),
                   "prepare", err);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(s);
        EvDebug::DebugLvl(5, kTrace, "statement not prepared: %s", sql.c_str());
        return nullptr;
    }
    if (!s) {  // only blanks or comments
        err.set(SQLITE_MISUSE, "empty statement");
        return nullptr;
    }
    if (!onlyFiller(tail)) {
        // SQLite would quietly ignore the rest; a second statement is never run from here.
        sqlite3_finalize(s);
        err.set(SQLITE_ERROR, "more than one statement in one call: [" + std::string(tail) + "]");
        EvDebug::DebugLvl(3, kTrace, "prepare refused: %s", err.text.c_str());
        return nullptr;
    }
    return s;
}

StatementPtr SqliteCore::statement(const std::string& key, const std::string& sql, Error& err) {
    auto it = m_idle.find(key);
    if (it != m_idle.end() && !it->second.empty()) {
        sqlite3_stmt* s = it->second.back();
        it->second.pop_back();
        --m_idleCount;
        return StatementPtr(new SqliteStatement(shared_from_this(), s, key));
    }
    sqlite3_stmt* s = prepareOne(sql, err);
    return s ? StatementPtr(new SqliteStatement(shared_from_this(), s, key)) : nullptr;
}

void SqliteCore::recycle(const std::string& key, sqlite3_stmt* stmt) {
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    if (m_detached || m_broken || m_idleCount >= kMaxIdleStatements) {
        sqlite3_finalize(stmt);
        return;
    }
    m_idle[key].push_back(stmt);
    ++m_idleCount;
}

StatementPtr SqliteCore::keptTemplate(int id) {
    const size_t slot = static_cast<size_t>(id);
    if (slot >= m_templates.size() || m_templates[slot].empty()) return nullptr;
    sqlite3_stmt* s = m_templates[slot].back();
    m_templates[slot].pop_back();
    return StatementPtr(new SqliteStatement(shared_from_this(), s, id));
}

StatementPtr SqliteCore::templateStatement(int id, const std::string& sql, Error& err) {
    sqlite3_stmt* s = prepareOne(sql, err);
    return s ? StatementPtr(new SqliteStatement(shared_from_this(), s, id)) : nullptr;
}

void SqliteCore::recycleTemplate(int id, sqlite3_stmt* stmt) {
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    const size_t slot = static_cast<size_t>(id);
    if (m_detached || m_broken) {
        sqlite3_finalize(stmt);
        return;
    }
    if (slot >= m_templates.size()) m_templates.resize(slot + 1);
    if (m_templates[slot].size() >= kMaxIdlePerTemplate) {
        sqlite3_finalize(stmt);
        return;
    }
    m_templates[slot].push_back(stmt);
}

int SqliteCore::run(const char* sql, Error& err) {
    StatementPtr st = statement(sql, sql, err);
    if (!st) return err.code;
    int rc;
    while ((rc = st->step(err)) == 0) {
    }
    return rc == 100 ? 0 : rc;
}

int SqliteCore::control(Control which, Error& err) {
    static const char* const kText[kControlCount] = {"BEGIN DEFERRED", "BEGIN IMMEDIATE", "COMMIT",
                                                     "ROLLBACK"};
    sqlite3_stmt*& s = m_control[which];
    if (!s) {
        int rc = check(sqlite3_prepare_v3(m_db, kText[which], -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr),
                       "prepare", err);
        if (rc != SQLITE_OK) {
            sqlite3_finalize(s);
            s = nullptr;
            return rc;
        }
    }
    int rc = check(sqlite3_step(s), "step", err);
    sqlite3_reset(s);  // repeats an error that check() already reported
    return rc == SQLITE_DONE || rc == SQLITE_ROW ? 0 : rc;
}

// ---- statements

void SqliteStatement::bound(int rc, const char* what) {
    if (rc != SQLITE_OK && m_bindError.code == 0) m_core->check(rc, what, m_bindError);
}

void SqliteStatement::bindNull(int index) {
    bound(sqlite3_bind_null(m_stmt, index), "bind");
}

void SqliteStatement::bindInt64(int index, long long value) {
    bound(sqlite3_bind_int64(m_stmt, index, value), "bind");
}

void SqliteStatement::bindText(int index, const std::string& value) {
    bound(sqlite3_bind_text64(m_stmt, index, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8),
          "bind");
}

int SqliteStatement::step(Error& err) {
    if (m_bindError.code != 0) {
        err = m_bindError;
        return err.code;
    }
    int rc = m_core->check(sqlite3_step(m_stmt), "step", err);
    if (rc == SQLITE_ROW) return 0;
    if (rc == SQLITE_DONE) {
        m_changes = sqlite3_changes64(m_core->db());
        return 100;
    }
    return rc;
}

void SqliteStatement::reset() {
    sqlite3_reset(m_stmt);  // repeats the last step's result, which step() already reported
    sqlite3_clear_bindings(m_stmt);
    m_bindError = Error();
    m_changes = 0;
}

int SqliteStatement::columnCount() {
    return sqlite3_column_count(m_stmt);
}

bool SqliteStatement::columnIsNull(int col) {
    return sqlite3_column_type(m_stmt, col) == SQLITE_NULL;
}

long long SqliteStatement::columnInt64(int col) {
    return sqlite3_column_int64(m_stmt, col);
}

void SqliteStatement::columnText(int col, std::string& out) {
    const unsigned char* p = sqlite3_column_text(m_stmt, col);
    int n = sqlite3_column_bytes(m_stmt, col);
    if (p)
        out.assign(reinterpret_cast<const char*>(p), static_cast<size_t>(n));
    else
        out.clear();
}

// One look-up of the column's value serves both the NULL test and the read. The value object is
// "unprotected", which is safe here: a statement and its connection are used by one thread at a time.
bool SqliteStatement::readInt64(int col, long long& out) {
    sqlite3_value* v = sqlite3_column_value(m_stmt, col);
    if (sqlite3_value_type(v) == SQLITE_NULL) return false;
    out = sqlite3_value_int64(v);
    return true;
}

bool SqliteStatement::readText(int col, std::string& out) {
    sqlite3_value* v = sqlite3_column_value(m_stmt, col);
    if (sqlite3_value_type(v) == SQLITE_NULL) return false;
    const unsigned char* p = sqlite3_value_text(v);
    if (p)
        out.assign(reinterpret_cast<const char*>(p), static_cast<size_t>(sqlite3_value_bytes(v)));
    else
        out.clear();
    return true;
}

bool SqliteStatement::readChars(int col, char* buffer, size_t room, size_t& length) {
    sqlite3_value* v = sqlite3_column_value(m_stmt, col);
    if (sqlite3_value_type(v) == SQLITE_NULL) return false;
    const unsigned char* p = sqlite3_value_text(v);
    length = p ? static_cast<size_t>(sqlite3_value_bytes(v)) : 0;
    const size_t n = length < room - 1 ? length : room - 1;
    if (n) std::memcpy(buffer, p, n);
    buffer[n] = '\0';
    return true;
}

void SqliteStatement::release() {
    if (m_template >= 0)
        m_core->recycleTemplate(m_template, m_stmt);
    else
        m_core->recycle(m_key, m_stmt);
    delete this;
}

}  // namespace sqlite
}  // namespace dbl
