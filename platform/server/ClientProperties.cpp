// Client properties: SRV_ClientProp, with defaults for a client that has no row.
#include "platform/server/ClientProperties.h"

#include "platform/records/SRV_ClientProp.h"
#include "platform/server/ServiceFrame.h"

int ClientProperties::isUserCentricClient(bool& userCentric, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "ClientProperties::isUserCentricClient", props);
    if (rc == 0) userCentric = props.userCentric != 0;
    return rc;
}

int ClientProperties::getUserCentricClientAssociation(unsigned long& physicalClientId, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "ClientProperties::getUserCentricClientAssociation", props);
    if (rc != 0) return rc;
    if (props.physicalClientId <= 0) return KO_SRV_NOT_FOUND;
    physicalClientId = static_cast<unsigned long>(props.physicalClientId);
    return 0;
}

int ClientProperties::getVersionInfo(std::string& version, void* db) {
    SRV_ClientProp_t props;
    int rc = srv::readClientProps(m_clientId, db, "ClientProperties::getVersionInfo", props);
    if (rc != 0) return rc;
    if (props.versionInfo[0] == '\0') return KO_SRV_NOT_FOUND;
    version = props.versionInfo;
    return 0;
}
