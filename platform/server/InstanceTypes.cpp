// Cluster and cloud instance types: SRV_InstanceType.
#include "platform/server/InstanceTypes.h"

#include "platform/records/SRV_InstanceType.h"
#include "platform/server/ServiceFrame.h"

namespace {

int readInstance(int instanceId, void* db, const char* name, SRV_InstanceType_t& out) {
    return srv::withTran(db, name, false, [&](DBtran* tran) {
        DBrecordTable<SRV_InstanceType_t> t(tran);
        t.setWhere("instanceId = %d", instanceId);
        int rc = srv::readOne(t, name);
        if (rc == 0) out = t.row();
        return rc;
    });
}

}  // namespace

int DistributedClusterInstance::getClusterType(int& clusterType, void* db) {
    SRV_InstanceType_t row;
    int rc = readInstance(m_instanceId, db, "DistributedClusterInstance::getClusterType", row);
    if (rc == 0) clusterType = row.clusterType;
    return rc;
}

int CloudAppsInstance::getInstanceType(int& instanceType, void* db) {
    SRV_InstanceType_t row;
    int rc = readInstance(m_instanceId, db, "CloudAppsInstance::getInstanceType", row);
    if (rc == 0) instanceType = row.cloudInstanceType;
    return rc;
}
