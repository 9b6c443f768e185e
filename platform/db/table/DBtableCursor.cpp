// DBtable's cursor: open, fetch, close and the text read of XML results.
#include "platform/db/Bind.h"
#include "platform/db/DBerrors.h"
#include "platform/db/DBtran.h"
#include "platform/db/NativeProcedures.h"
#include "platform/db/table/DBtableImpl.h"
#include "platform/trace/EvDebug.h"

namespace {
constexpr const char* kTrace = "DBtable";
}

int DBtable::openCursor() {
    Impl& m = *m_impl;
    int code = 0;
    if (m.faulted(dbfault::Step::Open, code)) return code;
    if (m.open) closeCursor();

    std::string text;
    dbl::Connection* conn = nullptr;
    if (m.tran) {
        conn = m.tran->connectionForStatement(code, text);
        if (!conn) return m.fail(code, text);
    } else {
        dbl::Error e;
        m.ownConn = dbl::acquire(e);
        if (!m.ownConn) return m.fail(e.code ? e.code : DB_ERR_NOT_ACTIVE, e.text);
        conn = m.ownConn.get();
    }

    dbl::Error e;
    std::vector<dbl::Param> params;
    if (m.kind == kProcedure) {
        code = m.inputParams(params);
        if (code == 0) {
            m.stmt = dbl::prepareNativeProcedure(*conn, m.name, static_cast<int>(params.size()), e);
            if (!m.stmt && e.code == 0)
                m.stmt = conn->prepareProcedure(m.name, static_cast<int>(params.size()), e);
            if (m.stmt) dbl::bindParams(*m.stmt, params);
        }
    } else {
        if (m.kind == kTable && m.where.templated()) {
            // The same statement text on every call: the connection keeps it prepared.
            const dbtable::Template& t = m.templateFor(dbtable::kSelect);
            if (EvDebug::enabled(10))
                EvDebug::DebugLvl(10, kTrace, "open [%s]: %s", m.name.c_str(), m.selectText().c_str());
            m.stmt = conn->prepareTemplate(t.id, *t.sql, e);
            if (m.stmt) m.where.bind(*m.stmt, 1);
        }
        if (!m.stmt && e.code == 0) {
            std::string sql;
            code = m.kind == kCursor ? m.cursorText(sql, conn->dialect()) : 0;
            if (code == 0) {
                if (m.kind != kCursor) sql = m.selectText();
                EvDebug::DebugLvl(10, kTrace, "open [%s]: %s", m.name.c_str(), sql.c_str());
                m.stmt = conn->prepare(sql, params, e);
                if (m.stmt) dbl::bindParams(*m.stmt, params);
            }
        }
    }
    if (code == 0 && !m.stmt) code = m.fail(e.code ? e.code : DB_ERR_NO_STATEMENT, e.text);
    if (code == 0) {
        // Reading ahead makes the statement's own errors (locks, missing objects) the open's.
        m.readAheadCode = m.stmt->step(m.readAheadError);
        if (m.readAheadCode != 0 && m.readAheadCode != DB_NO_DATA)
            code = m.fail(m.readAheadCode, m.readAheadError.text);
    }
    if (code != 0) {
        if (m.tran) m.tran->statementFailed(code, m.lastText);
        m.stmt.reset();
        if (m.ownConn) dbl::giveBack(std::move(m.ownConn));
        return code;
    }
    m.open = true;
    m.hasRow = false;
    m.readAhead = true;
    m.valuesUsed = true;
    if (m.tran) m.tran->trackCursor(this);
    return 0;
}

int DBtable::fetchCursor(bool next) {
    Impl& m = *m_impl;
    int code = 0;
    if (m.faulted(dbfault::Step::Fetch, code)) return code;
    if (!m.open) return m.fail(DB_ERR_NOT_OPEN, "no open cursor on [" + m.name + "]");
    if (!next && m.hasRow) {
        m.fillRecord(*m.stmt);
        return 0;
    }
    std::string text;
    if (m.tran && m.tran->aborted(code, text)) return m.fail(code, text);
    dbl::Error stepped;
    const dbl::Error* e = &stepped;
    int rc;
    if (m.readAhead) {
        m.readAhead = false;
        rc = m.readAheadCode;
        e = &m.readAheadError;
    } else {
        rc = m.stmt->step(stepped);
    }
    m.hasRow = rc == 0;
    if (rc == 0) {
        m.fillRecord(*m.stmt);
        return 0;
    }
    if (rc == DB_NO_DATA) return m.fail(DB_NO_DATA, "No data");
    if (m.tran) m.tran->statementFailed(rc, e->text);
    return m.fail(rc, e->text);
}

int DBtable::closeCursor() {
    Impl& m = *m_impl;
    if (!m.open) return 0;
    int code = 0;
    if (m.faulted(dbfault::Step::Close, code)) return code;
    if (m.tran) m.tran->untrackCursor(this);
    releaseStatement();
    return 0;
}

int DBtable::fetchText(std::string& text) {
    Impl& m = *m_impl;
    text.clear();
    const bool openHere = !m.open;
    if (openHere) {
        if (int rc = openCursor()) return rc;
    }
    int code = 0;
    if (m.faulted(dbfault::Step::Fetch, code)) {
        if (openHere) releaseStatement();
        return code;
    }
    dbl::Error e;
    std::string piece;
    int rc = 0;
    for (;;) {
        if (m.readAhead) {
            m.readAhead = false;
            rc = m.readAheadCode;
            e = m.readAheadError;
        } else {
            rc = m.stmt->step(e);
        }
        if (rc != 0) break;
        if (m.stmt->columnCount() > 0 && !m.stmt->columnIsNull(0)) {
            m.stmt->columnText(0, piece);
            text += piece;
        }
    }
    m.hasRow = false;
    if (rc != DB_NO_DATA) {
        if (m.tran) m.tran->statementFailed(rc, e.text);
        m.fail(rc, e.text);
        if (openHere) closeCursor();
        return rc;
    }
    return openHere ? closeCursor() : 0;
}
