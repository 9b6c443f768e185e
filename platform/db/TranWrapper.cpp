#include "platform/db/TranWrapper.h"

#include "platform/db/DBtran.h"
#include "platform/trace/EvDebug.h"

TranWrapper::TranWrapper(DBtran* callers, const std::string& name) : m_callers(callers), m_name(name) {}

TranWrapper::~TranWrapper() {
    if (m_own && m_own->active()) {
        EvDebug::DebugLvl(5, m_name.c_str(), "Rolling back the transaction that was not committed");
        std::string err;
        if (m_own->rollback(&err) != 0) EvDebug::Debug(m_name.c_str(), "Rollback failed: [%s]", err.c_str());
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
    m_own.reset(new DBtran);
    m_own->setHint(m_hint);
    if (int rc = m_own->begin(err)) {
        m_own.reset();
        return rc;
    }
    m_tran = m_own.get();
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
