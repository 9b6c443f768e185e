#pragma once
// The properties of one client (SRV_ClientProp). A client without a property row has default ones:
// not user-centric, no version recorded.
#include <string>

#include "platform/PlatformExport.h"
#include "platform/server/ServerTypes.h"

// Every method takes the caller's DBtran as `db` (null: a transaction of its own) and returns 0,
// KO_SRV_NOT_FOUND when the client (or the asked fact) does not exist, or the database's code.
class KO_PLATFORM_API ClientProperties {
  public:
    explicit ClientProperties(unsigned long clientId) : m_clientId(clientId) {}

    int isUserCentricClient(bool& userCentric, void* db);
    // The physical client of a user-centric client: KO_SRV_NOT_FOUND when none is associated.
    int getUserCentricClientAssociation(unsigned long& physicalClientId, void* db);
    // The client's version text ("11.24.2"): KO_SRV_NOT_FOUND when none is recorded.
    int getVersionInfo(std::string& version, void* db);

  private:
    unsigned long m_clientId;
};
