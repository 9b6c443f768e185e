// A transaction on one pooled connection; the store's BEGIN waits for the first statement so that
// the read hint can choose the kind of transaction.
#include "platform/db/DBtran.h"

#include <algorithm>

#include <boost/container/small_vector.hpp>

#include "platform/db/Backend.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBfault.h"
#include "platform/db/DBtable.h"
#include "platform/trace/EvDebug.h"

namespace {
constexpr const char* kTrace = "DBtran";
}

struct DBtran::Impl {
    std::unique_ptr<dbl::Connection> conn;
    bool active = false;
    bool started = false;  // the store's BEGIN was sent
    int hint = 0;
    // The first failure of a statement (0: none), which every later statement gets instead.
    int abortCode = 0;
    std::string abortText;
    bool changed = false;  // rows were written since the store's BEGIN
    // Room for the bindings and cursors of a usual operation without allocating.
    boost::container::small_vector<DBtable*, 4> objects;
    boost::container::small_vector<DBtable*, 4> cursors;

    // Open cursors give their statements back before the connection changes hands.
    void closeCursors() {
        boost::container::small_vector<DBtable*, 4> open;
        open.swap(cursors);
        for (DBtable* t : open) t->releaseStatement();
    }
    void finish(bool reuse) {
        if (reuse) dbl::giveBack(std::move(conn));
        conn.reset();
        active = false;
        started = false;
        abortCode = 0;
        abortText.clear();
        changed = false;
    }
};

DBtran::DBtran() : m_impl(new Impl) {}

DBtran::~DBtran() {
    if (m_impl->active) rollback(nullptr);
}

int DBtran::begin(std::string* err) {
    if (m_impl->active) return 0;
    int code = 0;
    std::string text;
    if (dbfault::hit(dbfault::Step::Begin, code, text)) {
        if (err) *err = text;
        return code;
    }
    dbl::Error e;
    std::unique_ptr<dbl::Connection> conn = dbl::acquire(e);
    if (!conn) {
        if (err) *err = e.text;
        return e.code ? e.code : DB_ERR_NOT_ACTIVE;
    }
    m_impl->conn = std::move(conn);
    m_impl->active = true;
    m_impl->started = false;
    return 0;
}

int DBtran::commit(std::string* err) {
    if (!m_impl->active) return 0;
    int code = 0;
    std::string text;
    if (dbfault::hit(dbfault::Step::Commit, code, text)) {
        if (err) *err = text;
        return code;
    }
    m_impl->closeCursors();
    if (m_impl->started && m_impl->abortCode == 0 && !m_impl->conn->inTransaction())
        statementFailed(DB_ERR_TRAN_ABORTED, "the database rolled the transaction back");
    if (m_impl->abortCode != 0) {
        // What the failed statement left cannot be committed; the rest of the work goes with it.
        const int code = m_impl->changed ? m_impl->abortCode : 0;
        if (code && err) *err = m_impl->abortText;
        EvDebug::DebugLvl(3, kTrace, "commit of an aborted transaction rolls back: [%d] %s",
                          m_impl->abortCode, m_impl->abortText.c_str());
        dbl::Error e;
        m_impl->finish(m_impl->conn->rollback(e) == 0);
        return code;
    }
    if (m_impl->started) {
        dbl::Error e;
        if (int rc = m_impl->conn->commit(e)) {
            if (err) *err = e.text;
            return rc;
        }
    }
    m_impl->finish(true);
    return 0;
}

int DBtran::rollback(std::string* err) {
    if (!m_impl->active) return 0;
    m_impl->closeCursors();
    int rc = 0;
    if (m_impl->started) {
        dbl::Error e;
        rc = m_impl->conn->rollback(e);
        if (rc && err) *err = e.text;
    }
    // A connection that could not roll back is closed, which ends its transaction for sure.
    m_impl->finish(rc == 0);
    return rc;
}

bool DBtran::active() const {
    return m_impl->active;
}

void DBtran::setHint(int hint) {
    m_impl->hint = hint;
}

int DBtran::hint() const {
    return m_impl->hint;
}

void DBtran::addObject(DBtable* table) {
    KoCriticalSectionLock lock(&DBtable::DBCriticalSection);
    m_impl->objects.push_back(table);
}

void DBtran::removeObject(DBtable* table) {
    KoCriticalSectionLock lock(&DBtable::DBCriticalSection);
    auto& v = m_impl->objects;
    auto it = std::find(v.begin(), v.end(), table);
    if (it != v.end()) v.erase(it);
}

size_t DBtran::objectCount() const {
    KoCriticalSectionLock lock(&DBtable::DBCriticalSection);
    return m_impl->objects.size();
}

void DBtran::statementFailed(int code, const std::string& text) {
    if (!m_impl->active || !m_impl->started || m_impl->abortCode != 0) return;
    m_impl->abortCode = code;
    m_impl->abortText = text;
    EvDebug::DebugLvl(3, kTrace, "transaction aborted by a failed statement: [%d] %s", code, text.c_str());
}

void DBtran::changedRows() {
    m_impl->changed = true;
}

bool DBtran::aborted(int& code, std::string& text) const {
    if (m_impl->abortCode == 0) return false;
    code = m_impl->abortCode;
    text = m_impl->abortText;
    return true;
}

dbl::Connection* DBtran::connectionForStatement(int& code, std::string& text, bool write) {
    if (!m_impl->active) {
        code = DB_ERR_NOT_ACTIVE;
        text = "transaction is not active";
        return nullptr;
    }
    // A statement after a failure would run outside the transaction, or commit half of it.
    if (m_impl->started && m_impl->abortCode == 0 && !m_impl->conn->inTransaction())
        statementFailed(DB_ERR_TRAN_ABORTED, "the database rolled the transaction back");
    if (aborted(code, text)) return nullptr;
    if (!m_impl->started) {
        dbl::Error e;
        if (int rc = m_impl->conn->begin(write || m_impl->hint != kHintRead, e)) {
            code = rc;
            text = e.text;
            return nullptr;
        }
        m_impl->started = true;
    }
    return m_impl->conn.get();
}

void DBtran::trackCursor(DBtable* table) {
    if (std::find(m_impl->cursors.begin(), m_impl->cursors.end(), table) == m_impl->cursors.end())
        m_impl->cursors.push_back(table);
}

void DBtran::untrackCursor(DBtable* table) {
    auto& v = m_impl->cursors;
    auto it = std::find(v.begin(), v.end(), table);
    if (it != v.end()) v.erase(it);
}
