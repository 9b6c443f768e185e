#pragma once
// A subclient (APP_Application) with its marks (SRV_SubclientMark).
#include <string>
#include <vector>

#include "platform/PlatformExport.h"
#include "platform/server/ServerTypes.h"

struct KOSubclientInfo {
    int id = 0;
    unsigned long clientId = 0;
    int appTypeId = 0;
    int instanceId = 0;
    int backupSetId = 0;
    std::string name;
    int status = 0;  // subclientStatus bits
};

// Every method takes the caller's DBtran as `db` (null: a transaction of its own) and returns 0,
// KO_SRV_NOT_FOUND when the subclient does not exist, or the database's code; outputs are set on 0 only.
// A subclient without marks is no Nomad drive, not expired and installed.
class KO_PLATFORM_API Subclient {
  public:
    explicit Subclient(int subclientId) : m_subclientId(subclientId) {}
    int getSubclientId() const { return m_subclientId; }

    int getSubclientName(std::string& name, void* db);
    int isNomadDriveSubclient(bool& nomad, void* db);
    int isMaximumBackupIntervalExpired(bool& expired, void* db);
    // Sets or clears the mark in the store (within the caller's transaction when one is given).
    int setMaximumBackupIntervalExpired(bool expired, void* db);
    int isUninstalled(bool& uninstalled, void* db);

    // The subclients of one client (0: of every client), by id.
    static int getSubclients(unsigned long clientId, std::vector<KOSubclientInfo>& subclients, void* db);

  private:
    int m_subclientId;
};

class KO_PLATFORM_API SubclientHelper {
  public:
    // The subclient's client (name and id), its application type, and whether that client is deleted:
    // 0, KO_SRV_NOT_FOUND, or the database's code.
    static int getSubclientClientAppTypeInfo(unsigned long subclientId, std::string& clientName,
                                             unsigned long& appTypeId, unsigned long& clientId,
                                             bool& clientDeleted, void* db);
};
