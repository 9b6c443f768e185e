// Clients: APP_Client rows and their SRV_ClientProp facts.
#include "platform/server/KOClient.h"

#include "platform/records/APP_Client.h"
#include "platform/records/SRV_ClientProp.h"
#include "platform/server/ServiceFrame.h"

namespace srv {

int readClientProps(unsigned long clientId, void* db, const char* name, SRV_ClientProp_t& out) {
    return withTran(db, name, false, [&](DBtran* tran) {
        DBrecordTable<SRV_ClientProp_t> props(tran);
        props.setWhere("clientId = %lu", clientId);
        int rc = readOne(props, name);
        if (rc == 0) {
            out = props.row();
            return 0;
        }
        if (rc != DB_NO_DATA) return rc;
        // No property row: the defaults, provided the client exists.
        DBrecordTable<APP_Client_t> client(tran);
        selectColumns(client, "id");
        client.setWhere("id = %lu", clientId);
        rc = readOne(client, name);
        if (rc == 0) out = SRV_ClientProp_t();
        return rc;
    });
}

}  // namespace srv

int KOClient::getName(std::string& name, void* db) {
    return srv::withTran(db, "KOClient::getName", false, [&](DBtran* tran) {
        DBrecordTable<APP_Client_t> t(tran);
        SRV_SELECT_COLUMNS(t, APP_Client_t, "id, name");
        t.setWhere("id = %lu", m_clientId);
        int rc = srv::readOne(t, "KOClient::getName");
        if (rc == 0) name = t.row().name;
        return rc;
    });
}

int KOClient::isDeleted(bool& deleted, void* db) {
    return srv::withTran(db, "KOClient::isDeleted", false, [&](DBtran* tran) {
        DBrecordTable<APP_Client_t> t(tran);
        srv::selectColumns(t, "id, deleted");
        t.setWhere("id = %lu", m_clientId);
        int rc = srv::readOne(t, "KOClient::isDeleted");
        if (rc == 0) deleted = t.row().deleted != 0;
        return rc;
    });
}

int KOClient::isNASClient(bool& nas, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "KOClient::isNASClient", props);
    if (rc == 0) nas = props.isNAS != 0;
    return rc;
}

int KOClient::isNonNDMPClient(bool& nonNdmp, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "KOClient::isNonNDMPClient", props);
    if (rc == 0) nonNdmp = props.nonNDMP != 0;
    return rc;
}

int KOClient::getActualClientId(unsigned long& actualClientId, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "KOClient::getActualClientId", props);
    if (rc == 0)
        actualClientId =
            props.actualClientId > 0 ? static_cast<unsigned long>(props.actualClientId) : m_clientId;
    return rc;
}

int KOClient::getClients(std::vector<KOClientInfo>& clients, void* db) {
    std::vector<KOClientInfo> out;
    int rc = srv::withTran(db, "KOClient::getClients", false, [&](DBtran* tran) {
        DBrecordTable<APP_Client_t> t(tran);
        t.setWhereText("");
        int r;
        while ((r = getNextRow(&t, nullptr, 0, 0)) == 0) {
            const APP_Client_t& c = t.row();
            out.push_back(
                {static_cast<unsigned long>(c.id), c.name, c.displayName, c.net_hostname, c.deleted != 0});
        }
        if (r != DB_NO_DATA)
            EvDebug::Debug("KOClient::getClients", "DB_Error: [%s]", t.getErrorStr(r).c_str());
        return r == DB_NO_DATA ? 0 : r;
    });
    if (rc == 0) clients.swap(out);
    return rc;
}
