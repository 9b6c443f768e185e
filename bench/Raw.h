#pragma once
// The baselines' side: the store through the sqlite3 C API alone, with every statement prepared once
// and reused, as a careful hand-written client would do it.
//
// A RawDb or RawStmt belongs to one thread. Failures throw std::runtime_error with SQLite's text, so a
// benchmark can turn them into SkipWithError instead of timing a broken run.
#include <sqlite3.h>

#include <string>

namespace bench {

// One connection to the store file, opened with the settings the library's backend uses (WAL, 10 s
// busy timeout, synchronous NORMAL, no mutex, extended result codes).
class RawDb {
  public:
    explicit RawDb(const std::string& path);
    ~RawDb();
    RawDb(const RawDb&) = delete;
    RawDb& operator=(const RawDb&) = delete;

    sqlite3* get() const { return m_db; }
    // Runs statements without results (maintenance between timed runs).
    void exec(const std::string& sql);
    // The first column of the first row as a number (0 when there is no row).
    long long scalar(const std::string& sql);

  private:
    sqlite3* m_db = nullptr;
};

// One prepared statement, reset (bindings cleared) by reset().
class RawStmt {
  public:
    RawStmt(const RawDb& db, const std::string& sql);
    ~RawStmt();
    RawStmt(const RawStmt&) = delete;
    RawStmt& operator=(const RawStmt&) = delete;

    sqlite3_stmt* get() const { return m_stmt; }
    void bind(int index, long long value) { sqlite3_bind_int64(m_stmt, index, value); }
    void bind(int index, const std::string& value) {
        sqlite3_bind_text(m_stmt, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
    }
    // True for a row, false at the end; throws on an error.
    bool step();
    // Steps to the end (statements without rows).
    void run() {
        while (step()) {
        }
    }
    void reset() {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }
    long long integer(int col) const { return sqlite3_column_int64(m_stmt, col); }
    int int32(int col) const { return sqlite3_column_int(m_stmt, col); }
    std::string text(int col) const {
        const char* p = reinterpret_cast<const char*>(sqlite3_column_text(m_stmt, col));
        return p ? std::string(p, static_cast<size_t>(sqlite3_column_bytes(m_stmt, col))) : std::string();
    }

  private:
    sqlite3* m_db;
    sqlite3_stmt* m_stmt = nullptr;
};

// The transaction statements the library's backend sends, prepared once.
struct RawTran {
    explicit RawTran(const RawDb& db)
        : beginRead(db, "BEGIN DEFERRED"),
          beginWrite(db, "BEGIN IMMEDIATE"),
          commit(db, "COMMIT"),
          rollback(db, "ROLLBACK") {}
    RawStmt beginRead, beginWrite, commit, rollback;

    static void once(RawStmt& s) {
        s.run();
        s.reset();
    }
};

}  // namespace bench
