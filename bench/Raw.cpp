#include "bench/Raw.h"

#include <stdexcept>

namespace bench {

namespace {
[[noreturn]] void fail(sqlite3* db, const std::string& what) {
    throw std::runtime_error(what + ": " + (db ? sqlite3_errmsg(db) : "out of memory"));
}
}  // namespace

RawDb::RawDb(const std::string& path) {
    int rc = sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        std::string text = m_db ? sqlite3_errmsg(m_db) : "out of memory";
        sqlite3_close_v2(m_db);
        throw std::runtime_error("open " + path + ": " + text);
    }
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, 10000);
    exec("PRAGMA journal_mode=WAL; PRAGMA foreign_keys=OFF; PRAGMA synchronous=NORMAL");
}

RawDb::~RawDb() {
    sqlite3_close_v2(m_db);
}

void RawDb::exec(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        std::string text = message ? message : sqlite3_errmsg(m_db);
        sqlite3_free(message);
        throw std::runtime_error(text + " in [" + sql + "]");
    }
}

long long RawDb::scalar(const std::string& sql) {
    RawStmt st(*this, sql);
    return st.step() ? st.integer(0) : 0;
}

RawStmt::RawStmt(const RawDb& db, const std::string& sql) : m_db(db.get()) {
    if (sqlite3_prepare_v3(m_db, sql.c_str(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                           &m_stmt, nullptr) != SQLITE_OK)
        fail(m_db, "prepare [" + sql + "]");
}

RawStmt::~RawStmt() {
    sqlite3_finalize(m_stmt);
}

bool RawStmt::step() {
    int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    fail(m_db, "step [" + std::string(sqlite3_sql(m_stmt)) + "]");
}

}  // namespace bench
