#pragma once
// An application entity named by kind and id; kind 2 is a subclient, whose client and backup set it
// can hand out.
#include <memory>

#include "platform/PlatformExport.h"
#include "platform/server/KOClient.h"
#include "platform/server/ServerTypes.h"

constexpr int KO_ENTITY_SUBCLIENT = 2;

class KO_PLATFORM_API BackupSet {
  public:
    explicit BackupSet(int backupSetId) : m_backupSetId(backupSetId) {}
    int getBackupSetId() const { return m_backupSetId; }
    // The user who owns the backup set (SRV_BackupSetOwner): 0, KO_SRV_NOT_FOUND when none is recorded,
    // or the database's code.
    int getOwnerUserId(int& ownerUserId, void* db);

  private:
    int m_backupSetId;
};

class KO_PLATFORM_API ApplicationId {
  public:
    ApplicationId(int entityKind, unsigned long entityId) : m_kind(entityKind), m_id(entityId) {}
    // The subclient's client, or null when the entity is no existing subclient (or the store fails).
    std::unique_ptr<KOClient> getClient(void* db);
    // The subclient's backup set, or null likewise.
    std::unique_ptr<BackupSet> getBackupSet(void* db);

  private:
    int m_kind;
    unsigned long m_id;
};
