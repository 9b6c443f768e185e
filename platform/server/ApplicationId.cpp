// A subclient's client and backup set, and backup set owners.
#include "platform/server/ApplicationId.h"

#include "platform/records/APP_Application.h"
#include "platform/records/SRV_BackupSetOwner.h"
#include "platform/server/ServiceFrame.h"

namespace {

// The subclient's row, or KO_SRV_NOT_FOUND when `kind` names no subclient.
int readSubclient(int kind, unsigned long id, void* db, const char* name, APP_Application_t& out) {
    if (kind != KO_ENTITY_SUBCLIENT) return KO_SRV_NOT_FOUND;
    return srv::withTran(db, name, false, [&](DBtran* tran) {
        DBrecordTable<APP_Application_t> t(tran);
        srv::selectColumns(t, "id, clientId, backupSet");
        t.setWhere("id = %lu", id);
        int rc = srv::readOne(t, name);
        if (rc == 0) out = t.row();
        return rc;
    });
}

}  // namespace

std::unique_ptr<KOClient> ApplicationId::getClient(void* db) {
    APP_Application_t sub;
    if (readSubclient(m_kind, m_id, db, "ApplicationId::getClient", sub) != 0 || sub.clientId <= 0)
        return nullptr;
    return std::make_unique<KOClient>(static_cast<unsigned long>(sub.clientId));
}

std::unique_ptr<BackupSet> ApplicationId::getBackupSet(void* db) {
    APP_Application_t sub;
    if (readSubclient(m_kind, m_id, db, "ApplicationId::getBackupSet", sub) != 0 || sub.backupSet <= 0)
        return nullptr;
    return std::make_unique<BackupSet>(sub.backupSet);
}

int BackupSet::getOwnerUserId(int& ownerUserId, void* db) {
    return srv::withTran(db, "BackupSet::getOwnerUserId", false, [&](DBtran* tran) {
        DBrecordTable<SRV_BackupSetOwner_t> t(tran);
        t.setWhere("backupSetId = %d", m_backupSetId);
        int rc = srv::readOne(t, "BackupSet::getOwnerUserId");
        if (rc == 0) ownerUserId = t.row().ownerUserId;
        return rc;
    });
}
