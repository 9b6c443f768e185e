// Subclients: APP_Application rows and their SRV_SubclientMark marks.
#include "platform/server/Subclient.h"

#include "platform/records/APP_Application.h"
#include "platform/records/APP_Client.h"
#include "platform/records/SRV_SubclientMark.h"
#include "platform/server/ServiceFrame.h"

namespace {

// The subclient's marks, or none set when it exists without a mark row: 0, KO_SRV_NOT_FOUND, or the
// database's code.
int readMarks(int subclientId, DBtran* tran, const char* name, SRV_SubclientMark_t& out) {
    DBrecordTable<SRV_SubclientMark_t> marks(tran);
    marks.setWhere("subclientId = %d", subclientId);
    int rc = srv::readOne(marks, name);
    if (rc == 0) {
        out = marks.row();
        return 0;
    }
    if (rc != DB_NO_DATA) return rc;
    DBrecordTable<APP_Application_t> sub(tran);
    srv::selectColumns(sub, "id");
    sub.setWhere("id = %d", subclientId);
    rc = srv::readOne(sub, name);
    if (rc == 0) out = SRV_SubclientMark_t();
    return rc;
}

int readMark(int subclientId, void* db, const char* name, int SRV_SubclientMark_t::*field, bool& out) {
    return srv::withTran(db, name, false, [&](DBtran* tran) {
        SRV_SubclientMark_t marks;
        int rc = readMarks(subclientId, tran, name, marks);
        if (rc == 0) out = marks.*field != 0;
        return rc;
    });
}

}  // namespace

int Subclient::getSubclientName(std::string& name, void* db) {
    return srv::withTran(db, "Subclient::getSubclientName", false, [&](DBtran* tran) {
        DBrecordTable<APP_Application_t> t(tran);
        srv::selectColumns(t, "id, subclientName");
        t.setWhere("id = %d", m_subclientId);
        int rc = srv::readOne(t, "Subclient::getSubclientName");
        if (rc == 0) name = t.row().subclientName;
        return rc;
    });
}

int Subclient::isNomadDriveSubclient(bool& nomad, void* db) {
    return readMark(m_subclientId, db, "Subclient::isNomadDriveSubclient", &SRV_SubclientMark_t::nomadDrive,
                    nomad);
}

int Subclient::isMaximumBackupIntervalExpired(bool& expired, void* db) {
    return readMark(m_subclientId, db, "Subclient::isMaximumBackupIntervalExpired",
                    &SRV_SubclientMark_t::maxBackupIntervalExpired, expired);
}

int Subclient::isUninstalled(bool& uninstalled, void* db) {
    return readMark(m_subclientId, db, "Subclient::isUninstalled", &SRV_SubclientMark_t::uninstalled,
                    uninstalled);
}

int Subclient::setMaximumBackupIntervalExpired(bool expired, void* db) {
    static const char* const kName = "Subclient::setMaximumBackupIntervalExpired";
    return srv::withTran(db, kName, true, [&](DBtran* tran) {
        SRV_SubclientMark_t marks;
        int rc = readMarks(m_subclientId, tran, kName, marks);
        if (rc != 0) return rc;
        DBrecordTable<SRV_SubclientMark_t> t(tran);
        t.setWhere("subclientId = %d", m_subclientId);
        if (marks.subclientId == 0) {
            if (!expired) return 0;  // nothing recorded, nothing to clear
            t.row().subclientId = m_subclientId;
            t.row().maxBackupIntervalExpired = 1;
            return srv::traceWrite(t, t.rowInsert(false), kName);
        }
        return srv::traceWrite(
            t, t.rowUpdate(expired ? "maxBackupIntervalExpired = 1" : "maxBackupIntervalExpired = 0"), kName);
    });
}

int Subclient::getSubclients(unsigned long clientId, std::vector<KOSubclientInfo>& subclients, void* db) {
    std::vector<KOSubclientInfo> out;
    int rc = srv::withTran(db, "Subclient::getSubclients", false, [&](DBtran* tran) {
        DBrecordTable<APP_Application_t> t(tran);
        if (clientId > 0)
            t.setWhere("clientId = %lu", clientId);
        else
            t.setWhereText("");
        int r;
        while ((r = getNextRow(&t, nullptr, 0, 0)) == 0) {
            const APP_Application_t& a = t.row();
            out.push_back({a.id, static_cast<unsigned long>(a.clientId), a.appTypeId, a.instance, a.backupSet,
                           a.subclientName, a.subclientStatus});
        }
        if (r != DB_NO_DATA)
            EvDebug::Debug("Subclient::getSubclients", "DB_Error: [%s]", t.getErrorStr(r).c_str());
        return r == DB_NO_DATA ? 0 : r;
    });
    if (rc == 0) subclients.swap(out);
    return rc;
}

int SubclientHelper::getSubclientClientAppTypeInfo(unsigned long subclientId, std::string& clientName,
                                                   unsigned long& appTypeId, unsigned long& clientId,
                                                   bool& clientDeleted, void* db) {
    static const char* const kName = "SubclientHelper::getSubclientClientAppTypeInfo";
    return srv::withTran(db, kName, false, [&](DBtran* tran) {
        DBrecordTable<APP_Application_t> sub(tran);
        srv::selectColumns(sub, "id, clientId, appTypeId");
        sub.setWhere("id = %lu", subclientId);
        int rc = srv::readOne(sub, kName);
        if (rc != 0) return rc;
        DBrecordTable<APP_Client_t> client(tran);
        srv::selectColumns(client, "id, name, deleted");
        client.setWhere("id = %d", sub.row().clientId);
        rc = srv::readOne(client, kName);
        if (rc != 0) return rc;
        clientName = client.row().name;
        appTypeId = static_cast<unsigned long>(sub.row().appTypeId);
        clientId = static_cast<unsigned long>(sub.row().clientId);
        clientDeleted = client.row().deleted != 0;
        return 0;
    });
}
