#pragma once
// The kind of cluster a distributed-cluster instance is and the kind of cloud a cloud-apps instance
// serves (SRV_InstanceType); the numbers are the platform's.
#include "platform/PlatformExport.h"
#include "platform/server/ServerTypes.h"

// Both take the caller's DBtran as `db` (null: a transaction of their own) and return 0,
// KO_SRV_NOT_FOUND when the instance has no type recorded, or the database's code.
class KO_PLATFORM_API DistributedClusterInstance {
  public:
    explicit DistributedClusterInstance(int instanceId) : m_instanceId(instanceId) {}
    int getClusterType(int& clusterType, void* db);

  private:
    int m_instanceId;
};

class KO_PLATFORM_API CloudAppsInstance {
  public:
    explicit CloudAppsInstance(int instanceId) : m_instanceId(instanceId) {}
    int getInstanceType(int& instanceType, void* db);

  private:
    int m_instanceId;
};
