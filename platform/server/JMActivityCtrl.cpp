// Activity control: SRV_ActivityControl holds one row per disabled activity and entity; no row means
// enabled.
#include "platform/server/JMActivityCtrl.h"

#include "platform/records/APP_Application.h"
#include "platform/records/APP_Client.h"
#include "platform/records/SRV_ActivityControl.h"
#include "platform/server/ServiceFrame.h"

namespace {

int defaultMessage(int level) {
    return level == KO_ACTIVITY_LEVEL_SERVER   ? KO_MSG_ACTIVITY_DISABLED_SERVER
           : level == KO_ACTIVITY_LEVEL_CLIENT ? KO_MSG_ACTIVITY_DISABLED_CLIENT
                                               : KO_MSG_ACTIVITY_DISABLED_SUBCLIENT;
}

std::string nameOr(const char* name, long long id) {
    return name && *name ? std::string(name) : std::to_string(id);
}

// Whether the client (level 2) or subclient (level 3) exists: 0, KO_SRV_NOT_FOUND or the database's code.
int entityExists(int level, unsigned long id, DBtran* tran, const char* name) {
    if (level == KO_ACTIVITY_LEVEL_CLIENT) {
        DBrecordTable<APP_Client_t> t(tran);
        srv::selectColumns(t, "id");
        t.setWhere("id = %lu", id);
        return srv::readOne(t, name);
    }
    DBrecordTable<APP_Application_t> t(tran);
    srv::selectColumns(t, "id");
    t.setWhere("id = %lu", id);
    return srv::readOne(t, name);
}

}  // namespace

int JMActivityCtrl::isServerEnabled(KOActivityType type, bool& enabled) {
    return srv::withTran(m_db, "JMActivityCtrl::isServerEnabled", false, [&](DBtran* tran) {
        DBrecordTable<SRV_ActivityControl_t> t(tran);
        srv::selectColumns(t, "id, enabled");
        t.setWhere("entityLevel = 1 AND activityType = %d AND enabled = 0", type);
        int rc = srv::readOne(t, "JMActivityCtrl::isServerEnabled");
        if (rc == 0 || rc == DB_NO_DATA) enabled = rc == DB_NO_DATA;
        return rc == DB_NO_DATA ? 0 : rc;
    });
}

bool JMActivityCtrl::isActivityEnabled(KOActivityType type, unsigned long clientId, KOAppType /*appType*/,
                                       const char* clientName, int subclientId, const char* subclientName,
                                       EvMessageContainer* message, int /*flag*/) {
    static const char* const kName = "JMActivityCtrl::isActivityEnabled";
    SRV_ActivityControl_t found;
    std::string dbError;
    int rc = srv::withTran(m_db, kName, false, [&](DBtran* tran) {
        DBrecordTable<SRV_ActivityControl_t> t(tran);
        SRV_SELECT_COLUMNS(t, SRV_ActivityControl_t, "entityLevel, reasonMessageId, reasonText");
        t.setOrderBy("entityLevel");
        // The server's setting first, then the client's, then the subclient's: the broadest one speaks.
        t.setWhere(
            "activityType = %d AND enabled = 0 AND (entityLevel = 1 OR (entityLevel = 2 AND entityId = %lu) "
            "OR (entityLevel = 3 AND entityId = %d))",
            type, clientId, subclientId > 0 ? subclientId : -1);
        int r = srv::readOne(t, kName);
        if (r == 0) found = t.row();
        if (r != 0 && r != DB_NO_DATA) dbError = t.getErrorStr(r);
        return r;
    });
    if (rc == DB_NO_DATA) return true;
    if (!message) return false;
    message->Clear();
    ArgumentInfo& args = message->GetArguments();
    args.add(std::to_string(type));
    if (rc != 0) {
        message->SetMessageID(KO_MSG_ACTIVITY_UNKNOWN);
        args.add(dbError.empty() ? "error " + std::to_string(rc) : dbError);
        return false;
    }
    message->SetMessageID(found.reasonMessageId ? found.reasonMessageId : defaultMessage(found.entityLevel));
    if (found.entityLevel == KO_ACTIVITY_LEVEL_SUBCLIENT) args.add(nameOr(subclientName, subclientId));
    if (found.entityLevel != KO_ACTIVITY_LEVEL_SERVER)
        args.add(nameOr(clientName, static_cast<long long>(clientId)));
    args.add(found.reasonText);
    EvDebug::DebugLvl(5, kName, "Activity [%d] is disabled at level [%d] for client [%lu] subclient [%d]",
                      type, found.entityLevel, clientId, subclientId);
    return false;
}

int JMActivityCtrl::setActivityEnabled(int level, unsigned long entityId, KOActivityType type, bool enabled,
                                       const std::string& reason, int reasonMessageId) {
    static const char* const kName = "JMActivityCtrl::setActivityEnabled";
    if (level < KO_ACTIVITY_LEVEL_SERVER || level > KO_ACTIVITY_LEVEL_SUBCLIENT) return KO_SRV_NOT_FOUND;
    if (level == KO_ACTIVITY_LEVEL_SERVER) entityId = 0;
    return srv::withTran(m_db, kName, true, [&](DBtran* tran) {
        if (level != KO_ACTIVITY_LEVEL_SERVER) {
            int rc = entityExists(level, entityId, tran, kName);
            if (rc != 0) return rc;
        }
        DBrecordTable<SRV_ActivityControl_t> t(tran);
        t.setWhere("entityLevel = %d AND entityId = %lu AND activityType = %d", level, entityId, type);
        if (enabled) return srv::traceWrite(t, t.rowDelete(), kName);
        int rc = srv::readOne(t, kName);
        if (rc != 0 && rc != DB_NO_DATA) return rc;
        SRV_ActivityControl_t& row = t.row();
        row.entityLevel = level;
        row.entityId = static_cast<int>(entityId);
        row.activityType = type;
        row.enabled = 0;
        row.reasonMessageId = reasonMessageId;
        row.reasonText = reason;
        // An update through the fetched row's identity rewrites every column from the record.
        return srv::traceWrite(t, rc == 0 ? t.rowUpdate("") : t.rowInsert(), kName);
    });
}

int JMActivityCtrl::getSettings(std::vector<KOActivitySetting>& settings) {
    std::vector<KOActivitySetting> out;
    int rc = srv::withTran(m_db, "JMActivityCtrl::getSettings", false, [&](DBtran* tran) {
        DBrecordTable<SRV_ActivityControl_t> t(tran);
        t.setOrderBy("entityLevel, entityId, activityType");
        t.setWhereText("");
        int r;
        while ((r = getNextRow(&t, nullptr, 0, 0)) == 0) {
            const SRV_ActivityControl_t& a = t.row();
            out.push_back({a.entityLevel, static_cast<unsigned long>(a.entityId), a.activityType,
                           a.enabled != 0, a.reasonMessageId, a.reasonText});
        }
        if (r != DB_NO_DATA)
            EvDebug::Debug("JMActivityCtrl::getSettings", "DB_Error: [%s]", t.getErrorStr(r).c_str());
        return r == DB_NO_DATA ? 0 : r;
    });
    if (rc == 0) settings.swap(out);
    return rc;
}
