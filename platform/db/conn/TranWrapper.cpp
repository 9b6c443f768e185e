#include "platform/db/TranWrapper.h"

#include "platform/db/DBtran.h"
#include "platform/trace/EvDebug.h"

TranWrapper::TranWrapper(DBtran* callers, const std::string& name)
    : m_callers(callers), m_nameCopy(name), m_name(m_nameCopy.c_str()) {}

TranWrapper::TranWrapper(DBtran* callers, const char* name) : m_callers(callers), m_name(name ? name : "") {}

TranWrapper::~TranWrapper() {
    if (m_own && m_own->active()) {
        EvDebug::DebugLvl(5, m_name, "Rolling back the transaction that was not committed");
        std::string err;
        if (m_own->rollback(&err) != 0) EvDebug::Debug(m_name, "Rollback failed: [%s]", err.c_str());
    }
}

int TranWrapper::ensureTran(std::string* err) {
    if (m_tran) return 0;
    if (m_callers) {
        // A caller's transaction that was never begun is begun here; its end stays the caller's.
        if (int rc = m_callers->begin(err)) return rc;
        m_tran = m_callers;
        return 0;
    }
    m_own.emplace();
    m_own->setHint(m_hint);
    if (int rc = m_own->begin(err)) {
        m_own.reset();
        return rc;
    }
    m_tran = &*m_own;
    return 0;
}

int TranWrapper::commitIfOwnTran(std::string* err) {
    if (!m_own) return 0;
    return m_own->commit(err);
}

void TranWrapper::setHint(int hint) {
    m_hint = hint;
    if (m_own) m_own->setHint(hint);
}
