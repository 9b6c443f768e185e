#pragma once
// A client of the management server (APP_Client with its SRV_ClientProp facts).
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/server/ServerTypes.h"

struct KOClientInfo {
    unsigned long id = 0;
    std::string name;
    std::string displayName;
    std::string hostName;
    bool deleted = false;
};

// Every method takes the caller's DBtran as `db` (null: a transaction of its own) and returns 0,
// KO_SRV_NOT_FOUND when the client does not exist, or the database's code; outputs are set on 0 only.
class KO_PLATFORM_API KOClient {
  public:
    explicit KOClient(unsigned long clientId) : m_clientId(clientId) {}
    unsigned long getClientId() const { return m_clientId; }

    int getName(std::string& name, void* db);
    int isDeleted(bool& deleted, void* db);
    int isNASClient(bool& nas, void* db);
    int isNonNDMPClient(bool& nonNdmp, void* db);
    // The client that really runs the work (a user-centric client's machine); its own id when none is
    // recorded.
    int getActualClientId(unsigned long& actualClientId, void* db);

    // Every client, deleted ones included, by id.
    static int getClients(std::vector<KOClientInfo>& clients, void* db);

  private:
    unsigned long m_clientId;
};
